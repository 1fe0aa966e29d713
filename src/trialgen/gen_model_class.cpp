// The class of a trial model in cohort.h, with the bodies of its set-up routines in cohort.cpp:
// its members row by row (parameters, state, closed-form machines, assigned names), its
// constructors, Init, the closed-form routines and the routines of each level of draws.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

// The statements of a model's body: a block's list, or the one statement.
static NV BodyStmts(N const& body) {
    if (!body) return {};
    if (body->type == CN_BLOCK) return body->list;
    return {body};
}

// Adds 'name' to 'declared' and answers whether it was new: a name is declared once.
static bool IsNewName(SV& declared, char const* name) {
    if (MemberOf(name, declared) >= 0) return false;
    declared.push_back(name);
    return true;
}

// 	double A1;	// integrator
void CGenCode3::GenMember(char const* comment, char const* name) {
    if (!IsNewName(saDeclared, name)) return;
    fprintf(fpHeader, "\tdouble %s;", name);
    fprintf(fpHeader, "\t// %s\n", comment);
}

// 	pk(LPCTSTR _s, subject* __psub, double *__pCin) : _sInstance(_s), _pSubj(__psub),
// 	_pCin(__pCin){Init();}             (in one line)
void CGenCode3::GenModelConstructors(NV const& inputs) {
    char const* cls = sModelClass;
    fprintf(fpHeader, "\t%s() : _sInstance(0L), _pSubj(0L) {Init();}\n", cls);
    fprintf(fpHeader, "\t%s(LPCTSTR _s", cls);
    fprintf(fpHeader, ", subject* __psub");
    for (N const& in : inputs)
        fprintf(fpHeader, ", double *__p%s", (char const*)in->name);
    fprintf(fpHeader, ") : _sInstance(_s)");
    fprintf(fpHeader, ", _pSubj(__psub)");
    for (N const& in : inputs)
        fprintf(fpHeader, ", _p%s(__p%s)", (char const*)in->name, (char const*)in->name);
    fprintf(fpHeader, "{Init();}\n");
}

// 	double _Get_A1(){return _cf_A1.GetVal1();}
// 	...
// 	Property<pk, double, &pk::_Get_A1, &pk::_Set_A1, &pk::_Add_A1> A1;
// 'what' is Val1, ValA, Rate1 or RateA; 'divisor' divides what the getter returns.
void CGenCode3::GenCfProperty(char const* name, char const* cf, char const* acc, char const* what,
                              char const* divisor) {
    char const* cls = sModelClass;
    if (divisor)
        fprintf(fpHeader, "\tdouble _Get%s_%s(){return _cf_%s.Get%s() / (%s);}\n", acc, name, cf,
                what, divisor);
    else
        fprintf(fpHeader, "\tdouble _Get%s_%s(){return _cf_%s.Get%s();}\n", acc, name, cf, what);
    fprintf(fpHeader, "\tvoid   _Set%s_%s(const double& _v){_cf_%s.Set%s(_v);}\n", acc, name, cf,
            what);
    fprintf(fpHeader, "\tvoid   _Add%s_%s(const double& _v){_cf_%s.Add%s(_v);}\n", acc, name, cf,
            what);
    std::string member = std::string(name) + (*acc ? "_rate" : "");
    saPropertyNames.push_back(member.c_str());
    fprintf(fpHeader,
            "\tProperty<%s, double, &%s::_Get%s_%s, &%s::_Set%s_%s, &%s::_Add%s_%s> %s;\n", cls,
            cls, acc, name, cls, acc, name, cls, acc, name, member.c_str());
    saDeclared.push_back(member.c_str());
}

// The depot of "first = (Aa = Ka)", or null.
static char const* CfDepotName(N const& s) {
    if (s->type == CN_CFMACRO || !s->child1 || !s->child1->child1) return nullptr;
    return s->child1->child1->name;
}

// The concentration of a macro form, its first name, with the dose argument that divides.
static N CfConcentration(N const& s) {
    if (s->type != CN_CFMACRO || s->list.size() < 2 || !s->list[0]) return nullptr;
    return s->list[0]->type == CN_VAR ? s->list[0] : nullptr;
}

// 	Ccf2machine _cf_A1;
// with the compartment, its rate, the depot and its rate, and a macro form's concentration
void CGenCode3::GenCfMembers(N const& s) {
    char const* cf = s->name;
    fprintf(fpHeader, "\tCcf2machine _cf_%s;\n", cf);
    saDeclared.push_back(cf);
    GenCfProperty(cf, cf, "", "Val1", nullptr);
    GenCfProperty(cf, cf, "Rate", "Rate1", nullptr);
    if (char const* depot = CfDepotName(s)) {
        saDeclared.push_back(depot);
        GenCfProperty(depot, cf, "", "ValA", nullptr);
        GenCfProperty(depot, cf, "Rate", "RateA", nullptr);
    }
    if (N conc = CfConcentration(s)) {
        String dose;
        GenCstr(s->list[1], dose);
        saDeclared.push_back(conc->name);
        GenCfProperty(conc->name, cf, "", "Val1", dose);
    }
}

