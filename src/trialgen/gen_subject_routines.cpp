// The routines of `subject` over all model instances of the join blocks: each applies one
// call to every instance in join order, the static ones to every model once, and the last
// advances the subject's state in time with the solver.
#include "trialgen/cohort_templates.h"
#include "trialgen/trialgen.h"

#include <set>
#include <string>

// A routine by its code: its head, what it does first, the call made on each instance (with
// a prefix), and what it does last. A routine without a call has a fixed body.
struct OverInstances {
    char const* head;
    char const* before;
    char const* prefix;
    char const* call;
    char const* after;
};

// ORDER code
// clang-format off
static OverInstances const overInstances[] = {
    {nullptr, nullptr, nullptr, nullptr, nullptr},
    {"void subject::InitReplicate(){\n", nullptr, "", "InitReplicate()", nullptr},
    {"void subject::InitScenario(){\n", nullptr, "", "InitScenario()", nullptr},
    {"void subject::InitGlobal(){\n", nullptr, "", "InitGlobal()", nullptr},
    {"void subject::InitSubject(){\n", nullptr, "", "InitSubject()", nullptr},
    {"void subject::StartSubject(){\n", "\tEvalSParms();\n", "", "StartSubject()", nullptr},
    {"void subject::StopSubject(){\n", nullptr, "", "StopSubject()", nullptr},
    {"void subject::EvalGroup(){\n", nullptr, "", "EvalGroup()", nullptr},
    {"void subject::EvalAssign(){\n", nullptr, "", "EvalAssign()", nullptr},
    {"void subject::CF2Advance(double dt){\n", nullptr, "", "CF2Advance(dt)", nullptr},
    {"void subject::EvalSParms(){\n", "\tEvalGroup();\n\tEvalAssign();\n", nullptr, nullptr, nullptr},
    {"int subject::GetNInteg(){\n", "\tint n = 0;\n", "n += ", "GetNInteg()", "\treturn n;\n"},
    {"void subject::SetInteg(int& zzn, double zzv[]){\n", "\tzzn = 0;\n", "", "SetInteg(zzn, zzv)", nullptr},
    {"void subject::GetInteg(int& zzn, double zzv[]){\n", "\tzzn = 0;\n", "", "GetInteg(zzn, zzv)", nullptr},
    {"void subject::GetRate(int& zzn, double zzr[]){\n", "\tzzn = 0;\n", "", "GetRate(zzn, zzr)", nullptr},
    {"void subject::SetTimeOfStateCF(double _t){\n", nullptr, "", "SetTimeOfStateCF(_t)", nullptr},
    {"void subject::SetTimeOfGetValCF(double _t){\n", nullptr, "", "SetTimeOfGetValCF(_t)", nullptr},
    {"int subject::GetNStateSS(){\n", "\tint n = 0;\n", "n += ", "GetNStateSS()", "\treturn n;\n"},
    {"void subject::GetStateSS(int& zzn, double zzv[]){\n", "\tzzn = 0;\n", "", "GetStateSS(zzn, zzv)", nullptr},
    {"void subject::SetStateSS(int& zzn, double zzv[]){\n", "\tzzn = 0;\n", "", "SetStateSS(zzn, zzv)", nullptr},
    {"void subject::Deriv(double zzv[], double zzr[]){\n",
     "\tint zzn = 0;\n\tSetInteg(zzn, zzv);\n\tEvalAssign();\n\tGetRate(zzn, zzr);\n", nullptr, nullptr, nullptr},
};
// clang-format on

// The exported names of the static routines, codes 1 to 3.
static char const* const exportedNames[] = {nullptr, "InitReplicate", "InitScenario", "InitGlobal"};

static char const* ItemModel(N const& item) {
    return item->child2->child1->name;
}

static char const* ItemInstance(N const& item) {
    return item->child1->name;
}

// 	m1::InitReplicate();
// once for each model, the first time a join item names it
void CGenCode3::GenStaticOverModels(NV const& joins, int code) {
    std::set<std::string> seen;
    for (N const& item : JoinItems(joins))
        if (seen.insert(ItemModel(item)).second)
            fprintf(fpSource, "\t%s::%s;\n", ItemModel(item), overInstances[code].call);
}

// 	n += a.GetNInteg();
void CGenCode3::GenOverInstances(NV const& joins, int code) {
    OverInstances const& r = overInstances[code];
    for (N const& item : JoinItems(joins))
        fprintf(fpSource, "\t%s%s.%s;\n", r.prefix, ItemInstance(item), r.call);
}

// extern void InitReplicate();
// void InitReplicate(){subject::InitReplicate();}
// void subject::InitReplicate(){
// 	m1::InitReplicate();
// }
void CGenCode3::GenCohortMiscRoutineOverAllModels(NV const& joins, int code) {
    if (code == 21) {
        fputs(integratorText, fpSource);
        fputs(advanceText, fpSource);
        return;
    }
    OverInstances const& r = overInstances[code];
    if (code <= 3) {
        fprintf(fpSource, "extern void %s();\n", exportedNames[code]);
        fprintf(fpSource, "void %s(){subject::%s();}\n", exportedNames[code], exportedNames[code]);
    }
    fputs(r.head, fpSource);
    if (r.before) fputs(r.before, fpSource);
    if (r.call && code <= 3) GenStaticOverModels(joins, code);
    if (r.call && code > 3) GenOverInstances(joins, code);
    if (r.after) fputs(r.after, fpSource);
    fprintf(fpSource, "}\n");
}

// void subject::StartSS(){ ... }
// static double vdis(int n, double* a, double* b){ ... }
// bool subject::GetSS(){ ... }
void CGenCode3::GenCohortSSRoutines() {
    fputs(startSSText, fpSource);
    fputs(vdisText, fpSource);
    fputs(getSSText, fpSource);
}
