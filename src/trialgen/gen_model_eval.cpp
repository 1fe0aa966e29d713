// The evaluation routines of a trial model: GetRate, the right side of its differential
// equations with the flow through transit chains, and EvalGroup, EvalAssign and EvalSParms,
// which evaluate its parameters and assignments in order.
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

// 	zzr[zzn] = -k * A1;
// 	zzr[zzn] += A1_rate;
// 	zzn++;
static void GenDerivRate(FILE* fp, N const& s) {
    char const* x = s->child1->name;
    fprintf(fp, "\tzzr[zzn] = ");
    GenC(s->child2, fp);
    fprintf(fp, ";\n");
    fprintf(fp, "\tzzr[zzn] += %s_rate;\n", x);
    fprintf(fp, "\tzzn++;\n");
}

// The flow between the stages of a chain, from right to left, into its last compartment.
static void GenTransitStageRates(FILE* fp, char const* x, int m) {
    fprintf(fp,
            "\t// get the base flow rates for the %d %s transit compartments, from right to left\n",
            m, x);
    fprintf(fp, "\tfor (_i = 0; _i < %d; _i++){\n", m - 1);
    fprintf(fp, "\t\tzzr[zzn + _i + 2] = zzK_%s * (zzY_%s[_i + 1] - zzY_%s[_i]);\n", x, x, x);
    fprintf(fp, "\t}\n");
    fprintf(fp, "\tzzr[zzn + _i + 2] = zzK_%s * - zzY_%s[%d];\n", x, x, m - 1);
    fprintf(fp,
            "\tzzr[zzn + 1] = zzK_%s * (zzY_%s[0] - zzX_%s); // get the flow rate into the X "
            "compartment\n",
            x, x, x);
}

// The flow out of the chain's far end, interpolated on the log scale by the fraction of N.
static void GenTransitFinalRate(FILE* fp, char const* x) {
    fprintf(fp, "\tif (zzY_%s[0] > 0 && zzX_%s > 0){\n", x, x);
    fprintf(fp, "\t\tzzr[zzn] = zzK_%s\n", x);
    fprintf(fp, "\t\t\t * _TransitCorrectionFactor(zzN_%s)\n", x);
    fprintf(fp, "\t\t\t * exp(");
    fprintf(fp, "log(zzY_%s[0])*(1-zzF_%s) + log(zzX_%s)*zzF_%s", x, x, x, x);
    fprintf(fp, ")");
    fprintf(fp, "; // log-interpolated rate\n");
    fprintf(fp, "\t} else {\n");
    fprintf(fp, "\t\tzzr[zzn] = 0;\n");
    fprintf(fp, "\t}\n");
}

// The rates of a transit chain: its M stages, the compartment before the last and the last.
static void GenTransitRate(FILE* fp, N const& s, int m) {
    char const* x = s->child1->name;
    N const& in = s->list.size() > 0 ? s->list[0] : N();
    N const& out = s->list.size() > 1 ? s->list[1] : N();
    GenTransitStageRates(fp, x, m);
    fprintf(fp,
            "\tzzr[zzn + (int)zzI_%s + 2] += %s_rate; // add the infusion rate to the dose "
            "compartment\n",
            x, x);
    if (in) {
        fprintf(fp, "\t\tzzr[zzn + (int)zzI_%s + 2] += ", x);
        GenC(in, fp);
        fprintf(fp, "; // add the input flow to the dose compartment\n");
    }
    GenTransitFinalRate(fp, x);
    if (out) {
        fprintf(fp, "\tzzr[zzn] += ");
        GenC(out, fp);
        fprintf(fp, "; // add the output flow to the final compartment\n");
    }
    fprintf(fp, "\tzzn += %d;\n", m + 2);
    fprintf(fp, "\t//       end of transit(%s) code\n", x);
}

// One state member's rates, in the order GetInteg stores its values.
static void GenStateRate(FILE* fp, ModelState const& st) {
    switch (st.kind) {
        case StateInteg:
        case StateUrine: return GenDerivRate(fp, st.stmt);
        case StateHazard:
            fprintf(fp, "\tzzr[zzn++] = ");
            GenC(st.stmt->child1, fp);
            fprintf(fp, ";\n");
            return;
        case StateDelayInf: fprintf(fp, "\tzzr[zzn++] = %s_rate;\n", (char const*)st.name); return;
        case StateTransit: return GenTransitRate(fp, st.stmt, st.width);
        case StateClosedForm: return;
    }
}