// 	double zzK_T;	// rate between compartments ... void SetTransit_T(double _v){...}
void CGenCode3::GenTransitMembers(N const& s, int stages) {
    char const* x = s->child1->name;
    saDeclared.push_back(x);
    fprintf(fpHeader, "\tdouble %s_rate;\t// infusion rate into dosing compartment\n", x);
    fprintf(fpHeader, "\tdouble zzK_%s;\t// rate between compartments\n", x);
    fprintf(fpHeader, "\tdouble zzN_%s;\t// current number of compartments\n", x);
    fprintf(fpHeader, "\tdouble zzMTT_%s;\t// current mean transit time\n", x);
    fprintf(fpHeader, "\tdouble zzI_%s;\t// current compartment to receive dose\n", x);
    fprintf(fpHeader, "\tdouble zzF_%s;\t// fractional part of N\n", x);
    fprintf(fpHeader, "\t// compartments in transit chain\n");
    fprintf(fpHeader, "\tdouble %s;\t// last compartment in chain\n", x);
    fprintf(fpHeader, "\tdouble zzX_%s;\t// second to last compartment in chain\n", x);
    fprintf(fpHeader, "\tdouble zzY_%s[%d];\t// compartments 0-%d ahead of X\n", x, stages,
            stages - 1);
    fprintf(fpHeader, "\tvoid SetTransit_%s(double _v){%s = zzX_%s = _v; ", x, x, x);
    fprintf(fpHeader, "for (int _i = 0; _i < %d; _i++) zzY_%s[_i] = _v;}\n", stages, x);
}

// The parameter rows: model doubles, group, structural and secondary names.
void CGenCode3::GenParameterMembers(NV const& stmts) {
    for (N const& s : stmts)
        if (s && s->type == CN_DOUBLE_DECL)
            for (N const& v : s->list)
                if (IsNewName(saDeclared, v->name))
                    fprintf(fpHeader, "\tdouble %s;\n", (char const*)v->name);
    GenCohortErrorCode(PassClassDecl);
    for (N const& s : stmts)
        if (s && s->type == CN_GROUP)
            for (N const& a : s->list)
                GenMember("group", a->child1->name);
    for (N const& s : stmts)
        if (s && (s->type == CN_STPARM || s->type == CN_SECONDARY))
            for (N const& a : s->list)
                GenMember("structural", a->child1->name);
}

// The state rows, in the order of the kinds: integrators, urine, hazards, event intervals,
// delayed infusions, transit chains, closed forms.
void CGenCode3::GenStateMembers(NV const& stmts) {
    std::vector<ModelState> states = GetModelStates(pModelBody);
    for (ModelState const& st : states)
        if (st.kind == StateInteg || st.kind == StateUrine) {
            GenMember(st.kind == StateInteg ? "integrator" : "urine integrator", st.name);
            fprintf(fpHeader, "\tdouble %s_rate;\t// infusion rate\n", (char const*)st.name);
        }
    for (ModelState const& st : states)
        if (st.kind == StateHazard)
            fprintf(fpHeader, "\tdouble _ht_%s;\t// event/count integrator\n",
                    (char const*)st.name);
    for (N const& s : stmts)
        if (s && s->type == CN_EVENT)
            fprintf(fpHeader, "\tdouble _dt_%s;\t// event repeat time\n", (char const*)s->name);
    for (ModelState const& st : states)
        if (st.kind == StateDelayInf) {
            GenMember("integrator", st.name);
            std::string rate = std::string(st.name) + "_rate";
            fprintf(fpHeader, "\tdouble %s;\t// transit2 infusion rate\n", rate.c_str());
        }
    for (ModelState const& st : states)
        if (st.kind == StateTransit) GenTransitMembers(st.stmt, st.width);
    for (ModelState const& st : states)
        if (st.kind == StateClosedForm) GenCfMembers(st.stmt);
}

// Every other left side with the time of a peak, and the observed names of observe and multi.
void CGenCode3::GenAssignedMembers(NV const& stmts) {
    for (N const& s : stmts) {
        if (!s) continue;
        if (s->type == CN_ASSIGN && s->child1) GenMember("assigned", s->child1->name);
        if (s->type == CN_ASSIGN && s->child2 && s->child2->type == CN_PEAK)
            GenMember("assigned", s->child2->name); // the time of the peak
        if (s->type == CN_OBSERVE || s->type == CN_MULTI) GenMember("assigned", s->name);
    }
}

