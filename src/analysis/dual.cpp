// The dual-number decision: which variables carry derivatives, by fixed or random effect.
#include "analysis/analysis.h"

std::set<std::string> force_dual;
std::set<std::string> force_real;
std::set<std::string> dual_vars;
std::set<std::string> dual_vars_fixef;
std::set<std::string> dual_vars_ranxef;
std::set<std::string> cfs;
std::vector<std::string> macros;

// Set only while an expression is printed as a name, so closed-form names print plainly.
bool nothing_is_cfm = false;

// Whether the value of 'node' can carry derivatives: some dual variable occurs in it.
bool has_dual_vars(cn const& node) {
    if (!node) return false;
    for (std::string const& name : dual_vars)
        if (node->CountContains(name.c_str()) > 0) return true;
    return false;
}
