// Tests of the simplifier: every rule group of Simp with its undefined cases, the failure
// contract and its quick test, the depth limit, ElevateSum and GetLog by shape, and a property test
// that Simp and ElevateSum keep the value of random expressions.
#include "expr/expr.h"
#include "tree_eval.h"
#include "varo5_test.h"

#include <cmath>
#include <functional>

using namespace tree_text;

namespace {

struct ShapeCase {
    char const* what;
    N tree;
    char const* expect;
    int iFail = 0;
};

// Applies 'op' to each case from a clean 'iFail'; the input must come out unchanged and
// unshared.
void CheckShapes(std::vector<ShapeCase> const& cases, std::function<N(cn const&, int&)> op) {
    for (ShapeCase const& c : cases) {
        SCOPED_TRACE(c.what);
        std::string const before = Text(c.tree);
        int iFail = 0;
        N r = op(c.tree, iFail);
        EXPECT_EQ(c.expect, Text(r));
        EXPECT_EQ(c.iFail, iFail);
        EXPECT_EQ(before, Text(c.tree));
        EXPECT_FALSE(ShareNodes(c.tree, r));
    }
}

N Simp(cn const& t, int& iFail) {
    return t->Simp(iFail);
}

N K() {
    return Var("K");
}

N X() {
    return Var("X");
}

N Y() {
    return Var("Y");
}

} // namespace

// One case per rule, in the order of the rules of each kind, and the cases at their edges.
TEST_F(VaroTest, SimpRules) {
    CheckShapes(
        {
            {"X + 0", Add(X(), Num(0)), "X"},
            {"0 + X", Add(Num(0), X()), "X"},
            {"2 + 3", Add(Num(2), Num(3)), "5"},
            {"X + X", Add(X(), X()), "(CN_ADD X X)"},
            {"X - 0", Sub(X(), Num(0)), "X"},
            {"0 - X", Sub(Num(0), X()), "(CN_NEG X)"},
            {"0 - 2", Sub(Num(0), Num(2)), "-2"},
            {"0 - (0 - 2): the negation goes through the rules", Sub(Num(0), Sub(Num(0), Num(2))),
             "2"},
            {"5 - 3", Sub(Num(5), Num(3)), "2"},
            {"X - X", Sub(X(), X()), "0"},
            {"(X + 1) - 1: one pass only", Sub(Add(X(), Num(1)), Num(1)),
             "(CN_SUB (CN_ADD X 1) 1)"},
            {"0 * X", Mul(Num(0), X()), "0"},
            {"X * 0", Mul(X(), Num(0)), "0"},
            {"X * 1 * 1", Mul(Mul(X(), Num(1)), Num(1)), "X"},
            {"1 * X", Mul(Num(1), X()), "X"},
            {"X * -1", Mul(X(), Num(-1)), "(CN_NEG X)"},
            {"-1 * X", Mul(Num(-1), X()), "(CN_NEG X)"},
            {"2 * -1: no fold", Mul(Num(2), Num(-1)), "(CN_NEG 2)"},
            {"2 * 3", Mul(Num(2), Num(3)), "6"},
            {"X * (1 / Y)", Mul(X(), Div(Num(1), Y())), "(CN_DIV X Y)"},
            {"(1 / Y) * X", Mul(Div(Num(1), Y()), X()), "(CN_MUL (CN_DIV 1 Y) X)"},
            {"0 / 0", Div(Num(0), Num(0)), "0"},
            {"X / 0", Div(X(), Num(0)), "(CN_DIV X 0)", 1},
            {"2 / (X - X): unsimplified copy", Div(Num(2), Sub(X(), X())),
             "(CN_DIV 2 (CN_SUB X X))", 1},
            {"X / 1", Div(X(), Num(1)), "X"},
            {"6 / 3", Div(Num(6), Num(3)), "2"},
            {"X / X", Div(X(), X()), "1"},
            {"K / (K * X)", Div(K(), Mul(K(), X())), "(CN_DIV 1 X)"},
            {"K / (X * K)", Div(K(), Mul(X(), K())), "(CN_DIV 1 X)"},
            {"(K * X) / K", Div(Mul(K(), X()), K()), "X"},
            {"(X * K) / K", Div(Mul(X(), K()), K()), "X"},
            {"-(-X)", Neg(Neg(X())), "(CN_NEG (CN_NEG X))"},
            {"-(0): no negative zero", Neg(Num(0)), "0"},
            {"-(2)", Neg(Num(2)), "-2"},
            {"X ^ 0", Pow(X(), Num(0)), "1"},
            {"0 ^ 0", Pow(Num(0), Num(0)), "1"},
            {"X ^ 1", Pow(X(), Num(1)), "X"},
            {"0 ^ -1", Pow(Num(0), Num(-1)), "(CN_POW 0 -1)", 1},
            {"0 ^ X", Pow(Num(0), X()), "0"},
            {"1 ^ X", Pow(Num(1), X()), "1"},
            {"2 ^ 3", Pow(Num(2), Num(3)), "8"},
            {"1 ? X : 3", Cond(Num(1), X(), Num(3)), "X"},
            {"0 ? X : K", Cond(Num(0), X(), K()), "K"},
            {"K ? X : X", Cond(K(), X(), X()), "X"},
            {"K ? X + 0 : X", Cond(K(), Add(X(), Num(0)), X()), "X"},
            {"K ? X : Y", Cond(K(), X(), Y()), "(CN_COND K X Y)"},
            {"exp(log(X))", Call("exp", {Call("log", {X()})}), "X"},
            {"exp(ln(X))", Call("exp", {Call("ln", {X()})}), "X"},
            {"log(exp(X))", Call("log", {Call("exp", {X()})}), "X"},
            {"exp(0)", Call("exp", {Num(0)}), "1"},
            {"log(1)", Call("log", {Num(1)}), "0"},
            {"sqrt(4)", Call("sqrt", {Num(4)}), "2"},
            {"sqrt(X + 0)", Call("sqrt", {Add(X(), Num(0))}), "(CN_CALL sqrt [(CN_ADD X 0)])"},
            {"foo(1 + 1)", Call("foo", {Add(Num(1), Num(1))}), "(CN_CALL foo [(CN_ADD 1 1)])"},
            {"exp(X + 0)", Call("exp", {Add(X(), Num(0))}), "(CN_CALL exp [X])"},
            {"exp(X, Y): x alone", Call("exp", {X(), Y()}), "(CN_CALL exp [X])"},
            {"exp(foo(X))", Call("exp", {Call("foo", {X()})}), "(CN_CALL exp [(CN_CALL foo [X])])"},
            {"exp()", Call("exp", {}), "(CN_CALL exp)"},
        },
        Simp);
}

