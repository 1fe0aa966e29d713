// The two node classes of the sampling statements: `Dist`, a distribution with the sample
// clause that may follow it, and `Sample`, the sample statement with its column mappings.
// Each has its copy, its swap and its own comparison beside the base rule.
#include "parser/parser.h"

#include <utility>

Dist::Dist(CNodeType type_, N c1) : CNode(type_, c1) {}

Dist::Dist(CNodeType type_, N c1, N c2) : CNode(type_, c1, c2) {}

Dist::Dist(CNodeType type_, N c1, N c2, N c3) : CNode(type_, c1, c2, c3) {}

Dist::Dist(CNodeType type_, N c1, N c2, N c3, N c4) : CNode(type_, c1, c2, c3, c4) {}

Dist::Dist(Dist const& other) : CNode(other) {
    if (other.pSampleOption) pSampleOption = other.pSampleOption->Copy();
}

Dist& Dist::operator=(Dist const& other) {
    Dist copy(other);
    swap(copy);
    return *this;
}

void Dist::swap(Dist& other) {
    CNode::swap(other);
    std::swap(pSampleOption, other.pSampleOption);
}

// Fails unless 'other' is a Dist; then the sample clauses, then the base rule.
bool Dist::equal_impl(cn const& other) const {
    auto const* d = dynamic_cast<Dist const*>(other.get());
    if (!d) return false;
    if (pSampleOption ? !pSampleOption->Equal(d->pSampleOption.get()) : bool(d->pSampleOption))
        return false;
    return CNode::equal_impl(d);
}

Sample::Sample() : CNode(CN_SAMPLE) {}

std::string const& Sample::GetFileName() const {
    return sFileName;
}

int Sample::GetMode() const {
    return sMode == "random" ? 1 : 0;
}

static bool SameMappings(std::vector<MatrixMapping> const& a, std::vector<MatrixMapping> const& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); i++)
        if (a[i].vars != b[i].vars || a[i].columns != b[i].columns) return false;
    return true;
}

// Fails unless 'other' is a Sample; then file, mode and mappings, then the base rule.
bool Sample::equal_impl(cn const& other) const {
    auto const* s = dynamic_cast<Sample const*>(other.get());
    if (!s || sFileName != s->sFileName || sMode != s->sMode) return false;
    if (simpleMappings.size() != s->simpleMappings.size()) return false;
    for (size_t i = 0; i < simpleMappings.size(); i++) {
        if (simpleMappings[i].var != s->simpleMappings[i].var) return false;
        if (simpleMappings[i].column != s->simpleMappings[i].column) return false;
    }
    if (!SameMappings(blockMappings, s->blockMappings)) return false;
    if (!SameMappings(diagMappings, s->diagMappings)) return false;
    return CNode::equal_impl(s);
}

void Sample::swap(Sample& other) {
    CNode::swap(other);
    std::swap(simpleMappings, other.simpleMappings);
    std::swap(blockMappings, other.blockMappings);
    std::swap(diagMappings, other.diagMappings);
    std::swap(sFileName, other.sFileName);
    std::swap(sMode, other.sMode);
}
