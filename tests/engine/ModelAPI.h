// The engine's side of the model interface: the callback table handed to SetCallbacks, and the
// exported model routines that generated code calls before it defines them.
#pragma once

// Flags of a plottable variable.
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

// The kinds of observation the engine knows.
enum class ObsType { Unknown, Gaussian, Multi, Event, Count, LL_cont, LL_cat, LL_count, LL_event };

struct ModelCallbackTable {
    bool CantUniform() const;
    void OnEvent(double t, double tLastDose, char const* name, int censored);
    // time, time of last dose, name, category (-1 when none), prediction, simulated value,
    // observed value, sigma, square root of the variance function, quantification flag
    void OnObserve(double t, double tLastDose, char const* name, int category, double pred,
                   double sim, double obs, double sig, double sqrtvf, int iql);
};

// Records prediction and variance of one observation for the estimation.
void RecordObservation(double t, double tLastDose, int iWhichDose, int iWhichReset, double pred,
                       double obs, double var, int iObs);

void GetFixefErrorInitial(double* _data);
void ResetTime();
void ResetCF();
void ResetSubject();
void EvalSParms();
void SetTimeOfStateCF(double _t);
void SetTimeOfGetValCF(double _t);
double GetPredVFCorrectionFactor(int _iError);
