// Dependency chains between the names of a model. Each statement gives a chain: the name it
// defines, then every name it mentions. The chains become a matrix of direct dependencies,
// which is closed transitively into the process-wide maps of forward and inverse
// dependencies, the set of names defined through themselves, and the names the outputs need.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <deque>
#include <string_view>
#include <unordered_map>

std::set<std::string> recursiveDeps;
std::set<std::string> usedChainStarters;
std::set<std::string> usedVars;

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

typedef std::bitset<CN_KIND_COUNT> KindBits;

template <size_t n> static KindBits BitsOf(CNodeType const (&kinds)[n]) {
    KindBits bits;
    for (CNodeType kind : kinds)
        bits.set(size_t(kind));
    return bits;
}

static KindBits const utypes = BitsOf(UserTypes);
static KindBits const ntypes = BitsOf(NamedTypes);
static KindBits const starterTypes = BitsOf(StarterTypes);

// ---- Chains ----------------------------------------------------------------------------------

// The names of the chains, each text once under a number in the order met, with whether it
// is a reserved word of the generated code. The texts live in a deque, which keeps them in
// place for the views of the index.
struct ChainNames {
    ChainNames() { ids.reserve(1024); }

    std::deque<std::string> texts;
    std::vector<char> reserved;
    std::unordered_map<std::string_view, int> ids;

    int IdOf(std::string_view text) {
        auto it = ids.find(text);
        if (it != ids.end()) return it->second;
        texts.emplace_back(text);
        reserved.push_back(is_reserved(texts.back().c_str()));
        ids.emplace(texts.back(), int(texts.size()) - 1);
        return int(texts.size()) - 1;
    }
};

// The head, then the names the head depends on, by number.
typedef std::vector<int> Chain;

// One walk of the chains: the names met so far and the chains made.
struct ChainWalk {
    ChainNames names;
    std::vector<Chain> chains;
};

static void get_chain(N const& node, Chain& chain, ChainNames& names);

static void get_chain(CNodeAppendix const* appendix, Chain& chain, ChainNames& names) {
    if (!appendix) return;
    get_chain(appendix->dobefore, chain, names);
    get_chain(appendix->doafter, chain, names);
    get_chain(appendix->simulate, chain, names);
}

static void get_chain(CNodeExtra const* extra, Chain& chain, ChainNames& names) {
    if (!extra) return;
    get_chain(extra->beta, chain, names);
    get_chain(extra->power, chain, names);
    get_chain(extra->zprobOrLinkp, chain, names);
}

// A reserved word of the generated code never enters a chain.
static void PushName(std::string_view name, Chain& chain, ChainNames& names) {
    if (name.empty()) return;
    int const id = names.IdOf(name);
    if (!names.reserved[size_t(id)]) chain.push_back(id);
}

// The name under which an output statement is a chain starter: the variable of an
// integrator, the name of a named statement, "" for a sequence.
static std::string StarterName(CNode const& node) {
    if (node.type == CN_DERIV || node.type == CN_URINECPT)
        return node.child1 ? std::string(node.child1->name) : std::string();
    if (ntypes.test(size_t(node.type))) return std::string(node.name);
    return std::string();
}

// The name a named node contributes; a dose point stands as "dosepoint(A)", apart from A.
static void PushOwnName(CNode const& node, Chain& chain, ChainNames& names) {
    char const* name = node.name;
    if (node.type != CN_DOSEPOINT && node.type != CN_DOSEPOINT2)
        return PushName(name, chain, names);
    PushName("dosepoint(" + std::string(name) + ")", chain, names);
}

