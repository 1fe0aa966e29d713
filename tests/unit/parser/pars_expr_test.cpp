// The expression grammar, text in and tree shape out, and its error messages.
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

namespace {

struct Parsed {
    std::string tree; // DumpTree of the result, or "_" when none
    std::string rest; // text left behind the cursor
    std::string err;  // everything printed on stderr
    N node;
};

class ParsExprTest : public VaroTest {
  protected:
    // Parses 'text' with 'rule' on a zero-padded copy that outlives the nodes' spans.
    template <class Rule> Parsed Run(std::string const& text, Rule rule) {
        buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        Parsed r;
        sErr = nullptr; // as after the recovery of an earlier statement
        testing::internal::CaptureStderr();
        try {
            rule(p, r.node);
        } catch (SyntaxError const&) {
        }
        r.err = testing::internal::GetCapturedStderr();
        r.tree = DumpTree(r.node);
        r.rest = p;
        return r;
    }

    Parsed Expr(std::string const& text, int allowAssign = 0) {
        return Run(text, [&](char const*& p, N& n) { parsExpr(p, n, allowAssign); });
    }

    std::vector<std::unique_ptr<std::string>> buffers;
};

} // namespace

TEST_F(ParsExprTest, PrecedenceAndAssociativity) {
    struct {
        char const* text;
        char const* tree;
    } const cases[] = {
        {"a + b * c", "(CN_ADD a (CN_MUL b c))"},
        {"a - b - c", "(CN_SUB (CN_SUB a b) c)"},
        {"a / b * c", "(CN_MUL (CN_DIV a b) c)"},
        {"2**3**2", "(CN_POW 2 (CN_POW 3 2))"},
        {"2^3^2", "(CN_POW 2 (CN_POW 3 2))"},
        {"-x^2", "(CN_NEG (CN_POW x 2))"},
        {"-2", "(CN_NEG 2)"},
        {"- -x", "(CN_NEG (CN_NEG x))"},
        {"!a && b", "(CN_AND (CN_NOT a) b)"},
        {"2^-3", "(CN_POW 2 -3)"},
        {"a || b && c", "(CN_OR a (CN_AND b c))"},
        {"a && b || c", "(CN_OR (CN_AND a b) c)"},
        {"a + 1 >= b * 2", "(CN_GE (CN_ADD a 1) (CN_MUL b 2))"},
        {"a <= b", "(CN_LE a b)"},
        {"a == b", "(CN_EQ a b)"},
        {"a != b", "(CN_NE a b)"},
        {"a > b", "(CN_GT a b)"},
        {"a < b", "(CN_LT a b)"},
        {"a < -1", "(CN_LT a (CN_NEG 1))"},
        {"a ? b : c ? d : e", "(CN_COND a b (CN_COND c d e))"},
        {"a || b ? c + 1 : d", "(CN_COND (CN_OR a b) (CN_ADD c 1) d)"},
        {"(a + b) * c", "(CN_MUL (CN_ADD a b) c)"},
        {"1.5e-3 * .5", "(CN_MUL 0.0015 0.5)"},
        {"m$x + 1", "(CN_ADD (CN_MEMBER m x) 1)"},
        {"f(a, b)", "(CN_CALL f [a b])"},
        {"f(a b)", "(CN_CALL f [a b])"},
        {"f(,a)", "(CN_CALL f [a])"},
        {"f()", "(CN_CALL f)"},
        {"g ( x ) # comment", "(CN_CALL g [x])"},
        {"mean(x)", "(CN_CV_MEAN x)"},
        {"median(x)", "(CN_CV_MEDIAN x)"},
        {"mean(x+1)", "(CN_CALL mean [(CN_ADD x 1)])"},
        {"mean", "mean"},
        {"mean + 1", "(CN_ADD mean 1)"},
        {"median", "median"},
    };

    for (auto const& c : cases) {
        Parsed r = Expr(c.text);
        EXPECT_EQ(c.tree, r.tree) << c.text;
        EXPECT_EQ("", r.err) << c.text;
        EXPECT_EQ("", r.rest) << c.text;
    }
}

