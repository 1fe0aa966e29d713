// Tests of the tree queries and rewrites: which parts of a tree each membership test visits,
// the constant test, substitution with its assignment-target rule, the temporaries of
// ElimSubexpr, the controlled draws, and the inlining of assignments by FullyExpand.
#include "expr/expr.h"
#include "tree_eval.h"
#include "tree_text.h"
#include "varo5_test.h"

using namespace tree_text;

namespace {

// A node of 'type' with the given children (an empty pointer leaves that child empty).
N Node(CNodeType type, N c1, N c2 = N(), N c3 = N(), N c4 = N()) {
    return std::make_shared<CNode>(type, c1, c2, c3, c4);
}

struct QueryCase {
    char const* what;
    N tree;
    int count;   // CountContains("X")
    bool deep;   // DeepContains("X")
    bool topAdd; // ContainsTopLevel("X", CN_ADD)
    bool topMul; // ContainsTopLevel("X", CN_MUL)
};

} // namespace

// The three membership tests side by side: where one skips a kind, another finds the name.
TEST_F(VaroTest, MembershipTestsVisitTheirOwnParts) {
    QueryCase const cases[] = {
        {"X", Var("X"), 1, true, true, true},
        {"Y", Var("Y"), 0, false, false, false},
        {"X*X + 1", Add(Mul(Var("X"), Var("X")), Num(1)), 2, true, false, false},
        {"X^2", Pow(Var("X"), Num(2)), 0, true, false, false},
        {"foo(X, X)", Call("foo", {Var("X"), Var("X")}), 2, true, false, false},
        {"X > 1", Op(CN_GT, Var("X"), Num(1)), 0, true, false, false},
        {"Y = X", Assign(Var("Y"), Var("X")), 1, true, false, false},
        {"X = Y", Assign(Var("X"), Var("Y")), 0, false, false, false},
        {"X > 1 ? 2 : 3", Cond(Op(CN_GT, Var("X"), Num(1)), Num(2), Num(3)), 0, true, false, false},
        {"-X", Neg(Var("X")), 1, true, true, false},
        {"!X", Op(CN_NOT, Var("X")), 0, true, false, false},
        {"a.X", Op(CN_MEMBER, Var("a"), Var("X")), 0, true, false, false},
        {"a - (b + X)", Sub(Var("a"), Add(Var("b"), Var("X"))), 1, true, true, false},
        {"2 * X", Mul(Num(2), Var("X")), 1, true, false, true},
        {"a / X", Div(Var("a"), Var("X")), 1, true, false, true},
        {"a + 2*X", Add(Var("a"), Mul(Num(2), Var("X"))), 1, true, false, false},
        {"a * (b + X)", Mul(Var("a"), Add(Var("b"), Var("X"))), 1, true, false, false},
        {"a * -X", Mul(Var("a"), Neg(Var("X"))), 1, true, false, false},
        {"X - X/X", Sub(Var("X"), Div(Var("X"), Var("X"))), 3, true, true, false},
        {"foo(X^2, X)", Call("foo", {Pow(Var("X"), Num(2)), Var("X")}), 1, true, false, false},
        {"sequence{sleep(X)}", ListOf(CN_SEQUENCE, {Node(CN_SLEEP, Var("X"))}), 1, true, false,
         false},
        {"sleep(1, X)", Node(CN_SLEEP, Num(1), Var("X")), 0, true, false, false},
        {"block{Y = X}", ListOf(CN_BLOCK, {Assign(Var("Y"), Var("X"))}), 0, true, false, false},
        {"X only under child4", Node(CN_TRANSIT, Var("a"), N(), N(), Var("X")), 0, true, false,
         false},
        {"call named X", Call("X", {Num(1)}), 0, false, false, false},
        {"named number X", std::make_shared<CNode>("X", 2.0), 0, false, false, false},
        {"foo(_, X)", Call("foo", {N(), Var("X")}), 1, true, false, false},
    };
    for (QueryCase const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.count, c.tree->CountContains("X"));
        EXPECT_EQ(c.deep, c.tree->DeepContains("X"));
        EXPECT_EQ(c.topAdd, c.tree->ContainsTopLevel("X", CN_ADD));
        EXPECT_EQ(c.topMul, c.tree->ContainsTopLevel("X", CN_MUL));
    }
}

