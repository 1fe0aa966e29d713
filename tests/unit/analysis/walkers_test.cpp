// The model walkers: what each takes from its statements, in source order, with duplicates
// dropped and parallel lists kept in step; and the numbering of delay and peak tables.
#include "analysis/analysis.h"
#include "expr/tree_text.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

using namespace tree_text;

namespace {

class WalkersTest : public VaroTest {
  protected:
    // The body of the model "test() { <text> }"; fails the test on a parse error.
    N Body(std::string const& text) {
        buffers.push_back(
            std::make_unique<std::string>("test() {\n" + text + "\n}" + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        parsModel(p, model);
        EXPECT_FALSE(IsErrorSet()) << text;
        if (!model) return std::make_shared<CNode>(CN_BLOCK);
        return model->child2;
    }

    std::vector<std::unique_ptr<std::string>> buffers;
};

// The texts of a name list, for comparison with a literal list.
std::vector<std::string> Texts(SV const& names) {
    std::vector<std::string> out;
    for (String const& s : names)
        out.push_back(std::string(s));
    return out;
}

typedef std::vector<std::string> Names;
typedef std::vector<unsigned short> Flags;

// A statement of 'type' named 'name'.
N Named(CNodeType type, char const* name) {
    return std::make_shared<CNode>(type, name);
}

// A group of a ranef statement with the names 'vars'.
N RanefGroup(CNodeType type, std::initializer_list<N> vars) {
    return Op(type, ListOf(CN_NAMES, vars));
}

} // namespace

TEST_F(WalkersTest, CollectVarsCountsUsesAndStopsAtPeaksAndMembers) {
    SV names;
    std::vector<int> counts;
    // a.b: the member b is no variable; peak(): its own name only, not what it watches.
    N member = Op(CN_MEMBER, Var("a"), Var("b"));
    N x = Body("x = a * a + exp(a) + peak(pk = y, max)")->list[0];
    CollectVars(member, names, counts);
    CollectVars(x, names, counts);
    EXPECT_EQ((Names{"a", "x", "pk"}), Texts(names));
    EXPECT_EQ((std::vector<int>{4, 1, 1}), counts);

    // Names present before the call are counted on, not appended again.
    SV known = {"q", "k"};
    std::vector<int> known_counts = {5, 7};
    CollectVars(Body("q = k * k + z")->list[0], known, known_counts);
    EXPECT_EQ((Names{"q", "k", "z"}), Texts(known));
    EXPECT_EQ((std::vector<int>{6, 9, 1}), known_counts);

    // The short form keeps no counts and still removes duplicates.
    SV plain = {"z"};
    CollectVars(Body("z = w + w + z")->list[0], plain);
    EXPECT_EQ((Names{"z", "w"}), Texts(plain));

    // A long walk looks names up in an index after its first look-ups; it still counts on the
    // last equal entry, as the scan does, and appends each new name once.
    SV dup = {"a", "b", "a"};
    std::vector<int> dupCounts = {0, 0, 0};
    CollectVars(Body("q = a + b + a + c + b + a + c + a + b + c + a + b + c + a + b + c + a + b "
                     "+ c + a")
                    ->list[0],
                dup, dupCounts);
    EXPECT_EQ((Names{"a", "b", "a", "q", "c"}), Texts(dup));
    EXPECT_EQ((std::vector<int>{0, 6, 8, 1, 6}), dupCounts);
}

TEST_F(WalkersTest, CollectVarsReadsOptionsActionsAndSkipsTheDelayDistribution) {
    N body = Body("dosepoint(A, tlag = tl, idosevar = A0, infratevar = R0,\n"
                  "          dobefore = { z = q })\n"
                  "delayInfCpt(D, mt, sh, dist = Weibull)");
    // Children, then the action blocks, then the dose-variable names; not the dose's own name.
    SV dose;
    CollectVars(body->list[0], dose);
    EXPECT_EQ((Names{"tl", "z", "q", "A0", "R0"}), Texts(dose));
    SV delay;
    CollectVars(body->list[1], delay);
    EXPECT_EQ((Names{"D", "mt", "sh"}), Texts(delay));

    // Link functions, the type of LL and the distribution of delay() are words as well.
    SV words;
    CollectVars(Body("multi(y(t), ilogit, a)\n"
                     "ordinal(y, probit, s, b, c)\n"
                     "LL(z, e, type = cont)\n"
                     "x = delay(u, 2, dist = Weibull)"),
                words);
    EXPECT_EQ((Names{"t", "a", "s", "b", "c", "e", "x", "u"}), Texts(words));

    // The options of a count statement; its name is no use of a variable.
    N count = Named(CN_COUNT, "n");
    count->child1 = Var("mu");
    count->extra = std::make_unique<CNodeExtra>();
    count->extra->beta = Var("bt");
    count->extra->power = Num(1.0);
    count->extra->zprobOrLinkp = Var("zp");
    SV opts;
    CollectVars(count, opts);
    EXPECT_EQ((Names{"mu", "bt", "zp"}), Texts(opts));
}

TEST_F(WalkersTest, StateVariablesInSourceOrderAndInsideBlocks) {
    N body = Body("deriv(a = -k*a)\n"
                  "{ urinecpt(u = k*a)  { deriv(b = k*a - kb*b) } }\n"
                  "transit(tr, mtt, n)\n"
                  "delayInfCpt(d, m, s)\n"
                  "deriv(a = 0)");
    body->list.push_back(ListOf(CN_BLOCK, {Named(CN_EVENT, "ev")}));
    body->list.push_back(Named(CN_COUNT, "cnt"));
    body->list.push_back(Named(CN_EVENT, "ev"));

    struct {
        void (*walker)(cn const&, SV&);
        Names expected;
    } const cases[] = {
        {CollectDerivVars, {"a", "b"}},
        {CollectUrineVars, {"u"}},
        {CollectTransitVars, {"tr"}},
        {CollectTransit2Vars, {"d"}},
        {CollectIntegVars, {"a", "u", "b", "tr", "d", "ev", "cnt"}},
        {CollectEventVars, {"ev", "cnt"}},
    };

    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; i++) {
        SV names;
        cases[i].walker(body, names);
        EXPECT_EQ(cases[i].expected, Texts(names)) << "case " << i;
    }

