// The dual-number decision: which variables carry derivatives, by fixed or random effect.
#include "analysis/analysis.h"

#include <cstring>

std::set<std::string> force_dual;
std::set<std::string> force_real;
std::unordered_set<std::string> dual_vars;
std::unordered_set<std::string> dual_vars_fixef;
std::unordered_set<std::string> dual_vars_ranxef;
std::unordered_set<std::string> cfs;
std::vector<std::string> macros;

// Set only while an expression is printed as a name, so closed-form names print plainly.
bool nothing_is_cfm = false;

// Whether the value of 'node' can carry derivatives: some dual variable occurs in it.
bool has_dual_vars(cn const& node) {
    if (!node) return false;
    for (std::string const& name : dual_vars)
        if (node->CountContains(name.c_str()) > 0) return true;
    return false;
}

// Names of the density calls whose argument at the given place is a delay-like time.
static int DelayArgumentOf(char const* fn) {
    for (char const* w : {"ldinvgauss", "dinvgauss", "pinvgauss", "lpinvgauss"})
        if (strcmp(fn, w) == 0) return 1;
    for (char const* w : {"ldweibull", "dweibull", "pweibull", "lpweibull"})
        if (strcmp(fn, w) == 0) return 2;
    return -1;
}

static void GetDelaysBelow(CNode const* node, NV& list) {
    if (!node) return;
    if (node->type == CN_DELAY || node->type == CN_GAMMADELAY) {
        if (node->child2) list.push_back(node->child2);
        return;
    }
    if (node->type == CN_CALL) {
        int arg = DelayArgumentOf(node->name);
        if (arg >= 0) {
            if (size_t(arg) < node->list.size() && node->list[size_t(arg)])
                list.push_back(node->list[size_t(arg)]);
            return;
        }
    }
    for (N const* c : {&node->child1, &node->child2, &node->child3, &node->child4})
        GetDelaysBelow(c->get(), list);
    for (N const& e : node->list)
        GetDelaysBelow(e.get(), list);
}

void get_delays(cn const& node, NV& list) {
    GetDelaysBelow(node.get(), list);
}

bool IntegratorIsAssignedToStmt(char const* name, cn const& stmt) {
    if (!stmt) return false;
    switch (stmt->type) {
        case CN_ASSIGN:
            return stmt->child1 && stmt->child1->type == CN_VAR && stmt->child1->name == name;
        case CN_WHILE: return IntegratorIsAssignedToStmt(name, stmt->child2);
        case CN_IF:
            return IntegratorIsAssignedToStmt(name, stmt->child2) ||
                   IntegratorIsAssignedToStmt(name, stmt->child3);
        case CN_BLOCK:
        case CN_SEQUENCE:
            for (N const& s : stmt->list)
                if (IntegratorIsAssignedToStmt(name, s)) return true;
            return false;
        default: return false;
    }
}

static bool AppendixAssigns(char const* name, CNodeAppendix const* a) {
    if (!a) return false;
    return IntegratorIsAssignedToStmt(name, a->dobefore) ||
           IntegratorIsAssignedToStmt(name, a->doafter) ||
           IntegratorIsAssignedToStmt(name, a->simulate);
}

// Sequences, and the hooks of doses and observations, are the action code of a model.
bool IntegratorIsAssignedTo(char const* name, cn const& body) {
    NV stmts = !body                    ? NV()
               : body->type == CN_BLOCK ? body->list
                                        : NV{std::const_pointer_cast<CNode>(body)};
    for (N const& s : stmts) {
        if (!s) continue;
        if (s->type == CN_SEQUENCE && IntegratorIsAssignedToStmt(name, s)) return true;
        bool hooks = s->type == CN_DOSEPOINT || s->type == CN_DOSEPOINT2 ||
                     (s->type >= CN_OBSERVE && s->type <= CN_COUNT);
        if (hooks && AppendixAssigns(name, s->appendix.get())) return true;
    }
    return false;
}

SV CollectDualFixef(SV const& names) {
    SV out;
    for (String const& n : names)
        if (force_dual.count(std::string(n)) && !force_real.count(std::string(n))) out.push_back(n);
    return out;
}
