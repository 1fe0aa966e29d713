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
};

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
    void InitMacro1(double k);
    void InitMacro2(double k, double k12, double k21);
    void InitMacro3(double k, double k12, double k21, double k13, double k31);
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
};