    // A long list, every other entry a nest of blocks: the walk's own stack grows and keeps
    // the order.
    N longBody = ListOf(CN_BLOCK, {});
    Names longExpected;
    for (int i = 0; i < 300; i++) {
        std::string const name = "a" + std::to_string(i);
        N deriv = Body("deriv(" + name + " = -k*" + name + ")")->list[0];
        longBody->list.push_back(i % 2 ? ListOf(CN_BLOCK, {ListOf(CN_BLOCK, {deriv})}) : deriv);
        longExpected.push_back(name);
    }
    SV longNames;
    CollectDerivVars(longBody, longNames);
    EXPECT_EQ(longExpected, Texts(longNames));
}

TEST_F(WalkersTest, DosePointsWithSplitFlagsAndInitialDoseVariables) {
    N body = Body("dosepoint(A, split, idosevar = A0)\n"
                  "{ dosepoint(B, infdosevar = Bi, infratevar = Br) }\n"
                  "dosepoint1(A)\n"
                  "dosepoint2(C, idosevar = A0)\n"
                  "dosepoint2(C)");
    SV doses1, doses2, initial;
    Flags split;
    CollectDosepoints1(body, doses1, split);
    CollectDosepoints2(body, doses2);
    CollectInitialDoseVars(body, initial);
    EXPECT_EQ((Names{"A", "B"}), Texts(doses1));
    EXPECT_EQ((Flags{1, 0}), split);
    EXPECT_EQ((Names{"C"}), Texts(doses2));
    // No duplicate test here: A0 comes twice.
    EXPECT_EQ((Names{"A0", "Bi", "Br", "A0"}), Texts(initial));
}

TEST_F(WalkersTest, ClosedFormsWithDepotsAndFirstArguments) {
    N body = Body("cfMicro(A1, Cl/V, first = (Aa = Ka))\n"
                  "{ cfMacro1(B1, k) }\n"
                  "cfMicro(A1, Cl/V, first = (Ab = Ka))\n"
                  "cfMacro(C1, Cv, Dose, a, alpha)\n"
                  "cfMacro2(C2, 2*Cw, Dose, a, alpha, strip = Dose)");
    SV micro, depots, macro, firsts;
    CollectCFMacroVars(body, micro, depots);
    CollectCFMacro2Vars(body, macro, firsts);
    EXPECT_EQ((Names{"A1", "B1"}), Texts(micro));
    EXPECT_EQ((Names{"Aa", ""}), Texts(depots));
    EXPECT_EQ((Names{"C1", "C2"}), Texts(macro));
    // The name of the first entry: a product has none.
    EXPECT_EQ((Names{"Cv", ""}), Texts(firsts));
}

TEST_F(WalkersTest, ResponsesAndObservations) {
    N flagged = Named(CN_OBSERVE, "C");
    flagged->child3 = Num(3.0);
    N aql = Named(CN_OBSERVE, "E");
    aql->child3 = Num(2.0);
    N body = ListOf(CN_BLOCK,
                    {Named(CN_MULTI, "y1"), ListOf(CN_BLOCK, {Named(CN_LL, "y2")}),
                     Named(CN_EVENT, "y3"), Named(CN_COUNT, "y4"), Named(CN_EVENT, "y1"), flagged,
                     Named(CN_OBSERVE, "D"), ListOf(CN_BLOCK, {aql}), Named(CN_OBSERVE, "C")});
    SV responses, kinds, observed;
    Flags bql;
    CollectResponses(body, responses, kinds);
    CollectObservations(body, observed, bql);
    EXPECT_EQ((Names{"y1", "y2", "y3", "y4"}), Texts(responses));
    EXPECT_EQ((Names{"multi", "ll", "event", "count"}), Texts(kinds));
    EXPECT_EQ((Names{"C", "D", "E"}), Texts(observed));
    EXPECT_EQ((Flags{3, 0, 2}), bql);
}

TEST_F(WalkersTest, CovariatesInterpolationsAndDoubles) {
    N sex = Var("sex");
    sex->child1 = Num(1.0); // sex()
    N body = ListOf(CN_BLOCK,
                    {ListOf(CN_COVARIATE, {sex, Var("age")}),
                     ListOf(CN_BLOCK, {ListOf(CN_FCOVARIATE, {Var("dose")})}),
                     ListOf(CN_INTERPOLATE, {Var("wt")}), ListOf(CN_FCOVARIATE, {Var("age")})});
    SV covariates, interpolated;
    Flags flags, kinds;
    CollectCovariates(body, covariates, flags, kinds);
    CollectInterpolateVars(body, interpolated);
    EXPECT_EQ((Names{"sex", "age", "dose", "wt"}), Texts(covariates));
    EXPECT_EQ((Flags{1, 0, 0, 0}), flags);
    EXPECT_EQ((Flags{0, 0, 1, 2}), kinds);
    EXPECT_EQ((Names{"wt"}), Texts(interpolated));

    SV doubles;
    CollectDoubles(Body("double(p, q) { real(q, r) }"), doubles);
    EXPECT_EQ((Names{"p", "q", "r"}), Texts(doubles));
}

TEST_F(WalkersTest, ParameterStatementsTakeLeftSidesOnce) {
    N group = ListOf(CN_GROUP, {Assign(Var("tvV"), Num(1)), Assign(Var("tvCl"), Var("wt")),
                                Assign(Var("tvV"), Num(2))});
    N stparm = ListOf(CN_STPARM, {Assign(Var("V"), Mul(Var("tvV"), Var("nV")))});
    N secondary = ListOf(CN_SECONDARY, {Assign(Var("half"), Div(Var("ln2"), Var("k")))});
    N body = ListOf(CN_BLOCK, {group, ListOf(CN_BLOCK, {stparm}), secondary});

    struct {
        void (*walker)(cn const&, SV&);
        Names expected;
    } const cases[] = {
        {CollectGroup, {"tvV", "tvCl"}},
        {CollectStruct, {"V"}},
        {CollectSecondary, {"half"}},
    };

    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; i++) {
        SV names;
        cases[i].walker(body, names);
        EXPECT_EQ(cases[i].expected, Texts(names)) << "case " << i;
    }
}

