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
    AtEndOfText(p);
    return N();
}

// The include clauses, then one model. Override blocks behind the model are not read yet:
// their text is left over, as anything else would be.
N ReadModelFile(char const* path, NV& includes, int /*iReplace*/) {
    char const* p = ReadFile(path);
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
    if (!AtEndOfText(p)) return N();
    return model;
}
