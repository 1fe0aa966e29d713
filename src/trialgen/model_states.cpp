// The state of a trial model in one list: integrators, urine compartments, hazards, delayed
// infusions, transit chains and closed forms, in statement order. Every routine that names
// the state (declarations aside) prints from this list, so that they stay in step.
#include "trialgen/trialgen.h"

// The stage count of a transit chain, its array of compartments ahead of the last one.
static int TransitStages(N const& s) {
    return s->child4 && s->child4->type == CN_NUM ? int(s->child4->value) : 50;
}

// The state member that the statement 's' makes, if any.
static bool GetStateOfStmt(N const& s, ModelState& st) {
    switch (s->type) {
        case CN_DERIV: st = {StateInteg, s->child1->name, 1, s}; return true;
        case CN_URINECPT: st = {StateUrine, s->child1->name, 1, s}; return true;
        case CN_DELAYINFCPT: st = {StateDelayInf, s->child1->name, 1, s}; return true;
        case CN_EVENT:
        case CN_COUNT: st = {StateHazard, s->name, 1, s}; return true;
        case CN_TRANSIT: st = {StateTransit, s->child1->name, TransitStages(s), s}; return true;
        case CN_CFMICRO:
        case CN_CFMACRO1:
        case CN_CFMACRO: st = {StateClosedForm, s->name, 6, s}; return true;
        default: return false;
    }
}

std::vector<ModelState> GetModelStates(N const& body) {
    std::vector<ModelState> states;
    ModelState st;
    NV stmts = body && body->type == CN_BLOCK ? body->list : NV{body};
    for (N const& s : stmts)
        if (s && GetStateOfStmt(s, st)) states.push_back(st);
    return states;
}

// The closed forms of a model, in statement order.
std::vector<ModelState> GetClosedForms(N const& body) {
    std::vector<ModelState> forms;
    for (ModelState const& st : GetModelStates(body))
        if (st.kind == StateClosedForm) forms.push_back(st);
    return forms;
}

// 	zzv[zzn++] = A1;          or, with 'bSet', A1 = zzv[zzn++];
static void GenIntegEntry(FILE* fp, ModelState const& st, bool bSet) {
    char const* nm = st.name;
    switch (st.kind) {
        case StateInteg:
        case StateUrine:
        case StateDelayInf:
            if (bSet)
                fprintf(fp, "\t%s = zzv[zzn++];\n", nm);
            else
                fprintf(fp, "\tzzv[zzn++] = %s;\n", nm);
            return;
        case StateHazard:
            if (bSet)
                fprintf(fp, "\t_ht_%s = zzv[zzn++];\n", nm);
            else
                fprintf(fp, "\tzzv[zzn++] = _ht_%s;\n", nm);
            return;
        case StateTransit:
            if (bSet)
                fprintf(fp, "\t%s = zzv[zzn++];\n", nm);
            else
                fprintf(fp, "\tzzv[zzn++] = %s;\n", nm);
            if (bSet)
                fprintf(fp, "\tzzX_%s = zzv[zzn++];\n", nm);
            else
                fprintf(fp, "\tzzv[zzn++] = zzX_%s;\n", nm);
            fprintf(fp, "\tfor (_i = 0; _i < %d; _i++){\n", st.width);
            if (bSet)
                fprintf(fp, "\t\tzzY_%s[_i] = zzv[zzn++];\n", nm);
            else
                fprintf(fp, "\t\tzzv[zzn++] = zzY_%s[_i];\n", nm);
            fprintf(fp, "\t}\n");
            return;
        case StateClosedForm: return;
    }
}

// 	_n++; // A1
static void GenIntegCount(FILE* fp, ModelState const& st) {
    char const* nm = st.name;
    switch (st.kind) {
        case StateInteg:
        case StateUrine:
        case StateDelayInf:
        case StateHazard: fprintf(fp, "\t_n++; // %s\n", nm); return;
        case StateTransit:
            fprintf(fp, "\t_n++; // %s\n", nm);
            fprintf(fp, "\t_n++; // zzX_%s\n", nm);
            fprintf(fp, "\t_n += %d; // zzY_%s\n", st.width, nm);
            return;
        case StateClosedForm: return;
    }
}

// The steady-state entries: those of the integrator without the hazards, and the six state
// values of each closed form.
static void GenStateSSEntry(FILE* fp, ModelState const& st, bool bSet) {
    if (st.kind == StateHazard) return;
    if (st.kind != StateClosedForm) return GenIntegEntry(fp, st, bSet);
    if (bSet)
        fprintf(fp, "\t_cf_%s.SetState(zzv+zzn);\n", (char const*)st.name);
    else
        fprintf(fp, "\t_cf_%s.GetState(zzv+zzn);\n", (char const*)st.name);
    fprintf(fp, "\tzzn += 6; // %s\n", (char const*)st.name);
}

