// ODE solver: this engine integrates every level the same way.
#pragma once
#include "mutil/dopri.h"

template <int N, bool STIFF, typename NUM>
int mtdew(int, double& t, double tout, double rtol, double atol, int mxstep, NUM zzY[], int&) {
    return dopri<N>(t, tout, zzY, mxstep, rtol, atol);
}
