// The random effects of a trial model: base omega matrices at file scope, their replicate
// draws (Wishart for a block, chi-square for a diagonal group) and the eta draws.
#include "driver/driver.h"
#include "trialgen/trialgen.h"

static int LT(int i, int j) {
    return i * (i + 1) / 2 + j;
}

static bool IsSame(N const& g) {
    return g->type == CN_RANEF_SAME;
}

static bool IsDiag(N const& g) {
    return g->type == CN_VARIANCE_DIAG;
}

// The base omegas of a group as a lower triangle by rows; a diagonal group fills its
// diagonal and zeroes the rest.
static std::vector<double> OmegaRows(N const& g) {
    int n = int(g->child1->list.size());
    std::vector<double> rows;
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++) {
            if (!IsDiag(g))
                rows.push_back(g->child2->list[size_t(LT(i, j))]->value);
            else
                rows.push_back(i == j ? g->child2->list[size_t(i)]->value : 0.0);
        }
    return rows;
}

// 	double pk_omega1[3] = {	// base omega matrix ... and the work vectors
void CGenCode3::GenOmegaBase(N const& g, int num) {
    char const* m = sModelClass;
    std::vector<double> rows = OmegaRows(g);
    int size = int(rows.size());
    fprintf(fpHeader, "#ifndef IN_COHORT\n");
    if (IsDiag(g))
        fprintf(fpHeader, "\tdouble %s_omega%d[%d]={", m, num, size);
    else
        fprintf(fpHeader, "\tdouble %s_omega%d[%d] = {\t// base omega matrix\n", m, num, size);
    for (double v : rows)
        fprintf(fpHeader, "%g, ", v);
    if (IsDiag(g))
        fprintf(fpHeader, "};\t// diagonal base omega matrix\n");
    else
        fprintf(fpHeader, "\n\t};\n");
    fprintf(fpHeader, "#else\n");
    fprintf(fpHeader, "\textern double %s_omega%d[%d];\n", m, num, size);
    fprintf(fpHeader, "#endif\n");
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_omega%dPrec,%d);\n", m, num, size);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_omega%dPrch,%d);\n", m, num, size);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_work%dVec,%d);\n", m, num, size);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_work%dVecsq,%d);\n", m, num, size);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_omega%dInverse,%d);\n", m, num, size);
}

// The precision of a group's base omega and its Cholesky factor.
void CGenCode3::GenOmegaPrecision(N const& g, int num) {
    char const* m = sModelClass;
    int n = int(g->child1->list.size());
    if (!IsDiag(g)) {
        fprintf(fpSource, "\t// get precision matrix, and cholesky of that\n");
        fprintf(fpSource, "\tMatrixInvert(%d, %s_omega%d, %s_omega%dPrec, bError);\n", n, m, num, m,
                num);
        fprintf(fpSource, "\tCholeskyLTRow(%d, %s_omega%dPrec, %s_omega%dPrch);\n", n, m, num, m,
                num);
        return;
    }
    fprintf(fpSource, "\t// foreach element, get precision, and square root of that\n");
    for (int i = 0; i < n; i++) {
        int d = LT(i, i);
        fprintf(fpSource, "\t%s_omega%dPrec[%d] = 1 / %s_omega%d[%d];\n", m, num, d, m, num, d);
        fprintf(fpSource, "\t%s_omega%dPrch[%d] = sqrt(%s_omega%dPrec[%d]);\n", m, num, d, m, num,
                d);
    }
}

// 	// sample wishart using DF as IWNDF+p+3 to prevent the problem with mean
// 	GenWish(...); Scale(...); MatrixInvert(...);
void CGenCode3::GenWishartDraw(int num, int n) {
    char const* m = sModelClass;
    fprintf(fpSource,
            "\t// sample wishart using DF as IWNDF+p+3 to prevent the problem with mean\n");
    fprintf(
        fpSource,
        "\tGenWish(%d, %s_nDFOmega+%d+3, %s_omega%dPrch, %s_work%dVec, %s_work%dVecsq, %s_omega%dInverse, 1);\n",
        n, m, n, m, num, m, num, m, num, m, num);
    fprintf(fpSource, "\t// scaling by DF-p-1 which is IWNDF+2 (to get the mean value)\n");
    fprintf(fpSource, "\tScale(%d, 1.0/(%s_nDFOmega+2), %s_omega%dInverse);\n", n, m, m, num);
    fprintf(fpSource, "\tMatrixInvert(%d, %s_omega%dInverse, omega%d, bError);\n", n, m, num, num);
    fprintf(fpSource, "\tif(!ENBREP) memcpy(omega%d, %s_omega%d, sizeof(%s_omega%d));\n", num, m,
            num, m, num);
}