TEST_F(WalkersTest, RandomEffectsByStatementKind) {
    N ranef5 = ListOf(CN_RANEF5, {RanefGroup(CN_VARIANCE_DIAG, {Var("nV"), Var("nCl")}),
                                  RanefGroup(CN_RANEF_SAME, {Var("nKa")})});
    N ranef1 = ListOf(CN_RANEF1, {RanefGroup(CN_RANEF_BLOCK, {Var("nQ"), Var("nV2")})});
    N body = ListOf(CN_BLOCK, {ranef5, ListOf(CN_BLOCK, {ranef1})});

    struct {
        void (*walker)(cn const&, SV&);
        Names expected;
    } const cases[] = {
        {CollectRanef1, {"nQ", "nV2"}},
        {CollectRanef2, {}},
        {CollectRanef3, {}},
        {CollectRanef4, {}},
        {CollectRanef5, {"nV", "nCl", "nKa"}},
    };

    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; i++) {
        SV names;
        cases[i].walker(body, names);
        EXPECT_EQ(cases[i].expected, Texts(names)) << "case " << i;
    }
}

TEST_F(WalkersTest, CovariateStatisticsAlsoInActionBlocks) {
    N body = Body("x = mean(wt) + median(age)\n"
                  "dosepoint(A, dobefore = { z = mean(ht) + median(age) })\n"
                  "y = mean(wt)");
    SV means, medians;
    CollectCVMean(body, means);
    CollectCVMedian(body, medians);
    EXPECT_EQ((Names{"wt", "ht"}), Texts(means));
    EXPECT_EQ((Names{"age"}), Texts(medians));

    SV hooked;
    CollectCVMean(body->list[1]->appendix.get(), hooked);
    EXPECT_EQ((Names{"ht"}), Texts(hooked));
}

