// The model information file of the /I mode, ModelInfo.txt: one line a section, "(head" and
// its entries each behind a blank, then ")", in the order its outside reader expects. The
// lists are those that Phase 1 of the code generator fills.
#include "modelgen/gencode.h"

#include <cassert>
#include <cstdlib>

// ---- Entries ----------------------------------------------------------------------------------

static char const* to_format(String const& s) {
    return s;
}

static void print_value(FILE* fp, String const& v) {
    fprintf(fp, "%s", to_format(v));
}

static void print_value(FILE* fp, unsigned short v) {
    fprintf(fp, "%d", v);
}

// Enable numbers are whole numbers far below the range of int, which is how they print.
static void print_value(FILE* fp, int64_t v) {
    fprintf(fp, "%d", int(v));
}

// (head a b c)
template <typename T>
static void print_info(FILE* fp, char const* name, std::vector<T> const& list) {
    fprintf(fp, "(%s", name);
    for (T const& v : list) {
        fprintf(fp, " ");
        print_value(fp, v);
    }
    fprintf(fp, ")\n");
}

// (head (a1 b1) (a2 b2)), walked by the length of 'a'
template <typename T, typename U>
static void print_info(FILE* fp, char const* name, std::vector<T> const& a,
                       std::vector<U> const& b) {
    assert(b.size() >= a.size());
    fprintf(fp, "(%s", name);
    for (size_t i = 0; i < a.size(); i++) {
        fprintf(fp, " (");
        print_value(fp, a[i]);
        fprintf(fp, " ");
        print_value(fp, b[i]);
        fprintf(fp, ")");
    }
    fprintf(fp, ")\n");
}

// ---- What the lists don't hold ----------------------------------------------------------------

// The name and type word of each LL statement of the tree, a name once; nothing below an LL
// statement is looked at.
static void GetLLs(cn const& node, SV& names, SV& types) {
    if (!node) return;
    if (node->type == CN_LL) {
        if (MemberOf(node->name, names) >= 0) return;
        names.push_back(node->name);
        types.push_back(node->child2 ? node->child2->name : String());
        return;
    }
    for (N const* c : {&node->child1, &node->child2, &node->child3, &node->child4})
        GetLLs(*c, names, types);
    for (N const& e : node->list)
        GetLLs(e, names, types);
}

// The number at 'k' of a list of values when it reduces to a plain number, else 'dflt'.
static double InitialValue(N const& values, size_t k, double dflt) {
    if (!values || k >= values->list.size() || !values->list[k]) return dflt;
    int fail = 0;
    N num = values->list[k]->Simp(fail);
    return !fail && num && num->type == CN_NUM ? num->value : dflt;
}

// Writes the omegas of one group into the n by n 'matrix' from row 'off' on; the rows of a
// same group stay 0.
static void PutGroupOmegas(N const& g, size_t off, size_t n, std::vector<double>& matrix) {
    size_t m = g->child1 ? g->child1->list.size() : 0;
    if (g->type == CN_VARIANCE_DIAG) {
        for (size_t i = 0; i < m; i++)
            matrix[(off + i) * n + off + i] = InitialValue(g->child2, i, 1.0);
        return;
    }
    if (g->type != CN_RANEF_BLOCK) return;
    for (size_t i = 0, k = 0; i < m; i++) {
        for (size_t j = 0; j <= i; j++, k++) {
            double v = InitialValue(g->child2, k, i == j ? 1.0 : 0.0);
            matrix[(off + i) * n + off + j] = v;
            matrix[(off + j) * n + off + i] = v;
        }
    }
}

void ModelInfoGen::GetInitialPackedOmega(SV& names, std::vector<double>& matrix) const {
    names.clear();
    matrix.clear();
    NV groups;
    for (N const& s : GetTopStatements(pBody))
        if (s && s->type == CN_RANEF5) groups.insert(groups.end(), s->list.begin(), s->list.end());
    for (N const& g : groups)
        if (g && g->child1)
            for (N const& var : g->child1->list)
                names.push_back(var->name);
    size_t n = names.size(), off = 0;
    matrix.assign(n * n, 0.0);
    for (N const& g : groups) {
        if (!g || !g->child1) continue;
        PutGroupOmegas(g, off, n, matrix);
        off += g->child1->list.size();
    }
}

void ModelInfoGen::GetInitialError(SV& names, std::vector<double>& values) const {
    names.clear();
    values.clear();
    for (N const& s : GetTopStatements(pBody)) {
        if (!s || s->type != CN_ERROR) continue;
        for (N const& e : s->list) {
            if (!e || !e->child1) continue;
            for (size_t i = 0; i < e->child1->list.size(); i++) {
                names.push_back(e->child1->list[i]->name);
                values.push_back(e->type == CN_VARIANCE_DIAG ? InitialValue(e->child3, i, 1.0)
                                                             : 0.0);
            }
        }
    }
}

// ---- Sections ---------------------------------------------------------------------------------

// (covariates wt sex())
// (stripdoses ageStrip)
static void GenCovariates(ModelInfoGen const& g) {
    fprintf(g.fp, "(covariates");
    SV strips;
    for (size_t i = 0; i < g.saCovariates.size(); i++) {
        String const& name = g.saCovariates[i];
        if (CovariateIsStripDose(name)) {
            strips.push_back(name);
            continue;
        }
        fprintf(g.fp, " %s", to_format(name));
        if (i < g.naCovariateFlags.size() && g.naCovariateFlags[i]) fprintf(g.fp, "()");
    }
    fprintf(g.fp, ")\n");
    print_info(g.fp, "stripdoses", strips);
}