// One chi-square draw for each diagonal element of a diagonal group.
void CGenCode3::GenDiagonalOmegaDraw(int num, int n) {
    char const* m = sModelClass;
    fprintf(
        fpSource,
        "\t// sample diagonal block omega from ChiSq using DF = IWNDF+1+3, invert, and get cholesky\n");
    fprintf(fpSource, "\tmemset(omega%d, 0, sizeof(omega%d));\n", num, num);
    fprintf(fpSource, "\tmemset(%s_omega%dInverse, 0, sizeof(%s_omega%dInverse));\n", m, num, m,
            num);
    for (int i = 0; i < n; i++) {
        int d = LT(i, i);
        fprintf(fpSource,
                "\tGenChiSq(%s_nDFOmega+1+3, %s_omega%dPrch[%d], %s_omega%dInverse[%d], 1);\n", m,
                m, num, d, m, num, d);
        fprintf(fpSource, "\t%s_omega%dInverse[%d] /= (%s_nDFOmega+2);\n", m, num, d, m);
        fprintf(fpSource,
                "\tomega%d[%d] = ENBREP ? 1.0 / %s_omega%dInverse[%d] : %s_omega%d[%d];\n", num, d,
                m, num, d, m, num, d);
    }
}

// The replicate omega of a group: the base copied without iwndf, else a Wishart draw for a
// block or chi-square draws for a diagonal group; then its factor and the record of each
// entry. A same group copies the group before it, factor included.
void CGenCode3::GenOmegaDraw(N const& g, int num, int n) {
    char const* m = sModelClass;
    if (IsSame(g)) {
        fprintf(fpSource, "\t// same block\n");
        fprintf(fpSource, "\tmemcpy(omega%d, omega%d, sizeof(omega%d));\n", num, num - 1, num);
        fprintf(fpSource, "\tmemcpy(omegaHalf%d, omegaHalf%d, sizeof(omegaHalf%d));\n", num,
                num - 1, num);
        return;
    }
    if (nIwndf == 0)
        fprintf(fpSource, "\tmemcpy(omega%d, %s_omega%d, sizeof(omega%d));\n", num, m, num, num);
    else if (!IsDiag(g))
        GenWishartDraw(num, n);
    else
        GenDiagonalOmegaDraw(num, n);
    fprintf(fpSource, "\tCholeskyLTRow(%d, omega%d, omegaHalf%d);\n", n, num, num);
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++) {
            std::string nm = std::string(m) + "_omega" + std::to_string(num) + "_" +
                             std::to_string(i + 1) + "_" + std::to_string(j + 1);
            fprintf(fpSource, "\t_rec_omega(iScen, iRep, \"%s\", omega%d[%d], \"\");\n", nm.c_str(),
                    num, LT(i, j));
        }
}

// 	{	// sample eta vector ... }
void CGenCode3::GenEtaDraw(N const& g, int num, int n) {
    fprintf(fpSource, "\t{\t// sample eta vector\n");
    fprintf(fpSource, "%s\t\tdouble _work[%d];\n", "", n);
    fprintf(fpSource, "%s\t\tdouble _a[%d];\n", "", n);
    fprintf(fpSource, "\t\tSampleMVNLTRow(%d, omegaHalf%d, _work, _a, ENBIND);\n", n, num);
    for (int i = 0; i < n; i++) {
        char const* eta = g->child1->list[size_t(i)]->name;
        fprintf(fpSource, "\t\t%s = _a[%d] * RanefInflationFactor;\n", eta, i);
        fprintf(
            fpSource,
            "\t\t_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, \"%s\", %s, \"\");\n",
            eta, eta);
    }
    fprintf(fpSource, "\t}\n");
}

// 	static double omega1[3];	// replicate omega matrix ... double nV;	// random
// effect variable
void CGenCode3::GenRanefClassDecl(N const& g, int num, int size) {
    fprintf(fpHeader, "\tstatic double omega%d[%d];\t// replicate omega matrix\n", num, size);
    fprintf(fpHeader, "\tstatic double omegaHalf%d[%d];\n", num, size);
    for (N const& eta : g->child1->list) {
        if (MemberOf(eta->name, saDeclared) >= 0) continue;
        saDeclared.push_back(eta->name);
        fprintf(fpHeader, "\tdouble %s;\t// random effect variable\n", (char const*)eta->name);
    }
}

// The random-effect groups, numbered from 1, by pass.
void CGenCode3::GenCohortRanefCode(CGenCodePass pass) {
    char const* m = sModelClass;
    for (size_t k = 0; k < laRanefGroups.size(); k++) {
        N const& g = laRanefGroups[k];
        int num = int(k) + 1, n = GetGroupSize(k), size = n * (n + 1) / 2;
        switch (pass) {
            case PassFileScope:
                if (!IsSame(g)) GenOmegaBase(g, num);
                break;
            case PassClassDecl: GenRanefClassDecl(g, num, size); break;
            case PassStaticDef:
                fprintf(fpSource, "double %s::omega%d[%d];\n", m, num, size);
                fprintf(fpSource, "double %s::omegaHalf%d[%d];\n", m, num, size);
                break;
            case PassInitGlobal:
                if (!IsSame(g)) GenOmegaPrecision(g, num);
                break;
            case PassInitReplicate: GenOmegaDraw(g, num, n); break;
            case PassInitSubject: GenEtaDraw(g, num, n); break;
            default: break;
        }
    }
    if (pass == PassFileScope && !laRanefGroups.empty())
        fprintf(fpHeader, "DECLARE_GLOBAL_SCALAR(int,%s_nDFOmega,%d);\n", m, nIwndf);
}
