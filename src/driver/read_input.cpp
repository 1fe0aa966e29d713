// Reading of the input: the whole file into one zero-padded buffer that lives to the end of
// the run, the include clauses, and the model or trial script behind them.
#include "driver/driver.h"
#include "parser/parser.h"

#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

int bAllowNullOmegas = 0;

// The zero bytes behind the text end every scanner loop, however far a look-ahead goes.
static size_t const PADDING = 4096;

[[noreturn]] static void UnableToOpen(char const* path) {
    fprintf(stderr, "Error: unable to open file '%s'\r\n", path);
    exit(1);
}

// A directory opens for reading but has no text: it counts as a file that can't be opened.
static bool IsDirectory(FILE* f) {
    struct stat st;
    return fstat(fileno(f), &st) == 0 && S_ISDIR(st.st_mode);
}

char* ReadFile(char const* path) {
    FILE* f = fopen(path, "rb");
    if (!f) UnableToOpen(path);
    if (IsDirectory(f)) {
        fclose(f);
        UnableToOpen(path);
    }
    fseek(f, 0, SEEK_END);
    long size = ftell(f);
    if (size < 0) size = 0;
    fseek(f, 0, SEEK_SET);
    char* buf = static_cast<char*>(calloc(size_t(size) + PADDING, 1));
    if (!buf) UnableToOpen(path);
    size_t got = fread(buf, 1, size_t(size), f);
    buf[got] = 0;
    fclose(f);
    return buf;
}

// Reports "Extra characters at end of file" when anything but white space is left.
static bool AtEndOfText(char const*& p) {
    ScanWhite(p);
    if (*p == 0) return true;
    SetErr("Extra characters at end of file", p, 0, 0, -1);
    return false;
}

N ReadCohortFile(char const* path, NV& includes) {
    char const* p = ReadFile(path);
    SetErr(nullptr, 0, 0, 0, -1);
    try {
        parsIncludes(p, includes);
    } catch (SyntaxError const&) {
        return N();
    }
    parsCohort(p);
    if (!IsErrorSet()) AtEndOfText(p);
    return N();
}

// The path of the rewritten model text: the input's with its last character replaced by
// 'x' ("foo.mdl" gives "foo.mdx"); a path of one character stays as it is.
static std::string ReplacedTextPath(char const* path) {
    std::string out = path;
    if (out.size() > 1) out.back() = 'x';
    return out;
}

// The end of the model for the rewritten text: behind its last character and the blanks and
// line breaks after it. A comment there already belongs to what follows.
static char const* EndOfModel(char const* p) {
    while (*p > 0 && *p <= ' ')
        p++;
    return p;
}

// Writes the model text 'text' with the override's values put in place; the override block
// itself, from 'modelEnd' to 'blockEnd', goes, and so does everything behind it. A file that
// can't be opened is passed over without a word.
static void WriteReplacedText(std::string const& path, char const* text, N const& model,
                              N const& over, char const* modelEnd, char const* blockEnd) {
    std::vector<CReplacement> edits;
    GetReplacements(model, over, edits);
    edits.push_back({modelEnd, blockEnd, ""});
    std::string out = ApplyReplacements(text, edits);
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return;
    fwrite(out.data(), 1, out.size(), f);
    fclose(f);
}

// The include clauses, one model, and any override blocks behind it: merged into the model,
// or with 'iReplace' written into a copy of the model's text, each block anew.
N ReadModelFile(char const* path, NV& includes, int iReplace) {
    char const* text = ReadFile(path);
    char const* p = text;
    SetErr(nullptr, 0, 0, 0, -1);
    bAllowNullOmegas = 0;
    N model;
    try {
        parsIncludes(p, includes);
    } catch (SyntaxError const&) {
        return N();
    }
    parsModel(p, model);
    if (IsErrorSet()) return N();
    char const* modelEnd = EndOfModel(p);
    while (seeWord(p, "override")) {
        N over;
        parsOverride(p, over);
        if (IsErrorSet()) return N();
        over->AssertValid();
        if (iReplace)
            WriteReplacedText(ReplacedTextPath(path), text, model, over, modelEnd, p);
        else
            incorporateOverride(model, over);
    }
    if (!AtEndOfText(p)) return N();
    return model;
}
