// String: a text in a pooled array with a count of its holders in front. A copy shares the
// array; a change makes a new one, so a shared array is never written. A character handed out
// for writing pins its array to its one holder for good. The empty text, which most nodes
// carry, is one static array that is never counted, freed nor written (a write of its
// terminator, the only one in bounds, goes to a private array).
#include "expr/vstring.h"
#include "expr/node_pool.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Rep {
    size_t holders;
    char text[1];
};

constexpr size_t kPinned = SIZE_MAX; // one holder that may write, never shared

Rep emptyRep = {0, {0}};
char* const emptyText = emptyRep.text;

Rep* RepOf(char* s) {
    return reinterpret_cast<Rep*>(s - offsetof(Rep, text));
}

// A fresh array of 'len' characters and a terminator, all 0, with one holder. Texts share the
// pool of the tree nodes: most are names of a few characters.
char* NewText(size_t len) {
    size_t const bytes = offsetof(Rep, text) + len + 1;
    Rep* r = static_cast<Rep*>(PoolAllocate(bytes));
    memset(r, 0, bytes);
    r->holders = 1;
    return r->text;
}

char* CopyOf(char const* text, size_t len) {
    if (len == 0) return emptyText;
    char* s = NewText(len);
    memcpy(s, text, len);
    return s;
}

// Another holder for 's': the same array unless it is pinned.
char* Share(char* s) {
    if (s == emptyText) return s;
    Rep* r = RepOf(s);
    if (r->holders == kPinned) return CopyOf(s, strlen(s));
    r->holders++;
    return s;
}

void Release(char* s) {
    if (s == emptyText) return;
    Rep* r = RepOf(s);
    if (r->holders == kPinned || --r->holders == 0) PoolFree(r);
}

char* Joined(char const* a, char const* b) {
    size_t la = strlen(a), lb = strlen(b);
    char* s = NewText(la + lb);
    memcpy(s, a, la);
    memcpy(s + la, b, lb);
    return s;
}

} // namespace

String::String() : s(emptyText) {}

String::String(String const& other) : s(Share(other.s)) {}

String::String(String&& other) noexcept : s(other.s) {
    other.s = emptyText;
}

String::String(char const* text) : s(CopyOf(text ? text : "", text ? strlen(text) : 0)) {}

// A NUL inside the range ends the text.
String::String(char const* begin, char const* end) {
    size_t len = end > begin ? size_t(end - begin) : 0;
    if (len == 0) {
        s = emptyText;
        return;
    }
    s = NewText(len);
    memcpy(s, begin, len);
}

// The array becomes this holder's own and stays so. An array held by this text alone is kept
// where it is, so that a pointer taken from the text before stays good, as it was before the
// array could be shared; a shared one stays with its other holders.
char& String::operator[](int i) {
    if (s == emptyText) {
        s = NewText(0);
    } else if (RepOf(s)->holders != kPinned && RepOf(s)->holders > 1) {
        char* own = NewText(strlen(s));
        strcpy(own, s);
        Release(s);
        s = own;
    }
    RepOf(s)->holders = kPinned;
    return s[i];
}

String::~String() {
    Release(s);
}

String& String::operator=(String const& other) {
    char* shared = Share(other.s);
    Release(s);
    s = shared;
    return *this;
}

String& String::operator=(String&& other) noexcept {
    char* old = s;
    s = other.s;
    other.s = old;
    return *this;
}

// Copies before releasing, so an argument that points into this text is safe too.
String& String::operator=(char const* text) {
    char* copy = CopyOf(text ? text : "", text ? strlen(text) : 0);
    Release(s);
    s = copy;
    return *this;
}

String& String::operator+=(char const* text) {
    char* joined = Joined(s, text ? text : "");
    Release(s);
    s = joined;
    return *this;
}

String& String::operator+=(String const& other) {
    return *this += other.s;
}

String& String::operator+=(char c) {
    char one[2] = {c, 0};
    return *this += one;
}

String String::operator+(char const* text) const {
    String r(*this);
    r += text;
    return r;
}

bool String::operator==(char const* t) const {
    return strcmp(s, t) == 0;
}

bool String::operator!=(char const* t) const {
    return strcmp(s, t) != 0;
}

bool String::operator<(char const* t) const {
    return strcmp(s, t) < 0;
}

bool String::operator>(char const* t) const {
    return strcmp(s, t) > 0;
}

bool String::operator<=(char const* t) const {
    return strcmp(s, t) <= 0;
}

bool String::operator>=(char const* t) const {
    return strcmp(s, t) >= 0;
}

bool operator==(char const* a, String const& b) {
    return b == a;
}

bool operator!=(char const* a, String const& b) {
    return b != a;
}

// First index of 'c' at or behind 'from' (a negative 'from' counts as 0); -1 if none.
int String::Find(char c, int from) const {
    int len = int(strlen(s));
    if (from < 0) from = 0;
    for (int i = from; i < len; i++)
        if (s[i] == c) return i;
    return -1;
}

// First index of 'pattern' at or behind 'from'; -1 when the rest is shorter than it.
int String::Find(char const* pattern, int from) const {
    int len = int(strlen(s)), plen = int(strlen(pattern));
    if (from < 0) from = 0;
    for (int i = from; i + plen <= len; i++)
        if (strncmp(s + i, pattern, plen) == 0) return i;
    return -1;
}

// Removes leading blanks (character 32 only; tabs stay).
void String::TrimLeft() {
    size_t n = 0;
    while (s[n] == ' ')
        n++;
    if (n == 0) return;
    if (s != emptyText && (RepOf(s)->holders == 1 || RepOf(s)->holders == kPinned)) {
        memmove(s, s + n, strlen(s + n) + 1); // this text's own array: trimmed where it is
        return;
    }
    char* rest = CopyOf(s + n, strlen(s + n));
    Release(s);
    s = rest;
}
