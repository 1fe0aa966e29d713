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

    // Re-enters 'machine' at 'iState'; the long form at the given time and epsilon.
    void EnQueue(StateMachine* machine, int iState);
    void EnQueue(StateMachine* machine, int iState, double tAbsTime, double tAbsEps);
    void Destroy();
    int _bFinallyDone;

    // Re-enters this machine at 'iState' after 'delay'; used by SLEEP.
    void _Sleep(int iState, double delay, int priority);
    // Parks this machine until a RESUME names it; it comes back at 'iState'. Used by SUSPEND.
    void _Suspend(int iState);
    // Wakes the suspended machines that go by 'sName'; used by RESUME.
    void _Resume(char const* sName);

    // The arm, number, period and sub-population of the subject being simulated.
    int iArm, iSub, iPer, iSubpop;
};

// Suspends Run for 'delay'; the scheduler comes back with iState 'n', which jumps to Ln.
#define SLEEP(n, delay, priority)                                                                  \
    do {                                                                                           \
        _Sleep(n, delay, priority);                                                                \
        return;                                                                                    \
        L##n:;                                                                                     \
    } while (0)

// Waits until another machine resumes this one, which comes back with iState 'n'.
#define SUSPEND(n)                                                                                 \
    do {                                                                                           \
        _Suspend(n);                                                                               \
        return;                                                                                    \
        L##n:;                                                                                     \
    } while (0)

// Wakes the suspended machines named 'name'.
#define RESUME(name) _Resume(#name)

// Starts a new machine beside this one; it wakes its caller at the state it was given.
#define START(machine) EnQueue(machine, 0)

// Starts a new machine and waits until it ends and re-enters this one with iState 'n'.
#define CALL(n, machine)                                                                           \
    do {                                                                                           \
        EnQueue(machine, 0);                                                                       \
        return;                                                                                    \
        L##n:;                                                                                     \
    } while (0)
