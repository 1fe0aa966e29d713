// Procedures of a trial script: main, proc, subject and sproc, and the statement language of
// their bodies, with the allocation of subjects to arms. The kind of the procedure passes
// into every nested statement: suspend belongs to subject, resume to main.
#include "parser/parser.h"

#include <memory>

static N NewCall(char const* name, NV args) {
    N call = MakeNode(CN_CALL, name);
    call->list = std::move(args);
    return call;
}

// int "(" { id [","] } ")", double and real alike; a missing name ends the list quietly
static void parsProcDecl(char const*& p, N& out, CNodeType type, char const* msg) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', msg);
    out = MakeNode(type);
    while (*ScanWhite(p) && !seeChar(p, ')')) {
        if (!seeId(p, name)) return;
        out->list.push_back(NewVar(name));
        seeChar(p, ',');
    }
}

// "(" expr { "," expr } ")": 'n' expressions into child2 onwards; child1 stays empty
static void parsProcArgs(char const*& p, N& out, CNodeType type, int n) {
    N args[3];
    expect_char(p, '(', nullptr);
    for (int i = 0; i < n; i++) {
        if (i > 0) expect_char(p, ',', nullptr);
        parsExpr(p, args[i], 0);
    }
    expect_char(p, ')', nullptr);
    out = MakeNode(type, N(), args[0], args[1], args[2]);
}

// collect stmt, steadystate stmt: the statement as child1
static void parsWrappedStmt(char const*& p, N& out, CNodeType type, int kind) {
    N body;
    parsProcStmt(p, body, kind);
    if (IsErrorSet()) return;
    out = NewNode(type, body);
}

// start expr, call expr
static void parsProcExprStmt(char const*& p, N& out, CNodeType type) {
    N expr;
    parsExpr(p, expr, 0);
    out = NewNode(type, expr);
}

// sleep "(" expr [ "," expr ] ")"
static void parsProcSleep(char const*& p, N& out) {
    N delay, priority;
    expect_char(p, '(', "Expected: ( <expr> )");
    parsExpr(p, delay, 0);
    if (seeChar(p, ',')) parsExpr(p, priority, 0);
    expect_char(p, ')', nullptr);
    out = NewNode(CN_SLEEP, delay, priority);
}

// peakreset "(" id ")", resume "(" id ")"
static void parsNameArg(char const*& p, N& out, CNodeType type, char const* msg) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, msg);
    expect_char(p, ')', nullptr);
    out = MakeNode(type, name);
}

// suspend, in a subject only
static void parsSuspend(char const*& p, N& out, int kind) {
    if (kind != PROC_SUBJECT)
        return SetErr("`suspend` statement only allowed in subject script", p, 0, 0, -1);
    out = MakeNode(CN_SUSPEND);
}

// resume "(" id ")", in main only
static void parsResume(char const*& p, N& out, int kind) {
    if (kind != PROC_MAIN)
        return SetErr("`resume` statement only allowed in main script", p, 0, 0, -1);
    parsNameArg(p, out, CN_RESUME, "Expected: <var>");
}

// for "(" id "in" expr ":" expr ")" stmt
static void parsFor(char const*& p, N& out, int kind) {
    char name[NAME_BUF_SIZE];
    N from, to, body;
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <var> in <expr> : <expr>");
    if (!seeWord(p, "in")) return SetErr("Expected: in <expr> : <expr>", p, 0, 0, -1);
    parsExpr(p, from, 0);
    expect_char(p, ':', nullptr);
    parsExpr(p, to, 0);
    expect_char(p, ')', nullptr);
    parsProcStmt(p, body, kind);
    if (IsErrorSet()) return;
    out = MakeNode(CN_FOR, name, from, to, body);
}

// stmt: one statement of a procedure, by the first word that matches; else a sample
// statement, else an expression, which is how assignments enter.
void parsProcStmt(char const*& p, N& out, int kind) {
    DepthGuard guard(p);
    ScanWhite(p);
    if (seeWord(p, "int"))
        return parsProcDecl(p, out, CN_INT_DECL, "Expected: ( <names of integer variables> )");
    if (seeWord(p, "double") || seeWord(p, "real"))
        return parsProcDecl(p, out, CN_DOUBLE_DECL,
                            "Expected: ( <names of double precision variables> )");
    if (seeChar(p, '{')) return parsProcBlock(p, out, kind);
    if (seeWord(p, "allocation")) return parsAllocationStmt(p, out);
    if (seeWord(p, "distrib")) return parsDistribStmt(p, out);
    if (seeWord(p, "bolus")) return parsProcArgs(p, out, CN_PROC_BOLUS, 2);
    if (seeWord(p, "infuse")) return parsProcArgs(p, out, CN_PROC_INFUSE, 3);
    if (seeWord(p, "observe")) return parsProcArgs(p, out, CN_PROC_OBSERVE, 1);
    if (seeWord(p, "collect")) return parsWrappedStmt(p, out, CN_COLLECT, kind);
    if (seeWord(p, "start")) return parsProcExprStmt(p, out, CN_START);
    if (seeWord(p, "call")) return parsProcExprStmt(p, out, CN_PROC_CALL);
    if (seeWord(p, "sleep")) return parsProcSleep(p, out);
    if (seeWord(p, "peakreset"))
        return parsNameArg(p, out, CN_PEAKRESET, "Expected: <peak variable id>");
    if (seeWord(p, "suspend")) return parsSuspend(p, out, kind);
    if (seeWord(p, "resume")) return parsResume(p, out, kind);
    if (seeWord(p, "if")) return parsIfChain(p, out, parsProcStmt, kind);
    if (seeWord(p, "steadystate")) return parsWrappedStmt(p, out, CN_STEADYSTATE, kind);
    if (seeWord(p, "while")) return parsWhileLoop(p, out, parsProcStmt, kind);
    if (seeWord(p, "for")) return parsFor(p, out, kind);
    if (parsSampleStmt(p, out)) return;
    parsExpr(p, out, 1);
}

