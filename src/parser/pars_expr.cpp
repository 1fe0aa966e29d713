// The expression grammar: `parsExpr` down to `parsPrim`, from assignment to primaries,
// with the built-in forms `mean`, `median`, `delay`, `gammaDelay` and `peak`, and the
// numeric list `c(...)`. Every node built gets the source span of its text.
#include "driver/driver.h"
#include "parser/parser.h"

#include <cmath>
#include <cstring>

SV DelayDists = {"Gamma", "Weibull", "InverseGaussian"};

static void parsCond(char const*& p, N& out);
static void parsOr(char const*& p, N& out);
static void parsAnd(char const*& p, N& out);
static void parsCompare(char const*& p, N& out);
static void parsSum(char const*& p, N& out);
static void parsProduct(char const*& p, N& out);
static void parsUnary(char const*& p, N& out);
static void parsFactor(char const*& p, N& out);
static void parsPrim(char const*& p, N& out);

static N NewCall(char const* name, NV args) {
    N call = MakeNode(CN_CALL, name);
    call->list = std::move(args);
    return call;
}

// Gives a node built by a binary level the span from its left operand to the cursor.
static void SetSpan(N const& node, char const* start, char const* p) {
    node->pos = get_pos(start, p);
}

void parsExpr(char const*& p, N& out, int allowAssign) {
    parsAssign(p, out, allowAssign);
    if (IsErrorSet()) syntax_err();
}

// assign: cond [ assign-op cond ]
void parsAssign(char const*& p, N& out, int allowAssign) {
    char const* start = ScanWhite(p);
    parsCond(p, out);
    if (seeAssignOp(p)) {
        if (!allowAssign) syntax_err("Error: Assignment only allowed at top level", p);
        N rhs;
        parsCond(p, rhs);
        out = NewNode(CN_ASSIGN, out, rhs);
    }
    SetSpan(out, start, p);
}

// cond: or { "?" or ":" cond }
static void parsCond(char const*& p, N& out) {
    DepthGuard guard(p);
    char const* start = ScanWhite(p);
    parsOr(p, out);
    while (seeChar(p, '?')) {
        N then, other;
        parsOr(p, then);
        if (!seeChar(p, ':')) syntax_err("Expected: : <expr>", p);
        parsCond(p, other);
        out = MakeNode(CN_COND, out, then, other);
        SetSpan(out, start, p);
    }
}

// or: and { "||" and }
static void parsOr(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsAnd(p, out);
    DepthGuard guard;
    while (seeChars(p, "||")) {
        guard.Enter(p);
        N rhs;
        parsAnd(p, rhs);
        out = NewNode(CN_OR, out, rhs);
        SetSpan(out, start, p);
    }
}

// and: compare { "&&" compare }
static void parsAnd(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsCompare(p, out);
    DepthGuard guard;
    while (seeChars(p, "&&")) {
        guard.Enter(p);
        N rhs;
        parsCompare(p, rhs);
        out = NewNode(CN_AND, out, rhs);
        SetSpan(out, start, p);
    }
}

// The comparison operators in the order they are tried.
// clang-format off
static struct { char const* op; CNodeType type; } const compareOps[] = {
    {">=", CN_GE}, {"<=", CN_LE}, {"==", CN_EQ}, {"!=", CN_NE}, {">", CN_GT}, {"<", CN_LT}};

// clang-format on

// compare: sum [ compare-op sum ]. Does not chain; "<-" after a sum is an assignment.
static void parsCompare(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsSum(p, out);
    ScanWhite(p);
    if (p[0] == '<' && p[1] == '-') return;
    for (auto const& c : compareOps) {
        if (!seeChars(p, c.op)) continue;
        N rhs;
        parsSum(p, rhs);
        out = NewNode(c.type, out, rhs);
        SetSpan(out, start, p);
        return;
    }
}

// sum: product { ("+" | "-") product }
static void parsSum(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsProduct(p, out);
    DepthGuard guard;
    for (;;) {
        CNodeType type;
        if (seeChar(p, '+'))
            type = CN_ADD;
        else if (seeChar(p, '-'))
            type = CN_SUB;
        else
            break;
        guard.Enter(p);
        N rhs;
        parsProduct(p, rhs);
        out = NewNode(type, out, rhs);
        SetSpan(out, start, p);
    }
}

// product: unary { ("*" | "/") unary }
static void parsProduct(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    parsUnary(p, out);
    DepthGuard guard;
    for (;;) {
        CNodeType type;
        if (seeChar(p, '*'))
            type = CN_MUL;
        else if (seeChar(p, '/'))
            type = CN_DIV;
        else
            break;
        guard.Enter(p);
        N rhs;
        parsUnary(p, rhs);
        out = NewNode(type, out, rhs);
        SetSpan(out, start, p);
    }
}

