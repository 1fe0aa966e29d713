// The fixed effects of a trial model and the lists that all draws of its parameters work on:
// the check of the vcvfixef matrix, the fixed effects' globals, their static members and
// their replicate draw from that matrix. Each routine prints only what belongs to its pass.
#include "trialgen/trialgen.h"

#include <cmath>

// The index of row 'i', column 'j' (j <= i) in a lower triangle stored by rows.
static int LT(int i, int j) {
    return i * (i + 1) / 2 + j;
}

// Whether the matrix whose lower triangle 'a' holds by rows, of size 'n', has a Cholesky
// factor: all pivots positive.
static bool HasCholesky(std::vector<double> const& a, int n) {
    std::vector<double> l(a.size(), 0.0);
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++) {
            double sum = a[size_t(LT(i, j))];
            for (int k = 0; k < j; k++)
                sum -= l[size_t(LT(i, k))] * l[size_t(LT(j, k))];
            if (i == j && sum <= 0) return false;
            l[size_t(LT(i, j))] = i == j ? std::sqrt(sum) : sum / l[size_t(LT(j, j))];
        }
    return true;
}

// The values of a vcvfixef statement as a lower triangle by rows; a diagonal form (one value
// per name) is spread over the diagonal first.
static std::vector<double> VcvRows(N const& vcv) {
    size_t n = vcv->child1->list.size();
    NV const& nums = vcv->child2->list;
    std::vector<double> rows;
    if (n > 1 && nums.size() == n) {
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j <= i; j++)
                rows.push_back(i == j ? nums[i]->value : 0.0);
        return rows;
    }
    for (N const& num : nums)
        rows.push_back(num->value);
    return rows;
}

// Checks the vcvfixef matrix against the fixed effects and errors, reports what is wrong on
// stderr and keeps it only if it holds; the run goes on either way.
void CGenCode3::CheckVcvFixef(N const& vcv) {
    char const* m = sModelClass;
    int nf = int(paFixefItems.size()), ne = int(paErrorEntries.size());
    int few = nf * (nf + 1) / 2, all = (nf + ne) * (nf + ne + 1) / 2;
    daVcv = VcvRows(vcv);
    int got = int(daVcv.size());
    bVcvFixef = false;
    if (got < few)
        return (void)fprintf(stderr,
                             "Error: in vcvfixef matrix for %s model, since there are %d fixed "
                             "effects, there must be at least %d values\n",
                             m, nf, few);
    if (got != few && got != all)
        return (void)fprintf(stderr,
                             "Error: vcvfixef matrix for %s must have %d values for fixed effects "
                             "only or %d values for fixed effects and STDs \n",
                             m, few, all);
    if (!HasCholesky(daVcv, got == few ? nf : nf + ne)) {
        if (got == few)
            fprintf(stderr, "Error: vcvfixef matrix for %s model is not positive-definite\n", m);
        else
            fprintf(stderr, "Error: vcvfixef matrix for %s is not positive-definite\n", m);
        return;
    }
    bVcvFixef = true;
}

// Collects the fixed effects, the random-effect groups from ranef5 down to ranef1, the error
// entries and the degrees of freedom of iwndf, then checks the vcvfixef matrix.
void CGenCode3::GenCohortUncertaintyPrologue(NV const& stmts) {
    paFixefItems.clear();
    paErrorEntries.clear();
    laRanefGroups.clear();
    nIwndf = 0;
    N vcv;
    for (N const& s : stmts) {
        if (!s) continue;
        if (s->type == CN_FIXEF)
            paFixefItems.insert(paFixefItems.end(), s->list.begin(), s->list.end());
        if (s->type == CN_ERROR)
            paErrorEntries.insert(paErrorEntries.end(), s->list.begin(), s->list.end());
        if (s->type == CN_IWNDF) nIwndf = int(s->value);
        if (s->type == CN_VCVFIXEF) vcv = s;
    }
    for (int type = CN_RANEF5; type <= CN_RANEF1; type++)
        for (N const& s : stmts)
            if (s && s->type == type)
                for (N const& g : s->list)
                    laRanefGroups.push_back(g);
    bVcvFixef = false;
    if (vcv) CheckVcvFixef(vcv);
}

// The size of the 'g'-th group (from 0); a same group takes that of the group before it.
int CGenCode3::GetGroupSize(size_t g) {
    return int(laRanefGroups[g]->child1->list.size());
}

// The initial value of a fixed effect, 0 without one.
static double FixefInit(N const& item) {
    return item->list.size() > 1 && item->list[1] ? item->list[1]->value : 0.0;
}

