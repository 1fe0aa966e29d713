// The semantic checks of a model, the last gate of Phase 1 before any output file is opened:
// every name defined exactly once, no reserved word, no name declared twice by statements of
// one kind, no delay or peak beside a closed form. Also the warnings about declared names
// that nothing uses, the checks of a trial program's models, and the error-free prediction.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "modelgen/gencode.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_set>

// Ends a run whose checks printed their errors already.
[[noreturn]] static void ExitOnSemanticErrors() {
    exit(1);
}

// Every name of 'names' that 'used' lacks, to the warnings log: "<word> 'V' is not used".
void CheckVarUse(char const* word, SV const& names, SV const& used) {
    NameMap const usedMap = GetNameMap(used);
    for (String const& name : names)
        if (FindIn(usedMap, name) < 0) Warning() << word << " '" << name << "' is not used\n";
}

// A name that is a reserved word of the generated text can't be a variable.
static bool CheckReservedWords(SV const& names) {
    bool bad = false;
    for (String const& name : names) {
        if (!is_reserved(name)) continue;
        fprintf(stderr, "Error: '%s' is a reserved word, cannot be used as a variable name\r\n",
                static_cast<char const*>(name));
        bad = true;
    }
    return bad;
}

// The lists that define names, as maps: the ones that count as they are, the fixed effects, and
// the structural parameters, which can turn a fixed effect into no definition.
struct DefiningLists {
    std::vector<NameMap> counted;
    NameMap fixef, structural;
};

// The concentration of a cfMacro machine (saCFStrip2) counts, since the generated text defines
// it by a macro; the machine's own name (saCFMacro2) does not.
static DefiningLists GetDefiningLists(CGenCode const& g) {
    DefiningLists d;
    for (SV const* list :
         {&g.saCFMacro,     &g.saCFStrip, &g.saCFStrip2, &g.saTransit2,  &g.saDeriv,
          &g.saUrine,       &g.saTransit, &g.saEvent,    &g.saAssigned,  &g.saCovariates,
          &g.saInitialDose, &g.saDoubles, &g.saObserved, &g.saResponses, &g.saRanef1,
          &g.saRanef2,      &g.saRanef3,  &g.saRanef4,   &g.saRanef5,    &g.saError})
        d.counted.push_back(GetNameMap(*list));
    d.fixef = GetNameMap(g.saFixef);
    d.structural = GetNameMap(g.saStruct);
    return d;
}

// Whether 'name' is a structural parameter written as a plain copy of its fixed effect,
// `stparm(V = V)` beside `fixef(V)`: then the stparm alone defines it.
static bool IsStparmCopyOfFixef(CGenCode const& g, DefiningLists const& d, char const* name) {
    int p = FindIn(d.structural, name);
    return p >= 0 && size_t(p) < g.naStparmDuplicatesFixef.size() &&
           g.naStparmDuplicatesFixef[p] != 0;
}

// How many of the defining lists hold 'name'.
static int CountDefinitions(CGenCode const& g, DefiningLists const& d, char const* name) {
    int c = 0;
    for (NameMap const& list : d.counted)
        if (!list.empty() && FindIn(list, name) >= 0) c++; // most lists are empty
    if (FindIn(d.fixef, name) >= 0 && !IsStparmCopyOfFixef(g, d, name)) c++;
    return c;
}

// Each name the model refers to must be defined by exactly one list.
static bool CheckDefinitionCounts(CGenCode const& g) {
    DefiningLists const d = GetDefiningLists(g);
    bool bad = false;
    for (String const& name : g.saAllVars) {
        int c = CountDefinitions(g, d, name);
        if (c == 0) fprintf(stderr, "Error: '%s' is undefined\r\n", static_cast<char const*>(name));
        if (c > 1)
            fprintf(stderr, "Error: multiple definition of '%s'\r\n",
                    static_cast<char const*>(name));
        if (c != 1) bad = true;
    }
    return bad;
}

// The names in the list of a names node, as held by the groups of ranef and error entries.
static void AppendListNames(N const& names, SV& out) {
    if (!names) return;
    for (N const& var : names->list)
        if (var) out.push_back(var->name);
}

// The names a top-level statement declares: the variable of deriv and transit, the observed
// name, the names of each error entry and of each ranef group, the fixed effects.
static SV DeclaredNames(cn const& s) {
    SV names;
    switch (s->type) {
        case CN_DERIV:
        case CN_TRANSIT:
            if (s->child1) names.push_back(s->child1->name);
            break;
        case CN_OBSERVE: names.push_back(s->name); break;
        case CN_ERROR:
        case CN_RANEF5:
            for (N const& entry : s->list)
                if (entry) AppendListNames(entry->child1, names);
            break;
        case CN_FIXEF:
            for (N const& entry : s->list)
                if (entry) names.push_back(entry->name);
            break;
        default: break;
    }
    return names;
}

