// Dependency chains: direct and transitive dependencies, names defined through themselves,
// what the model's outputs need, and the parameters that count as used.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "expr/tree_text.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using namespace tree_text;

namespace {

typedef std::set<std::string> Set;

class ChainsTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        fwdDeps.clear();
        invDeps.clear();
        recursiveDeps.clear();
        usedChainStarters.clear();
        usedVars.clear();
    }

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

    // The names 'name' depends on; empty when it has no entry.
    static Set Fwd(std::string const& name) { return fwdDeps.Get(name); }

    // The names that depend on 'name'; empty when it has no entry.
    static Set Inv(std::string const& name) { return invDeps.Get(name); }

    std::vector<std::unique_ptr<std::string>> buffers;
};

std::vector<std::string> Texts(SV const& names) {
    std::vector<std::string> out;
    for (String const& s : names)
        out.push_back(std::string(s));
    return out;
}

typedef std::vector<std::string> Names;

N Named(CNodeType type, char const* name) {
    return std::make_shared<CNode>(type, name);
}

} // namespace

TEST_F(ChainsTest, DependenciesAreTransitiveInBothDirections) {
    // The statements stand against the sorted order of the names on purpose.
    CollectDependencyChains(Body("a = b + 1\n"
                                 "b = c * d\n"
                                 "c = exp(e)\n"
                                 "f = 2\n"
                                 "a = g"));
    EXPECT_EQ((Set{"b", "c", "d", "e", "g"}), Fwd("a")); // both chains of a in one row
    EXPECT_EQ((Set{"c", "d", "e"}), Fwd("b"));
    EXPECT_EQ((Set{"e"}), Fwd("c"));
    EXPECT_EQ(0u, fwdDeps.count("e"));
    EXPECT_EQ(0u, fwdDeps.count("f"));
    EXPECT_EQ((Set{"a", "b", "c"}), Inv("e"));
    EXPECT_EQ((Set{"a", "b"}), Inv("d"));
    EXPECT_EQ(0u, invDeps.count("a"));
    EXPECT_EQ(0u, invDeps.count("exp")); // a function name is no dependency
    EXPECT_TRUE(recursiveDeps.empty());
    EXPECT_TRUE(usedChainStarters.empty());
}

TEST_F(ChainsTest, NamesDefinedThroughThemselvesAreRecursive) {
    CollectDependencyChains(Body("x = x + 1\n"
                                 "a = b\n"
                                 "b = a\n"
                                 "r = p\n"
                                 "q = r\n"
                                 "p = q + w\n"
                                 "s = p"));
    EXPECT_EQ((Set{"x", "a", "b", "p", "q", "r"}), recursiveDeps);
    EXPECT_EQ(0u, Fwd("x").count("x")); // the diagonal is cleared
    EXPECT_EQ((Set{"b"}), Fwd("a"));
    EXPECT_EQ((Set{"a"}), Fwd("b"));
    EXPECT_EQ((Set{"q", "r", "w"}), Fwd("p"));
    EXPECT_EQ((Set{"p", "q", "r", "w"}), Fwd("s"));
    EXPECT_EQ((Set{"p", "q", "r", "s"}), Inv("w"));
}

TEST_F(ChainsTest, OutputStatementsStartTheChainsOfUsedVariables) {
    N observe = Named(CN_OBSERVE, "C");
    observe->child2 = Div(Var("A"), Var("V"));
    N body = Body("deriv(A = -k*A/V)\n"
                  "V = tvV\n"
                  "u = w\n"
                  "sequence { e = f }");
    body->list.push_back(observe);
    CollectDependencyChains(body);

    EXPECT_EQ((Set{"", "A", "C"}), usedChainStarters);
    EXPECT_EQ((Set{"A", "V", "tvV", "k", "e", "f"}), usedVars);
    EXPECT_EQ((Set{"e", "f"}), Fwd("")); // a sequence hangs on the empty name
    EXPECT_EQ((Set{"A", "V", "k", "tvV"}), Fwd("C"));
    EXPECT_EQ((Set{"A"}), recursiveDeps); // the integrator mentions itself
}

TEST_F(ChainsTest, HeadsOfDosesPeaksLinksAndReservedNames) {
    N multi = Named(CN_MULTI, "y");
    multi->child2 = Var("ilogit");
    multi->list.push_back(Var("m"));
    N reserved = Assign(Var("int"), Add(Var("g"), Var("h")));
    N body = Body("dosepoint(A, tlag = tl, idosevar = A0)\n"
                  "x = peak(pk = c, max)");
    body->list.push_back(multi);
    body->list.push_back(reserved);
    CollectDependencyChains(body);

    EXPECT_EQ((Set{"tl", "A0"}), Fwd("dosepoint(A)"));
    EXPECT_EQ((Set{"dosepoint(A)"}), Inv("A0"));
    EXPECT_EQ(0u, invDeps.count("A"));
    EXPECT_EQ((Set{"c"}), Fwd("pk")); // not "true", the word of the default condition
    EXPECT_EQ(0u, fwdDeps.count("x"));
    EXPECT_EQ(0u, invDeps.count("x"));
    EXPECT_EQ((Set{"m"}), Fwd("y"));
    EXPECT_EQ(0u, invDeps.count("ilogit"));
    EXPECT_EQ((Set{"h"}), Fwd("g")); // a reserved head gives way to the next name
    EXPECT_EQ(0u, invDeps.count("int"));
}

