// The Jacobian of the rate equations: every rate differentiated by every integrator, with the
// forcing terms left when all integrators are zero. A linear system with constant coefficients
// also allows the matrix exponential. Where no derivative can be formed, the routine says why.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <string>
#include <unordered_set>

static int const maxJacobianRates = 20;

// The rates of the integrators: names and expressions, each name once.
struct RateList {
    SV names;
    NV exprs;
    std::unordered_set<std::string> held; // the names, for the test of Add

    void Add(char const* name, N expr) {
        if (!held.insert(name).second) return;
        names.push_back(name);
        exprs.push_back(expr);
    }
};

// Appends each name of 'names' that 'held' lacks, and notes it there.
static void AddOnce(SV& list, std::unordered_set<std::string>& held, SV const& names) {
    for (String const& s : names)
        if (held.insert(std::string(s)).second) list.push_back(s);
}

// The names whose values do not change while the integrators move.
static SV GetJacobianConstants(CGenCode const& g) {
    SV k;
    std::unordered_set<std::string> held;
    for (String const& s : g.saCovariates)
        if (MemberOf(s, g.saInterpolate) < 0 && held.insert(std::string(s)).second) k.push_back(s);
    for (SV const* list : {&g.saDoubles, &g.saFixef, &g.saRanef1, &g.saRanef2, &g.saRanef3,
                           &g.saRanef4, &g.saRanef5})
        AddOnce(k, held, *list);
    return k;
}

// deriv, delayInfCpt (rate 0), urine (times its fraction), then event and count hazards in
// statement order. A transit chain rules the Jacobian out.
static RateList GetRates(CGenCode const& g, int& bCanJacobian) {
    RateList r;
    NV stmts = GetTopStatements(g.pBody);
    for (N const& s : stmts)
        if (s && s->type == CN_DERIV) r.Add(s->child1->name, s->child2->Copy());
    for (N const& s : stmts)
        if (s && s->type == CN_DELAYINFCPT) r.Add(s->child1->name, NewNum(0.0));
    for (N const& s : stmts) {
        if (!s || s->type != CN_URINECPT) continue;
        N rate = s->child2->Copy();
        if (s->child3) rate = NewNode(CN_MUL, s->child3->Copy(), rate);
        r.Add(s->child1->name, rate);
    }
    for (N const& s : stmts)
        if (s && (s->type == CN_EVENT || s->type == CN_COUNT))
            r.Add(String("_ht_") + C(s->name), s->child1->Copy());
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT) bCanJacobian = 0;
    return r;
}

// 	// -Ka  is not constant
// Simplifies one entry and prints it as a comment, with what rules out the matrix exponential.
static N SimplifyEntry(FILE* fp, N const& raw, SV const& k, int& bCanMatexp) {
    int iFail = 0;
    N e = raw->Simp(iFail);
    fprintf(fp, "\t// ");
    GenC(e, fp);
    if (iFail) {
        fprintf(fp, "  got errors during expression simplification");
        bCanMatexp = 0;
    } else if (!e->IsConstant(k)) {
        fprintf(fp, "  is not constant");
        bCanMatexp = 0;
    }
    fprintf(fp, "\n");
    return e;
}

typedef std::vector<NV> Matrix; // [row j][column i]

// The derivative of each rate i by each integrator j, at row j and column i.
static void FillDerivatives(FILE* fp, RateList const& r, SV const& k, Matrix& m, int& bCanJacobian,
                            int& bCanMatexp) {
    size_t n = r.names.size();
    for (size_t j = 0; j < n; j++) {
        for (size_t i = 0; i < n; i++) {
            N d = r.exprs[i]->Diff(r.names[j], k);
            if (!d) {
                bCanJacobian = 0;
                continue;
            }
            m[j][i] = SimplifyEntry(fp, d, k, bCanMatexp);
        }
        m[j][n] = NewNum(0.0);
    }
}

