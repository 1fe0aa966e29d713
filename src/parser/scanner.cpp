// The scanner: tests that skip white space and comments, look at the text under a cursor
// into the one model buffer, and step over what they saw; the known-word tables; the
// `expect_*` forms that turn a failed test into a syntax error; and the recovery walk.
#include "parser/parser.h"

#include <cstdlib>
#include <cstring>

int bAllowUnderscore = 1;

// Words that begin a statement of a model or of a trial script: where recovery resumes.
// clang-format off
char const* const saKnownStatement[] = {
    "deriv", "urinecpt", "transit", "delayInfCpt", "dosepoint", "dosepoint1", "dosepoint2",
    "stparm", "group", "fixef", "constrain", "ranef", "ranef1", "ranef2", "ranef3", "ranef4",
    "ranef5", "covariate", "fcovariate", "interpolate", "table", "error", "observe", "observe1",
    "LL", "multi", "ordinal", "count", "event", "secondary", "sequence", "sample", "double",
    "real", "int", "vcvfixef", "iwndf", "scModel", "cfMicro", "cfMacro", "cfMacro1", "cfMacro2",
    "distrib", "bolus", "infuse", "start", "call", "sleep", "peakreset", "suspend", "resume",
    "if", "else", "steadystate", "while", "for", "model", "join", "units", "proc", "subject",
    "main", nullptr};

// Built-in function names, for the misspelling warning only.
char const* const saKnownFunction[] = {
    "mean", "median", "delay", "peak", "min", "max", "abs", "fabs", "log", "ln", "exp", "sin",
    "cos", nullptr};

// clang-format on

static bool IsWhite(char c) {
    return c >= 1 && c <= 32;
}

static bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

static bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c == '_' && bAllowUnderscore);
}

static bool IsWordChar(char c) {
    return IsLetter(c) || IsDigit(c);
}

static bool IsFunnyChar(char c) {
    return c && strchr("!$%&*+-./<=>?@^_", c);
}

static void NewLine(char const* next) {
    iLine++;
    currentLine = next;
}

// Skips a /* ... */ comment whose "/*" stands at 'p', counting its line feeds; an open
// comment runs to the end of the text.
static void SkipBlockComment(char const*& p) {
    p += 2;
    while (*p && !(p[0] == '*' && p[1] == '/')) {
        if (*p == '\n') NewLine(p + 1);
        p++;
    }
    if (*p) p += 2;
}

char const* ScanWhite(char const*& p) {
    for (;;) {
        char c = *p;
        if (c == 0) break;
        if (c == '\n') {
            p++;
            NewLine(p);
        } else if (IsWhite(c)) {
            p++;
        } else if (c == '#' || (c == '/' && p[1] == '/')) {
            while (*p && *p != '\n')
                p++;
        } else if (c == '/' && p[1] == '*') {
            SkipBlockComment(p);
        } else {
            break;
        }
    }
    return p;
}

// The end of the last character in [start, end) that is neither white space nor part of a
// comment, by the rules of ScanWhite; 'start' when there is none. A span set after a failed
// look-ahead ends there rather than behind what the look-ahead skipped.
char const* LastTokenEnd(char const* start, char const* end) {
    char const* last = start;
    for (char const* q = start; q < end;) {
        if (IsWhite(*q)) {
            q++;
        } else if (*q == '#' || (q[0] == '/' && q[1] == '/')) {
            while (q < end && *q != '\n')
                q++;
        } else if (q[0] == '/' && q[1] == '*') {
            q += 2;
            while (q < end && !(q[0] == '*' && q[1] == '/'))
                q++;
            q += 2;
        } else {
            last = ++q;
        }
    }
    return last;
}

int seeChar(char const*& p, char c) {
    ScanWhite(p);
    if (*p != c) return 0;
    p++;
    return 1;
}

int seeChars(char const*& p, char const* s) {
    if (!s || !*s) return 0;
    ScanWhite(p);
    if (*p != *s) return 0;
    size_t n = strlen(s);
    if (strncmp(p, s, n) != 0) return 0;
    p += n;
    return 1;
}

// "=" not followed by "=", or "<-".
int seeAssignOp(char const*& p) {
    ScanWhite(p);
    if (p[0] == '=' && p[1] != '=') {
        p++;
        return 1;
    }
    if (p[0] == '<' && p[1] == '-') {
        p += 2;
        return 1;
    }
    return 0;
}

int seeWord(char const*& p, char const* w) {
    ScanWhite(p);
    if (*w && *p != *w) return 0; // most words are told apart by their first letter
    size_t n = strlen(w);
    if (strncmp(p, w, n) != 0 || IsWordChar(p[n])) return 0;
    p += n;
    return 1;
}

// Copies [begin, end) into 'out' when it fits a name buffer.
static int CopyOut(char const* begin, char const* end, char* out) {
    if (end - begin >= NAME_BUF_SIZE) return 0;
    if (out) {
        memcpy(out, begin, size_t(end - begin));
        out[end - begin] = 0;
    }
    return 1;
}

int seeId(char const*& p, char* out) {
    ScanWhite(p);
    if (!IsLetter(*p)) return 0;
    char const* q = p + 1;
    while (IsWordChar(*q))
        q++;
    if (!CopyOut(p, q, out)) return 0;
    p = q;
    return 1;
}

