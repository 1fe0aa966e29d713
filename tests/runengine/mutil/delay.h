// Delay tables: not supported by this engine; a run that uses one stops with a message.
#pragma once

#include <cstdio>
#include <cstdlib>

enum class DelayDistType { Gamma, Weibull, InvGauss };

enum { DBM_DOSE_TABLE, DBM_SHORT_INFUSION };

template <typename NUM> struct DelayTable {
    NUM _yHist;
    int iDoseMode = DBM_DOSE_TABLE;

    void init() {}

    void insertDose(double, double, double) { Unsupported(); }

    template <typename X, typename T, typename S>
    NUM delayFunc(double, const X&, const T&, const S&, double, DelayDistType) {
        Unsupported();
    }

    [[noreturn]] static void Unsupported() {
        fprintf(stderr, "this test engine runs no delays\n");
        exit(4);
    }
};
