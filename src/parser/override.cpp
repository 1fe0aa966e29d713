// Override blocks: second model texts behind a model that carry new initial values, bounds,
// omegas and error values. They are either merged into the model's tree, or turned into edits
// of the model's own text, one span of the buffer each, so that its layout and comments stay.
#include "driver/driver.h"
#include "parser/parser.h"

#include <iterator>
#include <utility>

// ---- Shared helpers ---------------------------------------------------------------------------

// The statements at the top of a model's body: its list when it is a block, else itself.
static NV BodyStatements(N const& model) {
    N body = model ? model->child2 : N();
    if (!body) return NV();
    if (body->type == CN_BLOCK) return body->list;
    return NV{body};
}

// Every item of every fixef statement of 'stmts', in order.
static NV collect_fixefs(NV const& stmts) {
    NV items;
    for (N const& s : stmts)
        if (s && s->type == CN_FIXEF) items.insert(items.end(), s->list.begin(), s->list.end());
    return items;
}

// The groups of every ranef statement (level 5) of 'stmts', in order.
static NV CollectRanefGroups(NV const& stmts) {
    NV groups;
    for (N const& s : stmts)
        if (s && s->type == CN_RANEF5) groups.insert(groups.end(), s->list.begin(), s->list.end());
    return groups;
}

// The entries of every error statement of 'stmts', in order.
static NV CollectErrorEntries(NV const& stmts) {
    NV entries;
    for (N const& s : stmts) {
        if (!s || s->type != CN_ERROR) continue;
        for (N const& e : s->list)
            if (e && e->type == CN_VARIANCE_DIAG) entries.push_back(e);
    }
    return entries;
}

// A fixef item or a group's names carry the frozen mark as child1 = 1.
static bool is_frozen(N const& node) {
    return node && node->child1 && node->child1->type == CN_NUM && node->child1->value == 1.0;
}

// The place of 'name' among the names of a group or an error entry, or -1.
static int NameIndex(N const& names, char const* name) {
    if (!names) return -1;
    for (size_t i = 0; i < names->list.size(); i++)
        if (names->list[i]->name == name) return int(i);
    return -1;
}

// ---- Parsing ----------------------------------------------------------------------------------

// override-block: model, behind the word "override"
// Left-out omegas are allowed and nothing is factored. The model-wide flags of the model
// before it (bql among them, which the generator reads) stay as they were.
void parsOverride(char const*& p, N& out) {
    int* const flags[] = {&bBqlInModel,      &bVCVFixefSeen, &bIWNDFSeen,
                          &bUncertaintySeen, &bVCVRanefSeen, &bVCVRanchSeen};
    int saved[std::size(flags)];
    for (size_t i = 0; i < std::size(flags); i++)
        saved[i] = *flags[i];
    bAllowNullOmegas = 1;
    parsModel(p, out);
    bAllowNullOmegas = 0;
    for (size_t i = 0; i < std::size(flags); i++)
        *flags[i] = saved[i];
}

// ---- Tree path --------------------------------------------------------------------------------

// Each fixef item of the model takes the marks, estimate parts and bounds that an item of the
// same name in the override gives; what the override leaves out stays.
static void incorporateOverrideFixef(N const& model, N const& over) {
    NV overItems = collect_fixefs(BodyStatements(over));
    for (N const& m : collect_fixefs(BodyStatements(model))) {
        for (N const& o : overItems) {
            if (o->name != m->name) continue;
            for (N CNode::*slot : {&CNode::child1, &CNode::child2, &CNode::child3})
                if (o.get()->*slot) m.get()->*slot = (o.get()->*slot)->Copy();
            for (size_t k = 0; k < o->list.size() && k < m->list.size(); k++)
                if (o->list[k]) m->list[k] = o->list[k]->Copy();
            if (is_frozen(m)) m->child2 = N(); // a frozen fixed effect has no enable mark
        }
    }
}

static bool SameNames(N const& a, N const& b) {
    if (!a || !b || a->list.size() != b->list.size()) return false;
    for (size_t i = 0; i < a->list.size(); i++)
        if (a->list[i]->name != b->list[i]->name) return false;
    return true;
}

// The omegas of the override's group replace those of the model's group in the same place,
// when both are diag or both block groups of the same names and the model's isn't frozen.
// An entry the override leaves out keeps the model's number.
static void MergeRanefGroup(N const& m, N const& o) {
    if (m->type != o->type) return;
    if (m->type != CN_VARIANCE_DIAG && m->type != CN_RANEF_BLOCK) return;
    if (!SameNames(m->child1, o->child1) || is_frozen(m->child1)) return;
    if (!m->child2 || !o->child2) return;
    NV& nums = m->child2->list;
    NV const& over = o->child2->list;
    for (size_t k = 0; k < nums.size() && k < over.size(); k++)
        if (over[k]) nums[k] = over[k]->Copy();
}

// Groups of the model and the override are paired by their place among all groups.
static void incorporateOverrideRanef(N const& model, N const& over) {
    NV mine = CollectRanefGroups(BodyStatements(model));
    NV theirs = CollectRanefGroups(BodyStatements(over));
    for (size_t i = 0; i < mine.size() && i < theirs.size(); i++)
        if (mine[i] && theirs[i]) MergeRanefGroup(mine[i], theirs[i]);
}

void incorporateOverride(N model, N over) {
    incorporateOverrideFixef(model, over);
    incorporateOverrideRanef(model, over);
}

// ---- Text path --------------------------------------------------------------------------------

static bool HasSpan(N const& node) {
    return node && node->pos.start && node->pos.end && node->pos.end >= node->pos.start;
}

static std::string SpanText(N const& node) {
    return HasSpan(node) ? std::string(node->pos.start, node->pos.end) : std::string();
}

