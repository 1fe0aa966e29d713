// Delay tables of the engine.
#pragma once

enum class DelayDistType { Gamma, Weibull, InvGauss };

template <typename NUM> struct DelayTable {
    NUM _yHist; // the value before the first recorded time

    void init();
    template <typename X, typename T, typename S>
    NUM delayFunc(double t, const X& x, const T& tau, const S& shape, double n, DelayDistType d);
};
