// The model walkers: small functions that flatten the statement tree into the name lists
// the generators read, and the three that number the peak and delay tables.
// All but CollectVars, CollectConst and CollectAssigned share one walk: stop at the target
// kinds, take from them, and otherwise descend through the operands in source order.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <cassert>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <unordered_map>

// ---- The common walk ---------------------------------------------------------------------------

// A set of node kinds, one bit per kind, so that a walk tests its targets with one shift.
class KindSet {
  public:
    KindSet() = default;

    KindSet(std::initializer_list<CNodeType> kinds) {
        for (CNodeType kind : kinds)
            Add(kind);
    }

    // The kinds that 'is' accepts.
    explicit KindSet(bool (*is)(CNodeType)) {
        for (int kind = 0; kind < CN_KIND_COUNT; kind++)
            if (is(CNodeType(kind))) Add(CNodeType(kind));
    }

    bool Has(CNodeType type) const { return (bits[unsigned(type) / 64] >> (type % 64)) & 1; }

    // Whether this set and 'other' have a kind in common.
    bool Meets(KindSet const& other) const {
        uint64_t common = 0;
        for (size_t i = 0; i < CN_KIND_COUNT / 64; i++)
            common |= bits[i] & other.bits[i];
        return common != 0;
    }

    void Add(CNodeType kind) { bits[unsigned(kind) / 64] |= uint64_t(1) << (kind % 64); }

  private:
    uint64_t bits[CN_KIND_COUNT / 64] = {};
};

// The slots of the nodes that a walk has still to visit, the last pushed on top. Room is made
// once per node, so that a push is a store and an add.
class SlotStack {
  public:
    bool Empty() const { return top == 0; }

    N const& Pop() { return *items[--top]; }

    void Reserve(size_t n) {
        if (items.size() - top < n) items.resize(2 * items.size() + n);
    }

    // Pushes 'slot' when it holds a node; needs room.
    void PushIfSet(N const& slot) {
        items[top] = &slot;
        top += slot != nullptr;
    }

  private:
    std::vector<N const*> items;
    size_t top = 0;
};

// Whether 'node' has no operand at all, as most nodes of an expression have; one test.
static bool IsLeaf(CNode const& node) {
    uintptr_t const any = uintptr_t(node.child1.get()) | uintptr_t(node.child2.get()) |
                          uintptr_t(node.child3.get()) | uintptr_t(node.child4.get()) |
                          uintptr_t(node.appendix.get());
    return !any && node.list.empty();
}

// While a StatementKindsScope is open: its body, and the kinds under each of its statements.
static CNode const* indexedBody = nullptr;
static std::vector<KindSet> statementKinds;

static void AddKindsBelow(CNode const* n, KindSet& kinds) {
    if (!n) return;
    kinds.Add(n->type);
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        AddKindsBelow(c->get(), kinds);
    if (n->appendix)
        for (N const* c : {&n->appendix->dobefore, &n->appendix->doafter, &n->appendix->simulate})
            AddKindsBelow(c->get(), kinds);
    for (N const& e : n->list)
        AddKindsBelow(e.get(), kinds);
}

StatementKindsScope::StatementKindsScope(cn const& body) {
    if (!body || body->type != CN_BLOCK) return;
    for (N const& s : body->list) {
        statementKinds.emplace_back();
        AddKindsBelow(s.get(), statementKinds.back());
    }
    indexedBody = body.get();
}

StatementKindsScope::~StatementKindsScope() {
    indexedBody = nullptr;
    statementKinds.clear();
}

// Pushes the operands of 'node' that hold a node, last first, so that they come off the stack
// in source order: child1 (or child2 when 'fromChild2') to child4, the action blocks when
// 'withAppendix', then each entry of list. Of the indexed body, a statement that holds none of
// the 'targets' is passed over: the walk would find nothing in it.
__attribute__((always_inline)) static inline void PushOperands(CNode const& node, SlotStack& stack,
                                                               KindSet const& targets,
                                                               bool fromChild2, bool withAppendix) {
    stack.Reserve(node.list.size() + 7);
    bool const indexed = &node == indexedBody && node.list.size() == statementKinds.size();
    for (size_t i = node.list.size(); i-- > 0;)
        if (!indexed || targets.Meets(statementKinds[i])) stack.PushIfSet(node.list[i]);
    if (withAppendix && node.appendix) {
        stack.PushIfSet(node.appendix->simulate);
        stack.PushIfSet(node.appendix->doafter);
        stack.PushIfSet(node.appendix->dobefore);
    }
    stack.PushIfSet(node.child4);
    stack.PushIfSet(node.child3);
    stack.PushIfSet(node.child2);
    if (!fromChild2) stack.PushIfSet(node.child1);
}

