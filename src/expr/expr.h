// Public header of the symbolic expression engine: the node class, the text class, and
// the operations on trees that the parser, the analysis and the generators use.
#pragma once

#include "expr/cnode.h"
#include "expr/vstring.h"

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Thrown (as a pointer) only by differentiation when a derivative can't be formed.
class CException {
  public:
    virtual ~CException() = default;
};

// When set, a node that can't be differentiated throws; when clear, it yields the number 1.
extern bool throw_diff_exception;

// Whether 'n' is built only of kinds whose derivative by any name, whatever the flag above,
// exists and holds no quotient or power, so that its `Simp` can't fail either. IsPlainNode
// tells it of one node, leaving its operands aside.
bool IsPlainlyDifferentiable(CNode const* n);
bool IsPlainNode(CNode const* n);

// The shape of a tree as one line of text, for debug output and self-checks.
std::string DumpTree(cn const& n);

// Names defined in terms of themselves, filled by the dependency analysis of a model.
// `FullyExpand` puts such a definition in only once when the set has entries.
extern std::set<std::string> recursiveDeps;

// 'expr' with every name of 'names' replaced by the parallel entry of 'exprs', repeatedly,
// until nothing changes or 20 passes are done.
N FullyExpand(cn expr, SV const& names, NV const& exprs);
// Each name of an assignment list with its places in the list, ascending. It points into the
// list, which must stay as it is while the index is in use.
typedef std::unordered_map<std::string_view, std::vector<size_t>> AssignIndex;
AssignIndex GetAssignIndex(SV const& names);
// The same, for many expressions over one list: 'index' is `GetAssignIndex(names)`, so that a
// pass visits only the names the expression holds instead of the whole list.
N FullyExpand(cn expr, SV const& names, NV const& exprs, AssignIndex const& index);

// What `FullyExpand` of an expression over one assignment list would hold, found without
// building it: the names left in it and whether it is plainly differentiable. It answers only
// where the expansion surely inlines every assigned name it meets: each name assigned once and
// not recursive, no cycle, chains of at most 10 names, bare names (expansion.cpp).
class ExpansionSummaries {
  public:
    ExpansionSummaries(SV const& names, NV const& exprs);
    // False when it can't tell; else 'held' gets the names, sorted, each once.
    bool Summarize(CNode const* expr, std::vector<std::string>& held, bool& plain);

  private:
    struct Summary {
        int state = 0; // 0 not yet, 1 being summarized, 2 done, 3 can't tell
        bool plain = true;
        int depth = 0;
        std::vector<std::string> held;
    };

    bool Walk(CNode const* n, Summary& into);
    bool SummarizeName(size_t i);

    SV const& names;
    NV const& exprs;
    bool usable = true;
    std::unordered_map<std::string_view, size_t> at; // the place of each assigned name
    std::vector<Summary> byPlace;
};

// The entries of 'nodes' that have kind 'type', in order; entries must not be empty.
std::vector<cn> filter_nodes(NV const& nodes, CNodeType type);
