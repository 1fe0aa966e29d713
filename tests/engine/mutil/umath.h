// Engine mathematics used by generated expressions: cached functions, gamma and delay helpers.
#pragma once

#include <cmath>

// The type of a result of two operand types: double with a dual type gives the dual type.
template <typename A, typename B> struct type_caster_up { typedef A type; };

template <typename B> struct type_caster_up<double, B> { typedef B type; };

template <typename RES, typename NUM> struct type_caster_down { typedef NUM type; };

template <typename X, typename T> X _exp_cached(const X& x, T& arg, T& result);
template <typename X, typename T> X _log_cached(const X& x, T& arg, T& result);
template <typename X, typename T> X _ln_cached(const X& x, T& arg, T& result);
template <typename X> X _lgamm_cached(const X& x);
template <typename T1, typename T2, typename T3, typename T4>
double gammCDF(const T1& t, const T2& shape, const T3& scale, const T4& lgam);
template <typename NUM, typename... Args> NUM CalcTMax(Args const&... args);
double ln(double x);
double lgamm(double x);
double _unifControlled(int bSampleEpsilon);
double _normControlled(int bSampleEpsilon);
template <typename T> T _interpolate(double t, double t0, const T& v0, double t1, const T& v1);
double _TransitCorrectionFactor(double n);

// Log-densities and their kin, in the number type of their first operands.
template <typename X, typename S>
typename type_caster_up<X, S>::type lnorm(const X& x, const S& sig);
template <typename X, typename S>
typename type_caster_up<X, S>::type lphi(const X& x, const S& sig);
template <typename X> X logfl(const X& x);
template <typename M> M lpois(const M& mean, int n);
template <typename M, typename B, typename P>
M lnegbin(const M& mean, const B& beta, const P& power, int n);
template <typename X> X ilogit(const X& x);
template <typename X> X ilogit(const X& x, int category, int remaining);
template <typename X> X iprobit(const X& x);
double norm();
int rpois(double mean);
int rnegbin(double mean, double beta, double power);
extern int _bDroppingOut;
// Tables: the place of x among the n values of the x row, then a y value at that place.
template <typename X> void _tableGetXPos(int n, const X& x, int* ix0, int* ix1, double* frac, ...);
template <typename Y> void _tableSetYVal(int n, Y* y, int ix0, int ix1, double frac, ...);
