// The model walkers: small recursive functions that flatten the statement tree into the
// name lists the generators read, and the three that number the peak and delay tables.
// All but CollectVars, CollectConst and CollectAssigned share one walk: stop at the target
// kinds, take from them, and otherwise descend through the operands in source order.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <cassert>
#include <memory>

// ---- The common walk ---------------------------------------------------------------------------

// Calls 'visit' on the operands of 'node' in source order: child1 (or child2 when
// 'fromChild2') to child4, the action blocks when 'withAppendix', then each entry of list.
template <class Visit>
static void ForEachOperand(cn const& node, Visit const& visit, bool fromChild2 = false,
                           bool withAppendix = false) {
    if (!fromChild2) visit(node->child1);
    visit(node->child2);
    visit(node->child3);
    visit(node->child4);
    if (withAppendix && node->appendix) {
        visit(node->appendix->dobefore);
        visit(node->appendix->doafter);
        visit(node->appendix->simulate);
    }
    for (N const& entry : node->list)
        visit(entry);
}

// Walks down to the nodes whose kind 'isTarget' accepts and hands each to 'take', without
// descending below it. 'Ptr' is `cn` for the readers and `N` for the numbering walkers.
template <class Ptr, class IsTarget, class Take>
static void WalkToTargets(Ptr const& node, IsTarget const& isTarget, Take const& take,
                          bool withAppendix = false) {
    if (!node) return;
    if (isTarget(node->type)) return take(node);
    auto walk = [&](N const& child) { WalkToTargets<Ptr>(child, isTarget, take, withAppendix); };
    ForEachOperand(node, walk, false, withAppendix);
}

// Appends 'name' unless the list holds it already; answers whether it did.
static bool AddName(SV& names, char const* name) {
    if (MemberOf(name, names) >= 0) return false;
    names.push_back(name);
    return true;
}

// ---- CollectVars ------------------------------------------------------------------------------

// One more use of 'name': appended with a count of 1 when new.
static void CountUse(char const* name, SV& names, std::vector<int>& counts) {
    assert(counts.size() == names.size());
    int i = MemberOf(name, names);
    if (i >= 0) {
        counts[i]++;
        return;
    }
    names.push_back(name);
    counts.push_back(1);
}

// Whether child2 of a node of 'type' holds a word rather than an expression: the member in
// `a.b`, the link function of multi and ordinal, the type of LL.
static bool HasWordInChild2(CNodeType type) {
    return type == CN_NONE || type == CN_MEMBER || type == CN_MULTI || type == CN_LL;
}

// Every variable under 'node', with its number of uses. A peak counts as its own name and is
// not entered; the words of HasWordInChild2 and the distribution names of delayInfCpt
// (child4) and delay (its list) are no variables.
void CollectVars(cn const& node, SV& names, std::vector<int>& counts) {
    if (!node) return;
    if (node->type == CN_VAR || node->type == CN_PEAK) return CountUse(node->name, names, counts);
    CollectVars(node->child1, names, counts);
    if (!HasWordInChild2(node->type)) CollectVars(node->child2, names, counts);
    CollectVars(node->child3, names, counts);
    if (node->type != CN_DELAYINFCPT) CollectVars(node->child4, names, counts);
    CollectVars(node->appendix.get(), names, counts);
    CollectVars(node->doseOption.get(), names, counts);
    CollectVars(node->extra.get(), names, counts);
    if (node->type == CN_DELAY) return;
    for (N const& entry : node->list)
        CollectVars(entry, names, counts);
}

void CollectVars(cn const& node, SV& names) {
    std::vector<int> counts(names.size(), 0); // the counts are not wanted
    CollectVars(node, names, counts);
}

void CollectVars(CNodeAppendix const* appendix, SV& names, std::vector<int>& counts) {
    if (!appendix) return;
    CollectVars(appendix->dobefore, names, counts);
    CollectVars(appendix->doafter, names, counts);
    CollectVars(appendix->simulate, names, counts);
}

// The dose-variable names of a dose point are uses of those variables.
void CollectVars(CDoseVarOption const* option, SV& names, std::vector<int>& counts) {
    if (!option) return;
    for (String const* name : {&option->idosevar, &option->infdosevar, &option->infratevar})
        if ((*name)[0]) CountUse(*name, names, counts);
}

