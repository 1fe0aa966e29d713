// The one node class of the translator. A model file, a statement, an arithmetic expression,
// a unit expression and a trial script are all trees of `CNode` that differ in `type`.
// Nodes are shared through `N`; rewrites take `cn` and return new trees.
#pragma once

#include "driver/diag.h"
#include "expr/vstring.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

enum CNodeType : int32_t {

#define CN_KIND(kind, value) kind = value,
#include "expr/cnode_kinds.def"
#undef CN_KIND
};

constexpr int CN_KIND_COUNT = 128;

// Enumerator names by kind, for debug dumps of trees.
extern char const* const saCNodeTypeName[CN_KIND_COUNT];

class CNode;
typedef std::shared_ptr<CNode> N;
typedef std::shared_ptr<CNode const> cn;
typedef std::vector<N> NV;
typedef std::vector<String> SV;

// The action blocks of a statement: each a `CN_BLOCK` or one action statement, or empty.
struct CNodeAppendix {
    N dobefore;
    N doafter;
    N simulate;

    void Clear();
    void CopyTo(CNodeAppendix* target) const;
    std::unique_ptr<CNodeAppendix> Copy() const;
    bool Equal(CNodeAppendix const* other) const;
    std::unique_ptr<CNodeAppendix> Subst(cn const& from, cn const& to, bool bAssignTarget) const;
    std::unique_ptr<CNodeAppendix> ConverToUnifNormControlled() const;
};

// The options of a `count` statement.
struct CNodeExtra {
    N beta;
    N power;
    N zprobOrLinkp;
    String ilink;
    int32_t noreset = 0;

    void CopyTo(CNodeExtra* target) const;
    std::unique_ptr<CNodeExtra> Copy() const;
    bool Equal(CNodeExtra const* other) const;
};

// The dose-variable names of a dose point.
struct CDoseVarOption {
    String idosevar;
    String infdosevar;
    String infratevar;
    int32_t split = 0;

    void CopyTo(CDoseVarOption* target) const;
    std::unique_ptr<CDoseVarOption> Copy() const;
    bool Equal(CDoseVarOption const* other) const;
};

// The `sample(...)` clause of a distribution.
struct CSampleVarCategoryOption {
    String sName;
    String sValue;
};

struct CSampleVarOption {
    String sVar;
    String sColumn;
    std::vector<std::unique_ptr<CSampleVarCategoryOption>> categories;

    void CopyTo(CSampleVarOption* target) const;
    std::unique_ptr<CSampleVarOption> Copy() const;
    bool Equal(CSampleVarOption const* other) const;
};

struct CSampleOption {
    String sFile;
    int32_t iMode = 0; // 0 "linear", 1 "random"
    std::vector<std::unique_ptr<CSampleVarOption>> vars;

    void CopyTo(CSampleOption* target) const;
    std::unique_ptr<CSampleOption> Copy() const;
    bool Equal(CSampleOption const* other) const;
};

class CNode {
  public:
    CNodeType type = CN_NONE;
    String name;
    double value = 0.0;
    N child1;
    N child2;
    N child3;
    N child4;
    N units;
    std::unique_ptr<CNodeAppendix> appendix;
    std::unique_ptr<CDoseVarOption> doseOption;
    std::unique_ptr<CNodeExtra> extra;
    NV list;
    Pos pos;
    int32_t iTemp1 = -1;
    int32_t iTemp2 = -1;
    int32_t iDelayTable = -1;
    int32_t iPeakTable = -1;

    CNode();
    explicit CNode(char const* name);
    CNode(char const* name, double value);
    explicit CNode(double value);
    explicit CNode(CNodeType type);
    CNode(CNodeType type, double value);
    CNode(CNodeType type, char const* name);
    CNode(CNodeType type, N c1);
    CNode(CNodeType type, N c1, N c2);
    CNode(CNodeType type, N c1, N c2, N c3);
    CNode(CNodeType type, N c1, N c2, N c3, N c4);
    CNode(CNodeType type, char const* name, N c1, N c2, N c3);
    CNode(CNode const& other);
    virtual ~CNode();

    CNode& operator=(CNode const& other);
    void swap(CNode& other);

    void InitBasics();
    N Copy() const;
    N ShallowCopy() const;

    bool Equal(cn const& other) const;
    virtual bool equal_impl(CNode const* other) const;
    virtual N ElimSubexpr(NV& exprs) const;

    int CountContains(char const* name) const;
    bool DeepContains(char const* name) const;
    bool ContainsTopLevel(char const* name, CNodeType op) const;
    bool IsConstant(SV const& consts) const;
    N Subst(cn const& from, cn const& to, bool bAssignTarget) const;
    N ConverToUnifNormControlled() const;

    // Derivative by 'var' (not simplified). Diff1 throws CException* where none can be formed;
    // the Diff forms catch it and give an empty pointer.
    N Diff1(char const* var, SV const& consts, SV const& deps) const;
    N Diff(char const* var, SV const& consts, SV const& deps) const;
    N Diff(char const* var, SV const& consts) const;
    N Diff(char const* var) const;
    // This expression set equal to 'rhs', solved for 'name'; empty when it can't be.
    N SolveFor(N rhs, char const* name) const;

    N Simp(int& iFail) const;
    // False when `Simp` of this tree can't set 'iFail': it holds no quotient or power where
    // `Simp` goes, and no depth limit is set.
    bool SimpCanFail() const;
    N ElevateSum() const;
    N GetLog() const;

    // Unit algebra (units.cpp). These write into this node: a unit expression is simplified
    // in place, and inference fills `units`. 'names' and 'table' are the parallel lists of
    // known units by variable name, qualified by 'context'.
    void SimpUnits();
    void SimpUnitsCountPowers(int sign, NV& factors, std::vector<unsigned short>& powers);
    void SetUnits(N u, char const* context, SV& names, NV& table);
    void PropagateUnits(char const* context, SV& names, NV& table, int& iChanged);

    void AssertValid() const;
    void ClearTemp1();
    void ClearTemp2();
};

// A new node, built by the constructor that takes 'args'.
template <class... A> N MakeNode(A&&... args) {
    return std::make_shared<CNode>(std::forward<A>(args)...);
}

// Shorthands for new nodes, each exactly the node asked for.
inline N NewNum(double value) {
    return MakeNode(value);
}

inline N NewVar(char const* name) {
    return MakeNode(name);
}

inline N NewNode(CNodeType type, N a = N(), N b = N()) {
    return MakeNode(type, a, b);
}

// A deep copy of 'n', or nothing for nothing.
inline N CopyOrEmpty(N const& n) {
    return n ? MakeNode(*n) : N();
}

void SetMaxTreeDepth(int depth);
int CountNodes(cn const& node);
int CountNodes(NV const& list);
