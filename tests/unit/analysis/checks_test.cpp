// The semantic checks of Phase 1: sound models of every statement that defines names pass
// without a word, a few narrow refusals say exactly what is wrong, and the helpers for unused
// names and for the noise-free prediction. A refusal ends the process, so each model runs in
// a death test.
#include "analysis/analysis.h"
#include "expr/tree_text.h"
#include "modelgen/gencode.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace tree_text;

namespace {

// Parses 'text' and runs Phase 1 on it. Ends the process with status 0 and "sound" as its
// only output on stderr when the model passes; a parse error ends it with status 2.
[[noreturn]] void AnalyseAndExit(char const* text) {
    std::string buf = text + std::string(16, '\0');
    char const* p = buf.c_str();
    N model;
    parsModel(p, model);
    if (!model || IsErrorSet()) {
        fprintf(stderr, "parse error");
        exit(2);
    }
    CGenCode g(model);
    g.GenDllPhase1();
    fprintf(stderr, "sound");
    exit(0);
}

struct ModelCase {
    char const* what;
    char const* text;
};

class ChecksTest : public VaroTest {};

} // namespace

TEST_F(ChecksTest, SoundModelsPassSilently) {
    ModelCase const cases[] = {
        {"LL of each type", "test() {\n"
                            "  LL(y1, -0.5 * (y1 - m)^2, type = cont)\n"
                            "  LL(y2, log(p), type = cat)\n"
                            "  LL(y3, log(p), type = count)\n"
                            "  LL(y4, log(p), type = event)\n"
                            "  LL(y5, log(p))\n"
                            "  m = 1  p = 0.5 }"},
        {"multi and ordinal with their link functions", "test() {\n"
                                                        "  multi(y, ilogit, a, b)\n"
                                                        "  ordinal(z, probit, s, b, c)\n"
                                                        "  a = 1  b = 2  s = 1  c = 3 }"},
        {"delay with a distribution", "test() {\n"
                                      "  deriv(A = -k * A)\n"
                                      "  C = delay(A, tau, dist = Weibull, shape = s)\n"
                                      "  k = 1  tau = 2  s = 3 }"},
        {"cfMacro: its concentration is defined by the machine", "test() {\n"
                                                                 "  covariate(D)\n"
                                                                 "  cfMacro(A1, C1, D, a, alpha)\n"
                                                                 "  E = 2 * C1\n"
                                                                 "  a = 1  alpha = 0.5 }"},
        {"cfMicro with a depot", "test() {\n"
                                 "  cfMicro(A1, k, first = (Aa = ka))\n"
                                 "  dosepoint(Aa)\n"
                                 "  C = A1 + Aa\n"
                                 "  k = 1  ka = 2 }"},
        {"stparm copying its fixed effect", "test() {\n"
                                            "  stparm(V = V)\n"
                                            "  fixef(V = 5)\n"
                                            "  C = 2 / V }"},
        {"group and secondary", "test() {\n"
                                "  group(tvV = 5 * tvVscale)\n"
                                "  stparm(V = tvV * exp(nV))\n"
                                "  fixef(tvVscale = 1)\n"
                                "  ranef(diag(nV) = c(0.1))\n"
                                "  secondary(Vhalf = tvVscale / 2)\n"
                                "  C = 2 / V }"},
        {"a double set in a sequence", "test() {\n"
                                       "  double(x)\n"
                                       "  sequence { x = 1  sleep(2)  x = 2 }\n"
                                       "  deriv(A = -x * A) }"},
        {"dose variables and time", "test() {\n"
                                    "  deriv(A = -k * A * t)\n"
                                    "  dosepoint(A, idosevar = A0, infratevar = R0)\n"
                                    "  C = A + A0 + R0\n"
                                    "  k = 1 }"},
    };
    for (ModelCase const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EXIT(AnalyseAndExit(c.text), ::testing::ExitedWithCode(0), "^sound$");
    }
}

// The exceptions to "defined exactly once" are narrow: a fixed effect that is also assigned,
// the name of a cfMacro machine, and a plain name set only in a sequence are all refused. The
// checks before the closed-form check still report.
TEST_F(ChecksTest, NarrowRefusals) {
    struct {
        char const* text;
        char const* stderrText; // a regular expression of the whole output
    } const cases[] = {
        {"test() { fixef(V = 5) V = 1 C = 2 / V }", "^Error: multiple definition of 'V'\r\n$"},
        {"test() { covariate(D) cfMacro(A1, C1, D, a, alpha) E = A1 a = 1 alpha = 0.5 }",
         "^Error: 'A1' is undefined\r\n$"},
        {"test() { sequence { x = 1 } deriv(A = -x * A) }", "^Error: 'x' is undefined\r\n$"},
        {"test() { cfMicro(A1, k) k = 1 C = delay(A1, 2) Z = q }",
         "^Error: 'q' is undefined\r\n"
         "Error: cannot use delay or peak function in model containing closed-form statement\r\n$"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EXIT(AnalyseAndExit(c.text), ::testing::ExitedWithCode(1), c.stderrText);
    }
}

// The warnings log is opened once per process: the child of a threadsafe death test starts
// afresh, writes its log in a directory of its own and echoes it on stderr.
TEST_F(ChecksTest, CheckVarUseWarnsOfEachUnusedName) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto run = [] {
        char dir[] = "/tmp/varo5_checksXXXXXX";
        if (!mkdtemp(dir) || chdir(dir) != 0) exit(2);
        CheckVarUse("Random effect", {"nV", "nCl", "nKa"}, {"nCl", "V"});
        CheckVarUse("Structural parameter", {"V"}, {"nCl", "V"});
        Warning() << std::flush;
        std::stringstream log;
        log << std::ifstream("VARO5Warnings.log").rdbuf();
        remove("VARO5Warnings.log");
        rmdir(dir);
        fprintf(stderr, "%s", log.str().c_str());
        exit(0);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0),
                "^Random effect 'nV' is not used\nRandom effect 'nKa' is not used\n$");
}

TEST_F(ChecksTest, ZeroErrorSharesOneZeroAndKeepsTheInput) {
    N obs = Add(Mul(Var("C"), Add(Num(1), Var("eps"))), Call("exp", {Var("eps2")}));
    SV errors = {"eps", "eps2"};
    N pred = zero_error(obs, errors);
    EXPECT_EQ("(CN_ADD (CN_MUL C (CN_ADD 1 0)) (CN_CALL exp [0]))", Text(pred));
    EXPECT_EQ("(CN_ADD (CN_MUL C (CN_ADD 1 eps)) (CN_CALL exp [eps2]))", Text(obs));
    N zero = pred->child1->child2->child2;
    EXPECT_EQ(zero, pred->child2->list[0]);
    EXPECT_EQ(zero, zero_error(Var("eps"), errors)); // kept for the run
}
