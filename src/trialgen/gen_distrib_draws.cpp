// The distrib statements of a trial model: each variable declared in the class and drawn in
// InitSubject, by sub-population, with its limits tried up to 100 times. Outside a procedure
// every draw obeys ENBIND and falls back on the distribution's central value.
#include "driver/driver.h"
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

#include <string>

// The C text of an expression.
static std::string Ex(cn const& node) {
    String out;
    GenCstr(node, out);
    return (char const*)out;
}

// The primary of a distribution without its limits.
static N Primary(N const& a) {
    return a && a->type == CN_LIMITS ? a->child1 : a;
}

// 	X = (mu) + (ENBIND ? norm() : 0.0) * (sd);   and the other kinds, for one variable
void CGenCode3::GenDrawLine(CGenCodePass pass, N const& d, char const* I, char const* x) {
    bool proc = pass == PassProcStep;
    FILE* fp = fpSource;
    switch (d->type) {
        case CN_DIST_NORM:
        case CN_DIST_STUDENTT: return GenNormalDraw(pass, d, I, x);
        case CN_DIST_LOGNORM: {
            static char const* const centre[2] = {"Median", "Mean"};
            static char const* const spread[3] = {"Sigma", "SD", "Var"};
            fprintf(fp, "%s\t\t\t%s = lognormal%s%s((%s), (%s), %s);\n", I, x,
                    centre[int(d->child3->value) & 1], spread[int(d->child4->value) % 3],
                    Ex(Primary(d->child1)).c_str(), Ex(d->child2).c_str(), proc ? "ENBIND" : "1");
            return;
        }
        default: return GenPlainDraw(pass, d, I, x);
    }
}

// The normal and Student kinds: by standard deviation, variance or CV in percent.
void CGenCode3::GenNormalDraw(CGenCodePass pass, N const& d, char const* I, char const* x) {
    bool t = d->type == CN_DIST_STUDENTT;
    N const& a = t ? d->child2 : d->child1;
    N const& b = t ? d->child3 : d->child2;
    int code = int((t ? d->child4 : d->child3)->value);
    std::string mu = Ex(Primary(a)), s = Ex(b);
    std::string rnd = t ? "studentt(" + std::to_string(int(d->child1->value)) + ")" : "norm()";
    FILE* fp = fpSource;
    if (pass == PassProcStep) {
        if (code == 0)
            fprintf(fp, "%s\t\t\t%s = (%s) + %s * (%s);\n", I, x, mu.c_str(), rnd.c_str(),
                    s.c_str());
        if (code == 1)
            fprintf(fp, "%s\t\t\t%s = (%s) * (1 + %s * (%s) / 100);\n", I, x, mu.c_str(),
                    rnd.c_str(), s.c_str());
        if (code == 2)
            fprintf(fp, "%s\t\t\t%s = (%s) + %s * sqrt(%s);\n", I, x, mu.c_str(), rnd.c_str(),
                    s.c_str());
        return;
    }
    if (code == 0)
        fprintf(fp, "%s\t\t\t%s = (%s) + (ENBIND ? %s : 0.0) * (%s);\n", I, x, mu.c_str(),
                rnd.c_str(), s.c_str());
    if (code == 1)
        fprintf(fp, "%s\t\t\t%s = (%s) * (1 + (ENBIND ? %s : 0.0) * (%s) / 100);\n", I, x,
                mu.c_str(), rnd.c_str(), s.c_str());
    if (code == 2)
        fprintf(fp, "%s\t\t\t%s = (%s) + (ENBIND ? %s : 0.0) * sqrt(%s);\n", I, x, mu.c_str(),
                rnd.c_str(), s.c_str());
}

