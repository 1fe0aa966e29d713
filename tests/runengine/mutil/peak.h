// Peak tables: the largest value seen while the condition holds.
#pragma once

template <typename NUM> struct PeakTable {
    bool seen = false;
    NUM best;

    void init() { seen = false; }

    template <typename X, typename C> NUM peakFunc(double, const X& x, const C& cond, NUM& out) {
        if (cond && (!seen || NUM(x) > best)) {
            best = NUM(x);
            seen = true;
        }
        out = seen ? best : NUM(x);
        return out;
    }
};
