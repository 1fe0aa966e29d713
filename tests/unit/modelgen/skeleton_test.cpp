// The frame of the generated files: Model.h, the mode block, the includes, the closing text,
// and the analysis of Phase 1 that decides what they say.
#include "analysis/analysis.h"
#include "gen_test_support.h"
#include "modelgen/gencode.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

class SkeletonTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        macros.clear();
        want_cpp_solvers = 0;
        unsetenv("QMIX_REAL_ONLY");
        unsetenv("QMIX_CPP_SOLVERS");
    }

    void TearDown() override {
        unsetenv("QMIX_REAL_ONLY");
        unsetenv("QMIX_CPP_SOLVERS");
    }

    std::unique_ptr<CGenCode> Analysed(std::string const& text) { return AnalysedModel(text); }

    std::string ModelH(CGenCode& g) {
        FILE* f = tmpfile();
        g.fp = f;
        g.GenModelH("ab-cd-ef-01", 0x5f);
        g.fp = nullptr;
        std::string text;
        rewind(f);
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;)
            text.append(buf, n);
        fclose(f);
        return text;
    }
};

} // namespace

TEST_F(SkeletonTest, ModelHeaderCountsAndFlags) {
    auto g = Analysed("test() { transit(T, m, n, max = 3) transit(U, m, n) deriv(A = -A)\n"
                      "urinecpt(R = A) cfMicro(C, k) cfMacro(D, a, b, c, d)\n"
                      "m = 1 n = 2 k = 1 b = 1 c = 1 d = 1 }");
    g->saRanef1 = {"e1"};
    g->saSecondary = {"s1", "s2"};
    std::string h = ModelH(*g);
    EXPECT_IN_ORDER(h, {"#if 0\n// Model.h\n// Generated with VARO5 26.3.2.2\n#endif\n\n",
                        "#define NRANEF1 1\n",
                        "#define MULTI_LEVEL_RANEF 0\n", // no level-5 random effect
                        "#define NSECONDARY 2 // number of secondary parameters\n",
                        "#define TRULYTIMEBASED 1\n", "#define MODELUNIQUEID \"ab-cd-ef-01\"\n",
                        "#define MODELRUNID \"ab-cd-ef-01-5f\"\n\n",
                        "#define NDERIV 1 // number of user deriv vars\n",
                        "#define NURINE 1 // number of urine compartments\n",
                        "#define NTRANSIT 57 // number of transit compartments\n",
                        "#define NCFMACRO 2 // number of closed form machines\n\n"});
    g->saRanef5 = {"eta"};
    EXPECT_IN_ORDER(ModelH(*g), {"#define MULTI_LEVEL_RANEF 1\n"});
}

// Only derivs, closed forms, urine, transits and events make a model run in time; "t" is
// then assigned.
TEST_F(SkeletonTest, TimeBasedModels) {
    auto plain = Analysed("test() { a = 1 b = a * 2 }");
    EXPECT_EQ(0, plain->bTimeBased);
    EXPECT_EQ(-1, MemberOf("t", plain->saAssigned));
    EXPECT_STREQ("", plain->sTimeVar);
    std::string end = GenText(*plain, &CGenCode::FinishModelCpp);
    EXPECT_IN_ORDER(end, {"void ResetTime()\n{\n\tcurTime = 0;\n\tcurTimeLastDose = curTime;\n"
                          "\tiCurWhichDose = 0;\n}\n\n",
                          "void Deriv(double * _pt, double zzY[], double zzR[])\n{\n}\n\n",
                          "void Jacobian(const double zzY[], double _jacobian[])\n{\n}\n"});

    auto timed = Analysed("test() { urinecpt(U = 1) }");
    EXPECT_EQ(1, timed->bTimeBased);
    EXPECT_GE(MemberOf("t", timed->saAssigned), 0);
    EXPECT_STREQ("t", timed->sTimeVar);
    end = GenText(*timed, &CGenCode::FinishModelCpp);
    EXPECT_IN_ORDER(end, {"\tiCurWhichDose = 0;\n\tt = curTime;\n\n\tdata->init_tables();\n}\n",
                          "void Deriv(double * _pt, double zzY[], double zzR[])\n{\n"
                          "    md_real->deriv(*_pt, zzY, zzR);\n}\n"});
}

TEST_F(SkeletonTest, MacrosAreUndefinedInDefiningOrder) {
    auto g = Analysed("test() { a = 1 }");
    for (char const* m : {"B", "zzR_B", "A", "B"})
        AddMacro(m);
    nFuncResult = 3;
    nFuncArg = 4;
    std::string end = GenText(*g, &CGenCode::FinishModelCpp);
    EXPECT_EQ(0u, end.find("#undef B\n#undef zzR_B\n#undef A\n#undef B\n\n"
                           "static const int _temp_res_num = 3;\n"
                           "static const int _temp_arg_num = 4;\n"));
}

