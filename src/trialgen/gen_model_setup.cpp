// The set-up routines of a trial model's class in cohort.cpp: Print, Init, and the routines
// that advance, save, restore and initialise its closed-form machines.
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

// The six values of a closed form's state, in the order they are saved.
static char const* const cfStateNames[6] = {"ValA", "Val1", "Val2", "Val3", "RateA", "Rate1"};

// void pk::Print(FILE* f, int nIndent){
// 	fprintf(f, "%*spk\n", nIndent, "");
// }
void CGenCode3::GenModelPrint() {
    char const* cls = sModelClass;
    fprintf(fpSource, "void %s::Print(FILE* f, int nIndent){\n", cls);
    fprintf(fpSource, "\tfprintf(f, \"%%*s%s\\n\", nIndent, \"\");\n", cls);
    fprintf(fpSource, "}\n");
}

// void pk::Init(){
// 	_delayTable_0.init();
// 	PKPDModel::Init();
// 		A1.Init(this);
// 		A1_rate.Init(this);
// 	_peakTable_0.init();
// }
void CGenCode3::GenModelInit() {
    fprintf(fpSource, "void %s::Init(){\n", (char const*)sModelClass);
    for (int i = 0; i < nDelayTables; i++)
        fprintf(fpSource, "\t_delayTable_%d.init();\n", i);
    fprintf(fpSource, "\tPKPDModel::Init();\n");
    for (ModelState const& st : GetClosedForms(pModelBody)) {
        N const& s = st.stmt;
        fprintf(fpSource, "\t\t%s.Init(this);\n", (char const*)s->name);
        fprintf(fpSource, "\t\t%s_rate.Init(this);\n", (char const*)s->name);
        if (s->type != CN_CFMACRO && s->child1 && s->child1->child1) {
            fprintf(fpSource, "\t\t%s.Init(this);\n", (char const*)s->child1->child1->name);
            fprintf(fpSource, "\t\t%s_rate.Init(this);\n", (char const*)s->child1->child1->name);
        }
        if (s->type == CN_CFMACRO && s->list.size() >= 2 && s->list[0]->type == CN_VAR)
            fprintf(fpSource, "\t\t%s.Init(this);\n", (char const*)s->list[0]->name);
    }
    for (int i = 0; i < nPeakTables; i++)
        fprintf(fpSource, "\t_peakTable_%d.init();\n", i);
    fprintf(fpSource, "}\n");
}

// void pk::CF2Advance(double dt){
// 	_cf_A1.Advance(dt);
// }
// and SetTimeOfStateCF, SetTimeOfGetValCF alike
void CGenCode3::GenCfForEach(char const* head, int what) {
    fprintf(fpSource, "void %s::%s{\n", (char const*)sModelClass, head);
    for (ModelState const& st : GetClosedForms(pModelBody)) {
        std::string cf = std::string("_cf_") + (char const*)st.name;
        if (what == 0) fprintf(fpSource, "\t%s.Advance(dt);\n", cf.c_str());
        if (what == 1) fprintf(fpSource, "\t%s.SetTimeOfStateCF(_t);\n", cf.c_str());
        if (what == 2) fprintf(fpSource, "\t%s.SetTimeOfGetValCF(_t);\n", cf.c_str());
    }
    fprintf(fpSource, "}\n");
}

// 	y[0] = _cf_A1.GetValA();   or, with 'bSet', _cf_A1.SetValA(y[0]);
void CGenCode3::GenCfCopyState(bool bSet) {
    fprintf(fpSource, "void %s::%s(double* y){\n", (char const*)sModelClass,
            bSet ? "CF2SetState" : "CF2GetState");
    std::vector<ModelState> forms = GetClosedForms(pModelBody);
    for (size_t m = 0; m < forms.size(); m++)
        for (int k = 0; k < 6; k++) {
            char const* cf = forms[m].name;
            int at = int(6 * m) + k;
            if (bSet)
                fprintf(fpSource, "\t_cf_%s.Set%s(y[%d]);\n", cf, cfStateNames[k], at);
            else
                fprintf(fpSource, "\ty[%d] = _cf_%s.Get%s();\n", at, cf, cfStateNames[k]);
        }
    fprintf(fpSource, "}\n");
}

