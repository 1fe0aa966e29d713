// Tests of equation solving: each inversion by shape, the failures and the message of an
// unknown function, and a round trip through random invertible expressions.
#include "tree_eval.h"
#include "varo5_test.h"

#include <cmath>

using namespace tree_text;

// "text = r" solved for X.
TEST_F(VaroTest, SolveForRules) {
    struct {
        char const* text;
        char const* expect;
    } const cases[] = {
        {"X + 1", "(CN_SUB r 1)"},
        {"1 + X", "(CN_SUB r 1)"},
        {"1 - X", "(CN_SUB 1 r)"},
        {"X - 1", "(CN_ADD r 1)"},
        {"2 * X", "(CN_DIV r 2)"},
        {"X / 2", "(CN_MUL r 2)"},
        {"2 / X", "(CN_DIV 2 r)"},
        {"-X", "(CN_NEG r)"},
        {"exp(X)", "(CN_CALL log [r])"},
        {"log(X)", "(CN_CALL exp [r])"},
        {"ln(X)", "(CN_CALL exp [r])"},
        {"sqrt(X)", "(CN_MUL r r)"},
        {"Y", "r"},
        {"2 * (1 - exp(X / K))", "(CN_MUL (CN_CALL log [(CN_SUB 1 (CN_DIV r 2))]) K)"},
        // A use of X under a power is not seen: the solver goes for the other one.
        {"X ^ 2 + X", "(CN_SUB r (CN_POW X 2))"},
        {"X * X", "_"},
        {"X + X", "_"},
        {"X - X", "_"},
        {"X / X", "_"},
        {"X ^ 2", "_"},
        {"3", "_"},
        {"Y + 1", "_"},
        {"exp()", "_"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        N t = ParseExpr(c.text);
        std::string const before = Text(t);
        testing::internal::CaptureStdout();
        N s = t->SolveFor(Var("r"), "X");
        EXPECT_EQ("", testing::internal::GetCapturedStdout());
        EXPECT_EQ(c.expect, Text(s));
        EXPECT_EQ(before, Text(t));
    }
    // The variable copies what was built on the way down, so the result shares no node.
    N t = ParseExpr("sqrt(2 * X + 1)"), r = Var("r");
    N s = t->SolveFor(r, "X");
    EXPECT_EQ("(CN_DIV (CN_SUB (CN_MUL r r) 1) 2)", Text(s));
    EXPECT_FALSE(ShareNodes(s, t) || ShareNodes(s, r));
}

TEST_F(VaroTest, SolveForUnknownFunctionPrintsAndFails) {
    struct {
        N tree;
        char const* out;
    } const cases[] = {
        {ParseExpr("2 * foo(X + 1)"),
         "Expression 'foo(X + 1)' cannot be solved for 'X': 'foo' is not allowed."},
        {Call("bar", {Var("X")}), "Expression '' cannot be solved for 'X': 'bar' is not allowed."},
    };

    for (auto const& c : cases) {
        testing::internal::CaptureStdout();
        N s = c.tree->SolveFor(Var("r"), "X");
        EXPECT_EQ(c.out, testing::internal::GetCapturedStdout());
        EXPECT_EQ(nullptr, s);
    }
}

namespace {

// Random expressions that hold x once, not under a power: x wrapped in invertible steps
// whose other operands are free of x.
class PathGen : public RandomPicks {
  public:
    using RandomPicks::RandomPicks;

    N Other() {
        static double const nums[] = {2, 3, 0.5, -1.5};
        switch (Pick(4)) {
            case 0: return Var("y");
            case 1: return Pow(Var("y"), Num(2));
            case 2: return Add(Var("y"), Num(1));
            default: return Num(nums[Pick(4)]);
        }
    }

    N Step(N in) {
        switch (Pick(13)) {
            case 0: return Add(in, Other());
            case 1: return Add(Other(), in);
            case 2: return Sub(in, Other());
            case 3: return Sub(Other(), in);
            case 4: return Mul(in, Other());
            case 5: return Mul(Other(), in);
            case 6: return Div(in, Other());
            case 7: return Div(Other(), in);
            case 8: return Neg(in);
            case 9: return Call("exp", {in});
            case 10: return Call("log", {in});
            case 11: return Call("ln", {in});
            default: return Call("sqrt", {in});
        }
    }

    N Gen(int steps) {
        N t = Var("x");
        for (int i = 0; i < steps; i++)
            t = Step(t);
        return t;
    }
};

} // namespace

// The solution of "f = r", taken at r = f(x0), gives back x0 wherever f is defined at x0.
TEST_F(VaroTest, SolveForRoundTrip) {
    PathGen gen(20240613);
    int compared = 0;
    for (int i = 0; i < 1000; i++) {
        N t = gen.Gen(1 + gen.Pick(4));
        SCOPED_TRACE(Text(t));
        N s = t->SolveFor(Var("r"), "x");
        ASSERT_NE(nullptr, s);
        Evaluator at;
        double const x0 = gen.Uniform(-2.5, 2.5);
        at.vars = {{"x", x0}, {"y", gen.Uniform(0.5, 2)}};
        double const r = at.Eval(t);
        if (!std::isfinite(r) || at.nearPole || fabs(r) > 1e6) continue;
        compared++;
        at.vars = {{"y", at.vars["y"]}, {"r", r}};
        EXPECT_NEAR(x0, at.Eval(s), 1e-6 * (1 + fabs(x0)));
    }
    EXPECT_GE(compared, 600);
}
