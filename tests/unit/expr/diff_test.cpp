// Tests of differentiation: the rules by the shape of their results, raw and simplified, the
// failures with and without throwing, and a property test against central differences.
#include "tree_eval.h"
#include "varo5_test.h"

#include <cmath>

using namespace tree_text;

namespace {

struct DiffCase {
    char const* text;
    char const* raw;  // the shape from Diff, or nullptr when only the simplified one matters
    char const* simp; // after Simp; "_" when there is no derivative
    bool throws = true;
};

} // namespace

// By X, with K and M constant and A depending on X.
TEST_F(VaroTest, DiffRules) {
    DiffCase const cases[] = {
        {"3", "0", "0"},
        {"K", "0", "0"},
        {"M + X", "(CN_ADD 0 1)", "1"},
        {"X + X", "(CN_ADD 1 1)", "2"},
        {"M - X", "(CN_SUB 0 1)", "-1"},
        {"-X", "(CN_NEG 1)", "-1"},
        {"X * X", "(CN_ADD (CN_MUL X 1) (CN_MUL X 1))", "(CN_ADD X X)"},
        {"1 / X", "(CN_DIV (CN_SUB (CN_MUL X 0) (CN_MUL 1 1)) (CN_MUL X X))",
         "(CN_DIV -1 (CN_MUL X X))"},
        {"M / X", nullptr, "(CN_DIV (CN_NEG M) (CN_MUL X X))"},
        {"X / M", nullptr, "(CN_DIV 1 M)"},
        {"exp(K * X)", "(CN_MUL (CN_CALL exp [(CN_MUL K X)]) (CN_ADD (CN_MUL X 0) (CN_MUL K 1)))",
         "(CN_MUL (CN_CALL exp [(CN_MUL K X)]) K)"},
        {"log(K * X)", "(CN_DIV (CN_ADD (CN_MUL X 0) (CN_MUL K 1)) (CN_MUL K X))", "(CN_DIV 1 X)"},
        {"ln(X)", "(CN_DIV 1 X)", "(CN_DIV 1 X)"},
        {"sqrt(X)", "(CN_MUL (CN_MUL 0.5 (CN_POW X -0.5)) 1)", "(CN_MUL 0.5 (CN_POW X -0.5))"},
        {"A", "_A_X", "_A_X"},
        {"A * X", nullptr, "(CN_ADD (CN_MUL X _A_X) A)"},
        {"foo(K)", "0", "0"},
        {"foo(X)", "_", "_"},
        {"K ? 1 : 2", "(CN_COND K 0 0)", "0"},
        {"X > 3 ? X : 1", "_", "_"},
        {"mean(X) + median(X)", "(CN_ADD 0 0)", "0"},
        {"K < K", "0", "0"},
        {"X < K", "_", "_"},
        {"!X", "_", "_"},
        {"K ^ X", "(CN_MUL (CN_CALL log [K]) (CN_MUL (CN_POW K X) 1))",
         "(CN_MUL (CN_CALL log [K]) (CN_POW K X))"},
        {"Y ^ X", nullptr, "(CN_MUL (CN_CALL log [Y]) (CN_POW Y X))"},
        {"X ^ K", "(CN_MUL (CN_MUL K (CN_POW X (CN_SUB K 1))) 1)",
         "(CN_MUL K (CN_POW X (CN_SUB K 1)))"},
        {"X ^ 2", nullptr, "(CN_MUL 2 X)"},
        {"X ^ X", "_", "_"},
        // X under a power is not seen by the tests of a power's parts and of unknown calls.
        {"(X ^ 2) ^ 3", "0", "0"},
        {"foo(X ^ 2)", "0", "0"},
        // Without throwing, what has no derivative gives 1.
        {"X < K", "1", "1", false},
        {"K < K", "1", "1", false},
        {"X > 3 ? X : 1", "1", "1", false},
        {"foo(X) + X ^ X", "(CN_ADD 1 1)", "2", false},
    };
    SV const consts = {"K", "M"}, deps = {"A"};
    for (DiffCase const& c : cases) {
        SCOPED_TRACE(c.text);
        N t = ParseExpr(c.text);
        throw_diff_exception = c.throws;
        N d = t->Diff("X", consts, deps);
        throw_diff_exception = true;
        if (c.raw) {
            EXPECT_EQ(c.raw, Text(d));
        }
        int iFail = 0;
        EXPECT_EQ(c.simp, d ? Text(d->Simp(iFail)) : "_");
        EXPECT_EQ(0, iFail);
    }
    // A kind without a rule fails whatever the flag.
    throw_diff_exception = false;
    EXPECT_EQ("_", Text(Assign(Var("Y"), Var("X"))->Diff("X")));
    throw_diff_exception = true;
    // The short forms: no constants, then no names that depend on X.
    N cond = ParseExpr("K ? A : 2");
    EXPECT_EQ("_", Text(cond->Diff("X")));
    EXPECT_EQ("(CN_COND K 0 0)", Text(cond->Diff("X", {"K"})));
    // A part of a power listed as constant is fixed, though X is in it.
    EXPECT_EQ("0", Text(ParseExpr("X ^ 2")->Diff("X", {"X"})));
}

namespace {

// Random trees over x (the variable), y (a free name) and k (a name listed as constant),
// with powers whose parts hold no power and never hold x both, and with the arguments of log
// and sqrt and the bases of fractional powers positive where the names are.
class DiffTreeGen : public RandomPicks {
  public:
    using RandomPicks::RandomPicks;

    N Name(bool x) { return Var(x && Pick(2) ? "x" : Pick(2) ? "y" : "k"); }