// Only CN_ADD and CN_MUL enter operators; a bare variable matches whatever the operator.
TEST_F(VaroTest, ContainsTopLevelWithOtherOperator) {
    EXPECT_TRUE(Var("X")->ContainsTopLevel("X", CN_SUB));
    EXPECT_FALSE(Sub(Var("a"), Var("X"))->ContainsTopLevel("X", CN_SUB));
    EXPECT_FALSE(Div(Var("a"), Var("X"))->ContainsTopLevel("X", CN_DIV));
}

// Units are no operand: a name that occurs only there is not found.
TEST_F(VaroTest, DeepContainsIgnoresUnits) {
    N t = Var("a");
    t->units = Var("X");
    EXPECT_FALSE(t->DeepContains("X"));
}

TEST_F(VaroTest, IsConstantByKind) {
    SV const none;
    SV const consts = {"K", "L"};
    N ifStmt = Node(CN_IF, Num(1), Num(2));
    N limits = Node(CN_LIMITS, Var("K"), Num(0), Var("X"));
    N mean = std::make_shared<CNode>(CN_CV_MEAN, "X");
    N delay = Node(CN_DELAY, Var("X"), Var("Y"));
    N peak = std::make_shared<CNode>(CN_PEAK, "X", Var("X"), Var("Y"), N());

    struct {
        char const* what;
        N tree;
        SV const& consts;
        bool expect;
    } const cases[] = {
        {"1 + 2", Add(Num(1), Num(2)), none, true},
        {"foo(1)", Call("foo", {Num(1)}), none, true},
        {"foo()", Call("foo", {}), none, true},
        {"foo(X)", Call("foo", {Var("X")}), none, false},
        {"foo(K, L)", Call("foo", {Var("K"), Var("L")}), consts, true},
        {"X", Var("X"), none, false},
        {"K", Var("K"), consts, true},
        {"K without consts", Var("K"), none, false},
        {"mean(X)", mean, none, true},
        {"median(X)", std::make_shared<CNode>(CN_CV_MEDIAN, "X"), none, true},
        {"delay(X, Y)", delay, none, true},
        {"peak(X)", peak, none, true},
        {"1 ? 2 : 3", Cond(Num(1), Num(2), Num(3)), none, true},
        {"X ? 2 : 3", Cond(Var("X"), Num(2), Num(3)), none, false},
        {"K * X", Mul(Var("K"), Var("X")), consts, false},
        {"K > L", Op(CN_GT, Var("K"), Var("L")), consts, true},
        {"!K", Op(CN_NOT, Var("K")), consts, true},
        {"-X", Neg(Var("X")), none, false},
        {"K ^ X", Pow(Var("K"), Var("X")), consts, false},
        {"limits(K, 0, X)", limits, consts, false},
        {"limits(K, 0, L)", Node(CN_LIMITS, Var("K"), Num(0), Var("L")), consts, true},
        {"K = 1", Assign(Var("K"), Num(1)), consts, false},
        {"if (1) 2", ifStmt, none, false},
        {"named number", std::make_shared<CNode>("K", 1.0), consts, false},
        {"a.b", Op(CN_MEMBER, Var("K"), Var("L")), consts, false},
        {"unif()", std::make_shared<CNode>(CN_UNIF_CONTROLLED), none, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.expect, c.tree->IsConstant(c.consts));
    }
}