TEST_F(WalkersTest, CollectConstFindsZeroAssignmentsInBlocksOnly) {
    N body = Body("a = 0  b = 1  c = 0.0  { d = 0 }  e = 0 * x  f = -0  a = 0\n"
                  "sequence { g = 0 }");
    SV names;
    CollectConst(body, names);
    EXPECT_EQ((Names{"a", "c", "d"}), Texts(names));
}

TEST_F(WalkersTest, CollectAssignedTakesDefinitionsButNotSequences) {
    N table = ListOf(
        CN_TABLE, {Op(CN_TABLE_X, Var("t")), Op(CN_TABLE_Y, Var("y1")), Op(CN_TABLE_Y, Var("y2"))});
    N stparm = ListOf(CN_STPARM, {Assign(Var("V"), Var("tvV"))});
    N group = ListOf(CN_GROUP, {Assign(Var("tvV"), Num(1))});
    N secondary = ListOf(CN_SECONDARY, {Assign(Var("half"), Var("k"))});
    N body = Body("x = a + 1\n"
                  "{ y = 2 }\n"
                  "pk2 = peak(pk = x, max)\n"
                  "deriv(A = -k*A)\n"
                  "cfMicro(A1, Cl/V, first = (Aa = Ka))\n"
                  "sequence { s = 1 }\n"
                  "x = 3");
    body->list.push_back(table);
    body->list.push_back(ListOf(CN_BLOCK, {stparm}));
    body->list.push_back(group);
    body->list.push_back(secondary);
    SV names;
    CollectAssigned(body, names);
    EXPECT_EQ((Names{"x", "y", "pk2", "pk", "y1", "y2", "V", "tvV", "half"}), Texts(names));

    SV rows;
    CollectAssigned(table, rows);
    EXPECT_EQ((Names{"y1", "y2"}), Texts(rows));
}