// An identifier into a `String`. The buffer is static so that it is not on the stack of
// every level of a deeply nested expression; the text is copied out at once.
int seeName(char const*& p, String& out) {
    static char id[NAME_BUF_SIZE];
    if (!seeId(p, id)) return 0;
    out = id;
    return 1;
}

// A file-sampling name: letters, digits and "!$%&*+-./<=>?@^_" not starting with a digit,
// or a double-quoted text on one line.
int seeIdAllowFunnyChars(char const*& p, char* out) {
    ScanWhite(p);
    char const* q = p;
    if (IsLetter(*q) || IsFunnyChar(*q)) {
        while (IsWordChar(*q) || IsFunnyChar(*q))
            q++;
        if (!CopyOut(p, q, out)) return 0;
        p = q;
        return 1;
    }
    if (*q != '"') return 0;
    q++;
    while (*q && *q != '"' && *q != '\r' && *q != '\n')
        q++;
    if (*q != '"' || !CopyOut(p + 1, q, out)) return 0;
    p = q + 1;
    return 1;
}

// A double-quoted text with no escapes; a line feed inside it is not counted.
int seeStr(char const*& p, char* out) {
    ScanWhite(p);
    if (*p != '"') return 0;
    char const* q = p + 1;
    while (*q && *q != '"')
        q++;
    if (*q != '"' || !CopyOut(p + 1, q, out)) return 0;
    p = q + 1;
    return 1;
}

static char const* SkipDigits(char const* q) {
    while (IsDigit(*q))
        q++;
    return q;
}

// [-] digits [. digits] | [-] . digit digits; then an exponent e[-]digits. "1e+5" is 1.
int seeNum(char const*& p, double& value, char* text) {
    char local[NAME_BUF_SIZE];
    ScanWhite(p);
    char const* q = p;
    if (*q == '-') q++;
    if (IsDigit(*q)) {
        q = SkipDigits(q);
        if (*q == '.') q = SkipDigits(q + 1);
    } else if (q[0] == '.' && IsDigit(q[1])) {
        q = SkipDigits(q + 1);
    } else {
        return 0;
    }
    if ((*q == 'e' || *q == 'E') && (IsDigit(q[1]) || (q[1] == '-' && IsDigit(q[2]))))
        q = SkipDigits(q + 2);
    if (!text) text = local;
    if (!CopyOut(p, q, text)) return 0;
    value = strtod(text, nullptr);
    p = q;
    return 1;
}

// [-] digits, converted with strtol in base 10.
int seeInt(char const*& p, int& value) {
    ScanWhite(p);
    char const* q = p;
    if (*q == '-') q++;
    if (!IsDigit(*q)) return 0;
    char* end = nullptr;
    value = int(strtol(p, &end, 10));
    p = SkipDigits(q);
    return 1;
}

int seeKnownStatement(char const*& p) {
    for (char const* const* w = saKnownStatement; *w; w++)
        if (seeWord(p, *w)) return 1;
    return 0;
}

// Skips a balanced { ... } group standing at 'p', counting line feeds; comments and strings
// inside it are not looked at. Returns false at the end of the text.
static bool SkipBraceGroup(char const*& p) {
    int depth = 0;
    for (; *p; p++) {
        if (*p == '\n') NewLine(p + 1);
        if (*p == '{') depth++;
        if (*p == '}' && --depth == 0) {
            p++;
            return true;
        }
    }
    return false;
}

// Whether a known statement word, followed by no word character, stands at 'p'.
static bool AtKnownStatement(char const* p) {
    for (char const* const* w = saKnownStatement; *w; w++) {
        size_t n = strlen(*w);
        if (strncmp(p, *w, n) == 0 && !IsWordChar(p[n])) return true;
    }
    return false;
}

// After a failed statement: moves one character at a time until a known statement word
// stands under the cursor (also as the tail of a longer name: "myfixef(" resumes at "fixef"),
// and clears the pending error there. Stops with the error still set at a "}" or at the end.
void scanOutOfStmt(char const*& p) {
    while (*p) {
        ScanWhite(p);
        if (*p == 0 || *p == '}') return;
        if (*p == '{') {
            if (!SkipBraceGroup(p)) return;
            continue;
        }
        if (AtKnownStatement(p)) {
            sErr = nullptr; // bFatalError stays set: the run still fails
            return;
        }
        p++;
    }
}

void expect_char(char const*& p, char c, char const* msg) {
    static char buf[] = "Expected: 'K'";
    if (seeChar(p, c)) return;
    if (!msg) {
        buf[11] = c;
        msg = buf;
    }
    syntax_err(msg, p);
}

void expect_id(char const*& p, char* out, char const* msg) {
    if (!seeId(p, out)) syntax_err(msg ? msg : "Expected id", p);
}

void expect_assignment(char const*& p) {
    if (!seeAssignOp(p)) syntax_err("Expected = or <-", p);
}

void expect_assignment(char const*& p, char const* what) {
    if (seeAssignOp(p)) return;
    std::string msg = std::string("Expected = or <- followed by ") + what;
    syntax_err(msg.c_str(), p);
}
