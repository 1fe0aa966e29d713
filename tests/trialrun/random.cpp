// Random draws and matrix routines of the test run-time library. One 64-bit Mersenne twister
// serves every draw. Matrices are symmetric, stored as lower triangles by rows: entry (i, j),
// j <= i, at i(i+1)/2 + j. With its switch off a draw gives its central value, which is named
// at each routine.
#include "MatrixInvert.h"
#include "RTL.h"
#include "trialrun.h"

#include <cmath>
#include <random>
#include <vector>

namespace {

std::mt19937_64 generator(20261123);

int At(int i, int j) {
    return i >= j ? i * (i + 1) / 2 + j : j * (j + 1) / 2 + i;
}

double ChiSq(double df) {
    return rgamma(df / 2, 2);
}

} // namespace

void trialrun::Seed(std::uint64_t seed) {
    generator.seed(seed);
}

// In (0, 1): 53 random bits and a half.
double unif() {
    return (double(generator() >> 11) + 0.5) * (1.0 / 9007199254740992.0);
}

double norm() {
    return std::sqrt(-2 * std::log(unif())) * std::cos(2 * M_PI * unif());
}

// Marsaglia and Tsang; a shape below 1 by the power of a uniform.
double rgamma(double shape, double scale) {
    if (shape <= 0) return 0;
    if (shape < 1) return rgamma(shape + 1, scale) * std::pow(unif(), 1 / shape);
    double d = shape - 1.0 / 3, c = 1 / std::sqrt(9 * d);
    for (;;) {
        double z = norm(), v = 1 + c * z;
        if (v <= 0) continue;
        v = v * v * v;
        double u = unif();
        if (std::log(u) < 0.5 * z * z + d - d * v + d * std::log(v)) return d * v * scale;
    }
}

// 1 / gamma: mean scale / (shape - 1).
double rinvgamma(double shape, double scale) {
    return scale / rgamma(shape, 1);
}

double rbeta(double a, double b) {
    double x = rgamma(a, 1), y = rgamma(b, 1);
    return x / (x + y);
}

// A beta of the given mean whose a + b is 'n'.
double rbeta_mean(double mean, double n) {
    return rbeta(mean * n, (1 - mean) * n);
}

double rbinomial(double n, double p) {
    std::binomial_distribution<long long> d((long long)n, p);
    return double(d(generator));
}

double rpoisson(double mean) {
    if (mean <= 0) return 0;
    std::poisson_distribution<long long> d(mean);
    return double(d(generator));
}

// Off: the mean.
double rpoisson(double mean, BOOL bDraw) {
    return bDraw ? rpoisson(mean) : mean;
}

// Failures before the r-th success of probability p; off: the mean r(1 - p)/p.
double rnegbin_rp(double r, double p, BOOL bDraw) {
    if (!bDraw) return r * (1 - p) / p;
    return rpoisson(rgamma(r, (1 - p) / p));
}

// A gamma mixture of Poisson counts with the given mean and variance
// mean + beta mean^(power + 1); off: the mean.
double rnegbin(double mean, double beta, double power, BOOL bDraw) {
    if (!bDraw || mean <= 0 || beta <= 0) return rpoisson(mean, bDraw);
    double shape = 1 / (beta * std::pow(mean, power - 1));
    return rpoisson(rgamma(shape, mean / shape));
}

double studentt(int df) {
    return norm() / std::sqrt(ChiSq(df) / df);
}

// The lognormal of median m and log-scale sigma s; off: the median.
double lognormalMedianSigma(double median, double sigma, BOOL bDraw) {
    return bDraw ? median * std::exp(sigma * norm()) : median;
}

// The log-scale variance of a lognormal of median m and variance v.
static double SigmaSqOfMedianVar(double median, double var) {
    double r = var / (median * median);
    return std::log((1 + std::sqrt(1 + 4 * r)) / 2);
}

double lognormalMedianVar(double median, double var, BOOL bDraw) {
    return lognormalMedianSigma(median, std::sqrt(SigmaSqOfMedianVar(median, var)), bDraw);
}

double lognormalMedianSD(double median, double sd, BOOL bDraw) {
    return lognormalMedianVar(median, sd * sd, bDraw);
}

// The lognormal of mean m and log-scale sigma s; off: the mean.
double lognormalMeanSigma(double mean, double sigma, BOOL bDraw) {
    if (!bDraw) return mean;
    return mean * std::exp(sigma * norm() - sigma * sigma / 2);
}

double lognormalMeanVar(double mean, double var, BOOL bDraw) {
    return lognormalMeanSigma(mean, std::sqrt(std::log(1 + var / (mean * mean))), bDraw);
}

double lognormalMeanSD(double mean, double sd, BOOL bDraw) {
    return lognormalMeanVar(mean, sd * sd, bDraw);
}

