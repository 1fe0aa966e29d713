// The simplifier of expression trees: `Simp` folds constants and drops neutral elements in one
// bottom-up pass, `ElevateSum` multiplies products and quotients out over sums, and `GetLog`
// forms the logarithm of a product symbolically. Each returns a new tree.
#include "expr/expr.h"

#include <cmath>

// Read by the simplifier; nothing in the translator sets it, so it stays 0.
static int maxTreeDepth = 0;

// The current depth of `Simp`, checked against 'maxTreeDepth' when that is non-zero.
static int treeDepth = 0;

void SetMaxTreeDepth(int depth) {
    maxTreeDepth = depth;
}

static bool IsNum(N const& n) {
    return n && n->type == CN_NUM;
}

// Double equality, so a NaN is no value at all.
static bool IsNum(N const& n, double value) {
    return IsNum(n) && n->value == value;
}

static bool IsCall(N const& n, char const* name) {
    return n && n->type == CN_CALL && n->name == name;
}

static bool IsSum(N const& n) {
    return n && (n->type == CN_ADD || n->type == CN_SUB);
}

// 'x' present and `Equal` to 'y'.
static bool Same(N const& x, N const& y) {
    return x && x->Equal(y);
}

static N FirstArg(N const& call) {
    return call->list.empty() ? N() : call->list[0];
}

// A number fold writes the value into the operand's own copy, which keeps its other fields.
static N Fold(N const& num, double value) {
    num->value = value;
    return num;
}

// ---- Simp ----------------------------------------------------------------------------------

// The simplified operands of a node: a, b, c for child1 to child3 and 'list' for its entries.
struct Operands {
    N a, b, c;
    NV list;
};

static N SimpOrEmpty(N const& n, int& iFail) {
    return n ? n->Simp(iFail) : N();
}

// Simplifies child1, child2, child3 and the list entries in this order; false as soon as
// 'iFail' is set after one of them.
static bool SimpOperands(CNode const& n, Operands& o, int& iFail) {
    o.a = SimpOrEmpty(n.child1, iFail);
    if (iFail) return false;
    o.b = SimpOrEmpty(n.child2, iFail);
    if (iFail) return false;
    o.c = SimpOrEmpty(n.child3, iFail);
    if (iFail) return false;
    for (N const& e : n.list) {
        if (!e) continue;
        o.list.push_back(e->Simp(iFail));
        if (iFail) return false;
    }
    return true;
}

static N SimpAdd(N const& a, N const& b) {
    if (IsNum(b, 0)) return a;
    if (IsNum(a, 0)) return b;
    if (IsNum(a) && IsNum(b)) return Fold(a, a->value + b->value);
    return NewNode(CN_ADD, a, b);
}

static N SimpSub(N const& a, N const& b, int& iFail) {
    if (IsNum(b, 0)) return a;
    if (IsNum(a, 0)) return MakeNode(CN_NEG, b)->Simp(iFail); // once more
    if (IsNum(a) && IsNum(b)) return Fold(a, a->value - b->value);
    if (Same(a, b)) return NewNum(0);
    return NewNode(CN_SUB, a, b);
}

static N SimpMul(N const& a, N const& b) {
    if (IsNum(a, 0)) return a;
    if (IsNum(b, 0)) return b;
    if (IsNum(b, 1)) return a;
    if (IsNum(a, 1)) return b;
    if (IsNum(b, -1)) return MakeNode(CN_NEG, a);
    if (IsNum(a, -1)) return MakeNode(CN_NEG, b);
    if (IsNum(a) && IsNum(b)) return Fold(a, a->value * b->value);
    if (b && b->type == CN_DIV && IsNum(b->child1, 1)) return NewNode(CN_DIV, a, b->child2);
    return NewNode(CN_MUL, a, b);
}

