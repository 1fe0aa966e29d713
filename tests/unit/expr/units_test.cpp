// Tests of the unit algebra: SimpUnits by shape, a property test of its power maps over random
// unit trees, the table entry and the warning of SetUnits, and the inference step at one node.
#include "driver/driver.h"
#include "expr/expr.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

// Products and quotients in brackets, so that the shape shows: "(mg/(L*h))".
std::string UnitText(cn const& u) {
    if (!u) return "none";
    char buf[64];
    switch (u->type) {
        case CN_NUM: snprintf(buf, sizeof buf, "%g", u->value); return buf;
        case CN_UNIT_TIME: return "t";
        case CN_UNIT_NAME: return std::string(u->name);
        case CN_UNIT_MUL: return "(" + UnitText(u->child1) + "*" + UnitText(u->child2) + ")";
        case CN_UNIT_DIV: return "(" + UnitText(u->child1) + "/" + UnitText(u->child2) + ")";
        case CN_UNIT_LOG: return "log(" + UnitText(u->child1) + ")";
        case CN_UNIT_EXP: return "exp(" + UnitText(u->child1) + ")";
        default: return "?";
    }
}

// A text that stays alive with the nodes parsed from it.
char const* Keep(std::string const& text) {
    static std::vector<std::unique_ptr<std::string>> texts;
    texts.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
    return texts.back()->c_str();
}

N Units(std::string const& text) {
    char const* p = Keep(text);
    N u;
    parsUnitProduct(p, u);
    EXPECT_FALSE(IsErrorSet()) << text;
    return u;
}

N Unit(CNodeType type, N a = N(), N b = N()) {
    return NewNode(type, a, b);
}

N Name(char const* name) {
    return std::make_shared<CNode>(CN_UNIT_NAME, name);
}

N Simp(cn const& u) {
    N s = u->Copy();
    s->SimpUnits();
    return s;
}

} // namespace