TEST_F(ParsExprTest, ComparisonDoesNotChainAndArrowIsAssignment) {
    Parsed r = Expr("a<b<c");
    EXPECT_EQ("(CN_LT a b)", r.tree);
    EXPECT_EQ("<c", r.rest);

    r = Expr("x<-1", 1);
    EXPECT_EQ("(CN_ASSIGN x 1)", r.tree);
    r = Expr("x = y + 1", 1);
    EXPECT_EQ("(CN_ASSIGN x (CN_ADD y 1))", r.tree);
    r = Expr("x == 1", 1);
    EXPECT_EQ("(CN_EQ x 1)", r.tree);

    r = Expr("(x<-1)", 1);
    EXPECT_EQ("Error line 1: Error: Assignment only allowed at top level\n", r.err);
    r = Expr("x = 1", 0);
    EXPECT_EQ("Error line 1: Error: Assignment only allowed at top level\n", r.err);
    EXPECT_TRUE(bFatalError);
}

TEST_F(ParsExprTest, SyntaxErrors) {
    struct {
        char const* text;
        char const* msg;
    } const cases[] = {
        {"a ? b ? c : d : e", "Expected: : <expr>"},
        {"a ? b", "Expected: : <expr>"},
        {"2^-x", "Unrecognized primitive expression"},
        {"a + ", "Unrecognized primitive expression"},
        {"(a + b", "Expected: ')'"},
        {"delay", "Expected: '('"},
        {"peak", "Expected: '('"},
        {"gammaDelay", "Expected: '('"},
        {"m$1", "Expected: <model member variable>"},
        {"f(a", "Unrecognized primitive expression"},
        {"delay(a)", "Expected: ','"},
        {"delay(a, b, shape = 1, shape = 2)", "Shape already specified"},
        {"delay(a, b, hist = 1, hist = 2)", "Hist already specified"},
        {"delay(a, b, dist = Gamma, dist = Gamma)", "Dist already specified"},
        {"delay(a, b, dist = Normal)", "Expected: Gamma | Weibull | InverseGaussian"},
        {"delay(a, b, dist = 1)", "Expected: Gamma | Weibull | InverseGaussian"},
        {"delay(a, b, numODE = 3)", "Unrecognized argument"},
        {"delay(a, b, shape 3)", "Expected = or <-"},
        {"gammaDelay(a, b, dist = Gamma)", "Unrecognized argument"},
        {"gammaDelay(x, m, numODE=10)", "shape is required"},
        {"gammaDelay(x, m, shape=2)", "numODE is required"},
        {"gammaDelay(x, m, shape=2, shape=3)", "Shape already specified"},
        {"gammaDelay(x, m, shape=2, numODE=3, numODE=4)", "numODE already specified"},
        {"peak(1 = x)", "Expected variable name to receive max/min value"},
        {"peak(y x)", "Expected = or <-"},
        {"peak(y = x, other)", "Expected: ')'"},
    };

    for (auto const& c : cases) {
        Parsed r = Expr(c.text);
        EXPECT_EQ("Error line 1: " + std::string(c.msg) + "\n", r.err) << c.text;
    }
}

TEST_F(ParsExprTest, NumOdeMustBeAWholeLiteralFrom1To400) {
    char const* refused[] = {"401", "0", "2.5", "a", "4*100", "-1"};
    for (char const* n : refused) {
        Parsed r = Expr(std::string("gammaDelay(x, m, shape = 2, numODE = ") + n + ")");
        EXPECT_EQ("Error line 1: The value of numODE must be a natural number between 1 and 400\n",
                  r.err)
            << n;
    }
    for (char const* n : {"1", "400", "20.0"})
        EXPECT_EQ("", Expr(std::string("gammaDelay(x, m, shape = 2, numODE = ") + n + ")").err)
            << n;
}

TEST_F(ParsExprTest, DelayDefaultsAndOptions) {
    EXPECT_EQ("(CN_DELAY x tau 100 0 [Gamma])", Expr("delay(x, tau)").tree);
    EXPECT_EQ("(CN_DELAY x tau (CN_ADD s 1) h [Weibull])",
              Expr("delay(x, tau, dist = Weibull, hist = h, shape = s + 1)").tree);
    EXPECT_EQ("(CN_DELAY x tau 100 0 [InverseGaussian])",
              Expr("delay(x, tau, dist <- InverseGaussian)").tree);
}

