// Engine mathematics used by generated expressions: cached functions (here: plain ones), the
// likelihood helpers as textbook formulas, link functions and random draws.
#pragma once

#include <cmath>
#include <cstdarg>
#include <random>

// The type of a result of two operand types: double with a dual type gives the dual type.
template <typename A, typename B> struct type_caster_up { typedef A type; };

template <typename B> struct type_caster_up<double, B> { typedef B type; };

// The shape of a gamma delay seen in the number type of the result.
template <typename RES, typename NUM> struct type_caster_down { typedef RES type; };

template <typename X, typename T> X _exp_cached(const X& x, T&, T&) {
    using std::exp;
    return exp(x);
}

template <typename X, typename T> X _log_cached(const X& x, T&, T&) {
    using std::log;
    return log(x);
}

template <typename X, typename T> X _ln_cached(const X& x, T&, T&) {
    using std::log;
    return log(x);
}

template <typename X> X _lgamm_cached(const X& x) {
    return X(std::lgamma(double(x)));
}

inline double ln(double x) {
    return std::log(x);
}

inline double lgamm(double x) {
    return std::lgamma(x);
}

// The regularised lower incomplete gamma function by its series, for the gamma CDF.
inline double GammaP(double s, double x) {
    if (x <= 0) return 0;
    double sum = 1.0 / s, term = sum;
    for (int n = 1; n < 500 && std::fabs(term) > 1e-16 * std::fabs(sum); n++) {
        term *= x / (s + n);
        sum += term;
    }
    return sum * std::exp(-x + s * std::log(x) - std::lgamma(s));
}

template <typename T1, typename T2, typename T3, typename T4>
double gammCDF(const T1& t, const T2& shape, const T3& scale, const T4&) {
    return GammaP(double(shape), double(t) / double(scale));
}

template <typename NUM, typename... Args> NUM CalcTMax(Args const&...) {
    return NUM(0.0);
}

inline std::mt19937& EngineRandom() {
    static std::mt19937 rng(12345);
    return rng;
}

inline double unif() {
    return std::uniform_real_distribution<double>(0, 1)(EngineRandom());
}

inline double norm() {
    return std::normal_distribution<double>(0, 1)(EngineRandom());
}

inline int rpois(double mean) {
    return std::poisson_distribution<int>(mean)(EngineRandom());
}

inline int rnegbin(double mean, double, double) {
    return rpois(mean);
}

// Defined by the generated model.
double _unifControlled(int bSampleEpsilon);
double _normControlled(int bSampleEpsilon);

template <typename T> T _interpolate(double t, double t0, const T& v0, double t1, const T& v1) {
    if (t1 == t0) return v0;
    return v0 + (v1 - v0) * ((t - t0) / (t1 - t0));
}

inline double _TransitCorrectionFactor(double) {
    return 1.0;
}

// log of the normal density of 'x' with standard deviation 'sig'
template <typename X, typename S>
typename type_caster_up<X, S>::type lnorm(const X& x, const S& sig) {
    using std::log;
    typename type_caster_up<X, S>::type z = x / sig;
    return -0.5 * z * z - log(sig) - 0.5 * std::log(2 * 3.14159265358979323846);
}

// log of the standard normal CDF at x / sig
template <typename X, typename S>
typename type_caster_up<X, S>::type lphi(const X& x, const S& sig) {
    typename type_caster_up<X, S>::type z = x / sig;
    double p = 0.5 * std::erfc(-double(z) / std::sqrt(2.0));
    double dens = std::exp(-0.5 * double(z) * double(z)) / std::sqrt(2 * 3.14159265358979323846);
    return (z - double(z)) * (dens / p) + std::log(p); // first-order carry of derivatives
}

template <typename X> X logfl(const X& x) {
    using std::log;
    return log(x);
}

// log of the Poisson probability of n with the given mean
template <typename M> M lpois(const M& mean, int n) {
    using std::log;
    return double(n) * log(mean) - mean - std::lgamma(n + 1.0);
}

// log of the negative binomial probability of n, with mean 'mean', overdispersion 'beta' and
// variance power 'power': size r = mean^(2 - power) / beta
template <typename M, typename B, typename P>
M lnegbin(const M& mean, const B& beta, const P& power, int n) {
    double mu = double(mean), r = std::pow(mu, 2 - double(power)) / double(beta);
    double v = std::lgamma(n + r) - std::lgamma(r) - std::lgamma(n + 1.0) +
               r * std::log(r / (r + mu)) + n * std::log(mu / (r + mu));
    return M(v);
}

template <typename X> X ilogit(const X& x) {
    using std::exp;
    return 1.0 / (1.0 + exp(-x));
}

template <typename X> X ilogit(const X& x, int, int) {
    return ilogit(x);
}

template <typename X> X iprobit(const X& x) {
    return X(0.5 * std::erfc(-double(x) / std::sqrt(2.0)));
}

inline int _bDroppingOut = 0;

template <typename X> void _tableGetXPos(int n, const X& x, int* ix0, int* ix1, double* frac, ...) {
    va_list args;
    va_start(args, frac);
    double prev = 0, xv = double(x);
    *ix0 = *ix1 = 0;
    *frac = 0;
    for (int i = 0; i < n; i++) {
        double v = va_arg(args, double);
        if (i == 0 || xv >= v) *ix0 = *ix1 = i;
        if (i > 0 && xv >= prev && xv < v) {
            *ix0 = i - 1;
            *ix1 = i;
            *frac = (xv - prev) / (v - prev);
        }
        prev = v;
    }
    va_end(args);
}

template <typename Y> void _tableSetYVal(int n, Y* y, int ix0, int ix1, double frac, ...) {
    va_list args;
    va_start(args, frac);
    double y0 = 0, y1 = 0;
    for (int i = 0; i < n; i++) {
        double v = va_arg(args, double);
        if (i == ix0) y0 = v;
        if (i == ix1) y1 = v;
    }
    va_end(args);
    *y = Y(y0 + (y1 - y0) * frac);
}
