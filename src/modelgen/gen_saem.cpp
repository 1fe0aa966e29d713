// The SAEM routines of Model.cpp. Every structural parameter is read as a sum of an eta, a main
// theta and covariate thetas times known expressions, on the plain or on the log scale. When the
// whole model fits, the routines describe that linear design (the C matrix) to the engine's
// SAEM estimator; when it doesn't, dummy routines tell the engine that SAEM can't be used.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <utility>
#include <vector>

static bool IsSet(String const& s) {
    return s[0] != '\0';
}

static bool IsVarIn(N const& n, SV const& list) {
    return n && n->type == CN_VAR && MemberOf(n->name, list) >= 0;
}

// What one structural parameter's sum is made of. 'ok' 0: the sum doesn't fit the linear form;
// 'skip' 1: it fits but stays out of the matrix (frozen main theta, or an eta with no theta).
struct SumParts {
    String theta;
    int thetaIsLog = 0;
    String eta;
    SV covThetas;
    NV covExprs;
    std::vector<int64_t> covFrozen, covEnable;
    int skip = 0;
    int ok = 1;
};

// A SAEM parameter: the stparm name, whether it matched only on the log scale, and its parts.
struct SaemParm {
    String name;
    int logForm = 0;
    SumParts parts;
};

// The linear design of the model, parameters in the order of their etas in saRanef5.
struct SaemDesign {
    std::vector<SaemParm> parms;
    SV poolThetas;
    std::vector<int64_t> poolEnable;
    SV bareThetas;
    std::vector<int64_t> bareEnable;
};

// ---- Reading a sum ---------------------------------------------------------------------------

// Appends the summands of 'expr': a sum opens into its left, then its right side; a difference
// or a negation stays whole.
static void GetTermsInSum(N const& expr, NV& terms) {
    if (expr->type == CN_ADD) {
        GetTermsInSum(expr->child1, terms);
        GetTermsInSum(expr->child2, terms);
        return;
    }
    terms.push_back(expr);
}

// The theta of a term that is a theta by itself, or log(theta) or ln(theta), which sets 'isLog'.
static N MainThetaOf(N const& term, SV const& fixefs, int& isLog) {
    if (IsVarIn(term, fixefs)) return term;
    bool logCall = term->type == CN_CALL && (term->name == "log" || term->name == "ln");
    if (!logCall || term->list.empty() || !IsVarIn(term->list[0], fixefs)) return N();
    isLog = 1;
    return term->list[0];
}

// The one theta that stands alone. A second one spoils the sum; a frozen one makes the
// parameter skipped.
static void TakeMainTheta(CGenCode const& g, NV& terms, SumParts& p) {
    for (size_t i = 0; i < terms.size();) {
        int isLog = 0;
        N v = MainThetaOf(terms[i], g.saFixef, isLog);
        if (v && IsSet(p.theta)) {
            p.ok = 0;
            return;
        }
        if (!v) {
            i++;
            continue;
        }
        p.theta = v->name;
        p.thetaIsLog = isLog;
        terms.erase(terms.begin() + long(i));
        if (g.naFixefFrozen[size_t(MemberOf(p.theta, g.saFixef))]) p.skip = 1;
    }
}

// The one eta that stands alone; a second one spoils the sum.
static void TakeEta(CGenCode const& g, NV& terms, SumParts& p) {
    for (size_t i = 0; i < terms.size();) {
        if (!IsVarIn(terms[i], g.saRanef5)) {
            i++;
            continue;
        }
        if (IsSet(p.eta)) {
            p.ok = 0;
            return;
        }
        p.eta = terms[i]->name;
        terms.erase(terms.begin() + long(i));
    }
}

// A product with a name of 'list' on one side, the left tried first: that side in 'var', the
// other in 'rest'.
static bool SplitProduct(N const& t, SV const& list, N& var, N& rest) {
    if (t->type != CN_MUL) return false;
    if (IsVarIn(t->child1, list)) {
        var = t->child1;
        rest = t->child2;
        return true;
    }
    if (!IsVarIn(t->child2, list)) return false;
    var = t->child2;
    rest = t->child1;
    return true;
}

