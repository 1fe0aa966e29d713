// The entry points of a trial model that a script calls: StartSubject, which starts the
// model's event and sequence machines, StopSubject, the dose routines Bolus_ and Infuse_, and
// one Observe_ for each observation statement, which draws and records its value.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

// 	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
static void GenEnQueueLine(FILE* fp, char const* indent) {
    fprintf(fp,
            "%sEnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());\n",
            indent);
}

// 	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "C", C, "");
void CGenCode3::GenObserveRecord(char const* name, char const* value) {
    fprintf(fpSource,
            "\t_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "
            "\"%s\", %s, \"%s\");\n",
            name, value, GetUnitText(name).c_str());
}

// 	// record the value of C
// 	_pSubj->Advance(StateMachine::CurrentAbsTime());     (with 'bAdvance')
static void GenRecordHead(FILE* fp, char const* name, bool bAdvance) {
    fprintf(fp, "\t// record the value of %s\n", name);
    if (bAdvance) fprintf(fp, "\t_pSubj->Advance(StateMachine::CurrentAbsTime());\n");
}

// The class's declarations of the routines below.
void CGenCode3::GenModelEntryDecls(NV const& stmts) {
    fprintf(fpHeader, "\tvirtual void StartSubject();\n");
    fprintf(fpHeader, "\tvirtual void StopSubject();\n");
    for (N const& dose : GetFirstDoses(stmts)) {
        fprintf(fpHeader, "\tvoid Bolus_%s(int iScen, int iRep, double _v);\n",
                (char const*)dose->name);
        fprintf(fpHeader, "\tvoid Infuse_%s(int iScen, int iRep, double _v, double _r);\n",
                (char const*)dose->name);
    }
    for (N const& s : stmts)
        if (IsRecordedObservation(s))
            fprintf(fpHeader,
                    "\tvoid Observe_%s(int iScen, int iRep, int iArm, int iSub, int iPer);\n",
                    (char const*)s->name);
}

// Whether the statement gets an Observe_ routine: events have their machines, LL nothing.
bool IsRecordedObservation(N const& s) {
    return s && (s->type == CN_OBSERVE || s->type == CN_OBSERVE1 || s->type == CN_MULTI ||
                 s->type == CN_COUNT);
}

// void pk::StartSubject(){
// 	// this must happen after covariates are drawn
// 	EvalSParms();
// 	CF2Init(StateMachine::CurrentAbsTime());
// 	{
// 		StateMachine* pst = new pk_EventSim_1(this, iScen, iRep, _pSubj);
// 		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
// 	}
// 	... and each sequence, with new pk_SeqSim_1(this)
// }
void CGenCode3::GenStartSubject(NV const& stmts) {
    char const* cls = sModelClass;
    fprintf(fpSource, "void %s::StartSubject(){\n", cls);
    GenModelRoutineHead();
    fprintf(fpSource, "\t// this must happen after covariates are drawn\n");
    fprintf(fpSource, "\tEvalSParms();\n");
    fprintf(fpSource, "\tCF2Init(StateMachine::CurrentAbsTime());\n");
    int events = 0, sequences = 0;
    for (N const& s : stmts) {
        if (!s || (s->type != CN_EVENT && s->type != CN_SEQUENCE)) continue;
        fprintf(fpSource, "\t{\n");
        if (s->type == CN_EVENT)
            fprintf(fpSource, "\t\tStateMachine* pst = new %s(this, iScen, iRep, _pSubj);\n",
                    NumberedMachineName(cls, "EventSim", ++events).c_str());
        else
            fprintf(fpSource, "\t\tStateMachine* pst = new %s(this);\n",
                    NumberedMachineName(cls, "SeqSim", ++sequences).c_str());
        GenEnQueueLine(fpSource, "\t\t");
        fprintf(fpSource, "\t}\n");
    }
    fprintf(fpSource, "}\n");
}

// void pk::StopSubject(){
// }
void CGenCode3::GenStopSubject() {
    fprintf(fpSource, "void %s::StopSubject(){\n", (char const*)sModelClass);
    fprintf(fpSource, "}\n");
}

// The lag time of a dose: its expression, or 0.
static std::string TlagText(N const& dose) {
    if (!dose->child1) return "0";
    String text;
    GenCstr(dose->child1, text);
    return (char const*)text;
}