void CollectVars(CNodeExtra const* extra, SV& names, std::vector<int>& counts) {
    if (!extra) return;
    CollectVars(extra->beta, names, counts);
    CollectVars(extra->power, names, counts);
    CollectVars(extra->zprobOrLinkp, names, counts);
}

// ---- State variables -------------------------------------------------------------------------

static bool IsIntegratorKind(CNodeType type) {
    return (type >= CN_DERIV && type <= CN_DELAYINFCPT) || type == CN_EVENT || type == CN_COUNT;
}

static bool IsEventKind(CNodeType type) {
    return type == CN_EVENT || type == CN_COUNT;
}

// At a statement of 'kind' takes the variable of child1, then walks on from child2, so the
// walk does not stop at the statement.
static void CollectStateVars(cn const& node, CNodeType kind, SV& names) {
    if (!node) return;
    bool const isTarget = node->type == kind;
    if (isTarget) CollectVars(node->child1, names);
    ForEachOperand(
        node, [&](N const& c) { CollectStateVars(c, kind, names); }, isTarget);
}

void CollectDerivVars(cn const& node, SV& names) {
    CollectStateVars(node, CN_DERIV, names);
}

void CollectUrineVars(cn const& node, SV& names) {
    CollectStateVars(node, CN_URINECPT, names);
}

void CollectTransitVars(cn const& node, SV& names) {
    CollectStateVars(node, CN_TRANSIT, names);
}

void CollectTransit2Vars(cn const& node, SV& names) {
    CollectStateVars(node, CN_DELAYINFCPT, names);
}

// Every integrated variable: the variables of the four integrator statements and the names
// of event and count statements, walking on from child2 of each.
void CollectIntegVars(cn const& node, SV& names) {
    if (!node) return;
    bool const isTarget = IsIntegratorKind(node->type);
    if (isTarget && IsEventKind(node->type))
        AddName(names, node->name);
    else if (isTarget)
        CollectVars(node->child1, names);
    ForEachOperand(
        node, [&](N const& c) { CollectIntegVars(c, names); }, isTarget);
}

void CollectEventVars(cn const& node, SV& names) {
    WalkToTargets(node, IsEventKind, [&](cn const& n) { AddName(names, n->name); });
}

// ---- Dose points --------------------------------------------------------------------------

void CollectDosepoints1(cn const& node, SV& names, std::vector<unsigned short>& split) {
    auto isDose = [](CNodeType type) { return type == CN_DOSEPOINT; };
    WalkToTargets(node, isDose, [&](cn const& n) {
        if (AddName(names, n->name)) split.push_back(n->doseOption ? n->doseOption->split : 0);
    });
}

void CollectDosepoints2(cn const& node, SV& names) {
    auto isDose = [](CNodeType type) { return type == CN_DOSEPOINT2; };
    WalkToTargets(node, isDose, [&](cn const& n) { AddName(names, n->name); });
}

// The initial-dose variables of the dose points, kept as they come, duplicates included.
void CollectInitialDoseVars(cn const& node, SV& names) {
    auto isDose = [](CNodeType type) { return type == CN_DOSEPOINT || type == CN_DOSEPOINT2; };
    WalkToTargets(node, isDose, [&](cn const& n) {
        if (!n->doseOption) return;
        for (String const* name :
             {&n->doseOption->idosevar, &n->doseOption->infdosevar, &n->doseOption->infratevar})
            if ((*name)[0]) names.push_back(*name);
    });
}

// ---- Closed forms ----------------------------------------------------------------------------

// The depot of a cfMicro or cfMacro1: the variable that its `first = (...)` argument, kept in
// child1, assigns; an empty text without one.
static String DepotName(cn const& stmt) {
    N const& first = stmt->child1;
    if (first && first->type == CN_ASSIGN && first->child1 && first->child1->type == CN_VAR)
        return first->child1->name;
    return String();
}

void CollectCFMacroVars(cn const& node, SV& names, SV& depots) {
    auto isMicro = [](CNodeType type) { return type == CN_CFMICRO || type == CN_CFMACRO1; };
    WalkToTargets(node, isMicro, [&](cn const& n) {
        if (AddName(names, n->name)) depots.push_back(DepotName(n));
    });
}