TEST_F(WalkersTest, DelaysAndDelayCompartmentsShareOneCounter) {
    N body = Body("x = delay(a, 2) + delay(delay(b, 1), 3, hist = h)\n"
                  "delayInfCpt(D, m, s)\n"
                  "y = peak(p1 = x, max) + peak(p2 = y, min)");
    N sum = body->list[0]->child2;
    N first = sum->child1, second = sum->child2, inner = second->child1;
    N cpt = body->list[1];

    int count = 3; // numbering runs on from the caller's counter
    NV nodes, hist;
    CountSetDelay(body, count, nodes, hist);
    CountSetTransit2(body, count, nodes, hist);
    EXPECT_EQ(6, count);
    ASSERT_EQ(3u, nodes.size());
    ASSERT_EQ(3u, hist.size());
    EXPECT_EQ(first->child1, nodes[0]);
    EXPECT_EQ(inner, nodes[1]); // the delayed signal of the outer delay
    EXPECT_EQ(cpt->child1, nodes[2]);
    EXPECT_EQ("0", Text(hist[0]));
    EXPECT_EQ("h", Text(hist[1]));
    EXPECT_EQ("0", Text(hist[2]));
    EXPECT_EQ(3, first->iDelayTable);
    EXPECT_EQ(3, first->child1->iDelayTable);
    EXPECT_EQ(4, second->iDelayTable);
    EXPECT_EQ(4, inner->iDelayTable);
    EXPECT_EQ(-1, inner->child1->iDelayTable); // not entered below a numbered delay
    EXPECT_EQ(5, cpt->iDelayTable);
    EXPECT_EQ(5, cpt->child1->iDelayTable);

    int peaks = 0;
    NV peakNodes;
    CountSetPeak(body, peaks, peakNodes);
    N y = body->list[2]->child2;
    EXPECT_EQ(2, peaks);
    EXPECT_EQ((NV{y->child1, y->child2}), peakNodes);
    EXPECT_EQ(0, y->child1->iPeakTable);
    EXPECT_EQ(1, y->child2->iPeakTable);
}

// With the statement kinds of the body known, the walks pass over statements that hold none of
// their targets and still find the same names in the same order, the tables numbered alike.
TEST_F(WalkersTest, StatementKindsScopeChangesNoWalk) {
    N body = Body("covariate(wt)\n dosepoint(A1, tlag = 1)\n deriv(A1 = -k * A1)\n"
                  "deriv(A2 = k * A1 - delay(A1, 2) - peak(pk = A2))\n urinecpt(U = k * A2)\n"
                  "event(ev, 0.1 * mean(wt))\n sequence { A2 = median(wt) \n sleep(1) }\n"
                  "observe(CObs = A2 + eps, doafter = { Z = mean(wt) })\n error(eps = 1)\n"
                  "stparm(k = tvk * exp(nk))\n fixef(tvk = c(0, 1, 2))\n ranef(diag(nk) = c(1))");
    auto walkAll = [&] {
        std::vector<Names> out;
        SV a, b;
        std::vector<unsigned short> f1, f2;
        for (void (*walker)(cn const&, SV&) :
             {CollectDerivVars, CollectUrineVars, CollectIntegVars, CollectEventVars,
              CollectDosepoints2, CollectInitialDoseVars, CollectStruct, CollectRanef5,
              CollectCVMean, CollectCVMedian, CollectDoubles}) {
            SV names;
            walker(body, names);
            out.push_back(Texts(names));
        }
        CollectObservations(body, a, f1);
        CollectCovariates(body, b, f1, f2);
        out.push_back(Texts(a));
        out.push_back(Texts(b));
        int count = 0;
        NV nodes, hist, peaks;
        CountSetDelay(body, count, nodes, hist);
        CountSetPeak(body, count, peaks);
        out.push_back({std::to_string(count), std::to_string(nodes.size() + peaks.size())});
        return out;
    };
    std::vector<Names> const plain = walkAll();
    StatementKindsScope const kinds(body);
    EXPECT_EQ(plain, walkAll());
    EXPECT_EQ((Names{"A1", "A2"}), plain[0]);
    EXPECT_EQ((Names{"wt"}), plain[8]);
}