// void pk::Bolus_A1(int iScen, int iRep, double _v){
// 	... the head
// 	StateMachine* pst = new pk_Bolus_A1_1(this, iScen, iRep, _pSubj, 0, _v);
// 	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
// }
// A dose point with a rate or a duration gives its dose as an infusion; a duration of 0 gives
// none at all.
void CGenCode3::GenBolusEntry(N const& dose) {
    char const* cls = sModelClass;
    char const* x = dose->name;
    std::string tlag = TlagText(dose);
    std::string infusion = DoseMachineName(cls, "Infusion", dose);
    fprintf(fpSource, "void %s::Bolus_%s(int iScen, int iRep, double _v){\n", cls, x);
    GenModelRoutineHead();
    if (dose->child3) {
        fprintf(fpSource, "double _r = ");
        GenC(dose->child3, fpSource);
        fprintf(fpSource, ";\n");
        fprintf(fpSource, "\tStateMachine* pst = new %s(this, iScen, iRep, _pSubj, %s, _v, _r);\n",
                infusion.c_str(), tlag.c_str());
        GenEnQueueLine(fpSource, "\t");
    } else if (dose->child2) {
        fprintf(fpSource, "\tdouble _dt = ");
        GenC(dose->child2, fpSource);
        fprintf(fpSource, ";\n");
        fprintf(fpSource, "\tif (_dt != 0){\n");
        fprintf(fpSource,
                "\t\tStateMachine* pst = new %s(this, iScen, iRep, _pSubj, %s, _v, _v/_dt);\n",
                infusion.c_str(), tlag.c_str());
        GenEnQueueLine(fpSource, "\t\t");
        fprintf(fpSource, "\t}\n");
    } else {
        fprintf(fpSource, "\tStateMachine* pst = new %s(this, iScen, iRep, _pSubj, %s, _v);\n",
                DoseMachineName(cls, "Bolus", dose).c_str(), tlag.c_str());
        GenEnQueueLine(fpSource, "\t");
    }
    fprintf(fpSource, "}\n");
}

// void pk::Infuse_A1(int iScen, int iRep, double _v, double _r){
// 	StateMachine* pst = new pk_Infusion_A1_1(this, iScen, iRep, _pSubj, 0, _v, _r);
// 	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
// }
void CGenCode3::GenInfuseEntry(N const& dose) {
    char const* cls = sModelClass;
    fprintf(fpSource, "void %s::Infuse_%s(int iScen, int iRep, double _v, double _r){\n", cls,
            (char const*)dose->name);
    GenModelRoutineHead();
    fprintf(fpSource, "\tStateMachine* pst = new %s(this, iScen, iRep, _pSubj, %s, _v, _r);\n",
            DoseMachineName(cls, "Infusion", dose).c_str(), TlagText(dose).c_str());
    GenEnQueueLine(fpSource, "\t");
    fprintf(fpSource, "}\n");
}

// Bolus_ and Infuse_ once for each dosed compartment, from its first dose statement.
void CGenCode3::GenDoseEntries(NV const& stmts) {
    for (N const& dose : GetFirstDoses(stmts)) {
        GenBolusEntry(dose);
        GenInfuseEntry(dose);
    }
}

// The number of the error block whose variable the expression uses, or 0.
int CGenCode3::GetErrorBlockOf(N const& expr) {
    for (size_t e = 0; e < paErrorEntries.size(); e++)
        if (expr && expr->DeepContains(paErrorEntries[e]->child1->list[0]->name)) return int(e) + 1;
    return 0;
}

// 	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
// 	EvalSParms();
// 	InitObservation();
// 	#define sigma() ErrVarHalf1[0]
// 	C = A1 / V + eps1;
// 	#undef  sigma
// 	// record the value of C ...
void CGenCode3::GenObserveBody(N const& s) {
    char const* x = s->name;
    fprintf(fpSource, "\tSetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\tEvalSParms();\n");
    fprintf(fpSource, "\tInitObservation();\n");
    fprintf(fpSource, "\t#define sigma() ErrVarHalf%d[0]\n", GetErrorBlockOf(s->child2));
    fprintf(fpSource, "\t%s = ", x);
    GenC(s->child2, fpSource);
    fprintf(fpSource, ";\n");
    fprintf(fpSource, "\t#undef  sigma\n");
    GenRecordHead(fpSource, x, true);
    GenObserveRecord(x, x);
}

