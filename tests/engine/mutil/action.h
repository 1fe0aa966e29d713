// The engine's queue of actions: doses, infusions, sequences; and the subject's clock.
#pragma once

struct ActionTicket {
    int mark;
    int iCpt;
};

extern double curTime;
extern double curTimeLastDose;
extern int iCurWhichDose;
extern double _dMaxTime;
void ClearActions();
void SwitchToSSActions();
void SwitchToDefaultActions();
void new_ss();
void InterpSS(unsigned char const* pc, int* pbOK, int changeTime, int first);
