// Look-ups by name in the lists of a trial script: a model by its name, and the model of an
// instance that a join item declares.
#include "trialgen/trialgen.h"

int FindModelByName(char const* name, NV const& models) {
    for (int i = int(models.size()) - 1; i >= 0; i--)
        if (models[i]->child1->name == name) return i;
    return -1;
}

// The join item that declares 'instance', or null.
static N FindJoinItem(NV const& joins, char const* instance) {
    for (N const& join : joins)
        for (N const& item : join->list)
            if (item->child1->name == instance) return item;
    return N();
}

int GetModelNameFromInstanceName(NV const& joins, char const* instance, String& modelName) {
    N item = FindJoinItem(joins, instance);
    if (!item) return 0;
    modelName = item->child2->child1->name;
    return 1;
}

char const* GetInstanceModelName(char const* instance, NV const& joins) {
    N item = FindJoinItem(joins, instance);
    return item ? (char const*)item->child2->child1->name : nullptr;
}

NV JoinItems(NV const& joins) {
    NV items;
    for (N const& join : joins)
        for (N const& item : join->list)
            items.push_back(item);
    return items;
}

char const* GetFirstInstanceName(char const* model, NV const& joins) {
    for (N const& join : joins)
        for (N const& item : join->list)
            if (item->child2->child1->name == model) return item->child1->name;
    return model;
}

bool IsTransitName(NV const& stmts, char const* name) {
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT && s->child1 && s->child1->name == name) return true;
    return false;
}
