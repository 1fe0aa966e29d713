// Observation statements, which tie the structural model to data: observe and observe1,
// the categorical responses multi and ordinal, user-written likelihoods (LL), time-to-event
// (event) and count responses (count). Most of them end in the hooks of parsAppendix.
#include "parser/parser.h"

#include <cstring>

// ---- observe, observe1 -----------------------------------------------------------------------

// [ "(" id ")" ]: the independent variable of observe into child1; a second one is refused.
static void parsObserveIndep(char const*& p, N& stmt) {
    char name[NAME_BUF_SIZE];
    if (!seeChar(p, '(')) return;
    if (!seeId(p, name)) return SetErr("Expected: name of independent variable", p, 0, 0, -1);
    stmt->child1 = NewVar(name);
    expect_char(p, ')', nullptr);
    if (!seeChar(p, '(')) return;
    if (seeId(p, name)) return SetErr("Independent variable specified twice", p, 0, 0, -1);
    SetErr("Expected: name of independent variable", p, 0, 0, -1);
}

// [ "," word [ assign-op number ] ]: a limit of observe into the value of 'limit'. The comma
// is given back when 'word' does not follow it; answers whether the word was read.
static bool parsObserveLimit(char const*& p, char const* word, N const& limit, char const* msg) {
    char const* mark = ScanWhite(p);
    if (!seeChar(p, ',') || !seeWord(p, word)) {
        p = mark;
        return false;
    }
    bBqlInModel = 1;
    if (!seeAssignOp(p)) return true;
    double value;
    if (seeNum(p, value, nullptr))
        limit->value = value;
    else
        SetErr(msg, p, 0, 0, -1);
    return true;
}

// observe ( id [ ( id ) ] [ assign-op expr ] [, bql [= num]] [, aql [= num]] hooks )
void parsObserveStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <prediction variable name>");
    out = MakeNode(CN_OBSERVE, name);
    parsObserveIndep(p, out);
    if (IsErrorSet()) return;
    if (seeAssignOp(p)) parsExpr(p, out->child2, 0);
    out->list = {NewNum(0.0), NewNum(0.0)}; // BQL limit, AQL limit
    int flag = 0;                           // 1 bql, 2 aql, 3 both
    if (parsObserveLimit(p, "bql", out->list[0], "expected numeric BQL limit")) flag += 1;
    if (IsErrorSet()) return;
    if (parsObserveLimit(p, "aql", out->list[1], "expected numeric AQL limit")) flag += 2;
    if (IsErrorSet()) return;
    if (flag) out->child3 = NewNum(flag);
    parsAppendix(p, out, 1);
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// observe1 ( id )
void parsObserve1Stmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <prediction variable name>");
    out = MakeNode(CN_OBSERVE1, name);
    expect_char(p, ')', nullptr);
}

// ---- multi, ordinal --------------------------------------------------------------------------

// ( id [ ( id ) ] , id: the observed variable, the independent variable into child1 and the
// inverse link function into child2.
static void parsLinkHead(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <observed variable name>");
    out = MakeNode(CN_MULTI, name);
    if (seeChar(p, '(')) {
        expect_id(p, name, "Expected: name of independent variable");
        expect_char(p, ')', nullptr);
        out->child1 = NewVar(name);
    }
    expect_char(p, ',', nullptr);
    expect_id(p, name, "Expected: name of inverse link function, such as ilogit");
    out->child2 = NewVar(name);
}

// { , expr } into 'exprs'; a comma before dobefore or doafter is given back to the hooks.
static void parsLinkExprs(char const*& p, NV& exprs) {
    for (;;) {
        char const* mark = ScanWhite(p);
        if (!seeChar(p, ',')) return;
        if (seeWord(p, "dobefore") || seeWord(p, "doafter")) {
            p = mark;
            return;
        }
        N expr;
        parsExpr(p, expr, 0);
        exprs.push_back(expr);
    }
}

