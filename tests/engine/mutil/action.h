// The engine's queue of actions: doses, infusions, sequences; and the subject's clock.
#pragma once

struct ActionTicket {
    int mark;
    int iCpt;
};

#include "mutil/action_data.h"

enum {
    ZZACTION_DOSETIME,
    ZZACTION_BOLUS1,
    ZZACTION_BOLUS2,
    ZZACTION_INFSTRT1,
    ZZACTION_INFSTRT2,
    ZZACTION_INFEND1,
    ZZACTION_INFEND2,
    ZZMARK_BOLUS1,
    ZZMARK_BOLUS2,
    ZZMARK_INFSTRT1,
    ZZMARK_INFSTRT2,
    ZZACTION_SLEEP_SEQ,
    ZZACTION_SLEEP_EVENT,
    ZZACTION_TIME
};

// Puts an action in the time-ordered queue, after the one at 'after' if given; returns its place.
int insert_action(double t, int priority, int action);
int insert_action(double t, int priority, int action, int after);
int insert_action(double t, int priority, int action, ActionDataRef data);
int insert_action(double t, int priority, int action, ActionDataRef data, int after);

// Adds an amount to a compartment at once, from action code of a sequence.
template <typename NUM, typename A> void AddToCpt(NUM* zzY, int iCpt, const A& amount);

extern int _bOnTrajectory;
void StartDroppingOut();
double unif();

extern double curTime;
extern double curTimeLastDose;
extern int iCurWhichDose;
extern int iCurWhichReset;
extern double _dMaxTime;
void ClearActions();
void SwitchToSSActions();
void SwitchToDefaultActions();
void new_ss();
void InterpSS(unsigned char const* pc, int* pbOK, int changeTime, int first);
