// Closed-form compartment machines of the engine. Each operation takes the machine of the
// number type NUM, which the model's cf_machines object converts to.
#pragma once

template <typename NUM> struct cf_m { double state[6]; };

template <typename NUM> NUM CF2GetValA(cf_m<NUM>* m);
template <typename NUM> NUM CF2GetVal1(cf_m<NUM>* m);
template <typename NUM> NUM CF2GetVal2(cf_m<NUM>* m);
template <typename NUM> NUM CF2GetVal3(cf_m<NUM>* m);
template <typename NUM> NUM CF2GetRateA(cf_m<NUM>* m);
template <typename NUM> NUM CF2GetRate1(cf_m<NUM>* m);

template <typename NUM> void CF2SetValA(cf_m<NUM>* m, const NUM& v);
template <typename NUM> void CF2SetVal1(cf_m<NUM>* m, const NUM& v);
template <typename NUM> void CF2SetVal2(cf_m<NUM>* m, const NUM& v);
template <typename NUM> void CF2SetVal3(cf_m<NUM>* m, const NUM& v);
template <typename NUM> void CF2SetRateA(cf_m<NUM>* m, const NUM& v);
template <typename NUM> void CF2SetRate1(cf_m<NUM>* m, const NUM& v);

// From micro constants (k10; k10, k12, k21; five for three compartments) or macro constants.
template <typename NUM, typename A> void CF2InitMicro1(cf_m<NUM>* m, const A& a);
template <typename NUM, typename A, typename B, typename C>
void CF2InitMicro2(cf_m<NUM>* m, const A& a, const B& b, const C& c);
template <typename NUM, typename A, typename B, typename C, typename D, typename E>
void CF2InitMicro3(cf_m<NUM>* m, const A& a, const B& b, const C& c, const D& d, const E& e);
template <typename NUM, typename A> void CF2InitMacro1(cf_m<NUM>* m, const A& a);
template <typename NUM, typename A, typename B, typename C>
void CF2InitMacro2(cf_m<NUM>* m, const A& a, const B& b, const C& c);
template <typename NUM, typename A, typename B, typename C, typename D, typename E>
void CF2InitMacro3(cf_m<NUM>* m, const A& a, const B& b, const C& c, const D& d, const E& e);

// From coefficient and exponent pairs.
template <typename NUM, typename A, typename B>
void CF2InitMacro1New(cf_m<NUM>* m, const A& a, const B& alpha);
template <typename NUM, typename A, typename B, typename C, typename D>
void CF2InitMacro2New(cf_m<NUM>* m, const A& a, const B& alpha, const C& b, const D& beta);
template <typename NUM, typename A, typename B, typename C, typename D, typename E, typename F>
void CF2InitMacro3New(cf_m<NUM>* m, const A& a, const B& alpha, const C& b, const D& beta,
                      const E& c, const F& gamma);

template <typename NUM, typename K> void CF2Add1stOrd(cf_m<NUM>* m, const K& ka);
template <typename NUM, typename K> void CF2AppendKaNew(cf_m<NUM>* m, const K& ka);

template <typename NUM> void CF2SetTimeOfState(cf_m<NUM>* m, double t);
template <typename NUM> void CF2SetTimeOfGetVal(cf_m<NUM>* m, double t);
template <typename NUM> void CF2Advance(cf_m<NUM>* m, double dt);

// Doses: an amount into the central compartment or the depot, or a change of their rates.
template <typename NUM, typename V> void CF2AddVal1(cf_m<NUM>* m, const V& v);
template <typename NUM, typename V> void CF2AddValA(cf_m<NUM>* m, const V& v);
template <typename NUM, typename V> void CF2AddRate1(cf_m<NUM>* m, const V& v);
template <typename NUM, typename V> void CF2AddRateA(cf_m<NUM>* m, const V& v);
