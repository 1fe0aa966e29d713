// The engine's side of the model interface: the callback table, which records what the model
// reports, and the record of observations.
#pragma once

#include <string>
#include <vector>

enum {
    _TYP_CONTIN = 1,
    _TYP_EVENT = 2,
    _TYP_MULTI = 4,
    _SWEEP_AVAIL = 8,
    _POINT_AVAIL = 16,
    _CAN_OVERLAY = 32,
    _CAN_TRELLIS = 64,
    _CAN_LOG = 128
};

enum class ObsType { Unknown, Gaussian, Multi, Event, Count, LL_cont, LL_cat, LL_count, LL_event };

// One call of OnObserve.
struct ObservedRecord {
    double t, tLastDose;
    std::string name;
    int category;
    double pred, sim, obs, sig, sqrtvf;
    int iql;
};

// One call of RecordObservation.
struct PredictionRecord {
    double pred, obs, var;
};

inline std::vector<ObservedRecord> observedRecords;
inline std::vector<PredictionRecord> predictionRecords;

struct ModelCallbackTable {
    bool CantUniform() const { return true; }

    void OnEvent(double, double, char const*, int) {}

    void OnObserve(double t, double tLastDose, char const* name, int category, double pred,
                   double sim, double obs, double sig, double sqrtvf, int iql) {
        observedRecords.push_back({t, tLastDose, name, category, pred, sim, obs, sig, sqrtvf, iql});
    }
};

inline void RecordObservation(double, double, int, int, double pred, double obs, double var, int) {
    predictionRecords.push_back({pred, obs, var});
}

// Derivatives of predictions by the dual thetas and etas, in the order of the dual parameters.
inline std::vector<std::vector<double>> predThetaGrads, predEtaGrads;
inline bool capturePredictions = false;

inline bool IsLaplacePredCaptureActive() {
    return capturePredictions;
}

inline bool IsLaplaceEtaPredCaptureActive() {
    return capturePredictions;
}

inline void AccumulatePredGrad(int obsIndex, int thetaIdx, double yGrad, double) {
    if (int(predThetaGrads.size()) <= obsIndex) predThetaGrads.resize(size_t(obsIndex) + 1);
    auto& row = predThetaGrads[size_t(obsIndex)];
    if (int(row.size()) <= thetaIdx) row.resize(size_t(thetaIdx) + 1);
    row[size_t(thetaIdx)] = yGrad;
}

inline void AccumulatePredEtaGrad(int obsIndex, int etaIdx, double dyGrad) {
    if (int(predEtaGrads.size()) <= obsIndex) predEtaGrads.resize(size_t(obsIndex) + 1);
    auto& row = predEtaGrads[size_t(obsIndex)];
    if (int(row.size()) <= etaIdx) row.resize(size_t(etaIdx) + 1);
    row[size_t(etaIdx)] = dyGrad;
}

void GetFixefErrorInitial(double* _data);
void ResetTime();
void ResetCF();
void ResetSubject();
void EvalSParms();
void SetTimeOfStateCF(double _t);
void SetTimeOfGetValCF(double _t);
double GetPredVFCorrectionFactor(int _iError);
