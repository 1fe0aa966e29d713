// Model texts: the header, the statement dispatcher, blocks and recovery, and the trees of
// the state and declaration statements.
#include "analysis/analysis.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

namespace {

class ParsModelTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        force_dual.clear();
        force_real.clear();
        zeroRanefs.clear();
    }

    // Parses a whole model; returns its dump and leaves stderr in 'err'.
    std::string Model(std::string const& text) {
        buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        testing::internal::CaptureStderr();
        parsModel(p, model);
        err = testing::internal::GetCapturedStderr();
        rest = p;
        return DumpTree(model);
    }

    // The dump of the one statement of "test() { <stmt> }", or of nothing on error.
    std::string Stmt(std::string const& text) {
        sErr = nullptr;
        iLine = 1;
        currentLine = nullptr;
        std::string tree = Model("test() {\n" + text + "\n}");
        std::string head = "(CN_MODEL (CN_CALL test) (CN_BLOCK [";
        if (tree.compare(0, head.size(), head) != 0) return tree;
        return tree.substr(head.size(), tree.size() - head.size() - 3);
    }

    std::string err, rest;
    std::vector<std::unique_ptr<std::string>> buffers;
};

} // namespace

TEST_F(ParsModelTest, HeaderAndBody) {
    EXPECT_EQ("(CN_MODEL (CN_CALL test) (CN_BLOCK [(CN_DERIV a (CN_MUL (CN_NEG k) a))]))",
              Model("test() { deriv(a = -k*a) }"));
    EXPECT_EQ("", err);
    EXPECT_EQ("(CN_MODEL (CN_CALL pk [a b c]) (CN_ASSIGN x 1))", Model("pk(a, b, c) x = 1"));
    // A bare statement that leaves no node still gives the model a body.
    EXPECT_EQ("(CN_MODEL (CN_CALL test) (CN_BLOCK))", Model("test() dual_vars(a)"));
    EXPECT_EQ("(CN_MODEL (CN_CALL m) (CN_BLOCK [(CN_ASSIGN a 1) (CN_ASSIGN b 2)]))",
              Model("m() { a = 1 b = 2 ; }"));

    struct {
        char const* text;
        char const* err;
    } const bad[] = {
        {"() {}", "Error line 1: Expected: <model name>\n"},
        {"test {}", "Error line 1: Expected: ( <model input parameters> )\n"},
        {"test(a b) {}", "Error line 1: Expected: ','\n"},
        {"test(a, 1) {}", "Error line 1: Expected: variable\n"},
    };

    for (auto const& c : bad) {
        sErr = nullptr;
        EXPECT_EQ("_", Model(c.text)) << c.text;
        EXPECT_EQ(c.err, err) << c.text;
    }
}

