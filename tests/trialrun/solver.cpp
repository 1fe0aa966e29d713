// The integrator of the test run-time library: the embedded Runge-Kutta pair of Dormand and
// Prince, orders 5 and 4, with adaptive steps. The local error is held a thousand times below the
// tolerance the caller gives, so that the error over a whole subject stays within it.
//
// Each call of the rate routine is checked: it must write exactly 'n' rates, as many as the
// subject's GetNInteg counts. The rates go to a buffer with guard cells behind it, both filled
// with a marker beforehand; a marker left among the first n, or a guard overwritten, stops the
// program with status 4.
#include "RTL.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

int const guardCells = 4;
double const marker = -1.2345678901234567e300;

typedef void (*Rates)(int*, double*, double*, double*);

void CheckedRates(Rates f, int n, double t, double* y, std::vector<double>& r) {
    std::fill(r.begin(), r.end(), marker);
    f(&n, &t, y, r.data());
    int written = 0, beyond = 0;
    for (int i = 0; i < n; i++)
        if (r[size_t(i)] != marker) written++;
    for (int i = n; i < n + guardCells; i++)
        if (r[size_t(i)] != marker) beyond++;
    if (written == n && beyond == 0) return;
    fprintf(stderr, "dverk_: %d states, but the rate routine wrote %d of them and %d beyond\n", n,
            written, beyond);
    exit(4);
}

// The tableau of the pair.
double const c2 = 1.0 / 5, c3 = 3.0 / 10, c4 = 4.0 / 5, c5 = 8.0 / 9;
double const a21 = 1.0 / 5;
double const a31 = 3.0 / 40, a32 = 9.0 / 40;
double const a41 = 44.0 / 45, a42 = -56.0 / 15, a43 = 32.0 / 9;
double const a51 = 19372.0 / 6561, a52 = -25360.0 / 2187, a53 = 64448.0 / 6561, a54 = -212.0 / 729;
double const a61 = 9017.0 / 3168, a62 = -355.0 / 33, a63 = 46732.0 / 5247, a64 = 49.0 / 176,
             a65 = -5103.0 / 18656;
double const b1 = 35.0 / 384, b3 = 500.0 / 1113, b4 = 125.0 / 192, b5 = -2187.0 / 6784,
             b6 = 11.0 / 84;
double const e1 = 71.0 / 57600, e3 = -71.0 / 16695, e4 = 71.0 / 1920, e5 = -17253.0 / 339200,
             e6 = 22.0 / 525, e7 = -1.0 / 40;

} // namespace

// 'c[6]', when positive, is the largest step.
extern "C" void dverk_(int* n, void (*f)(int*, double*, double*, double*), double* x, double* y,
                       double* xend, double* tol, int* ind, double* c, int* /*nw*/, double* /*w*/) {
    int const m = *n;
    double const t1 = *xend, rtol = std::max(*tol, 1e-12) * 1e-3, atol = rtol;
    double const hmax = c && c[6] > 0 ? c[6] : t1 - *x;
    size_t const len = size_t(m + guardCells);
    std::vector<double> k1(len), k2(len), k3(len), k4(len), k5(len), k6(len), k7(len);
    std::vector<double> ys(len), yn(len);
    double t = *x, h = std::min(hmax, (t1 - t) / 100);
    CheckedRates(f, m, t, y, k1);
    int steps = 0;
    while (t < t1) {
        if (++steps > 10000000 || h < 1e-14 * std::max(1.0, std::fabs(t))) {
            *ind = -1;
            return;
        }
        h = std::min(h, t1 - t);
        auto stage = [&](double ct, std::vector<double>& out, auto&& combine) {
            for (int i = 0; i < m; i++)
                ys[size_t(i)] = y[i] + h * combine(size_t(i));
            CheckedRates(f, m, t + ct * h, ys.data(), out);
        };
        stage(c2, k2, [&](size_t i) { return a21 * k1[i]; });
        stage(c3, k3, [&](size_t i) { return a31 * k1[i] + a32 * k2[i]; });
        stage(c4, k4, [&](size_t i) { return a41 * k1[i] + a42 * k2[i] + a43 * k3[i]; });
        stage(c5, k5,
              [&](size_t i) { return a51 * k1[i] + a52 * k2[i] + a53 * k3[i] + a54 * k4[i]; });
        stage(1, k6, [&](size_t i) {
            return a61 * k1[i] + a62 * k2[i] + a63 * k3[i] + a64 * k4[i] + a65 * k5[i];
        });
        for (int i = 0; i < m; i++) {
            size_t j = size_t(i);
            yn[j] = y[i] + h * (b1 * k1[j] + b3 * k3[j] + b4 * k4[j] + b5 * k5[j] + b6 * k6[j]);
        }
        CheckedRates(f, m, t + h, yn.data(), k7);
        double err = 0;
        for (int i = 0; i < m; i++) {
            size_t j = size_t(i);
            double e =
                h * (e1 * k1[j] + e3 * k3[j] + e4 * k4[j] + e5 * k5[j] + e6 * k6[j] + e7 * k7[j]);
            double sc = atol + rtol * std::max(std::fabs(y[i]), std::fabs(yn[j]));
            err = std::max(err, std::fabs(e) / sc);
        }
        if (err <= 1) {
            t = (t1 - t - h <= 1e-15 * std::max(1.0, std::fabs(t1))) ? t1 : t + h;
            std::memcpy(y, yn.data(), sizeof(double) * size_t(m));
            k1.swap(k7);
        }
        double grow = err > 0 ? 0.9 * std::pow(err, -0.2) : 5;
        h = std::min(hmax, h * std::min(5.0, std::max(0.2, grow)));
    }
    *x = t1;
    *ind = 3;
}
