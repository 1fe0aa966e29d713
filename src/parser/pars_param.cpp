// Parameter statements other than random effects and residual errors: fixed effects with
// their bounds and marks, constraints, the prior covariance of fixed effects (vcvfixef, with
// its eigenvalue test) and its degrees of freedom, data columns, lookup tables, and the
// assignment lists of group, stparm and secondary.
#include "parser/parser.h"

#include <Eigen/Eigenvalues>
#include <cmath>

// A parsed expression reduced by `Simp` to a number, keeping the span of its text; empty
// when it doesn't reduce to one.
static N SimpleNumber(N const& expr) {
    int fail = 0;
    N num = expr->Simp(fail);
    if (fail || num->type != CN_NUM) return N();
    num->pos = expr->pos;
    return num;
}

// part: expr
// One part of a fixef estimate; it must reduce to a number, whose span ends with its text.
static void parsFixefNumber(char const*& p, N& out) {
    N expr;
    parsExpr(p, expr, 0);
    out = SimpleNumber(expr);
    if (!out) return SetErr("Expected simple numeric value", p, 0, 0, -1);
    out->pos.end = LastTokenEnd(out->pos.start, out->pos.end);
}

// Skips white space and comments; true when 'c' stands at the cursor then.
static bool IsNextChar(char const*& p, char c) {
    return *ScanWhite(p) == c;
}

// estimate: "c" "(" [expr] "," [expr] "," [expr] ")" | expr
// 'est' receives lower, initial and upper; each part left out stays empty.
static void parsFixefEstimate(char const*& p, N est[3]) {
    char const* start = ScanWhite(p);
    if (!seeWord(p, "c") || !seeChar(p, '(')) {
        p = start;
        return parsFixefNumber(p, est[1]);
    }
    for (int i = 0; i < 2; i++) {
        if (!IsNextChar(p, ',')) parsFixefNumber(p, est[i]);
        if (IsErrorSet()) return;
        expect_char(p, ',', "Expected: ','");
    }
    if (!IsNextChar(p, ')')) parsFixefNumber(p, est[2]);
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// A number that is rounded down to a whole enable number; 'negMsg' when it is negative.
static N WholeEnableNumber(double value, char const* start, char const*& p, char const* negMsg) {
    if (value < 0) {
        SetErr(negMsg, p, 0, 0, -1);
        return N();
    }
    N num = NewNum(floor(value));
    num->pos = get_pos(start, p);
    return num;
}

// enable-value: number | "c" "(" number ")"
static void parsEnableValue(char const*& p, N& mark) {
    double value;
    char const* start = ScanWhite(p);
    if (seeNum(p, value, nullptr)) {
        mark = WholeEnableNumber(value, start, p, "Enable number must be integer >= 0");
        return;
    }
    if (!seeWord(p, "c") || !seeChar(p, '(')) {
        p = start;
        return SetErr("Expected integer enablement mask", p, 0, 0, -1);
    }
    start = ScanWhite(p);
    if (!seeNum(p, value, nullptr)) return SetErr("Expected integer enable number", p, 0, 0, -1);
    N num = WholeEnableNumber(value, start, p, "Enable number inside c(..) must be integer >= 0");
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
    mark = MakeNode(CN_VALUES);
    mark->list.push_back(num);
}

// options: { "(" ( "freeze" | "enable" assign-op enable-value ) ")" }
// Sets the frozen mark on 'item'; the enable mark goes to 'enable'.
static void parsFixefOptions(char const*& p, N const& item, N& enable) {
    while (seeChar(p, '(')) {
        if (seeWord(p, "freeze")) {
            expect_char(p, ')', nullptr);
            if (item->child1) return SetErr("freeze specified twice", p, 0, 0, -1);
            item->child1 = NewNum(1.0);
        } else if (seeWord(p, "enable")) {
            N mark;
            expect_assignment(p);
            parsEnableValue(p, mark);
            if (IsErrorSet()) return;
            expect_char(p, ')', nullptr);
            if (enable) return SetErr("enable specified twice", p, 0, 0, -1);
            enable = mark;
        } else {
            return SetErr("Expected 'freeze' or 'enable'", p, 0, 0, -1);
        }
    }
}

// item: id options [ assign-op estimate ]
// The item is a `CN_VAR` in the statement's list, with child1 the frozen mark, child2 the
// enable mark (dropped when frozen), child4 a placeholder spanning the estimate's text, and
// the list lower, initial, upper.
static void parsFixefItem(char const*& p, N const& stmt) {
    char name[NAME_BUF_SIZE];
    char const* start = ScanWhite(p);
    expect_id(p, name, "Expected: <fixed effect variable>");
    N item = MakeNode(name);
    stmt->list.push_back(item);
    N enable, est[3];
    parsFixefOptions(p, item, enable);
    if (IsErrorSet()) return;
    if (enable && !item->child1) item->child2 = enable;
    if (seeAssignOp(p)) {
        char const* estStart = ScanWhite(p);
        parsFixefEstimate(p, est);
        if (IsErrorSet()) return;
        // Only the span counts: the text replacement of an override finds the estimate by it.
        item->child4 = MakeNode("whatever");
        item->child4->pos = get_pos(estStart, LastTokenEnd(estStart, p));
    }
    item->list = {est[0], est[1], est[2]};
    item->pos = get_pos(start, LastTokenEnd(start, p));
}

// fixef ( { [","] item } )
void parsFixefStmt(char const*& p, N& out) {
    expect_char(p, '(', nullptr);
    out = MakeNode(CN_FIXEF);
    while (!seeChar(p, ')')) {
        seeChar(p, ',');
        parsFixefItem(p, out);
        if (IsErrorSet()) return;
    }
}

// constrain ( expr )
void parsConstrainStmt(char const*& p, N& out) {
    N cond;
    expect_char(p, '(', "Expected: ( <boolean expr> )");
    parsExpr(p, cond, 0);
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_CONSTRAIN, cond);
}