// Appends the names of one statement to 'chain' in source order; the first that is pushed is
// the head. Notes the statement in `usedChainStarters` when it defines an output.
static void get_chain(N const& node, Chain& chain, ChainNames& names) {
    if (!node) return;
    if (utypes.test(size_t(node->type))) {
        usedChainStarters.insert(StarterName(*node));
        if (node->type == CN_SEQUENCE) chain.push_back(names.IdOf("")); // the head of a sequence
    }
    if (ntypes.test(size_t(node->type))) PushOwnName(*node, chain, names);
    if (node->type == CN_ASSIGN && node->child2 && node->child2->type == CN_PEAK)
        return get_chain(node->child2, chain, names); // the peak's own name is the head
    get_chain(node->child1, chain, names);
    if (node->type != CN_MULTI) get_chain(node->child2, chain, names); // not the link function
    get_chain(node->child3, chain, names);
    get_chain(node->child4, chain, names);
    get_chain(node->appendix.get(), chain, names);
    if (node->doseOption) {
        CDoseVarOption const& dose = *node->doseOption;
        for (String const* name : {&dose.idosevar, &dose.infdosevar, &dose.infratevar})
            PushName(static_cast<char const*>(*name), chain, names);
    }
    get_chain(node->extra.get(), chain, names);
    for (N const& entry : node->list)
        get_chain(entry, chain, names);
}

// Appends 'node' as a new chain.
static void AddChain(N const& node, ChainWalk& walk) {
    walk.chains.emplace_back();
    get_chain(node, walk.chains.back(), walk.names);
}

static void CollectChains(N const& node, ChainWalk& walk);

static void CollectChains(CNodeAppendix const* appendix, ChainWalk& walk) {
    if (!appendix) return;
    CollectChains(appendix->dobefore, walk);
    CollectChains(appendix->doafter, walk);
    CollectChains(appendix->simulate, walk);
}

static void CollectChains(CNodeExtra const* extra, ChainWalk& walk) {
    if (!extra) return;
    CollectChains(extra->beta, walk);
    CollectChains(extra->power, walk);
    CollectChains(extra->zprobOrLinkp, walk);
}

// One chain per statement under 'node'; each entry of a fixef or stparm is a statement.
static void CollectChains(N const& node, ChainWalk& walk) {
    if (!node) return;
    if (node->type == CN_FIXEF || node->type == CN_STPARM) {
        for (N const& entry : node->list)
            AddChain(entry, walk);
        return;
    }
    if (starterTypes.test(size_t(node->type))) return AddChain(node, walk);
    CollectChains(node->child1, walk);
    CollectChains(node->child2, walk);
    CollectChains(node->child3, walk);
    CollectChains(node->child4, walk);
    CollectChains(node->appendix.get(), walk);
    CollectChains(node->extra.get(), walk);
    for (N const& entry : node->list)
        CollectChains(entry, walk);
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

    // Hands the bits over; the matrix is not read afterwards.
    std::vector<uint64_t> TakeBits() { return std::move(bits); }

    bool Test(size_t i, size_t j) const { return (Row(i)[j / 64] >> (j % 64)) & 1; }

    void Set(size_t i, size_t j) { Row(i)[j / 64] |= uint64_t(1) << (j % 64); }

    void Reset(size_t i, size_t j) { Row(i)[j / 64] &= ~(uint64_t(1) << (j % 64)); }

  private:
    size_t size;
    size_t words;
    std::vector<uint64_t> bits;
};

// Index of 'name' in the sorted 'names', which must hold it.
static size_t IndexOf(std::vector<std::string> const& names, std::string const& name) {
    return size_t(std::lower_bound(names.begin(), names.end(), name) - names.begin());
}

// The names that the chains hold, sorted, and for each number of a name its index among them.
static std::vector<std::string> SortNames(ChainWalk const& walk, std::vector<int>& indexOf) {
    std::vector<char> inChain(walk.names.texts.size(), 0);
    for (Chain const& chain : walk.chains)
        for (int id : chain)
            inChain[size_t(id)] = 1;
    std::vector<int> ids;
    for (size_t id = 0; id < inChain.size(); id++)
        if (inChain[id]) ids.push_back(int(id));
    std::deque<std::string> const& texts = walk.names.texts;
    std::sort(ids.begin(), ids.end(), [&](int a, int b) { return texts[a] < texts[b]; });
    std::vector<std::string> names;
    names.reserve(ids.size());
    indexOf.assign(texts.size(), -1);
    for (int id : ids) {
        indexOf[size_t(id)] = int(names.size());
        names.push_back(texts[size_t(id)]);
    }
    return names;
}