TEST_F(VaroTest, SimpUnitsShapes) {
    struct Case {
        N units;
        char const* expect;
    };

    Case const cases[] = {
        {Units("mg/mg"), "1"},
        {Units("mg*L/L"), "mg"},
        {Units("1/(1/h)"), "h"},
        {Units("h*h/h"), "h"},
        {Units("(mg/L)/(mg/L)"), "1"},
        {Units("mg/L/h"), "(mg/(L*h))"},
        {Units("L/mg*mg*mg"), "(L*mg)"}, // factors keep the order they first appear in
        {Units("h/(mg*h)"), "(1/mg)"},
        {Units("2*mg"), "mg"},
        {Units("0*mg"), "0"},
        {Units("mg/0"), "(mg/0)"}, // a unit divided by zero stays
        {Unit(CN_UNIT_EXP, Unit(CN_UNIT_LOG, Name("mg"))), "mg"},
        {Unit(CN_UNIT_EXP, NewNum(11)), "exp(11)"},
        {Unit(CN_UNIT_EXP, NewNum(0)), "1"},
        {Unit(CN_UNIT_LOG, NewNum(1)), "0"},
        {Unit(CN_UNIT_LOG, NewNum(0)), "log(0)"},
        // Operands first: exp(mg/mg) is exp(1), a number, whose log is 1.
        {Unit(CN_UNIT_LOG, Unit(CN_UNIT_EXP, Units("mg/mg"))), "1"},
        {Unit(CN_UNIT_MUL, Unit(CN_UNIT_TIME), Units("mg/h")), "((t*mg)/h)"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expect, UnitText(Simp(c.units))) << UnitText(c.units);
}

// ---- Power maps over random unit trees --------------------------------------------------------

namespace {

typedef std::map<std::string, int> PowerMap;

// The powers of the factors of 'u' worked out independently of SimpUnits: numbers are scale
// factors and count for nothing; powers that cancel are left out.
void AddPowers(cn const& u, int sign, PowerMap& m) {
    if (u->type == CN_UNIT_MUL || u->type == CN_UNIT_DIV) {
        AddPowers(u->child1, sign, m);
        AddPowers(u->child2, u->type == CN_UNIT_MUL ? sign : -sign, m);
    } else if (u->type != CN_NUM) {
        m[UnitText(u)] += sign;
    }
}

PowerMap Pruned(PowerMap m) {
    for (auto it = m.begin(); it != m.end();)
        it = it->second == 0 ? m.erase(it) : std::next(it);
    return m;
}

PowerMap Powers(cn const& u) {
    PowerMap m;
    AddPowers(u, 1, m);
    return Pruned(m);
}

PowerMap Combined(PowerMap m, PowerMap const& b, int sign) {
    for (auto const& [factor, power] : b)
        m[factor] += sign * power;
    return Pruned(m);
}

N RandomUnits(std::mt19937& rng, int depth) {
    static double const numbers[] = {2, 0.5, -3, 1};
    int pick = int(rng() % (depth > 0 ? 10 : 7));
    switch (pick) {
        case 0: return Name("mg");
        case 1: return Name("L");
        case 2: return Name("h");
        case 3: return Unit(CN_UNIT_TIME);
        case 4: return NewNum(numbers[rng() % 4]);
        case 5: return Unit(CN_UNIT_EXP, Name("mg"));
        case 6: return Unit(CN_UNIT_LOG, Name("L"));
        case 7: return Unit(CN_UNIT_DIV, RandomUnits(rng, depth - 1), RandomUnits(rng, depth - 1));
        default: return Unit(CN_UNIT_MUL, RandomUnits(rng, depth - 1), RandomUnits(rng, depth - 1));
    }
}

// The named leaves and the numbers of a unit tree, the 1 over a bare denominator left out.
void CountLeaves(cn const& u, int& names, int& numbers) {
    if (u->type == CN_UNIT_MUL || u->type == CN_UNIT_DIV) {
        bool bare = u->type == CN_UNIT_DIV && u->child1->type == CN_NUM && u->child1->value == 1;
        if (!bare) CountLeaves(u->child1, names, numbers);
        CountLeaves(u->child2, names, numbers);
        return;
    }
    (u->type == CN_NUM ? numbers : names)++;
}

} // namespace

TEST_F(VaroTest, SimpUnitsKeepsPowerMapsOfRandomTrees) {
    std::mt19937 rng(20240607);
    for (int i = 0; i < 400; i++) {
        N a = RandomUnits(rng, 4), b = RandomUnits(rng, 4);
        std::string trace = UnitText(a) + "  and  " + UnitText(b);
        N sa = Simp(a), sb = Simp(b);
        N product = Simp(Unit(CN_UNIT_MUL, a->Copy(), b->Copy()));
        N quotient = Simp(Unit(CN_UNIT_DIV, a->Copy(), b->Copy()));
        EXPECT_EQ(Powers(a), Powers(sa)) << trace;
        EXPECT_EQ(Combined(Powers(sa), Powers(sb), 1), Powers(product)) << trace;
        EXPECT_EQ(Combined(Powers(sa), Powers(sb), -1), Powers(quotient)) << trace;
        EXPECT_TRUE(Simp(product)->Equal(product)) << trace << " -> " << UnitText(product);
        EXPECT_EQ("1", UnitText(Simp(Unit(CN_UNIT_DIV, a->Copy(), a->Copy())))) << trace;
        // No zero power left: each factor stands on one side only, once per power.
        if (product->type != CN_UNIT_MUL && product->type != CN_UNIT_DIV) continue;
        int leaves = 0, numbers = 0, powers = 0;
        CountLeaves(product, leaves, numbers);
        for (auto const& [factor, power] : Powers(product))
            powers += std::abs(power);
        EXPECT_EQ(0, numbers) << UnitText(product);
        EXPECT_EQ(powers, leaves) << UnitText(product);
    }
}

// ---- SetUnits ----------------------------------------------------------------------------------

TEST_F(VaroTest, SetUnitsEntersAVariableOnceAndWarnsOfAConflict) {
    SV names;
    NV table;
    N x = NewVar("x");
    x->SetUnits(Units("mg*L/L"), "", names, table);
    EXPECT_EQ("((mg*L)/L)", UnitText(x->units)); // the node keeps what it was given
    ASSERT_EQ(1u, names.size());
    EXPECT_STREQ("x", names[0]);
    EXPECT_EQ("mg", UnitText(table[0]));

    testing::internal::CaptureStderr();
    NewVar("x")->SetUnits(Units("L*mg/L"), "", names, table); // the same once simplified
    NewVar("x")->SetUnits(Units("g"), "", names, table);
    NewNode(CN_ADD, NewVar("x"), NewNum(1))->SetUnits(Units("g"), "", names, table);
    NewVar("x")->SetUnits(Units("g"), "m", names, table);
    EXPECT_EQ("Warning: error setting -> x\r\n", testing::internal::GetCapturedStderr());
    ASSERT_EQ(2u, names.size());
    EXPECT_EQ("mg", UnitText(table[0]));
    EXPECT_STREQ("m$x", names[1]);
}

// ---- PropagateUnits at one node ----------------------------------------------------------------

namespace {

struct NodeCase {
    char const* expr;
    std::vector<std::pair<char const*, char const*>> known; // the table before
    char const* given;                                      // units of the root, or none
    char const* expect;                                     // root units | table after
};

// Runs the step on 'c.expr' until it changes nothing; the root's units and the table as text.
std::string Propagated(NodeCase const& c) {
    SV names;
    NV table;
    for (auto const& [name, units] : c.known) {
        names.push_back(name);
        table.push_back(Units(units));
    }
    char const* p = Keep(c.expr);
    N e;
    parsExpr(p, e, 0);
    if (c.given) e->units = Units(c.given);
    int passes = 0;
    for (int iChanged = 1; iChanged && passes < 20; passes++) {
        iChanged = 0;
        e->PropagateUnits("", names, table, iChanged);
    }
    EXPECT_LT(passes, 20) << c.expr;
    std::string out = UnitText(e->units) + " |";
    for (size_t i = 0; i < names.size(); i++)
        out += std::string(" ") + (char const*)names[i] + "=" + UnitText(table[i]);
    return out;
}

} // namespace

TEST_F(VaroTest, PropagateUnitsAtOneNode) {
    NodeCase const cases[] = {
        // Upward, from the operands.
        {"x + 1", {{"x", "mg"}}, nullptr, "mg | x=mg"},
        {"1 + x", {{"x", "mg"}}, nullptr, "mg | x=mg"}, // the number took mg
        {"x - y", {{"x", "mg"}}, nullptr, "mg | x=mg y=mg"},
        {"a * b", {{"a", "mg"}, {"b", "L"}}, nullptr, "(mg*L) | a=mg b=L"},
        {"a / 2", {{"a", "mg"}}, nullptr, "(mg/2) | a=mg"},
        {"exp(a)", {{"a", "mg"}}, nullptr, "exp(mg) | a=mg"},
        {"log(a)", {{"a", "mg"}}, nullptr, "log(mg) | a=mg"},
        {"a ^ 2", {{"a", "mg"}}, nullptr, "none | a=mg"},
        // Downward, to the operands without units.
        {"x", {}, "mg*L/L", "((mg*L)/L) | x=mg"},
        {"x + 1", {}, "mg", "mg | x=mg"},
        {"Cl * C", {{"C", "Cobs"}}, "A/h", "(A/h) | C=Cobs Cl=(A/(h*Cobs))"},
        {"A / V", {{"A", "mg"}}, "C", "C | A=mg V=(mg/C)"},
        {"A / V", {{"V", "L"}}, "C", "C | V=L A=(C*L)"},
        {"exp(a)", {}, "mg", "mg | a=log(mg)"},
        {"log(a)", {}, "mg", "mg | a=exp(mg)"},
        // exp(e) is left to its factor k; the exp then has mg/mg, so e has log(1).
        {"k * exp(e)", {}, "mg", "mg | k=mg e=0"},
        {"exp(e) / k", {}, "mg", "mg | k=(1/mg) e=0"},
    };
    for (NodeCase const& c : cases)
        EXPECT_EQ(c.expect, Propagated(c)) << c.expr;
}
