// The checks of a trial model's file samplers against the model: a name is sampled once, a
// plain mapping names a fixed effect, random effect or error, and a block or diag mapping
// names exactly one random-effect group of its kind. The first fault ends the run.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "parser/parser.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>

typedef std::vector<std::vector<std::string>> Groups;

// The model being checked: its variables of each class and its random-effect groups.
static SV saFixef, saRanef, saError;
static Groups block_variables, diag_variables;
// What each model has sampled so far, by model name.
static std::map<std::string, std::set<std::string>> sampled_variables;

[[noreturn]] static void semantic_err(SamplerInfo const& info, std::string const& name,
                                      std::string const& message) {
    throw semantic_error{info.model, name, message, info.node->pos.get_str()};
}

static bool IsIn(std::string const& name, SV const& list) {
    return MemberOf(name.c_str(), list) >= 0;
}

static std::vector<std::string> GroupNames(cn const& group) {
    std::vector<std::string> names;
    for (N const& var : group->child1->list)
        names.push_back(std::string(var->name));
    return names;
}

// The groups of the ranef statements: block groups to one list, diag groups (single names
// among them) to the other; a same group is one more group of the list of the group before it.
static void CollectRanefGroups(cn const& model) {
    Groups* last = nullptr;
    for (N const& s : model->child2->list) {
        if (!s || s->type != CN_RANEF5) continue;
        for (N const& group : s->list) {
            if (group->type == CN_RANEF_BLOCK)
                last = &block_variables;
            else if (group->type == CN_VARIANCE_DIAG)
                last = &diag_variables;
            else
                assert(group->type == CN_RANEF_SAME && last && "unexpected ranef");
            if (last) last->push_back(GroupNames(group));
        }
    }
}

void CollectVariables(cn const& model) {
    saFixef.clear();
    saRanef.clear();
    saError.clear();
    block_variables.clear();
    diag_variables.clear();
    SV units;
    std::vector<unsigned short> frozen;
    std::vector<int64_t> enable;
    std::vector<double> init;
    CollectFixef(model, units, saFixef, frozen, enable, init);
    CollectRanef5(model, saRanef);
    frozen.clear();
    init.clear();
    CollectErrorInfo(model, saError, frozen, init);
    CollectRanefGroups(model);
}

// A name is sampled once in a model.
static void check_sampling_var_name_dups(SamplerInfo const& info, std::string const& name) {
    if (!sampled_variables[info.model].insert(name).second)
        semantic_err(info, name, "duplicated sampling");
}

static void check_plain_sampling(SamplerInfo const& info, std::string const& name) {
    check_sampling_var_name_dups(info, name);
    if (!IsIn(name, saFixef) && !IsIn(name, saRanef) && !IsIn(name, saError))
        semantic_err(info, name, "must be fixef, ranef, or error");
}

static void check_matrix_sampling(SamplerInfo const& info, std::string const& name) {
    check_sampling_var_name_dups(info, name);
    if (IsIn(name, saFixef)) semantic_err(info, name, "fixef cannot be sampled as block/diag");
    if (IsIn(name, saError)) semantic_err(info, name, "error cannot be sampled as block/diag");
    if (!IsIn(name, saRanef)) semantic_err(info, name, "block/diag sampling must be ranef");
}

// The names of a mapping joined as they were written, for the report.
static std::string JoinNames(std::vector<std::string> const& names) {
    std::string text;
    for (std::string const& n : names)
        text += (text.empty() ? "" : ", ") + n;
    return text;
}

// Each mapping names one whole group of 'groups', in the group's order.
static void check_matrix_samplings(SamplerInfo const& info,
                                   std::vector<MatrixMapping> const& mappings,
                                   Groups const& groups) {
    for (MatrixMapping const& m : mappings) {
        for (std::string const& name : m.vars)
            check_matrix_sampling(info, name);
        bool found = false;
        for (std::vector<std::string> const& g : groups)
            found = found || g == m.vars;
        if (!found)
            semantic_err(info, JoinNames(m.vars),
                         "block/diag sampling is not consistent with ranef");
    }
}

// A random effect drawn alone from a column must be a diag group of its own.
static bool IsLoneDiagRanef(std::string const& name) {
    for (std::vector<std::string> const& g : diag_variables)
        if (g.size() == 1 && g[0] == name) return true;
    return false;
}

static void CheckSample(SamplerInfo const& info, Sample const& sample) {
    for (SimpleMapping const& m : sample.simpleMappings) {
        check_plain_sampling(info, m.var);
        if (IsIn(m.var, saRanef) && !IsLoneDiagRanef(m.var))
            semantic_err(info, m.var, "sampling is not consistent with ranef definition");
    }
    check_matrix_samplings(info, sample.blockMappings, block_variables);
    check_matrix_samplings(info, sample.diagMappings, diag_variables);
}

static void CheckSampler(SamplerInfo const& info) {
    if (auto const* dist = dynamic_cast<Dist const*>(info.node.get())) {
        for (auto const& var : dist->pSampleOption->vars)
            check_sampling_var_name_dups(info, std::string(var->sVar));
    } else if (auto const* sample = dynamic_cast<Sample const*>(info.node.get())) {
        CheckSample(info, *sample);
    }
}

[[noreturn]] static void ReportSamplerError(semantic_error const& e) {
    fprintf(stderr,
            "Error: semantic error in model '%s'\nstatement: '%s'\ncause: '%s'\nerror: '%s'\n",
            e.model.c_str(), e.extra.c_str(), e.name.c_str(), e.msg.c_str());
    exit(1);
}

void CheckSamplers(cn const& model) {
    std::string const name(model->child1->name);
    CollectVariables(model);
    for (SamplerInfo const& info : samplings) {
        if (info.model != name) continue;
        try {
            CheckSampler(info);
        } catch (semantic_error const& e) {
            ReportSamplerError(e);
        }
    }
}
