// Runs a generated model that was included before this file: starts a subject with given
// parameters, covariates and doses, takes the actions of the queue in time order while the
// model advances, and reads variables by name.
#pragma once

#include <map>
#include <string>
#include <vector>

int ODESolve(int, double* ptOuter, double dt, double zzY[]) {
    double tt = *ptOuter;
    int res = DormandPrince(
        N_ODE, tt, *ptOuter + dt, zzY, [](double t_, double* y, double* dy) { Deriv(&t_, y, dy); },
        dOdeRTol, dOdeATol);
    *ptOuter = tt;
    return res;
}

namespace run {

struct Dose {
    double time, amount;
    std::string compartment;
    double duration = 0; // an infusion from the data when above 0
    int level = 1;       // 2 for dosepoint2
};

struct Subject {
    std::map<std::string, double> fixedEffects, randomEffects, covariates;
    std::vector<Dose> doses;
    std::vector<double> thetas, etas; // when given, in place of the two maps
};

// The thetas of the model (fixed effects, then sigmas) by name, from their initial values.
inline std::vector<double> Thetas(std::map<std::string, double> const& given) {
    std::vector<double> th(TOTAL_FIXEF > 0 ? size_t(TOTAL_FIXEF) : 1, 0.0);
    if (TOTAL_FIXEF > 0) GetFixefErrorInitial(th.data());
    for (int i = 0; i < TOTAL_FIXEF; i++) {
        char name[256] = "";
        GetFixefName(&i, name);
        auto it = given.find(name);
        if (it != given.end()) th[size_t(i)] = it->second;
    }
    return th;
}

inline std::vector<double> Etas(std::map<std::string, double> const& given) {
    std::vector<double> eta(NRANEF5 > 0 ? size_t(NRANEF5) : 1, 0.0);
    for (int i = 0; i < NRANEF5; i++) {
        char name[256] = "";
        GetRanef5Name(&i, name);
        auto it = given.find(name);
        if (it != given.end()) eta[size_t(i)] = it->second;
    }
    return eta;
}

inline ModelCallbackTable callbacks;

// A new subject in the given mode: parameters loaded, covariates set, doses scheduled, t = 0.
inline void Start(Subject const& s, AD_Mode mode = AD_Mode::REAL) {
    InitModels();
    SetCallbacks(&callbacks);
    SwitchMode(mode);
    std::vector<double> th = s.thetas.empty() ? Thetas(s.fixedEffects) : s.thetas;
    std::vector<double> eta = s.etas.empty() ? Etas(s.randomEffects) : s.etas;
    init_fixef(th.data());
    init_ranef(eta.data());
    InitSubject();
    for (auto const& c : s.covariates)
        SetCovariate(0, c.first.c_str(), c.second);
    curTime = 0;
    EvalSParms();
    InitCF(0);
    InitDelays(0);
    RestartSubjectSequences();
    for (Dose const& d : s.doses) {
        int cpt = GetCompartmentNumber(d.compartment.c_str());
        if (d.duration > 0 && d.level == 1)
            ScheduleIV1(0, d.time, cpt, d.amount, d.amount / d.duration, 0);
        if (d.duration > 0 && d.level == 2)
            ScheduleIV2(0, d.time, cpt, d.amount, d.amount / d.duration, 0);
        if (d.duration <= 0 && d.level == 1) ScheduleBolus1(0, d.time, cpt, d.amount, 0);
        if (d.duration <= 0 && d.level == 2) ScheduleBolus2(0, d.time, cpt, d.amount, 0);
    }
}

inline void Perform(QueuedAction const& a) {
    ActionTicket ticket{0, a.data.iarg, a.data};
    switch (a.kind) {
        case ZZACTION_DOSETIME:
            curTimeLastDose = curTime;
            iCurWhichDose++;
            break;
        case ZZACTION_BOLUS1: PerformBolus1(0, ticket); break;
        case ZZACTION_BOLUS2: PerformBolus2(0, ticket); break;
        case ZZACTION_INFSTRT1: PerformInfStart1(0, ticket); break;
        case ZZACTION_INFSTRT2: PerformInfStart2(0, ticket); break;
        case ZZACTION_INFEND1: PerformInfEnd1(0, ticket); break;
        case ZZACTION_INFEND2: PerformInfEnd2(0, ticket); break;
        case ZZACTION_SLEEP_SEQ: SequenceAction(a.data.iarg, curTime); break;
        default: break;
    }
}

// Moves the model on to 't', taking every action due on the way, those at 't' included.
inline void AdvanceTo(double t) {
    QueuedAction a;
    while (NextAction(t, a)) {
        if (a.t > curTime) {
            double tt = curTime;
            Advance(ODELEVEL_CDOPRI, &tt, a.t - curTime);
            curTime = a.t;
        }
        Perform(a);
    }
    if (t > curTime) {
        double tt = curTime;
        Advance(ODELEVEL_CDOPRI, &tt, t - curTime);
        curTime = t;
    }
}

inline double Read(char const* name) {
    double v = 0;
    if (!GetVarValue(name, &v)) {
        fprintf(stderr, "no variable %s\n", name);
        exit(5);
    }
    return v;
}

} // namespace run
