// GetVarUnits: unit expressions as calls of the engine's unit routines, and the routine over a
// table of units with the slots that the engine fills. Whole models: golden/model/units_one_cpt.
#include "gen_test_support.h"

#include <string>

namespace {

N Name(char const* name) {
    return std::make_shared<CNode>(CN_UNIT_NAME, name);
}

N Unit(CNodeType type, N a, N b = N()) {
    return NewNode(type, a, b);
}

// Runs 'gen' with a temporary file; returns what it printed.
template <class F> std::string Printed(F gen) {
    CGenCode g{std::make_shared<CNode>(CN_MODEL)};
    return GenText(g, [&] { gen(g.fp); });
}

} // namespace

TEST_F(VaroTest, UnitsAsCode) {
    struct Case {
        N units;
        char const* expect;
    };

    Case const cases[] = {
        {Name("A1"), "u: _A1_Units\r\n"},
        {Unit(CN_UNIT_DIV, Name("A1"), Name("CObs")), "u: _units_Div(_A1_Units,_CObs_Units)\r\n"},
        {Unit(CN_UNIT_MUL, std::make_shared<CNode>(CN_UNIT_TIME), NewNum(2.5)),
         "u: _units_Mul(_t_Units,__NumberString(2.5))\r\n"},
        {Unit(CN_UNIT_LOG, Unit(CN_UNIT_EXP, Name("x"))),
         "u: _units_Log(_units_Exp(_x_Units))\r\n"},
        {NewVar("x"), "u: \r\n"}, // not a unit
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expect, Printed([&](FILE* fp) { PrintUnits(fp, "u", c.units); }));
}

// Each entry is simplified in place; one that needs an undeclared _X_Units is left out.
TEST_F(VaroTest, GetVarUnitsOverATable) {
    auto table = [] {
        N t = std::make_shared<CNode>(CN_UNIT_TIME);
        return NV{Name("A"),
                  Unit(CN_UNIT_DIV, Unit(CN_UNIT_MUL, Name("A"), Name("C")),
                       Unit(CN_UNIT_MUL, Name("C"), Name("C"))),
                  Name("Z"), Unit(CN_UNIT_DIV, NewNum(1), t)};
    };
    SV names = {"A", "V", "Q", "k"};
    NV units = table();
    std::string text = Printed([&](FILE* fp) {
        GenUnitsRoutines(fp, names, units, 1, {"t", "A", "C"});
    });
    EXPECT_IN_ORDER(text, {"void GetVarUnits(const char* _nm, char* _units){\n"
                           "\tconst char* _p = nullptr;\n"
                           "\t_units[0] = 0;\n"
                           "    if (_nm[0] == 'A' && strcmp(_nm, \"A\") == 0)\n"
                           "    {\n"
                           "        _p = _A_Units;\n"
                           "        strcpy(_units, _p);\n"
                           "        return;\n"
                           "    }\n",
                           "        _p = _units_Div(_A_Units,_C_Units);\n",
                           "        _p = _units_Div(__NumberString(1),_t_Units);\n",
                           "    }\n"
                           "\n"
                           "    if (_nm[0] == 't' && strcmp(_nm, \"t\") == 0)\n"
                           "    {\n"
                           "        _p = _t_Units;\n"
                           "        strcpy(_units, _p);\n"
                           "        return;\n"
                           "    }\n"
                           "}\n"
                           "\n"});
    EXPECT_EQ(4, CountOf(text, "strcpy")); // no line for Q, whose Z has no slot
    EXPECT_EQ(CN_UNIT_DIV, units[1]->type);
    EXPECT_EQ(CN_UNIT_NAME, units[1]->child2->type);
    units = table();
    text = Printed([&](FILE* fp) { GenUnitsRoutines(fp, names, units, 0, {"A", "C"}); });
    EXPECT_EQ(0, CountOf(text, "_t_Units")); // no time slot in a model that doesn't run in time
    EXPECT_EQ(2, CountOf(text, "strcpy"));
}
