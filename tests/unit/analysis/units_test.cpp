// Unit inference over whole models: the base units of doses, observations, covariates and
// time tie the units of the other variables, compared as power maps; a structural parameter's
// units reach its fixed effect; a real conflict is reported once.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

typedef std::map<std::string, int> PowerMap;

// Base units by name, "t" for the time unit; numbers count for nothing.
void AddPowers(cn const& u, int sign, PowerMap& m) {
    switch (u->type) {
        case CN_UNIT_MUL:
        case CN_UNIT_DIV:
            AddPowers(u->child1, sign, m);
            AddPowers(u->child2, u->type == CN_UNIT_MUL ? sign : -sign, m);
            break;
        case CN_UNIT_TIME: m["t"] += sign; break;
        case CN_UNIT_NAME: m[std::string(u->name)] += sign; break;
        case CN_NUM: break;
        default: m["?"] += sign; break;
    }
}

PowerMap Combined(PowerMap a, PowerMap const& b, int sign) {
    for (auto const& [unit, power] : b)
        a[unit] += sign * power;
    for (auto it = a.begin(); it != a.end();)
        it = it->second == 0 ? a.erase(it) : std::next(it);
    return a;
}

class UnitsTest : public VaroTest {
  protected:
    // The body of the model "test() { <text> }".
    N Body(std::string const& text) {
        static std::vector<std::unique_ptr<std::string>> buffers;
        buffers.push_back(
            std::make_unique<std::string>("test() {\n" + text + "\n}" + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        parsModel(p, model);
        EXPECT_FALSE(IsErrorSet()) << text;
        return model ? model->child2 : std::make_shared<CNode>(CN_BLOCK);
    }

    // Infers the units of the model into the table; returns what went to standard error.
    std::string Infer(N const& body, SV const& params = SV(), SV const& fixefs = SV()) {
        testing::internal::CaptureStderr();
        PropagateUnits(body, params, fixefs, "", names, table);
        return testing::internal::GetCapturedStderr();
    }

    PowerMap Of(char const* name) {
        int i = MemberOf(name, names);
        EXPECT_GE(i, 0) << name << " has no units";
        PowerMap m;
        if (i >= 0) AddPowers(table[i], 1, m);
        return Combined(m, PowerMap(), 1);
    }

    void Know(char const* name, char const* unit) {
        names.push_back(name);
        table.push_back(std::make_shared<CNode>(CN_UNIT_NAME, unit));
    }

    SV names;
    NV table;
};

char const* const oneCompartment = R"(
    deriv(A1 = -Cl * C)
    dosepoint(A1)
    C = A1 / V
    error(CEps = 1)
    observe(CObs = C + CEps)
    covariate(wt)
    stparm(V = tvV * (wt / 70) ^ dVdwt * exp(nV))
    stparm(Cl = tvCl * exp(nCl))
    fixef(tvV = c(, 1, ), tvCl = c(, 1, ), dVdwt = 1)
    ranef(diag(nV, nCl) = c(1, 1)))";

} // namespace

// Doses, observations and covariates are their own base units; V*C is an amount, Cl/V a rate.
TEST_F(UnitsTest, OneCompartmentModel) {
    N body = Body(oneCompartment);
    EXPECT_EQ("", Infer(body, {"V", "Cl"}, {"tvV", "tvCl", "dVdwt"}));
    EXPECT_EQ(PowerMap({{"A1", 1}}), Of("A1"));
    EXPECT_EQ(PowerMap({{"CObs", 1}}), Of("CObs"));
    EXPECT_EQ(PowerMap({{"wt", 1}}), Of("wt"));
    EXPECT_EQ(Of("A1"), Combined(Of("V"), Of("C"), 1));
    EXPECT_EQ(PowerMap({{"t", -1}}), Combined(Of("Cl"), Of("V"), -1));
    EXPECT_EQ(Of("V"), Of("tvV")); // a direct factor of V's stparm
    EXPECT_EQ(Of("Cl"), Of("tvCl"));
    EXPECT_EQ(Of("CObs"), Of("CEps"));          // an additive error
    EXPECT_EQ(-1, MemberOf("dVdwt", names));    // an exponent has no units to take
    EXPECT_FALSE(body->list[0]->child1->units); // inference works on its own copy
}