// The names that a top-level statement of 'kind' declares once more, in the order met.
static SV GetRepeatedNames(NV const& stmts, CNodeType kind) {
    std::unordered_set<std::string> seen;
    SV repeated;
    for (N const& s : stmts) {
        if (!s || s->type != kind) continue;
        for (String const& name : DeclaredNames(s))
            if (!seen.insert(std::string(name)).second) repeated.push_back(name);
    }
    return repeated;
}

static void ReportRepeat(CNodeType kind, char const* name) {
    switch (kind) {
        case CN_DERIV:
            fprintf(stderr, "Error: integrator variable '%s' multiple definition\r\n", name);
            break;
        case CN_TRANSIT:
            fprintf(stderr, "Error: transit variable '%s' multiple definition\r\n", name);
            break;
        case CN_OBSERVE:
            fprintf(stderr, "Error: observed variable '%s' multiple definition\r\n", name);
            break;
        case CN_ERROR:
            fprintf(stderr, "Error: error variable '%s' multiple definition\r\n", name);
            break;
        case CN_RANEF5:
            fprintf(stderr, "Error: random effect variable '%s' multiple definition\r\n", name);
            break;
        case CN_FIXEF:
            fprintf(stderr, "Error: fixed effect variable '%s' multiple definition\r\n", name);
            break;
        default: break;
    }
}

// A name declared twice by top-level statements of one kind, kind by kind. A name that two
// deriv statements declare is listed once in saDeriv, so the definition count takes no offence.
static bool CheckRepeatedDeclarations(NV const& stmts) {
    bool bad = false;
    for (CNodeType kind : {CN_DERIV, CN_TRANSIT, CN_OBSERVE, CN_ERROR, CN_RANEF5, CN_FIXEF}) {
        for (String const& name : GetRepeatedNames(stmts, kind)) {
            ReportRepeat(kind, name);
            bad = true;
        }
    }
    return bad;
}

static bool HasClosedForm(NV const& stmts) {
    for (N const& s : stmts)
        if (s && (s->type == CN_CFMICRO || s->type == CN_CFMACRO1 || s->type == CN_CFMACRO))
            return true;
    return false;
}

// Refuses a model with a reserved word for a name, a name defined nowhere or more than once,
// a name declared twice by statements of one kind, or a closed form beside delays or peaks.
// Every error is printed before the run ends, so one run shows them all; the closed-form
// error alone ends it at once. Returns only for a sound model.
void CGenCode::GenDllPhase1GetSemanticErrors() const {
    NV stmts = GetTopStatements(pBody);
    bool bad = CheckReservedWords(saAllVars);
    bad |= CheckDefinitionCounts(*this);
    bad |= CheckRepeatedDeclarations(stmts);
    if (HasClosedForm(stmts) && (nDelayCount >= 1 || nPeakCount >= 1)) {
        fprintf(
            stderr,
            "Error: cannot use delay or peak function in model containing closed-form statement\r\n");
        ExitOnSemanticErrors();
    }
    if (bad) ExitOnSemanticErrors();
}

// The samplers of one trial model are checked against it.
void CheckModel(cn const& model) {
    CheckSamplers(model);
}

void CheckModels(NV const& models) {
    for (N const& model : models)
        CheckSamplers(model);
}

// 'node' rebuilt with each variable of 'names' replaced by one number 0, the same node for
// every such place and every call: an observation's prediction without its noise.
N zero_error(cn const& node, SV const& names) {
    static N const zero = NewNum(0.0);
    if (!node) return N();
    if (node->type == CN_VAR && MemberOf(node->name, names) >= 0) return zero;
    N r = node->ShallowCopy();
    r->child1 = zero_error(node->child1, names);
    r->child2 = zero_error(node->child2, names);
    r->child3 = zero_error(node->child3, names);
    r->child4 = zero_error(node->child4, names);
    r->units = CopyOrEmpty(node->units);
    if (node->appendix) r->appendix = node->appendix->Copy();
    if (node->doseOption) r->doseOption = node->doseOption->Copy();
    if (node->extra) r->extra = node->extra->Copy();
    r->pos = node->pos;
    r->list.reserve(node->list.size());
    for (N const& e : node->list)
        r->list.push_back(zero_error(e, names));
    return r;
}