void CollectCFMacro2Vars(cn const& node, SV& names, SV& firsts) {
    auto isMacro = [](CNodeType type) { return type == CN_CFMACRO; };
    WalkToTargets(node, isMacro, [&](cn const& n) {
        if (!AddName(names, n->name)) return;
        firsts.push_back(!n->list.empty() && n->list[0] ? n->list[0]->name : String());
    });
}

// ---- Observations -----------------------------------------------------------------------------

static char const* ResponseKindWord(CNodeType type) {
    switch (type) {
        case CN_MULTI: return "multi";
        case CN_LL: return "ll";
        case CN_EVENT: return "event";
        case CN_COUNT: return "count";
        default: return "unknown";
    }
}

void CollectResponses(cn const& node, SV& names, SV& kinds) {
    auto isResponse = [](CNodeType type) { return type >= CN_MULTI && type <= CN_COUNT; };
    WalkToTargets(node, isResponse, [&](cn const& n) {
        if (AddName(names, n->name)) kinds.push_back(ResponseKindWord(n->type));
    });
}

// Beside each observed name its bql flag: 1 bql, 2 aql, 3 both, 0 none.
void CollectObservations(cn const& node, SV& names, std::vector<unsigned short>& bql) {
    auto isObserve = [](CNodeType type) { return type == CN_OBSERVE; };
    WalkToTargets(node, isObserve, [&](cn const& n) {
        if (!AddName(names, n->name)) return;
        bql.push_back(n->child3 ? static_cast<unsigned short>(n->child3->value) : 0);
    });
}

// ---- Data columns and declarations -----------------------------------------------------------

static unsigned short CovariateKindNumber(CNodeType type) {
    switch (type) {
        case CN_COVARIATE: return 0;
        case CN_FCOVARIATE: return 1;
        case CN_INTERPOLATE: return 2;
        default: assert(!"not a covariate statement"); return 0;
    }
}

void CollectCovariates(cn const& node, SV& names, std::vector<unsigned short>& flags,
                       std::vector<unsigned short>& kinds) {
    auto isCovariate = [](CNodeType type) {
        return type >= CN_COVARIATE && type <= CN_INTERPOLATE;
    };
    WalkToTargets(node, isCovariate, [&](cn const& n) {
        for (N const& var : n->list) {
            if (!AddName(names, var->name)) continue;
            flags.push_back(var->child1 ? 1 : 0); // "name()"
            kinds.push_back(CovariateKindNumber(n->type));
        }
    });
}

// The names in the list of each statement of 'kind'.
static void CollectListNames(cn const& node, CNodeType kind, SV& names) {
    auto isKind = [kind](CNodeType type) { return type == kind; };
    WalkToTargets(node, isKind, [&](cn const& n) {
        for (N const& var : n->list)
            AddName(names, var->name);
    });
}

void CollectInterpolateVars(cn const& node, SV& names) {
    CollectListNames(node, CN_INTERPOLATE, names);
}

void CollectDoubles(cn const& node, SV& names) {
    CollectListNames(node, CN_DOUBLE_DECL, names);
}

// ---- Parameters -------------------------------------------------------------------------------

// The variables on the left of the assignments in the list of each statement of 'kind'.
static void CollectLeftSides(cn const& node, CNodeType kind, SV& names) {
    auto isKind = [kind](CNodeType type) { return type == kind; };
    WalkToTargets(node, isKind, [&](cn const& n) {
        for (N const& entry : n->list)
            if (entry && entry->type == CN_ASSIGN) CollectVars(entry->child1, names);
    });
}

void CollectGroup(cn const& node, SV& names) {
    CollectLeftSides(node, CN_GROUP, names);
}

void CollectStruct(cn const& node, SV& names) {
    CollectLeftSides(node, CN_STPARM, names);
}

void CollectSecondary(cn const& node, SV& names) {
    CollectLeftSides(node, CN_SECONDARY, names);
}

// The random effects of each group (block, diag, same) of the statements of 'kind'.
static void CollectRanefNames(cn const& node, CNodeType kind, SV& names) {
    auto isKind = [kind](CNodeType type) { return type == kind; };
    WalkToTargets(node, isKind, [&](cn const& n) {
        for (N const& group : n->list)
            if (group) CollectVars(group->child1, names);
    });
}

