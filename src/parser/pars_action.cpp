// Action code: the `sequence` statement, a small coroutine of a model that may wait with
// sleep, and the dobefore/doafter/simulate hooks that hang on dose points and observations.
#include "parser/parser.h"

// while expr arm
void parsWhileLoop(char const*& p, N& out, ArmParser arm, int mode) {
    N test, body;
    parsExpr(p, test, 0);
    arm(p, body, mode);
    if (IsErrorSet()) return;
    out = MakeNode(CN_WHILE, test, body);
}

// if expr arm { else if expr arm } [ else arm ]
void parsIfChain(char const*& p, N& out, ArmParser arm, int mode) {
    N test, then;
    parsExpr(p, test, 0);
    arm(p, then, mode);
    if (IsErrorSet()) return;
    out = MakeNode(CN_IF, test, then);
    N current = out;
    char const* mark = ScanWhite(p);
    while (seeWord(p, "else") && seeWord(p, "if")) {
        N elseTest, elseThen;
        parsExpr(p, elseTest, 0);
        arm(p, elseThen, mode);
        if (IsErrorSet()) return;
        current->child3 = MakeNode(CN_IF, elseTest, elseThen);
        current = current->child3;
        mark = ScanWhite(p);
    }
    p = mark;
    if (!seeWord(p, "else")) return;
    N otherwise;
    arm(p, otherwise, mode);
    if (!IsErrorSet()) current->child3 = otherwise;
}

// ( expr [, expr] ): the arguments of sleep and addToCpt
static void parsOneOrTwoArgs(char const*& p, N& out, CNodeType type) {
    N first, second;
    expect_char(p, '(', "Expected: ( <expr> )");
    parsExpr(p, first, 0);
    if (seeChar(p, ',')) parsExpr(p, second, 0);
    out = MakeNode(type, first, second);
    expect_char(p, ')', nullptr);
}

// peakreset ( id )
static void parsPeakReset(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <peak variable name>");
    out = MakeNode(CN_PEAKRESET, name);
    expect_char(p, ')', nullptr);
}

// { { action [";"] } }
static void parsActionBlock(char const*& p, N& out, int allowSleep) {
    DepthGuard guard(p);
    out = MakeNode(CN_BLOCK);
    while (!seeChar(p, '}')) {
        N action;
        parsSequenceStmt(p, action, allowSleep);
        if (IsErrorSet()) return;
        out->list.push_back(action);
        seeChar(p, ';');
    }
}

// action: while | if | sleep | addToCpt | peakreset | block | expr (assignment allowed)
void parsSequenceStmt(char const*& p, N& out, int allowSleep) {
    DepthGuard guard(p);
    ScanWhite(p);
    if (seeWord(p, "while")) return parsWhileLoop(p, out, parsSequenceStmt, allowSleep);
    if (seeWord(p, "if")) return parsIfChain(p, out, parsSequenceStmt, allowSleep);
    if (seeWord(p, "sleep")) {
        if (!allowSleep) return SetErr("'sleep' not allowed in this context", p, 0, 0, -1);
        return parsOneOrTwoArgs(p, out, CN_SLEEP);
    }
    if (seeWord(p, "addToCpt")) return parsOneOrTwoArgs(p, out, CN_ADDTOCPT);
    if (seeWord(p, "peakreset")) return parsPeakReset(p, out);
    if (seeChar(p, '{')) return parsActionBlock(p, out, allowSleep);
    parsExpr(p, out, 1);
}

// sequence { { action [";"] } }
void parsSequence(char const*& p, N& out) {
    expect_char(p, '{', nullptr);
    out = MakeNode(CN_SEQUENCE);
    while (!seeChar(p, '}')) {
        N action;
        parsSequenceStmt(p, action, 1);
        if (IsErrorSet()) return;
        out->list.push_back(action);
        seeChar(p, ';');
    }
}

// assign-op action: the body of a hook, where sleep is refused
void parsHookAction(char const*& p, N& out) {
    expect_assignment(p);
    parsSequenceStmt(p, out, 0);
}

// { [","] dobefore = action | [","] doafter = action | [","] simulate = action }: each hook
// once; a comma that no hook follows is given back.
void parsAppendix(char const*& p, N node, int allowSimulate) {
    N hooks[3];
    char const* const words[3] = {"dobefore", "doafter", "simulate"};
    char const* mark = ScanWhite(p); // after white space, so no line is counted twice
    while (*ScanWhite(p)) {
        seeChar(p, ',');
        int i = 0;
        while (i < 3 && (hooks[i] || !seeWord(p, words[i])))
            i++;
        if (i == 3) {
            p = mark;
            break;
        }
        if (i == 2 && !allowSimulate)
            return SetErr("'simulate' not allowed in this context", p, 0, 0, -1);
        parsHookAction(p, hooks[i]);
        if (IsErrorSet()) return;
        mark = p;
    }
    if (!hooks[0] && !hooks[1] && !hooks[2]) return;
    node->appendix = std::make_unique<CNodeAppendix>();
    node->appendix->dobefore = hooks[0];
    node->appendix->doafter = hooks[1];
    node->appendix->simulate = hooks[2];
}
