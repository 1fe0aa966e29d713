// A hash index over one name list that only grows, such as the table of units, so that a
// lookup on a long list costs no scan. While a `NameIndexScope` is open on a list, `FindName`
// answers from the index; on any other list it is `MemberOf`. Also the plain maps of a list that
// does not change, for the checks that look up many names in one list.
#include "driver/driver.h"

#include <cassert>
#include <string>
#include <unordered_map>

namespace {
struct OpenIndex {
    SV const* list = nullptr;
    size_t indexed = 0;                       // entries of 'list' taken in so far
    std::unordered_map<std::string, int> map; // each name's last index, as MemberOf finds
};
} // namespace

static OpenIndex openIndex;

NameIndexScope::NameIndexScope(SV const& list) {
    assert(!openIndex.list && "one name index at a time");
    openIndex.list = &list;
}

NameIndexScope::~NameIndexScope() {
    openIndex = OpenIndex();
}

// Takes in the entries appended since the last lookup; a list that shrank is read again.
static void CatchUp() {
    SV const& list = *openIndex.list;
    if (list.size() < openIndex.indexed) {
        openIndex.map.clear();
        openIndex.indexed = 0;
    }
    for (; openIndex.indexed < list.size(); openIndex.indexed++)
        openIndex.map[std::string(list[openIndex.indexed])] = int(openIndex.indexed);
}

int FindName(char const* name, SV const& list) {
    if (openIndex.list != &list) return MemberOf(name, list);
    CatchUp();
    auto it = openIndex.map.find(name);
    return it == openIndex.map.end() ? -1 : it->second;
}

int FindName(char const* context, char const* name, SV const& list) {
    return FindName(NameWithContext(context, name), list);
}

NameMap GetNameMap(SV const& list) {
    NameMap map;
    for (size_t i = 0; i < list.size(); i++)
        map[std::string(list[i])] = int(i);
    return map;
}

int FindIn(NameMap const& map, char const* name) {
    auto it = map.find(name);
    return it == map.end() ? -1 : it->second;
}
