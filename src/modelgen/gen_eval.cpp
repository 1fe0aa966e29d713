// The evaluation routines of one subject: the state counts of the gamma delays, eval_group,
// eval_assign and eval_sparams (which share one cache of function results), the secondary
// parameters and the model time.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"
#include "modelgen/subject_templates.h"

#include <cstring>

int GetIPeakTable(cn const& body, char const* name) {
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_ASSIGN || !s->child2) continue;
        if (s->child2->type == CN_PEAK && s->child2->name == name) return s->child2->iPeakTable;
    }
    return -1;
}

bool CovariateIsStripDose(char const* name) {
    size_t len = strlen(name);
    return len >= 5 && strcmp(name + len - 5, "Strip") == 0;
}

// static int GetGammaDelayDECnt(int i_)
// {
//     static const int des_[2] = {
//         12,
//         20,
//     };
//
//     return des_[i_];
// }
// constexpr int GetGammaDelayDEStart(int i_) ...
// int GetGammaDelayDECount() ...
static void GenGammaDelayCounts(CGenCode const& g) {
    FILE* fp = g.fp;
    NV const& delays = g.paGammaDelays;
    fprintf(fp, "static int GetGammaDelayDECnt(int i_)\n{\n");
    int total = 0;
    if (!delays.empty()) {
        fprintf(fp, "    static const int des_[%d] = {\n", int(delays.size()));
        for (N const& d : delays) {
            total += d->list.size() > 2 && d->list[2] ? int(d->list[2]->value) : 0;
            fprintf(fp, "        %d,\n", total);
        }
        fprintf(fp, "    };\n\n");
        fprintf(fp, "    return des_[i_];\n");
    } else {
        fprintf(fp, "    return 0;\n");
    }
    fprintf(fp, "}\n\n");
    fprintf(fp, "constexpr int GetGammaDelayDEStart(int i_)\n{\n");
    fprintf(fp, "    return NINTEG_ALL + 1 + (i_ > 0 ? GetGammaDelayDECnt(i_ - 1) : 0);\n");
    fprintf(fp, "}\n\n");
    fprintf(fp, "int GetGammaDelayDECount()\n{\n");
    fprintf(fp, "    return %d;\n", total);
    fprintf(fp, "}\n\n");
}

// 	using NUM = MODEL_CLASS_DECL::DualType;
// 	int _ix0 = 0, _ix1 = 0;	// used for table statement
// 	double _xFrac = 0;
static void GenTableLocals(FILE* fp) {
    fprintf(fp, "\tint _ix0 = 0, _ix1 = 0;\t// used for table statement\n");
    fprintf(fp, "\tdouble _xFrac = 0;\n");
}

// 	V = tvV * exp(nV);
// 	if (_initial_V == _NA) _initial_V = V;
// for each assignment of the list of a group or stparm statement; 'skip' leaves some out.
static void GenListAssignment(FILE* fp, N const& a, CacheVisitor& cache) {
    char const* nm = a->child1->name;
    set_assignment(nm);
    fprintf(fp, "\t");
    GenC(a, &cache);
    fprintf(fp, ";\n");
    pop_assignment();
    fprintf(fp, "\tif (_initial_%s == _NA) _initial_%s = %s;\n", nm, nm, nm);
}

static bool IsListAssignment(N const& a) {
    return a && a->type == CN_ASSIGN && a->child1 && a->child1->type == CN_VAR;
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::eval_group(DualType * zzY)
// { ... the assignments of the group statements ... }
static void GenEvalGroup(CGenCode const& g, CacheVisitor& cache) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::eval_group(DualType * zzY)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    GenTableLocals(fp);
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_GROUP) continue;
        for (N const& a : s->list)
            if (IsListAssignment(a)) GenListAssignment(fp, a, cache);
    }
    fprintf(fp, "}\n\n");
}

// , (double)(0), (double)(1), (double)(2)
static void GenTableValues(FILE* fp, N const& row, CacheVisitor& cache) {
    for (N const& v : row->list) {
        fprintf(fp, ", (double)(");
        GenC(v, &cache);
        fprintf(fp, ")");
    }
}