TEST_F(VaroTest, SubstKeepsAssignmentTargetUnlessAsked) {
    N stmt = Assign(Var("X"), Add(Var("X"), Num(1)));
    std::string const before = Text(stmt);
    N kept = stmt->Subst(Var("X"), Var("Y"), false);
    N replaced = stmt->Subst(Var("X"), Var("Y"), true);
    EXPECT_EQ("(CN_ASSIGN X (CN_ADD Y 1))", Text(kept));
    EXPECT_EQ("(CN_ASSIGN Y (CN_ADD Y 1))", Text(replaced));
    EXPECT_EQ(before, Text(stmt));
    EXPECT_FALSE(ShareNodes(stmt, kept));
    EXPECT_FALSE(ShareNodes(stmt, replaced));
}

// A compound 'from' is matched by structure, and each match gets its own copy of 'to'.
TEST_F(VaroTest, SubstReplacesEqualSubtrees) {
    N sum = Add(Var("a"), Var("b"));
    N tree = Mul(sum, Call("f", {Add(Var("a"), Var("b")), N(), Add(Var("b"), Var("a"))}));
    N to = Pow(Var("c"), Num(2));
    N r = tree->Subst(Add(Var("a"), Var("b")), to, false);
    EXPECT_EQ("(CN_MUL (CN_POW c 2) (CN_CALL f [(CN_POW c 2) _ (CN_ADD b a)]))", Text(r));
    EXPECT_NE(r->child1.get(), to.get());
    EXPECT_NE(r->child1.get(), r->child2->list[0].get());
    EXPECT_EQ("(CN_MUL (CN_ADD a b) (CN_CALL f [(CN_ADD a b) _ (CN_ADD b a)]))", Text(tree));
    EXPECT_EQ("(CN_POW c 2)", Text(to));

    N whole = tree->Subst(tree, Var("z"), false);
    EXPECT_EQ("z", Text(whole));
    N noFrom = tree->Subst(N(), Var("z"), false);
    EXPECT_TRUE(noFrom->Equal(tree));
    EXPECT_FALSE(ShareNodes(tree, noFrom));
}

// Action blocks are substituted too; dose options, count options and `pos` are dropped,
// the scratch fields and a copy of `units` are kept.
TEST_F(VaroTest, SubstRebuildsStatementFields) {
    N stmt = std::make_shared<CNode>(CN_OBSERVE, "C", Var("X"), N(), N());
    stmt->appendix = std::make_unique<CNodeAppendix>();
    stmt->appendix->dobefore = ListOf(CN_BLOCK, {Assign(Var("a"), Var("X"))});
    stmt->appendix->doafter = Assign(Var("X"), Var("X"));
    stmt->doseOption = std::make_unique<CDoseVarOption>();
    stmt->extra = std::make_unique<CNodeExtra>();
    stmt->units = Var("mg");
    stmt->pos.iLine = 7;
    stmt->iTemp1 = 3;
    stmt->iTemp2 = 4;
    stmt->iDelayTable = 5;
    stmt->iPeakTable = 6;
    stmt->list.push_back(Var("X"));

    N r = stmt->Subst(Var("X"), Num(2), false);
    EXPECT_EQ("(CN_OBSERVE C 2 [2])", Text(r));
    ASSERT_NE(nullptr, r->appendix);
    EXPECT_EQ("(CN_BLOCK [(CN_ASSIGN a 2)])", Text(r->appendix->dobefore));
    EXPECT_EQ("(CN_ASSIGN X 2)", Text(r->appendix->doafter));
    EXPECT_EQ(nullptr, r->appendix->simulate);
    EXPECT_EQ(nullptr, r->doseOption);
    EXPECT_EQ(nullptr, r->extra);
    EXPECT_EQ(-1, r->pos.iLine);
    EXPECT_EQ("mg", Text(r->units));
    EXPECT_NE(stmt->units.get(), r->units.get());
    EXPECT_EQ(3, r->iTemp1);
    EXPECT_EQ(4, r->iTemp2);
    EXPECT_EQ(5, r->iDelayTable);
    EXPECT_EQ(6, r->iPeakTable);
    EXPECT_FALSE(ShareNodes(stmt, r));
    EXPECT_EQ("(CN_ASSIGN X X)", Text(stmt->appendix->doafter));
}