// ", a, b, c" for the entries from 'from' up to 'to'; the first without the comma
static void GenArgs(FILE* fp, NV const& list, size_t from, size_t to) {
    for (size_t i = from; i < to && i < list.size(); i++) {
        if (i > from) fprintf(fp, ", ");
        GenC(list[i], fp);
    }
}

// 	_cf_A1.InitMicro2(k10, k12, k21);
// 	_cf_A1.Add1stOrd(1, Ka);
static void GenCfInitMicro(FILE* fp, N const& s, char const* cf) {
    char const* w = s->type == CN_CFMICRO ? "Micro" : "Macro";
    size_t k = s->list.size();
    fprintf(fp, "\t%s.Init%s%d(", cf, w, int(k + 1) / 2);
    GenArgs(fp, s->list, 0, k);
    fprintf(fp, ");\n");
    if (!s->child1) return;
    fprintf(fp, "\t%s.Add1stOrd(1, ", cf);
    GenC(s->child1->child2, fp);
    fprintf(fp, ");\n");
}

// 	_cf_A.InitMacro1New(C, D, a, alpha);
// 	_cf_A.AppendKaNew(ka);             (an odd count: the last entry is the absorption)
static void GenCfInitMacro(FILE* fp, N const& s, char const* cf) {
    size_t k = s->list.size();
    size_t even = k % 2 ? k - 1 : k;
    fprintf(fp, "\t%s.InitMacro%dNew(", cf, int(even / 2) - 1);
    GenArgs(fp, s->list, 0, even);
    fprintf(fp, ");\n");
    if (k % 2 == 0) return;
    fprintf(fp, "\t%s.AppendKaNew(", cf);
    GenC(s->list[k - 1], fp);
    fprintf(fp, ");\n");
}

// void pk::CF2Init(double _t){
// 	_cf_A1.InitMicro1(k);
// 	SetTimeOfStateCF(_t);
// 	SetTimeOfGetValCF(_t);
// }
void CGenCode3::GenCfInit() {
    fprintf(fpSource, "void %s::CF2Init(double _t){\n", (char const*)sModelClass);
    std::vector<ModelState> forms = GetClosedForms(pModelBody);
    for (ModelState const& st : forms) {
        std::string cf = std::string("_cf_") + (char const*)st.name;
        if (st.stmt->type == CN_CFMACRO)
            GenCfInitMacro(fpSource, st.stmt, cf.c_str());
        else
            GenCfInitMicro(fpSource, st.stmt, cf.c_str());
    }
    if (!forms.empty()) {
        fprintf(fpSource, "\tSetTimeOfStateCF(_t);\n");
        fprintf(fpSource, "\tSetTimeOfGetValCF(_t);\n");
    }
    fprintf(fpSource, "}\n");
}

// void pk::CF2ReInit(double _t){
// 	double _state[6*1];
// 	_cf_A1.GetState(_state+6*0);
// 	CF2Init(_t);
// 	_cf_A1.SetState(_state+6*0);
// }
void CGenCode3::GenCfReInit() {
    fprintf(fpSource, "void %s::CF2ReInit(double _t){\n", (char const*)sModelClass);
    std::vector<ModelState> forms = GetClosedForms(pModelBody);
    fprintf(fpSource, "\tdouble _state[6*%d];\n", int(forms.size()));
    for (size_t m = 0; m < forms.size(); m++)
        fprintf(fpSource, "\t_cf_%s.GetState(_state+6*%d);\n", (char const*)forms[m].name, int(m));
    fprintf(fpSource, "\tCF2Init(_t);\n");
    for (size_t m = 0; m < forms.size(); m++)
        fprintf(fpSource, "\t_cf_%s.SetState(_state+6*%d);\n", (char const*)forms[m].name, int(m));
    fprintf(fpSource, "}\n");
}

// The routines of the class that are not draws or evaluation, in the order of the class.
void CGenCode3::GenModelSetupRoutines() {
    GenModelPrint();
    GenModelInit();
    GenCfForEach("CF2Advance(double dt)", 0);
    GenCfCopyState(false);
    GenCfCopyState(true);
    GenCfForEach("SetTimeOfStateCF(double _t)", 1);
    GenCfForEach("SetTimeOfGetValCF(double _t)", 2);
    GenCfInit();
    GenCfReInit();
}