// The kinds of one or two plain arguments.
void CGenCode3::GenPlainDraw(CGenCodePass pass, N const& d, char const* I, char const* x) {
    bool proc = pass == PassProcStep;
    std::string a = Ex(Primary(d->child1)), b = d->child2 ? Ex(d->child2) : "";
    char const *pa = a.c_str(), *pb = b.c_str();
    FILE* fp = fpSource;
    switch (d->type) {
        case CN_DIST_BETA:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rbeta((%s), (%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (ENBIND ? rbeta((%s), (%s)) : (%s)/((%s)+(%s)));\n", I, x,
                        pa, pb, pa, pa, pb);
            return;
        case CN_DIST_BETAMEAN:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rbeta_mean((%s), (%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (ENBIND ? rbeta_mean((%s), (%s)) : (%s)/((%s)+(%s)));\n",
                        I, x, pa, pb, pa, pa, pb);
            return;
        case CN_DIST_BINOMIAL:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rbinomial((%s), (%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (ENBIND ? rbinomial((%s), (%s)) : (%s)*(%s));\n", I, x,
                        pa, pb, pa, pb);
            return;
        case CN_DIST_CHISQ:
            fprintf(fp, "%s\t\t\t%s = 0;\n", I, x);
            fprintf(fp, "%s\t\t\tfor (_itemp = (int)%s; -- _itemp >= 0;){\n", I, pa);
            if (proc)
                fprintf(fp, "%s\t\t\t\t_temp = norm();\n", I);
            else
                fprintf(fp, "%s\t\t\t\t_temp = (ENBIND ? norm() : 0.0);\n", I);
            fprintf(fp, "%s\t\t\t\t%s += _temp * _temp;\n", I, x);
            fprintf(fp, "%s\t\t\t}\n", I);
            return;
        case CN_DIST_CONSTANT: fprintf(fp, "%s\t\t%s = %s;\n", I, x, pa); return;
        case CN_DIST_EXPONENTIAL:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = (%s) * -log(unif());\n", I, x, pa);
            else
                fprintf(fp, "%s\t\t\t%s = (%s) * (ENBIND ? -log(unif()) : 1.0);\n", I, x, pa);
            return;
        case CN_DIST_GAMMA:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rgamma((%s), (%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (ENBIND ? rgamma((%s), (%s)) : (%s) * (%s));\n", I, x, pa,
                        pb, pa, pb);
            return;
        case CN_DIST_INVGAMMA:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rinvgamma((%s), (%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (ENBIND ? rinvgamma((%s), (%s)) : (%s) * ((%s) - 1));\n",
                        I, x, pa, pb, pa, pb);
            return;
        case CN_DIST_LOGISTIC:
            if (proc)
                fprintf(fp, "%s\t\t\t_temp = unif();\n", I);
            else
                fprintf(fp, "%s\t\t\t_temp = (ENBIND ? unif() : 0.5);\n", I);
            fprintf(fp, "%s\t\t\t%s = (%s) + (%s) * log(_temp/(1 - _temp));\n", I, x, pa, pb);
            return;
        case CN_DIST_NEGBIN:
            fprintf(fp, "%s\t\t\t%s = rnegbin_rp((%s), (%s), %s);\n", I, x, pa, pb,
                    proc ? "TRUE" : "ENBIND");
            return;
        case CN_DIST_POISSON:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = rpoisson(%s);\n", I, x, pa);
            else
                fprintf(fp, "%s\t\t\t%s = rpoisson((%s), ENBIND);\n", I, x, pa);
            return;
        case CN_DIST_UNIFORM:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = (%s) + unif() * ((%s) - (%s));\n", I, x, pa, pb, pa);
            else
                fprintf(fp, "%s\t\t\t%s = (%s) + (ENBIND ? unif() : 0.5) * ((%s) - (%s));\n", I, x,
                        pa, pb, pa);
            return;
        case CN_DIST_WEIBULL:
            if (proc)
                fprintf(fp, "%s\t\t\t%s = (%s) * pow(-log(unif()), 1/(%s));\n", I, x, pa, pb);
            else
                fprintf(fp, "%s\t\t\t%s = (%s) * pow(-log((ENBIND ? unif() : 0.5)), 1/(%s));\n", I,
                        x, pa, pb);
            return;
        default: return;
    }
}

// 	if (_i >= 100){ ... report, abort the subject ... }
void CGenCode3::GenLimitsFailure(CGenCodePass pass, char const* I, std::string const& lo,
                                 std::string const& hi, bool multi) {
    FILE* fp = fpSource;
    fprintf(fp, "%s\t\tif (_i >= 100){\n", I);
    if (multi)
        fprintf(fp, "%s\t\t\tfprintf(stderr, \"Subject %%d failed limits test\\n\", (int)%s);\n", I,
                "_pSubj->iSub");
    else
        fprintf(
            fp,
            "%s\t\t\tfprintf(stderr, \"Subject %%d failed limits test, low = %s, high = %s\\n\", (int)%s);\n",
            I, lo.c_str(), hi.c_str(), "_pSubj->iSub");
    fprintf(fp, "%s\t\t\t_bAbortingSubject = 1;\n", I);
    if (pass == PassProcStep) {
        fprintf(fp, "%s\t\t\tStopSubject();\n", I);
        fprintf(fp, "%s\t\t\tFinally();\n", I);
    }
    fprintf(fp, "%s\t\t\treturn;\n", I);
    fprintf(fp, "%s\t\t}\n", I);
}

// One univariate draw of 'x', in the loop of 100 tries when its primary carries limits.
void CGenCode3::GenUnivariateDraw(CGenCodePass pass, N const& d, char const* I, char const* x) {
    N a = d->type == CN_DIST_STUDENTT ? d->child2 : d->child1;
    if (!a || a->type != CN_LIMITS) return GenDrawLine(pass, d, I, x);
    FILE* fp = fpSource;
    std::string lo = a->child2 ? Ex(a->child2) : "", hi = a->child3 ? Ex(a->child3) : "";
    fprintf(fp, "%s\t\tfor (_i = 0; _i < 100; _i++){\n", I);
    GenDrawLine(pass, d, I, x);
    if (a->child2) fprintf(fp, "%s\t\t\tif (%s < (%s)) continue;\n", I, x, lo.c_str());
    if (a->child3) fprintf(fp, "%s\t\t\tif (%s > (%s)) continue;\n", I, x, hi.c_str());
    fprintf(fp, "%s\t\t\tbreak;\n", I);
    fprintf(fp, "%s\t\t}\n", I);
    GenLimitsFailure(pass, I, lo, hi, false);
}

// The multivariate normal or t draw of the variables from 'index' on, in a block of its own
// so that two such draws never declare the same locals twice in one routine.
void CGenCode3::GenMultivariateDraw(CGenCodePass pass, N const& d, char const* I, int index,
                                    NV const& vars) {
    bool t = d->type == CN_DIST_MVT;
    NV const& means = (t ? d->child2 : d->child1)->list;
    NV const& cov = (t ? d->child3 : d->child2)->list;
    int n = int(means.size());
    FILE* fp = fpSource;
    fprintf(fp, "%s\t{\n", I);
    fprintf(fp, "%s\t\tdouble _work[%d];\n", I, n);
    fprintf(fp, "%s\t\tdouble _mean[%d];\n", I, n);
    fprintf(fp, "%s\t\tdouble _var[%d];\n", I, int(cov.size()));
    fprintf(fp, "%s\t\tdouble _varch[%d];\n", I, int(cov.size()));
    fprintf(fp, "%s\t\tdouble _a[%d];\n", I, n);
    fprintf(fp, "%s\t\tmemset(_a, 0, sizeof(_a));\n", I);
    for (int i = 0; i < n; i++)
        fprintf(fp, "%s\t\t_mean[%d] = (%s);\n", I, i, Ex(Primary(means[size_t(i)])).c_str());
    for (size_t i = 0; i < cov.size(); i++)
        fprintf(fp, "%s\t\t_var[%d] = (%s);\n", I, int(i), Ex(cov[i]).c_str());
    fprintf(fp, "%s\t\tif (!CholeskyLTRow(%d, _var, _varch)){} // fail somehow\n", I, n);
    char const* enb = pass == PassProcStep ? "1" : "ENBIND";
    fprintf(fp, "%s\t\tfor (_i = 0; _i < 100; _i++){\n", I);
    if (t)
        fprintf(fp, "%s\t\t\tSampleMVTLTRow(%d, %d, _varch, _work, _a, %s);\n", I,
                int(d->child1->value), n, enb);
    else
        fprintf(fp, "%s\t\t\tSampleMVNLTRow(%d, _varch, _work, _a, %s);\n", I, n, enb);
    for (int i = 0; i < n; i++) {
        N const& m = means[size_t(i)];
        if (m->type != CN_LIMITS) continue;
        if (m->child2)
            fprintf(fp, "%s\t\t\tif (_mean[%d] + _a[%d] < (%s)) continue;\n", I, i, i,
                    Ex(m->child2).c_str());
        if (m->child3)
            fprintf(fp, "%s\t\t\tif (_mean[%d] + _a[%d] > (%s)) continue;\n", I, i, i,
                    Ex(m->child3).c_str());
    }
    fprintf(fp, "%s\t\t\tbreak;\n", I);
    fprintf(fp, "%s\t\t}\n", I);
    GenLimitsFailure(pass, I, "", "", true);
    for (int i = 0; i < n; i++)
        fprintf(fp, "%s\t\t%s = _mean[%d] + _a[%d];\n", I,
                Ex(vars[size_t(index + i)]->child1).c_str(), i, i);
    fprintf(fp, "%s\t}\n", I);
}

// The category list of the variable at 'index': a uniform number picks the category by the
// running sum of the probabilities and sets its value; a nested distribution then draws the
// next variable.
void CGenCode3::GenCategoryDraw(CGenCodePass pass, N const& d, int depth, int index,
                                NV const& vars) {
    std::string I(size_t(depth), '\t');
    char const* i = I.c_str();
    FILE* fp = fpSource;
    N const& var = vars[size_t(index)];
    NV const& probs = d->child1->list;
    std::string x = Ex(var->child1);
    fprintf(fp, "%s\t{\n", i);
    fprintf(fp, "%s\t\tdouble _sum = 0;\n", i);
    if (pass == PassProcStep)
        fprintf(fp, "%s\t\tdouble _u = unif();\n", i);
    else
        fprintf(fp, "%s\t\tdouble _u = (ENBIND ? unif() : 0.5);\n", i);
    fprintf(fp, "%s\t\tif (0){\n", i);
    for (size_t k = 0; k < var->list.size(); k++) {
        if (k < probs.size())
            fprintf(fp, "%s\t\t} else if ((_sum += (%s)), _u < _sum){\n", i, Ex(probs[k]).c_str());
        else
            fprintf(fp, "%s\t\t} else {\n", i);
        fprintf(fp, "%s\t\t\t%s = %g; // %s\n", i, x.c_str(), var->list[k]->value,
                (char const*)var->list[k]->name);
        if (d->child2 && k < d->child2->list.size())
            GenCohortDistrCode1(pass, d->child2->list[k], depth + 2, index + 1, vars);
    }
    fprintf(fp, "%s\t\t}\n", i);
    fprintf(fp, "%s\t}\n", i);
}

// One distribution 'd' for the variable at 'index' of 'vars', indented by 'depth' tabs.
void CGenCode3::GenCohortDistrCode1(CGenCodePass pass, N const& d, int depth, int index,
                                    NV const& vars) {
    std::string I(size_t(depth), '\t');
    if (d->type == CN_DIST_P) return GenCategoryDraw(pass, d, depth, index, vars);
    if (d->type == CN_DIST_MVN || d->type == CN_DIST_MVT)
        return GenMultivariateDraw(pass, d, I.c_str(), index, vars);
    GenUnivariateDraw(pass, d, I.c_str(), Ex(vars[size_t(index)]->child1).c_str());
}

// The variables of a distrib statement of a model, a name behind "model$" taken as the
// model's own member.
static NV ModelDistribVars(N const& s) {
    NV vars;
    for (N const& v : s->child1->list) {
        if (!v->child1 || v->child1->type != CN_MEMBER) {
            vars.push_back(v);
            continue;
        }
        N plain = MakeNode(v->type, v->child1->child2);
        plain->list = v->list;
        vars.push_back(plain);
    }
    return vars;
}

// One distrib statement in InitSubject: by sub-population, then the record of each variable.
void CGenCode3::GenDistribDraw(N const& s) {
    CGenCodePass pass = PassInitSubject;
    NV const vars = ModelDistribVars(s);
    NV const& subpops = s->child2->list;
    if (subpops.size() > 1) {
        fprintf(fpSource, "%s\t\tif (0){\n", "");
        for (size_t k = 1; k < subpops.size(); k++) {
            fprintf(fpSource, "\t} else if (_pSubj->iSubpop == %d){\n", int(k));
            GenCohortDistrCode1(pass, subpops[k], 0, 0, vars);
        }
        fprintf(fpSource, "\t} else { // iSubpop == 0 or any other number\n");
    }
    if (!subpops.empty()) GenCohortDistrCode1(pass, subpops[0], 0, 0, vars);
    if (subpops.size() > 1) fprintf(fpSource, "\t}\n");
    for (N const& v : vars) {
        std::string x = Ex(v->child1);
        fprintf(
            fpSource,
            "\t_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, \"%s\", %s, \"\");\n",
            x.c_str(), x.c_str());
    }
}

// The distrib statements of the model: declared in the class, drawn for each subject.
void CGenCode3::GenCohortDistrCode(CGenCodePass pass, NV const& stmts) {
    for (N const& s : stmts) {
        if (!s || s->type != CN_DISTRIB) continue;
        if (pass == PassInitSubject) GenDistribDraw(s);
        if (pass != PassClassDecl) continue;
        for (N const& v : ModelDistribVars(s)) {
            char const* nm = v->child1->name;
            if (MemberOf(nm, saDeclared) >= 0) continue;
            saDeclared.push_back(nm);
            fprintf(fpHeader, "\tdouble %s;\n", nm);
        }
    }
}
