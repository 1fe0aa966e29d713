// A one-line text of a tree's shape for debug output and the self-checks:
// "(CN_ADD x (CN_MUL 2 y))". Variables print as their name, numbers as their value; every
// other node as its kind, its name, its children (an empty one as "_") and its list in [].
#include "expr/expr.h"

#include <cstdio>

static void DumpInto(cn const& n, std::string& out);

static void DumpValue(double value, std::string& out) {
    char buf[64];
    snprintf(buf, sizeof buf, "%.15g", value);
    out += buf;
}

static void DumpChildren(cn const& n, std::string& out) {
    N const kids[4] = {n->child1, n->child2, n->child3, n->child4};
    int last = 3;
    while (last >= 0 && !kids[last])
        last--;
    for (int i = 0; i <= last; i++) {
        out += ' ';
        if (kids[i])
            DumpInto(kids[i], out);
        else
            out += '_';
    }
}

static void DumpList(cn const& n, std::string& out) {
    if (n->list.empty()) return;
    out += " [";
    for (size_t i = 0; i < n->list.size(); i++) {
        if (i) out += ' ';
        if (n->list[i])
            DumpInto(n->list[i], out);
        else
            out += '_';
    }
    out += ']';
}

static void DumpInto(cn const& n, std::string& out) {
    if (n->type == CN_VAR) {
        out += n->name;
        return;
    }
    if (n->type == CN_NUM) return DumpValue(n->value, out);
    out += '(';
    out += saCNodeTypeName[n->type];
    if (n->name[0]) {
        out += ' ';
        out += n->name;
    }
    if (n->type == CN_NAMED_NUM) {
        out += ' ';
        DumpValue(n->value, out);
    }
    DumpChildren(n, out);
    DumpList(n, out);
    out += ')';
}

std::string DumpTree(cn const& n) {
    std::string out;
    if (n)
        DumpInto(n, out);
    else
        out = "_";
    return out;
}