// Kinds without rules come back as written, while a failure below them still counts; a
// failure stops the rules above it, and a failure already set stops every rule.
TEST_F(VaroTest, SimpKeepsKindsWithoutRulesAndPassesFailureUp) {
    CheckShapes(
        {
            {"(1 + 1) > X", Op(CN_GT, Add(Num(1), Num(1)), X()), "(CN_GT (CN_ADD 1 1) X)"},
            {"0 * (X / 0)", Mul(Num(0), Div(X(), Num(0))), "(CN_MUL 0 (CN_DIV X 0))", 1},
            {"foo(X / 0)", Call("foo", {Div(X(), Num(0))}), "(CN_CALL foo [(CN_DIV X 0)])", 1},
            {"(X / 0) > 1", Op(CN_GT, Div(X(), Num(0)), Num(1)), "(CN_GT (CN_DIV X 0) 1)", 1},
            {"1 ? 2 : 0 ^ -1", Cond(Num(1), Num(2), Pow(Num(0), Num(-1))),
             "(CN_COND 1 2 (CN_POW 0 -1))", 1},
        },
        Simp);
    int iFail = 1;
    EXPECT_EQ("(CN_ADD X 0)", Text(Add(X(), Num(0))->Simp(iFail)));
    EXPECT_EQ(1, iFail);
}

// Folds that give NaN are not failures; a NaN test picks the then-branch.
TEST_F(VaroTest, SimpNaNFolds) {
    int iFail = 0;
    N nan = Call("sqrt", {Num(-1)});
    for (N const& t : {Pow(Sub(Num(0), Num(1)), Num(0.5)), nan, Call("log", {Num(-1)}),
                       Sub(nan, Num(1)), Sub(nan, nan->Copy())}) {
        N r = t->Simp(iFail);
        EXPECT_EQ(CN_NUM, r->type) << Text(t);
        EXPECT_TRUE(std::isnan(r->value)) << Text(t);
    }
    EXPECT_EQ("X", Text(Cond(nan, X(), Y())->Simp(iFail)));
    EXPECT_EQ(0, iFail);
}

