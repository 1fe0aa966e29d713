// Closed-form compartment models: micro constants (cfMicro, cfMacro1) and macro constants
// (cfMacro, cfMacro2), each with the central compartment and its parameters.
#include "parser/parser.h"

// "word assign-op" at the cursor. The word alone is stepped over, as if it were not there.
static bool seeWordAssign(char const*& p, char const* word) {
    return seeWord(p, word) && seeAssignOp(p);
}

// first = ( depot assign-op rate ): the absorption from a depot compartment
static void parsFirstOrderInput(char const*& p, N& out) {
    char depot[NAME_BUF_SIZE];
    N rate;
    expect_char(p, '(', nullptr);
    expect_id(p, depot, "Expected: <depot compartment name>");
    expect_assignment(p, "<rate expression>");
    parsExpr(p, rate, 0);
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_ASSIGN, MakeNode(depot), rate);
}

// cfMicro ( id { , expr | , first = ( id = expr ) } ) and cfMacro1 the same
void parsCfMicroStmt(char const*& p, N& out, CNodeType type) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <compartment name>");
    out = MakeNode(type, name);
    while (seeChar(p, ',')) {
        if (seeWordAssign(p, "first")) {
            parsFirstOrderInput(p, out->child1);
            continue;
        }
        N arg;
        parsExpr(p, arg, 0);
        out->list.push_back(arg);
    }
    if (out->list.size() % 2 == 0)
        return SetErr("requires odd number of arguments, not more than five", p, 0, 0, -1);
    expect_char(p, ')', nullptr);
}

// cfMacro ( id { , expr | , strip = expr } ) and cfMacro2 the same
void parsCfMacroStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <compartment name>");
    out = MakeNode(CN_CFMACRO, name);
    while (seeChar(p, ',')) {
        if (seeWordAssign(p, "strip")) {
            parsExpr(p, out->child4, 0);
            continue;
        }
        N arg;
        parsExpr(p, arg, 0);
        out->list.push_back(arg);
    }
    // The count in the message includes the compartment name.
    if (out->list.size() < 4 || out->list.size() > 9)
        return SetErr("requires 5 to 10 arguments", p, 0, 0, -1);
    expect_char(p, ')', nullptr);
}
