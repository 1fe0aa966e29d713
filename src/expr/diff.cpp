// Symbolic differentiation of expression trees: one case per node kind in `Diff1`, which
// throws `CException*` where no derivative can be formed, and the `Diff` forms that turn the
// throw into an empty result. Results are not simplified and may share the nodes `zero` and
// `whatever`, so no caller may write into a derivative.
#include "expr/expr.h"

#include <cassert>
#include <string>

bool throw_diff_exception = true;

// The number 0, shared by every derivative that is zero by name.
static N const& Zero() {
    static N const zero = NewNum(0);
    return zero;
}

// The number 1 given in place of a derivative that can't be formed, when not throwing.
static N const& Whatever() {
    static N const whatever = NewNum(1);
    return whatever;
}

// No derivative here: throw, or give `whatever` when throwing is switched off.
static N Fail() {
    if (throw_diff_exception) throw new CException;
    return Whatever();
}

// The variable of differentiation with the two name lists.
struct Wrt {
    char const* var;
    SV const& consts;
    SV const& deps;
};

static N D(N const& n, Wrt const& w) {
    assert(n && "Diff1: missing operand");
    return n->Diff1(w.var, w.consts, w.deps);
}

static bool IsNameIn(String const& name, SV const& names) {
    for (String const& s : names)
        if (s == name) return true;
    return false;
}

// 1 for the variable itself; for a name that depends on it, the variable that holds its
// derivative in the generated code, e.g. `_A_X`.
static N DiffVar(CNode const& n, Wrt const& w) {
    if (n.name == w.var) return NewNum(1);
    if (!IsNameIn(n.name, w.deps)) return Zero();
    std::string const d = std::string("_") + (char const*)n.name + "_" + w.var;
    return NewVar(d.c_str());
}

// (b * a') + (a * b')
static N DiffMul(CNode const& n, Wrt const& w) {
    N left = NewNode(CN_MUL, n.child2->Copy(), D(n.child1, w));
    N right = NewNode(CN_MUL, n.child1->Copy(), D(n.child2, w));
    return NewNode(CN_ADD, left, right);
}

// ((b * a') - (a * b')) / (b * b)
static N DiffDiv(CNode const& n, Wrt const& w) {
    N left = NewNode(CN_MUL, n.child2->Copy(), D(n.child1, w));
    N right = NewNode(CN_MUL, n.child1->Copy(), D(n.child2, w));
    N denom = NewNode(CN_MUL, n.child2->Copy(), n.child2->Copy());
    return NewNode(CN_DIV, NewNode(CN_SUB, left, right), denom);
}

static N NewCall(char const* name, N arg) {
    N call = MakeNode(CN_CALL, name);
    call->list.push_back(arg);
    return call;
}

// A part of a power is fixed when it is constant or 'var' is not seen in it; `X^2` inside it
// is not seen, so `(X^2)^3` counts as fixed throughout.
static bool IsFixed(N const& n, Wrt const& w) {
    return n->IsConstant(w.consts) || n->CountContains(w.var) == 0;
}

// a^b: log(a) * (a^b * b') for a fixed base, (b * a^(b - 1)) * a' for a fixed exponent.
static N DiffPow(CNode const& n, Wrt const& w) {
    N const& a = n.child1;
    N const& b = n.child2;
    bool const fixedA = IsFixed(a, w), fixedB = IsFixed(b, w);
    if (!fixedB && fixedA)
        return NewNode(CN_MUL, NewCall("log", a->Copy()), NewNode(CN_MUL, n.Copy(), D(b, w)));
    if (!fixedB) return Fail();
    if (fixedA) return Zero();
    N power = NewNode(CN_POW, a->Copy(), NewNode(CN_SUB, b->Copy(), NewNum(1)));
    return NewNode(CN_MUL, NewNode(CN_MUL, b->Copy(), power), D(a, w));
}

// A comparison or logic operation is a step function: flat where its operands are constant.
static N DiffLogic(CNode const& n, Wrt const& w) {
    if (!throw_diff_exception) return Whatever();
    if (n.IsConstant(w.consts)) return Zero();
    throw new CException;
}

