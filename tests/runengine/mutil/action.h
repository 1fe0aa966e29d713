// The engine's queue of actions: doses, infusions, sleeps of sequences, in time order; and the
// subject's clock.
#pragma once

#include "mutil/action_data.h"

#include <algorithm>
#include <vector>

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

inline double curTime = 0;
inline double curTimeLastDose = 0;
inline int iCurWhichDose = 0;
inline int iCurWhichReset = 0;
inline double _dMaxTime = 1e30;
inline int _bOnTrajectory = 0;

// One queued action; times are absolute, made from the relative times the model gives.
struct QueuedAction {
    double t;
    int priority;
    int kind;
    ActionDataRef data;
    int seq;
};

inline std::vector<QueuedAction> actionQueue;
inline int actionSeq = 0;

inline int insert_action(double t, int priority, int action, ActionDataRef data, int) {
    actionQueue.push_back({curTime + t, priority, action, data, actionSeq++});
    return int(actionQueue.size()) - 1;
}

inline int insert_action(double t, int priority, int action, ActionDataRef data) {
    return insert_action(t, priority, action, data, -1);
}

inline int insert_action(double t, int priority, int action, int after) {
    return insert_action(t, priority, action, ActionDataRef(), after);
}

inline int insert_action(double t, int priority, int action) {
    return insert_action(t, priority, action, ActionDataRef(), -1);
}

// Takes the earliest action at or before 'until' out of the queue; false when there is none.
inline bool NextAction(double until, QueuedAction& out) {
    auto it = std::min_element(actionQueue.begin(), actionQueue.end(),
                               [](QueuedAction const& a, QueuedAction const& b) {
                                   if (a.t != b.t) return a.t < b.t;
                                   if (a.priority != b.priority) return a.priority < b.priority;
                                   return a.seq < b.seq;
                               });
    if (it == actionQueue.end() || it->t > until) return false;
    out = *it;
    actionQueue.erase(it);
    return true;
}

template <typename NUM, typename A> void AddToCpt(NUM* zzY, int iCpt, const A& amount) {
    zzY[iCpt] += amount;
}

inline void StartDroppingOut() {
    _bDroppingOut = 1;
}

inline void ClearActions() {
    actionQueue.clear();
}

inline void SwitchToSSActions() {}

inline void SwitchToDefaultActions() {}

inline void new_ss() {}

inline void InterpSS(unsigned char const*, int*, int, int) {}
