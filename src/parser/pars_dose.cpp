// Dose points: where doses enter a compartment, with lag, duration or rate, bioavailability,
// and the names of the variables that hold the dose amounts.
#include "parser/parser.h"

// "word assign-op expr" into 'slot'; a second use of the word is reported with 'againMsg'.
// False, with an error set, when it was a second use.
static bool parsDoseExpr(char const*& p, N& slot, char const* againMsg) {
    if (slot) {
        SetErr(againMsg, p, 0, 0, -1);
        return false;
    }
    expect_assignment(p);
    parsExpr(p, slot, 0);
    return true;
}

// "word assign-op id": the name of a dose variable
static void parsDoseVarName(char const*& p, String& slot, char const* msg) {
    char name[NAME_BUF_SIZE];
    expect_assignment(p);
    expect_id(p, name, msg);
    slot = name;
}

// One option after a comma; false, with an error set, when it fails. Each hook is read once;
// a second one falls through to the message of an unknown option.
static bool parsDoseOption(char const*& p, N& dose, CDoseVarOption& vars, N hooks[2]) {
    if (seeWord(p, "tlag")) return parsDoseExpr(p, dose->child1, "tlag already specified");
    if (seeWord(p, "duration")) return parsDoseExpr(p, dose->child2, "duration already specified");
    if (seeWord(p, "rate")) return parsDoseExpr(p, dose->child3, "rate already specified");
    // A repeated bioavail is reported as a repeated rate: that is the message users know.
    if (seeWord(p, "bioavail")) return parsDoseExpr(p, dose->child4, "rate already specified");
    if (!hooks[0] && seeWord(p, "dobefore")) {
        parsHookAction(p, hooks[0]);
        return !IsErrorSet();
    }
    if (!hooks[1] && seeWord(p, "doafter")) {
        parsHookAction(p, hooks[1]);
        return !IsErrorSet();
    }
    if (seeWord(p, "idosevar")) {
        parsDoseVarName(p, vars.idosevar, "Expected: <initial dose variable name>");
    } else if (seeWord(p, "infdosevar")) {
        parsDoseVarName(p, vars.infdosevar, "Expected: <initial infusion dose variable name>");
    } else if (seeWord(p, "infratevar")) {
        parsDoseVarName(p, vars.infratevar, "Expected: <initial infusion rate variable name>");
    } else if (dose->type == CN_DOSEPOINT && seeWord(p, "split")) {
        vars.split = 1;
    } else {
        SetErr("Expected: tlag|duration|rate|bioavail = <expr>", p, 0, 0, -1);
        return false;
    }
    return true;
}

// dosepoint ( id { , option } ), dosepoint1 the same, dosepoint2 without "split"
void parsDosepointStmt(char const*& p, N& out, CNodeType type) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <dosepoint variable name>");
    out = MakeNode(type, name);
    CDoseVarOption vars;
    N hooks[2];
    while (seeChar(p, ',')) {
        if (!parsDoseOption(p, out, vars, hooks)) return;
        if (out->child2 && out->child3)
            return SetErr("Cannot specify both duration and rate", p, 0, 0, -1);
    }
    if (hooks[0] || hooks[1]) {
        out->appendix = std::make_unique<CNodeAppendix>();
        out->appendix->dobefore = hooks[0];
        out->appendix->doafter = hooks[1];
    }
    bool named = vars.idosevar[0] || vars.infdosevar[0] || vars.infratevar[0];
    if (named || vars.split) out->doseOption = vars.Copy();
    expect_char(p, ')', nullptr);
}