// 	_tableGetXPos(3, t, &_ix0, &_ix1, &_xFrac, (double)(0), (double)(1), (double)(2));
// 	_tableSetYVal(3, &E, _ix0, _ix1, _xFrac, (double)(0), (double)(5), (double)(7));
static void GenTable(FILE* fp, N const& s, CacheVisitor& cache) {
    if (s->list.empty() || !s->list[0]) return;
    N const& x = s->list[0];
    int n = int(x->list.size());
    fprintf(fp, "\t_tableGetXPos(%d, ", n);
    GenC(x->child1, &cache);
    fprintf(fp, ", &_ix0, &_ix1, &_xFrac");
    GenTableValues(fp, x, cache);
    fprintf(fp, ");\n");
    for (size_t i = 1; i < s->list.size(); i++) {
        N const& y = s->list[i];
        fprintf(fp, "\t_tableSetYVal(%d, &%s, _ix0, _ix1, _xFrac", n, C(y->child1->name));
        GenTableValues(fp, y, cache);
        fprintf(fp, ");\n");
    }
}

static bool IsPeakAssignment(N const& s) {
    return s->type == CN_ASSIGN && has_peak(s);
}

// 	zzN_A = n; ... zzF_A = zzN_A - (double)zzI_A;
static void GenTransitParameters(FILE* fp, N const& s, CacheVisitor& cache) {
    char const* a = s->child1->name;
    int m = s->child4 ? int(s->child4->value) : 0;
    fprintf(fp, "\tzzN_%s = ", a);
    GenC(s->child3, &cache);
    fprintf(fp, ";\n");
    fprintf(fp, "\tif (zzN_%s < 0) zzN_%s = 0;\n", a, a);
    fprintf(fp, "\tif (zzN_%s >= %d) zzN_%s = %d - 1e-6;\n", a, m, a, m);
    fprintf(fp, "\tzzMTT_%s = ", a);
    GenC(s->child2, &cache);
    fprintf(fp, ";\n");
    fprintf(fp, "\tif (zzMTT_%s <= 0) zzMTT_%s = 1e-15;\n", a, a);
    fprintf(fp, "\tzzK_%s = (zzN_%s+1)/zzMTT_%s;\n", a, a, a);
    fprintf(fp, "\tzzI_%s = (int)floor(zzN_%s);\n", a, a);
    fprintf(fp, "\tzzF_%s = zzN_%s - (double)zzI_%s;\n", a, a, a);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::eval_assign(DualType * zzY)
// { calls, plain assignments and tables; then peak assignments; then transit parameters }
static void GenEvalAssign(CGenCode const& g, CacheVisitor& cache) {
    FILE* fp = g.fp;
    NV stmts = GetTopStatements(g.pBody);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::eval_assign(DualType * zzY)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    GenTableLocals(fp);
    for (N const& s : stmts) {
        if (!s) continue;
        if (s->type == CN_TABLE) GenTable(fp, s, cache);
        if (s->type != CN_CALL && (s->type != CN_ASSIGN || IsPeakAssignment(s))) continue;
        fprintf(fp, "\t");
        GenC(s, &cache);
        fprintf(fp, ";\n");
    }
    for (N const& s : stmts) {
        if (!s || !IsPeakAssignment(s)) continue;
        set_assignment(s->child1->name);
        fprintf(fp, "\t");
        GenC(s, &cache);
        fprintf(fp, ";\n");
        pop_assignment();
    }
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT) GenTransitParameters(fp, s, cache);
    fprintf(fp, "}\n\n");
}

// 	if (wt == _NA){
// 		SetErrorMsg("Covariate 'wt' not set");
// 		NotOK();
// 	}
static void GenCovariateChecks(CGenCode const& g) {
    for (String const& s : g.saCovariates) {
        if (CovariateIsStripDose(s)) continue;
        fprintf(g.fp, "\tif (%s == _NA){\n", C(s));
        fprintf(g.fp, "\t\tSetErrorMsg(\"Covariate '%s' not set\");\n", C(s));
        fprintf(g.fp, "\t\tNotOK();\n");
        fprintf(g.fp, "\t}\n");
    }
}

