// The subject evaluation section of Model.cpp, its table of contents, and the routines that
// start, reset and end one subject: SetTransit_ for transit chains, reset_subject,
// init_delays, the covariate statistics, init_subject, the restart routines, end_subject and
// the main sigma.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <cstring>

static bool IsIn(char const* name, SV const& list) {
    return MemberOf(name, list) >= 0;
}

static bool IsClosedForm(N const& s) {
    return s && (s->type == CN_CFMICRO || s->type == CN_CFMACRO1 || s->type == CN_CFMACRO);
}

// The truncated max of a transit statement: its number of stages.
static int TransitStages(N const& s) {
    return s->child4 ? int(s->child4->value) : 0;
}

// The integrators: deriv, urine and event slots, every transit chain with its two extra
// slots, and the delayInfCpt compartments.
static int CountIntegrators(CGenCode const& g) {
    return g.nDerivCount + g.nUrineCount + g.nEventCount + CountTransitSlots(g.pBody) +
           CountTopStatements(g.pBody, CN_DELAYINFCPT);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::clear_ss_irrelevant_state(DualType * _y)
// {
// 	_y[2] = NUM(0.0);
// }
// Urine and event accumulators must not count in the steady-state test. The event index
// leaves out the delayInfCpt slots; run results of existing models depend on it.
static void GenClearSSIrrelevantState(CGenCode const& g, int nTransit) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::clear_ss_irrelevant_state(DualType * _y)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    for (int k = 0; k < g.nUrineCount; k++)
        fprintf(fp, "\t_y[%d] = NUM(0.0);\n", g.nDerivCount + k);
    for (int k = 0; k < g.nEventCount; k++)
        fprintf(fp, "\t_y[%d] = NUM(0.0);\n", g.nDerivCount + g.nUrineCount + nTransit + k);
    fprintf(fp, "}\n\n");
}

// template <typename Model>
// void SetTransit_A(double _v, double* zzY, Model & m)
// { ... every stage of the chain gets the value ... }
static void GenSetTransit(FILE* fp, N const& s) {
    char const* nm = s->child1->name;
    fprintf(fp, "\n");
    fprintf(fp, "template <typename Model>\n");
    fprintf(fp, "void SetTransit_%s(double _v, double* zzY, Model & m)\n{\n", nm);
    fprintf(fp, "\tint _i;\n");
    fprintf(fp, "\t%s = _v;\n", nm);
    fprintf(fp, "\tzzYx_%s = _v;\n", nm);
    fprintf(fp, "\tfor (_i = 0; _i < %d; _i++){\n", TransitStages(s));
    fprintf(fp, "\t\t zzYi_%s(_i) = _v;\n", nm);
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n");
}

// template <typename Model>
// void SetTransit_A(double _v, double* zzY, Model & m)
// { m._delayTable_0.init(); A = _v; }
static void GenSetDelayInfCpt(FILE* fp, N const& s) {
    char const* nm = s->child1->name;
    fprintf(fp, "\n");
    fprintf(fp, "template <typename Model>\n");
    fprintf(fp, "void SetTransit_%s(double _v, double* zzY, Model & m)\n{\n", nm);
    fprintf(fp, "\tm._delayTable_%d.init();\n", s->iDelayTable);
    fprintf(fp, "\t%s = _v;\n", nm);
    fprintf(fp, "}\n");
}