// The gamma delay carries its history term and kernel, built when it is parsed, and a number
// that counts up through the whole run.
TEST_F(ParsExprTest, GammaDelayBuildsItsAlgebraAndCounts) {
    Parsed first = Expr("gammaDelay(x, m, shape = s, numODE = 20)");
    ASSERT_EQ("", first.err);
    N g = first.node;
    ASSERT_EQ(4u, g->list.size());
    int n = int(g->list[3]->value);
    std::string expected =
        "(CN_GAMMADELAY x m "
        "(CN_MUL 0 (CN_SUB 1 (CN_CALL gammCDF [t s (CN_DIV m s) "
        "(CN_CALL _lgamm_cached [s])]))) "
        "(CN_MUL (CN_DIV (CN_DIV s m) (CN_CALL exp [(CN_CALL _lgamm_cached [s])])) "
        "(CN_CALL pow [(CN_MUL (CN_DIV s m) t) (CN_SUB s 1)])) "
        "[s 0 20 " +
        std::to_string(n) + "])";
    EXPECT_EQ(expected, first.tree);

    // Shape, mean and the log-gamma call are one node each, shared by the expressions.
    N L = g->child3->child2->child2->list[3];
    EXPECT_EQ(L.get(), g->child4->child1->child2->list[0].get());
    EXPECT_EQ(g->list[0].get(), L->list[0].get());
    EXPECT_EQ(g->child2.get(), g->child3->child2->child2->list[2]->child1.get());

    Parsed second = Expr("gammaDelay(y, m, shape = 2, hist = h, numODE = 1)");
    EXPECT_EQ(n + 1, int(second.node->list[3]->value));
    EXPECT_EQ("h", DumpTree(second.node->child3->child1));
}

TEST_F(ParsExprTest, PeakDirectionAndCondition) {
    EXPECT_EQ("(CN_PEAK y x (CN_NOT true))", Expr("peak(y = x)").tree);
    EXPECT_EQ("(CN_PEAK y x (CN_NOT (CN_GT a b)))", Expr("peak(y = x, max = a > b)").tree);
    EXPECT_EQ("(CN_PEAK y x (CN_GT a b))", Expr("peak(y = x, min = a > b)").tree);
    EXPECT_EQ("(CN_PEAK y x true)", Expr("peak(y = x, min)").tree);
    // The last direction wins; the condition given earlier stays.
    EXPECT_EQ("(CN_PEAK y x (CN_NOT c))", Expr("peak(y = x, min = c, max)").tree);
}

TEST_F(ParsExprTest, ExpressionListAndIdentifierOnly) {
    auto list = [&](std::string const& text, NV& items) {
        return Run(text, [&](char const*& p, N&) { parsExprList(p, items); });
    };
    NV items;
    Parsed r = list("c(1, -2.5, a+b 3)", items);
    EXPECT_EQ("", r.err);
    ASSERT_EQ(4u, items.size());
    EXPECT_EQ("(CN_NEG 2.5)", DumpTree(items[1]));
    EXPECT_EQ("(CN_ADD a b)", DumpTree(items[2]));
    // A span ends where the cursor stood when its rule left: behind the blank that the failed
    // test for a further operator skipped.
    EXPECT_EQ("a+b ", items[2]->pos.get_str());

    NV none;
    r = list("(1, 2)", none);
    EXPECT_EQ("Error line 1: Expected 'c'\n", r.err);
    EXPECT_TRUE(none.empty());
    r = list("c(x = 1)", none);
    EXPECT_EQ("Error line 1: Error: Assignment only allowed at top level\n", r.err);
    r = list("c 1", none);
    EXPECT_EQ("Error line 1: Expected: '('\n", r.err);

    r = Run("  abc + 1", [](char const*& p, N& n) { EXPECT_TRUE(seeLExpr(p, n)); });
    EXPECT_EQ("abc", r.tree);
    EXPECT_EQ(" + 1", r.rest);
    r = Run("  1 + abc", [](char const*& p, N& n) { EXPECT_FALSE(seeLExpr(p, n)); });
    EXPECT_EQ("1 + abc", r.rest);
}

