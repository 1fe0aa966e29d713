// Everyday queries and rewrites of expression trees: the three membership tests (each walks
// its own part of the tree on purpose), the constant test, substitution, the factoring out of
// calls and powers into temporaries, the controlled draws, and the inlining of assignments.
#include "expr/expr.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <unordered_set>

std::vector<cn> filter_nodes(NV const& nodes, CNodeType type) {
    std::vector<cn> out;
    for (N const& n : nodes) {
        assert(n && "filter_nodes: empty entry");
        if (n->type == type) out.push_back(n);
    }
    return out;
}

// ---- CountContains -------------------------------------------------------------------------

static int CountIn(N const& n, char const* name) {
    return n ? n->CountContains(name) : 0;
}

static int CountInList(NV const& list, char const* name) {
    int count = 0;
    for (N const& e : list)
        count += CountIn(e, name);
    return count;
}

// Uses of 'name' in the arithmetic skeleton only: powers, conditionals, comparisons and
// member accesses are not entered, so `X^2` counts 0. Derivatives and the solver rely on it.
int CNode::CountContains(char const* name_) const {
    switch (type) {
        case CN_VAR: return name == name_ ? 1 : 0;
        case CN_ADD:
        case CN_SUB:
        case CN_MUL:
        case CN_DIV: return CountIn(child1, name_) + CountIn(child2, name_);
        case CN_NEG: return CountIn(child1, name_);
        case CN_ASSIGN: return CountIn(child2, name_);
        case CN_CALL: return CountInList(list, name_);
        case CN_SEQUENCE: return CountInList(list, name_);
        case CN_SLEEP: return CountIn(child1, name_);
        default: return 0;
    }
}

// ---- DeepContains --------------------------------------------------------------------------

static bool DeepIn(N const& n, char const* name) {
    return n && n->DeepContains(name);
}

// Whether 'name' is a variable anywhere below: every child and list entry, except the left
// side of an assignment. `units` is not an operand and is not looked at.
bool CNode::DeepContains(char const* name_) const {
    if (type == CN_VAR) return name == name_;
    if (type == CN_NUM) return false;
    if (type != CN_ASSIGN && DeepIn(child1, name_)) return true;
    if (DeepIn(child2, name_) || DeepIn(child3, name_) || DeepIn(child4, name_)) return true;
    for (N const& e : list)
        if (DeepIn(e, name_)) return true;
    return false;
}

// ---- ContainsTopLevel ----------------------------------------------------------------------

static bool TopIn(N const& n, char const* name, CNodeType op) {
    return n && n->ContainsTopLevel(name, op);
}

// Whether 'name' is a direct term of a sum ('op' CN_ADD: through +, - and unary minus) or a
// direct factor of a product ('op' CN_MUL: through * and /).
bool CNode::ContainsTopLevel(char const* name_, CNodeType op) const {
    switch (type) {
        case CN_VAR: return name == name_;
        case CN_ADD:
        case CN_SUB: return op == CN_ADD && (TopIn(child1, name_, op) || TopIn(child2, name_, op));
        case CN_MUL:
        case CN_DIV: return op == CN_MUL && (TopIn(child1, name_, op) || TopIn(child2, name_, op));
        case CN_NEG: return op == CN_ADD && TopIn(child1, name_, op);
        default: return false;
    }
}

// ---- IsConstant ----------------------------------------------------------------------------

static bool ConstantOrEmpty(N const& n, SV const& consts) {
    return !n || n->IsConstant(consts);
}

static bool IsNameIn(String const& name, SV const& names) {
    for (String const& s : names)
        if (s == name) return true;
    return false;
}

static bool IsListConstant(NV const& list, SV const& consts) {
    for (N const& e : list)
        if (!ConstantOrEmpty(e, consts)) return false;
    return true;
}

// Whether the value depends on nothing but the names in 'consts'. A call is constant when its
// arguments are, whatever the function; covariate means, delays and peaks count as constant.
bool CNode::IsConstant(SV const& consts) const {
    bool const k1 = ConstantOrEmpty(child1, consts);
    bool const k2 = ConstantOrEmpty(child2, consts);
    bool const k3 = ConstantOrEmpty(child3, consts);
    bool const kids = k1 && k2 && k3;
    if (type >= CN_ADD && type <= CN_NOT) return kids;
    switch (type) {
        case CN_VAR: return IsNameIn(name, consts);
        case CN_NUM: return true;
        case CN_COND:
        case CN_LIMITS: return kids;
        case CN_CALL: return IsListConstant(list, consts);
        case CN_CV_MEAN:
        case CN_CV_MEDIAN:
        case CN_DELAY:
        case CN_PEAK: return true;
        default: return false;
    }
}

// ---- Subst ---------------------------------------------------------------------------------

static N SubstOrEmpty(N const& n, cn const& from, cn const& to, bool bAssignTarget) {
    return n ? n->Subst(from, to, bAssignTarget) : N();
}