// unary: "-" unary | "!" unary | factor
static void parsUnary(char const*& p, N& out) {
    DepthGuard guard(p);
    char const* start = ScanWhite(p);
    CNodeType type;
    if (seeChar(p, '-'))
        type = CN_NEG;
    else if (seeChar(p, '!'))
        type = CN_NOT;
    else
        return parsFactor(p, out);
    N operand;
    parsUnary(p, operand);
    out = NewNode(type, operand);
    SetSpan(out, start, p);
}

// factor: prim [ ("^" | "**") factor ]. The power node spans from its left operand's start
// to its right operand's end.
static void parsFactor(char const*& p, N& out) {
    DepthGuard guard(p);
    parsPrim(p, out);
    if (!seeChar(p, '^') && !seeChars(p, "**")) return;
    N rhs;
    parsFactor(p, rhs);
    Pos span = out->pos;
    span.end = rhs->pos.end;
    out = NewNode(CN_POW, out, rhs);
    out->pos = span;
}

// mean(id) or median(id) of a covariate; false, with the cursor wherever the test stopped,
// when any of the four parts is missing.
static bool parsCovariateStat(char const*& p, char const* word, CNodeType type, N& out) {
    String name;
    if (!seeWord(p, word) || !seeChar(p, '(') || !seeName(p, name) || !seeChar(p, ')'))
        return false;
    out = MakeNode(type, name);
    return true;
}

// One "word = expr" option of delay or gammaDelay into 'slot', refusing a second use.
static void parsOption(char const*& p, N& slot, char const* againMsg) {
    if (slot) syntax_err(againMsg, p);
    expect_assignment(p);
    parsExpr(p, slot, 0);
}

// delay(expr, expr {, shape = e | hist = e | dist = Gamma|Weibull|InverseGaussian})
static void parsDelay(char const*& p, N& out) {
    N signal, delayTime, shape, hist, dist;
    expect_char(p, '(', nullptr);
    parsExpr(p, signal, 0);
    expect_char(p, ',', nullptr);
    parsExpr(p, delayTime, 0);
    while (seeChar(p, ',')) {
        if (seeWord(p, "shape")) {
            parsOption(p, shape, "Shape already specified");
        } else if (seeWord(p, "hist")) {
            parsOption(p, hist, "Hist already specified");
        } else if (seeWord(p, "dist")) {
            parsOption(p, dist, "Dist already specified");
            if (dist->type != CN_VAR || MemberOf(dist->name, DelayDists) < 0)
                syntax_err("Expected: Gamma | Weibull | InverseGaussian", p);
        } else {
            syntax_err("Unrecognized argument", p);
        }
    }
    if (!shape) shape = NewNum(100.0);
    if (!hist) hist = NewNum(0.0);
    expect_char(p, ')', nullptr);
    if (!dist) dist = NewVar("Gamma");
    out = MakeNode(CN_DELAY, signal, delayTime, shape, hist);
    out->list.push_back(dist);
}

static bool IsNumODE(N const& n) {
    return n->type == CN_NUM && n->value == floor(n->value) && n->value >= 1 && n->value <= 400;
}

// The algebra of a gamma-distributed delay of input 'A' with mean 'B', shape 'S', history
// 'H': the history term H*(1 - gammCDF(t, S, B/S, lgamma(S))) and the kernel
// (S/B)/exp(lgamma(S)) * pow(S/B*t, S-1). The nodes S, B, a and L are shared.
static N BuildGammaDelay(N A, N B, N S, N H, N numODE, int number) {
    N out = NewNode(CN_GAMMADELAY, A, B);
    out->list = {S, H, numODE, NewNum(number)};
    N a = NewNode(CN_DIV, S, B);
    N b = NewNode(CN_DIV, B, S);
    N L = NewCall("_lgamm_cached", {S});
    N G = NewCall("gammCDF", {NewVar("t"), S, b, L});
    out->child3 = NewNode(CN_MUL, H, NewNode(CN_SUB, NewNum(1.0), G));
    N P = NewCall("pow", {NewNode(CN_MUL, a, NewVar("t")), NewNode(CN_SUB, S, NewNum(1.0))});
    N E = NewCall("exp", {L});
    out->child4 = NewNode(CN_MUL, NewNode(CN_DIV, a, E), P);
    return out;
}

