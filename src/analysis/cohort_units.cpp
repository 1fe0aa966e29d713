// Unit inference over a trial program: the units blocks start one table for the whole
// script, each join lets its two sides share units, and the rules of the model statements
// run over every model instance until the table stops growing. Also the plain text of a
// unit, which the trial program records beside its values.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <string>

// The most passes over the models; a script that never settles still ends.
static int const MAX_UNIT_PASSES = 500;

// The table of the trial: names qualified by model instance, and their units.
static SV saCohortUnitNames;
static NV paCohortUnits;

// Enters 'name' with a simplified copy of 'u', unless the table has it already.
static void EnterUnits(std::string const& name, cn const& u) {
    if (FindName(name.c_str(), saCohortUnitNames) >= 0) return;
    N copy = u->Copy();
    copy->SimpUnits();
    saCohortUnitNames.push_back(String(name.c_str()));
    paCohortUnits.push_back(copy);
}

// "x$V" for a member x$V, "t" for a plain name.
static std::string QualifiedName(cn const& lhs) {
    if (lhs->type == CN_MEMBER) return NameWithContext(lhs->child1->name, lhs->child2->name);
    return std::string(lhs->name);
}

// units { x$V = L  t = min }
static void EnterGivenUnits(NV const& unitBlocks) {
    for (N const& block : unitBlocks)
        for (N const& entry : block->list)
            EnterUnits(QualifiedName(entry->child1), entry->child2);
}

static N FindModel(NV const& models, char const* name) {
    for (size_t i = models.size(); i-- > 0;)
        if (models[i]->child1->name == name) return models[i];
    return N();
}

// When exactly one of the two names has units, the other takes them.
static void ShareUnits(std::string const& a, std::string const& b) {
    int ia = FindName(a.c_str(), saCohortUnitNames);
    int ib = FindName(b.c_str(), saCohortUnitNames);
    if (ia >= 0 && ib < 0) EnterUnits(b, paCohortUnits[ia]);
    if (ib >= 0 && ia < 0) EnterUnits(a, paCohortUnits[ib]);
}

// e : pd(a$A1, b$E): the k-th input of the instance is joined to the k-th member named.
static void ShareJoinedUnits(NV const& models, NV const& joins) {
    for (N const& join : joins) {
        for (N const& item : join->list) {
            N model = FindModel(models, item->child2->child1->name);
            if (!model) continue;
            NV const& params = model->child1->list;
            NV const& inputs = item->child2->list;
            for (size_t k = 0; k < params.size() && k < inputs.size(); k++) {
                std::string input = NameWithContext(item->child1->name, params[k]->name);
                ShareUnits(input,
                           NameWithContext(inputs[k]->child1->name, inputs[k]->child2->name));
            }
        }
    }
}

// The contexts in which a model's statements run: its instances in join order, or its own
// name when no join declares one.
static SV GetModelContexts(cn const& model, NV const& joins) {
    SV contexts;
    for (N const& join : joins)
        for (N const& item : join->list)
            if (item->child2->child1->name == model->child1->name)
                contexts.push_back(item->child1->name);
    if (contexts.empty()) contexts.push_back(model->child1->name);
    return contexts;
}

// The rules of every statement of a model once, in one instance's context.
static void PropagateModelUnits(cn const& model, char const* context, int& iChanged) {
    NV const& stmts = model->child2->list;
    for (N const& s : stmts)
        if (s)
            PropagateUnitsOneStatement(s, stmts, context, saCohortUnitNames, paCohortUnits, N(),
                                       iChanged);
}

// One pass of the model rules over every instance; whether anything got units.
static bool PropagateCohortPass(NV const& models, std::vector<SV> const& contexts) {
    int iChanged = 0;
    for (size_t m = 0; m < models.size(); m++)
        for (String const& context : contexts[m])
            PropagateModelUnits(models[m], context, iChanged);
    return iChanged != 0;
}

void CohortPropagateUnits(NV const& models, NV const& joins, NV const& unitBlocks,
                          String& sTimeUnits) {
    saCohortUnitNames.clear();
    paCohortUnits.clear();
    if (unitBlocks.empty()) return;
    sTimeUnits = "h";
    NameIndexScope index(saCohortUnitNames);
    EnterGivenUnits(unitBlocks);
    ShareJoinedUnits(models, joins);
    std::vector<SV> contexts;
    for (N const& model : models)
        contexts.push_back(GetModelContexts(model, joins));
    for (int pass = 0; pass < MAX_UNIT_PASSES; pass++)
        if (!PropagateCohortPass(models, contexts)) break;
    GetCohortTimeUnitsName(saCohortUnitNames, paCohortUnits, sTimeUnits);
}

// mg/L*h: no brackets go around a product or quotient inside another.
void GenCohortUnits(cn const& units, String& out, String const& sTime) {
    if (!units) return;
    char num[64];
    switch (units->type) {
        case CN_NUM:
            snprintf(num, sizeof num, "%g", units->value);
            out += num;
            break;
        case CN_UNIT_TIME: out += sTime; break;
        case CN_UNIT_NAME: out += units->name; break;
        case CN_UNIT_MUL:
        case CN_UNIT_DIV:
            GenCohortUnits(units->child1, out, sTime);
            out += units->type == CN_UNIT_MUL ? "*" : "/";
            GenCohortUnits(units->child2, out, sTime);
            break;
        case CN_UNIT_LOG:
        case CN_UNIT_EXP:
            out += units->type == CN_UNIT_LOG ? "log(" : "exp(";
            GenCohortUnits(units->child1, out, sTime);
            out += ")";
            break;
        default: break;
    }
}

void GenCohortUnits(cn const& units, FILE* fp, String const& sTime) {
    String text;
    GenCohortUnits(units, text, sTime);
    fputs(text, fp);
}

void GetCohortTimeUnitsName(SV const& names, NV const& units, String& out) {
    int i = MemberOf("t", names);
    out = "h";
    if (i < 0) return;
    out = "";
    GenCohortUnits(units[i], out, String("h"));
}

void GetCohortUnitText(cn const& node, String const& sTime, String& out) {
    out = "";
    if (!node || !node->units) return;
    N u = node->units->Copy();
    u->SimpUnits();
    GenCohortUnits(u, out, sTime);
}

void GetCohortVarUnitText(char const* context, char const* name, String const& sTime, String& out) {
    out = "";
    int i = MemberOf(context, name, saCohortUnitNames);
    if (i >= 0) GenCohortUnits(paCohortUnits[i], out, sTime);
}
