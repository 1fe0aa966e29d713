// ODE solver of the engine.
#pragma once
#include "mutil/odesolve_common.h"

template <int N, typename NUM>
int cdverk(double& t, double tout, NUM zzY[], int mxstep, double rtol);
