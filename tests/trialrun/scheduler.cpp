// The discrete-event scheduler of the test run-time library: a queue of (time, epsilon,
// priority, sequence number) entries, each re-entering one machine at one state. A lower
// priority runs first among equal times, and equal keys run in the order they were queued.
//
// Destroy deletes a machine after its Run returns. A subject is kept until every machine started
// under it (doses, events, sequences, sprocs) has ended too, since those still read the subject
// through their _pSubj: each machine belongs to the subject that was running when it was first
// queued, or to the machine that queued it, and counts towards that subject's live children.
//
// A steady-state search runs on a clock of its own, dCurrentSSTime, which CurrentAbsTime gives
// while it lasts. Whatever is queued then goes to a second queue on that clock, which runs
// before anything else: the dosing cycles take no absolute time, and no other subject runs in
// between. When the search ends, what is left there (a dose still running over the end of the
// last cycle) moves to the main queue, the end of the search being now.
#include "PKPDModel.h"
#include "StateMachine.h"
#include "trialrun.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <queue>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

struct Entry {
    double t, eps;
    int priority;
    long long seq;
    StateMachine* machine;
    int state;
};

// The later entry is the greater: the queue's top is the next to run.
struct Later {
    bool operator()(Entry const& a, Entry const& b) const {
        if (a.t != b.t) return a.t > b.t;
        if (a.eps != b.eps) return a.eps > b.eps;
        if (a.priority != b.priority) return a.priority > b.priority;
        return a.seq > b.seq;
    }
};

struct Info {
    StateMachine* subject = nullptr; // the subject it belongs to, or none
    int queued = 0;                  // entries in the queue
    int children = 0;                // live machines that belong to it (subjects only)
    bool destroyed = false;
};

std::priority_queue<Entry, std::vector<Entry>, Later> queue, ssQueue;
std::unordered_map<StateMachine*, Info> machines;
std::vector<std::pair<StateMachine*, int>> suspended;
long long nextSeq = 0, nRuns = 0;
double now = 0, nowEps = 0;
StateMachine* running = nullptr;
bool bSteadyState = false;

// A run of entries at one time, each queued by the one before, is a machine that never lets
// the clock move: stop rather than spin.
long long nSameTime = 0;
long long const maxSameTime = 50000000;

// The record of 'm', made on its first appearance with the subject that owns it.
Info& Register(StateMachine* m) {
    auto it = machines.find(m);
    if (it != machines.end()) return it->second;
    Info info;
    if (running && !running->IsSubject()) info.subject = machines[running].subject;
    if (running && running->IsSubject()) info.subject = running;
    if (m->IsSubject()) info.subject = nullptr;
    if (info.subject) machines[info.subject].children++;
    return machines[m] = info;
}

void Push(StateMachine* m, int state, double t, double eps, int priority) {
    Register(m).queued++;
    (bSteadyState ? ssQueue : queue).push(Entry{t, eps, priority, nextSeq++, m, state});
}

// Deletes 'm' if it is destroyed and nothing refers to it any more, then its subject likewise.
void Reap(StateMachine* m) {
    auto it = machines.find(m);
    if (it == machines.end()) return;
    Info info = it->second;
    if (!info.destroyed || info.queued > 0 || info.children > 0) return;
    machines.erase(it);
    delete m;
    if (!info.subject) return;
    machines[info.subject].children--;
    Reap(info.subject);
}

// The name a machine goes by: the first line that its Print writes, without blanks.
std::string NameOf(StateMachine* m) {
    char* text = nullptr;
    size_t size = 0;
    FILE* f = open_memstream(&text, &size);
    m->Print(f, 0);
    fclose(f);
    std::string name(text ? text : "");
    free(text);
    size_t end = name.find('\n');
    if (end != std::string::npos) name.resize(end);
    while (!name.empty() && name[0] == ' ')
        name.erase(0, 1);
    return name;
}

} // namespace

double StateMachine::dCurrentSSTime = 0;

StateMachine::StateMachine() : _bFinallyDone(0), iArm(0), iSub(0), iPer(0), iSubpop(0) {}

StateMachine::~StateMachine() {}

int StateMachine::GetType() {
    return -1;
}

void StateMachine::Print(FILE* f, int nIndent) {
    fprintf(f, "%*sStateMachine\n", nIndent, "");
}

int StateMachine::IsSubject() {
    return 0;
}

double StateMachine::CurrentAbsTime() {
    return bSteadyState ? dCurrentSSTime : now;
}

double StateMachine::CurrentAbsEps() {
    return nowEps;
}

void StateMachine::SetInSteadyState(bool bOn) {
    if (bSteadyState && !bOn)
        for (; !ssQueue.empty(); ssQueue.pop()) {
            Entry e = ssQueue.top();
            e.t = now + (e.t - dCurrentSSTime);
            queue.push(e);
        }
    bSteadyState = bOn;
}

bool StateMachine::InSteadyState() {
    return bSteadyState;
}

void StateMachine::EnQueue(StateMachine* machine, int iState) {
    Push(machine, iState, CurrentAbsTime(), nowEps, 0);
}

void StateMachine::EnQueue(StateMachine* machine, int iState, double tAbsTime, double tAbsEps) {
    Push(machine, iState, tAbsTime, tAbsEps, 0);
}

void PKPDModel::EnQueue(StateMachine* machine, int iState, double tAbsTime, double tAbsEps) {
    Push(machine, iState, tAbsTime, tAbsEps, 0);
}

void StateMachine::Destroy() {
    Register(this).destroyed = true;
    if (running != this) Reap(this);
}

void StateMachine::_Sleep(int iState, double delay, int priority) {
    Push(this, iState, CurrentAbsTime() + (delay > 0 ? delay : 0), nowEps, priority);
}

void StateMachine::_Suspend(int iState) {
    Register(this);
    suspended.emplace_back(this, iState);
}

void StateMachine::_Resume(char const* sName) {
    std::vector<std::pair<StateMachine*, int>> still;
    for (auto const& s : suspended) {
        if (NameOf(s.first) == sName)
            Push(s.first, s.second, CurrentAbsTime(), nowEps, 0);
        else
            still.push_back(s);
    }
    suspended.swap(still);
}

namespace trialrun {

void RunQueue() {
    now = nowEps = 0;
    nSameTime = 0;
    while (!queue.empty() || !ssQueue.empty()) {
        bool bCycle = !ssQueue.empty();
        auto& from = bCycle ? ssQueue : queue;
        Entry e = from.top();
        from.pop();
        if (bCycle) {
            StateMachine::dCurrentSSTime = e.t;
        } else {
            nSameTime = e.t == now ? nSameTime + 1 : 0;
            if (nSameTime > maxSameTime) {
                fprintf(stderr, "trialrun: the clock does not move past %g\n", now);
                exit(3);
            }
            now = e.t;
        }
        nowEps = e.eps;
        machines[e.machine].queued--;
        running = e.machine;
        e.machine->Run(e.state, e.t, e.eps);
        nRuns++;
        running = nullptr;
        Reap(e.machine);
    }
    suspended.clear(); // never resumed: they end with the run
    now = nowEps = 0;  // for the draws and the main machine of the next run
}

long long RunCount() {
    return nRuns;
}

int LiveMachines() {
    return int(machines.size());
}

} // namespace trialrun