// Each outermost call or power becomes a temporary; an equal one reuses its index, also
// across calls that share the list, and nothing inside a taken call is looked at.
TEST_F(VaroTest, ElimSubexprFactorsCallsAndPowers) {
    NV temps;
    N first = Add(Call("exp", {Pow(Var("X"), Num(2))}), Mul(Pow(Var("X"), Num(2)), Var("Y")));
    N r1 = first->ElimSubexpr(temps);
    EXPECT_EQ("(CN_ADD __temp_0 (CN_MUL __temp_1 Y))", Text(r1));
    ASSERT_EQ(2u, temps.size());
    EXPECT_EQ("(CN_CALL exp [(CN_POW X 2)])", Text(temps[0]));
    EXPECT_EQ("(CN_POW X 2)", Text(temps[1]));
    EXPECT_FALSE(ShareNodes(first, temps[0]));

    N second = Assign(Var("Z"), Sub(Pow(Var("X"), Num(2)), Call("log", {Var("Y")})));
    CNode const& base = *second;
    N r2 = base.ElimSubexpr(temps);
    EXPECT_EQ("(CN_ASSIGN Z (CN_SUB __temp_1 __temp_2))", Text(r2));
    ASSERT_EQ(3u, temps.size());
    EXPECT_EQ("(CN_CALL log [Y])", Text(temps[2]));
    EXPECT_EQ("(CN_ASSIGN Z (CN_SUB (CN_POW X 2) (CN_CALL log [Y])))", Text(second));
}

// Attachments are copied as they are, not rewritten.
TEST_F(VaroTest, ElimSubexprCopiesAttachments) {
    N stmt = std::make_shared<CNode>(CN_DOSEPOINT, "A", Call("f", {Var("x")}), N(), N());
    stmt->appendix = std::make_unique<CNodeAppendix>();
    stmt->appendix->dobefore = Assign(Var("a"), Call("f", {Var("x")}));
    stmt->doseOption = std::make_unique<CDoseVarOption>();
    stmt->doseOption->idosevar = "D";
    stmt->extra = std::make_unique<CNodeExtra>();
    stmt->extra->ilink = "ilogit";
    NV temps;
    N r = stmt->ElimSubexpr(temps);
    EXPECT_EQ("(CN_DOSEPOINT A __temp_0)", Text(r));
    ASSERT_NE(nullptr, r->appendix);
    EXPECT_EQ("(CN_ASSIGN a (CN_CALL f [x]))", Text(r->appendix->dobefore));
    ASSERT_NE(nullptr, r->doseOption);
    EXPECT_STREQ("D", r->doseOption->idosevar);
    ASSERT_NE(nullptr, r->extra);
    EXPECT_STREQ("ilogit", r->extra->ilink);
    EXPECT_EQ(1u, temps.size());
}

TEST_F(VaroTest, ConverToUnifNormControlledReplacesDraws) {
    N expr = Add(Var("unif"), Mul(Call("unif", {Num(0), Num(1)}), Call("f", {Call("norm", {})})));
    expr->units = Var("mg");
    N r = expr->ConverToUnifNormControlled();
    EXPECT_EQ("(CN_ADD unif (CN_MUL (CN_UNIF_CONTROLLED) (CN_CALL f [(CN_NORM_CONTROLLED)])))",
              Text(r));
    EXPECT_EQ("mg", Text(r->units));
    EXPECT_FALSE(ShareNodes(expr, r));

    N stmt = std::make_shared<CNode>(CN_OBSERVE, "C", Var("x"), N(), N());
    stmt->appendix = std::make_unique<CNodeAppendix>();
    stmt->appendix->simulate = Assign(Var("e"), Call("norm", {Var("s")}));
    N s = stmt->ConverToUnifNormControlled();
    ASSERT_NE(nullptr, s->appendix);
    EXPECT_EQ("(CN_ASSIGN e (CN_NORM_CONTROLLED))", Text(s->appendix->simulate));
    EXPECT_EQ(nullptr, s->appendix->dobefore);
    EXPECT_EQ("(CN_ASSIGN e (CN_CALL norm [s]))", Text(stmt->appendix->simulate));
}