// block: { ";" | stmt } "}", behind its "{"
void parsProcBlock(char const*& p, N& out, int kind) {
    DepthGuard guard(p);
    ScanWhite(p);
    out = MakeNode(CN_BLOCK);
    for (;;) {
        if (seeChar(p, ';')) continue;
        if (seeChar(p, '}')) return;
        N stmt;
        parsProcStmt(p, stmt, kind);
        if (IsErrorSet()) return;
        if (stmt) out->list.push_back(stmt);
    }
}

// The node of each kind of procedure: main and proc share theirs.
static CNodeType ProcNodeType(int kind) {
    if (kind == PROC_SUBJECT) return CN_PROC_SUBJECT;
    if (kind == PROC_SPROC) return CN_PROC_SPROC;
    return CN_PROC;
}

// proc: name "(" [ id { "," id } ] ")" "{" block
void parsProc(char const*& p, N& out, int kind) {
    char name[NAME_BUF_SIZE];
    ScanWhite(p);
    if (!seeId(p, name)) syntax_err("Expected: <procedure name>", p);
    expect_char(p, '(', "Expected: '('");
    N header = MakeNode(CN_CALL, name);
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        if (!seeId(p, name)) syntax_err("Expected: variable", p);
        header->list.push_back(NewVar(name));
    }
    expect_char(p, '{', "Expected: '{'");
    N body;
    parsProcBlock(p, body, kind);
    if (IsErrorSet()) return;
    out = NewNode(ProcNodeType(kind), header, body);
}

// strata "(" expr { [","] expr } ")": each stratum rounded
static void parsStrata(char const*& p, NV& strata) {
    expect_char(p, '(', nullptr);
    do {
        N expr;
        parsExpr(p, expr, 0);
        strata.push_back(NewCall("round", {expr}));
        seeChar(p, ',');
    } while (!seeChar(p, ')'));
}

// arms "(" { integer [","] } ")": once, at most five
static void parsArms(char const*& p, NV& arms, bool& bGiven) {
    int n;
    if (bGiven) return SetErr("Arm allocations already given", p, 0, 0, -1);
    bGiven = true;
    expect_char(p, '(', nullptr);
    while (seeInt(p, n)) {
        if (arms.size() == 5) return SetErr("Too many arms, max 5", p, 0, 0, -1);
        arms.push_back(NewNum(n));
        seeChar(p, ',');
    }
    expect_char(p, ')', nullptr);
}

// block "(" integer ")": once, at least 1
static void parsBlockMultiple(char const*& p, int& multiple) {
    if (multiple) return SetErr("Blocksize multiple already given", p, 0, 0, -1);
    expect_char(p, '(', nullptr);
    if (!seeInt(p, multiple)) return SetErr("Expected: integer blocksize multiple", p, 0, 0, -1);
    if (multiple < 1) return SetErr("Invalid blocksize multiple", p, 0, 0, -1);
    expect_char(p, ')', nullptr);
}

// allocation "(" { ( strata(...) | arms(...) | block(...) ) [","] } ")", as the call
// _allocation(_strata(round(e)...), _arms(n...), _block(n)) with the defaults filled in
void parsAllocationStmt(char const*& p, N& out) {
    NV strata, arms;
    bool bArms = false;
    int multiple = 0;
    expect_char(p, '(', nullptr);
    for (;;) {
        if (seeWord(p, "strata"))
            parsStrata(p, strata);
        else if (seeWord(p, "arms"))
            parsArms(p, arms, bArms);
        else if (seeWord(p, "block"))
            parsBlockMultiple(p, multiple);
        else
            break;
        if (IsErrorSet()) return;
        seeChar(p, ',');
    }
    expect_char(p, ')', nullptr);
    if (!multiple) multiple = 1;
    if (arms.empty()) arms.push_back(NewNum(1));
    if (strata.empty()) strata.push_back(NewCall("round", {NewNum(0.0)}));
    out = NewCall("_allocation", {NewCall("_strata", strata), NewCall("_arms", arms),
                                  NewCall("_block", {NewNum(multiple)})});
}
