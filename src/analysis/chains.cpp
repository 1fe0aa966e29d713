// Dependency chains between the names of a model. Each statement gives a chain: the name it
// defines, then every name it mentions. The chains become a matrix of direct dependencies,
// which is closed transitively into the process-wide maps of forward and inverse
// dependencies, the set of names defined through themselves, and the names the outputs need.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

std::set<std::string> recursiveDeps;
std::set<std::string> usedChainStarters;
std::set<std::string> usedVars;

// The head, then the names the head depends on.
typedef std::vector<std::string> Chain;

// clang-format off
// Statements that define an output of the model.
static CNodeType const UserTypes[] = {
    CN_MULTI, CN_OBSERVE, CN_OBSERVE1, CN_LL, CN_DERIV, CN_URINECPT, CN_EVENT, CN_COUNT,
    CN_SEQUENCE};

// Nodes whose `name` is a name of the model.
static CNodeType const NamedTypes[] = {
    CN_VAR, CN_DOSEPOINT, CN_DOSEPOINT2, CN_PEAK, CN_MULTI, CN_OBSERVE, CN_OBSERVE1, CN_LL,
    CN_EVENT, CN_COUNT, CN_CFMICRO, CN_CFMACRO1, CN_CFMACRO};

// Statements that make a chain of their own.
static CNodeType const StarterTypes[] = {
    CN_DOSEPOINT, CN_DOSEPOINT2, CN_DERIV, CN_URINECPT, CN_EVENT, CN_COUNT, CN_ASSIGN,
    CN_OBSERVE, CN_OBSERVE1, CN_LL, CN_CFMICRO, CN_CFMACRO1, CN_CFMACRO, CN_TRANSIT,
    CN_DELAYINFCPT, CN_MULTI, CN_SEQUENCE};
// clang-format on

static std::set<int> const utypes(std::begin(UserTypes), std::end(UserTypes));
static std::set<int> const ntypes(std::begin(NamedTypes), std::end(NamedTypes));

// ---- Chains ----------------------------------------------------------------------------------

static void get_chain(N const& node, Chain& chain);

static void get_chain(CNodeAppendix const* appendix, Chain& chain) {
    if (!appendix) return;
    get_chain(appendix->dobefore, chain);
    get_chain(appendix->doafter, chain);
    get_chain(appendix->simulate, chain);
}

static void get_chain(CNodeExtra const* extra, Chain& chain) {
    if (!extra) return;
    get_chain(extra->beta, chain);
    get_chain(extra->power, chain);
    get_chain(extra->zprobOrLinkp, chain);
}

// A reserved word of the generated code never enters a chain.
static void PushName(std::string const& name, Chain& chain) {
    if (!name.empty() && !is_reserved(name.c_str())) chain.push_back(name);
}

// The name under which an output statement is a chain starter: the variable of an
// integrator, the name of a named statement, "" for a sequence.
static std::string StarterName(N const& node) {
    if (node->type == CN_DERIV || node->type == CN_URINECPT)
        return node->child1 ? std::string(node->child1->name) : std::string();
    if (ntypes.count(node->type)) return std::string(node->name);
    return std::string();
}

// The name a named node contributes; a dose point stands as "dosepoint(A)", apart from A.
static std::string OwnName(N const& node) {
    std::string name(node->name);
    if (node->type == CN_DOSEPOINT || node->type == CN_DOSEPOINT2) return "dosepoint(" + name + ")";
    return name;
}

// Appends the names of one statement to 'chain' in source order; the first that is pushed is
// the head. Notes the statement in `usedChainStarters` when it defines an output.
static void get_chain(N const& node, Chain& chain) {
    if (!node) return;
    if (utypes.count(node->type)) {
        usedChainStarters.insert(StarterName(node));
        if (node->type == CN_SEQUENCE) chain.push_back(""); // the head of a sequence
    }
    if (ntypes.count(node->type)) PushName(OwnName(node), chain);
    if (node->type == CN_ASSIGN && node->child2 && node->child2->type == CN_PEAK)
        return get_chain(node->child2, chain); // the peak's own name is the head
    get_chain(node->child1, chain);
    if (node->type != CN_MULTI) get_chain(node->child2, chain); // not the link function
    get_chain(node->child3, chain);
    get_chain(node->child4, chain);
    get_chain(node->appendix.get(), chain);
    if (node->doseOption) {
        CDoseVarOption const& dose = *node->doseOption;
        for (String const* name : {&dose.idosevar, &dose.infdosevar, &dose.infratevar})
            PushName(std::string(*name), chain);
    }
    get_chain(node->extra.get(), chain);
    for (N const& entry : node->list)
        get_chain(entry, chain);
}

static bool IsChainStarter(CNodeType type) {
    static std::set<int> const start_chain_sttypes(std::begin(StarterTypes),
                                                   std::end(StarterTypes));
    return start_chain_sttypes.count(type) > 0;
}

// Appends 'node' as a new chain.
static void AddChain(N const& node, std::vector<Chain>& chains) {
    chains.emplace_back();
    get_chain(node, chains.back());
}

