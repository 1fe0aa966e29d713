// The file samplers of a trial program's models: each sample clause of a distribution and
// each sample statement becomes one record, numbered over the whole run, which the checks
// hold against the model and the trial generator prints as a FileSampler object.
#include "analysis/analysis.h"
#include "parser/parser.h"

#include <sstream>

std::vector<SamplerInfo> samplings;
int nSampler = 0;

// The statements at the top of a model's body.
static NV const& BodyStatements(cn const& model) {
    static NV const none;
    N const& body = model->child2;
    return body ? body->list : none;
}

std::optional<SamplerInfo> GetSamplerInfo(std::string const& model, N const& node, int number) {
    SamplerInfo info;
    if (auto const* dist = dynamic_cast<Dist const*>(node.get())) {
        if (!dist->pSampleOption) return std::nullopt;
        info.file = std::string(dist->pSampleOption->sFile);
        info.mode = dist->pSampleOption->iMode;
    } else if (auto const* sample = dynamic_cast<Sample const*>(node.get())) {
        info.file = sample->GetFileName();
        info.mode = sample->GetMode();
    } else {
        return std::nullopt;
    }
    std::ostringstream name;
    name << "_sampler" << number;
    info.model = model;
    info.sampler = name.str();
    info.node = node;
    return info;
}

// A record for the node, when it has one, under the next number.
static void AddSampler(std::string const& model, N const& node) {
    std::optional<SamplerInfo> info = GetSamplerInfo(model, node, nSampler);
    if (!info) return;
    samplings.push_back(*info);
    nSampler++;
}

// The sub-populations of a distrib statement are taken from the last to the first.
void CollectSamplers(cn const& model) {
    std::string const name(model->child1->name);
    for (N const& s : BodyStatements(model)) {
        if (!s) continue;
        if (s->type != CN_DISTRIB) {
            AddSampler(name, s);
            continue;
        }
        NV const& subpops = s->child2->list;
        for (size_t i = subpops.size(); i-- > 0;)
            AddSampler(name, subpops[i]);
    }
}

void CollectSamplers(NV const& models) {
    samplings.clear();
    for (N const& model : models)
        CollectSamplers(model);
}
