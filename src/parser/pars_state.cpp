// The statements that declare the state of the system: integrators (deriv, urinecpt,
// transit, delayInfCpt), dose points, and the closed-form compartment models.
#include "driver/driver.h"
#include "parser/parser.h"

#include <cmath>

// "id assign-op" at the head of an integrator statement; false, reported, when absent.
static bool parsTarget(char const*& p, N& var, char const* msg) {
    if (seeLExpr(p, var) && seeAssignOp(p)) return true;
    SetErr(msg, p, 0, 0, -1);
    return false;
}

// deriv ( id assign-op expr [, noss] )
void parsDerivStmt(char const*& p, N& out) {
    N var, rhs, noss;
    expect_char(p, '(', nullptr);
    if (!parsTarget(p, var, "Expected: <integrator_variable> = <expr>")) return;
    parsExpr(p, rhs, 0);
    if (seeChar(p, ',')) {
        if (!seeWord(p, "noss")) return SetErr("Expected 'noss' after comma", p, 0, 0, -1);
        noss = NewNum(1.0);
    }
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_DERIV, var, rhs, noss);
}

// urinecpt ( id assign-op expr [, fe = expr] )
void parsUrineStmt(char const*& p, N& out) {
    N var, rhs, fe;
    expect_char(p, '(', nullptr);
    if (!parsTarget(p, var, "Expected: <urine compartment variable> = <expr>")) return;
    parsExpr(p, rhs, 0);
    if (seeChar(p, ',')) {
        if (!seeWord(p, "fe")) return SetErr("Expected: 'fe'", p, 0, 0, -1);
        expect_char(p, '=', nullptr);
        parsExpr(p, fe, 0);
    }
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_URINECPT, var, rhs, fe);
}

// "word assign-op expr" into an empty 'slot'; false, with nothing consumed but white space,
// when the word is not there or the slot is taken.
static bool parsOnceOption(char const*& p, char const* word, N& slot) {
    if (slot || !seeWord(p, word)) return false;
    expect_assignment(p);
    parsExpr(p, slot, 0);
    return true;
}

// id , expr , expr: the common head of transit and delayInfCpt
static bool parsDelayHead(char const*& p, N& var, N& a, N& b) {
    expect_char(p, '(', nullptr);
    if (!seeLExpr(p, var)) {
        SetErr("Expected: <integrator_variable>", p, 0, 0, -1);
        return false;
    }
    expect_char(p, ',', nullptr);
    parsExpr(p, a, 0);
    expect_char(p, ',', nullptr);
    parsExpr(p, b, 0);
    return true;
}

static bool IsWholeInRange(N const& n, double low, double high) {
    return n->type == CN_NUM && n->value == floor(n->value) && n->value >= low && n->value <= high;
}

// transit ( id , expr , expr { , in = e | , out = e | , max = n } )
void parsTransitStmt(char const*& p, N& out) {
    N var, mtt, n, in, outflow, max;
    if (!parsDelayHead(p, var, mtt, n)) return;
    while (seeChar(p, ',')) {
        if (parsOnceOption(p, "in", in) || parsOnceOption(p, "out", outflow)) continue;
        char const* save = p;
        if (!seeWord(p, "max") || !seeAssignOp(p)) {
            p = save;
            break;
        }
        parsExpr(p, max, 0);
        if (!IsWholeInRange(max, 1, 1000))
            return SetErr("maxn parameter must be a whole number >= 1 and <= 1000", p, 0, 0, -1);
    }
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_TRANSIT, var, mtt, n, max ? max : NewNum(50.0));
    out->list = {in, outflow};
}

// delayInfCpt ( id , expr , expr { , in = e | , out = e | , dist = name } ). Gamma and
// Weibull delays carry shape + 1 in the tree.
void parsDelayInfCptStmt(char const*& p, N& out) {
    N var, mean, shape, in, outflow, dist;
    if (!parsDelayHead(p, var, mean, shape)) return;
    while (seeChar(p, ',')) {
        if (parsOnceOption(p, "in", in) || parsOnceOption(p, "out", outflow)) continue;
        if (!seeWord(p, "dist")) break;
        expect_assignment(p);
        parsExpr(p, dist, 0);
        if (dist->type != CN_VAR || MemberOf(dist->name, DelayDists) < 0)
            return SetErr("Expected: Gamma | Weibull | InverseGaussian", p, 0, 0, -1);
    }
    expect_char(p, ')', nullptr);
    if (!dist) dist = NewVar("Gamma");
    if (dist->name != "InverseGaussian")
        shape = MakeNode(CN_ADD, shape, NewNum(1.0));
    out = MakeNode(CN_DELAYINFCPT, var, mean, shape, dist);
    out->list = {in, outflow};
}
