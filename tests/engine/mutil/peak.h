// Peak tables of the engine.
#pragma once

template <typename NUM> struct PeakTable {
    void init();
    template <typename X, typename C> NUM peakFunc(double t, const X& x, const C& cond, NUM& out);
};