// numbers: [ expr { "," expr } ] up to the ")" that closes "c(", which is read as well.
// Each expr must reduce to a number.
static void parsUncertaintyNumbers(char const*& p, N const& nums) {
    char const* start = p;
    if (IsNextChar(p, ')')) {
        nums->pos = get_pos(start, p);
        p++; // skip ')'
        return;
    }
    for (;;) {
        if (IsNextChar(p, ')'))
            syntax_err("Expected a number or a simple numeric expression", p - 1);
        N expr;
        parsExpr(p, expr, 0);
        N num = SimpleNumber(expr);
        if (!num) syntax_err("Expected a number or a simple numeric expression", p);
        nums->list.push_back(num);
        nums->pos = get_pos(start, ScanWhite(p));
        if (!*p || seeChar(p, ')')) return;
        expect_char(p, ',', "Expected: ','");
    }
}

// Whether the symmetric matrix whose lower triangle 'nums' holds by rows has no negative
// eigenvalue; a singular matrix passes.
static bool HasNonNegativeEigenvalues(N const& nums, int n) {
    Eigen::MatrixXd a(n, n);
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++, k++)
            a(i, j) = a(j, i) = nums->list[k]->value;
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(a, Eigen::EigenvaluesOnly);
    for (int i = 0; i < n; i++)
        if (solver.eigenvalues()(i) < 0) return false;
    return true;
}

// The count and sign tests of a vcvfixef matrix of 'n' names: n numbers for diag, the lower
// triangle for block.
static void CheckUncertaintyMatrix(char const*& p, N const& nums, int n, bool block) {
    size_t want = block ? size_t(n * (n + 1) / 2) : size_t(n);
    if (nums->list.size() < want && block)
        return SetErr("Not enough numbers in variance/covariance matrix", p, 0, 0, -1);
    if (nums->list.size() < want)
        return SetErr("Not enough numbers in diagonal variance matrix", p, 0, 0, -1);
    if (nums->list.size() > want && block)
        return SetErr("Too many numbers in variance/covariance matrix", p, 0, 0, -1);
    if (nums->list.size() > want)
        return SetErr("Too many numbers in diagonal variance matrix", p, 0, 0, -1);
    if (block && !HasNonNegativeEigenvalues(nums, n))
        return SetErr("All eigenvalues must be non-negative", p, 0, 0, -1);
    if (block) return;
    for (N const& num : nums->list)
        if (num->value < 0) return SetErr("All values must be non-negative", p, 0, 0, -1);
}

