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