// The names after the head in any chain of each head, by index, in ascending order and each
// once; an empty chain adds nothing.
static std::vector<std::vector<int>> DirectDeps(ChainWalk const& walk,
                                                std::vector<int> const& indexOf, size_t count) {
    std::vector<std::vector<int>> succ(count);
    for (Chain const& chain : walk.chains) {
        if (chain.empty()) continue;
        std::vector<int>& row = succ[size_t(indexOf[size_t(chain[0])])];
        for (size_t k = 1; k < chain.size(); k++)
            row.push_back(indexOf[size_t(chain[k])]);
    }
    for (std::vector<int>& row : succ) {
        std::sort(row.begin(), row.end());
        row.erase(std::unique(row.begin(), row.end()), row.end());
    }
    return succ;
}

// Row of each head: a column for every direct dependency.
static void SetDirectDeps(std::vector<std::vector<int>> const& succ, BitMatrix& m) {
    for (size_t i = 0; i < m.Size(); i++)
        for (int j : succ[i])
            m.Set(i, size_t(j));
}

// Transitive closure of a matrix of direct dependencies. Afterwards row i holds every name
// that i reaches, and its own column when i lies on a cycle: the same matrix as merging rows
// until nothing changes, in one pass. The strongly connected components are found by
// Tarjan's method, which completes a component only after every component it reaches; the
// row of a component is then the union of its members' direct dependencies and of the
// finished rows of those outside it, whatever the order of the names.
class Closure {
  public:
    // 'matrix' holds the direct dependencies that 'direct' lists by row.
    Closure(BitMatrix& matrix, std::vector<std::vector<int>> direct)
        : m(matrix), succ(std::move(direct)), index(succ.size(), -1), low(succ.size(), 0),
          comp(succ.size(), -1), onStack(succ.size(), 0) {}

    void Run() {
        for (size_t v = 0; v < succ.size(); v++)
            if (index[v] < 0) Visit(int(v));
    }

  private:
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
        if (members.size() == 1)
            CloseAlone(root);
        else
            CloseMembers(members);
        nComponents++;
    }

    // A name alone in its component already has its direct dependencies in its row; the
    // finished rows of those outside the component are merged in place.
    void CloseAlone(int v) {
        uint64_t* row = m.Row(size_t(v));
        for (int w : succ[v]) {
            if (comp[w] == nComponents) continue; // 'v' itself
            uint64_t const* from = m.Row(size_t(w));
            for (size_t k = 0; k < m.Words(); k++)
                row[k] |= from[k];
        }
    }

    void CloseMembers(std::vector<int> const& members) {
        std::vector<uint64_t> row(m.Words(), 0);
        for (int u : members)
            for (int w : succ[u])
                MergeInto(row, w);
        for (int u : members)
            std::copy(row.begin(), row.end(), m.Row(size_t(u)));
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
        recursiveDeps.insert(recursiveDeps.end(), names[i]);
        m.Reset(i, i);
    }
}

// Adds the closed matrix to `fwdDeps`, which `invDeps` reads by column. A name has an entry
// only when it has a dependency or a dependent.
static void FillDepMaps(std::vector<std::string> const& names, BitMatrix& m) {
    size_t const words = m.Words();
    fwdDeps.Add(names, m.TakeBits(), words);
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
            usedVars.insert(usedVars.end(), names[w * 64 + size_t(__builtin_ctzll(x))]);
}

// Builds the chains of the statements under 'body' and from them fills `fwdDeps`,
// `invDeps`, `recursiveDeps`, `usedChainStarters` and `usedVars`, adding to what they hold.
void CollectDependencyChains(N const& body) {
    ChainWalk walk;
    CollectChains(body, walk);
    std::vector<int> indexOf;
    std::vector<std::string> const names = SortNames(walk, indexOf);
    std::vector<std::vector<int>> direct = DirectDeps(walk, indexOf, names.size());
    BitMatrix m(names.size());
    SetDirectDeps(direct, m);
    Closure(m, std::move(direct)).Run();
    NoteRecursive(names, m);
    FillUsedVars(names, m);
    FillDepMaps(names, m);
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
    std::set<std::string> const result = fwdDeps.UsedFrom(starts);
    used.clear();
    used.reserve(result.size());
    for (std::string const& name : result)
        used.push_back(name.c_str());
}