// a = b, b = 1: a + b expands to 1 + 1 in either order of the definitions.
TEST_F(VaroTest, FullyExpandInlinesChains) {
    recursiveDeps.clear();
    N expr = Add(Var("a"), Var("b"));
    N r1 = FullyExpand(expr, {"a", "b"}, {Var("b"), Num(1)});
    N r2 = FullyExpand(expr, {"b", "a"}, {Num(1), Var("b")});
    EXPECT_EQ("(CN_ADD 1 1)", Text(r1));
    EXPECT_EQ("(CN_ADD 1 1)", Text(r2));
    EXPECT_EQ("(CN_ADD a b)", Text(expr));
    EXPECT_FALSE(ShareNodes(expr, r1));

    N unused = FullyExpand(expr, {"q"}, {Num(3)});
    EXPECT_EQ("(CN_ADD a b)", Text(unused));
    EXPECT_EQ(nullptr, FullyExpand(N(), {"a"}, {Num(1)}));
    N none = FullyExpand(expr, {}, {});
    EXPECT_EQ("(CN_ADD a b)", Text(none));
}

// With an index of the names, a pass visits only the names the expression holds; the result is
// that of the plain passes, with a name assigned twice, chains and a self-reference.
TEST_F(VaroTest, FullyExpandWithIndexAsWithout) {
    recursiveDeps.clear();
    SV const names = {"a", "b", "a", "c", "d", "e"};
    NV const exprs = {Add(Var("b"), Num(1)),
                      Mul(Var("c"), Var("c")),
                      Var("d"),
                      Num(2),
                      Add(Var("d"), Var("a")),
                      N()};
    AssignIndex const index = GetAssignIndex(names);
    for (N const& e : {Var("a"), Add(Var("a"), Var("b")), Var("c"), Var("q"),
                       Mul(Var("e"), Var("b")), Call("exp", {Var("b")})}) {
        std::string const plain = Text(FullyExpand(e, names, exprs));
        EXPECT_EQ(plain, Text(FullyExpand(e, names, exprs, index))) << Text(e);
    }
    EXPECT_EQ("(CN_MUL e (CN_MUL 2 2))",
              Text(FullyExpand(Mul(Var("e"), Var("b")), names, exprs, index)));
}

// A self-reference unknown to recursiveDeps stops at the limit of 20 passes, one
// substitution each: a, a + 1, (a + 1) + 1, ...
TEST_F(VaroTest, FullyExpandStopsAfterTwentyPasses) {
    recursiveDeps.clear();
    N r = FullyExpand(Var("a"), {"a"}, {Add(Var("a"), Num(1))});
    int depth = 0;
    cn n = r;
    for (; n && n->type == CN_ADD; n = n->child1) {
        EXPECT_EQ("1", Text(n->child2));
        depth++;
    }
    EXPECT_EQ(20, depth);
    EXPECT_EQ("a", Text(n));
    EXPECT_EQ(41, CountNodes(r));
}

// Whether recursiveDeps has entries is noted at the first call of the process, so this runs
// in a fresh process: a known recursive name is then put in once only.
TEST_F(VaroTest, FullyExpandPutsKnownRecursionInOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto expandOnce = [] {
        recursiveDeps = {"a"};
        N r = FullyExpand(Mul(Var("a"), Var("b")), {"a", "b"}, {Add(Var("a"), Num(1)), Var("a")});
        bool ok = Text(r) == "(CN_MUL (CN_ADD a 1) (CN_ADD a 1))";
        if (!ok) fprintf(stderr, "got %s\n", Text(r).c_str());
        exit(ok ? 0 : 1);
    };
    EXPECT_EXIT(expandOnce(), testing::ExitedWithCode(0), "");
}