void CollectRanef1(cn const& node, SV& names) {
    CollectRanefNames(node, CN_RANEF1, names);
}

void CollectRanef2(cn const& node, SV& names) {
    CollectRanefNames(node, CN_RANEF2, names);
}

void CollectRanef3(cn const& node, SV& names) {
    CollectRanefNames(node, CN_RANEF3, names);
}

void CollectRanef4(cn const& node, SV& names) {
    CollectRanefNames(node, CN_RANEF4, names);
}

void CollectRanef5(cn const& node, SV& names) {
    CollectRanefNames(node, CN_RANEF5, names);
}

// Whether the mark in child1 of a fixef item or of a names node says frozen.
static bool IsFrozenMark(N const& mark) {
    return mark && mark->type == CN_NUM && mark->value == 1.0;
}

// The enable number of a fixef item: its mark is a number or c(number); -1 without one.
static int64_t EnableNumber(cn const& item) {
    N mark = item->child2;
    if (mark && mark->type == CN_VALUES) mark = mark->list.empty() ? N() : mark->list[0];
    if (!mark || mark->type != CN_NUM) return -1;
    return int64_t(mark->value);
}

// The number at 'i' of a list of values, or 'absent' when there is none.
static double NumberAt(NV const& list, size_t i, double absent) {
    if (i >= list.size() || !list[i] || list[i]->type != CN_NUM) return absent;
    return list[i]->value;
}

void CollectFixef(cn const& node, SV& units, SV& names, std::vector<unsigned short>& frozen,
                  std::vector<int64_t>& enable, std::vector<double>& init) {
    auto isFixef = [](CNodeType type) { return type == CN_FIXEF; };
    WalkToTargets(node, isFixef, [&](cn const& stmt) {
        for (N const& item : stmt->list) {
            if (!item || !AddName(names, item->name)) continue;
            units.push_back(String()); // no statement gives a fixed effect units of its own
            frozen.push_back(IsFrozenMark(item->child1) ? 1 : 0);
            enable.push_back(EnableNumber(item));
            init.push_back(NumberAt(item->list, 1, 1.0)); // lower, initial, upper
        }
    });
}

// The names of one error entry, each with the entry's frozen flag and its value.
static void CollectErrorEntry(cn const& entry, SV& names, std::vector<unsigned short>& frozen,
                              std::vector<double>& init) {
    if (!entry || entry->type != CN_VARIANCE_DIAG || !entry->child1) return;
    NV const& vars = entry->child1->list;
    for (size_t i = 0; i < vars.size(); i++) {
        if (!AddName(names, vars[i]->name)) continue;
        frozen.push_back(IsFrozenMark(entry->child1->child1) ? 1 : 0);
        init.push_back(entry->child3 ? NumberAt(entry->child3->list, i, 1.0) : 1.0);
    }
}

void CollectErrorInfo(cn const& node, SV& names, std::vector<unsigned short>& frozen,
                      std::vector<double>& init) {
    auto isError = [](CNodeType type) { return type == CN_ERROR; };
    WalkToTargets(node, isError, [&](cn const& stmt) {
        for (N const& entry : stmt->list)
            CollectErrorEntry(entry, names, frozen, init);
    });
}

// ---- Covariate statistics --------------------------------------------------------------------

// The names of the nodes of 'kind', walking the action blocks as well.
static void CollectStatNames(cn const& node, CNodeType kind, SV& names) {
    auto isKind = [kind](CNodeType type) { return type == kind; };
    WalkToTargets(
        node, isKind, [&](cn const& n) { AddName(names, n->name); }, true);
}

void CollectCVMean(cn const& node, SV& names) {
    CollectStatNames(node, CN_CV_MEAN, names);
}

void CollectCVMean(CNodeAppendix const* appendix, SV& names) {
    if (!appendix) return;
    CollectCVMean(appendix->dobefore, names);
    CollectCVMean(appendix->doafter, names);
    CollectCVMean(appendix->simulate, names);
}

void CollectCVMedian(cn const& node, SV& names) {
    CollectStatNames(node, CN_CV_MEDIAN, names);
}