// 	double pk_vcvFixef[3] = {     (the definition outside cohort.cpp, extern in it)
void CGenCode3::GenVcvFixefArray(int size) {
    char const* m = sModelClass;
    fprintf(fpHeader, "#ifndef IN_COHORT\n");
    fprintf(fpHeader, "\tdouble %s_vcvFixef[%d] = {\n", m, size);
    for (int i = 0; i < size; i++)
        fprintf(fpHeader, "%g, ", daVcv[size_t(i)]);
    fprintf(fpHeader, "\n\t};\n");
    fprintf(fpHeader, "#else\n");
    fprintf(fpHeader, "\textern double %s_vcvFixef[%d];\n", m, size);
    fprintf(fpHeader, "#endif\n");
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_vcvFixefHalf,%d);\n", m, size);
}

// 	double _a[2+1]; // random vector  ... tvV = (pk_tvV + _a[0]) * SCALEtvV + DELTAtvV;
void CGenCode3::GenFixefDraw() {
    char const* m = sModelClass;
    int n = int(paFixefItems.size());
    fprintf(fpSource, "\tdouble _a[%d+1]; // random vector\n", n);
    fprintf(fpSource, "\tmemset(_a, 0, sizeof(_a));\n");
    if (bVcvFixef) {
        fprintf(fpSource, "\t// use mvn to draw fixef vector\n");
        fprintf(fpSource, "\tdouble _work[sizeof(_a)]; // random vector\n");
        fprintf(fpSource, "\tSampleMVNLTRow(%d, %s_vcvFixefHalf, _work, _a, ENBREP);\n", n, m);
        for (int i = 0; i < n; i++)
            fprintf(fpSource, "\t_a[%d] *= FixefInflationFactor;\n", i);
    }
    fprintf(fpSource, "\t// set replicate fixed effects from base value and uncertainty\n");
    for (int i = 0; i < n; i++) {
        char const* f = paFixefItems[size_t(i)]->name;
        fprintf(fpSource, "\t%s = (%s_%s + _a[%d]) * SCALE%s + DELTA%s;\n", f, m, f, i, f, f);
        fprintf(fpSource, "\t_rec_fixef(iScen, iRep, \"%s_%s\", %s, \"\");\n", m, f, f);
    }
}

// 	static double FixefInflationFactor;  ...  static double tvV;	// fixed effect
void CGenCode3::GenFixefClassDecl() {
    fprintf(fpHeader, "\tstatic double FixefInflationFactor;\n");
    fprintf(fpHeader, "\tstatic double ErrorInflationFactor;\n");
    fprintf(fpHeader, "\tstatic double RanefInflationFactor;\n");
    for (N const& f : paFixefItems) {
        fprintf(fpHeader, "\tstatic double %s;\t// fixed effect\n", (char const*)f->name);
        fprintf(fpHeader, "\tstatic double SCALE%s;\t// fixed effect\n", (char const*)f->name);
        fprintf(fpHeader, "\tstatic double DELTA%s;\t// fixed effect\n", (char const*)f->name);
        saDeclared.push_back(f->name);
    }
}

// double pk::FixefInflationFactor;  ...  double pk::SCALEtvV = 1;
void CGenCode3::GenFixefStaticDefs() {
    char const* m = sModelClass;
    fprintf(fpSource, "double %s::FixefInflationFactor;\n", m);
    fprintf(fpSource, "double %s::ErrorInflationFactor;\n", m);
    fprintf(fpSource, "double %s::RanefInflationFactor;\n", m);
    for (N const& f : paFixefItems) {
        fprintf(fpSource, "double %s::%s;\n", m, (char const*)f->name);
        fprintf(fpSource, "double %s::SCALE%s = 1;\n", m, (char const*)f->name);
        fprintf(fpSource, "double %s::DELTA%s = 0;\n", m, (char const*)f->name);
    }
}

// The fixed effects, their scale and shift, and the inflation factors, by pass.
void CGenCode3::GenCohortFixefCode(CGenCodePass pass) {
    char const* m = sModelClass;
    int n = int(paFixefItems.size());
    switch (pass) {
        case PassFileScope:
            for (N const& f : paFixefItems)
                fprintf(fpHeader, "DECLARE_GLOBAL_SCALAR(double,%s_%s,%g);\n", m,
                        (char const*)f->name, FixefInit(f));
            if (bVcvFixef) GenVcvFixefArray(n * (n + 1) / 2);
            return;
        case PassClassDecl: return GenFixefClassDecl();
        case PassStaticDef: return GenFixefStaticDefs();
        case PassInitGlobal:
            if (bVcvFixef)
                fprintf(fpSource, "\tCholeskyLTRow(%d, %s_vcvFixef, %s_vcvFixefHalf);\n", n, m, m);
            return;
        case PassInitScenario:
            fprintf(fpSource, "\tFixefInflationFactor = 1;\n");
            fprintf(fpSource, "\tErrorInflationFactor = 1;\n");
            fprintf(fpSource, "\tRanefInflationFactor = 1;\n");
            for (N const& f : paFixefItems) {
                fprintf(fpSource, "\tSCALE%s = 1;\n", (char const*)f->name);
                fprintf(fpSource, "\tDELTA%s = 0;\n", (char const*)f->name);
            }
            return;
        case PassInitReplicate: GenFixefDraw(); return;
        default: return;
    }
}
