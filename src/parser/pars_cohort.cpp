// The top level of a trial script: models, the join blocks that wire model instances
// together, units blocks, procedures and the global int and double names, each into its
// list. The first fault ends the script; only model bodies recover statement by statement.
#include "parser/parser.h"

#include <memory>

NV paModel;
NV paJoin;
NV paUnits;
NV paProc;
NV paGlobalInt;
NV paGlobalDbl;

// join-item: instance ":" model "(" [ instance "$" var { "," instance "$" var } ] ")"
void parsJoinStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE], member[NAME_BUF_SIZE];
    ScanWhite(p);
    expect_id(p, name, "Expected: <model instance name>");
    out = NewNode(CN_JOIN_ITEM, NewVar(name));
    expect_char(p, ':', nullptr);
    expect_id(p, name, "Expected: <model name>");
    N call = MakeNode(CN_CALL, "");
    call->child1 = NewVar(name);
    out->child2 = call;
    expect_char(p, '(', "Expected: ( <model input variable list> )");
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        if (!seeId(p, name))
            syntax_err("Expected: <model instance name> $ <variable name in model instance>", p);
        expect_char(p, '$', "Expected: '$'");
        if (!seeId(p, member)) syntax_err("Expected: <variable name in model instance>", p);
        call->list.push_back(NewNode(CN_MEMBER, NewVar(name), NewVar(member)));
    }
}

// join: "{" { ";" | join-item } "}"
void parsJoin(char const*& p, N& out) {
    expect_char(p, '{', "Expected: '{'");
    N join = MakeNode(CN_JOIN);
    for (;;) {
        if (seeChar(p, ';')) continue;
        if (seeChar(p, '}')) break;
        N item;
        parsJoinStmt(p, item);
        if (IsErrorSet()) return;
        join->list.push_back(item);
    }
    out = join;
}

// int "(" { id [","] } ")", and double or real alike: global names
static void parsGlobalNames(char const*& p, NV& list) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    while (*ScanWhite(p) && !seeChar(p, ')')) {
        expect_id(p, name, "Expected: global variable name");
        list.push_back(NewVar(name));
        seeChar(p, ',');
    }
}

// Appends what an item made, unless it failed; answers whether the script goes on.
static bool Keep(N const& item, NV& list) {
    if (IsErrorSet()) return false;
    list.push_back(item);
    return true;
}

// The word that opens a procedure, as its kind, or -1. "subject" and "main" are also the
// names of their procedures, so the cursor goes back before them.
static int seeProcWord(char const*& p) {
    char const* word = ScanWhite(p);
    if (seeWord(p, "proc")) return PROC_PROC;
    if (seeWord(p, "subject")) {
        p = word;
        return PROC_SUBJECT;
    }
    if (seeWord(p, "sproc")) return PROC_SPROC;
    if (seeWord(p, "main")) {
        p = word;
        return PROC_MAIN;
    }
    return -1;
}

// One top-level item; false where none stands, or where it failed.
static bool parsCohortItem(char const*& p) {
    N item;
    if (seeChar(p, ';')) return true;
    if (seeWord(p, "model")) {
        parse_model_impl(p, item);
        return Keep(item, paModel);
    }
    if (seeWord(p, "join")) {
        parsJoin(p, item);
        return Keep(item, paJoin);
    }
    if (seeWord(p, "units")) {
        parsUnits(p, item);
        return Keep(item, paUnits);
    }
    int kind = seeProcWord(p);
    if (kind >= 0) {
        parsProc(p, item, kind);
        return Keep(item, paProc);
    }
    if (seeWord(p, "int")) {
        parsGlobalNames(p, paGlobalInt);
        return !IsErrorSet();
    }
    if (!seeWord(p, "double") && !seeWord(p, "real")) return false;
    parsGlobalNames(p, paGlobalDbl);
    return !IsErrorSet();
}

// script: { item }. Anything behind the last item is left to the caller.
void parsCohort(char const*& p) {
    for (NV* list : {&paModel, &paJoin, &paUnits, &paProc, &paGlobalInt, &paGlobalDbl})
        list->clear();
    ScanWhite(p);
    try {
        while (parsCohortItem(p)) {
        }
    } catch (SyntaxError const&) {
    }
}