// gammaDelay(expr, expr {, shape = e | hist = e | numODE = n})
static void parsGammaDelay(char const*& p, N& out) {
    static int gdelCount = 0; // numbers gamma delays across all models of the run
    N A, B, shape, hist, numODE;
    expect_char(p, '(', nullptr);
    parsExpr(p, A, 0);
    expect_char(p, ',', nullptr);
    parsExpr(p, B, 0);
    while (seeChar(p, ',')) {
        if (seeWord(p, "shape"))
            parsOption(p, shape, "Shape already specified");
        else if (seeWord(p, "hist"))
            parsOption(p, hist, "Hist already specified");
        else if (seeWord(p, "numODE"))
            parsOption(p, numODE, "numODE already specified");
        else
            syntax_err("Unrecognized argument", p);
    }
    if (!shape) syntax_err("shape is required", p);
    if (!hist) hist = NewNum(0.0);
    expect_char(p, ')', nullptr);
    if (!numODE) syntax_err("numODE is required", p);
    if (!IsNumODE(numODE))
        syntax_err("The value of numODE must be a natural number between 1 and 400", p);
    out = BuildGammaDelay(A, B, shape, hist, numODE, gdelCount++);
}

// peak(id = expr {, min [= cond] | max [= cond]}). For max the condition is negated.
static void parsPeak(char const*& p, N& out) {
    String target;
    N expr, cond;
    bool isMax = true;
    expect_char(p, '(', nullptr);
    if (!seeName(p, target)) syntax_err("Expected variable name to receive max/min value", p);
    expect_assignment(p);
    parsExpr(p, expr, 0);
    while (seeChar(p, ',')) {
        if (seeWord(p, "min"))
            isMax = false;
        else if (seeWord(p, "max"))
            isMax = true;
        else
            break;
        if (seeAssignOp(p)) parsExpr(p, cond, 0);
    }
    expect_char(p, ')', nullptr);
    if (!cond) cond = NewVar("true");
    if (isMax) cond = NewNode(CN_NOT, cond);
    out = MakeNode(CN_PEAK, target, expr, cond, N());
}

// id "$" id (a model member), id "(" { [","] expr } ")" (a call), or id (a variable).
static bool parsIdForm(char const*& p, N& out) {
    String name, member;
    if (!seeName(p, name)) return false;
    if (seeChar(p, '$')) {
        if (!seeName(p, member)) syntax_err("Expected: <model member variable>", p);
        out = NewNode(CN_MEMBER, NewVar(name), NewVar(member));
    } else if (seeChar(p, '(')) {
        WarnOfPossibleMisspelling(name);
        out = MakeNode(CN_CALL, name);
        while (!seeChar(p, ')')) {
            seeChar(p, ',');
            N arg;
            parsExpr(p, arg, 0);
            out->list.push_back(arg);
        }
    } else {
        out = NewVar(name);
    }
    return true;
}

// prim: "(" expr ")" | mean(id) | median(id) | delay(...) | gammaDelay(...) | peak(...)
//     | id-form | number
static void parsPrim(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    if (seeChar(p, '(')) {
        parsExpr(p, out, 0);
        expect_char(p, ')', nullptr);
    } else if (parsCovariateStat(p, "mean", CN_CV_MEAN, out) ||
               parsCovariateStat(p, "median", CN_CV_MEDIAN, out)) {
    } else if (seeWord(p, "delay")) {
        parsDelay(p, out);
    } else if (seeWord(p, "gammaDelay")) {
        parsGammaDelay(p, out);
    } else if (seeWord(p, "peak")) {
        parsPeak(p, out);
    } else if (p = start, parsIdForm(p, out)) {
    } else {
        double value;
        if (!seeNum(p, value, nullptr)) syntax_err("Unrecognized primitive expression", p);
        out = NewNum(value);
    }
    SetSpan(out, start, p);
}

// c( { cond [","] } ): a list of expressions, each with its span.
void parsExprList(char const*& p, NV& out) {
    if (!seeWord(p, "c")) {
        SetErr("Expected 'c'", p, 0, 0, -1);
        return;
    }
    expect_char(p, '(', "Expected: '('");
    while (!seeChar(p, ')')) {
        char const* start = ScanWhite(p);
        N item;
        parsCond(p, item);
        SetSpan(item, start, p);
        if (seeAssignOp(p)) syntax_err("Error: Assignment only allowed at top level", p);
        if (IsErrorSet()) syntax_err();
        seeChar(p, ',');
        out.push_back(item);
    }
}

// An identifier only, as a `CN_VAR`; the cursor stays when there is none.
bool seeLExpr(char const*& p, N& out) {
    String name;
    char const* start = ScanWhite(p);
    if (!seeName(p, name)) return false;
    out = NewVar(name);
    SetSpan(out, start, p);
    return true;
}
