// Name lists and name tests: context-qualified names, list membership, duplicate removal,
// the reserved words of the generated language, and the dual and closed-form tests.
#include "analysis/analysis.h"
#include "driver/driver.h"

#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

// Words that may not name a variable, since they are words of the generated C++.
// clang-format off
char const* const saCReserved[] = {
    "const", "int", "long", "short", "char", "double", "signed", "unsigned", "enum", "struct",
    "bool", "static", "private", "public", "protected", "if", "else", "for", "while", "do",
    "break", "continue", "switch", "default", "case", "goto", "return", "true", "false", nullptr};

// clang-format on

// "context$name", or the bare name for an empty context. The result lives until the next
// call; it is kept in a growing string rather than a fixed buffer, so no name is cut.
char const* NameWithContext(char const* context, char const* name) {
    if (!context || !*context) return name; // the name as it is, without a copy
    static std::string tempbuf;
    tempbuf = std::string(context) + "$" + name;
    return tempbuf.c_str();
}

// Index of the last entry equal to 'name'; -1 when absent.
int MemberOf(char const* name, SV const& list) {
    for (int i = int(list.size()) - 1; i >= 0; i--)
        if (list[i] == name) return i;
    return -1;
}

int MemberOf(char const* context, char const* name, SV const& list) {
    return MemberOf(NameWithContext(context, name), list);
}

// Which entries of 'list' are the first of their text.
static std::vector<char> FirstOccurrences(SV const& list) {
    std::vector<char> first(list.size());
    std::unordered_set<std::string> seen;
    for (size_t i = 0; i < list.size(); i++)
        first[i] = seen.insert(std::string(list[i])).second;
    return first;
}

// Keeps the entries of 'v' that 'keep' marks; an entry past the end of 'keep' stays.
template <class T> static void KeepMarked(std::vector<T>& v, std::vector<char> const& keep) {
    size_t out = 0;
    for (size_t i = 0; i < v.size(); i++) {
        if (i < keep.size() && !keep[i]) continue;
        if (out != i) v[out] = std::move(v[i]);
        out++;
    }
    v.erase(v.begin() + out, v.end());
}

// Keeps the first occurrence of each text; the parallel vectors lose the same positions, as
// far as they reach, and keep what lies beyond the end of the list.
static void EliminateDuplicatesImpl(SV& list, std::vector<unsigned short>* a,
                                    std::vector<unsigned short>* b) {
    std::vector<char> const keep = FirstOccurrences(list);
    KeepMarked(list, keep);
    if (a) KeepMarked(*a, keep);
    if (b) KeepMarked(*b, keep);
}

void EliminateDuplicates(SV& list) {
    EliminateDuplicatesImpl(list, nullptr, nullptr);
}

void EliminateDuplicates(SV& list, std::vector<unsigned short>& a) {
    EliminateDuplicatesImpl(list, &a, nullptr);
}

void EliminateDuplicates(SV& list, std::vector<unsigned short>& a, std::vector<unsigned short>& b) {
    EliminateDuplicatesImpl(list, &a, &b);
}

// Asked for every name of a chain and every declared name: the words go into a set once.
bool is_reserved(char const* name) {
    static std::unordered_set<std::string_view> const words = [] {
        std::unordered_set<std::string_view> set;
        for (char const* const* w = saCReserved; *w; w++)
            set.insert(*w);
        return set;
    }();
    return words.count(name) > 0;
}

bool is_var_dual(char const* name) {
    return dual_vars.count(name) > 0;
}

bool is_var_dual_fixef(char const* name) {
    return dual_vars_fixef.count(name) > 0;
}

bool is_var_dual_ranef(char const* name) {
    return dual_vars_ranxef.count(name) > 0;
}

bool is_cfm(char const* name) {
    return !nothing_is_cfm && cfs.count(name) > 0;
}

// Prints the head of one branch of a generated name-dispatch routine:
//     if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
//     {
void if_statement(FILE* f, char const* name, bool bNewLine) {
    fprintf(f, "%s    if (_nm[0] == '%c' && strcmp(_nm, \"%s\") == 0)\n    {\n",
            bNewLine ? "\n" : "", name[0], name);
}