    N Gen(int depth, bool x, bool pow) {
        static double const nums[] = {0, 1, -1, 2, 3, 0.5};
        if (depth == 0 || Pick(6) == 0) return Pick(3) ? Name(x) : Num(nums[Pick(6)]);
        int const d = depth - 1;
        switch (Pick(pow ? 10 : 9)) {
            case 0: return Add(Gen(d, x, pow), Gen(d, x, pow));
            case 1: return Sub(Gen(d, x, pow), Gen(d, x, pow));
            case 2: return Mul(Gen(d, x, pow), Gen(d, x, pow));
            case 3: return Div(Gen(d, x, pow), Gen(d, x, pow));
            case 4: return Neg(Gen(d, x, pow));
            case 5: return Call("exp", {Gen(d, x, pow)});
            case 6: return Call(Pick(2) ? "log" : "ln", {Positive(d, x, pow)});
            case 7: return Call("sqrt", {Positive(d, x, pow)});
            case 8: return Positive(depth, x, pow);
            default: return Power(d, x);
        }
    }

    N Positive(int depth, bool x, bool pow) {
        static double const nums[] = {0.5, 1, 2, 3};
        if (depth == 0 || Pick(4) == 0) return Pick(3) ? Name(x) : Num(nums[Pick(4)]);
        int const d = depth - 1;
        switch (Pick(5)) {
            case 0: return Add(Positive(d, x, pow), Positive(d, x, pow));
            case 1: return Mul(Positive(d, x, pow), Positive(d, x, pow));
            case 2: return Div(Positive(d, x, pow), Positive(d, x, pow));
            case 3: return Call("exp", {Gen(d, x, pow)});
            default: return Call("sqrt", {Positive(d, x, pow)});
        }
    }

    // An integer power of anything, a fractional or x-free power of a positive base, or an
    // x-free positive base to any power.
    N Power(int d, bool x) {
        static double const whole[] = {2, 3, -1, -2}, frac[] = {0.5, 1.5, -0.5};
        switch (Pick(4)) {
            case 0: return Pow(Gen(d, x, false), Num(whole[Pick(4)]));
            case 1: return Pow(Positive(d, x, false), Num(frac[Pick(3)]));
            case 2: return Pow(Positive(d, x, false), Gen(d, false, false));
            default: return Pow(Positive(d, false, false), Gen(d, x, false));
        }
    }
};

// The slope of 't' by x at the point of 'at': central differences with one Richardson step,
// at two step sizes. NaN near the edge of a domain, and where the two don't agree, as on a
// steep or kinked stretch.
double Slope(cn const& t, Evaluator at) {
    double const x = at.vars["x"];
    auto central = [&](double h) {
        at.vars["x"] = x + h;
        double const up = at.Eval(t);
        at.vars["x"] = x - h;
        return (up - at.Eval(t)) / (2 * h);
    };
    auto richardson = [&](double h) { return (4 * central(h / 2) - central(h)) / 3; };
    double const h = 1e-3 * (1 + fabs(x));
    double const coarse = richardson(h), fine = richardson(h / 2);
    if (at.nearPole || !(fabs(coarse - fine) <= 1e-7 * fabs(fine) + 1e-11 * at.scale)) return NAN;
    return fine;
}

::testing::AssertionResult SameSlope(cn const& d, Evaluator at, double slope, double scale) {
    double const got = at.Eval(d);
    double const tol = 1e-6 * fabs(slope) + 1e-10 * std::max(scale, at.scale);
    if (fabs(got - slope) <= tol) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << Text(d) << " gives " << got << ", not " << slope;
}

} // namespace

// The derivative by x of random trees, raw and simplified, has the slope that central
// differences find at random points.
TEST_F(VaroTest, DiffMatchesCentralDifferences) {
    DiffTreeGen gen(20240612);
    int trees = 0, compared = 0, plain = 0;
    for (; trees < 2500; trees++) {
        N t = gen.Gen(4, true, true);
        SCOPED_TRACE(Text(t));
        N d = t->Diff("x", {"k"});
        ASSERT_NE(nullptr, d);
        EXPECT_FALSE(ShareNodes(t, d));
        int iFail = 0;
        N s = d->Simp(iFail);
        if (IsPlainlyDifferentiable(t.get())) { // the quick answer of the dual decision
            plain++;
            EXPECT_FALSE(d->SimpCanFail());
            EXPECT_FALSE(t->Diff("y")->SimpCanFail());
        }
        bool seen = false;
        for (int k = 0; k < 3; k++) {
            Evaluator at;
            at.margin = 0.05;
            at.vars = {{"x", gen.Uniform(0.2, 2.5)},
                       {"y", gen.Uniform(0.2, 2.5)},
                       {"k", gen.Uniform(0.2, 2.5)}};
            double const slope = Slope(t, at);
            Evaluator probe = at;
            double const f = probe.Eval(t);
            if (!std::isfinite(slope) || !std::isfinite(f) || probe.nearPole) continue;
            seen = true;
            EXPECT_TRUE(SameSlope(d, at, slope, probe.scale)) << "raw";
            if (!iFail) {
                EXPECT_TRUE(SameSlope(s, at, slope, probe.scale)) << "simplified";
            }
        }
        compared += seen;
    }
    EXPECT_GE(compared, 2000) << "of " << trees << " trees";
    EXPECT_GT(plain, 100);
    N x = Var("x"), y = Var("y");
    for (N const& t : {Div(x, y), Pow(x, Num(2)), Call("log", {x}), Call("sqrt", {x}),
                       Call("exp", {x, y}), Call("abs", {x})})
        EXPECT_FALSE(IsPlainlyDifferentiable(t.get())) << Text(t);
}