// deriv and urinecpt tie an amount to its rate per time unit; the rates of closed forms are
// per time unit, the coefficients between them are not.
TEST_F(UnitsTest, IntegratorsAndClosedForms) {
    Know("A", "mg");
    Know("r", "mg");
    Infer(Body("deriv(A = k) urinecpt(U = r)\n"
               "cfMicro(A2, ke, k12, k21, first = (Aa = ka))\n"
               "cfMacro1(A3, alpha, B, beta)\n"
               "cfMacro(A4, p0, p1, p2, r3, r4)"));
    EXPECT_EQ(PowerMap({{"mg", 1}, {"t", -1}}), Of("k"));
    EXPECT_EQ(PowerMap({{"mg", 1}, {"t", 1}}), Of("U"));
    for (char const* rate : {"ke", "k12", "k21", "ka", "alpha", "beta", "r3", "r4"})
        EXPECT_EQ(PowerMap({{"t", -1}}), Of(rate)) << rate;
    for (char const* other : {"B", "p0", "p1", "p2"})
        EXPECT_EQ(-1, MemberOf(other, names)) << other;
}

// X must be CObs through the observation and is set to A1: one warning, and A1 keeps its own.
TEST_F(UnitsTest, ConflictWarnsOnceAndKeepsTheFirstUnit) {
    std::string err = Infer(Body("dosepoint(A1)\n"
                                 "observe(CObs = X + eps)\n"
                                 "X = A1\n"
                                 "error(eps = 1)"));
    EXPECT_EQ("Warning: error setting -> A1\r\n", err);
    EXPECT_EQ(PowerMap({{"A1", 1}}), Of("A1"));
    EXPECT_EQ(PowerMap({{"CObs", 1}}), Of("X"));
}

// A proportional error is no term of the observation's sum: it comes out dimensionless.
TEST_F(UnitsTest, ProportionalErrorIsDimensionless) {
    EXPECT_EQ("", Infer(Body("dosepoint(A1)\n"
                             "C = A1 / V\n"
                             "observe(CObs = C * (1 + eps))\n"
                             "error(eps = 1)")));
    int i = MemberOf("eps", names);
    ASSERT_GE(i, 0);
    EXPECT_EQ(CN_NUM, table[i]->type);
    EXPECT_EQ(1.0, table[i]->value);
    EXPECT_EQ(PowerMap({{"A1", 1}, {"CObs", -1}}), Of("V"));
}

// An error before its observation learns the observation's units in a later pass, though no
// new name tells: eps had its units from the start, so the clash is reported then.
TEST_F(UnitsTest, ErrorBeforeItsObservation) {
    Know("eps", "mg");
    EXPECT_EQ("Warning: error setting -> eps\r\n", Infer(Body("error(eps = 1)\n"
                                                              "observe(CObs = C + eps)")));
    EXPECT_EQ(PowerMap({{"mg", 1}}), Of("eps"));
    EXPECT_EQ(PowerMap({{"CObs", 1}}), Of("C"));
}

// x1 = x2 ... x600 = A1 before the dose: the units of A1 walk up the chain one link every
// second pass, from the last statement to the first, until the limit of 500 passes ends the
// walk at x352. The other way round, x1 first, a single pass would do.
TEST_F(UnitsTest, BackwardChainEndsAtThePassLimit) {
    std::string text;
    for (int i = 1; i < 600; i++)
        text += "x" + std::to_string(i) + " = x" + std::to_string(i + 1) + "\n";
    text += "x600 = A1\ndosepoint(A1)";
    EXPECT_EQ("", Infer(Body(text)));
    EXPECT_EQ(PowerMap({{"A1", 1}}), Of("x600"));
    EXPECT_EQ(PowerMap({{"A1", 1}}), Of("x352"));
    EXPECT_EQ(-1, MemberOf("x351", names));
    EXPECT_EQ(250u, names.size()); // A1 and x352 ... x600
}