// Row n: each rate with every integrator set to zero.
static void FillForcing(FILE* fp, RateList const& r, SV const& k, Matrix& m, int& bCanMatexp) {
    size_t n = r.names.size();
    N zero = NewNum(0.0);
    for (size_t i = 0; i < n; i++) {
        N f = r.exprs[i];
        for (String const& name : r.names)
            f = f->Subst(NewVar(name), zero, false);
        m[n][i] = SimplifyEntry(fp, f, k, bCanMatexp);
    }
    m[n][n] = NewNum(0.0);
}

static bool IsZero(N const& e) {
    return e->type == CN_NUM && e->value == 0.0;
}

// 	auto __temp_0 = ...;
// 	memset(_jacobian, 0, sizeof(NUM)*N_ODE*N_ODE);
//
// 	// rate terms for A1
// 		// w.r.t. A1
// 	_jacobian[0 + N_ODE*0] = -k;
// 		// forcing rate for A1
// 	_jacobian[0 + N_ODE*1] = 0 + globalIRate[0];
static void GenJacobianBody(CGenCode const& g, RateList const& r, Matrix& m) {
    FILE* fp = g.fp;
    size_t n = r.names.size();
    NV temps;
    for (size_t i = 0; i < n; i++)
        for (size_t j = 0; j <= n; j++)
            m[j][i] = m[j][i]->ElimSubexpr(temps);
    for (size_t t = 0; t < temps.size(); t++) {
        fprintf(fp, "\tauto __temp_%d = ", int(t));
        GenC(temps[t], fp);
        fprintf(fp, ";\n");
    }
    if (!temps.empty()) fprintf(fp, "\n");
    fprintf(fp, "\tmemset(_jacobian, 0, sizeof(NUM)*N_ODE*N_ODE);\n\n");
    for (size_t i = 0; i < n; i++) {
        fprintf(fp, "\t// rate terms for %s\n", C(r.names[i]));
        for (size_t j = 0; j < n; j++) {
            if (IsZero(m[j][i])) continue;
            fprintf(fp, "\t\t// w.r.t. %s\n", C(r.names[j]));
            fprintf(fp, "\t_jacobian[%d + N_ODE*%d] = ", int(i), int(j));
            GenC(m[j][i], fp);
            fprintf(fp, ";\n");
        }
        fprintf(fp, "\t\t// forcing rate for %s\n", C(r.names[i]));
        fprintf(fp, "\t_jacobian[%d + N_ODE*%d] = ", int(i), int(n));
        GenC(m[n][i], fp);
        if (int(i) < g.nDerivCount) fprintf(fp, " + globalIRate[%d]", int(i));
        fprintf(fp, ";\n");
    }
}

// The analysis, which prints each entry as a comment at file level, then
// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::jacobian(const DualType zzY[], DualType _jacobian[])
// { the entries, or the comment that says why there are none }
void CGenCode::GenJacobian(int& bCanJacobian, int& bCanMatexp) {
    bCanMatexp = 1;
    bCanJacobian = nTransit2Count == 0 ? 1 : 0;
    RateList r;
    Matrix m;
    if (bTimeBased) {
        r = GetRates(*this, bCanJacobian);
        size_t n = r.names.size();
        if (int(n) > maxJacobianRates) bCanJacobian = 0;
        if (bCanJacobian) { // the expansions and derivatives only where they are printed
            SV const k = GetJacobianConstants(*this);
            AssignIndex const index = GetAssignIndex(saAssign);
            for (N& e : r.exprs)
                e = FullyExpand(e, saAssign, paAssign, index);
            m.assign(n + 1, NV(n + 1));
            FillDerivatives(fp, r, k, m, bCanJacobian, bCanMatexp);
            if (bCanJacobian) FillForcing(fp, r, k, m, bCanMatexp);
        }
    }
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::jacobian(const DualType zzY[], DualType _jacobian[])\n{\n");
    if (bTimeBased && bCanJacobian) {
        fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
        GenJacobianBody(*this, r, m);
    } else if (bTimeBased) {
        fprintf(fp, "\t// cannot gen jacobian because cannot differentiate rate expressions\n");
        fprintf(fp, "\t// or >= %d integrators\n", maxJacobianRates);
    }
    fprintf(fp, "}\n\n");
}
