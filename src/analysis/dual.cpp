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