static void CollectChains(N const& node, std::vector<Chain>& chains);

static void CollectChains(CNodeAppendix const* appendix, std::vector<Chain>& chains) {
    if (!appendix) return;
    CollectChains(appendix->dobefore, chains);
    CollectChains(appendix->doafter, chains);
    CollectChains(appendix->simulate, chains);
}

static void CollectChains(CNodeExtra const* extra, std::vector<Chain>& chains) {
    if (!extra) return;
    CollectChains(extra->beta, chains);
    CollectChains(extra->power, chains);
    CollectChains(extra->zprobOrLinkp, chains);
}

// One chain per statement under 'node'; each entry of a fixef or stparm is a statement.
static void CollectChains(N const& node, std::vector<Chain>& chains) {
    if (!node) return;
    if (node->type == CN_FIXEF || node->type == CN_STPARM) {
        for (N const& entry : node->list)
            AddChain(entry, chains);
        return;
    }
    if (IsChainStarter(node->type)) return AddChain(node, chains);
    CollectChains(node->child1, chains);
    CollectChains(node->child2, chains);
    CollectChains(node->child3, chains);
    CollectChains(node->child4, chains);
    CollectChains(node->appendix.get(), chains);
    CollectChains(node->extra.get(), chains);
    for (N const& entry : node->list)
        CollectChains(entry, chains);
}

// ---- Dependency matrix -----------------------------------------------------------------------

// A square matrix of bits, each row a run of 64-bit words, so that rows merge word by word.
class BitMatrix {
  public:
    explicit BitMatrix(size_t n) : size(n), words((n + 63) / 64), bits(n * words, 0) {}

    size_t Size() const { return size; }

    size_t Words() const { return words; }

    uint64_t* Row(size_t i) { return &bits[i * words]; }

    uint64_t const* Row(size_t i) const { return &bits[i * words]; }

    std::vector<uint64_t> const& Bits() const { return bits; }

    bool Test(size_t i, size_t j) const { return (Row(i)[j / 64] >> (j % 64)) & 1; }

    void Set(size_t i, size_t j) { Row(i)[j / 64] |= uint64_t(1) << (j % 64); }

    void Reset(size_t i, size_t j) { Row(i)[j / 64] &= ~(uint64_t(1) << (j % 64)); }

    // Calls 'f' with each column set in row 'i', in ascending order.
    template <class F> void ForEachInRow(size_t i, F const& f) const {
        uint64_t const* row = Row(i);
        for (size_t w = 0; w < words; w++)
            for (uint64_t x = row[w]; x; x &= x - 1)
                f(w * 64 + size_t(__builtin_ctzll(x)));
    }

  private:
    size_t size;
    size_t words;
    std::vector<uint64_t> bits;
};

// Index of 'name' in the sorted 'names', which must hold it.
static size_t IndexOf(std::vector<std::string> const& names, std::string const& name) {
    return size_t(std::lower_bound(names.begin(), names.end(), name) - names.begin());
}

// Row of each head: a column for every name after the head in any of its chains. An empty
// chain adds nothing.
static void SetDirectDeps(std::vector<Chain> const& chains, std::vector<std::string> const& names,
                          BitMatrix& m) {
    for (Chain const& chain : chains) {
        if (chain.empty()) continue;
        size_t const row = IndexOf(names, chain[0]);
        for (size_t k = 1; k < chain.size(); k++)
            m.Set(row, IndexOf(names, chain[k]));
    }
}

// Transitive closure of a matrix of direct dependencies. Afterwards row i holds every name
// that i reaches, and its own column when i lies on a cycle: the same matrix as merging rows
// until nothing changes, in one pass. The strongly connected components are found by
// Tarjan's method, which completes a component only after every component it reaches; the
// row of a component is then the union of its members' direct dependencies and of the
// finished rows of those outside it, whatever the order of the names.
class Closure {
  public:
    explicit Closure(BitMatrix& matrix)
        : m(matrix), succ(DirectSuccessors(matrix)), index(succ.size(), -1), low(succ.size(), 0),
          comp(succ.size(), -1), onStack(succ.size(), 0) {}

    void Run() {
        for (size_t v = 0; v < succ.size(); v++)
            if (index[v] < 0) Visit(int(v));
    }

  private:
    static std::vector<std::vector<int>> DirectSuccessors(BitMatrix const& matrix) {
        std::vector<std::vector<int>> out(matrix.Size());
        for (size_t i = 0; i < out.size(); i++)
            matrix.ForEachInRow(i, [&](size_t j) { out[i].push_back(int(j)); });
        return out;
    }

    void Enter(int v) {
        index[v] = low[v] = nextIndex++;
        stack.push_back(v);
        onStack[v] = 1;
    }

