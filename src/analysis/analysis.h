// Public header of the model analysis: the process-wide name sets that decide which
// variables are carried as dual numbers and which are closed-form outputs.
#pragma once

#include <set>
#include <string>

extern std::set<std::string> force_dual;
extern std::set<std::string> force_real;
extern std::set<std::string> dual_vars;
extern std::set<std::string> dual_vars_fixef;
extern std::set<std::string> dual_vars_ranxef;
extern std::set<std::string> cfs;
extern std::set<std::string> macros;
extern bool nothing_is_cfm;
