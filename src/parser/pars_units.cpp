// The grammar of unit expressions: products and quotients of unit names and numbers, and
// the "units" block of a trial script that assigns them to variables.
#include "parser/parser.h"

static N NewUnitNode(CNodeType type, N a, N b, char const* start, char const* p) {
    N n = MakeNode(type, a, b);
    n->pos = get_pos(start, p);
    return n;
}

// units: "{" { ";" } { id ["$" id] assign-op product { ";" } } "}"
void parsUnits(char const*& p, N& out) {
    String name;
    ScanWhite(p);
    expect_char(p, '{', nullptr);
    out = MakeNode(CN_UNITS);
    for (;;) {
        while (seeChar(p, ';')) {
        }
        if (seeChar(p, '}')) break;
        char const* start = ScanWhite(p);
        if (!seeName(p, name)) syntax_err("Expected: id", p);
        N lhs = MakeNode(name);
        if (seeChar(p, '$')) {
            if (!seeName(p, name)) syntax_err("Expected: model member", p);
            lhs = NewUnitNode(CN_MEMBER, lhs, MakeNode(name), start, p);
        }
        expect_assignment(p, "units ");
        N rhs;
        parsUnitProduct(p, rhs);
        if (IsErrorSet()) return;
        out->list.push_back(NewUnitNode(CN_ASSIGN, lhs, rhs, start, p));
    }
}

void parsUnitExpr(char const*& p, N& out) {
    parsUnitProduct(p, out);
}

// product: prim { ("*" | "/") prim }
void parsUnitProduct(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsUnitPrim(p, out);
    if (IsErrorSet()) return;
    while (*ScanWhite(p)) {
        CNodeType type;
        if (seeChar(p, '*'))
            type = CN_UNIT_MUL;
        else if (seeChar(p, '/'))
            type = CN_UNIT_DIV;
        else
            break;
        N rhs;
        parsUnitPrim(p, rhs);
        if (IsErrorSet()) return;
        out = NewUnitNode(type, out, rhs, start, p);
    }
}

// prim: number | id | "(" product ")". Reports "Expected units" without throwing.
void parsUnitPrim(char const*& p, N& out) {
    DepthGuard guard(p);
    String text;
    double value;
    char const* start = ScanWhite(p);
    if (seeNum(p, value, nullptr)) {
        out = MakeNode(value);
    } else if (seeName(p, text)) {
        out = MakeNode(CN_UNIT_NAME, text);
    } else if (seeChar(p, '(')) {
        parsUnitProduct(p, out);
        if (!IsErrorSet()) expect_char(p, ')', nullptr);
        if (IsErrorSet()) return;
    } else {
        SetErr("Expected units", p, 0, 0, -1);
        return;
    }
    out->pos = get_pos(start, p);
}
