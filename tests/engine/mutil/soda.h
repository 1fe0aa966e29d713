// ODE solver of the engine.
#pragma once
#include "mutil/odesolve_common.h"

template <int N, bool STIFF, typename NUM>
int mtdew(int meth, double& t, double tout, double rtol, double atol, int mxstep, NUM zzY[],
          int& state);
