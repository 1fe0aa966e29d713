// The errors of a trial model, each entry a block of one: base variances with the
// uncertainty that vcvfixef gives them, replicate chi-square draws of the uncertain ones, and
// the epsilon draws of each observation.
#include "driver/driver.h"
#include "trialgen/trialgen.h"

#include <string>

static int LT(int i, int j) {
    return i * (i + 1) / 2 + j;
}

// The uncertainty of the 'e'-th error's variance: its diagonal entry in the vcvfixef matrix
// behind the fixed effects, 0 when the matrix holds none.
double CGenCode3::GetErrorUncertainty(size_t e) {
    size_t at = size_t(LT(int(paFixefItems.size() + e), int(paFixefItems.size() + e)));
    return bVcvFixef && at < daVcv.size() ? daVcv[at] : 0.0;
}

// One error block of size one at file scope: its variance, degrees of freedom, uncertainty
// and work vectors.
void CGenCode3::GenErrorBase(size_t e, int num) {
    char const* m = sModelClass;
    double sd = paErrorEntries[e]->child3->list[0]->value;
    fprintf(fpHeader, "\tdouble %s_ErrVar%d[%d] = {", m, num, 1);
    fprintf(fpHeader, "%g", sd * sd);
    fprintf(fpHeader,
            "};\t// diagonal base ErrVar matrix, note that we're writing variance, not SD\n");
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(int,%s_nErrVarDF%d,%d);\n", m, num, 1);
    fprintf(fpHeader, "\tdouble %s_vcv%dError[%d] = {", m, num, 1);
    fprintf(fpHeader, "%g", GetErrorUncertainty(e));
    fprintf(fpHeader, "};\n");
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_ErrVar%dPrec,%d);\n", m, num, 1);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_ErrVar%dPrch,%d);\n", m, num, 1);
    fprintf(fpHeader, "DECLARE_GLOBAL_VECTOR(double,%s_ErrVar%dInverse,%d);\n", m, num, 1);
}

// 	// foreach element, get nSigDF, precision, and square root of that
void CGenCode3::GenErrorPrecision(size_t e, int num) {
    char const* m = sModelClass;
    fprintf(fpSource, "\t// foreach element, get nSigDF, precision, and square root of that\n");
    fprintf(fpSource, "\t%s_ErrVar%dPrec[%d] = 1 / %s_ErrVar%d[%d];\n", m, num, 0, m, num, 0);
    if (GetErrorUncertainty(e) != 0)
        fprintf(fpSource,
                "\t%s_nErrVarDF%d[%d] = 2*%s_ErrVar%d[%d]*%s_ErrVar%d[%d]/%s_vcv%dError[%d]+4;\n",
                m, num, 0, m, num, 0, m, num, 0, m, num, 0);
    fprintf(fpSource, "\t%s_ErrVar%dPrch[%d] = sqrt(%s_ErrVar%dPrec[%d]);\n", m, num, 0, m, num, 0);
}

// The replicate variance of an error block, drawn when it has an uncertainty.
void CGenCode3::GenErrorDraw(size_t e, int num) {
    char const* m = sModelClass;
    fprintf(
        fpSource,
        "\t// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky\n");
    fprintf(fpSource, "\tmemset(ErrVar%d, 0, sizeof(ErrVar%d));\n", num, num);
    if (GetErrorUncertainty(e) != 0) {
        fprintf(fpSource, "\tmemset(%s_ErrVar%dInverse, 0, sizeof(%s_ErrVar%dInverse));\n", m, num,
                m, num);
        fprintf(fpSource,
                "\tGenChiSq(%s_nErrVarDF%d[%d], %s_ErrVar%dPrch[%d], %s_ErrVar%dInverse[%d], 1);\n",
                m, num, 0, m, num, 0, m, num, 0);
        fprintf(fpSource, "\t%s_ErrVar%dInverse[%d] /= (%s_nErrVarDF%d[%d] - 1 - 1);\n", m, num, 0,
                m, num, 0);
        fprintf(fpSource,
                "\tErrVar%d[%d] = ENBREP ? 1 / %s_ErrVar%dInverse[%d] : %s_ErrVar%d[%d];\n", num, 0,
                m, num, 0, m, num, 0);
    } else {
        fprintf(fpSource, "\tErrVar%d[%d] = %s_ErrVar%d[%d];\n", num, 0, m, num, 0);
    }
    fprintf(fpSource, "\tCholeskyLTRow(%d, ErrVar%d, ErrVarHalf%d);\n", 1, num, num);
    std::string nm = std::string(m) + "_sigma" + std::to_string(num) + "_1_1";
    fprintf(
        fpSource,
        "\t_rec_sigma(iScen, iRep, \"%s\", sqrt(ErrVar%d[%d]), \"\");\t// for LTRow we're storing variance in matrix, but need to record sigma value\n",
        nm.c_str(), num, 0);
}

// 	{	// sample epsilon vector ... }
void CGenCode3::GenEpsilonDraw(size_t e, int num) {
    fprintf(fpSource, "\t{\t// sample epsilon vector\n");
    fprintf(fpSource, "%s\t\tdouble _work[%d];\n", "", 1);
    fprintf(fpSource, "%s\t\tdouble _a[%d];\n", "", 1);
    fprintf(fpSource, "\t\tSampleMVNLTRow(%d, ErrVarHalf%d, _work, _a, ENBOBS);\n", 1, num);
    fprintf(fpSource, "\t\t%s = _a[%d] * ErrorInflationFactor;\n",
            (char const*)paErrorEntries[e]->child1->list[0]->name, 0);
    fprintf(fpSource, "\t}\n");
}

// 	static double ErrVar1[1];	// replicate ErrVar matrix ... double eps1;	// epsilon
// variable
void CGenCode3::GenErrorClassDecl(int num, char const* eps) {
    fprintf(fpHeader, "\tstatic double ErrVar%d[%d];\t// replicate ErrVar matrix\n", num, 1);
    fprintf(fpHeader, "\tstatic double ErrVarHalf%d[%d];\n", num, 1);
    if (MemberOf(eps, saDeclared) >= 0) return;
    saDeclared.push_back(eps);
    fprintf(fpHeader, "\tdouble %s;\t// epsilon variable\n", eps);
}

// The error blocks, one for each entry, numbered from 1, by pass.
void CGenCode3::GenCohortErrorCode(CGenCodePass pass) {
    char const* m = sModelClass;
    for (size_t e = 0; e < paErrorEntries.size(); e++) {
        int num = int(e) + 1;
        char const* eps = paErrorEntries[e]->child1->list[0]->name;
        switch (pass) {
            case PassFileScope: GenErrorBase(e, num); break;
            case PassClassDecl: GenErrorClassDecl(num, eps); break;
            case PassStaticDef:
                fprintf(fpSource, "double %s::ErrVar%d[%d];\n", m, num, 1);
                fprintf(fpSource, "double %s::ErrVarHalf%d[%d];\n", m, num, 1);
                break;
            case PassInitGlobal: GenErrorPrecision(e, num); break;
            case PassInitReplicate: GenErrorDraw(e, num); break;
            case PassInitObservation: GenEpsilonDraw(e, num); break;
            default: break;
        }
    }
}
