// Unit inference over a model: the rules of each kind of statement, which tie the units of
// its names to those of its expressions, and the driver that repeats them over a private copy
// of the statements until the table of units stops growing.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <unordered_map>
#include <unordered_set>

// The most passes over a model; one that never settles still ends.
static int const MAX_UNIT_PASSES = 500;

// The table of units and the pass's change flag, as one argument for the rules below.
struct UnitPass {
    char const* context;
    SV& names;
    NV& table;
    int& iChanged;
};

static void Propagate(N const& n, UnitPass& p) {
    if (n) n->PropagateUnits(p.context, p.names, p.table, p.iChanged);
}

static void Give(N const& n, N u, UnitPass& p) {
    n->SetUnits(u, p.context, p.names, p.table);
    p.iChanged = 1;
}

// A node without units takes its name's entry of the table, if there is one.
static void TakeFromTable(N const& n, char const* name, UnitPass& p) {
    if (n->units) return;
    int i = FindName(p.context, name, p.names);
    if (i < 0) return;
    n->units = p.table[i]->Copy();
    p.iChanged = 1;
}

// A name the model reads from outside (a dose, an observation, a covariate) is its own base
// unit until the table says otherwise.
static void TakeOrMakeBaseUnit(N const& n, char const* name, UnitPass& p) {
    if (FindName(p.context, name, p.names) < 0) {
        p.names.push_back(NameWithContext(p.context, name));
        p.table.push_back(MakeNode(CN_UNIT_NAME, name));
        p.iChanged = 1;
    }
    TakeFromTable(n, name, p);
}

// x = e: the table's units of x, then whichever side knows its units gives them to the other.
static void AssignUnits(N const& stmt, UnitPass& p) {
    N lhs = stmt->child1, rhs = stmt->child2;
    if (lhs->type == CN_VAR) TakeFromTable(lhs, lhs->name, p);
    if (lhs->units && !rhs->units)
        Give(rhs, lhs->units, p);
    else if (rhs->units && !lhs->units)
        Give(lhs, rhs->units, p);
    Propagate(lhs, p);
    Propagate(rhs, p);
}

// deriv(A = e), urinecpt(A = e): e has the units of A per time unit.
static void IntegratorUnits(N const& stmt, N const& time, UnitPass& p) {
    N lhs = stmt->child1, rhs = stmt->child2;
    N t = time ? time->Copy() : MakeNode(CN_UNIT_TIME);
    TakeFromTable(lhs, lhs->name, p);
    if (lhs->units && !rhs->units)
        Give(rhs, NewNode(CN_UNIT_DIV, lhs->units, t), p);
    else if (rhs->units && !lhs->units)
        Give(lhs, NewNode(CN_UNIT_MUL, rhs->units, t), p);
    Propagate(lhs, p);
    Propagate(rhs, p);
}

// A rate of a closed form is per time unit.
static void RateUnits(N const& rate, UnitPass& p) {
    if (!rate) return;
    if (!rate->units) Give(rate, NewNode(CN_UNIT_DIV, NewNum(1), MakeNode(CN_UNIT_TIME)), p);
    Propagate(rate, p);
}

// cfMicro(A, k...) takes rates only; cfMacro1(A, alpha, B, beta ...) a rate at every other
// place, the coefficients between. An absorption rate stands in the first = (D = ka) form.
static void ClosedFormUnits(N const& stmt, UnitPass& p) {
    for (size_t i = 0; i < stmt->list.size(); i++) {
        if (stmt->type == CN_CFMICRO || i % 2 == 0)
            RateUnits(stmt->list[i], p);
        else
            Propagate(stmt->list[i], p);
    }
    if (stmt->child1 && stmt->child1->type == CN_ASSIGN) RateUnits(stmt->child1->child2, p);
}

// cfMacro(A, ...): the exponents, from the fourth argument on, are rates.
static void MacroUnits(N const& stmt, UnitPass& p) {
    for (size_t i = 0; i < stmt->list.size(); i++) {
        if (i >= 3)
            RateUnits(stmt->list[i], p);
        else
            Propagate(stmt->list[i], p);
    }
}