// The declarations of the routines whose bodies go to cohort.cpp.
void CGenCode3::GenModelRoutineDecls() {
    fprintf(fpHeader, "\tvoid Init();\n");
    fprintf(fpHeader, "\tvirtual void CF2Advance(double dt);\n");
    fprintf(fpHeader, "\tvirtual void CF2GetState(double* y);\n");
    fprintf(fpHeader, "\tvirtual void CF2SetState(double* y);\n");
    fprintf(fpHeader, "\tvirtual void SetTimeOfStateCF(double _t);\n");
    fprintf(fpHeader, "\tvirtual void SetTimeOfGetValCF(double _t);\n");
    fprintf(fpHeader, "\tvoid CF2Init(double _t);\n");
    fprintf(fpHeader, "\tvoid CF2ReInit(double _t);\n");
    GenCohortStateListDecls();
    fprintf(fpHeader, "\tvirtual void GetRate(int& zzn, double zzr[]);\n");
    fprintf(fpHeader, "\tvirtual void EvalGroup();\n");
    fprintf(fpHeader, "\tvirtual void EvalAssign();\n");
    fprintf(fpHeader, "\tvirtual void EvalSParms();\n");
    fprintf(fpHeader, "\tstatic void InitGlobal();\n");
    fprintf(fpHeader, "\tstatic void InitScenario();\n");
    fprintf(fpHeader, "\tstatic void InitReplicate();\n");
    fprintf(fpHeader, "\tvirtual void InitSubject();\n");
    fprintf(fpHeader, "\tvoid InitObservation();\n");
    GenModelEntryDecls(BodyStmts(pModelBody));
}

// class pk : public PKPDModel {public:;
// 	virtual int GetType(){return 0;}
// 	...
// };
void CGenCode3::GenModelClassDecl(N const& model, NV const& stmts) {
    char const* cls = sModelClass;
    NV const& inputs = model->child1->list;
    fprintf(fpHeader, "class %s : public PKPDModel {public:;\n", cls);
    fprintf(fpHeader, "\tvirtual int GetType(){return %d;}\n", AddClassName(cls));
    fprintf(fpHeader, "\tLPCTSTR _sInstance;\n");
    fprintf(fpHeader, "\tsubject* _pSubj;\n");
    fprintf(fpHeader, "\tvirtual void Print(FILE* f, int nIndent);\n");
    GenModelConstructors(inputs);
    for (N const& in : inputs)
        fprintf(fpHeader, "\tdouble *_p%s;\n", (char const*)in->name);
    for (int i = 0; i < nDelayTables; i++)
        fprintf(fpHeader, "\tDelayTable _delayTable_%d;\n", i);
    for (int i = 0; i < nPeakTables; i++)
        fprintf(fpHeader, "\tPeakTable _peakTable_%d;\n", i);
    GenCohortFixefCode(PassClassDecl);
    GenCohortRanefCode(PassClassDecl);
    GenCohortDistrCode(PassClassDecl, stmts);
    GenParameterMembers(stmts);
    GenStateMembers(stmts);
    GenAssignedMembers(stmts);
    GenModelRoutineDecls();
    fprintf(fpHeader, "};\n");
}

// Each model of the script: its file-scope globals, its class, the definitions of its static
// members and the bodies of its routines.
void CGenCode3::GenCohortModelClass(N const& model, char const* className) {
    sModelClass = className;
    pModelBody = model->child2;
    pModelInputs = model->child1->list;
    NV stmts = BodyStmts(pModelBody);
    saDeclared.clear();
    saPropertyNames.clear();
    NV delays, hist, peaks;
    nDelayTables = nPeakTables = 0;
    CountSetDelay(pModelBody, nDelayTables, delays, hist);
    CountSetTransit2(pModelBody, nDelayTables, delays, hist);
    CountSetPeak(pModelBody, nPeakTables, peaks);
    GenCohortUncertaintyPrologue(stmts);
    GenCohortFixefCode(PassFileScope);
    GenCohortRanefCode(PassFileScope);
    GenCohortErrorCode(PassFileScope);
    GenModelClassDecl(model, stmts);
    GenCohortFixefCode(PassStaticDef);
    GenCohortRanefCode(PassStaticDef);
    GenCohortErrorCode(PassStaticDef);
    GenModelSetupRoutines();
    GenCohortStateLists();
    GenCohortResetIntegrators();
    GenCohortGetRate();
    GenCohortEvalRoutines(stmts);
    GenCohortLevelRoutines(stmts);
    GenModelEntries(stmts);
    GenCohortDosepointClasses(stmts);
    GenCohortEventClasses(stmts);
    GenCohortSequenceClasses(stmts);
}
