// Delay tables of the engine.
#pragma once

enum class DelayDistType { Gamma, Weibull, InvGauss };

template <typename NUM> struct DelayTable {
    template <typename X, typename T, typename S>
    NUM delayFunc(double t, const X& x, const T& tau, const S& shape, double n, DelayDistType d);
};