static void GenStateSSCount(FILE* fp, ModelState const& st) {
    if (st.kind == StateHazard) return;
    if (st.kind != StateClosedForm) return GenIntegCount(fp, st);
    fprintf(fp, "\t_n += 6; // %s\n", (char const*)st.name);
}

// void pk::GetInteg(int& zzn, double zzv[]){ ... }, SetInteg alike
static void GenIntegList(FILE* fp, char const* cls, std::vector<ModelState> const& states,
                         bool bSet) {
    fprintf(fp, "void %s::%s(int& zzn, double zzv[]){\n", cls, bSet ? "SetInteg" : "GetInteg");
    for (ModelState const& st : states)
        GenIntegEntry(fp, st, bSet);
    fprintf(fp, "}\n");
}

static void GenStateSSList(FILE* fp, char const* cls, std::vector<ModelState> const& states,
                           bool bSet) {
    fprintf(fp, "void %s::%s(int& zzn, double zzv[]){\n", cls, bSet ? "SetStateSS" : "GetStateSS");
    for (ModelState const& st : states)
        GenStateSSEntry(fp, st, bSet);
    fprintf(fp, "}\n");
}

// int pk::GetNInteg(){ int _n = 0; ... return _n; }, GetNStateSS alike
static void GenCountRoutine(FILE* fp, char const* cls, std::vector<ModelState> const& states,
                            bool bSS) {
    fprintf(fp, "int %s::%s(){\n", cls, bSS ? "GetNStateSS" : "GetNInteg");
    fprintf(fp, "\tint _n = 0;\n");
    for (ModelState const& st : states)
        if (bSS)
            GenStateSSCount(fp, st);
        else
            GenIntegCount(fp, st);
    fprintf(fp, "\treturn _n;\n");
    fprintf(fp, "}\n");
}

// 	int GetNInteg();
// 	void GetInteg(int& zzn, double zzv[]);
// 	...
void CGenCode3::GenCohortStateListDecls() {
    fprintf(fpHeader, "\tint GetNInteg();\n");
    fprintf(fpHeader, "\tvoid GetInteg(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid SetInteg(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tint GetNStateSS();\n");
    fprintf(fpHeader, "\tvoid GetStateSS(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid SetStateSS(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid ResetIntegrators();\n");
}

// The bodies of the six state-list routines of the model being written.
void CGenCode3::GenCohortStateLists() {
    std::vector<ModelState> states = GetModelStates(pModelBody);
    char const* cls = sModelClass;
    GenIntegList(fpSource, cls, states, false);
    GenIntegList(fpSource, cls, states, true);
    GenCountRoutine(fpSource, cls, states, false);
    GenStateSSList(fpSource, cls, states, false);
    GenStateSSList(fpSource, cls, states, true);
    GenCountRoutine(fpSource, cls, states, true);
}

// 	A1 = 0;  with the rate, the hazards, and each transit chain with its compartments
static void GenResetEntry(FILE* fp, ModelState const& st) {
    char const* nm = st.name;
    switch (st.kind) {
        case StateInteg:
        case StateUrine:
        case StateDelayInf:
            fprintf(fp, "%s\t\t\t%s = 0;\n", "", nm);
            fprintf(fp, "\t%s_rate = 0;\n", nm);
            return;
        case StateHazard: fprintf(fp, "\t_ht_%s = 0;\n", nm); return;
        case StateTransit:
            fprintf(fp, "%s\t\t\t%s = 0;\n", "", nm);
            fprintf(fp, "\t%s_rate = 0;\n", nm);
            fprintf(fp, "\tzzX_%s = 0;\n", nm);
            fprintf(fp, "\tfor (_i = 0; _i < %d; _i++){\n", st.width);
            fprintf(fp, "\t\tzzY_%s[_i] = 0;\n", nm);
            fprintf(fp, "\t}\n");
            return;
        case StateClosedForm: return;
    }
}

// void pk::ResetIntegrators(){
// 	int _i = 0;
// 			A1 = 0;
// 	A1_rate = 0;
// }
void CGenCode3::GenCohortResetIntegrators() {
    fprintf(fpSource, "void %s::ResetIntegrators(){\n", (char const*)sModelClass);
    fprintf(fpSource, "\tint _i = 0;\n");
    for (ModelState const& st : GetModelStates(pModelBody))
        GenResetEntry(fpSource, st);
    fprintf(fpSource, "}\n");
}