// How a walk goes on at a target: not below it, or below it from child2 on.
enum class AtTarget { Stop, GoOnFromChild2 };

// Walks down from 'root' in source order, handing each node whose kind is in 'targets' to
// 'take'. The walk keeps the slots of the nodes on a stack of its own: no call and no count
// change per node, which matters since most nodes of a large model are no target.
template <class Take>
static void WalkToTargets(N const& root, KindSet const& targets, Take const& take,
                          bool withAppendix = false, AtTarget atTarget = AtTarget::Stop) {
    if (!root) return;
    SlotStack stack;
    stack.Reserve(64);
    stack.PushIfSet(root);
    while (!stack.Empty()) {
        N const& node = stack.Pop();
        bool const isTarget = targets.Has(node->type);
        if (isTarget) take(node);
        if (isTarget && atTarget == AtTarget::Stop) continue;
        if (!IsLeaf(*node)) PushOperands(*node, stack, targets, isTarget, withAppendix);
    }
}

template <class Take>
static void WalkToTargets(cn const& root, KindSet const& targets, Take const& take,
                          bool withAppendix = false, AtTarget atTarget = AtTarget::Stop) {
    WalkToTargets(std::const_pointer_cast<CNode>(root), targets, take, withAppendix, atTarget);
}

// A list that a walk appends names to, each name once, and the uses of each name when wanted.
// The first look-ups scan the list; after them it has an index, so that a walk over a large
// model does not scan the list once per name. The index views the texts of the list, which
// stay in place while the list grows.
struct NameSink {
    explicit NameSink(SV& list, std::vector<int>* uses = nullptr) : names(list), counts(uses) {}

    SV& names;
    std::vector<int>* counts;
    int scans = 0; // look-ups answered by a scan
    bool indexed = false;
    std::unordered_map<std::string_view, int> at; // each name's last index, once 'indexed'
};

static int const MAX_SINK_SCANS = 16;

static void IndexSink(NameSink& s) {
    s.at.reserve(2 * s.names.size() + 64);
    for (size_t i = 0; i < s.names.size(); i++)
        s.at[static_cast<char const*>(s.names[i])] = int(i);
    s.indexed = true;
}

// `MemberOf` of the sink's list.
static int FindInSink(NameSink& s, char const* name) {
    if (!s.indexed && ++s.scans > MAX_SINK_SCANS) IndexSink(s);
    if (!s.indexed) return MemberOf(name, s.names);
    auto it = s.at.find(name);
    return it == s.at.end() ? -1 : it->second;
}

static void AppendToSink(NameSink& s, char const* name) {
    s.names.push_back(name);
    if (s.indexed) s.at[static_cast<char const*>(s.names.back())] = int(s.names.size()) - 1;
}

// Appends 'name' unless the list holds it already; answers whether it did.
static bool AddName(NameSink& s, char const* name) {
    if (FindInSink(s, name) >= 0) return false;
    AppendToSink(s, name);
    return true;
}

// ---- CollectVars ------------------------------------------------------------------------------

// Counts one more use of 'name', which enters the list at its first use.
static void CountUse(char const* name, NameSink& s) {
    int i = FindInSink(s, name);
    if (i >= 0) {
        if (s.counts) (*s.counts)[i]++;
        return;
    }
    AppendToSink(s, name);
    if (s.counts) s.counts->push_back(1);
}

// Whether child2 of a node of 'type' holds a word rather than an expression: the member in
// `a.b`, the link function of multi and ordinal, the type of LL.
static bool HasWordInChild2(CNodeType type) {
    return type == CN_NONE || type == CN_MEMBER || type == CN_MULTI || type == CN_LL;
}

static void CollectVarsInto(CNode const& node, NameSink& s);

static void CollectVarsInto(N const& node, NameSink& s) {
    if (node) CollectVarsInto(*node, s);
}