// Zero over anything is 0, tested before the division by zero, so 0/0 gives 0.
static N SimpDiv(CNode const& n, N const& a, N const& b, int& iFail) {
    if (IsNum(a, 0)) return a;
    if (IsNum(b, 0)) {
        iFail = 1;
        return n.Copy();
    }
    if (IsNum(b, 1)) return a;
    if (IsNum(a) && IsNum(b)) return Fold(a, a->value / b->value);
    if (Same(a, b)) return NewNum(1);
    if (b && b->type == CN_MUL && Same(b->child1, a)) return NewNode(CN_DIV, NewNum(1), b->child2);
    if (b && b->type == CN_MUL && Same(b->child2, a)) return NewNode(CN_DIV, NewNum(1), b->child1);
    if (a && a->type == CN_MUL && Same(a->child1, b)) return a->child2;
    if (a && a->type == CN_MUL && Same(a->child2, b)) return a->child1;
    return NewNode(CN_DIV, a, b);
}

// A double negation stays; a zero is kept as it is, so no negative zero is made.
static N SimpNeg(N const& a) {
    if (!IsNum(a)) return MakeNode(CN_NEG, a);
    if (IsNum(a, 0)) return a;
    return Fold(a, -a->value); // flips the sign bit
}

static N SimpPow(CNode const& n, N const& a, N const& b, int& iFail) {
    if (IsNum(b, 0)) return NewNum(1);
    if (IsNum(b, 1)) return a;
    if (IsNum(a, 0)) {
        if (IsNum(b) && b->value < 0) {
            iFail = 1;
            return n.Copy();
        }
        return NewNum(0);
    }
    if (IsNum(a, 1)) return NewNum(1);
    if (IsNum(a) && IsNum(b)) return Fold(a, pow(a->value, b->value));
    return NewNode(CN_POW, a, b);
}

// A number test picks a branch; any value but 0, NaN too, picks the then-branch.
static N SimpCond(N const& a, N const& b, N const& c) {
    if (IsNum(a)) return a->value == 0 ? c : b;
    if (Same(b, c)) return b;
    return MakeNode(CN_COND, a, b, c);
}

static N NewCall(String const& name, N const& arg) {
    N r = MakeNode(CN_CALL, name);
    r->list.push_back(arg);
    return r;
}

// exp(x), and likewise log(x): a number folds, the inverse function cancels, and any other
// argument gives a new call with 'x' as its only argument.
static N SimpExpLog(CNode const& n, N const& x, double (*fn)(double), char const* inv1,
                    char const* inv2) {
    if (IsNum(x)) return Fold(x, fn(x->value));
    if (IsCall(x, inv1) || IsCall(x, inv2))
        if (N arg = FirstArg(x)) return arg;
    return NewCall(n.name, x);
}

// Only exp, log, ln and sqrt have rules; sqrt of anything but a number stays as written.
static N SimpCall(CNode const& n, NV const& args) {
    N x = args.empty() ? N() : args[0];
    if (!x) return n.Copy();
    if (n.name == "exp") return SimpExpLog(n, x, exp, "log", "ln");
    if (n.name == "log" || n.name == "ln") return SimpExpLog(n, x, log, "exp", "exp");
    if (n.name == "sqrt") return IsNum(x) ? Fold(x, sqrt(x->value)) : n.Copy();
    return n.Copy();
}

// The rules of a node's kind over its simplified operands. A kind without rules gives the
// node as it was, so a simplification of, say, a comparison's operands is thrown away.
static N SimpByKind(CNode const& n, Operands const& o, int& iFail) {
    switch (n.type) {
        case CN_ADD: return SimpAdd(o.a, o.b);
        case CN_SUB: return SimpSub(o.a, o.b, iFail);
        case CN_MUL: return SimpMul(o.a, o.b);
        case CN_DIV: return SimpDiv(n, o.a, o.b, iFail);
        case CN_NEG: return SimpNeg(o.a);
        case CN_POW: return SimpPow(n, o.a, o.b, iFail);
        case CN_COND: return SimpCond(o.a, o.b, o.c);
        case CN_CALL: return SimpCall(n, o.list);
        default: return n.Copy();
    }
}

// A simplified deep copy, in one bottom-up pass without iteration. 'iFail' is set, never
// cleared, when the expression is undefined; the result is then the unsimplified copy.
N CNode::Simp(int& iFail) const {
    treeDepth++;
    if (maxTreeDepth != 0 && treeDepth > maxTreeDepth) {
        treeDepth = 0;
        throw 1;
    }
    Operands o;
    N r = SimpOperands(*this, o, iFail) ? SimpByKind(*this, o, iFail) : Copy();
    if (!r) r = Copy(); // a rule picked an operand that a malformed node lacks
    r->pos = pos;
    treeDepth--;
    return r;
}