// The text of 'other', or of 'own' when the override left the part out.
static std::string get_est_replacement(N const& own, N const& other) {
    return other ? SpanText(other) : SpanText(own);
}

static std::string get_est_replacement(std::string const& lower, std::string const& initial,
                                       std::string const& upper) {
    return "c(" + lower + ", " + initial + ", " + upper + ")";
}

// The text of 'whole' with the part at 'part', which lies inside it, replaced by 'by'. Only
// that place: the same characters elsewhere in the text, as in a name, stay.
static std::string replace(Pos const& whole, Pos const& part, std::string const& by) {
    return std::string(whole.start, part.start) + by + std::string(part.end, whole.end);
}

// The whole item of the model becomes the item of the override, with the override's marks and
// the estimate in three parts; a part that neither gives stays empty. An override item
// without an estimate gives nothing.
static void GetReplacementsFixef(N const& model, N const& over, std::vector<CReplacement>& out) {
    NV overItems = collect_fixefs(BodyStatements(over));
    for (N const& m : collect_fixefs(BodyStatements(model))) {
        for (N const& o : overItems) {
            if (o->name != m->name || !HasSpan(o->child4) || !HasSpan(m)) continue;
            std::string parts[3];
            for (size_t k = 0; k < 3; k++)
                parts[k] = get_est_replacement(k < m->list.size() ? m->list[k] : N(),
                                               k < o->list.size() ? o->list[k] : N());
            std::string est = get_est_replacement(parts[0], parts[1], parts[2]);
            out.push_back({m->pos.start, m->pos.end, replace(o->pos, o->child4->pos, est)});
        }
    }
}

// The number of the model's unfrozen group 'g' at row name 'a' and column name 'b', or empty:
// in a diag group only on the diagonal, in a block by rows of the lower triangle, in either
// order of the two names.
static N OmegaTarget(N const& g, char const* a, char const* b) {
    if (!g || !g->child1 || !g->child2 || is_frozen(g->child1)) return N();
    size_t m = g->child1->list.size(), count = g->child2->list.size();
    int r = NameIndex(g->child1, a), c = NameIndex(g->child1, b);
    if (r < 0 || c < 0) return N();
    if (count == m) return r == c ? g->child2->list[size_t(r)] : N();
    if (count != m * (m + 1) / 2) return N();
    if (r < c) std::swap(r, c);
    return g->child2->list[size_t(r * (r + 1) / 2 + c)];
}

// The first block group among the override's ranef statements; diag groups don't count.
static N FirstOverrideBlock(N const& over) {
    for (N const& g : CollectRanefGroups(BodyStatements(over)))
        if (g && g->type == CN_RANEF_BLOCK) return g;
    return N();
}

// Each number of the override's first block replaces the number of the same two names in
// every group of the model that has one; a left-out number replaces nothing.
static void GetReplacementsRanef(N const& model, N const& over, std::vector<CReplacement>& out) {
    N block = FirstOverrideBlock(over);
    if (!block || !block->child1 || is_frozen(block->child1) || !block->child2) return;
    NV const& names = block->child1->list;
    NV const& nums = block->child2->list;
    NV groups = CollectRanefGroups(BodyStatements(model));
    size_t k = 0;
    for (size_t i = 0; i < names.size(); i++) {
        for (size_t j = 0; j <= i; j++, k++) {
            N num = k < nums.size() ? nums[k] : N();
            if (!HasSpan(num)) continue;
            for (N const& g : groups) {
                N target = OmegaTarget(g, names[i]->name, names[j]->name);
                if (HasSpan(target))
                    out.push_back({target->pos.start, target->pos.end, SpanText(num)});
            }
        }
    }
}

// The number of an error entry, as written after its assign-op.
static N ErrorNumber(N const& entry) {
    if (!entry->child3 || entry->child3->list.empty()) return N();
    N num = entry->child3->list[0];
    return num && num->type == CN_NUM ? num : N();
}

// Each unfrozen error value of the override replaces the value of the unfrozen model entry
// of its name, as the override wrote it.
static void GetReplacementsError(N const& model, N const& over, std::vector<CReplacement>& out) {
    NV mine = CollectErrorEntries(BodyStatements(model));
    for (N const& o : CollectErrorEntries(BodyStatements(over))) {
        N num = ErrorNumber(o);
        if (is_frozen(o->child1) || !HasSpan(num) || o->child1->list.empty()) continue;
        for (N const& m : mine) {
            if (is_frozen(m->child1) || m->child1->list.size() != o->child1->list.size()) continue;
            if (NameIndex(m->child1, o->child1->list[0]->name) < 0) continue;
            N target = ErrorNumber(m);
            if (HasSpan(target)) out.push_back({target->pos.start, target->pos.end, SpanText(num)});
        }
    }
}

// Orders the edits by where they start: each later entry that starts earlier is swapped in.
static void SortByStart(std::vector<CReplacement>& edits) {
    for (size_t i = 0; i < edits.size(); i++)
        for (size_t j = i + 1; j < edits.size(); j++)
            if (edits[j].start < edits[i].start) std::swap(edits[i], edits[j]);
}

void GetReplacements(N model, N over, std::vector<CReplacement>& out) {
    GetReplacementsFixef(model, over, out);
    GetReplacementsRanef(model, over, out);
    GetReplacementsError(model, over, out);
    SortByStart(out);
}

// The text from 'text' on with each edit made, up to the end of the last edit; an edit that
// starts before the one before it ends is left out.
std::string ApplyReplacements(char const* text, std::vector<CReplacement> const& edits) {
    std::string out;
    char const* at = text;
    for (CReplacement const& e : edits) {
        if (e.start < at) continue;
        out.append(at, e.start);
        out += e.text;
        at = e.end;
    }
    return out;
}
