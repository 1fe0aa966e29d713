// The SAEM routines: which structural parameters make up the C matrix and how its columns are
// written, which thetas are pooled or bare, and the dummy routines of each model that doesn't
// fit the linear design.
#include "gen_test_support.h"

#include <sstream>

namespace {

class SaemTest : public GenTest {
  protected:
    // The SAEM routines of a one-compartment model with the parameter statements 'params' and
    // the observation 'observe'.
    std::string Saem(std::string const& params,
                     std::string const& observe = "observe(CObs = C * (1 + CEps))") {
        SetUp();
        std::string text = "test() {\n covariate(wt)\n covariate(occ)\n"
                           " deriv(A1 = -Cl * A1 / V)\n dosepoint(A1)\n C = A1 / V\n " +
                           observe + "\n" + params + "\n error(CEps = 0.1)\n}\n";
        auto gen = AnalysedModel(text);
        if (!gen) return "";
        return GenText(*gen, [&] { gen->GenSAEMCode(); });
    }
};

char const* const DUMMY = "// SAEM not allowed. These are dummy routines\n";

// A model that doesn't fit gets the dummy routines and nothing else.
TEST_F(SaemTest, RefusedModelsGetTheDummyRoutines) {
    char const* const ranefs = "\n ranef(diag(nV, nCl) = c(0.1, 0.2))";

    struct {
        char const* params;
        char const* observe;
    } const cases[] = {
        // two thetas standing alone
        {"stparm(V = tvV + tvW + nV, Cl = tvCl * exp(nCl))\n fixef(tvV = 1, tvW = 1, tvCl = 1)",
         nullptr},
        // a shared main theta
        {"stparm(V = tvV * exp(nV), Cl = tvV * exp(nCl))\n fixef(tvV = 1)", nullptr},
        // a shared eta
        {"stparm(V = tvV * exp(nV), Cl = tvCl * exp(nV))\n fixef(tvV = 1, tvCl = 1)", nullptr},
        // a main theta in the variance function
        {"stparm(V = tvV * exp(nV), Cl = tvCl * exp(nCl))\n fixef(tvV = 1, tvCl = 1)",
         "observe(CObs = C + CEps * tvCl)"},
        // a covariate theta in the variance function
        {"stparm(V = tvV * exp(dVdwt * wt + nV), Cl = tvCl * exp(nCl))\n"
         " fixef(tvV = 1, tvCl = 1, dVdwt = 0)",
         "observe(CObs = C + CEps * dVdwt)"},
        // one eta for two occasions: the second term is left over on both scales
        {"stparm(V = tvV + nV * (occ == 1) + nV * (occ == 2), Cl = tvCl * exp(nCl))\n"
         " fixef(tvV = 1, tvCl = 1)",
         nullptr},
        // an eta with no theta on the log scale
        {"stparm(V = 5 * exp(nV), Cl = tvCl * exp(nCl))\n fixef(tvCl = 1)", nullptr},
    };

    for (auto const& c : cases) {
        std::string params = std::string(c.params) + ranefs;
        std::string text = c.observe ? Saem(params, c.observe) : Saem(params);
        EXPECT_EQ(0u, text.find(DUMMY)) << c.params;
        EXPECT_IN_ORDER(text, {"int CanUseSAEM()\n{\n    return 0;\n}\n",
                               "MODEL_TEMPLATE_PARAMETER_LIST\n"
                               "void MODEL_CLASS_DECL::get_saem_matrix(double * daCMat, int * "
                               "theta2eta)\n{\n}\n"});
        EXPECT_EQ(std::string::npos, text.find("daCMat[")) << c.params;
    }
}

// Every matrix statement stands at the start of a line of its own, never behind a comment.
TEST_F(SaemTest, MatrixStatementsStandOnTheirOwnLines) {
    std::string text = Saem("stparm(V = tvV * exp(nV), Cl = tvCl * (wt / 70) ^ dCldwt * "
                            "exp(nCl), Ka = tvKa)\n"
                            " fixef(tvV = 1, tvCl = 1, dCldwt = 1, tvKa = 1)\n"
                            " ranef(diag(nV, nCl) = c(0.1, 0.2))",
                            "observe(CObs = Ka * C * (1 + CEps))");
    std::istringstream in(text);
    int statements = 0;
    for (std::string line; std::getline(in, line);) {
        size_t at = line.find("daCMat[");
        if (at == std::string::npos) at = line.find("theta2eta[");
        if (at == std::string::npos) continue;
        statements++;
        EXPECT_EQ(at, line.find_first_not_of('\t')) << line;
        EXPECT_EQ(std::string::npos, line.substr(0, at).find("//")) << line;
    }
    EXPECT_EQ(8, statements); // V: 2, Cl: 2 + 2 for dCldwt, tvKa: 2
}

// Two parameters may share a covariate theta: its column comes with the first.
TEST_F(SaemTest, SharedCovariateThetaHasOneColumn) {
    std::string text = Saem("stparm(V = tvV * exp(dwt * wt + nV), Cl = tvCl + dwt * wt + nCl)\n"
                            " fixef(tvV = 1, tvCl = 1, dwt = 0)\n"
                            " ranef(diag(nCl, nV) = c(0.1, 0.2))");
    // sorted by the etas: Cl first, on the plain scale
    EXPECT_IN_ORDER(text, {"\tstatic const int is_saem[] = {1, 1};\n",
                           "\t(*nTheta)++; // tvCl\n\t(*nTheta)++; // dwt\n"
                           "\t(*nBaseEta)++; // nCl\n\n",
                           "\t(*nTheta)++; // tvV\n\t(*nBaseEta)++; // nV\n\n}\n",
                           "\t// for structural parameter Cl\n"
                           "\tdaCMat[_iEta + _jTheta * _nEta] = 1; // eta nCl, theta tvCl\n",
                           "\t{\n\t\tdaCMat[_iEta + _jTheta * _nEta] = wt; // dwt\n",
                           "\t// for structural parameter log_V\n"
                           "\tdaCMat[_iEta + _jTheta * _nEta] = 1; // eta nV, theta log_tvV\n"
                           "\ttheta2eta[_jTheta] = _iEta;\n\t_jTheta++;\n\t_iEta++;\n\n",
                           "\tif (strcmp(name, \"wt\")==0) return 1;\n\n\treturn 0;\n",
                           "_iaIFixefErrToITheta[1]; // tvCl\n\tbaCColIsLog[_jCTheta] = 0;\n",
                           "_iaIFixefErrToITheta[2]; // dwt\n\t\tbaCColIsLog[_jCTheta] = 0;\n",
                           "_iaIFixefErrToITheta[0]; // tvV\n\tbaCColIsLog[_jCTheta] = 1;\n",
                           "int CanUseSAEM()\n{\n\treturn 1;\n}\n"});
    EXPECT_EQ(1, CountOf(text, "// dwt\n\t\ttheta2eta"));
    EXPECT_EQ(std::string::npos, text.find("bare theta"));
}

// A frozen covariate theta has no column, and its covariate isn't in the matrix.
TEST_F(SaemTest, FrozenCovariateThetaIsOnlyAComment) {
    std::string text = Saem("stparm(V = tvV * exp(dwt * wt + nV), Cl = tvCl * exp(nCl))\n"
                            " fixef(tvV = 1, tvCl = 1, dwt(freeze) = 0)\n"
                            " ranef(diag(nV, nCl) = c(0.1, 0.2))");
    EXPECT_EQ(3, CountOf(text, "\t// dwt Frozen\n"));
    EXPECT_IN_ORDER(text, {"int GetCovariateIsInCMatrix(const char* name)\n{\n\n\treturn 0;\n"});
}

// Parameters that stay out: one without eta, one with a frozen main theta, one whose etas
// belong to occasions. Their thetas that aren't frozen get extra etas; a theta of the variance
// function is pooled, numbered among the thetas that aren't frozen.
TEST_F(SaemTest, ParametersOutsideTheMatrix) {
    std::string text = Saem("stparm(V = tvV * exp(nV), Cl = tvCl * exp(nCl),\n"
                            "        F = tvF + nV1 * (occ == 1) + nV2 * (occ == 2))\n"
                            " fixef(tvV(freeze) = 1, tvCl = 1, tvF(enable = c(0)) = 1,"
                            " tvProp = 0.1)\n"
                            " ranef(diag(nV, nCl, nV1, nV2) = c(0.1, 0.2, 0.1, 0.1))",
                            "observe(CObs = F * C + CEps * (1 + tvProp * C))");
    EXPECT_IN_ORDER(text,
                    {"\tstatic const int is_saem[] = {0, 1, 0, 0};\n",
                     "    if (_is_fixef_enabled(2))  // bare theta tvF\n"
                     "    {\n        (*nExtraEta)++;\n        (*nTheta)++;\n    }\n\n}\n",
                     "\t// for additional bare thetas\n\tif (_is_fixef_enabled(2)){\n"
                     "\t\tdaCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta tvF\n"
                     "\t\ttheta2eta[_jTheta] = -1;\n\t\t_iEta++;\n\t\t_jTheta++;\n\t}\n"
                     "\t// assert _iEta == _nEta\n",
                     "void GetSaemNaivePoolThetas(int* nNPTheta, int* iaTheta)\n{\n"
                     "\tint _jTheta = 0;\n\t{\n\t\tiaTheta[_jTheta] = 2; // tvProp\n"
                     "\t\t_jTheta++;\n\t}\n\t*nNPTheta = _jTheta;\n}\n"});
    EXPECT_EQ(std::string::npos, text.find("bare theta tvV"));
    EXPECT_EQ(std::string::npos, text.find("bare theta tvProp"));
}

// With no stparm, every theta that isn't frozen is bare, and SAEM can be used.
TEST_F(SaemTest, ModelWithoutStparm) {
    SetUp();
    auto gen = AnalysedModel("test() {\n deriv(A1 = -k * A1)\n dosepoint(A1)\n C = A1 * a\n"
                             " observe(CObs = C + CEps)\n fixef(k = 1, a(freeze) = 1)\n"
                             " error(CEps = 1)\n}\n");
    ASSERT_TRUE(gen);
    std::string text = GenText(*gen, [&] { gen->GenSAEMCode(); });
    EXPECT_IN_ORDER(text, {"int IsSaemRanef(int * _idx)\n{\n    return 0;\n}\n\n",
                           "    {(*nExtraEta)++; (*nTheta)++;} // bare theta k\n\n}\n",
                           "\tint _iaIFixefErrToITheta[2+1];\n",
                           "\t// for additional bare thetas\n\t{\n"
                           "\t\tiaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[0]; // k\n",
                           "\treturn 1;\n"});
    EXPECT_EQ(std::string::npos, text.find("bare theta a"));
}

} // namespace
