// Delay tables of the engine.
#pragma once

enum class DelayDistType { Gamma, Weibull, InvGauss };

// How a delay table takes doses: as a table of past doses, or as short infusions.
enum { DBM_DOSE_TABLE, DBM_SHORT_INFUSION };

template <typename NUM> struct DelayTable {
    NUM _yHist; // the value before the first recorded time
    int iDoseMode;

    void init();
    void insertDose(double t, double amount, double rate);
    template <typename X, typename T, typename S>
    NUM delayFunc(double t, const X& x, const T& tau, const S& shape, double n, DelayDistType d);
};