// The observation statement that has 'name' as a direct term of its sum: the error of it.
static N FindErrorOwner(NV const& stmts, char const* name) {
    for (N const& s : stmts)
        if (s->type == CN_OBSERVE && s->child2 && s->child2->ContainsTopLevel(name, CN_ADD))
            return s;
    return N();
}

// An additive error has the units of its observation; any other error is left to the
// observation's expression.
static void ErrorUnits(N const& stmt, NV const& stmts, UnitPass& p) {
    for (N const& entry : stmt->list) {
        if (!entry->child1) continue;
        for (N const& var : entry->child1->list) {
            N owner = FindErrorOwner(stmts, var->name);
            if (!var->units && owner && owner->units) Give(var, owner->units, p);
        }
    }
}

// observe(Y = e): Y is its own base unit, which e takes.
static void ObserveUnits(N const& stmt, UnitPass& p) {
    TakeOrMakeBaseUnit(stmt, stmt->name, p);
    if (!stmt->child2) return;
    if (!stmt->child2->units) Give(stmt->child2, stmt->units, p);
    Propagate(stmt->child2, p);
}

// The rules of one statement. 'stmts' is the whole model, in which an error finds its
// observation; 'time' is the unit of time, CN_UNIT_TIME when empty.
void PropagateUnitsOneStatement(N const& stmt, NV const& stmts, char const* context, SV& names,
                                NV& table, N const& time, int& iChanged) {
    UnitPass p{context, names, table, iChanged};
    switch (stmt->type) {
        case CN_ASSIGN: AssignUnits(stmt, p); break;
        case CN_DERIV:
        case CN_URINECPT: IntegratorUnits(stmt, time, p); break;
        case CN_DOSEPOINT:
        case CN_DOSEPOINT2: TakeOrMakeBaseUnit(stmt, stmt->name, p); break;
        case CN_CFMICRO:
        case CN_CFMACRO1: ClosedFormUnits(stmt, p); break;
        case CN_CFMACRO: MacroUnits(stmt, p); break;
        case CN_COVARIATE:
        case CN_FCOVARIATE:
        case CN_INTERPOLATE:
            for (N const& var : stmt->list)
                TakeOrMakeBaseUnit(var, var->name, p);
            break;
        case CN_STPARM:
        case CN_SECONDARY:
            for (N const& a : stmt->list)
                if (a->type == CN_ASSIGN) AssignUnits(a, p);
            break;
        case CN_ERROR: ErrorUnits(stmt, stmts, p); break;
        case CN_OBSERVE: ObserveUnits(stmt, p); break;
        default:
            Propagate(stmt->child1, p);
            Propagate(stmt->child2, p);
            break;
    }
}

// x = e with e's products spread over its sums, so that each term stands on its own.
static N ElevatedAssign(cn const& a) {
    return NewNode(CN_ASSIGN, a->child1->Copy(), a->child2->ElevateSum());
}

// The private copy of a statement on which inference writes its units.
static N UnitStatement(cn const& s) {
    if (s->type == CN_ASSIGN) return ElevatedAssign(s);
    N copy = s->Copy();
    if (s->type == CN_STPARM) {
        for (N& a : copy->list)
            if (a->type == CN_ASSIGN) a = ElevatedAssign(a);
    }
    if (s->type == CN_OBSERVE && s->child2) copy->child2 = s->child2->ElevateSum();
    return copy;
}

// A statement that the rules above leave as it is: one of the kinds they pass to its child1 and
// child2 when neither is an expression `CNode::PropagateUnits` looks at (fixef, ranef...).
static bool IsIdleForUnits(cn const& s) {
    switch (s->type) {
        case CN_ASSIGN:
        case CN_DERIV:
        case CN_URINECPT:
        case CN_DOSEPOINT:
        case CN_DOSEPOINT2:
        case CN_CFMICRO:
        case CN_CFMACRO1:
        case CN_CFMACRO:
        case CN_COVARIATE:
        case CN_FCOVARIATE:
        case CN_INTERPOLATE:
        case CN_STPARM:
        case CN_SECONDARY:
        case CN_ERROR:
        case CN_OBSERVE: return false;
        default:
            return (!s->child1 || s->child1->type > CN_CALL) &&
                   (!s->child2 || s->child2->type > CN_CALL);
    }
}