static void CollectVarsInto(CNodeAppendix const* appendix, NameSink& s) {
    if (!appendix) return;
    CollectVarsInto(appendix->dobefore, s);
    CollectVarsInto(appendix->doafter, s);
    CollectVarsInto(appendix->simulate, s);
}

// The dose-variable names of a dose point are uses of those variables.
static void CollectVarsInto(CDoseVarOption const* option, NameSink& s) {
    if (!option) return;
    for (String const* name : {&option->idosevar, &option->infdosevar, &option->infratevar})
        if ((*name)[0]) CountUse(*name, s);
}

static void CollectVarsInto(CNodeExtra const* extra, NameSink& s) {
    if (!extra) return;
    CollectVarsInto(extra->beta, s);
    CollectVarsInto(extra->power, s);
    CollectVarsInto(extra->zprobOrLinkp, s);
}

// Every variable under 'node', with its number of uses. A peak counts as its own name and is
// not entered; the words of HasWordInChild2 and the distribution names of delayInfCpt
// (child4) and delay (its list) are no variables.
static void CollectVarsInto(CNode const& node, NameSink& s) {
    if (node.type == CN_VAR || node.type == CN_PEAK) return CountUse(node.name, s);
    CollectVarsInto(node.child1, s);
    if (!HasWordInChild2(node.type)) CollectVarsInto(node.child2, s);
    CollectVarsInto(node.child3, s);
    if (node.type != CN_DELAYINFCPT) CollectVarsInto(node.child4, s);
    CollectVarsInto(node.appendix.get(), s);
    CollectVarsInto(node.doseOption.get(), s);
    CollectVarsInto(node.extra.get(), s);
    if (node.type == CN_DELAY) return;
    for (N const& entry : node.list)
        CollectVarsInto(entry, s);
}

void CollectVars(cn const& node, SV& names, std::vector<int>& counts) {
    assert(counts.size() == names.size());
    NameSink s(names, &counts);
    if (node) CollectVarsInto(*node, s);
}

void CollectVars(cn const& node, SV& names) {
    NameSink s(names); // the counts are not wanted
    if (node) CollectVarsInto(*node, s);
}

void CollectVars(CNodeAppendix const* appendix, SV& names, std::vector<int>& counts) {
    assert(counts.size() == names.size());
    NameSink s(names, &counts);
    CollectVarsInto(appendix, s);
}

void CollectVars(CDoseVarOption const* option, SV& names, std::vector<int>& counts) {
    assert(counts.size() == names.size());
    NameSink s(names, &counts);
    CollectVarsInto(option, s);
}

void CollectVars(CNodeExtra const* extra, SV& names, std::vector<int>& counts) {
    assert(counts.size() == names.size());
    NameSink s(names, &counts);
    CollectVarsInto(extra, s);
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
    NameSink s(names);
    WalkToTargets(
        node, {kind}, [&](N const& n) { CollectVarsInto(n->child1, s); }, false,
        AtTarget::GoOnFromChild2);
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
    NameSink s(names);
    auto take = [&](N const& n) {
        if (IsEventKind(n->type))
            AddName(s, n->name);
        else
            CollectVarsInto(n->child1, s);
    };
    WalkToTargets(node, KindSet(IsIntegratorKind), take, false, AtTarget::GoOnFromChild2);
}

void CollectEventVars(cn const& node, SV& names) {
    NameSink sink(names);
    WalkToTargets(node, KindSet(IsEventKind), [&](N const& n) { AddName(sink, n->name); });
}

// ---- Dose points --------------------------------------------------------------------------

void CollectDosepoints1(cn const& node, SV& names, std::vector<unsigned short>& split) {
    KindSet const isDose{CN_DOSEPOINT};
    NameSink sink(names);
    WalkToTargets(node, isDose, [&](N const& n) {
        if (AddName(sink, n->name)) split.push_back(n->doseOption ? n->doseOption->split : 0);
    });
}

void CollectDosepoints2(cn const& node, SV& names) {
    KindSet const isDose{CN_DOSEPOINT2};
    NameSink sink(names);
    WalkToTargets(node, isDose, [&](N const& n) { AddName(sink, n->name); });
}

