// The summaries of full expansions: for each assigned name, once, the names its expansion
// leaves and whether it is plainly differentiable, so that many expressions over one list can
// be judged without expanding each.
#include "expr/expr.h"

#include <algorithm>

static int const maxChain = 10; // well within the passes of `FullyExpand`

ExpansionSummaries::ExpansionSummaries(SV const& assignNames, NV const& assignExprs)
    : names(assignNames), exprs(assignExprs), byPlace(assignNames.size()) {
    usable = names.size() == exprs.size();
    for (size_t i = 0; i < names.size() && usable; i++) {
        bool const once = at.emplace(std::string_view(names[i]), i).second;
        if (!once || !exprs[i] || recursiveDeps.count(std::string(names[i]))) usable = false;
    }
}

// A name as `Subst` replaces it: a bare variable, equal to a new one of its name.
static bool IsBareName(CNode const& n) {
    return n.value == 0.0 && !n.child1 && !n.child2 && !n.child3 && !n.child4 && n.list.empty() &&
           !n.appendix && !n.doseOption && !n.extra;
}

// Adds what 'n' holds to 'into'; false when a part can't be told.
bool ExpansionSummaries::Walk(CNode const* n, Summary& into) {
    if (!n) return true;
    if (n->appendix || n->type == CN_ASSIGN) return false; // an assignment keeps its target
    if (n->type == CN_VAR) {
        if (!IsBareName(*n)) return false;
        auto place = at.find(std::string_view(n->name));
        if (place == at.end()) {
            into.held.push_back(std::string(n->name));
            return true;
        }
        if (!SummarizeName(place->second)) return false;
        Summary const& s = byPlace[place->second];
        into.plain = into.plain && s.plain;
        into.depth = std::max(into.depth, s.depth + 1);
        into.held.insert(into.held.end(), s.held.begin(), s.held.end());
        return into.depth <= maxChain;
    }
    if (!IsPlainNode(n)) into.plain = false;
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        if (!Walk(c->get(), into)) return false;
    for (N const& e : n->list)
        if (!Walk(e.get(), into)) return false;
    return true;
}

static void SortUnique(std::vector<std::string>& v) {
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
}

// The summary of the right side at place 'i', made once; false on a cycle or where a part
// can't be told.
bool ExpansionSummaries::SummarizeName(size_t i) {
    Summary& s = byPlace[i];
    if (s.state == 2) return true;
    if (s.state != 0) return false; // a cycle, or known to be beyond telling
    s.state = 1;
    Summary made;
    bool const ok = Walk(exprs[i].get(), made);
    SortUnique(made.held);
    made.state = ok ? 2 : 3;
    byPlace[i] = std::move(made);
    return ok;
}

bool ExpansionSummaries::Summarize(CNode const* expr, std::vector<std::string>& held, bool& plain) {
    if (!usable || !expr) return false;
    Summary s;
    if (!Walk(expr, s)) return false;
    SortUnique(s.held);
    held = std::move(s.held);
    plain = s.plain;
    return true;
}