// The result has the position of the node it stands for; new nodes carry no units, while a
// fold keeps those of the operand it was written into and a kept node keeps its own.
TEST_F(VaroTest, SimpPositionsAndUnits) {
    N sum = Add(X(), Num(0));
    sum->pos.iLine = 7;
    sum->child1->pos.iLine = 3;
    int iFail = 0;
    EXPECT_EQ(7, sum->Simp(iFail)->pos.iLine);

    N prod = Mul(X(), Y());
    prod->units = Var("mg");
    EXPECT_EQ(nullptr, prod->Simp(iFail)->units);

    N fold = Add(Num(2), Num(3));
    fold->child1->units = Var("h");
    N folded = fold->Simp(iFail);
    EXPECT_EQ("5", Text(folded));
    EXPECT_EQ("h", Text(folded->units));

    N cmp = Op(CN_GT, X(), Y());
    cmp->units = Var("1");
    EXPECT_EQ("1", Text(cmp->Simp(iFail)->units));
    EXPECT_EQ(0, iFail);
}

// The depth limit counts nodes on the path from the root and throws the integer 1; the
// count goes back down on every way out, a failure included.
TEST_F(VaroTest, SimpDepthLimit) {
    N deep = Add(Add(X(), Num(1)), Num(2));    // three levels
    N failing = Add(Div(X(), Num(0)), Num(2)); // three levels, fails at the second
    int iFail = 0;
    SetMaxTreeDepth(3);
    for (int i = 0; i < 10; i++) {
        EXPECT_NO_THROW(deep->Simp(iFail));
        EXPECT_NO_THROW(failing->Simp(iFail));
    }
    SetMaxTreeDepth(2);
    int thrown = 0;
    try {
        deep->Simp(iFail);
    } catch (int e) {
        thrown = e;
    }
    EXPECT_TRUE(Add(X(), Num(1))->SimpCanFail()); // a limit may throw on any tree
    SetMaxTreeDepth(0);
    EXPECT_FALSE(Add(X(), Num(1))->SimpCanFail());
    EXPECT_EQ(1, thrown);
    EXPECT_EQ("(CN_ADD (CN_ADD X 1) 2)", Text(deep->Simp(iFail)));
}

TEST_F(VaroTest, ElevateSumAndGetLogShapes) {
    N a = Var("a"), b = Var("b"), c = Var("c"), d = Var("d");
    CheckShapes(
        {
            {"a * (b + c)", Mul(a, Add(b, c)), "(CN_ADD (CN_MUL a b) (CN_MUL a c))"},
            {"(a + b) * c", Mul(Add(a, b), c), "(CN_ADD (CN_MUL a c) (CN_MUL b c))"},
            {"(a + b) * (c + d)", Mul(Add(a, b), Add(c, d)),
             "(CN_ADD (CN_ADD (CN_MUL a c) (CN_MUL b c)) (CN_ADD (CN_MUL a d) (CN_MUL b d)))"},
            {"a * (b * (c + d)): no look inside", Mul(a, Mul(b, Add(c, d))),
             "(CN_MUL a (CN_MUL b (CN_ADD c d)))"},
            {"(a - b) / c", Div(Sub(a, b), c), "(CN_SUB (CN_DIV a c) (CN_DIV b c))"},
            {"c / (a + b)", Div(c, Add(a, b)), "(CN_DIV 1 (CN_ADD (CN_DIV a c) (CN_DIV b c)))"},
            {"1 / (a + b * (c + d))", Div(Num(1), Add(a, Mul(b, Add(c, d)))),
             "(CN_DIV 1 (CN_ADD a (CN_ADD (CN_MUL b c) (CN_MUL b d))))"},
            {"1 / (a * (b + c))", Div(Num(1), Mul(a, Add(b, c))),
             "(CN_DIV 1 (CN_MUL a (CN_ADD b c)))"},
            {"a / b", Div(a, b), "(CN_DIV a b)"},
            {"a - b * (c + d)", Sub(a, Mul(b, Add(c, d))),
             "(CN_SUB a (CN_ADD (CN_MUL b c) (CN_MUL b d)))"},
            {"(a * (b + c)) ^ 2", Pow(Mul(a, Add(b, c)), Num(2)),
             "(CN_POW (CN_MUL a (CN_ADD b c)) 2)"},
        },
        [](cn const& t, int&) { return t->ElevateSum(); });
    CheckShapes(
        {
            {"a * exp(b) / c", Div(Mul(a, Call("exp", {b})), c),
             "(CN_SUB (CN_ADD (CN_CALL log [a]) b) (CN_CALL log [c]))"},
            {"a ^ 2", Pow(a, Num(2)), "(CN_MUL (CN_CALL log [a]) 2)"},
            {"(a * b) ^ c", Pow(Mul(a, b), c),
             "(CN_MUL (CN_ADD (CN_CALL log [a]) (CN_CALL log [b])) c)"},
            {"exp(a + b)", Call("exp", {Add(a, b)}), "(CN_ADD a b)"},
            {"a + b", Add(a, b), "(CN_CALL log [(CN_ADD a b)])"},
            {"exp()", Call("exp", {}), "(CN_CALL log [(CN_CALL exp)])"},
        },
        [](cn const& t, int&) { return t->GetLog(); });
}