// Whether this node is an assignment whose target must survive the substitution of 'from'.
static bool KeepsAssignTarget(CNode const& n, cn const& from, bool bAssignTarget) {
    return !bAssignTarget && n.type == CN_ASSIGN && n.child1 && from &&
           n.child1->name == from->name;
}

// A rebuilt tree with every sub-tree equal to 'from' replaced by a copy of 'to'. Unless
// 'bAssignTarget', an assignment to the replaced name keeps its left side. The dose options,
// the count options and `pos` are not carried over.
N CNode::Subst(cn const& from, cn const& to, bool bAssignTarget) const {
    if (from && from->equal_impl(this)) return to ? to->Copy() : N();
    N r = ShallowCopy();
    if (KeepsAssignTarget(*this, from, bAssignTarget))
        r->child1 = child1->Copy();
    else
        r->child1 = SubstOrEmpty(child1, from, to, bAssignTarget);
    r->child2 = SubstOrEmpty(child2, from, to, bAssignTarget);
    r->child3 = SubstOrEmpty(child3, from, to, bAssignTarget);
    r->child4 = SubstOrEmpty(child4, from, to, bAssignTarget);
    r->units = CopyOrEmpty(units);
    if (appendix) r->appendix = appendix->Subst(from, to, bAssignTarget);
    r->list.reserve(list.size());
    for (N const& e : list)
        r->list.push_back(SubstOrEmpty(e, from, to, bAssignTarget));
    return r;
}

std::unique_ptr<CNodeAppendix> CNodeAppendix::Subst(cn const& from, cn const& to,
                                                    bool bAssignTarget) const {
    auto r = std::make_unique<CNodeAppendix>();
    r->dobefore = SubstOrEmpty(dobefore, from, to, bAssignTarget);
    r->doafter = SubstOrEmpty(doafter, from, to, bAssignTarget);
    r->simulate = SubstOrEmpty(simulate, from, to, bAssignTarget);
    return r;
}

// ---- ElimSubexpr ---------------------------------------------------------------------------

static N ElimOrEmpty(N const& n, NV& exprs) {
    return n ? n->ElimSubexpr(exprs) : N();
}

// The index of the entry of 'exprs' equal to 'n', appending a copy of 'n' when there is none.
static int TempIndexOf(CNode const& n, NV& exprs) {
    for (size_t i = 0; i < exprs.size(); i++)
        if (exprs[i] && exprs[i]->equal_impl(&n)) return (int)i;
    exprs.push_back(n.Copy());
    return (int)exprs.size() - 1;
}

// A rebuilt tree in which each outermost call or power is replaced by the variable
// "__temp_<i>", 'i' being its index in 'exprs'; equal sub-expressions share one temporary.
N CNode::ElimSubexpr(NV& exprs) const {
    if (type == CN_CALL || type == CN_POW) {
        char tmp[32];
        snprintf(tmp, sizeof tmp, "__temp_%d", TempIndexOf(*this, exprs));
        return MakeNode(tmp);
    }
    N r = ShallowCopy();
    r->child1 = ElimOrEmpty(child1, exprs);
    r->child2 = ElimOrEmpty(child2, exprs);
    r->child3 = ElimOrEmpty(child3, exprs);
    r->child4 = ElimOrEmpty(child4, exprs);
    r->units = CopyOrEmpty(units);
    if (appendix) r->appendix = appendix->Copy();
    if (doseOption) r->doseOption = doseOption->Copy();
    if (extra) r->extra = extra->Copy();
    r->list.reserve(list.size());
    for (N const& e : list)
        r->list.push_back(ElimOrEmpty(e, exprs));
    return r;
}

// ---- ConverToUnifNormControlled ------------------------------------------------------------

static N ControlledOrEmpty(N const& n) {
    return n ? n->ConverToUnifNormControlled() : N();
}

// A rebuilt tree in which the calls `unif(...)` and `norm(...)` become the controlled draws,
// without their arguments, so that observation noise follows the engine's sampling switch.
N CNode::ConverToUnifNormControlled() const {
    if (type == CN_CALL && name == "unif") return MakeNode(CN_UNIF_CONTROLLED);
    if (type == CN_CALL && name == "norm") return MakeNode(CN_NORM_CONTROLLED);
    N r = ShallowCopy();
    r->child1 = ControlledOrEmpty(child1);
    r->child2 = ControlledOrEmpty(child2);
    r->child3 = ControlledOrEmpty(child3);
    r->child4 = ControlledOrEmpty(child4);
    r->units = CopyOrEmpty(units);
    if (appendix) r->appendix = appendix->ConverToUnifNormControlled();
    r->list.reserve(list.size());
    for (N const& e : list)
        r->list.push_back(ControlledOrEmpty(e));
    return r;
}

std::unique_ptr<CNodeAppendix> CNodeAppendix::ConverToUnifNormControlled() const {
    auto r = std::make_unique<CNodeAppendix>();
    r->dobefore = ControlledOrEmpty(dobefore);
    r->doafter = ControlledOrEmpty(doafter);
    r->simulate = ControlledOrEmpty(simulate);
    return r;
}

