// The base of every model class of the trial program, and the tables its members use.
#pragma once

#include "StdAfx.h"

class DelayTable {
  public:
    void init();
};

class PeakTable {
  public:
    void init();
    // The running peak of a value where the condition holds, with the time of the peak.
    double peakFunc(double t, double value, double cond, double& tPeak);

  private:
    bool bAny_ = false;
    double peak_ = 0, tPeak_ = 0;
};

class StateMachine;

class PKPDModel {
  public:
    virtual ~PKPDModel();
    void Init();
    // What each model class evaluates for its subject.
    virtual void GetRate(int& zzn, double zzr[]);
    virtual void EvalGroup();
    virtual void EvalAssign();
    virtual void EvalSParms();
    virtual void InitSubject();
    virtual void StartSubject();
    virtual void StopSubject();
    virtual void CF2Advance(double dt);
    virtual void CF2GetState(double* y);
    virtual void CF2SetState(double* y);
    virtual void SetTimeOfStateCF(double _t);
    virtual void SetTimeOfGetValCF(double _t);
    // Gives a dose, event or sequence machine to the scheduler.
    void EnQueue(StateMachine* machine, int iState, double tAbsTime, double tAbsEps);
};

// A closed-form machine: the amounts and rates of its compartments, advanced in time.
class Ccf2machine {
  public:
    void Advance(double dt);
    void GetState(double* y);
    void SetState(double const* y);
    void SetTimeOfStateCF(double t);
    void SetTimeOfGetValCF(double t);
    void InitMicro1(double k);
    void InitMicro2(double k, double k12, double k21);
    void InitMicro3(double k, double k12, double k21, double k13, double k31);
    void InitMacro1(double alpha);
    void InitMacro2(double alpha, double b, double beta);
    void InitMacro3(double alpha, double b, double beta, double c, double gamma);
    void Add1stOrd(int n, double ka);
    void InitMacro1New(double c, double d, double a, double alpha);
    void InitMacro2New(double c, double d, double a, double alpha, double b, double beta);
    void InitMacro3New(double c, double d, double a, double alpha, double b, double beta, double cc,
                       double gamma);
    void AppendKaNew(double ka);
#define CF2_VALUE(X)                                                                               \
    double Get##X();                                                                               \
    void Set##X(double v);                                                                         \
    void Add##X(double v);
    CF2_VALUE(ValA)
    CF2_VALUE(Val1)
    CF2_VALUE(Val2)
    CF2_VALUE(Val3)
    CF2_VALUE(RateA)
    CF2_VALUE(Rate1)
#undef CF2_VALUE

  private:
    // Amounts of the depot and compartments 1 to 3 (macro forms: of the exponential modes),
    // then the input rates into the depot and compartment 1: the layout of GetState.
    double y_[6] = {};
    double k_ = 0, k12_ = 0, k21_ = 0, k13_ = 0, k31_ = 0, ka_ = 0;
    double coef_[3] = {}, expo_[3] = {};
    int nCpt_ = 1;              // compartments, or exponential modes of a macro form
    bool bMacro_ = false;       // amounts are modes whose sum is the central value
    bool bDoseToDepot_ = false; // AppendKaNew: doses of 1 go to A
    double tState_ = 0, tGetVal_ = 0;
    void Reset(int n, bool bMacro);
    void Propagate(double const* from, double dt, double* to) const;
    double const* ValuesNow(double* buf) const;
};

// A member that reads, writes and adds to a value through the model's accessors, so that
// "X += dose" works alike on an integrator and on a closed form.
template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
class Property {
  public:
    void Init(M* model);
    operator T() const;
    Property& operator=(T const& v);
    Property& operator+=(T const& v);
    Property& operator-=(T const& v);

  private:
    M* model_ = nullptr;
};

template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
void Property<M, T, Get, Set, Add>::Init(M* model) {
    model_ = model;
}

template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
Property<M, T, Get, Set, Add>::operator T() const {
    return (model_->*Get)();
}

template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
Property<M, T, Get, Set, Add>& Property<M, T, Get, Set, Add>::operator=(T const& v) {
    (model_->*Set)(v);
    return *this;
}

template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
Property<M, T, Get, Set, Add>& Property<M, T, Get, Set, Add>::operator+=(T const& v) {
    (model_->*Add)(v);
    return *this;
}

template <class M, class T, T (M::*Get)(), void (M::*Set)(T const&), void (M::*Add)(T const&)>
Property<M, T, Get, Set, Add>& Property<M, T, Get, Set, Add>::operator-=(T const& v) {
    (model_->*Add)(-v);
    return *this;
}
