// The discrete-event scheduler of the trial program: every running thing is a StateMachine,
// resumed by Run at the state it left.
#pragma once

#include <cstdio>

class StateMachine {
  public:
    StateMachine();
    virtual ~StateMachine();

    virtual void Run(int iState, double tAbsTime, double tAbsEps) = 0;
    virtual int GetType();
    virtual void Print(FILE* f, int nIndent);
    virtual int IsSubject();

    static double CurrentAbsTime();
    static double CurrentAbsEps();
    // A steady-state run has a clock of its own.
    static void SetInSteadyState(bool bOn);
    static bool InSteadyState();
    static double dCurrentSSTime;

    // Re-enters 'machine' at 'iState'.
    void EnQueue(StateMachine* machine, int iState);
    void Destroy();
    int _bFinallyDone;
};