// multi ( id [ ( id ) ] , id { , expr } hooks ): one to ten expressions
void parsMultiStmt(char const*& p, N& out) {
    parsLinkHead(p, out);
    parsLinkExprs(p, out->list);
    if (out->list.empty())
        return SetErr("expected at least one expression after link function", p, 0, 0, -1);
    if (out->list.size() > 10)
        return SetErr("more than 10 expressions after link function", p, 0, 0, -1);
    parsAppendix(p, out, 0);
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// ordinal ( id [ ( id ) ] , id , a , b { , c } hooks ): a `CN_MULTI` whose list holds
// -(a*b) - c for each intercept c, each entry a tree of its own.
void parsOrdinalStmt(char const*& p, N& out) {
    NV exprs;
    parsLinkHead(p, out);
    parsLinkExprs(p, exprs);
    if (exprs.size() < 2)
        return SetErr(
            "expected scale expression and at least one intercept expression after link function",
            p, 0, 0, -1);
    // Eleven expressions are the limit, so nine intercepts: the message counts differently.
    if (exprs.size() > 11) return SetErr("more than 10 intercept expressions", p, 0, 0, -1);
    N scaled = NewNode(CN_NEG, NewNode(CN_MUL, exprs[0], exprs[1]));
    for (size_t i = 2; i < exprs.size(); i++)
        out->list.push_back(NewNode(CN_SUB, scaled->Copy(), exprs[i]));
    parsAppendix(p, out, 0);
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// ---- LL ----------------------------------------------------------------------------------------

// [ , type assign-op cont|cat|count|event ]: the type word of LL, "LL_cat" when not given.
// Answers false, with an error set, for a type that is none of the four.
static bool parsLLType(char const*& p, String& type) {
    static char const* const types[] = {"cont", "cat", "count", "event"};
    char name[NAME_BUF_SIZE];
    type = "LL_cat";
    char const* mark = ScanWhite(p);
    if (!seeChar(p, ',') || !seeWord(p, "type")) {
        p = mark;
        return true;
    }
    expect_assignment(p);
    expect_id(p, name, "Expected: cont|cat|count|event");
    for (char const* t : types)
        if (strcmp(name, t) == 0) {
            type = String("LL_") + name;
            return true;
        }
    SetErr("Expected: cont|cat|count|event", p, 0, 0, -1);
    return false;
}

// LL ( id , expr [ , type = word ] hooks )
void parsLLStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <observed variable name>");
    out = MakeNode(CN_LL, name);
    expect_char(p, ',', nullptr);
    parsExpr(p, out->child1, 0);
    char const* mark = ScanWhite(p);
    if (seeChar(p, ',') && !seeWord(p, "type") && !seeWord(p, "dobefore") &&
        !seeWord(p, "doafter") && !seeWord(p, "simulate"))
        return SetErr("Expected: type|dobefore|doafter|simulate or ')'", p, 0, 0, -1);
    p = mark;
    String type;
    if (!parsLLType(p, type)) return;
    out->child2 = NewVar(type);
    parsAppendix(p, out, 1);
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// ---- event ------------------------------------------------------------------------------------

// event ( id , expr { [,] dropout [= expr] | [,] interval = expr } hooks )
void parsEventStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <censor variable name>");
    out = MakeNode(CN_EVENT, name);
    expect_char(p, ',', nullptr);
    parsExpr(p, out->child1, 0);
    for (;;) {
        seeChar(p, ',');
        if (seeWord(p, "dropout")) {
            if (seeAssignOp(p))
                parsExpr(p, out->child2, 0);
            else
                out->child2 = NewNum(1.0); // dropout marker
        } else if (seeWord(p, "interval")) {
            expect_assignment(p, "<interval expression>");
            parsExpr(p, out->child3, 0);
        } else {
            parsAppendix(p, out, 0);
            break;
        }
    }
    if (IsErrorSet()) return;
    expect_char(p, ')', nullptr);
}

// ---- count ------------------------------------------------------------------------------------

// What the option list of a count statement gave; a later value replaces an earlier one.
struct CountOptions {
    N beta, power, zprob, linkp;
    String ilink;
    int noreset = 0;
    N hooks[2]; // dobefore, doafter
};

// "word assign-op expr" into 'slot'; false, with nothing consumed but white space, when the
// word is not there.
static bool parsCountExpr(char const*& p, char const* word, N& slot) {
    if (!seeWord(p, word)) return false;
    expect_assignment(p);
    parsExpr(p, slot, 0);
    return true;
}

// One option after a comma. A word that is no option is not consumed, so the list ends at it.
static void parsCountOption(char const*& p, CountOptions& opt) {
    char name[NAME_BUF_SIZE];
    if (parsCountExpr(p, "beta", opt.beta) || parsCountExpr(p, "power", opt.power) ||
        parsCountExpr(p, "zprob", opt.zprob) || parsCountExpr(p, "linkp", opt.linkp))
        return;
    if (seeWord(p, "ilink")) {
        expect_assignment(p);
        expect_id(p, name, "Expected: name of inverse link function, such as ilogit");
        opt.ilink = name;
    } else if (!opt.hooks[0] && seeWord(p, "dobefore")) {
        parsHookAction(p, opt.hooks[0]);
    } else if (!opt.hooks[1] && seeWord(p, "doafter")) {
        parsHookAction(p, opt.hooks[1]);
    } else if (seeWord(p, "noreset")) {
        opt.noreset = 1;
    }
}

// The options that exclude or require one another; false, reported, when broken.
static bool IsCountOptionsValid(char const* p, CountOptions const& opt) {
    if (opt.power && !opt.beta) {
        SetErr("'power' is an option only if 'beta' is given", p, 0, 0, -1);
        return false;
    }
    if (opt.zprob && opt.linkp) {
        SetErr("'prob' and 'linkp' cannot both be specified", p, 0, 0, -1);
        return false;
    }
    if (opt.ilink[0] && !opt.linkp) {
        SetErr("'ilink' requires 'linkp' to be specified", p, 0, 0, -1);
        return false;
    }
    return true;
}

// The record of the options. Without 'ilink' the zero-inflation is zprob, and a linkp given
// alone is dropped; the generated count code reads it that way.
static std::unique_ptr<CNodeExtra> GetCountExtra(CountOptions const& opt) {
    auto extra = std::make_unique<CNodeExtra>();
    extra->noreset = opt.noreset;
    if (!opt.beta && !opt.power && !opt.zprob && !opt.linkp && !opt.ilink[0]) return extra;
    extra->beta = opt.beta;
    extra->power = opt.power ? opt.power : NewNum(1.0);
    extra->ilink = opt.ilink;
    N const& inflation = opt.ilink[0] ? opt.linkp : opt.zprob;
    extra->zprobOrLinkp = inflation ? inflation : NewNum(0.0);
    return extra;
}

// count ( id , expr { , beta = e | power = e | zprob = e | linkp = e | ilink = id |
//                     dobefore = action | doafter = action | noreset } )
void parsCountStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', nullptr);
    expect_id(p, name, "Expected: <count variable name>");
    out = MakeNode(CN_COUNT, name);
    expect_char(p, ',', nullptr);
    parsExpr(p, out->child1, 0);
    CountOptions opt;
    while (seeChar(p, ',')) {
        parsCountOption(p, opt);
        if (IsErrorSet()) return;
    }
    if (!IsCountOptionsValid(p, opt)) return;
    out->extra = GetCountExtra(opt);
    if (opt.hooks[0] || opt.hooks[1]) {
        out->appendix = std::make_unique<CNodeAppendix>();
        out->appendix->dobefore = opt.hooks[0];
        out->appendix->doafter = opt.hooks[1];
    }
    expect_char(p, ')', nullptr);
}