// theta * expr or expr * theta: the covariate theta with a copy of its expression.
static void TakeCovariateTerms(CGenCode const& g, NV& terms, SumParts& p) {
    for (size_t i = 0; i < terms.size() && p.ok;) {
        N theta, expr;
        if (!SplitProduct(terms[i], g.saFixef, theta, expr)) {
            i++;
            continue;
        }
        if (MemberOf(theta->name, p.covThetas) >= 0 || theta->name == p.theta) {
            p.ok = 0;
            return;
        }
        size_t k = size_t(MemberOf(theta->name, g.saFixef));
        p.covThetas.push_back(theta->name);
        p.covExprs.push_back(expr->Copy());
        p.covFrozen.push_back(g.naFixefFrozen[k]);
        p.covEnable.push_back(g.laFixefEnable[k]);
        terms.erase(terms.begin() + long(i));
    }
}

// (occ == 2), or (2 == occ): the variable and the number; false for anything else.
static bool ReadOccasionTest(N const& n, String& var, double& value) {
    if (!n || n->type != CN_EQ) return false;
    N a = n->child1, b = n->child2;
    if (a && a->type == CN_NUM) std::swap(a, b);
    if (!a || a->type != CN_VAR || !b || b->type != CN_NUM) return false;
    var = a->name;
    value = b->value;
    return true;
}

// eta * (occ == n), either way round: one eta for each occasion of one occasion variable. The
// terms are only checked and dropped; nothing of them is kept.
static void TakeOccasionTerms(CGenCode const& g, NV& terms) {
    String occVar;
    std::vector<double> seenValues;
    SV seenEtas;
    for (size_t i = 0; i < terms.size();) {
        N eta, test;
        String var;
        double value = 0;
        bool fits =
            SplitProduct(terms[i], g.saRanef5, eta, test) && ReadOccasionTest(test, var, value);
        if (fits && !IsSet(occVar)) occVar = var;
        fits = fits && var == occVar && MemberOf(eta->name, seenEtas) < 0;
        for (double v : seenValues)
            fits = fits && v != value;
        if (!fits) {
            i++;
            continue;
        }
        seenValues.push_back(value);
        seenEtas.push_back(eta->name);
        terms.erase(terms.begin() + long(i));
    }
}

// Names that the model sets to 0 add nothing to the sum.
static void TakeConstants(CGenCode const& g, NV& terms) {
    for (size_t i = 0; i < terms.size();) {
        if (IsVarIn(terms[i], g.saConst))
            terms.erase(terms.begin() + long(i));
        else
            i++;
    }
}

// Splits 'expr' into its main theta, eta and covariate terms, pass by pass; every term must be
// taken by some pass. 'p' holds fresh out values, with 'ok' 1.
static void GetComponentsOfSAEMStparmSum(CGenCode const& g, N const& expr, SumParts& p) {
    NV terms;
    GetTermsInSum(expr, terms);
    TakeMainTheta(g, terms, p);
    if (p.skip || !p.ok) return; // the other terms stay unread
    TakeEta(g, terms, p);
    if (!p.ok) return;
    TakeCovariateTerms(g, terms, p);
    if (p.ok) TakeOccasionTerms(g, terms);
    TakeConstants(g, terms);
    if (!terms.empty()) {
        p.ok = 0;
        return;
    }
    if (p.ok && !IsSet(p.theta)) {
        if (IsSet(p.eta))
            p.skip = 1;
        else
            p.ok = 0;
    }
}

// ---- The design of the model -----------------------------------------------------------------

static bool IsMainTheta(SaemDesign const& d, char const* name) {
    for (SaemParm const& parm : d.parms)
        if (parm.parts.theta == name) return true;
    return false;
}

static bool IsCovariateTheta(SaemDesign const& d, char const* name) {
    for (SaemParm const& parm : d.parms)
        if (MemberOf(name, parm.parts.covThetas) >= 0) return true;
    return false;
}

static bool IsSaemEta(SaemDesign const& d, char const* name) {
    for (SaemParm const& parm : d.parms)
        if (parm.parts.eta == name) return true;
    return false;
}