// L z with z standard normal; off: zeros. 'work' holds z.
void SampleMVNLTRow(int n, double const* half, double* work, double* out, BOOL bDraw) {
    for (int i = 0; i < n; i++)
        work[i] = bDraw ? norm() : 0;
    for (int i = 0; i < n; i++) {
        double s = 0;
        for (int j = 0; j <= i; j++)
            s += half[At(i, j)] * work[j];
        out[i] = s;
    }
}

void SampleMVTLTRow(int df, int n, double const* half, double* work, double* out, BOOL bDraw) {
    SampleMVNLTRow(n, half, work, out, bDraw);
    if (!bDraw) return;
    double w = std::sqrt(ChiSq(df) / df);
    for (int i = 0; i < n; i++)
        out[i] /= w;
}

// The factor L of a = L L'. A pivot of 0 leaves its column 0, and the result is FALSE then, as
// it is for a negative pivot.
BOOL CholeskyLTRow(int n, double const* a, double* half) {
    BOOL ok = TRUE;
    for (int j = 0; j < n; j++) {
        double d = a[At(j, j)];
        for (int k = 0; k < j; k++)
            d -= half[At(j, k)] * half[At(j, k)];
        double l = d > 0 ? std::sqrt(d) : 0;
        if (!(d > 0)) ok = 0;
        half[At(j, j)] = l;
        for (int i = j + 1; i < n; i++) {
            double s = a[At(i, j)];
            for (int k = 0; k < j; k++)
                s -= half[At(i, k)] * half[At(j, k)];
            half[At(i, j)] = l > 0 ? s / l : 0;
        }
    }
    return ok;
}

// Gauss-Jordan with partial pivoting on the full matrix.
void MatrixInvert(int n, double const* a, double* inverse, int& bError) {
    size_t w = size_t(2 * n);
    std::vector<double> m(size_t(n) * w, 0.0);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++)
            m[size_t(i) * w + size_t(j)] = a[At(i, j)];
        m[size_t(i) * w + size_t(n + i)] = 1;
    }
    bError = 0;
    for (int c = 0; c < n; c++) {
        int p = c;
        for (int r = c + 1; r < n; r++)
            if (std::fabs(m[size_t(r) * w + size_t(c)]) > std::fabs(m[size_t(p) * w + size_t(c)]))
                p = r;
        double piv = m[size_t(p) * w + size_t(c)];
        if (piv == 0) {
            bError = 1;
            return;
        }
        for (size_t j = 0; j < w; j++)
            std::swap(m[size_t(p) * w + j], m[size_t(c) * w + j]);
        for (size_t j = 0; j < w; j++)
            m[size_t(c) * w + j] /= piv;
        for (int r = 0; r < n; r++) {
            if (r == c) continue;
            double f = m[size_t(r) * w + size_t(c)];
            for (size_t j = 0; j < w; j++)
                m[size_t(r) * w + j] -= f * m[size_t(c) * w + j];
        }
    }
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++)
            inverse[At(i, j)] = m[size_t(i) * w + size_t(n + j)];
}

// The mean of 'nSamples' Wishart draws of 'df' degrees of freedom and scale L L', L being
// 'precHalf', by Bartlett's factor A: W = L A A' L'. 'work' holds L A by rows (n*n),
// 'worksq' is not needed.
void GenWish(int n, double df, double const* precHalf, double* work, double* /*worksq*/,
             double* out, int nSamples) {
    int m = n * (n + 1) / 2;
    for (int i = 0; i < m; i++)
        out[i] = 0;
    std::vector<double> a(size_t(n * n));
    for (int s = 0; s < nSamples; s++) {
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++)
                a[size_t(i * n + j)] = j < i ? norm() : j == i ? std::sqrt(ChiSq(df - i)) : 0;
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) {
                double v = 0;
                for (int k = j; k <= i; k++)
                    v += precHalf[At(i, k)] * a[size_t(k * n + j)];
                work[i * n + j] = v;
            }
        for (int i = 0; i < n; i++)
            for (int j = 0; j <= i; j++) {
                double v = 0;
                for (int k = 0; k < n; k++)
                    v += work[i * n + k] * work[j * n + k];
                out[At(i, j)] += v / nSamples;
            }
    }
}

// The one-by-one Wishart: precHalf^2 times a chi-square, averaged over 'nSamples'.
void GenChiSq(double df, double precHalf, double& out, int nSamples) {
    out = 0;
    for (int s = 0; s < nSamples; s++)
        out += precHalf * precHalf * ChiSq(df) / nSamples;
}

void Scale(int n, double factor, double* a) {
    for (int i = 0; i < n * (n + 1) / 2; i++)
        a[i] *= factor;
}

double ilogit(double x) {
    return 1 / (1 + std::exp(-x));
}

double iprobit(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

double iloglog(double x) {
    return std::exp(-std::exp(-x));
}

double icloglog(double x) {
    return 1 - std::exp(-std::exp(x));
}