// Only a quotient by zero and zero to a negative power are undefined; `Simp` visits child1 to
// child3 and the list.
bool CNode::SimpCanFail() const {
    if (maxTreeDepth != 0 || type == CN_DIV || type == CN_POW) return true;
    for (N const* c : {&child1, &child2, &child3})
        if (*c && (*c)->SimpCanFail()) return true;
    for (N const& e : list)
        if (e && e->SimpCanFail()) return true;
    return false;
}

// ---- ElevateSum ----------------------------------------------------------------------------

static N ElevateOrEmpty(N const& n) {
    return n ? n->ElevateSum() : N();
}

// The sum 'sum' (kind kept) with 'op' applied to each of its terms and 'other': 'termFirst'
// puts the term on the left, (p op other) + (q op other), else (other op p) + (other op q).
static N SpreadOver(N const& sum, CNodeType op, N const& other, bool termFirst) {
    N p = sum->child1, q = sum->child2;
    N lhs = termFirst ? NewNode(op, CopyOrEmpty(p), CopyOrEmpty(other))
                      : NewNode(op, CopyOrEmpty(other), CopyOrEmpty(p));
    N rhs = termFirst ? NewNode(op, CopyOrEmpty(q), CopyOrEmpty(other))
                      : NewNode(op, CopyOrEmpty(other), CopyOrEmpty(q));
    return NewNode(sum->type, lhs, rhs);
}

static N ElevateMul(CNode const& n) {
    if (IsSum(n.child2)) return SpreadOver(n.child2, CN_MUL, n.child1, false)->ElevateSum();
    if (IsSum(n.child1)) return SpreadOver(n.child1, CN_MUL, n.child2, true)->ElevateSum();
    return n.Copy();
}

// A sum below a quotient has the numerator moved into it: c/(p+q) becomes 1/(p/c + q/c).
static N ElevateDiv(CNode const& n) {
    if (IsSum(n.child1)) return SpreadOver(n.child1, CN_DIV, n.child2, true)->ElevateSum();
    if (IsNum(n.child1, 1)) {
        if (!IsSum(n.child2)) return n.Copy();
        return NewNode(CN_DIV, n.child1->ElevateSum(), n.child2->ElevateSum());
    }
    if (IsSum(n.child2)) {
        N inner = SpreadOver(n.child2, CN_DIV, n.child1, true);
        return NewNode(CN_DIV, NewNum(1), inner)->ElevateSum();
    }
    return n.Copy();
}

// The expression with products and quotients spread over sums, recursively.
N CNode::ElevateSum() const {
    switch (type) {
        case CN_ADD:
        case CN_SUB: return NewNode(type, ElevateOrEmpty(child1), ElevateOrEmpty(child2));
        case CN_MUL: return ElevateMul(*this);
        case CN_DIV: return ElevateDiv(*this);
        default: return Copy();
    }
}

// ---- GetLog --------------------------------------------------------------------------------

static N LogOrEmpty(N const& n) {
    return n ? n->GetLog() : N();
}

// log(x) as a call of "log" on a copy of 'n'.
static N LogCall(CNode const& n) {
    return NewCall("log", n.Copy());
}

// The natural logarithm of this expression: products become sums of logarithms, quotients
// differences, a power the product of the base's log and the exponent; exp cancels.
N CNode::GetLog() const {
    switch (type) {
        case CN_MUL: return NewNode(CN_ADD, LogOrEmpty(child1), LogOrEmpty(child2));
        case CN_DIV: return NewNode(CN_SUB, LogOrEmpty(child1), LogOrEmpty(child2));
        case CN_POW: return NewNode(CN_MUL, LogOrEmpty(child1), CopyOrEmpty(child2));
        case CN_CALL:
            if (name == "exp" && !list.empty() && list[0]) return list[0]->Copy();
            return LogCall(*this);
        default: return LogCall(*this);
    }
}