TEST_F(ParsModelTest, StateStatementTrees) {
    struct {
        char const* text;
        char const* tree;
    } const cases[] = {
        {"double(x, y z)", "(CN_DOUBLE_DECL [x y z])"},
        {"real(x)", "(CN_DOUBLE_DECL [x])"},
        {"deriv(A = -k*A, noss)", "(CN_DERIV A (CN_MUL (CN_NEG k) A) 1)"},
        {"deriv(A <- r)", "(CN_DERIV A r)"},
        {"urinecpt(U = k*A, fe = f)", "(CN_URINECPT U (CN_MUL k A) f)"},
        {"urinecpt(U = r)", "(CN_URINECPT U r)"},
        {"transit(T, mtt, n)", "(CN_TRANSIT T mtt n 50 [_ _])"},
        {"transit(T, mtt, n, out = o, in = i, max = 1000)", "(CN_TRANSIT T mtt n 1000 [i o])"},
        {"delayInfCpt(D, m, s)", "(CN_DELAYINFCPT D m (CN_ADD s 1) Gamma [_ _])"},
        {"delayInfCpt(D, m, s, dist = Weibull, in = i)",
         "(CN_DELAYINFCPT D m (CN_ADD s 1) Weibull [i _])"},
        {"delayInfCpt(D, m, s, dist = InverseGaussian)",
         "(CN_DELAYINFCPT D m s InverseGaussian [_ _])"},
        {"dosepoint(A, tlag = l, duration = d, bioavail = f)", "(CN_DOSEPOINT A l d _ f)"},
        {"dosepoint1(A, rate = r)", "(CN_DOSEPOINT A _ _ r)"},
        {"dosepoint2(A)", "(CN_DOSEPOINT2 A)"},
        {"cfMicro(A1, k, first = (Aa = ka))", "(CN_CFMICRO A1 (CN_ASSIGN Aa ka) [k])"},
        {"cfMicro(A1, a, b, c, d, e, f, g)", "(CN_CFMICRO A1 [a b c d e f g])"},
        {"cfMacro1(A, a, b, first x)", "(CN_CFMACRO1 A [a b x])"},
        {"cfMacro(A, a, b, c, d)", "(CN_CFMACRO A [a b c d])"},
        {"cfMacro2(A, strip = s, a, b, c, d, e)", "(CN_CFMACRO A _ _ _ s [a b c d e])"},
        {"fixed = 1", "(CN_ASSIGN fixed 1)"},
        {"deriv2 = 1", "(CN_ASSIGN deriv2 1)"},
        {"{ a = 1 { b = 2 } }", "(CN_BLOCK [(CN_ASSIGN a 1) (CN_BLOCK [(CN_ASSIGN b 2)])])"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ(c.tree, Stmt(c.text)) << c.text;
        EXPECT_EQ("", err) << c.text;
    }
}

TEST_F(ParsModelTest, DoseVariableOptions) {
    Stmt("dosepoint(A, idosevar = AI, infdosevar = AD, infratevar = AR, split)");
    ASSERT_EQ("", err);
    std::string text = "test() { dosepoint(A, idosevar = X, infdosevar = Y, split) dosepoint2(B, "
                       "infratevar = Z) dosepoint(C) }";
    buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
    char const* p = buffers.back()->c_str();
    N model;
    parsModel(p, model);
    ASSERT_TRUE(model);
    NV const& stmts = model->child2->list;
    ASSERT_EQ(3u, stmts.size());
    ASSERT_TRUE(stmts[0]->doseOption);
    EXPECT_STREQ("X", stmts[0]->doseOption->idosevar);
    EXPECT_STREQ("Y", stmts[0]->doseOption->infdosevar);
    EXPECT_EQ(1, stmts[0]->doseOption->split);
    ASSERT_TRUE(stmts[1]->doseOption);
    EXPECT_STREQ("Z", stmts[1]->doseOption->infratevar);
    EXPECT_EQ(0, stmts[1]->doseOption->split);
    EXPECT_FALSE(stmts[2]->doseOption);
}

TEST_F(ParsModelTest, ForcedDualAndRealNames) {
    EXPECT_EQ("(CN_MODEL (CN_CALL test) (CN_BLOCK))", Stmt("dual_vars(a, b c) real_vars(c)"));
    EXPECT_EQ("", err);
    EXPECT_EQ((std::set<std::string>{"a", "b", "c"}), force_dual);
    EXPECT_EQ((std::set<std::string>{"c"}), force_real);
    // Text that is neither a name, a comma nor ")" is refused rather than read forever.
    Stmt("real_vars(3)");
    EXPECT_NE(std::string::npos, err.find("Error line 2: Expected: ')'"));
    Stmt("dual_vars(a");
    EXPECT_NE(std::string::npos, err.find("Expected: ')'"));
}

TEST_F(ParsModelTest, StatementMessages) {
    struct {
        char const* text;
        char const* msg;
    } const cases[] = {
        {"double x", "Expected: ( <names of double precision variables> )"},
        {"deriv(1 = a)", "Expected: <integrator_variable> = <expr>"},
        {"deriv(a == b)", "Expected: <integrator_variable> = <expr>"},
        {"deriv(a = b, ss)", "Expected 'noss' after comma"},
        {"urinecpt(= b)", "Expected: <urine compartment variable> = <expr>"},
        {"urinecpt(U = b, f = 1)", "Expected: 'fe'"},
        {"urinecpt(U = b, fe <- 1)", "Expected: '='"},
        {"transit(1, m, n)", "Expected: <integrator_variable>"},
        {"transit(T, m)", "Expected: ','"},
        {"transit(T, m, n, in = 1, in = 2)", "Expected: ')'"},
        {"transit(T, m, n, max 3)", "Expected: ')'"},
        {"transit(T, m, n, max = 0)", "maxn parameter must be a whole number >= 1 and <= 1000"},
        {"transit(T, m, n, max = 1001)", "maxn parameter must be a whole number >= 1 and <= 1000"},
        {"transit(T, m, n, max = 2.5)", "maxn parameter must be a whole number >= 1 and <= 1000"},
        {"transit(T, m, n, max = m)", "maxn parameter must be a whole number >= 1 and <= 1000"},
        {"delayInfCpt(D, m, s, dist = Normal)", "Expected: Gamma | Weibull | InverseGaussian"},
        {"delayInfCpt(D, m, s, shape = 2)", "Expected: ')'"},
        {"dosepoint(1)", "Expected: <dosepoint variable name>"},
        {"dosepoint(A, tlag = 1, tlag = 2)", "tlag already specified"},
        {"dosepoint(A, duration = 1, duration = 2)", "duration already specified"},
        {"dosepoint(A, rate = 1, rate = 2)", "rate already specified"},
        {"dosepoint(A, bioavail = 1, bioavail = 2)", "rate already specified"},
        {"dosepoint(A, duration = 2, rate = 3)", "Cannot specify both duration and rate"},
        {"dosepoint2(A, split)", "Expected: tlag|duration|rate|bioavail = <expr>"},
        {"dosepoint(A, lag = 1)", "Expected: tlag|duration|rate|bioavail = <expr>"},
        {"dosepoint(A, idosevar = 1)", "Expected: <initial dose variable name>"},
        {"dosepoint(A, infdosevar = 1)", "Expected: <initial infusion dose variable name>"},
        {"dosepoint(A, infratevar = 1)", "Expected: <initial infusion rate variable name>"},
        {"cfMicro(1)", "Expected: <compartment name>"},
        {"cfMicro(A, first = (1 = k))", "Expected: <depot compartment name>"},
        {"cfMicro(A, first = (Aa k))", "Expected = or <- followed by <rate expression>"},
        {"cfMicro(A, k1, k2, k3, k4)", "requires odd number of arguments, not more than five"},
        {"cfMacro(A, a, b, c)", "requires 5 to 10 arguments"},
        {"cfMacro(A, a, b, c, strip = s)", "requires 5 to 10 arguments"},
        {"cfMacro(A, a, b, c, d, e, f, g, h, i, j)", "requires 5 to 10 arguments"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ("_", Stmt(c.text)) << c.text;
        EXPECT_EQ(0u, err.find("Error line 2: " + std::string(c.msg) + "\n")) << c.text << "\n"
                                                                              << err;
    }
}

// Each bad statement is reported once. Recovery skips to the next statement word, also one
// inside a longer name ("ydosepoint"), so the broken assignment after the first error goes
// unread; a brace group is skipped whole; a "}" ends the block with the error still set.
TEST_F(ParsModelTest, RecoveryReportsOneErrorPerStatement) {
    EXPECT_EQ("_", Model("test() {\n"
                         "  deriv(a = )\n"
                         "  x = 1 + \n"
                         "  ydosepoint(A, rate = 1, rate = 2)\n"
                         "  { deriv(b = ) }\n"
                         "  cfMicro(A, k1, k2)\n"
                         "}\n"));
    EXPECT_EQ("Error line 2: Unrecognized primitive expression\n"
              "  deriv(a = )\n"
              "            ^\n"
              "Error line 4: rate already specified\n"
              "  ydosepoint(A, rate = 1, rate = 2)\n"
              "                              ^\n"
              "Error line 6: requires odd number of arguments, not more than five\n"
              "  cfMicro(A, k1, k2)\n"
              "                   ^\n",
              err);
    EXPECT_TRUE(bFatalError);
    EXPECT_TRUE(IsErrorSet());
    EXPECT_EQ("}\n", rest);
}
