// Engine utilities that generated model code calls: error reporting and the run-time flags.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef int BOOL;

extern bool _can_uniform;
extern double const _NA; // a value the data did not give
void SetErrorMsg(char const* message);
void ClearErrorMsg();
void SetErrorMessageWithParams(char const* message, ...);
extern int bEnableLogTransform;

// Unit texts: products, quotients, logs and exps of unit texts, and a number as a unit text.
char const* _units_Mul(char const* a, char const* b);
char const* _units_Div(char const* a, char const* b);
char const* _units_Log(char const* a);
char const* _units_Exp(char const* a);
char const* __NumberString(double value);
