// The engine's side of the model interface: the callback table handed to SetCallbacks, and the
// exported model routines that generated code calls before it defines them.
#pragma once

struct ModelCallbackTable {
    bool CantUniform() const;
    void OnEvent(double t, double tLastDose, char const* name, int censored);
};

void GetFixefErrorInitial(double* _data);
void ResetTime();
void ResetCF();
void ResetSubject();
void EvalSParms();
void SetTimeOfStateCF(double _t);
void SetTimeOfGetValCF(double _t);
