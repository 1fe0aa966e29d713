// Test support for the tree operations: small builders of expression trees, and a compact
// prefix text of a tree's shape for comparing results, e.g. "(CN_ADD x 2)". Variables print
// as their name, numbers as their value; other nodes as "(KIND [name] [value] children
// [list])", an empty child before a present one as "_", list entries inside "[...]".
#pragma once

#include "expr/expr.h"

#include <cstdio>
#include <initializer_list>
#include <set>
#include <string>

namespace tree_text {

inline N Var(char const* name) {
    return std::make_shared<CNode>(name);
}

inline N Num(double value) {
    return std::make_shared<CNode>(value);
}

inline N Op(CNodeType type, N a) {
    return std::make_shared<CNode>(type, a);
}

inline N Op(CNodeType type, N a, N b) {
    return std::make_shared<CNode>(type, a, b);
}

inline N Add(N a, N b) {
    return Op(CN_ADD, a, b);
}

inline N Sub(N a, N b) {
    return Op(CN_SUB, a, b);
}

inline N Mul(N a, N b) {
    return Op(CN_MUL, a, b);
}

inline N Div(N a, N b) {
    return Op(CN_DIV, a, b);
}

inline N Pow(N a, N b) {
    return Op(CN_POW, a, b);
}

inline N Neg(N a) {
    return Op(CN_NEG, a);
}

inline N Assign(N lhs, N rhs) {
    return Op(CN_ASSIGN, lhs, rhs);
}

inline N Cond(N test, N then, N other) {
    return std::make_shared<CNode>(CN_COND, test, then, other);
}

inline N Call(char const* name, std::initializer_list<N> args) {
    N r = std::make_shared<CNode>(CN_CALL, name);
    for (N const& a : args)
        r->list.push_back(a);
    return r;
}

// A node of 'type' whose list holds 'entries'.
inline N ListOf(CNodeType type, std::initializer_list<N> entries) {
    N r = std::make_shared<CNode>(type);
    for (N const& e : entries)
        r->list.push_back(e);
    return r;
}

inline std::string NumText(double value) {
    char buf[64];
    snprintf(buf, sizeof buf, "%.15g", value);
    return buf;
}

inline std::string Text(cn const& n) {
    if (!n) return "_";
    if (n->type == CN_VAR) return std::string(n->name);
    if (n->type == CN_NUM) return NumText(n->value);
    std::string out = "(" + std::string(saCNodeTypeName[n->type]);
    if (n->name[0]) out += " " + std::string(n->name);
    if (n->value != 0) out += " " + NumText(n->value);
    N const kids[4] = {n->child1, n->child2, n->child3, n->child4};
    int last = 3;
    while (last >= 0 && !kids[last])
        last--;
    for (int i = 0; i <= last; i++)
        out += " " + Text(kids[i]);
    if (!n->list.empty()) {
        out += " [";
        for (size_t i = 0; i < n->list.size(); i++)
            out += (i ? " " : "") + Text(n->list[i]);
        out += "]";
    }
    return out + ")";
}

// Every node reachable from 'n' through children, list entries, units and action blocks.
inline void CollectNodes(cn const& n, std::set<CNode const*>& out) {
    if (!n) return;
    out.insert(n.get());
    for (N const& c : {n->child1, n->child2, n->child3, n->child4, n->units})
        CollectNodes(c, out);
    for (N const& e : n->list)
        CollectNodes(e, out);
    if (n->appendix)
        for (N const& c : {n->appendix->dobefore, n->appendix->doafter, n->appendix->simulate})
            CollectNodes(c, out);
}

// Whether the two trees have a node in common.
inline bool ShareNodes(cn const& a, cn const& b) {
    std::set<CNode const*> sa, sb;
    CollectNodes(a, sa);
    CollectNodes(b, sb);
    for (CNode const* p : sb)
        if (sa.count(p)) return true;
    return false;
}

} // namespace tree_text
