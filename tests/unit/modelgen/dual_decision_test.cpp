// Which parameters a model carries as dual numbers, one small model per row, and the switches
// of the environment that turn the decision off or narrow it.
#include "gen_test_support.h"

#include <cstdlib>

namespace {

class DualDecisionTest : public GenTest {
  protected:
    void SetUp() override {
        GenTest::SetUp();
        force_dual.clear();
        force_real.clear();
        for (char const* v : {"QMIX_REAL_ONLY", "QMIX_CPP_SOLVERS", "QMIX_NO_DUAL_THETA"})
            unsetenv(v);
        want_cpp_solvers = 0;
    }

    void TearDown() override {
        for (char const* v : {"QMIX_REAL_ONLY", "QMIX_CPP_SOLVERS", "QMIX_NO_DUAL_THETA"})
            unsetenv(v);
        gradientLimit = 1;
    }

    // The three lists of dual parameters of a model, as "ranefs | fixefs | errors".
    static std::string Decision(CGenCode const& gen) {
        std::string out;
        for (SV const* list : {&gen.saDualRanef5, &gen.saDualFixef, &gen.saDualError}) {
            if (list != &gen.saDualRanef5) out += " | ";
            for (size_t i = 0; i < list->size(); i++)
                out += std::string(i ? " " : "") + (char const*)(*list)[i];
        }
        return out;
    }

    std::string ModeBlock(CGenCode& gen) {
        return GenText(gen, [&] { gen.GenModeBlock(); });
    }
};

// A one-compartment model with exponential random effects and an error; 'extra' is added.
std::string OneCpt(std::string const& extra, std::string const& dose = "dosepoint(A1)") {
    return "test() {\n deriv(A1 = -Cl / V * A1)\n " + dose +
           "\n C = A1 / V\n error(eps = 0.1)\n observe(CObs = C + eps)\n"
           " stparm(V = tvV * exp(nV), Cl = tvCl * exp(nCl))\n"
           " fixef(tvV = 10, tvCl = 1)\n ranef(diag(nV, nCl) = c(0.1, 0.1))\n" +
           extra + "}\n";
}

TEST_F(DualDecisionTest, WhatKeepsAParameterPlain) {
    struct {
        std::string text;
        char const* decision;
    } const rows[] = {
        {OneCpt(""), "nV nCl | tvV tvCl | eps"},
        // a lag: its theta and eta drop out, the rest stays dual
        {OneCpt(" stparm(Tlag = tvTlag * exp(nTlag))\n fixef(tvTlag = 0.5)\n"
                " ranef(nTlag = 0.1)\n",
                "dosepoint(A1, tlag = Tlag)"),
         "nV nCl | tvV tvCl | eps"},
        {OneCpt(" transit(At, mtt, 2, max = 3)\n mtt = 1\n dual_vars(nV)\n"), " |  | "},
        {OneCpt(" delayInfCpt(Ad, mdt, 2)\n mdt = 1\n"), " |  | "},
        {OneCpt(" sequence { sleep(1)\n A1 = 0 }\n"), " |  | "},
        {OneCpt(" observe(C2 = C + e2, doafter = { A1 = 0 })\n error(e2 = 1)\n"), " |  | "},
        // an eta in a delay time
        {OneCpt(" Cd = delay(C, tD)\n stparm(tD = exp(nD))\n ranef(nD = 0.1)\n"),
         "nV nCl | tvV tvCl | eps"},
        {OneCpt(" dual_vars(nV)\n real_vars(nV)\n"), "nCl | tvV tvCl | eps"},
        // frozen, and not used by anything
        {OneCpt(" stparm(F = tvF)\n fixef(tvF(freeze) = 1, tvU = 2)\n"),
         "nV nCl | tvV tvCl | eps"},
    };

    for (auto const& r : rows) {
        SetUp();
        auto gen = AnalysedModel(r.text);
        ASSERT_TRUE(gen) << r.text;
        EXPECT_EQ(r.decision, Decision(*gen)) << r.text;
        bool dual = gen->IsDualModel();
        EXPECT_EQ(dual, ModeBlock(*gen).find("#define CAN_DUAL\n") != std::string::npos);
    }
}

TEST_F(DualDecisionTest, EnvironmentSwitches) {
    setenv("QMIX_REAL_ONLY", "1", 1);
    auto gen = AnalysedModel(OneCpt(" dual_vars(nV)\n"));
    EXPECT_EQ(" |  | ", Decision(*gen));
    EXPECT_EQ("", ModeBlock(*gen));

    SetUp();
    setenv("QMIX_REAL_ONLY", "1", 1);
    setenv("QMIX_CPP_SOLVERS", "1", 1);
    gen = AnalysedModel(OneCpt(""));
    EXPECT_EQ("#define WANT_CPP_SOLVERS\n", ModeBlock(*gen));

    SetUp();
    setenv("QMIX_CPP_SOLVERS", "1", 1); // alone it has no effect
    gen = AnalysedModel(OneCpt(""));
    EXPECT_EQ("nV nCl | tvV tvCl | eps", Decision(*gen));
    EXPECT_EQ(std::string::npos, ModeBlock(*gen).find("WANT_CPP_SOLVERS"));

    SetUp();
    setenv("QMIX_NO_DUAL_THETA", "1", 1);
    gen = AnalysedModel(OneCpt(""));
    EXPECT_EQ("nV nCl |  | ", Decision(*gen));
    std::string block = ModeBlock(*gen);
    EXPECT_IN_ORDER(block, {"#define CAN_DUAL\n#define DUAL_ETA\n", "using DualEta"});
    EXPECT_EQ(std::string::npos, block.find("DUAL_THETA"));
}

TEST_F(DualDecisionTest, GradientLimitChangesNothing) {
    std::string text[2];
    for (int i = 0; i < 2; i++) {
        SetUp();
        gradientLimit = i == 0 ? 1 : 5;
        auto gen = AnalysedModel(OneCpt(""));
        text[i] = GenText(*gen, [&] { gen->GenModelCpp(NV()); });
    }
    EXPECT_FALSE(text[0].empty());
    EXPECT_EQ(text[0], text[1]);
}

} // namespace