// The names and right sides of the assignments in the group statements.
static void GetGroupAssignments(cn const& body, SV& names, NV& exprs) {
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_GROUP) continue;
        for (N const& a : s->list)
            if (a && a->type == CN_ASSIGN)
                names.push_back(a->child1->name), exprs.push_back(a->child2);
    }
}

// Reads one stparm assignment with the groups put in, on the plain scale and, failing that, on
// the log scale. False when it fits neither.
static bool ReadStparmSum(CGenCode const& g, N const& assign, SV const& groupNames,
                          NV const& groupExprs, SaemParm& parm) {
    N expr = FullyExpand(assign->child2->Copy(), groupNames, groupExprs);
    N logExpr = expr->GetLog();
    parm.name = assign->child1->name;
    GetComponentsOfSAEMStparmSum(g, expr, parm.parts);
    if (parm.parts.ok) return true;
    parm.parts = SumParts();
    parm.logForm = 1;
    GetComponentsOfSAEMStparmSum(g, logExpr, parm.parts);
    return parm.parts.ok != 0;
}

// The SAEM parameters in stparm order. False when a sum doesn't fit, or when two parameters
// share a main theta or an eta, or a covariate theta is another's main theta.
static bool CollectSaemParms(CGenCode const& g, SaemDesign& d) {
    SV groupNames;
    NV groupExprs;
    GetGroupAssignments(g.pBody, groupNames, groupExprs);
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_STPARM) continue;
        for (N const& a : s->list) {
            if (!a || a->type != CN_ASSIGN) continue;
            SaemParm parm;
            if (!ReadStparmSum(g, a, groupNames, groupExprs, parm)) return false;
            SumParts const& p = parm.parts;
            if (IsMainTheta(d, p.theta)) return false;
            if (!IsSet(p.eta) || p.skip) continue;
            if (IsSaemEta(d, p.eta)) return false;
            for (String const& cov : p.covThetas)
                if (IsMainTheta(d, cov)) return false;
            d.parms.push_back(parm);
        }
    }
    return true;
}

static size_t CountCovariates(std::vector<SaemParm> const& parms) {
    size_t n = 0;
    for (SaemParm const& parm : parms)
        n += parm.parts.covThetas.size();
    return n;
}

// Puts the parameters in the order of their etas in saRanef5. False when one is lost.
static bool SortByEta(CGenCode const& g, SaemDesign& d) {
    std::vector<SaemParm> sorted;
    for (String const& eta : g.saRanef5) {
        for (SaemParm const& parm : d.parms) {
            if (parm.parts.eta != eta) continue;
            sorted.push_back(parm);
            break;
        }
    }
    bool kept =
        sorted.size() == d.parms.size() && CountCovariates(sorted) == CountCovariates(d.parms);
    d.parms = sorted;
    return kept;
}

// The thetas in the variance function of an observe statement, estimated by naive pooling.
// False when one of them is a main or a covariate theta.
static bool CollectNaivePoolThetas(CGenCode const& g, SaemDesign& d) {
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_OBSERVE || !s->child2) continue;
        N mean, var;
        int iFail = 0;
        g.GenMeanVarianceExpr(s->child2, mean, var, iFail);
        if (!var) continue;
        for (size_t i = 0; i < g.saFixef.size(); i++) {
            String const& theta = g.saFixef[i];
            if (var->CountContains(theta) == 0 || MemberOf(theta, d.poolThetas) >= 0) continue;
            if (IsCovariateTheta(d, theta) || IsMainTheta(d, theta)) return false;
            if (g.naFixefFrozen[i]) continue;
            d.poolThetas.push_back(theta);
            d.poolEnable.push_back(g.laFixefEnable[i]);
        }
    }
    return true;
}

// Every other theta that isn't frozen gets an eta of its own.
static void CollectBareThetas(CGenCode const& g, SaemDesign& d) {
    for (size_t i = 0; i < g.saFixef.size(); i++) {
        String const& theta = g.saFixef[i];
        if (IsMainTheta(d, theta) || IsCovariateTheta(d, theta)) continue;
        if (MemberOf(theta, d.poolThetas) >= 0 || g.naFixefFrozen[i]) continue;
        d.bareThetas.push_back(theta);
        d.bareEnable.push_back(g.laFixefEnable[i]);
    }
}