TEST_F(VaroTest, FilterNodesKeepsOrderAndSharesEntries) {
    NV stmts = {Assign(Var("a"), Num(1)), Node(CN_DERIV, Var("A"), Num(0)),
                Assign(Var("b"), Num(2)), ListOf(CN_BLOCK, {})};
    std::vector<cn> assigns = filter_nodes(stmts, CN_ASSIGN);
    ASSERT_EQ(2u, assigns.size());
    EXPECT_EQ(stmts[0].get(), assigns[0].get());
    EXPECT_EQ(stmts[2].get(), assigns[1].get());
    EXPECT_TRUE(filter_nodes(stmts, CN_OBSERVE).empty());
}

namespace {

// The names of the variables of a tree, sorted, each once.
void VarNames(cn const& n, std::set<std::string>& out) {
    if (!n) return;
    if (n->type == CN_VAR) out.insert(std::string(n->name));
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        VarNames(*c, out);
    for (N const& e : n->list)
        VarNames(e, out);
}

// Small trees over the names n0..n7 and x, y: sums, products, exp, and now and then a
// quotient or a log, which are not plain.
N SummaryTree(RandomPicks& r, int depth) {
    static char const* const names[] = {"n0", "n1", "n2", "n3", "n4", "n5", "n6", "n7", "x", "y"};
    if (depth == 0 || r.Pick(4) == 0) return r.Pick(5) ? Var(names[r.Pick(10)]) : Num(2);
    switch (r.Pick(8)) {
        case 0: return Div(SummaryTree(r, depth - 1), SummaryTree(r, depth - 1));
        case 1: return Call("log", {SummaryTree(r, depth - 1)});
        case 2: return Call("exp", {SummaryTree(r, depth - 1)});
        case 3: return Neg(SummaryTree(r, depth - 1));
        case 4: return Sub(SummaryTree(r, depth - 1), SummaryTree(r, depth - 1));
        case 5: return Mul(SummaryTree(r, depth - 1), SummaryTree(r, depth - 1));
        default: return Add(SummaryTree(r, depth - 1), SummaryTree(r, depth - 1));
    }
}

} // namespace

// Where the summaries answer, they tell the names and the plainness of the full expansion, for
// random assignment lists in any order, cycles and names assigned twice among them.
TEST_F(VaroTest, ExpansionSummariesAgreeWithFullyExpand) {
    recursiveDeps.clear();
    RandomPicks r(20261124);
    int answered = 0, refused = 0, plain = 0;
    for (int list = 0; list < 300; list++) {
        SV names;
        NV exprs;
        for (int i = 0, n = 1 + r.Pick(7); i < n; i++) {
            names.push_back(("n" + std::to_string(r.Pick(8))).c_str());
            exprs.push_back(SummaryTree(r, 2));
        }
        ExpansionSummaries summaries(names, exprs);
        for (int k = 0; k < 5; k++) {
            N e = SummaryTree(r, 3);
            std::vector<std::string> held;
            bool isPlain = false;
            if (!summaries.Summarize(e.get(), held, isPlain)) {
                refused++;
                continue;
            }
            answered++;
            N full = FullyExpand(e, names, exprs);
            std::set<std::string> expect;
            VarNames(full, expect);
            EXPECT_EQ(std::vector<std::string>(expect.begin(), expect.end()), held) << Text(e);
            EXPECT_EQ(IsPlainlyDifferentiable(full.get()), isPlain) << Text(e);
            plain += isPlain;
        }
    }
    EXPECT_GT(answered, 300);
    EXPECT_GT(refused, 50);
    EXPECT_GT(plain, 50);
}