//     if (reset_thetas_to_init)
//     {
//         tvKa = __tvKa_init; // frozen fixed effect
//     }
static void GenFrozenFixefReset(CGenCode const& g) {
    bool any = false;
    for (unsigned short f : g.naFixefFrozen)
        if (f) any = true;
    if (!any) return;
    fprintf(g.fp, "\n    if (reset_thetas_to_init)\n    {\n");
    for (size_t i = 0; i < g.saFixef.size() && i < g.naFixefFrozen.size(); i++)
        if (g.naFixefFrozen[i])
            fprintf(g.fp, "        %s = __%s_init; // frozen fixed effect\n", C(g.saFixef[i]),
                    C(g.saFixef[i]));
    fprintf(g.fp, "    }\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::eval_sparams(DualType * zzY)
// { covariate checks, frozen thetas, structural parameters, constraints, eval_assign }
static void GenEvalSparams(CGenCode const& g, CacheVisitor& cache) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::eval_sparams(DualType * zzY)\n{\n");
    fprintf(fp, "\tif (zzY == 0) return;\n");
    GenTableLocals(fp);
    fprintf(fp, "\teval_group(zzY);\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    GenCovariateChecks(g);
    GenFrozenFixefReset(g);
    NV stmts = GetTopStatements(g.pBody);
    for (N const& s : stmts) {
        if (!s || s->type != CN_STPARM) continue;
        for (N const& a : s->list)
            if (IsListAssignment(a) && !g.IsStparmCopyOfFixef(a->child1->name))
                GenListAssignment(fp, a, cache);
    }
    for (N const& s : stmts) {
        if (!s || s->type != CN_CONSTRAIN) continue;
        fprintf(fp, "\tif (!");
        GenC(s->child1, &cache);
        fprintf(fp, ") NotOK();\n");
    }
    fprintf(fp, "\n    eval_assign(zzY);\n");
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::calc_secondary()
// { ... each secondary assignment ... }
// and get_secondary, which hands the values to the engine.
static void GenSecondary(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::calc_secondary()\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_SECONDARY) continue;
        for (N const& a : s->list) {
            fprintf(fp, "\t");
            GenC(a, fp);
            fprintf(fp, ";\n");
        }
    }
    fprintf(fp, "}\n\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::get_secondary(int* _pn, double* _sec)\n{\n");
    if (!g.saSecondary.empty()) fprintf(fp, "\tcalc_secondary();\n");
    for (size_t i = 0; i < g.saSecondary.size(); i++)
        fprintf(fp, "\t_sec[%d] = (double)%s;\n", int(i), C(g.saSecondary[i]));
    fprintf(fp, "\t*_pn = %d;\n", int(g.saSecondary.size()));
    fprintf(fp, "}\n\n");
}

// void SetModelTime(double _t)
// {
// 	t = _t;
// }
static void GenSetModelTime(CGenCode const& g) {
    fprintf(g.fp, "void SetModelTime(double _t)\n{\n");
    if (g.bTimeBased) fprintf(g.fp, "\tt = _t;\n");
    fprintf(g.fp, "}\n\n");
}

// static int GetGammaDelayDECnt(int i_) ... eval_group ... calc_sum_x ... eval_assign ...
// eval_sparams ... calc_secondary ... get_secondary ... SetModelTime
// One cache visitor numbers the cached calls through the three evaluation routines.
void CGenCode::GenEvaluation() {
    GenGammaDelayCounts(*this);
    CacheVisitor cache(fp);
    GenEvalGroup(*this, cache);
    fputs(calcSumXTemplate, fp);
    GenEvalAssign(*this, cache);
    GenEvalSparams(*this, cache);
    nFuncResult = cache.iResultCount > 1 ? cache.iResultCount : 1;
    nFuncArg = cache.iArgCount > 1 ? cache.iArgCount : 1;
    GenSecondary(*this);
    GenSetModelTime(*this);
}