// The whole analysis; false when SAEM is not allowed. It prints nothing.
static bool GetSaemDesign(CGenCode const& g, SaemDesign& d) {
    if (!CollectSaemParms(g, d) || !SortByEta(g, d) || !CollectNaivePoolThetas(g, d)) return false;
    CollectBareThetas(g, d);
    return true;
}

// ---- The routines ----------------------------------------------------------------------------

// 	if (_is_fixef_enabled(2)){      or, with no enable number,      	{
static void GenGuard(CGenCode const& g, char const* theta, int64_t enable) {
    fprintf(g.fp, "\t");
    if (enable != -1) fprintf(g.fp, "if (_is_fixef_enabled(%d))", MemberOf(theta, g.saFixef));
    fprintf(g.fp, "{\n");
}

// Calls 'gen' with the place of each covariate theta of 'p' that this routine hasn't written
// yet ('seen'); a frozen one gets only a comment.
template <class F>
static void ForEachNewCovariate(CGenCode const& g, SumParts const& p, SV& seen, F gen) {
    for (size_t k = 0; k < p.covThetas.size(); k++) {
        if (p.covFrozen[k]) {
            fprintf(g.fp, "\t// %s Frozen\n", C(p.covThetas[k]));
            continue;
        }
        if (MemberOf(p.covThetas[k], seen) >= 0) continue;
        seen.push_back(p.covThetas[k]);
        gen(k);
    }
}

// int IsSaemRanef(int * _idx)
// {
// 	static const int is_saem[] = {1, 1, 0};
//     return is_saem[* _idx];
// }
static void GenIsSaemRanef(CGenCode const& g, SaemDesign const& d) {
    FILE* fp = g.fp;
    fprintf(fp, "int IsSaemRanef(int * _idx)\n{\n");
    if (g.saRanef5.empty()) {
        fprintf(fp, "    return 0;\n");
    } else {
        fprintf(fp, "\tstatic const int is_saem[] = {");
        for (size_t i = 0; i < g.saRanef5.size(); i++)
            fprintf(fp, "%s%d", i ? ", " : "", IsSaemEta(d, g.saRanef5[i]) ? 1 : 0);
        fprintf(fp, "};\n");
        fprintf(fp, "    return is_saem[* _idx];\n");
    }
    fprintf(fp, "}\n\n");
}