// (fixedeffects (tvV -1 0 10) (tvCl 1 0 2))
// (submodels 1)
static void GenFixedEffects(ModelInfoGen const& g) {
    fprintf(g.fp, "(fixedeffects");
    for (size_t i = 0; i < g.saFixef.size(); i++) {
        fprintf(g.fp, " (%s", to_format(g.saFixef[i]));
        fprintf(g.fp, " %d", int(g.laFixefEnable[i]));
        fprintf(g.fp, " %d", g.naFixefFrozen[i]);
        fprintf(g.fp, " %.15g", g.daFixefInit[i]);
        fprintf(g.fp, ")");
    }
    fprintf(g.fp, ")\n");
    std::vector<int64_t> enabled;
    for (int64_t e : g.laFixefEnable)
        if (e >= 0) enabled.push_back(e);
    print_info(g.fp, "submodels", enabled);
}

// (randomeffects5 nV nCl)
// (omega5
//  0.1
//  0.01 0.2
// )
static void GenRandomEffects(ModelInfoGen const& g) {
    SV names;
    std::vector<double> matrix;
    g.GetInitialPackedOmega(names, matrix);
    print_info(g.fp, "randomeffects5", names);
    size_t n = names.size();
    fprintf(g.fp, "(omega5");
    if (n > 0) fprintf(g.fp, "\n");
    for (size_t i = 0; i < n; i++) {
        if (i > 0) fprintf(g.fp, "\n");
        for (size_t j = 0; j <= i; j++)
            fprintf(g.fp, " %.15g", matrix[i * n + j]);
    }
    fprintf(g.fp, "\n)\n");
}

// (error eps 0.1)
static void GenErrors(ModelInfoGen const& g) {
    SV names;
    std::vector<double> values;
    g.GetInitialError(names, values);
    for (size_t i = 0; i < names.size(); i++)
        fprintf(g.fp, "(error %s %.15g)\n", to_format(names[i]), values[i]);
}

// (secondary CL2( A1dose wt) Thalf())
// Each secondary parameter with the dose variables, then the covariates, of its right side.
static void GenSecondary(ModelInfoGen const& g) {
    fprintf(g.fp, "(secondary");
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_SECONDARY) continue;
        for (N const& a : s->list) {
            if (!a || !a->child1) continue;
            fprintf(g.fp, " %s(", to_format(a->child1->name));
            for (SV const* list : {&g.saInitialDose, &g.saCovariates})
                for (String const& name : *list)
                    if (a->child2 && a->child2->CountContains(name) > 0)
                        fprintf(g.fp, " %s", to_format(name));
            fprintf(g.fp, ")");
        }
    }
    fprintf(g.fp, ")\n");
}

// (integrator Aa A1 A2 Ap)
// An empty depot name of a closed form prints as a second blank.
static void GenIntegrators(ModelInfoGen const& g) {
    fprintf(g.fp, "(integrator");
    for (SV const* list : {&g.saInteg, &g.saCFMacro, &g.saCFStrip, &g.saCFStrip2})
        for (String const& name : *list)
            fprintf(g.fp, " %s", to_format(name));
    fprintf(g.fp, ")\n");
}

// (ClosedForms 1 0 0)
static void GenClosedForms(ModelInfoGen const& g) {
    fprintf(g.fp, "(ClosedForms %d %d %d)\n", CountTopStatements(g.pBody, CN_CFMICRO),
            CountTopStatements(g.pBody, CN_CFMACRO), CountTopStatements(g.pBody, CN_CFMACRO1));
}

[[noreturn]] static void CannotCreate(char const* path) {
    fprintf(stderr, "Error: cannot create file %s\r\n", path);
    exit(1);
}

// The analysis of the code generator refuses a wrong model before the file is opened.
void ModelInfoGen::GenModelInfo(char const* path, int genTypes, NV& /*includes*/) {
    pModel->AssertValid();
    iGenTypes = genTypes;
    GenDllPhase1();
    CheckVcvfixef();
    fp = OpenOutputFile(path, "w");
    if (!fp) CannotCreate(path);
    GenCovariates(*this);
    print_info(fp, "initialdosevars", saInitialDose);
    print_info(fp, "dosepoints1", saDosepoints1);
    print_info(fp, "dosepoints1split", naDosepoint1Flags);
    print_info(fp, "dosepoints2", saDosepoints2);
    if (bTimeBased) fprintf(fp, "(time)\n");
    print_info(fp, "observations", saObserved, naObservedFlags);
    SV llNames, llTypes;
    GetLLs(pModel, llNames, llTypes);
    print_info(fp, "LL", llNames, llTypes);
    print_info(fp, "responses", saResponses, naResponseFlags);
    fprintf(fp, "(allowgaussianfit %d)\n", bAllowGaussianFit);
    print_info(fp, "gparms", saGroup);
    print_info(fp, "sparms", saStruct);
    GenFixedEffects(*this);
    GenRandomEffects(*this);
    GenErrors(*this);
    GenSecondary(*this);
    print_info(fp, "assigned", saAssigned);
    GenIntegrators(*this);
    GenClosedForms(*this);
    CloseOutputFile(fp);
    fp = nullptr;
}
