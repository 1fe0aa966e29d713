// The records of the test run-time library, the switches of the draws and the solver's
// settings. Every record is one CSV line:
//   kind,scenario,replicate,arm,subject,period,instance,name,value,units,time,extra1,extra2
// with kind observe, bolus, infuse, covar, ranef, fixef, sigma, omega or allocation; time is the
// scheduler's clock. A bolus has the compartment's amount before the dose as extra1; an infusion
// that and its rate as extra2. Records above the subject level leave arm to instance empty.
// Nothing is recorded during a steady-state search: its cycles are not part of the study.
#include "RTL.h"
#include "StateMachine.h"
#include "trialrun.h"

#include <cstdio>

BOOL ENBIND = TRUE;
BOOL ENBREP = TRUE;
BOOL ENBOBS = TRUE;
double _lmaxstep = 0;
int _bAbortingSubject = 0;

static FILE* records = nullptr;

// The library's solver has no use for the hint.
void _setOnTrajectory(int /*bOn*/) {}

namespace {
// The scheduler's clock stamps every record.
double Now() {
    return StateMachine::CurrentAbsTime();
}

char const* Text(LPCTSTR s) {
    return s ? s : "";
}

} // namespace

void trialrun::Record(char const* kind, int iScen, int iRep, char const* subjectPart,
                      LPCTSTR sInstance, LPCTSTR sName, double value, LPCTSTR sUnits,
                      char const* extra) {
    if (!records || StateMachine::InSteadyState()) return;
    fprintf(records, "%s,%d,%d,%s,%s,%s,%.17g,%s,%.17g,%s\n", kind, iScen, iRep, subjectPart,
            Text(sInstance), Text(sName), value, Text(sUnits), Now(), extra);
}

namespace {

// "arm,subject,period" of a subject's record.
struct SubjectPart {
    char text[64];

    SubjectPart(int iArm, int iSub, int iPer) {
        snprintf(text, sizeof text, "%d,%d,%d", iArm, iSub, iPer);
    }
};
} // namespace

void trialrun::OpenRecords(char const* path) {
    CloseRecords();
    if (!path || !*path) return;
    records = fopen(path, "w");
    if (!records) {
        perror(path);
        return;
    }
    fprintf(records,
            "kind,scenario,replicate,arm,subject,period,instance,name,value,units,time,extra1,"
            "extra2\n");
}

void trialrun::CloseRecords() {
    if (records) fclose(records);
    records = nullptr;
}

void _rec_observe(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance,
                  LPCTSTR sName, double value, LPCTSTR sUnits) {
    trialrun::Record("observe", iScen, iRep, SubjectPart(iArm, iSub, iPer).text, sInstance, sName,
                     value, sUnits, ",");
}

void _rec_bolus(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double amount, LPCTSTR sUnits, double value) {
    char extra[64];
    snprintf(extra, sizeof extra, "%.17g,", value);
    trialrun::Record("bolus", iScen, iRep, SubjectPart(iArm, iSub, iPer).text, sInstance, sName,
                     amount, sUnits, extra);
}

void _rec_infuse(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance,
                 LPCTSTR sName, double amount, LPCTSTR sUnits, double value, double rate) {
    char extra[64];
    snprintf(extra, sizeof extra, "%.17g,%.17g", value, rate);
    trialrun::Record("infuse", iScen, iRep, SubjectPart(iArm, iSub, iPer).text, sInstance, sName,
                     amount, sUnits, extra);
}

void _rec_covar(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double value, LPCTSTR sUnits) {
    trialrun::Record("covar", iScen, iRep, SubjectPart(iArm, iSub, iPer).text, sInstance, sName,
                     value, sUnits, ",");
}

void _rec_ranef(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double value, LPCTSTR sUnits) {
    trialrun::Record("ranef", iScen, iRep, SubjectPart(iArm, iSub, iPer).text, sInstance, sName,
                     value, sUnits, ",");
}

void _rec_fixef(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits) {
    trialrun::Record("fixef", iScen, iRep, ",,", "", sName, value, sUnits, ",");
}

void _rec_sigma(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits) {
    trialrun::Record("sigma", iScen, iRep, ",,", "", sName, value, sUnits, ",");
}

void _rec_omega(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits) {
    trialrun::Record("omega", iScen, iRep, ",,", "", sName, value, sUnits, ",");
}