// void GetSaemCMatrixSize(int* nBaseEta, int* nExtraEta, int* nTheta)
// {
//     *nBaseEta = *nTheta = *nExtraEta = 0;
//
// 	(*nTheta)++; // tvCl
//     if (_is_fixef_enabled(2)) (*nTheta)++; // dCldwt
// 	(*nBaseEta)++; // nCl
//
//     {(*nExtraEta)++; (*nTheta)++;} // bare theta tvKa
//
// }
static void GenSaemCMatrixSize(CGenCode const& g, SaemDesign const& d) {
    FILE* fp = g.fp;
    fprintf(fp, "void GetSaemCMatrixSize(int* nBaseEta, int* nExtraEta, int* nTheta)\n{\n");
    fprintf(fp, "    *nBaseEta = *nTheta = *nExtraEta = 0;\n\n");
    SV seen;
    for (SaemParm const& parm : d.parms) {
        SumParts const& p = parm.parts;
        fprintf(fp, "\t(*nTheta)++; // %s\n", C(p.theta));
        ForEachNewCovariate(g, p, seen, [&](size_t k) {
            char const* cov = p.covThetas[k];
            if (p.covEnable[k] == -1)
                fprintf(fp, "\t(*nTheta)++; // %s\n", cov);
            else
                fprintf(fp, "    if (_is_fixef_enabled(%d)) (*nTheta)++; // %s\n",
                        MemberOf(cov, g.saFixef), cov);
        });
        fprintf(fp, "\t(*nBaseEta)++; // %s\n", C(p.eta));
        fprintf(fp, "\n");
    }
    for (size_t i = 0; i < d.bareThetas.size(); i++) {
        char const* theta = d.bareThetas[i];
        if (d.bareEnable[i] != -1) {
            fprintf(fp, "    if (_is_fixef_enabled(%d))  // bare theta %s\n",
                    MemberOf(theta, g.saFixef), theta);
            fprintf(fp, "    {\n        (*nExtraEta)++;\n        (*nTheta)++;\n    }\n");
        } else {
            fprintf(fp, "    {(*nExtraEta)++; (*nTheta)++;} // bare theta %s\n", theta);
        }
        fprintf(fp, "\n");
    }
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::get_saem_matrix(double * daCMat, int * theta2eta)
// {
// 	int _nBaseEta, _nExtraEta, _nTheta, _nEta;
// 	...
// 	memset(daCMat, 0, sizeof(double)*_nEta*_nTheta);
static void GenSaemMatrixHead(FILE* fp) {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::get_saem_matrix(double * daCMat, int * theta2eta)\n{\n");
    fprintf(fp, "\tint _nBaseEta, _nExtraEta, _nTheta, _nEta;\n");
    fprintf(fp, "\tint _iEta = 0;\n");
    fprintf(fp, "\tint _jTheta = 0;\n");
    fprintf(fp, "\tGetSaemCMatrixSize(&_nBaseEta, &_nExtraEta, &_nTheta);\n");
    fprintf(fp, "\t_nEta = _nBaseEta + _nExtraEta;\n");
    fprintf(fp, "\t// clear the C matrix\n");
    fprintf(fp, "\tmemset(daCMat, 0, sizeof(double)*_nEta*_nTheta);\n\n");
}

// 	// for structural parameter log_Cl
// 	daCMat[_iEta + _jTheta * _nEta] = 1; // eta nCl, theta log_tvCl
// 	theta2eta[_jTheta] = _iEta;
// 	_jTheta++;
// 	if (_is_fixef_enabled(2)){
// 		daCMat[_iEta + _jTheta * _nEta] = (log(wt) - log(70.0)); // dCldwt
// 		theta2eta[_jTheta] = -1;
// 		_jTheta++;
// 	}
// 	_iEta++;
// The names in the covariate expressions written go to 'names'.
static void GenSaemMatrixParm(CGenCode const& g, SaemParm const& parm, SV& seen, SV& names) {
    FILE* fp = g.fp;
    SumParts const& p = parm.parts;
    fprintf(fp, "\t// for structural parameter %s%s\n", parm.logForm ? "log_" : "", C(parm.name));
    fprintf(fp, "\tdaCMat[_iEta + _jTheta * _nEta] = 1;");
    fprintf(fp, " // eta %s, theta %s%s\n", C(p.eta), p.thetaIsLog ? "log_" : "", C(p.theta));
    fprintf(fp, "\ttheta2eta[_jTheta] = _iEta;\n");
    fprintf(fp, "\t_jTheta++;\n");
    ForEachNewCovariate(g, p, seen, [&](size_t k) {
        GenGuard(g, p.covThetas[k], p.covEnable[k]);
        fprintf(fp, "\t\tdaCMat[_iEta + _jTheta * _nEta] = ");
        GenCReal(p.covExprs[k], fp);
        fprintf(fp, ";");
        fprintf(fp, " // %s\n", C(p.covThetas[k]));
        fprintf(fp, "\t\ttheta2eta[_jTheta] = -1;\n");
        fprintf(fp, "\t\t_jTheta++;\n");
        fprintf(fp, "\t}\n");
        CollectVars(p.covExprs[k], names);
    });
    fprintf(fp, "\t_iEta++;\n");
    fprintf(fp, "\n");
}

// 	// for additional bare thetas
// 	{
// 		daCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta tvKa
// 		theta2eta[_jTheta] = -1;
// 		_iEta++;
// 		_jTheta++;
// 	}
// 	// assert _iEta == _nEta
// 	// assert _jTheta == _nTheta
// }
static void GenSaemMatrix(CGenCode const& g, SaemDesign const& d, SV& names) {
    FILE* fp = g.fp;
    GenSaemMatrixHead(fp);
    SV seen;
    for (SaemParm const& parm : d.parms)
        GenSaemMatrixParm(g, parm, seen, names);
    if (!d.bareThetas.empty()) fprintf(fp, "\t// for additional bare thetas\n");
    for (size_t i = 0; i < d.bareThetas.size(); i++) {
        GenGuard(g, d.bareThetas[i], d.bareEnable[i]);
        fprintf(fp, "\t\tdaCMat[_iEta + _jTheta * _nEta] = 1;");
        fprintf(fp, " // extra eta for bare theta %s\n", C(d.bareThetas[i]));
        fprintf(fp, "\t\ttheta2eta[_jTheta] = -1;\n");
        fprintf(fp, "\t\t_iEta++;\n");
        fprintf(fp, "\t\t_jTheta++;\n");
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "\t// assert _iEta == _nEta\n");
    fprintf(fp, "\t// assert _jTheta == _nTheta\n");
    fprintf(fp, "}\n\n");
}

// int GetCovariateIsInCMatrix(const char* name)
// {
// 	if (strcmp(name, "wt")==0) return 1;
//
// 	return 0;
// }
// 'names' are the names in the covariate expressions of the C matrix.
static void GenCovariateIsInCMatrix(CGenCode const& g, SV const& names) {
    FILE* fp = g.fp;
    fprintf(fp, "int GetCovariateIsInCMatrix(const char* name)\n{\n");
    for (String const& name : names)
        if (MemberOf(name, g.saCovariates) >= 0)
            fprintf(fp, "\tif (strcmp(name, \"%s\")==0) return 1;\n", C(name));
    fprintf(fp, "\n\treturn 0;\n");
    fprintf(fp, "}\n\n");
}

// 	iaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[1]; // tvCl
// 	baCColIsLog[_jCTheta] = 1;
// 	_jCTheta++;
// 'guard' false writes the first form of a SAEM parameter's main theta, true the guarded form
// of covariate and bare thetas.
static void GenThetaColumn(CGenCode const& g, char const* theta, int isLog, bool guard,
                           int64_t enable) {
    FILE* fp = g.fp;
    int i = MemberOf(theta, g.saFixef);
    if (!guard) {
        fprintf(fp, "\tiaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[%d]; // %s\n", i, theta);
        fprintf(fp, "\tbaCColIsLog[_jCTheta] = %d;\n", isLog);
        fprintf(fp, "\t_jCTheta++;\n");
        return;
    }
    GenGuard(g, theta, enable);
    fprintf(fp, "\t\tiaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[%d]; // %s\n", i, theta);
    fprintf(fp, "\t\tbaCColIsLog[_jCTheta] = %d;\n", isLog);
    fprintf(fp, "\t\t_jCTheta++;\n");
    fprintf(fp, "\t}\n");
}

// void GetSaemThetaInfo(int* iaCColToITheta, int* baCColIsLog)
// {
// 	int _jCTheta = 0;
// 	int _nTheta = 0;
// 	int _iaIFixefErrToITheta[5+1];
// 	int _i;
// 	for (_i = 0; _i < 5+1; _i++) _iaIFixefErrToITheta[_i] = -1;
// 	GetFixefErrToThetaMap(_iaIFixefErrToITheta, &_nTheta);
// 	<a column for each theta of the C matrix, in its order>
// }
static void GenSaemThetaInfo(CGenCode const& g, SaemDesign const& d) {
    FILE* fp = g.fp;
    int nFixef = int(g.saFixef.size()), nError = int(g.saError.size());
    fprintf(fp, "void GetSaemThetaInfo(int* iaCColToITheta, int* baCColIsLog)\n{\n");
    fprintf(fp, "\tint _jCTheta = 0;\n");
    fprintf(fp, "\tint _nTheta = 0;\n");
    fprintf(fp, "\tint _iaIFixefErrToITheta[%d+%d];\n", nFixef, nError);
    fprintf(fp, "\tint _i;\n");
    fprintf(fp, "\tfor (_i = 0; _i < %d+%d; _i++) _iaIFixefErrToITheta[_i] = -1;\n", nFixef,
            nError);
    fprintf(fp, "\tGetFixefErrToThetaMap(_iaIFixefErrToITheta, &_nTheta);\n");
    SV seen;
    for (SaemParm const& parm : d.parms) {
        SumParts const& p = parm.parts;
        GenThetaColumn(g, p.theta, p.thetaIsLog, false, -1);
        ForEachNewCovariate(g, p, seen, [&](size_t k) {
            GenThetaColumn(g, p.covThetas[k], 0, true, p.covEnable[k]);
        });
    }
    if (!d.bareThetas.empty()) fprintf(fp, "\t// for additional bare thetas\n");
    for (size_t i = 0; i < d.bareThetas.size(); i++)
        GenThetaColumn(g, d.bareThetas[i], 0, true, d.bareEnable[i]);
    fprintf(fp, "}\n\n");
}

// The place of 'theta' among the fixed effects that aren't frozen.
static int CountUnfrozenBefore(CGenCode const& g, char const* theta) {
    int n = 0;
    for (size_t i = 0; i < g.saFixef.size() && g.saFixef[i] != theta; i++)
        if (!g.naFixefFrozen[i]) n++;
    return n;
}

// void GetSaemNaivePoolThetas(int* nNPTheta, int* iaTheta)
// {
// 	int _jTheta = 0;
// 	{
// 		iaTheta[_jTheta] = 3; // tvProp
// 		_jTheta++;
// 	}
// 	*nNPTheta = _jTheta;
// }
static void GenSaemNaivePoolThetas(CGenCode const& g, SaemDesign const& d) {
    FILE* fp = g.fp;
    fprintf(fp, "void GetSaemNaivePoolThetas(int* nNPTheta, int* iaTheta)\n{\n");
    fprintf(fp, "\tint _jTheta = 0;\n");
    for (size_t i = 0; i < d.poolThetas.size(); i++) {
        char const* theta = d.poolThetas[i];
        GenGuard(g, theta, d.poolEnable[i]);
        fprintf(fp, "\t\tiaTheta[_jTheta] = %d; // %s\n", CountUnfrozenBefore(g, theta), theta);
        fprintf(fp, "\t\t_jTheta++;\n");
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "\t*nNPTheta = _jTheta;\n");
    fprintf(fp, "}\n\n");
}

// Written in place of all the routines when the model doesn't fit the linear form.
static char const* const saemDummyRoutines = R"(// SAEM not allowed. These are dummy routines
int IsSaemRanef(int * _idx)
{
    return 0;
}

void GetSaemCMatrixSize(int* nBaseEta, int* nExtraEta, int* nTheta)
{
    *nBaseEta = *nTheta = *nExtraEta = 0;
}

int GetCovariateIsInCMatrix(const char* name)
{
    return 0;
}

void GetSaemThetaInfo(int* iaCColToITheta, int* baCColIsLog)
{
}

void GetSaemNaivePoolThetas(int* nNPTheta, int* iaTheta)
{
    *nNPTheta = 0;
}

int CanUseSAEM()
{
    return 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_saem_matrix(double * daCMat, int * theta2eta)
{
}

)";

// int IsSaemRanef(int * _idx) ... int CanUseSAEM() { return 1; }, or the dummy routines with
// "// SAEM not allowed. These are dummy routines". Returns 1 when SAEM can be used.
int CGenCode::GenSAEMCode() {
    SaemDesign d;
    if (!GetSaemDesign(*this, d)) {
        fputs(saemDummyRoutines, fp);
        return 0;
    }
    GenIsSaemRanef(*this, d);
    GenSaemCMatrixSize(*this, d);
    SV names;
    GenSaemMatrix(*this, d, names);
    GenCovariateIsInCMatrix(*this, names);
    GenSaemThetaInfo(*this, d);
    GenSaemNaivePoolThetas(*this, d);
    fprintf(fp, "int CanUseSAEM()\n{\n");
    fprintf(fp, "\treturn 1;\n");
    fprintf(fp, "}\n\n");
    return 1;
}
