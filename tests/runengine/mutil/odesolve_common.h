// The engine's ODE levels, the bookkeeping around one integration step, and one adaptive
// Dormand-Prince 5(4) integrator, generic in the number type, that every level uses here.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

enum {
    ODELEVEL_CMATEXP = 1,
    ODELEVEL_CDVERK,
    ODELEVEL_CSODE,
    ODELEVEL_CSODEJAC,
    ODELEVEL_CSODA,
    ODELEVEL_CSODAJAC,
    ODELEVEL_CDOPRI
};

enum { ODESTATE_START = 1, ODESTATE_UNDERWAY = 2, ODESTATE_CHANGE = 3 };

inline int odeState = ODESTATE_START;
inline int nMXSTEP = 1000000;
inline double dOdeRTol = 1e-11;
inline double dOdeATol = 1e-13;

template <int N, typename NUM> int is_zzy_finite(const NUM zzY[]) {
    for (int i = 0; i < N; i++)
        if (!std::isfinite(double(zzY[i]))) return -1;
    return 0;
}

inline void handle_ode_return(int, int res, double, double) {
    if (res < 0) {
        fprintf(stderr, "integration failed: %d\n", res);
        exit(3);
    }
}

inline void handle_matexp_return(char const*, int res, int, double t, double tout) {
    handle_ode_return(0, res, t, tout);
}

inline void computation_stopped(int, int, char const* message, double, double) {
    fprintf(stderr, "%s\n", message);
    exit(3);
}

// Integrates y' = f(t, y) for 'n' values from 't' to 'tout'; 't' ends at 'tout'. 'f' is called
// as f(t, y, dy). Returns 0, or -1 when the step count runs out.
template <typename NUM, typename F>
int DormandPrince(int n, double& t, double tout, NUM* y, F f, double rtol, double atol) {
    static double const c[7] = {0, 1.0 / 5, 3.0 / 10, 4.0 / 5, 8.0 / 9, 1, 1};
    static double const a[7][6] = {
        {0},
        {1.0 / 5},
        {3.0 / 40, 9.0 / 40},
        {44.0 / 45, -56.0 / 15, 32.0 / 9},
        {19372.0 / 6561, -25360.0 / 2187, 64448.0 / 6561, -212.0 / 729},
        {9017.0 / 3168, -355.0 / 33, 46732.0 / 5247, 49.0 / 176, -5103.0 / 18656},
        {35.0 / 384, 0, 500.0 / 1113, 125.0 / 192, -2187.0 / 6784, 11.0 / 84}};
    static double const e[7] = {71.0 / 57600,      0,          -71.0 / 16695, 71.0 / 1920,
                                -17253.0 / 339200, 22.0 / 525, -1.0 / 40};
    std::vector<std::vector<NUM>> k(7, std::vector<NUM>(size_t(n)));
    std::vector<NUM> tmp(static_cast<size_t>(n)), ynew(static_cast<size_t>(n));
    double h = std::min(0.01, tout - t);
    for (int steps = 0; t < tout; steps++) {
        if (steps > nMXSTEP) return -1;
        h = std::min(h, tout - t);
        for (int s = 0; s < 7; s++) {
            for (int i = 0; i < n; i++) {
                tmp[size_t(i)] = y[i];
                for (int j = 0; j < s; j++)
                    tmp[size_t(i)] += h * a[s][j] * k[size_t(j)][size_t(i)];
            }
            f(t + c[s] * h, tmp.data(), k[size_t(s)].data());
        }
        double err = 0;
        for (int i = 0; i < n; i++) {
            ynew[size_t(i)] = tmp[size_t(i)]; // the 5th-order result is the last stage's point
            double ei = 0;
            for (int s = 0; s < 7; s++)
                ei += h * e[s] * double(k[size_t(s)][size_t(i)]);
            double sc =
                atol + rtol * std::max(std::fabs(double(y[i])), std::fabs(double(ynew[size_t(i)])));
            err = std::max(err, std::fabs(ei) / sc);
        }
        if (err <= 1.0) {
            t += h;
            for (int i = 0; i < n; i++)
                y[i] = ynew[size_t(i)];
        }
        h *= std::min(5.0, std::max(0.2, 0.9 * std::pow(std::max(err, 1e-10), -0.2)));
    }
    t = tout;
    return 0;
}

// The engine's own solver of plain models; defined by the test driver, which sees the model.
int ODESolve(int iODELevel, double* ptOuter, double dt, double zzY[]);
