// Engine utilities that generated model code calls: error reporting and the run-time flags.
#pragma once

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef int BOOL;

inline bool _can_uniform = false;
inline double const _NA = 3.3e-151; // a value the data did not give
inline int bEnableLogTransform = 0;

// The last error message of the model, for the test to look at.
inline std::string lastModelError;

inline void SetErrorMsg(char const* message) {
    lastModelError = message;
}

inline void ClearErrorMsg() {
    lastModelError.clear();
}

inline void SetErrorMessageWithParams(char const* message, ...) {
    char buf[1024];
    va_list args;
    va_start(args, message);
    vsnprintf(buf, sizeof buf, message, args);
    va_end(args);
    lastModelError = buf;
}

// Unit texts: products, quotients, logs and exps of unit texts, and a number as a unit text.
// The texts live to the end of the run.
inline char const* KeepUnitText(std::string text) {
    static std::vector<std::string*> kept;
    kept.push_back(new std::string(std::move(text)));
    return kept.back()->c_str();
}

inline char const* _units_Mul(char const* a, char const* b) {
    return KeepUnitText(std::string(a) + "*" + b);
}

inline char const* _units_Div(char const* a, char const* b) {
    return KeepUnitText(std::string(a) + "/(" + b + ")");
}

inline char const* _units_Log(char const* a) {
    return KeepUnitText(std::string("log(") + a + ")");
}

inline char const* _units_Exp(char const* a) {
    return KeepUnitText(std::string("exp(") + a + ")");
}

inline char const* __NumberString(double value) {
    return KeepUnitText(std::to_string(value));
}