// vcvfixef ( ("block" | "diag") names assign-op "c(" numbers ")" )
// "c(" is one literal: no blank may stand between its characters.
void parsUncertaintyStmt(char const*& p, N& out, CNodeType type) {
    expect_char(p, '(', nullptr);
    bool block = seeWord(p, "block");
    if (!block && !seeWord(p, "diag")) syntax_err("Expected: block|diag", p);
    N names = parse_name_list(p);
    expect_assignment(p);
    if (!seeChars(p, "c(")) syntax_err("Expected: 'c('", p);
    N nums = MakeNode(CN_VALUES);
    parsUncertaintyNumbers(p, nums);
    expect_char(p, ')', nullptr);
    CheckUncertaintyMatrix(p, nums, int(names->list.size()), block);
    if (IsErrorSet()) return;
    out = MakeNode(type, names, nums);
}

// iwndf ( number )
void parsIwndfStmt(char const*& p, N& out) {
    double value;
    expect_char(p, '(', nullptr);
    if (!seeNum(p, value, nullptr))
        return SetErr("Expected integer degrees of freedom", p, 0, 0, -1);
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_IWNDF, value);
    bIWNDFSeen = 1;
}

// covariate ( [ id ["()"] { "," id ["()"] } ] ), fcovariate the same, interpolate without
// the "()" form. A name written with "()" gets child1 = 1.
void parsCovariateStmt(char const*& p, N& out, CNodeType type) {
    char name[NAME_BUF_SIZE];
    bool interpolate = type == CN_INTERPOLATE;
    out = MakeNode(type);
    expect_char(p, '(', nullptr);
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        char const* start = ScanWhite(p);
        expect_id(p, name,
                  interpolate ? "Expected: <interpolated covariate name>"
                              : "Expected: <covariate name>");
        N var = MakeNode(name);
        var->pos = get_pos(start, p);
        if (!interpolate && seeChar(p, '(')) {
            expect_char(p, ')', nullptr);
            var->child1 = NewNum(1.0);
        }
        out->list.push_back(var);
    }
}

// row: id assign-op c(...), into a `CN_TABLE_X` or `CN_TABLE_Y` with child1 the variable.
static void parsTableRow(char const*& p, N& row, CNodeType type, char const* msg) {
    N var;
    if (!seeLExpr(p, var)) syntax_err(msg, p);
    expect_assignment(p);
    row = MakeNode(type, var);
    parsExprList(p, row->list);
}

// table ( id assign-op c(...) { [","] id assign-op c(...) } )
// The first row holds the x values, each further row as many values of a dependent variable.
void parsTableStmt(char const*& p, N& out) {
    N x;
    out = MakeNode(CN_TABLE);
    expect_char(p, '(', nullptr);
    parsTableRow(p, x, CN_TABLE_X, "Expected x row variable name");
    if (IsErrorSet()) return;
    if (x->list.empty()) return SetErr("table x row must have at least one value", p, 0, 0, -1);
    out->list.push_back(x);
    while (!seeChar(p, ')')) {
        N y;
        seeChar(p, ',');
        parsTableRow(p, y, CN_TABLE_Y, "Expected dependent variable name");
        if (IsErrorSet()) return;
        if (y->list.size() != x->list.size())
            return SetErr("table y row must be same length as x row", p, 0, 0, -1);
        out->list.push_back(y);
    }
    if (out->list.size() == 1) SetErr("table must have at least one y row", p, 0, 0, -1);
}

// group ( { [","] assignment } ), stparm and secondary the same. What stands on the left of
// each assignment is checked later.
void parsAssignListStmt(char const*& p, N& out, CNodeType type) {
    expect_char(p, '(', nullptr);
    out = MakeNode(type);
    while (!seeChar(p, ')')) {
        N assign;
        seeChar(p, ',');
        parsExpr(p, assign, 1);
        if (assign->type != CN_ASSIGN) return SetErr("Expected assignment statement", p, 0, 0, -1);
        out->list.push_back(assign);
    }
}