void CollectCVMedian(CNodeAppendix const* appendix, SV& names) {
    if (!appendix) return;
    CollectCVMedian(appendix->dobefore, names);
    CollectCVMedian(appendix->doafter, names);
    CollectCVMedian(appendix->simulate, names);
}

// ---- Defined names ---------------------------------------------------------------------------

static bool IsZero(N const& n) {
    return n && n->type == CN_NUM && n->value == 0.0;
}

// Variables that an expression statement sets to the plain number 0, that is, switches off.
// Only blocks are entered.
void CollectConst(cn const& node, SV& names) {
    if (!node) return;
    if (node->type == CN_BLOCK) {
        for (N const& stmt : node->list)
            CollectConst(stmt, names);
        return;
    }
    if (node->type != CN_ASSIGN || !node->child1 || node->child1->type != CN_VAR) return;
    if (IsZero(node->child2)) AddName(names, node->child1->name);
}

// The names of an assignment's left side, and a peak's own name when it is the right side.
static void CollectAssignedBy(cn const& assign, SV& names) {
    CollectVars(assign->child1, names);
    if (assign->child2 && assign->child2->type == CN_PEAK) CollectVars(assign->child2, names);
}

// The dependent variable of each y row of a table; the first row is the x row.
static void CollectTableRows(cn const& table, SV& names) {
    for (size_t i = 1; i < table->list.size(); i++)
        if (table->list[i]) CollectVars(table->list[i]->child1, names);
}

static void CollectAssignedEntries(cn const& node, SV& names) {
    for (N const& entry : node->list)
        CollectAssigned(entry, names);
}

// All names that statements define: left sides of assignments, anywhere in blocks and in the
// lists of closed forms and parameter statements, and the y rows of tables. Action code of a
// sequence is not entered.
void CollectAssigned(cn const& node, SV& names) {
    if (!node) return;
    switch (node->type) {
        case CN_ASSIGN: return CollectAssignedBy(node, names);
        case CN_TABLE: return CollectTableRows(node, names);
        case CN_CFMICRO: return CollectAssignedEntries(node, names);
        case CN_CFMACRO1: return CollectAssignedEntries(node, names);
        case CN_GROUP: return CollectAssignedEntries(node, names);
        case CN_STPARM: return CollectAssignedEntries(node, names);
        case CN_SECONDARY: return CollectAssignedEntries(node, names);
        case CN_BLOCK: return CollectAssignedEntries(node, names);
        default: return;
    }
}

bool has_peak(cn const& node) {
    if (!node) return false;
    if (node->type == CN_PEAK) return true;
    for (N const& c : {node->child1, node->child2, node->child3, node->child4})
        if (has_peak(c)) return true;
    for (N const& e : node->list)
        if (has_peak(e)) return true;
    return false;
}

// ---- Table numbering -------------------------------------------------------------------------

// Gives the delayed variable in child1 of 'node' delay table 'count', and appends it with
// its history expression.
static void NumberDelayTable(N const& node, N const& hist, int& count, NV& nodes, NV& hists) {
    nodes.push_back(node->child1);
    hists.push_back(hist);
    node->iDelayTable = count;
    if (node->child1) node->child1->iDelayTable = count;
    count++;
}

void CountSetPeak(N const& node, int& count, NV& out) {
    auto isPeak = [](CNodeType type) { return type == CN_PEAK; };
    WalkToTargets(node, isPeak, [&](N const& n) {
        out.push_back(n);
        n->iPeakTable = count++;
    });
}

// A delay(...) keeps its history expression in child4.
void CountSetDelay(N const& node, int& count, NV& nodes, NV& hist) {
    auto isDelay = [](CNodeType type) { return type == CN_DELAY; };
    WalkToTargets(node, isDelay,
                  [&](N const& n) { NumberDelayTable(n, n->child4, count, nodes, hist); });
}

// A delayInfCpt starts from an empty history.
void CountSetTransit2(N const& node, int& count, NV& nodes, NV& hist) {
    auto isDelayCpt = [](CNodeType type) { return type == CN_DELAYINFCPT; };
    WalkToTargets(node, isDelayCpt, [&](N const& n) {
        NumberDelayTable(n, std::make_shared<CNode>(0.0), count, nodes, hist);
    });
}
