// Units over a trial script: the time unit text, units that cross a join in either direction,
// the model rules run per instance, and the plain text of a unit expression.
#include "analysis/analysis.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <string>

namespace {

class CohortUnitsTest : public VaroTest {
  protected:
    // Reads the script and infers its units, starting from the time text 'time'.
    void Infer(std::string const& text, char const* time) {
        buffer = text + std::string(16, '\0');
        char const* p = buffer.c_str();
        parsCohort(p);
        ASSERT_FALSE(IsErrorSet()) << text;
        sTime = time;
        CohortPropagateUnits(paModel, paJoin, paUnits, sTime);
    }

    std::string VarText(char const* instance, char const* name) {
        String out("stale");
        GetCohortVarUnitText(instance, name, sTime, out);
        return std::string(out);
    }

    std::string buffer;
    String sTime;
};

// A unit expression given as the right side of "units { x = <text> }".
std::string UnitText(std::string const& text, char const* time) {
    std::string buffer = "{ x = " + text + " }" + std::string(16, '\0');
    char const* p = buffer.c_str();
    N block;
    parsUnits(p, block);
    String out("=");
    GenCohortUnits(block->list[0]->child2, out, String(time));
    return std::string(out);
}

} // namespace

TEST_F(CohortUnitsTest, TimeUnitText) {
    struct {
        char const* script;
        char const* time;
    } const cases[] = {
        {"model m() { x = 1 }", "min"},                  // no units block: left as it was
        {"model m() { x = 1 } units { m$x = mg }", "h"}, // a block without t
        {"model m() { x = 1 } units { t = min }", "min"},
        {"model m() { x = 1 } units { t = 24 * h / d }", "h/d"},
    };

    for (auto const& c : cases) {
        Infer(c.script, "min");
        EXPECT_EQ(c.time, std::string(sTime)) << c.script;
    }
}

TEST_F(CohortUnitsTest, JoinedVariablesShareGivenUnits) {
    char const* const models = "model pk() { C = D / V } model pd(Cp) { E = Cp * 2 }\n"
                               "join { a : pk()  e : pd(a$C) }\n";

    struct {
        char const* units;
        char const* instance;
        char const* name;
    } const cases[] = {{"units { a$C = mg / L }", "e", "Cp"},
                       {"units { e$Cp = mg / L }", "a", "C"}};

    for (auto const& c : cases) {
        Infer(std::string(models) + c.units, "h");
        EXPECT_EQ("mg/L", VarText(c.instance, c.name)) << c.units;
    }
    EXPECT_EQ("", VarText("a", "nothing"));
}

TEST_F(CohortUnitsTest, ModelRulesRunPerInstance) {
    Infer("model pk() { deriv(A = -k * A) C = A / V }\n"
          "join { a : pk() }\n"
          "units { a$A = mg  a$V = L  t = min }",
          "h");
    EXPECT_EQ("mg/L", VarText("a", "C"));
    N deriv = paModel[0]->child2->list[0];
    String text("stale");
    GetCohortUnitText(deriv->child2, sTime, text);
    EXPECT_EQ("mg/min", std::string(text)); // the time unit printed as the script's
    GetCohortUnitText(N(), sTime, text);
    EXPECT_EQ("", std::string(text));
}

TEST_F(CohortUnitsTest, PlainText) {
    struct {
        char const* units;
        char const* text;
    } const cases[] = {
        {"2.5", "=2.5"},
        {"mg / (L * h)", "=mg/L*h"}, // no brackets around an inner product
        {"mg * L / kg", "=mg*L/kg"},
    };

    for (auto const& c : cases)
        EXPECT_EQ(c.text, UnitText(c.units, "min")) << c.units;
    N timeLog =
        NewNode(CN_UNIT_LOG, NewNode(CN_UNIT_DIV, std::make_shared<CNode>(CN_UNIT_NAME, "mg"),
                                     std::make_shared<CNode>(CN_UNIT_TIME)));
    String out;
    GenCohortUnits(NewNode(CN_UNIT_EXP, timeLog), out, String("d"));
    EXPECT_EQ("exp(log(mg/d))", std::string(out));
}