TEST_F(ChainsTest, StatementWithoutNamesAddsNothing) {
    CollectDependencyChains(Body("true = 1\n"
                                 "a = b"));
    EXPECT_EQ((Set{"b"}), Fwd("a"));
    EXPECT_EQ(1u, fwdDeps.size());
    EXPECT_EQ(1u, invDeps.size());
}

// A fixed-effect entry as the parser builds it: bounds in list, the span marker in child4.
static N FixefEntry(char const* name, double init) {
    N entry = Var(name);
    entry->child4 = Var("whatever");
    entry->list = {N(), Num(init), N()};
    return entry;
}

TEST_F(ChainsTest, UnusedFixedEffectsAndDependentParameters) {
    N fixef = ListOf(CN_FIXEF, {FixefEntry("tvV", 1), FixefEntry("tvCl", 2), FixefEntry("tvQ", 3)});
    N stparm = ListOf(CN_STPARM, {Assign(Var("V"), Mul(Var("tvV"), Call("exp", {Var("nV")}))),
                                  Assign(Var("Cl"), Var("tvCl")), Assign(Var("Q"), Var("tvQ"))});
    N body = Body("deriv(A = -Cl/V*A)");
    body->list.push_back(fixef);
    body->list.push_back(stparm);
    CollectDependencyChains(body);

    SV starts = {"V", "Cl", "Q", "tvV", "tvCl", "tvQ", "nV"};
    SV used = {"stale"};
    CollectUsedVars(starts, used);
    EXPECT_EQ((Names{"A", "Cl", "V", "nV", "tvCl", "tvV"}), Texts(used));
    // tvQ feeds only Q, a starting name that nothing outside depends on.
    SV unused;
    for (String const& name : SV{"tvV", "tvCl", "tvQ"})
        if (MemberOf(name, used) < 0) unused.push_back(name);
    EXPECT_EQ((Names{"tvQ"}), Texts(unused));

    SV dependent = {"first"};
    CollectDependentParams(SV{"V", "Cl", "Q", "A", "none"}, SV{"tvV", "nV"}, dependent);
    EXPECT_EQ((Names{"first", "V", "A"}), Texts(dependent));
}

// Twenty chains of 150 names each, n0000 to n2999, with the names of the chains interleaved so
// that every name depends on one further along in sorted order, and one cycle of three.
TEST_F(ChainsTest, ClosureOverThousandsOfNames) {
    int const chains = 20, length = 150;
    auto name = [&](int pos, int chain) {
        char buf[16];
        snprintf(buf, sizeof buf, "n%04d", pos * chains + chain);
        return std::string(buf);
    };
    N body = std::make_shared<CNode>(CN_BLOCK);
    for (int pos = 0; pos + 1 < length; pos++)
        for (int k = 0; k < chains; k++)
            body->list.push_back(
                Assign(Var(name(pos, k).c_str()), Add(Var(name(pos + 1, k).c_str()), Num(1))));
    body->list.push_back(Assign(Var("c0"), Var("c1")));
    body->list.push_back(Assign(Var("c1"), Var("c2")));
    body->list.push_back(Assign(Var("c2"), Var("c0")));
    CollectDependencyChains(body);

    EXPECT_EQ((Set{"c0", "c1", "c2"}), recursiveDeps);
    EXPECT_EQ((Set{"c1", "c2"}), Fwd("c0"));
    EXPECT_EQ(size_t(chains * (length - 1) + 3), fwdDeps.size());
    for (int k = 0; k < chains; k++) {
        for (int pos = 0; pos < length; pos++) {
            Set const fwd = Fwd(name(pos, k)), inv = Inv(name(pos, k));
            ASSERT_EQ(size_t(length - 1 - pos), fwd.size()) << name(pos, k);
            ASSERT_EQ(size_t(pos), inv.size()) << name(pos, k);
            if (pos + 1 < length) {
                ASSERT_EQ(1u, fwd.count(name(pos + 1, k)));
                ASSERT_EQ(1u, fwd.count(name(length - 1, k)));
            }
            if (pos > 0) {
                ASSERT_EQ(1u, inv.count(name(0, k)));
            }
        }
    }
}
