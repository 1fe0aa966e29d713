// The balanced-text reader of the sample statement: blocks between "(" and ")" or between
// double quotes, lists split at their top-level commas, calls `word(...)` and assignments,
// all on views of the script text. Faults are thrown as `syntax_error`.
#include "parser/parser.h"

#include <cctype>
#include <cstring>

namespace sampling {
void syntax_err(char const* msg, char const* where) {
    throw syntax_error(msg, where);
}
} // namespace sampling

block_parser::block_parser() : end(nullptr), bCountLines(true) {
    Clear();
}

block_parser::block_parser(std::string_view within)
    : end(within.data() + within.size()), bCountLines(false) {
    Clear();
}

// The tables of openers and closers, with every count at 0.
void block_parser::Clear() {
    memset(isOpener, 0, sizeof isOpener);
    memset(openerOf, 0, sizeof openerOf);
    memset(count, 0, sizeof count);
    isOpener[(unsigned char)'('] = true;
    openerOf[(unsigned char)')'] = '(';
    isOpener[(unsigned char)'"'] = true;
    openerOf[(unsigned char)'"'] = '"';
}

// One character of a walk. While a quote is open only the quote counts, and closes it.
void block_parser::Count(char c) {
    unsigned char u = (unsigned char)c;
    if (count[(unsigned char)'"'] > 0) {
        if (c == '"') count[u]--;
        return;
    }
    if (isOpener[u])
        count[u]++;
    else if (openerOf[u])
        count[openerOf[u]]--;
}

bool block_parser::AllClosed() const {
    for (int i = 0; i < 256; i++)
        if (isOpener[i] && count[i] != 0) return false;
    return true;
}

bool block_parser::AtEnd(char const* q) const {
    return end ? q >= end : *q == 0;
}

bool block_parser::parse_block(char const*& p, char open, std::string_view& out) {
    if (AtEnd(p) || *p != open) return false;
    memset(count, 0, sizeof count);
    char const* q = p;
    Count(*q++);
    while (!AllClosed()) {
        if (AtEnd(q)) sampling::syntax_err("unable to find closing symbol", p);
        if (*q == '\n' && bCountLines) {
            iLine++;
            currentLine = q + 1;
        }
        Count(*q++);
    }
    out = std::string_view(p + 1, size_t(q - p - 2));
    p = q;
    return true;
}

template <class T>
bool block_parser::parse_list(std::string_view const& text, std::vector<T>& items) {
    memset(count, 0, sizeof count);
    size_t from = 0;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == ',' && AllClosed()) {
            items.push_back(T(trim(text.substr(from, i - from))));
            from = i + 1;
            continue;
        }
        Count(text[i]);
    }
    items.push_back(T(trim(text.substr(from))));
    return AllClosed();
}

template <class T> bool parse_braced_list(char const*& p, std::vector<T>& items) {
    block_parser blocks;
    std::string_view inner;
    if (!blocks.parse_block(p, '(', inner)) return false;
    return blocks.parse_list(inner, items);
}

template <class T> bool parse_call(char const*& p, char const* word, std::vector<T>& items) {
    if (!seeWord(p, word)) return false;
    ScanWhite(p);
    if (!parse_braced_list(p, items)) sampling::syntax_err("braced list expected", p);
    return true;
}

static bool IsIdStart(char c) {
    return isalpha((unsigned char)c) || (c == '_' && bAllowUnderscore);
}

static bool IsIdChar(char c) {
    return IsIdStart(c) || isdigit((unsigned char)c);
}

// Blank space at the front of a view, by isspace.
static std::string_view TrimFront(std::string_view text) {
    size_t b = 0;
    while (b < text.size() && isspace((unsigned char)text[b]))
        b++;
    return text.substr(b);
}

template <class T>
bool parse_call(std::string_view const& text, char const* word, std::vector<T>& items) {
    std::string_view t = trim(text);
    size_t n = strlen(word);
    if (t.compare(0, n, word) != 0 || (t.size() > n && IsIdChar(t[n]))) return false;
    std::string_view rest = TrimFront(t.substr(n));
    block_parser blocks(rest);
    char const* q = rest.data();
    std::string_view inner;
    if (!blocks.parse_block(q, '(', inner)) return false;
    if (q != rest.data() + rest.size()) return false; // text behind the list
    return blocks.parse_list(inner, items);
}

template bool block_parser::parse_list(std::string_view const&, std::vector<std::string_view>&);
template bool block_parser::parse_list(std::string_view const&, std::vector<std::string>&);
template bool parse_braced_list(char const*&, std::vector<std::string_view>&);
template bool parse_braced_list(char const*&, std::vector<std::string>&);
template bool parse_call(char const*&, char const*, std::vector<std::string_view>&);
template bool parse_call(char const*&, char const*, std::vector<std::string>&);
template bool parse_call(std::string_view const&, char const*, std::vector<std::string_view>&);
template bool parse_call(std::string_view const&, char const*, std::vector<std::string>&);

// The first "=" divides, unless "==" stands there; without "=", the first "<-".
bool parse_assignment(std::string_view const& text, std::string_view& left,
                      std::string_view& right) {
    size_t at = text.find('=');
    size_t width = 1;
    if (at != std::string_view::npos) {
        if (at + 1 < text.size() && text[at + 1] == '=') return false;
    } else {
        at = text.find("<-");
        if (at == std::string_view::npos) return false;
        width = 2;
    }
    left = trim(text.substr(0, at));
    right = trim(text.substr(at + width));
    return true;
}

bool is_id(std::string_view const& text) {
    if (text.empty() || !IsIdStart(text[0])) return false;
    for (char c : text)
        if (!IsIdChar(c)) return false;
    return true;
}

std::string_view unquote(std::string_view const& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        return text.substr(1, text.size() - 2);
    return text;
}

// The view without blank space at either end; an empty result still points into the text.
std::string_view trim(std::string_view const& text) {
    std::string_view t = TrimFront(text);
    size_t e = t.size();
    while (e > 0 && isspace((unsigned char)t[e - 1]))
        e--;
    return t.substr(0, e);
}
