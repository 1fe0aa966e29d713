// The transitive dependency sets of a model's names, kept as rows of bits over one sorted
// table of names instead of sets of name strings: `fwdDeps` holds a row per name with the
// names it depends on, and `invDeps` reads the same rows by column. Each fill adds a layer.
#include "analysis/analysis.h"

DepSets fwdDeps;
DepSets invDeps(&fwdDeps);

void DepSets::Add(std::vector<std::string> const& names, std::vector<uint64_t> bits, size_t words) {
    Layer layer;
    layer.names = names;
    layer.index.reserve(names.size());
    for (size_t i = 0; i < names.size(); i++)
        layer.index.emplace(names[i], i);
    layer.bits = std::move(bits);
    layer.words = words;
    layers.push_back(std::move(layer));
}

void DepSets::clear() {
    layers.clear();
}

// The row of 'name' in 'layer', or null when the layer has no such name.
uint64_t const* DepSets::Row(Layer const& layer, std::string const& name) {
    auto it = layer.index.find(name);
    return it == layer.index.end() ? nullptr : layer.Row(it->second);
}

// The names whose row in 'layer' holds 'name'.
std::set<std::string> DepSets::Column(Layer const& layer, std::string const& name) const {
    std::set<std::string> out;
    auto it = layer.index.find(name);
    if (it == layer.index.end()) return out;
    for (size_t i = 0; i < layer.names.size(); i++)
        if (layer.Test(i, it->second)) out.insert(out.end(), layer.names[i]);
    return out;
}

// Adds the names of the columns set in 'row' to 'out'.
static void AddNames(std::vector<std::string> const& names, uint64_t const* row, size_t words,
                     std::set<std::string>& out) {
    for (size_t w = 0; w < words; w++)
        for (uint64_t x = row[w]; x; x &= x - 1)
            out.insert(out.end(), names[w * 64 + size_t(__builtin_ctzll(x))]);
}

std::set<std::string> DepSets::Get(std::string const& name) const {
    std::set<std::string> out;
    for (Layer const& layer : Layers()) {
        if (of) {
            std::set<std::string> const column = Column(layer, name);
            out.insert(column.begin(), column.end());
        } else if (uint64_t const* row = Row(layer, name)) {
            AddNames(layer.names, row, layer.words, out);
        }
    }
    return out;
}

size_t DepSets::count(std::string const& name) const {
    return Get(name).empty() ? 0 : 1;
}

size_t DepSets::size() const {
    std::set<std::string> named;
    for (Layer const& layer : Layers())
        for (std::string const& name : layer.names)
            if (count(name)) named.insert(name);
    return named.size();
}

DepSets::Masks DepSets::MaskOf(std::set<std::string> const& names) const {
    Masks masks;
    for (Layer const& layer : Layers()) {
        masks.emplace_back(layer.words, 0);
        for (std::string const& n : names) {
            auto it = layer.index.find(n);
            if (it != layer.index.end()) masks.back()[it->second / 64] |= 1ull << (it->second % 64);
        }
    }
    return masks;
}

bool DepSets::Meets(std::string const& name, Masks const& masks) const {
    for (size_t k = 0; k < Layers().size(); k++) {
        Layer const& layer = Layers()[k];
        uint64_t const* row = Row(layer, name);
        if (!row) continue;
        for (size_t w = 0; w < layer.words; w++)
            if (row[w] & masks[k][w]) return true;
    }
    return false;
}

// Whether the name at 'i' of 'names' is one of 'start', whose bits in the layer are 'mask':
// its bit tells when the layer holds each name once; else 'start' is asked.
static bool IsStart(std::vector<std::string> const& names, size_t i, uint64_t const* mask,
                    std::set<std::string> const* start) {
    if (start) return start->count(names[i]) > 0;
    return (mask[i / 64] >> (i % 64)) & 1;
}

// One scan of the rows: a row outside the starting names that meets 'mask' brings its own
// name and the starting names it holds. 'start' is wanted only for a layer that holds a
// name twice.
std::set<std::string> DepSets::UsedFrom(Masks const& mask,
                                        std::set<std::string> const* start) const {
    std::set<std::string> used;
    for (size_t k = 0; k < Layers().size(); k++) {
        Layer const& layer = Layers()[k];
        bool const unique = layer.index.size() == layer.names.size();
        std::vector<uint64_t> met(layer.words, 0);
        for (size_t i = 0; i < layer.names.size(); i++) {
            if (IsStart(layer.names, i, mask[k].data(), unique ? nullptr : start)) continue;
            bool meets = false;
            for (size_t w = 0; w < layer.words; w++) {
                uint64_t const x = layer.Row(i)[w] & mask[k][w];
                met[w] |= x;
                meets = meets || x;
            }
            if (meets) used.insert(used.end(), layer.names[i]);
        }
        AddNames(layer.names, met.data(), layer.words, used);
    }
    return used;
}

std::set<std::string> DepSets::UsedFrom(std::set<std::string> const& start) const {
    return UsedFrom(MaskOf(start), &start);
}

// As above without a set of the starting names, unless a layer holds a name twice.
std::set<std::string> DepSets::UsedFrom(SV const& start) const {
    for (Layer const& layer : Layers())
        if (layer.index.size() != layer.names.size())
            return UsedFrom(std::set<std::string>(start.begin(), start.end()));
    Masks masks;
    for (Layer const& layer : Layers()) {
        masks.emplace_back(layer.words, 0);
        for (String const& name : start) {
            auto it = layer.index.find(std::string(name));
            if (it != layer.index.end()) masks.back()[it->second / 64] |= 1ull << (it->second % 64);
        }
    }
    return UsedFrom(masks, nullptr);
}
