// Error reports with the marked source line, the pending-error state the parser tests after
// each step, and the warnings log VARO5Warnings.log, which exists only when something warned.
#include "driver/diag.h"

#include "parser/parser.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <strings.h>
#include <unordered_map>
#include <vector>

char const* sErr = nullptr;
bool bFatalError = false;
int iLine = 1;
char const* currentLine = nullptr;
char const* WarningFname = "VARO5Warnings.log";

// The text behind `sErr`: callers may pass a message that dies before the next test.
static std::string sErrText;

std::string Pos::get_str() const {
    if (!start) return std::string();
    return std::string(start, end && end > start ? end : start);
}

Pos get_pos(char const* start, char const* end) {
    return Pos(currentLine, start, end, iLine);
}

bool IsErrorSet() {
    return sErr != nullptr;
}

// Prints the span itself when the position lies before the known line start: the source
// line can't be found from there. Printed literally, never as a format, so a '%' in the
// model text stays a '%'.
static void EchoSpan(char const* start, char const* end) {
    char const* stop = end;
    if (!stop) stop = start + strcspn(start, "\n");
    fwrite(start, 1, size_t(stop > start ? stop - start : 0), stderr);
    fputc('\n', stderr);
}

// Prints the line with tabs expanded to multiples of 8, then the caret line under 'start'.
static void EchoLineWithCarets(char const* line, char const* start, char const* end) {
    int col = 0, caretCol = 0;
    for (char const* p = line; *p && *p != '\r' && *p != '\n'; p++) {
        if (p == start) caretCol = col;
        if (*p == '\t') {
            do {
                fputc(' ', stderr);
                col++;
            } while (col % 8);
        } else {
            fputc(*p, stderr);
            col++;
        }
    }
    fputc('\n', stderr);
    for (int i = 0; i < caretCol; i++)
        fputc(' ', stderr);
    long carets = end ? long(end - start) : 1;
    for (long i = 0; i < carets; i++)
        fputc('^', stderr);
    fputc('\n', stderr);
}

void SetErr(char const* msg, char const* start, char const* end, char const* line, int lineNo) {
    if (!msg) {
        sErr = nullptr;
        return;
    }
    sErrText = std::string(msg);
    sErr = sErrText.c_str();
    bFatalError = true;
    fprintf(stderr, "Error line %d: %s\n", lineNo == -1 ? iLine : lineNo, sErr);
    if (!line) line = currentLine;
    if (!line || !start) return;
    if (line > start)
        EchoSpan(start, end);
    else
        EchoLineWithCarets(line, start, end);
}

void syntax_err(char const* msg, char const* pos) {
    Pos p = get_pos(pos, pos);
    SetErr(msg, pos, 0, 0, -1);
    throw SyntaxError(msg, p);
}

void syntax_err() {
    throw SyntaxError();
}

ErrPos::ErrPos(Pos const& p) : pos(p), where(Whole) {}

ErrPos::ErrPos(Pos const& p, Where w) : pos(p), where(w) {}

ErrPos::~ErrPos() {
    std::string msg = str();
    switch (where) {
        case AtStart: SetErr(msg.c_str(), pos.start, 0, pos.line, pos.iLine); break;
        case AtEnd: SetErr(msg.c_str(), pos.end, 0, pos.line, pos.iLine); break;
        case Whole: SetErr(msg.c_str(), pos.start, pos.end, pos.line, pos.iLine); break;
    }
}

ErrPos err_pos(Pos const& pos) {
    return ErrPos(pos, ErrPos::Whole);
}

ErrPos err_pos(Pos const& pos, bool atStart) {
    return ErrPos(pos, atStart ? ErrPos::AtStart : ErrPos::AtEnd);
}

// Opened (and truncated) on the first warning only, so a run without warnings leaves no log.
std::ostream& Warning() {
    static std::ofstream log(WarningFname);
    return log;
}

void ClearWarnings() {
    remove(WarningFname);
}

bool WarnOfPossibleMisspelling1(char const* word, char const* known) {
    if (strcmp(word, known) == 0 || strcasecmp(word, known) != 0) return false;
    fprintf(stderr, "Warning: Is '%s' a misspelling of '%s'? \r\n", word, known);
    return true;
}

static std::string LowerCase(char const* word) {
    std::string lower(word);
    for (char& c : lower)
        c = char(tolower((unsigned char)c));
    return lower;
}

// The statement words, then the function names, that equal 'word' but for case, in that order:
// most names have none, and a map by the words in lower case finds them at once.
static std::vector<char const*> const& KnownWordsLike(char const* word) {
    static std::unordered_map<std::string, std::vector<char const*>> const byLower = [] {
        std::unordered_map<std::string, std::vector<char const*>> map;
        for (char const* const* list : {saKnownStatement, saKnownFunction})
            for (char const* const* k = list; *k; k++)
                map[LowerCase(*k)].push_back(*k);
        return map;
    }();
    static std::vector<char const*> const none;
    auto at = byLower.find(LowerCase(word));
    return at == byLower.end() ? none : at->second;
}

// The first entry of the statement words, then of the function names, that differs from
// 'word' only in case gets one warning.
void WarnOfPossibleMisspelling(char const* word) {
    for (char const* known : KnownWordsLike(word))
        if (WarnOfPossibleMisspelling1(word, known)) return;
}