// void pk::GetRate(int& zzn, double zzr[]){
// 	const double t = ...;
// 	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
// 	int _i = 0;
// 	zzr[zzn] = -k * A1; ...
// }
void CGenCode3::GenCohortGetRate() {
    fprintf(fpSource, "void %s::GetRate(int& zzn, double zzr[]){\n", (char const*)sModelClass);
    GenModelRoutineHead();
    fprintf(fpSource, "\tSetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\tint _i = 0;\n");
    for (ModelState const& st : GetModelStates(pModelBody))
        GenStateRate(fpSource, st);
    fprintf(fpSource, "}\n");
}

// 	V = tvV * exp(nV);
static void GenAssignLine(FILE* fp, N const& a) {
    fprintf(fp, "\t");
    GenC(a, fp);
    fprintf(fp, ";\n");
}

// The stage count and mean transit time of a chain, and from them its rate, the stage that
// receives doses and the fraction of N.
static void GenTransitSetup(FILE* fp, N const& s) {
    char const* x = s->child1->name;
    int m = s->child4 && s->child4->type == CN_NUM ? int(s->child4->value) : 50;
    fprintf(fp, "\t// transit(%s) setup\n", x);
    fprintf(fp, "\tzzN_%s = ", x);
    GenC(s->child3, fp);
    fprintf(fp, "; // current number of stages (non-integer), truncated\n");
    fprintf(fp, "\tif (zzN_%s < 0) zzN_%s = 0;\n", x, x);
    fprintf(fp, "\tif (zzN_%s >= %d) zzN_%s = %d - 1e-6;\n", x, m, x, m);
    fprintf(fp, "\tzzMTT_%s = ", x);
    GenC(s->child2, fp);
    fprintf(fp, "; // mean transit time\n");
    fprintf(fp, "\tif (zzMTT_%s <= 0) zzMTT_%s = 1e-15;\n", x, x);
    fprintf(fp, "\tzzK_%s = (zzN_%s+1)/zzMTT_%s; // inter-stage rate\n", x, x, x);
    fprintf(fp, "\tzzI_%s = (int)floor(zzN_%s); // integral part of N, index to receive doses\n", x,
            x);
    fprintf(fp, "\tzzF_%s = zzN_%s - (double)zzI_%s; // fractional part of N\n", x, x, x);
}

// The assignments of the statements of kind 'type' (group, stparm, secondary), in order.
void CGenCode3::GenAssignListLines(NV const& stmts, CNodeType type) {
    for (N const& s : stmts)
        if (s && s->type == type)
            for (N const& a : s->list)
                GenAssignLine(fpSource, a);
}

// void pk::EvalGroup(){ ... }, EvalAssign and EvalSParms
void CGenCode3::GenCohortEvalRoutines(NV const& stmts) {
    char const* cls = sModelClass;
    fprintf(fpSource, "void %s::EvalGroup(){\n", cls);
    GenModelRoutineHead();
    GenAssignListLines(stmts, CN_GROUP);
    fprintf(fpSource, "}\n");
    fprintf(fpSource, "void %s::EvalAssign(){\n", cls);
    GenModelRoutineHead();
    for (N const& s : stmts)
        if (s && s->type == CN_ASSIGN) GenAssignLine(fpSource, s);
    for (N const& s : stmts) {
        if (!s || s->type != CN_EVENT) continue;
        if (!s->child3) { // without an interval the event machine looks once per unit of time
            fprintf(fpSource, "\t_dt_%s = 1;\n", (char const*)s->name);
            continue;
        }
        fprintf(fpSource, "\t_dt_%s = ", (char const*)s->name);
        GenC(s->child3, fpSource);
        fprintf(fpSource, ";\n");
    }
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT) GenTransitSetup(fpSource, s);
    fprintf(fpSource, "}\n");
    fprintf(fpSource, "void %s::EvalSParms(){\n", cls);
    GenModelRoutineHead();
    fprintf(fpSource, "\tSetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\tEvalGroup();\n");
    GenAssignListLines(stmts, CN_STPARM);
    GenAssignListLines(stmts, CN_SECONDARY);
    fprintf(fpSource, "\tEvalAssign();\n");
    fprintf(fpSource, "}\n");
}