// 	_pSubj->Advance(StateMachine::CurrentAbsTime());
// 	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
static void GenAdvanceAndTime(FILE* fp) {
    fprintf(fp, "\t_pSubj->Advance(StateMachine::CurrentAbsTime());\n");
    fprintf(fp, "\tSetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
}

// 	double _probge[2];
// 	... _probge[0] = ilogit(-(a*b) - c1); ...
// 	double _u = (ENBOBS ? unif() : 0.5);
// 	if (0);
// 	else if (_u > _probge[0]) Y = 0;
// 	else if (_u > _probge[1]) Y = 1;
// 	else Y = 2;
void CGenCode3::GenMultiBody(N const& s) {
    char const* x = s->name;
    char const* link = s->child2 ? (char const*)s->child2->name : "";
    int n = int(s->list.size());
    fprintf(fpSource, "\tdouble _probge[%d];\n", n);
    GenAdvanceAndTime(fpSource);
    fprintf(fpSource, "\tEvalSParms();\n");
    for (int i = 0; i < n; i++) {
        fprintf(fpSource, "\t_probge[%d] = %s(", i, link);
        GenC(s->list[size_t(i)], fpSource);
        fprintf(fpSource, ");\n");
    }
    fprintf(fpSource, "\tdouble _u = (ENBOBS ? unif() : 0.5);\n");
    fprintf(fpSource, "\tif (0);\n");
    for (int k = 0; k < n; k++)
        fprintf(fpSource, "\telse if (_u > _probge[%d]) %s = %d;\n", k, x, k);
    fprintf(fpSource, "\telse %s = %d;\n", x, n);
    GenRecordHead(fpSource, x, true);
    GenObserveRecord(x, x);
}

// 	double _zprob = 0;   or the expression, or the inverse link of it
void CGenCode3::GenCountZprob(N const& s) {
    CNodeExtra const* extra = s->extra.get();
    if (!extra || !extra->zprobOrLinkp) {
        fprintf(fpSource, "\tdouble _zprob = 0;\n");
        return;
    }
    fprintf(fpSource, "\tdouble _zprob = ");
    if (extra->ilink[0]) fprintf(fpSource, "%s(", (char const*)extra->ilink);
    GenC(extra->zprobOrLinkp, fpSource);
    fprintf(fpSource, extra->ilink[0] ? ");\n" : ";\n");
}

// 	double _count = 0;
// 	if ((ENBOBS ? unif() : 0.5) >= _zprob){
// 		_count = rpoisson(_ht_n, ENBOBS); // sample the count
// 	}
// 	... the record, and unless noreset
// 	_ht_n = 0; // clear the integrator
void CGenCode3::GenCountBody(N const& s) {
    char const* x = s->name;
    std::string h = std::string("_ht_") + x;
    CNodeExtra const* extra = s->extra.get();
    GenAdvanceAndTime(fpSource);
    GenCountZprob(s);
    fprintf(fpSource, "\tdouble _count = 0;\n");
    fprintf(fpSource, "\tif ((ENBOBS ? unif() : 0.5) >= _zprob){\n");
    if (extra && extra->beta) {
        fprintf(fpSource, "\t\tdouble _beta = ");
        GenC(extra->beta, fpSource);
        fprintf(fpSource, ";\n");
        fprintf(fpSource, "\t\tdouble _power = ");
        if (extra->power)
            GenC(extra->power, fpSource);
        else
            fprintf(fpSource, "1");
        fprintf(fpSource, ";\n");
        fprintf(fpSource, "\t\t_count = rnegbin(%s, _beta, _power, ENBOBS); // sample the count\n",
                h.c_str());
    } else {
        fprintf(fpSource, "\t\t_count = rpoisson(%s, ENBOBS); // sample the count\n", h.c_str());
    }
    fprintf(fpSource, "\t}\n");
    GenRecordHead(fpSource, x, false);
    GenObserveRecord(x, "_count");
    if (!extra || !extra->noreset)
        fprintf(fpSource, "\t%s = 0; // clear the integrator\n", h.c_str());
}

// void pk::Observe_C(int iScen, int iRep, int iArm, int iSub, int iPer){ ... }
void CGenCode3::GenObserveEntry(N const& s) {
    char const* x = s->name;
    fprintf(fpSource, "void %s::Observe_%s(int iScen, int iRep, int iArm, int iSub, int iPer){\n",
            (char const*)sModelClass, x);
    GenModelRoutineHead();
    switch (s->type) {
        case CN_OBSERVE: GenObserveBody(s); break;
        case CN_OBSERVE1:
            GenAdvanceAndTime(fpSource);
            fprintf(fpSource, "\tEvalSParms();\n");
            GenRecordHead(fpSource, x, false);
            GenObserveRecord(x, x);
            break;
        case CN_MULTI: GenMultiBody(s); break;
        case CN_COUNT: GenCountBody(s); break;
        default: break;
    }
    fprintf(fpSource, "}\n");
}

void CGenCode3::GenModelEntries(NV const& stmts) {
    GenStartSubject(stmts);
    GenStopSubject();
    GenDoseEntries(stmts);
    for (N const& s : stmts)
        if (IsRecordedObservation(s)) GenObserveEntry(s);
}

// The unit text of a model variable in the records, as the trial's units give it to the
// model's first instance; "" when it has none, or only the unknown unit named after itself.
std::string CGenCode3::GetUnitText(char const* name) {
    String text;
    GetCohortVarUnitText(GetFirstInstanceName(sModelClass, pJoins), name, sTimeUnits, text);
    return text == name ? "" : (char const*)text;
}
