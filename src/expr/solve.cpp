// Equation solving: `SolveFor` isolates one variable of "expression = rhs" by inverting the
// expression step by step down the side that holds it. The variable must occur once, on a
// path of sums, products, negations and exp, log and sqrt; otherwise the result is empty.
#include "expr/expr.h"

#include <cstdio>

// Whether 'name' is used in 'n'; a use under a power is not seen.
static bool Holds(N const& n, char const* name) {
    return n && n->CountContains(name) != 0;
}

static N SolveOrFail(N const& n, N rhs, char const* name) {
    return n ? n->SolveFor(rhs, name) : N();
}

// a + b = r
static N SolveAdd(CNode const& n, N const& r, char const* name) {
    N const &a = n.child1, &b = n.child2;
    if (Holds(a, name) && Holds(b, name)) return N();
    if (Holds(a, name)) return SolveOrFail(a, NewNode(CN_SUB, r, b), name);
    return SolveOrFail(b, NewNode(CN_SUB, r, a), name);
}

// a - b = r
static N SolveSub(CNode const& n, N const& r, char const* name) {
    N const &a = n.child1, &b = n.child2;
    if (!Holds(b, name)) return SolveOrFail(a, NewNode(CN_ADD, r, b), name);
    if (Holds(a, name)) return N();
    return SolveOrFail(b, NewNode(CN_SUB, a, r), name);
}

// a * b = r
static N SolveMul(CNode const& n, N const& r, char const* name) {
    N const &a = n.child1, &b = n.child2;
    if (Holds(a, name) && Holds(b, name)) return N();
    if (Holds(a, name)) return SolveOrFail(a, NewNode(CN_DIV, r, b), name);
    return SolveOrFail(b, NewNode(CN_DIV, r, a), name);
}

// a / b = r
static N SolveDiv(CNode const& n, N const& r, char const* name) {
    N const &a = n.child1, &b = n.child2;
    if (Holds(a, name) && Holds(b, name)) return N();
    if (Holds(a, name)) return SolveOrFail(a, NewNode(CN_MUL, r, b), name);
    return SolveOrFail(b, NewNode(CN_DIV, a, r), name);
}

static N NewCall(char const* fn, N arg) {
    N call = MakeNode(CN_CALL, fn);
    call->list.push_back(arg);
    return call;
}

// f(x) = r for the three invertible functions; any other function is reported and refused.
static N SolveCall(CNode const& n, N const& r, char const* name) {
    N const x = n.list.empty() ? N() : n.list[0];
    if (n.name == "exp") return SolveOrFail(x, NewCall("log", r), name);
    if (n.name == "log" || n.name == "ln") return SolveOrFail(x, NewCall("exp", r), name);
    if (n.name == "sqrt") return SolveOrFail(x, NewNode(CN_MUL, r->Copy(), r), name);
    // Standard output, no line end: the message has always been printed this way.
    printf("Expression '%s' cannot be solved for '%s': '%s' is not allowed.",
           n.pos.get_str().c_str(), name, (char const*)n.name);
    return N();
}

// An expression for 'name' from "this = rhs", or an empty pointer; not simplified. The right
// sides built on the way down share sub-trees with 'rhs' and this tree, and the variable at
// the end, whatever its name, takes a deep copy of its right side.
N CNode::SolveFor(N rhs, char const* name_) const {
    switch (type) {
        case CN_VAR: return rhs->Copy();
        case CN_ADD: return SolveAdd(*this, rhs, name_);
        case CN_SUB: return SolveSub(*this, rhs, name_);
        case CN_MUL: return SolveMul(*this, rhs, name_);
        case CN_DIV: return SolveDiv(*this, rhs, name_);
        case CN_NEG: return SolveOrFail(child1, NewNode(CN_NEG, rhs), name_);
        case CN_CALL: return SolveCall(*this, rhs, name_);
        default: return N();
    }
}
