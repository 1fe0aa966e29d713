// ODE solver: the generated deriv of the number type, integrated by Dormand-Prince.
#pragma once
#include "mutil/odesolve_common.h"

template <int N, typename NUM>
int dopri(double& t, double tout, NUM zzY[], int, double rtol, double atol) {
    return DormandPrince(
        N, t, tout, zzY, [](double tt, NUM* y, NUM* dy) { deriv(tt, y, dy); }, rtol, atol);
}
