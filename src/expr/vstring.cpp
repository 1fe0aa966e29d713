// String: a private heap copy of a text, reallocated to the exact length on every change. The
// empty text, which most nodes carry, is one shared array that is never freed nor written (a
// write of its terminator, the only one in bounds, stores the 0 that is there).
#include "expr/vstring.h"

#include <cstdlib>
#include <cstring>

static char emptyText[1] = {0};

static void Release(char* s) {
    if (s != emptyText) free(s);
}

static char* CopyOf(char const* text, size_t len) {
    if (len == 0) return emptyText;
    char* s = static_cast<char*>(malloc(len + 1));
    memcpy(s, text, len);
    s[len] = 0;
    return s;
}

static char* Joined(char const* a, char const* b) {
    size_t la = strlen(a), lb = strlen(b);
    char* s = static_cast<char*>(malloc(la + lb + 1));
    memcpy(s, a, la);
    memcpy(s + la, b, lb + 1);
    return s;
}

String::String() : s(CopyOf("", 0)) {}

String::String(String const& other) : s(CopyOf(other.s, strlen(other.s))) {}

String::String(String&& other) noexcept : s(other.s) {
    other.s = CopyOf("", 0);
}

String::String(char const* text) : s(CopyOf(text ? text : "", text ? strlen(text) : 0)) {}

// A NUL inside the range ends the text; the allocation still spans the range.
String::String(char const* begin, char const* end) {
    size_t len = end > begin ? size_t(end - begin) : 0;
    if (len == 0) {
        s = emptyText;
        return;
    }
    s = static_cast<char*>(calloc(len + 1, 1));
    if (len) memcpy(s, begin, len);
}

char& String::operator[](int i) {
    if (s == emptyText) s = static_cast<char*>(calloc(1, 1));
    return s[i];
}

String::~String() {
    Release(s);
}

// The old array is freed here: nothing printed depends on keeping it.
String& String::operator=(String const& other) {
    char* copy = CopyOf(other.s, strlen(other.s));
    Release(s);
    s = copy;
    return *this;
}

String& String::operator=(String&& other) noexcept {
    char* old = s;
    s = other.s;
    other.s = old;
    return *this;
}

// Copies before freeing, so an argument that points into this text is safe too.
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
    if (n) memmove(s, s + n, strlen(s + n) + 1);
}