// The private copies of the statements that the rules can change; a visit of the others would
// change nothing.
static NV UnitStatements(cn const& body) {
    NV stmts;
    if (body->type != CN_BLOCK) return {UnitStatement(body)};
    for (N const& s : body->list)
        if (s && !IsIdleForUnits(s)) stmts.push_back(UnitStatement(s));
    return stmts;
}

// The right sides of the stparm entries by the name they set, in statement order, and the
// places of each fixed effect in its list: what the fixed-effect rule below looks up.
struct FixefRule {
    std::unordered_map<std::string, NV> stparms;
    std::unordered_set<std::string> params;
    std::unordered_map<std::string, std::vector<size_t>> fixefAt;
};

static FixefRule GetFixefRule(NV const& stmts, SV const& params, SV const& fixefs) {
    FixefRule r;
    for (N const& s : stmts) {
        if (s->type != CN_STPARM) continue;
        for (N const& a : s->list)
            if (a->type == CN_ASSIGN && a->child1->type == CN_VAR)
                r.stparms[std::string(a->child1->name)].push_back(a->child2);
    }
    for (String const& p : params)
        r.params.insert(std::string(p));
    for (size_t i = 0; i < fixefs.size(); i++)
        r.fixefAt[std::string(fixefs[i])].push_back(i);
    return r;
}

// Whether some stparm statement sets 'lhs' to an expression that has 'fixef' as a direct term
// or factor.
static bool StparmUsesFixef(NV const& rhsList, char const* fixef) {
    for (N const& rhs : rhsList)
        if (rhs->ContainsTopLevel(fixef, CN_ADD) || rhs->ContainsTopLevel(fixef, CN_MUL))
            return true;
    return false;
}

static void CollectNames(N const& n, std::set<std::string>& out) {
    if (!n) return;
    if (n->type == CN_VAR) out.insert(std::string(n->name));
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        CollectNames(*c, out);
    for (N const& e : n->list)
        CollectNames(e, out);
}

// The places in the fixed-effect list, ascending, of the names that occur in 'rhsList': only
// those can be a term or factor of it.
static std::vector<size_t> FixefCandidates(NV const& rhsList, FixefRule const& rule) {
    std::set<std::string> names;
    for (N const& rhs : rhsList)
        CollectNames(rhs, names);
    std::vector<size_t> at;
    for (std::string const& n : names) {
        auto it = rule.fixefAt.find(n);
        if (it != rule.fixefAt.end()) at.insert(at.end(), it->second.begin(), it->second.end());
    }
    std::sort(at.begin(), at.end());
    return at;
}

// V = tvV * exp(nV): once V has units, tvV takes them. Looks at the entries that came into
// the table since the last call, newest first; 'looked' counts those seen before.
static void PropagateFixefUnits(FixefRule const& rule, SV const& fixefs, UnitPass& p,
                                size_t& looked) {
    size_t end = p.names.size();
    for (size_t i = end; i-- > looked;) {
        std::string const param(p.names[i]);
        auto rhsList = rule.stparms.find(param);
        if (!rule.params.count(param) || rhsList == rule.stparms.end()) continue;
        for (size_t k : FixefCandidates(rhsList->second, rule)) {
            char const* f = fixefs[k];
            if (FindName(p.context, f, p.names) >= 0 || !StparmUsesFixef(rhsList->second, f))
                continue;
            N u = p.table[i]->Copy();
            p.names.push_back(NameWithContext(p.context, f));
            p.table.push_back(u);
            p.iChanged = 1;
        }
    }
    looked = end;
}

// ---- The passes -------------------------------------------------------------------------------
// A pass used to visit every statement, and a model needs about one pass per link of its longest
// chain of units, so a long chain cost passes times statements. A statement's rules read nothing
// but its own nodes, the table entries of the names it holds and, for an error, the units of the
// observations. A visit that changed nothing (iChanged stays 0) leaves all of that as it was, so
// the next visit changes nothing either until one of those inputs changes. A pass therefore
// visits, in statement order, only the statements that changed in the previous pass or whose
// inputs changed since their last visit: the same visits that change something, in the same
// order, with the same pass count and cap as visiting them all.