// A conditional with a constant test keeps its test and differentiates both branches.
static N DiffCond(CNode const& n, Wrt const& w) {
    if (!n.child1->IsConstant(w.consts)) return Fail();
    return MakeNode(CN_COND, n.child1->Copy(), D(n.child2, w), D(n.child3, w));
}

// exp, log, ln and sqrt by the chain rule on their first argument; any other function only
// when 'var' is not used in it.
static N DiffCall(CNode const& n, Wrt const& w) {
    N const x = n.list.empty() ? N() : n.list[0];
    if (x && n.name == "exp") return NewNode(CN_MUL, n.Copy(), D(x, w));
    if (x && (n.name == "log" || n.name == "ln")) return NewNode(CN_DIV, D(x, w), x->Copy());
    if (x && n.name == "sqrt") {
        N half = NewNode(CN_MUL, NewNum(0.5), NewNode(CN_POW, x->Copy(), NewNum(-0.5)));
        return NewNode(CN_MUL, half, D(x, w));
    }
    if (n.CountContains(w.var) == 0) return Zero();
    return Fail();
}

// The derivative by 'var', not simplified. Names in 'consts' are constant for the tests of
// powers, conditionals and comparisons; a name in 'deps' has a derivative variable of its own.
N CNode::Diff1(char const* var, SV const& consts, SV const& deps) const {
    Wrt const w{var, consts, deps};
    switch (type) {
        case CN_VAR: return DiffVar(*this, w);
        case CN_NUM: return NewNum(0);
        case CN_ADD:
        case CN_SUB: return NewNode(type, D(child1, w), D(child2, w));
        case CN_MUL: return DiffMul(*this, w);
        case CN_DIV: return DiffDiv(*this, w);
        case CN_NEG: return NewNode(CN_NEG, D(child1, w));
        case CN_POW: return DiffPow(*this, w);
        case CN_GE:
        case CN_LE:
        case CN_EQ:
        case CN_NE:
        case CN_GT:
        case CN_LT:
        case CN_AND:
        case CN_OR:
        case CN_NOT: return DiffLogic(*this, w);
        case CN_COND: return DiffCond(*this, w);
        case CN_LIMITS: return Fail();
        case CN_CALL: return DiffCall(*this, w);
        case CN_CV_MEAN:
        case CN_CV_MEDIAN: return Zero();
        case CN_DELAY:
        case CN_PEAK: return Fail();
        case CN_GAMMADELAY: return Fail();
        default: throw new CException; // whatever the flag
    }
}

// The derivative, or an empty pointer when `Diff1` throws.
N CNode::Diff(char const* var, SV const& consts, SV const& deps) const {
    try {
        return Diff1(var, consts, deps);
    } catch (CException* e) {
        delete e;
        return N();
    }
}

N CNode::Diff(char const* var, SV const& consts) const {
    return Diff(var, consts, SV());
}

N CNode::Diff(char const* var) const {
    return Diff(var, SV(), SV());
}

// The operands of 'n' are child1 and, for a binary kind, child2, and nothing else.
static bool HasOnlyOperands(CNode const& n, bool binary) {
    return (binary || !n.child2) && !n.child3 && !n.child4 && n.list.empty();
}

// Sums, differences, products, negations, exp of one argument, names and numbers: `Diff1`
// forms their derivative by any name without a failure, of the same kinds, products and sums.
// This looks at the node alone: its kind and which operands it has.
bool IsPlainNode(CNode const* n) {
    if (!n) return false;
    switch (n->type) {
        case CN_VAR:
        case CN_NUM: return !n->child1 && HasOnlyOperands(*n, false);
        case CN_ADD:
        case CN_SUB:
        case CN_MUL: return n->child1 && n->child2 && HasOnlyOperands(*n, true);
        case CN_NEG: return n->child1 && HasOnlyOperands(*n, false);
        case CN_CALL:
            return n->name == "exp" && n->list.size() == 1 && n->list[0] && !n->child1 &&
                   !n->child2 && !n->child3 && !n->child4;
        default: return false;
    }
}

bool IsPlainlyDifferentiable(CNode const* n) {
    if (!IsPlainNode(n)) return false;
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        if (*c && !IsPlainlyDifferentiable(c->get())) return false;
    for (N const& e : n->list)
        if (!IsPlainlyDifferentiable(e.get())) return false;
    return true;
}