    // Depth-first search from 'root' with an explicit stack, so that a long chain of names
    // can't exhaust the call stack.
    void Visit(int root) {
        struct Frame {
            int v;
            size_t next;
        };

        std::vector<Frame> frames{{root, 0}};
        Enter(root);
        while (!frames.empty()) {
            int const v = frames.back().v;
            if (frames.back().next < succ[v].size()) {
                int const w = succ[v][frames.back().next++];
                if (index[w] < 0) {
                    Enter(w);
                    frames.push_back({w, 0});
                } else if (onStack[w]) {
                    low[v] = std::min(low[v], index[w]);
                }
                continue;
            }
            frames.pop_back();
            if (low[v] == index[v]) CloseComponent(v);
            if (!frames.empty()) low[frames.back().v] = std::min(low[frames.back().v], low[v]);
        }
    }

    // Takes the component rooted at 'root' off the stack and gives all its members its row.
    void CloseComponent(int root) {
        std::vector<int> members;
        int v;
        do {
            v = stack.back();
            stack.pop_back();
            onStack[v] = 0;
            comp[v] = nComponents;
            members.push_back(v);
        } while (v != root);
        std::vector<uint64_t> row(m.Words(), 0);
        for (int u : members)
            for (int w : succ[u])
                MergeInto(row, w);
        for (int u : members)
            std::copy(row.begin(), row.end(), m.Row(size_t(u)));
        nComponents++;
    }

    // Adds 'w' to 'row', and everything 'w' reaches when it lies in a finished component.
    void MergeInto(std::vector<uint64_t>& row, int w) {
        row[size_t(w) / 64] |= uint64_t(1) << (size_t(w) % 64);
        if (comp[w] == nComponents) return; // a member of the component being closed
        uint64_t const* from = m.Row(size_t(w));
        for (size_t k = 0; k < row.size(); k++)
            row[k] |= from[k];
    }

    BitMatrix& m;
    std::vector<std::vector<int>> succ;
    std::vector<int> index, low, comp;
    std::vector<char> onStack;
    std::vector<int> stack;
    int nextIndex = 0;
    int nComponents = 0;
};

// ---- Results ---------------------------------------------------------------------------------

// Names on a cycle go to `recursiveDeps`; then the diagonal is cleared, so that no name is a
// dependency of itself.
static void NoteRecursive(std::vector<std::string> const& names, BitMatrix& m) {
    for (size_t i = 0; i < names.size(); i++) {
        if (!m.Test(i, i)) continue;
        recursiveDeps.insert(names[i]);
        m.Reset(i, i);
    }
}

// Adds the closed matrix to `fwdDeps`, which `invDeps` reads by column. A name has an entry
// only when it has a dependency or a dependent.
static void FillDepMaps(std::vector<std::string> const& names, BitMatrix const& m) {
    fwdDeps.Add(names, m.Bits(), m.Words());
}

// Everything the chain starters depend on, the starters themselves only through another: the
// union of their rows, read out once.
static void FillUsedVars(std::vector<std::string> const& names, BitMatrix const& m) {
    std::vector<uint64_t> rows(m.Words(), 0);
    for (std::string const& starter : usedChainStarters) {
        if (!std::binary_search(names.begin(), names.end(), starter)) continue;
        uint64_t const* row = m.Row(IndexOf(names, starter));
        for (size_t w = 0; w < rows.size(); w++)
            rows[w] |= row[w];
    }
    for (size_t w = 0; w < rows.size(); w++)
        for (uint64_t x = rows[w]; x; x &= x - 1)
            usedVars.insert(names[w * 64 + size_t(__builtin_ctzll(x))]);
}

// Builds the chains of the statements under 'body' and from them fills `fwdDeps`,
// `invDeps`, `recursiveDeps`, `usedChainStarters` and `usedVars`, adding to what they hold.
void CollectDependencyChains(N const& body) {
    std::vector<Chain> chains;
    CollectChains(body, chains);
    std::set<std::string> sorted;
    for (Chain const& chain : chains)
        sorted.insert(chain.begin(), chain.end());
    std::vector<std::string> const names(sorted.begin(), sorted.end());
    BitMatrix m(names.size());
    SetDirectDeps(chains, names, m);
    Closure(m).Run();
    NoteRecursive(names, m);
    FillDepMaps(names, m);
    FillUsedVars(names, m);
}

// Appends to 'out' each name of 'names' that depends, directly or not, on a name of
// 'starters'.
void CollectDependentParams(SV const& names, SV const& starters, SV& out) {
    DepSets::Masks const mask =
        fwdDeps.MaskOf(std::set<std::string>(starters.begin(), starters.end()));
    for (String const& name : names)
        if (fwdDeps.Meets(std::string(name), mask)) out.push_back(name);
}

// Replaces 'used' by the names of 'starts' that something outside 'starts' depends on,
// together with those dependents, in sorted order. A parameter that only feeds another
// starting name does not count as used by that path.
void CollectUsedVars(SV const& starts, SV& used) {
    std::set<std::string> const result =
        fwdDeps.UsedFrom(std::set<std::string>(starts.begin(), starts.end()));
    used.clear();
    for (std::string const& name : result)
        used.push_back(name.c_str());
}