namespace {

// Random arithmetic trees over x, y, z with small constants that trigger the rules (0, 1,
// -1), and now and then the same sub-tree on both sides of an operator.
class TreeGen : public RandomPicks {
  public:
    using RandomPicks::RandomPicks;

    N Leaf() {
        static char const* const names[] = {"x", "y", "z"};
        static double const nums[] = {0, 1, -1, 2, 3, 0.5};
        return Pick(2) ? Var(names[Pick(3)]) : Num(nums[Pick(6)]);
    }

    N Binary(CNodeType type, int depth) {
        N a = Gen(depth - 1);
        return Op(type, a, Pick(6) == 0 ? a->Copy() : Gen(depth - 1));
    }

    N Gen(int depth) {
        static char const* const fns[] = {"exp", "log", "ln", "sqrt"};
        static double const exponents[] = {0, 1, 2, 3, -1, 0.5};
        static CNodeType const ops[] = {CN_ADD, CN_SUB, CN_MUL, CN_DIV};
        if (depth == 0 || Pick(5) == 0) return Leaf();
        int const k = Pick(10);
        switch (k) {
            case 4: return Neg(Gen(depth - 1));
            case 5: return Pow(Gen(depth - 1), Pick(5) ? Num(exponents[Pick(6)]) : Leaf());
            case 6: return Cond(Leaf(), Gen(depth - 1), Gen(depth - 1));
            case 7: return Call(fns[Pick(4)], {Gen(depth - 1)});
            case 8: return Mul(Gen(depth - 1), Div(Num(1), Gen(depth - 1)));
            case 9: return Binary(Pick(2) ? CN_MUL : CN_ADD, depth);
            default: return Binary(ops[k], depth);
        }
    }
};

// Whether 'rewritten' has the value of the input ('expect', evaluated with scale 'scale') at
// the point of 'ev'; true also when a divisor of 'rewritten' comes near zero there.
::testing::AssertionResult SameValue(cn const& rewritten, Evaluator ev, double expect,
                                     double scale) {
    double const got = ev.Eval(rewritten);
    if (ev.nearPole) return ::testing::AssertionSuccess();
    double const tol = 1e-9 * (1 + std::max(scale, ev.scale));
    if (std::fabs(got - expect) <= tol) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << Text(rewritten) << " gives " << got << ", not " << expect;
}

} // namespace

// Simp and ElevateSum keep the value of random expressions at random points, unless Simp
// reported failure, in which case it must give back the input itself.
TEST_F(VaroTest, SimpAndElevateSumKeepValues) {
    TreeGen gen(20240611);
    int compared = 0, failures = 0, attempts = 0, cleared = 0;
    for (int i = 0; i < 400; i++) {
        N t = gen.Gen(4);
        SCOPED_TRACE(Text(t));
        int iFail = 0;
        N s = t->Simp(iFail);
        N e = t->ElevateSum();
        if (iFail) {
            failures++;
            EXPECT_TRUE(s->Equal(t));
            EXPECT_TRUE(t->SimpCanFail()); // the quick test never clears a failing tree
            continue;
        }
        if (!t->SimpCanFail()) cleared++;
        for (int k = 0; k < 3; k++) {
            Evaluator point;
            point.vars = {{"x", gen.Uniform(-2.5, 2.5)},
                          {"y", gen.Uniform(0.2, 2.5)},
                          {"z", gen.Uniform(0.2, 2.5)}};
            Evaluator in = point;
            double const v = in.Eval(t);
            attempts++;
            if (!std::isfinite(v) || in.nearPole) continue;
            compared++;
            EXPECT_TRUE(SameValue(s, point, v, in.scale)) << "Simp";
            EXPECT_TRUE(SameValue(e, point, v, in.scale)) << "ElevateSum";
        }
    }
    // The trees must exercise both outcomes and mostly be comparable.
    EXPECT_GT(failures, 0);
    EXPECT_GT(cleared, 0);
    EXPECT_GT(compared, attempts / 2);
}
