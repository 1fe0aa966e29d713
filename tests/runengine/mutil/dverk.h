// ODE solver: this engine integrates every level the same way.
#pragma once
#include "mutil/dopri.h"

template <int N, typename NUM>
int cdverk(double& t, double tout, NUM zzY[], int mxstep, double rtol) {
    return dopri<N>(t, tout, zzY, mxstep, rtol, dOdeATol);
}