// ---- FullyExpand ---------------------------------------------------------------------------

// What a substitution can match in a tree: the names of its variables, where `Subst` looks
// (children, appendix, list). A NaN value makes every `Equal` false, so then nothing is known.
struct HeldNames {
    std::vector<std::string_view> names; // sorted, each once
    bool nan = false;
    bool clean = false; // every node is the work of `Subst`, which drops `pos` and the records

    bool Holds(std::string_view name) const {
        return std::binary_search(names.begin(), names.end(), name);
    }
};

static void NoteHeldBelow(CNode const* n, HeldNames& held) {
    if (!n) return;
    if (std::isnan(n->value)) held.nan = true;
    if (n->type == CN_VAR) held.names.push_back(std::string_view(n->name));
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        NoteHeldBelow(c->get(), held);
    if (n->appendix)
        for (N const* c : {&n->appendix->dobefore, &n->appendix->doafter, &n->appendix->simulate})
            NoteHeldBelow(c->get(), held);
    for (N const& e : n->list)
        NoteHeldBelow(e.get(), held);
}

// The names and NaNs of a whole tree, into an empty 'held'.
static void NoteHeld(cn const& n, HeldNames& held) {
    NoteHeldBelow(n.get(), held);
    std::sort(held.names.begin(), held.names.end());
    held.names.erase(std::unique(held.names.begin(), held.names.end()), held.names.end());
}

// Whether `Subst` of 'name' would give a copy equal to the work in every field: the name is not
// held by a tree that is already all of `Subst`'s making.
static bool SubstIsCopy(HeldNames const& held, char const* name) {
    return held.clean && !held.nan && !held.Holds(name);
}

AssignIndex GetAssignIndex(SV const& names) {
    AssignIndex index;
    for (size_t i = 0; i < names.size(); i++)
        index[std::string_view(names[i])].push_back(i);
    return index;
}

static size_t const NO_PLACE = SIZE_MAX;

// The last place below 'i' of a name that 'held' holds, or NO_PLACE.
static size_t LastHeldBelow(HeldNames const& held, AssignIndex const& index, size_t i) {
    size_t last = NO_PLACE;
    for (std::string_view name : held.names) {
        auto at = index.find(name);
        if (at == index.end()) continue;
        auto above = std::lower_bound(at->second.begin(), at->second.end(), i);
        if (above == at->second.begin()) continue;
        size_t const place = *(above - 1);
        if (last == NO_PLACE || place > last) last = place;
    }
    return last;
}

// The place after 'i' that a pass visits, going down: the next one, or with an 'index' the
// next whose substitution could be more than a copy; the places between would be skipped.
static size_t NextPlace(HeldNames const& held, AssignIndex const* index, size_t i) {
    if (i == 0) return NO_PLACE;
    if (!index || !held.clean || held.nan) return i - 1;
    return LastHeldBelow(held, *index, i);
}

// One pass over the assignments, last to first, substituting each name by its right side in
// 'work'. A recursive name that changed something joins 'done' when 'need_collect' is set.
// Answers whether any name changed the tree. A substitution that could only copy is skipped.
static bool ExpandPass(N& work, SV const& names, NV const& exprs, AssignIndex const* index,
                       bool need_collect, std::set<std::string>& done, HeldNames& held) {
    bool changed = false;
    size_t i = std::min(names.size(), exprs.size());
    while ((i = NextPlace(held, index, i)) != NO_PLACE) {
        if (need_collect && done.count(std::string(names[i]))) continue;
        if (!exprs[i]) continue; // no right side to put in
        if (SubstIsCopy(held, names[i])) continue;
        bool const matches = held.nan || held.Holds(std::string_view(names[i]));
        N next = work->Subst(MakeNode(names[i]), exprs[i], false);
        if (!next->Equal(work)) {
            changed = true;
            if (need_collect && recursiveDeps.count(std::string(names[i])))
                done.insert(std::string(names[i]));
        }
        next->AssertValid();
        work = next;
        held = HeldNames();
        NoteHeld(work, held);
        held.clean = !matches;
    }
    return changed;
}

// 'expr' with all assigned names inlined. A cycle that `recursiveDeps` does not know is
// ended by the limit of 20 passes.
static N FullyExpandOver(cn expr, SV const& names, NV const& exprs, AssignIndex const* index) {
    static bool const need_collect = !recursiveDeps.empty(); // decided once, at the first call
    assert(names.size() == exprs.size());
    if (!expr) return N();
    N work = expr->Copy();
    std::set<std::string> done;
    HeldNames held;
    NoteHeld(work, held);
    for (int pass = 0; pass < 20; pass++)
        if (!ExpandPass(work, names, exprs, index, need_collect, done, held)) break;
    return work;
}

N FullyExpand(cn expr, SV const& names, NV const& exprs) {
    return FullyExpandOver(expr, names, exprs, nullptr);
}

N FullyExpand(cn expr, SV const& names, NV const& exprs, AssignIndex const& index) {
    return FullyExpandOver(expr, names, exprs, &index);
}