TEST_F(ParsExprTest, NodesCarryTheSpanOfTheirText) {
    Parsed r = Expr("a + b*c");
    EXPECT_EQ("a + b*c", r.node->pos.get_str());
    EXPECT_EQ("b*c", r.node->child2->pos.get_str());
    EXPECT_EQ(1, r.node->pos.iLine);

    r = Expr("(x + 1)^2 + y");
    EXPECT_EQ("(x + 1)", r.node->child1->child1->pos.get_str());
    // A power spans from its left operand's start to its right operand's end.
    EXPECT_EQ("(x + 1)^2", r.node->child1->pos.get_str());

    r = Expr("f(a, g(b))");
    EXPECT_EQ("g(b)", r.node->list[1]->pos.get_str());
}

TEST_F(ParsExprTest, MisspelledFunctionCallsWarn) {
    Parsed r = Expr("Exp(x) + DELAY(y) + foo(z)");
    EXPECT_EQ("Warning: Is 'Exp' a misspelling of 'exp'? \r\n"
              "Warning: Is 'DELAY' a misspelling of 'delay'? \r\n",
              r.err);
    EXPECT_FALSE(bFatalError);
}

// Text nested deeper than the parser takes is refused with an error, not a crash.
TEST_F(ParsExprTest, DeepNestingIsRefused) {
    std::string deep(100000, '(');
    Parsed r = Expr(deep + "x");
    EXPECT_EQ("Error line 1: Expression nested too deeply\n", r.err);

    std::string chain = "x";
    for (int i = 0; i < 5000; i++)
        chain += "+x";
    EXPECT_EQ("Error line 1: Expression nested too deeply\n", Expr(chain).err);
    EXPECT_EQ("Error line 1: Expression nested too deeply\n",
              Expr(std::string(5000, '-') + "x").err);

    std::string fine(300, '(');
    r = Expr(fine + "x" + std::string(300, ')'));
    EXPECT_EQ("", r.err);
    EXPECT_EQ("x", r.tree);
}

TEST_F(ParsExprTest, UnitExpressions) {
    auto unit = [&](std::string const& text) {
        return Run(text, [](char const*& p, N& n) { parsUnitExpr(p, n); });
    };
    EXPECT_EQ("(CN_UNIT_DIV (CN_UNIT_MUL (CN_UNIT_NAME mg) (CN_UNIT_NAME L)) (CN_UNIT_NAME h))",
              unit("mg * L / h").tree);
    EXPECT_EQ("(CN_UNIT_DIV (CN_UNIT_NAME mg) (CN_UNIT_MUL (CN_UNIT_NAME L) (CN_UNIT_NAME h)))",
              unit("mg/(L*h)").tree);
    EXPECT_EQ("(CN_UNIT_DIV -1 (CN_UNIT_NAME h))", unit("-1/h").tree);
    Parsed r = unit("mg + L");
    EXPECT_EQ("(CN_UNIT_NAME mg)", r.tree);
    EXPECT_EQ("+ L", r.rest);

    r = unit("mg / +");
    EXPECT_EQ("Error line 1: Expected units\n", r.err);
    r = unit("(mg");
    EXPECT_EQ("Error line 1: Expected: ')'\n", r.err);
}

TEST_F(ParsExprTest, UnitsBlock) {
    auto units = [&](std::string const& text) {
        return Run(text, [](char const*& p, N& n) { parsUnits(p, n); });
    };
    Parsed r = units("{ ; A = mg ; m$V <- L;; t = h }");
    EXPECT_EQ("", r.err);
    EXPECT_EQ("(CN_UNITS [(CN_ASSIGN A (CN_UNIT_NAME mg)) "
              "(CN_ASSIGN (CN_MEMBER m V) (CN_UNIT_NAME L)) (CN_ASSIGN t (CN_UNIT_NAME h))])",
              r.tree);

    struct {
        char const* text;
        char const* err;
    } const bad[] = {
        {"A = mg", "Error line 1: Expected: '{'\n"},
        {"{ 1 = mg }", "Error line 1: Expected: id\n"},
        {"{ m$ = mg }", "Error line 1: Expected: model member\n"},
        {"{ A mg }", "Error line 1: Expected = or <- followed by units \n"},
        {"{ A = mg B = + }", "Error line 1: Expected units\n"},
    };

    for (auto const& c : bad)
        EXPECT_EQ(c.err, units(c.text).err) << c.text;
    // An error in a right side keeps the statements read so far.
    r = units("{ A = mg; B = * }");
    EXPECT_EQ("(CN_UNITS [(CN_ASSIGN A (CN_UNIT_NAME mg))])", r.tree);
}