TEST_F(SkeletonTest, ModeBlock) {
    auto g = Analysed("test() { a = 1 }");
    EXPECT_EQ("", GenText(*g, &CGenCode::GenModeBlock));
    want_cpp_solvers = 1;
    EXPECT_EQ("#define WANT_CPP_SOLVERS\n", GenText(*g, &CGenCode::GenModeBlock));

    g->saDualError = {"eps"};
    EXPECT_EQ("#define CAN_DUAL\n#define DUAL_THETA\n\n#include \"mutil/DualNumber.h\"\n\n"
              "struct _THETA_TAG {};\n\nusing DualTheta = DN<NDUALFIXEFS, _THETA_TAG>;\n\n",
              GenText(*g, &CGenCode::GenModeBlock));
    g->saDualRanef5 = {"eta"};
    EXPECT_EQ("#define CAN_DUAL\n#define DUAL_THETA\n#define DUAL_ETA\n\n"
              "#include \"mutil/DualNumber.h\"\n\nstruct _THETA_TAG {};\nstruct _ETA_TAG {};\n\n"
              "using DualTheta = DN<NDUALFIXEFS, _THETA_TAG>;\n"
              "using DualEta = DN<NDUALRANEF5, _ETA_TAG>;\n\n",
              GenText(*g, &CGenCode::GenModeBlock));
}

// Only with QMIX_REAL_ONLY does QMIX_CPP_SOLVERS ask for the solvers of the generated text.
TEST_F(SkeletonTest, EnvironmentDecidesCppSolvers) {
    setenv("QMIX_CPP_SOLVERS", "1", 1);
    Analysed("test() { a = 1 }");
    EXPECT_EQ(0, want_cpp_solvers);
    setenv("QMIX_REAL_ONLY", "1", 1);
    Analysed("test() { a = 1 }");
    EXPECT_EQ(1, want_cpp_solvers);
}

TEST_F(SkeletonTest, IncludesAndEngineHeaders) {
    auto g = Analysed("test() { deriv(A = -A + gammaDelay(x, m, shape = 2, numODE = 7) +\n"
                      "gammaDelay(y, m, shape = 2, numODE = 5)) C = delay(A, 1)\n"
                      "x = 1 y = 2 m = 3 }");
    EXPECT_IN_ORDER(GenText(*g, &CGenCode::GenEngineIncludes),
                    {"\n#include \"mutil/umath.h\"\n#include \"mutil/simmath.h\"\n"
                     "#include \"mutil/closed_form.h\"\n#include \"mutil/action.h\"\n"
                     "#include \"mutil/action_data.h\"\n\n#include \"mutil/delay.h\"\n\n"
                     "static const int N_ODE = NINTEG_ALL + 1 + 12;\n"});
    EXPECT_EQ(1, g->nDelayCount);

    NV includes = {std::make_shared<CNode>(CN_FILE, "a.h"),
                   std::make_shared<CNode>(CN_FILE, "dir\\x\".h")};
    FILE* f = tmpfile();
    g->fp = f;
    g->GenUserIncludes(includes);
    g->fp = nullptr;
    rewind(f);
    char buf[256] = {0};
    buf[fread(buf, 1, sizeof buf - 1, f)] = 0;
    fclose(f);
    EXPECT_EQ("#include \"a.h\"\n#include \"dir\\\\x\\\".h\"\n", std::string(buf));
}

TEST_F(SkeletonTest, AssignmentListsAndUniqueNames) {
    auto g = Analysed("test() { a = 1 p = peak(pk = a, max) deriv(A = -a*A) b = a }");
    SV names;
    NV exprs;
    g->GetAssignmentStatements(names, exprs);
    ASSERT_EQ(4u, names.size());
    EXPECT_STREQ("a", names[0]);
    EXPECT_STREQ("p", names[1]);
    EXPECT_STREQ("pk", names[2]);
    EXPECT_FALSE(exprs[2]); // a peak's own name comes with no expression
    EXPECT_STREQ("b", names[3]);
    EXPECT_EQ("(CN_PEAK pk a (CN_NOT true))", DumpTree(exprs[1]));
    // The process-wide lists hold the same after Phase 1.
    ASSERT_EQ(4u, saAssign.size());
    EXPECT_EQ("a", DumpTree(paAssign[3]));

    g->saCovariates = {"wt", "A"};
    g->saFixef = {"tvV"};
    g->CollectUniqueVars();
    SV want = {"wt", "A", "tvV", "a", "p", "pk", "b", "t"};
    ASSERT_EQ(want.size(), g->saUniqueVars.size());
    for (size_t i = 0; i < want.size(); i++)
        EXPECT_STREQ(want[i], g->saUniqueVars[i]) << i;
}

TEST_F(SkeletonTest, GaussianFitNeedsAFreeErrorAndNoBql) {
    auto g = Analysed("test() { a = 1 }");
    EXPECT_EQ(0, g->bAllowGaussianFit); // no error variable at all
    g->naErrorFrozen = {1, 0};
    g->DecideGaussianFit();
    EXPECT_EQ(1, g->bAllowGaussianFit);
    bBqlInModel = 1;
    g->DecideGaussianFit();
    EXPECT_EQ(0, g->bAllowGaussianFit);
    bBqlInModel = 0;
    g->naErrorFrozen = {1};
    g->DecideGaussianFit();
    EXPECT_EQ(0, g->bAllowGaussianFit);
}