static void GenSetTransits(CGenCode const& g) {
    NV stmts = GetTopStatements(g.pBody);
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT) GenSetTransit(g.fp, s);
    for (N const& s : stmts)
        if (s && s->type == CN_DELAYINFCPT) GenSetDelayInfCpt(g.fp, s);
    fprintf(g.fp, "\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::reset_subject()
// { ResetTime(); ClearActions(); reset_integ(); ResetCF(); reset_urine(); reset_event(); }
static void GenResetSubject(FILE* fp) {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::reset_subject()\n{\n");
    fprintf(fp, "\tResetTime();\n");
    fprintf(fp, "\tClearActions();\n");
    fprintf(fp, "\treset_integ();\n");
    fprintf(fp, "\tResetCF();\n");
    fprintf(fp, "\treset_urine();\n");
    fprintf(fp, "\treset_event();\n");
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_delays(double _t)
// {
// 	_delayTable_0.init();
// 	_delayTable_0._yHist = 0;
// }
static void GenInitDelays(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_delays(double _t)\n{\n");
    if (g.bTimeBased) {
        fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
        for (size_t i = 0; i < g.paDelayHist.size(); i++) {
            fprintf(fp, "\t_delayTable_%d.init();\n", int(i));
            fprintf(fp, "\t_delayTable_%d._yHist = ", int(i));
            if (g.paDelayHist[i])
                GenC(g.paDelayHist[i], fp);
            else
                fprintf(fp, "0");
            fprintf(fp, ";\n");
        }
    }
    fprintf(fp, "}\n\n");
}

// void GetNumCVMean(int* _pn){*_pn = 1;}
// void GetCVMeanName(int* _pi, char* _nm) ... GetCVMean ... SetCVMean
// 'kind' is "Mean" or "Median", 'prefix' "_mean_" or "_median_".
static void GenCVStatistic(FILE* fp, SV const& names, char const* kind, char const* prefix) {
    fprintf(fp, "void GetNumCV%s(int* _pn){*_pn = %d;}\n", kind, int(names.size()));
    fprintf(fp, "void GetCV%sName(int* _pi, char* _nm)\n{\n", kind);
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < names.size(); i++)
        fprintf(fp, "\telse if (*_pi == %d)  strcpy(_nm, \"%s\");\n", int(i), C(names[i]));
    fprintf(fp, "}\n");
    fprintf(fp, "void GetCV%s(int* _pi, double* _pv)\n{\n", kind);
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < names.size(); i++)
        fprintf(fp, "\telse if (*_pi == %d) *_pv = %s%s;\n", int(i), prefix, C(names[i]));
    fprintf(fp, "}\n");
    fprintf(fp, "void SetCV%s(int* _pi, double* _pv)\n{\n", kind);
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < names.size(); i++)
        fprintf(fp, "\telse if (*_pi == %d) %s%s = *_pv;\n", int(i), prefix, C(names[i]));
    fprintf(fp, "}\n\n");
}

// 	_0cp = _NA; ... _initial_cp = _NA;   or   wt = _NA; _initial_wt = _NA;
static void GenInitCovariates(CGenCode const& g) {
    for (String const& s : g.saCovariates) {
        char const* nm = s;
        if (g.bTimeBased && IsIn(nm, g.saInterpolate)) {
            fprintf(g.fp, "\t_0%s = _NA;\n", nm);
            fprintf(g.fp, "\t_1%s = _NA;\n", nm);
            fprintf(g.fp, "\t_T0_%s = _NA;\n", nm);
            fprintf(g.fp, "\t_T1_%s = _NA;\n", nm);
        } else {
            fprintf(g.fp, "\t%s = _NA;\n", nm);
        }
        fprintf(g.fp, "\t_initial_%s = _NA;\n", nm);
    }
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_subject()
// {
// 	ResetSubject();
// 	using NUM = MODEL_CLASS_DECL::DualType;
// 	wt = _NA; ... A1_dose = 0; ...     x = double(0.0); ... V = _NA; _initial_V = _NA;
// 	ClearErrorMsg();
// 	odeState = ODESTATE_START;
// }
static void GenInitSubject(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_subject()\n{\n");
    fprintf(fp, "\tResetSubject();\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    GenInitCovariates(g);
    for (String const& s : g.saInitialDose)
        fprintf(fp, "\t%s = 0;\n", C(s));
    for (String const& s : g.saDoubles) {
        char const* type = MemberType(s);
        if (strcmp(type, "DualType") == 0) type = "NUM";
        fprintf(fp, "    %s = %s(0.0);\n", C(s), type);
    }
    for (String const& s : g.saGroup) {
        fprintf(fp, "\t%s = _NA;\n", C(s));
        fprintf(fp, "\t_initial_%s = _NA;\n", C(s));
    }
    for (String const& s : g.saStruct) {
        if (g.IsStparmCopyOfFixef(s)) continue;
        fprintf(fp, "\t%s = _NA;\n", C(s));
        fprintf(fp, "\t_initial_%s = _NA;\n", C(s));
    }
    fprintf(fp, "\tClearErrorMsg();\n\n");
    fprintf(fp, "\todeState = ODESTATE_START;\n");
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::restart_subject_sequences()
// { sequence_init(); sequence_0_action(.0); EvalSParms(); }
// and restart_subject_events with event_init() and event_0_action(.0)
static void GenRestartRoutines(CGenCode const& g) {
    FILE* fp = g.fp;
    int nSeq = CountTopStatements(g.pBody, CN_SEQUENCE);
    int nEvent = CountTopStatements(g.pBody, CN_EVENT);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::restart_subject_sequences()\n{\n");
    if (nSeq > 0) {
        fprintf(fp, "\tsequence_init();\n\n");
        for (int i = 0; i < nSeq; i++)
            fprintf(fp, "\tsequence_%d_action(.0);\n", i);
        fprintf(fp, "\n    EvalSParms();\n");
    }
    fprintf(fp, "}\n\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::restart_subject_events()\n{\n");
    if (nEvent > 0) {
        fprintf(fp, "\tevent_init();\n\n");
        for (int i = 0; i < nEvent; i++)
            fprintf(fp, "\tevent_%d_action(.0);\n", i);
    }
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::end_subject(int bSimulating)
// {
// 	if (bSimulating){ ... _pcb->OnEvent(curTime, curTimeLastDose, "E", 0); ... }
// 	// set covariates to their first settings, in case needed for secondary parameters
// 	SetCovariate(curTime, "wt", _initial_wt);
// 	V = _initial_V;
// }
static void GenEndSubject(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::end_subject(int bSimulating)\n{\n");
    fprintf(fp, "\tif (bSimulating){\n");
    int k = 0;
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_EVENT) continue;
        fprintf(fp, "\t\tif (!event_data[%d]._dropout){\n", k++);
        fprintf(fp, "\t\t\t_pcb->OnEvent(curTime, curTimeLastDose, \"%s\", 0);\n", C(s->name));
        fprintf(fp, "\t\t}\n");
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "\t// set covariates to their first settings, in case needed for secondary "
                "parameters\n");
    for (String const& s : g.saCovariates)
        if (!IsIn(s, g.saInterpolate))
            fprintf(fp, "\tSetCovariate(curTime, \"%s\", _initial_%s);\n", C(s), C(s));
    for (String const& s : g.saInterpolate)
        fprintf(fp, "\tSetCovariate(curTime, \"%s\", _initial_%s);\n", C(s), C(s));
    for (String const& s : g.saGroup)
        fprintf(fp, "\t%s = _initial_%s;\n", C(s), C(s));
    for (String const& s : g.saStruct)
        if (!g.IsStparmCopyOfFixef(s)) fprintf(fp, "\t%s = _initial_%s;\n", C(s), C(s));
    fprintf(fp, "}\n\n");
}

// static double _dMainSigma;
// void SetMainSigma(double* _sig)
// {
// 	_dMainSigma = *_sig;
// }
static void GenMainSigma(FILE* fp) {
    fprintf(fp, "static double _dMainSigma;\n");
    fprintf(fp, "void SetMainSigma(double* _sig)\n{\n");
    fprintf(fp, "\t_dMainSigma = *_sig;\n");
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// The section up to end_subject: machines, transit setters, resets, covariate statistics and
// the start and end of a subject.
void CGenCode::GenSubjectStart() {
    GenClosedFormDeclarations();
    GenClosedFormState();
    GenClearSSIrrelevantState(*this, CountTransitSlots(pBody));
    GenSetTransits(*this);
    GenClosedFormTimes();
    for (N const& s : GetTopStatements(pBody))
        if (IsClosedForm(s)) {
            fprintf(fp, "#define USE_SETTIMECF\n\n");
            break;
        }
    GenResetSubject(fp);
    GenInitDelays(*this);
    GenClosedFormInit();
    GenCVStatistic(fp, saCVMean, "Mean", "_mean_");
    GenCVStatistic(fp, saCVMedian, "Median", "_median_");
    GenInitSubject(*this);
    GenRestartRoutines(*this);
    GenEndSubject(*this);
}

// The parameter routines: bounds and initial values of the thetas, the sigma of each
// observation, packing into the engine's search vector.
void CGenCode::GenParameterRoutines() {
    GenFixefOverrideStuff();
    GenRoutinesForTheta(2);
    for (int mode : {0, 1, 2})
        GenRoutinesForFixefError(mode);
    GenRoutineGetObsSigma(false);
    GenRoutineGetObsSigma(true);
    for (int mode : {3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 17, 18, 19,
                     23, 24, 25, 26, 27, 28, 13, 20, 21, 22, 14, 16})
        GenRoutinesForPacking(mode);
}

// The whole section, in the order of the output: 'nOde' counts the integrators (NINTEG_ALL),
// 'bCanJacobian' and 'bCanMatexp' come from the Jacobian analysis.
void CGenCode::GenInitSubjectEvalDerivAdvance(int& nOde, int& bCanJacobian, int& bCanMatexp) {
    nOde = CountIntegrators(*this);
    GenSubjectStart();
    GenParameterRoutines();
    GenMainSigma(fp);
    GenEvaluation();
    if (bTimeBased) GenDeriv(nOde);
    GenJacobian(bCanJacobian, bCanMatexp);
    GenAdvanceAndCompartments(nOde);
    GenDosingSubroutines(1);
    GenDosingSubroutines(2);
    GenAddToCpt();
}
