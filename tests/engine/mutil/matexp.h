// ODE solver of the engine.
#pragma once
#include "mutil/odesolve_common.h"

template <int N, typename NUM>
int matexp_ode(double& t, double tout, double dt, int& ns, NUM zzY[]);