// The initial-dose variables of the dose points, kept as they come, duplicates included.
void CollectInitialDoseVars(cn const& node, SV& names) {
    KindSet const isDose{CN_DOSEPOINT, CN_DOSEPOINT2};
    WalkToTargets(node, isDose, [&](N const& n) {
        if (!n->doseOption) return;
        for (String const* name :
             {&n->doseOption->idosevar, &n->doseOption->infdosevar, &n->doseOption->infratevar})
            if ((*name)[0]) names.push_back(*name);
    });
}

// ---- Closed forms ----------------------------------------------------------------------------

// The depot of a cfMicro or cfMacro1: the variable that its `first = (...)` argument, kept in
// child1, assigns; an empty text without one.
static String DepotName(N const& stmt) {
    N const& first = stmt->child1;
    if (first && first->type == CN_ASSIGN && first->child1 && first->child1->type == CN_VAR)
        return first->child1->name;
    return String();
}

void CollectCFMacroVars(cn const& node, SV& names, SV& depots) {
    KindSet const isMicro{CN_CFMICRO, CN_CFMACRO1};
    NameSink sink(names);
    WalkToTargets(node, isMicro, [&](N const& n) {
        if (AddName(sink, n->name)) depots.push_back(DepotName(n));
    });
}

void CollectCFMacro2Vars(cn const& node, SV& names, SV& firsts) {
    KindSet const isMacro{CN_CFMACRO};
    NameSink sink(names);
    WalkToTargets(node, isMacro, [&](N const& n) {
        if (!AddName(sink, n->name)) return;
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
    KindSet const isResponse{CN_MULTI, CN_LL, CN_EVENT, CN_COUNT};
    NameSink sink(names);
    WalkToTargets(node, isResponse, [&](N const& n) {
        if (AddName(sink, n->name)) kinds.push_back(ResponseKindWord(n->type));
    });
}

// Beside each observed name its bql flag: 1 bql, 2 aql, 3 both, 0 none.
void CollectObservations(cn const& node, SV& names, std::vector<unsigned short>& bql) {
    KindSet const isObserve{CN_OBSERVE};
    NameSink sink(names);
    WalkToTargets(node, isObserve, [&](N const& n) {
        if (!AddName(sink, n->name)) return;
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
    KindSet const isCovariate{CN_COVARIATE, CN_FCOVARIATE, CN_INTERPOLATE};
    NameSink sink(names);
    WalkToTargets(node, isCovariate, [&](N const& n) {
        for (N const& var : n->list) {
            if (!AddName(sink, var->name)) continue;
            flags.push_back(var->child1 ? 1 : 0); // "name()"
            kinds.push_back(CovariateKindNumber(n->type));
        }
    });
}

// The names in the list of each statement of 'kind'.
static void CollectListNames(cn const& node, CNodeType kind, SV& names) {
    KindSet const isKind{kind};
    NameSink sink(names);
    WalkToTargets(node, isKind, [&](N const& n) {
        for (N const& var : n->list)
            AddName(sink, var->name);
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
    KindSet const isKind{kind};
    NameSink sink(names);
    WalkToTargets(node, isKind, [&](N const& n) {
        for (N const& entry : n->list)
            if (entry && entry->type == CN_ASSIGN) CollectVarsInto(entry->child1, sink);
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
    KindSet const isKind{kind};
    NameSink sink(names);
    WalkToTargets(node, isKind, [&](N const& n) {
        for (N const& group : n->list)
            if (group) CollectVarsInto(group->child1, sink);
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
static int64_t EnableNumber(N const& item) {
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
    KindSet const isFixef{CN_FIXEF};
    NameSink sink(names);
    WalkToTargets(node, isFixef, [&](N const& stmt) {
        for (N const& item : stmt->list) {
            if (!item || !AddName(sink, item->name)) continue;
            units.push_back(String()); // no statement gives a fixed effect units of its own
            frozen.push_back(IsFrozenMark(item->child1) ? 1 : 0);
            enable.push_back(EnableNumber(item));
            init.push_back(NumberAt(item->list, 1, 1.0)); // lower, initial, upper
        }
    });
}

// The names of one error entry, each with the entry's frozen flag and its value.
static void CollectErrorEntry(N const& entry, NameSink& sink, std::vector<unsigned short>& frozen,
                              std::vector<double>& init) {
    if (!entry || entry->type != CN_VARIANCE_DIAG || !entry->child1) return;
    NV const& vars = entry->child1->list;
    for (size_t i = 0; i < vars.size(); i++) {
        if (!AddName(sink, vars[i]->name)) continue;
        frozen.push_back(IsFrozenMark(entry->child1->child1) ? 1 : 0);
        init.push_back(entry->child3 ? NumberAt(entry->child3->list, i, 1.0) : 1.0);
    }
}

void CollectErrorInfo(cn const& node, SV& names, std::vector<unsigned short>& frozen,
                      std::vector<double>& init) {
    KindSet const isError{CN_ERROR};
    NameSink sink(names);
    WalkToTargets(node, isError, [&](N const& stmt) {
        for (N const& entry : stmt->list)
            CollectErrorEntry(entry, sink, frozen, init);
    });
}

// ---- Covariate statistics --------------------------------------------------------------------

// The names of the nodes of 'kind', walking the action blocks as well.
static void CollectStatNames(cn const& node, CNodeType kind, SV& names) {
    KindSet const isKind{kind};
    NameSink sink(names);
    WalkToTargets(
        node, isKind, [&](N const& n) { AddName(sink, n->name); }, true);
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
static void CollectConstInto(cn const& node, NameSink& s) {
    if (!node) return;
    if (node->type == CN_BLOCK) {
        for (N const& stmt : node->list)
            CollectConstInto(stmt, s);
        return;
    }
    if (node->type != CN_ASSIGN || !node->child1 || node->child1->type != CN_VAR) return;
    if (IsZero(node->child2)) AddName(s, node->child1->name);
}

void CollectConst(cn const& node, SV& names) {
    NameSink s(names);
    CollectConstInto(node, s);
}

// The names of an assignment's left side, and a peak's own name when it is the right side.
static void CollectAssignedBy(cn const& assign, NameSink& s) {
    CollectVarsInto(assign->child1, s);
    if (assign->child2 && assign->child2->type == CN_PEAK) CollectVarsInto(assign->child2, s);
}

// The dependent variable of each y row of a table; the first row is the x row.
static void CollectTableRows(cn const& table, NameSink& s) {
    for (size_t i = 1; i < table->list.size(); i++)
        if (table->list[i]) CollectVarsInto(table->list[i]->child1, s);
}

static void CollectAssignedInto(cn const& node, NameSink& s);

static void CollectAssignedEntries(cn const& node, NameSink& s) {
    for (N const& entry : node->list)
        CollectAssignedInto(entry, s);
}

static void CollectAssignedInto(cn const& node, NameSink& s) {
    if (!node) return;
    switch (node->type) {
        case CN_ASSIGN: return CollectAssignedBy(node, s);
        case CN_TABLE: return CollectTableRows(node, s);
        case CN_CFMICRO: return CollectAssignedEntries(node, s);
        case CN_CFMACRO1: return CollectAssignedEntries(node, s);
        case CN_GROUP: return CollectAssignedEntries(node, s);
        case CN_STPARM: return CollectAssignedEntries(node, s);
        case CN_SECONDARY: return CollectAssignedEntries(node, s);
        case CN_BLOCK: return CollectAssignedEntries(node, s);
        default: return;
    }
}

// All names that statements define: left sides of assignments, anywhere in blocks and in the
// lists of closed forms and parameter statements, and the y rows of tables. Action code of a
// sequence is not entered.
void CollectAssigned(cn const& node, SV& names) {
    NameSink s(names);
    CollectAssignedInto(node, s);
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
    KindSet const isPeak{CN_PEAK};
    WalkToTargets(node, isPeak, [&](N const& n) {
        out.push_back(n);
        n->iPeakTable = count++;
    });
}

// A delay(...) keeps its history expression in child4.
void CountSetDelay(N const& node, int& count, NV& nodes, NV& hist) {
    KindSet const isDelay{CN_DELAY};
    WalkToTargets(node, isDelay,
                  [&](N const& n) { NumberDelayTable(n, n->child4, count, nodes, hist); });
}

// A delayInfCpt starts from an empty history.
void CountSetTransit2(N const& node, int& count, NV& nodes, NV& hist) {
    KindSet const isDelayCpt{CN_DELAYINFCPT};
    WalkToTargets(node, isDelayCpt,
                  [&](N const& n) { NumberDelayTable(n, MakeNode(0.0), count, nodes, hist); });
}
