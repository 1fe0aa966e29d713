// ODE solver: this engine integrates every level the same way.
#pragma once
#include "mutil/dopri.h"

template <int N, typename NUM> int matexp_ode(double& t, double tout, double, int& ns, NUM zzY[]) {
    ns = 0;
    return dopri<N>(t, tout, zzY, nMXSTEP, dOdeRTol, dOdeATol);
}