// Which statements read what, for the passes to revisit only those. The statements are private
// copies, made apart, so no node stands in two of them.
struct UnitReaders {
    std::unordered_map<std::string, std::vector<size_t>> byName; // the statements holding a name
    std::vector<size_t> errors; // error statements: they read the units of the observations
};

// Notes the names under 'n' as read by statement 'at'.
static void NoteReads(CNode const* n, size_t at, char const* context, UnitReaders& r) {
    if (!n) return;
    if (n->name[0]) {
        std::vector<size_t>& readers = r.byName[NameWithContext(context, n->name)];
        if (readers.empty() || readers.back() != at) readers.push_back(at);
    }
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        NoteReads(c->get(), at, context, r);
    for (N const& e : n->list)
        NoteReads(e.get(), at, context, r);
}

static UnitReaders GetUnitReaders(NV const& stmts, char const* context) {
    UnitReaders r;
    for (size_t i = 0; i < stmts.size(); i++) {
        NoteReads(stmts[i].get(), i, context, r);
        if (stmts[i]->type == CN_ERROR) r.errors.push_back(i);
    }
    return r;
}

// The statements to visit in this pass and in the next, each in statement order.
struct UnitWork {
    std::set<size_t> now, next;
};

// Statement 'r' has to be visited again since something it reads changed while statement 'at'
// was visited: later in this pass if it comes after 'at', else in the next pass.
static void Revisit(size_t r, size_t at, UnitWork& w) {
    (r > at ? w.now : w.next).insert(r);
}

// The readers of the table entries from 'from' on, which the visit of statement 'at' added.
static void RevisitReaders(SV const& names, size_t from, size_t at, UnitReaders const& r,
                           UnitWork& w) {
    for (size_t k = from; k < names.size(); k++) {
        auto readers = r.byName.find(std::string(names[k]));
        if (readers == r.byName.end()) continue;
        for (size_t s : readers->second)
            Revisit(s, at, w);
    }
}

// One pass over the statements due; returns whether any of them changed something.
static bool UnitPassOverStatements(NV const& stmts, char const* context, SV& names, NV& table,
                                   UnitReaders const& r, UnitWork& w) {
    bool changed = false;
    while (!w.now.empty()) {
        size_t const i = *w.now.begin();
        w.now.erase(w.now.begin());
        size_t const from = names.size();
        int iChanged = 0;
        PropagateUnitsOneStatement(stmts[i], stmts, context, names, table, N(), iChanged);
        if (!iChanged) continue;
        changed = true;
        w.next.insert(i);
        RevisitReaders(names, from, i, r, w);
        if (stmts[i]->type != CN_OBSERVE) continue;
        for (size_t e : r.errors)
            Revisit(e, i, w);
    }
    return changed;
}

static void VisitAll(size_t count, std::set<size_t>& due) {
    for (size_t i = 0; i < count; i++)
        due.insert(due.end(), i);
}

// Infers the units of every variable of 'body' into the table 'names'/'table', from the base
// units of its doses, observations and covariates and whatever the table holds already.
// 'params' are the structural parameters, 'fixefs' the fixed effects.
void PropagateUnits(cn const& body, SV const& params, SV const& fixefs, char const* context,
                    SV& names, NV& table) {
    NameIndexScope index(names);
    NV stmts = UnitStatements(body);
    FixefRule const rule = GetFixefRule(stmts, params, fixefs);
    UnitReaders const readers = GetUnitReaders(stmts, context);
    UnitWork w;
    VisitAll(stmts.size(), w.now);
    size_t looked = 0;
    for (int pass = 0; pass < MAX_UNIT_PASSES; pass++) {
        int iChanged = UnitPassOverStatements(stmts, context, names, table, readers, w);
        UnitPass p{context, names, table, iChanged};
        size_t const from = names.size();
        PropagateFixefUnits(rule, fixefs, p, looked);
        if (!iChanged) return;
        RevisitReaders(names, from, SIZE_MAX, readers, w);
        w.now.swap(w.next);
        w.next.clear();
    }
}
