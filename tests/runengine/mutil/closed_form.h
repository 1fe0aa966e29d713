// Closed-form compartment machines of micro constants: up to three compartments and a
// first-order depot, advanced by integrating their linear equations. Machines of macro
// constants are not supported by this engine; a run that starts one stops with a message.
#pragma once

#include "mutil/odesolve_common.h"

#include <cstdio>
#include <cstdlib>

// State: ValA, Val1, Val2, Val3, RateA, Rate1; then the constants.
template <typename NUM> struct cf_m {
    NUM state[6];
    NUM k10, k12, k21, k13, k31, ka;
};

template <typename NUM> NUM CF2GetValA(cf_m<NUM>* m) {
    return m->state[0];
}

template <typename NUM> NUM CF2GetVal1(cf_m<NUM>* m) {
    return m->state[1];
}

template <typename NUM> NUM CF2GetVal2(cf_m<NUM>* m) {
    return m->state[2];
}

template <typename NUM> NUM CF2GetVal3(cf_m<NUM>* m) {
    return m->state[3];
}

template <typename NUM> NUM CF2GetRateA(cf_m<NUM>* m) {
    return m->state[4];
}

template <typename NUM> NUM CF2GetRate1(cf_m<NUM>* m) {
    return m->state[5];
}

template <typename NUM> void CF2SetValA(cf_m<NUM>* m, const NUM& v) {
    m->state[0] = v;
}

template <typename NUM> void CF2SetVal1(cf_m<NUM>* m, const NUM& v) {
    m->state[1] = v;
}

template <typename NUM> void CF2SetVal2(cf_m<NUM>* m, const NUM& v) {
    m->state[2] = v;
}

template <typename NUM> void CF2SetVal3(cf_m<NUM>* m, const NUM& v) {
    m->state[3] = v;
}

template <typename NUM> void CF2SetRateA(cf_m<NUM>* m, const NUM& v) {
    m->state[4] = v;
}

template <typename NUM> void CF2SetRate1(cf_m<NUM>* m, const NUM& v) {
    m->state[5] = v;
}

template <typename NUM, typename V> void CF2AddVal1(cf_m<NUM>* m, const V& v) {
    m->state[1] += v;
}

template <typename NUM, typename V> void CF2AddValA(cf_m<NUM>* m, const V& v) {
    m->state[0] += v;
}

template <typename NUM, typename V> void CF2AddRate1(cf_m<NUM>* m, const V& v) {
    m->state[5] += v;
}

template <typename NUM, typename V> void CF2AddRateA(cf_m<NUM>* m, const V& v) {
    m->state[4] += v;
}

template <typename NUM, typename A> void CF2InitMicro1(cf_m<NUM>* m, const A& k10) {
    m->k10 = NUM(k10);
}

template <typename NUM, typename A, typename B, typename C>
void CF2InitMicro2(cf_m<NUM>* m, const A& k10, const B& k12, const C& k21) {
    m->k10 = NUM(k10);
    m->k12 = NUM(k12);
    m->k21 = NUM(k21);
}

template <typename NUM, typename A, typename B, typename C, typename D, typename E>
void CF2InitMicro3(cf_m<NUM>* m, const A& k10, const B& k12, const C& k21, const D& k13,
                   const E& k31) {
    CF2InitMicro2<NUM>(m, k10, k12, k21);
    m->k13 = NUM(k13);
    m->k31 = NUM(k31);
}

[[noreturn]] inline void MacroMachinesUnsupported() {
    fprintf(stderr, "this test engine runs no machines of macro constants\n");
    exit(4);
}

template <typename NUM, typename... A> void CF2InitMacro1(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename... A> void CF2InitMacro2(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename... A> void CF2InitMacro3(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename... A> void CF2InitMacro1New(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename... A> void CF2InitMacro2New(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename... A> void CF2InitMacro3New(cf_m<NUM>*, const A&...) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename K> void CF2AppendKaNew(cf_m<NUM>*, const K&) {
    MacroMachinesUnsupported();
}

template <typename NUM, typename K> void CF2Add1stOrd(cf_m<NUM>* m, const K& ka) {
    m->ka = NUM(ka);
}

template <typename NUM> void CF2SetTimeOfState(cf_m<NUM>*, double) {}

template <typename NUM> void CF2SetTimeOfGetVal(cf_m<NUM>*, double) {}

// Depot, three compartments and the two infusion rates, moved on by 'dt'.
template <typename NUM> void CF2Advance(cf_m<NUM>* m, double dt) {
    if (dt <= 0) return;
    double t = 0;
    auto rates = [m](double, NUM* y, NUM* dy) {
        NUM out = m->k10 + m->k12 + m->k13;
        dy[0] = -m->ka * y[0] + y[4];
        dy[1] = m->ka * y[0] - out * y[1] + m->k21 * y[2] + m->k31 * y[3] + y[5];
        dy[2] = m->k12 * y[1] - m->k21 * y[2];
        dy[3] = m->k13 * y[1] - m->k31 * y[3];
        dy[4] = NUM(0.0);
        dy[5] = NUM(0.0);
    };
    DormandPrince(6, t, dt, m->state, rates, dOdeRTol, dOdeATol);
}
