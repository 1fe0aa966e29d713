// Drawing values from the rows of a file: the sample(...) clause behind a distribution, read
// by the scanner with a report per fault, and the sample statement, read as balanced text by
// block_parser and reported through `syntax_error`.
#include "parser/parser.h"

#include <cstring>
#include <memory>

// Reports a fault of the sample clause; the clause then yields nothing.
static int SampleClauseErr(char const* msg, char const* p) {
    SetErr(msg, p, 0, 0, -1);
    return 0;
}

// "(" category { "," category } ")" behind a column name
static int parsSampleCategories(char const*& p, CSampleVarOption& var) {
    char name[NAME_BUF_SIZE];
    do {
        if (!seeIdAllowFunnyChars(p, name))
            return SampleClauseErr(
                "Expected name of category in file, with or without quotes (\"\")", p);
        var.categories.push_back(std::make_unique<CSampleVarCategoryOption>());
        var.categories.back()->sName = name;
    } while (seeChar(p, ','));
    if (!seeChar(p, ')'))
        return SampleClauseErr("Expected ')' closing list of category names in file", p);
    return 1;
}

// covariate assign-op column [ "(" categories ")" ]
static int parsSampleVar(char const*& p, CSampleOption& option) {
    char name[NAME_BUF_SIZE];
    auto var = std::make_unique<CSampleVarOption>();
    if (!seeId(p, name))
        return SampleClauseErr("Expected name of a covariate in this distribution", p);
    var->sVar = name;
    if (!seeAssignOp(p))
        return SampleClauseErr("Expected = or <- between covariate name and column name", p);
    if (!seeIdAllowFunnyChars(p, name))
        return SampleClauseErr("Expected name of column in file, with or without quotes (\"\")", p);
    var->sColumn = name;
    if (seeChar(p, '(') && !parsSampleCategories(p, *var)) return 0;
    option.vars.push_back(std::move(var));
    return 1;
}

// sample "(" file "," ( linear | random ) { "," var } ")"
int parse_sample(char const*& p, CSampleOption*& out) {
    char name[NAME_BUF_SIZE];
    out = nullptr;
    if (!seeWord(p, "sample")) return 0;
    if (!seeChar(p, '(')) return SampleClauseErr("Expected '(' leading sample args", p);
    auto option = std::make_unique<CSampleOption>();
    if (!seeIdAllowFunnyChars(p, name))
        return SampleClauseErr("Expected file name to import from, with or without quotes (\"\")",
                               p);
    option->sFile = name;
    if (!seeChar(p, ',')) return SampleClauseErr("Expected ',' before keyword linear or random", p);
    if (seeWord(p, "linear"))
        option->iMode = 0;
    else if (seeWord(p, "random"))
        option->iMode = 1;
    else
        return SampleClauseErr("Expected keyword linear or random", p);
    while (seeChar(p, ','))
        if (!parsSampleVar(p, *option)) return 0;
    if (!seeChar(p, ')')) return SampleClauseErr("Expected ')' closing sample args", p);
    out = option.release();
    return 1;
}

// The sample clause of a distribution, attached to it.
int parse_sample(char const*& p, Dist* dist) {
    CSampleOption* option = nullptr;
    if (!parse_sample(p, option)) return 0;
    dist->pSampleOption.reset(option);
    return 1;
}

static int LowerTriangle(int n) {
    return n * (n + 1) / 2;
}

static int Diagonal(int n) {
    return n;
}

// block(names) = c(columns) or diag(names) = c(columns): 'count' of n names is the number
// of columns required, 'wrongCount' the report when they differ.
static bool parsMatrixMapping(std::string_view left, std::string_view right, char const* word,
                              int (*count)(int), char const* wrongCount,
                              std::vector<MatrixMapping>& into) {
    MatrixMapping m;
    if (!parse_call(left, word, m.vars)) return false;
    if (!parse_call(right, "c", m.columns)) sampling::syntax_err("c() expected", right.data());
    if (int(m.columns.size()) != count(int(m.vars.size())))
        sampling::syntax_err(wrongCount, left.data());
    into.push_back(std::move(m));
    return true;
}

// id = id | block(ids) = c(ids) | diag(ids) = c(ids)
static void parsSampleMapping(std::string_view item, Sample& sample) {
    std::string_view left, right;
    if (!parse_assignment(item, left, right))
        sampling::syntax_err("assignment expected", item.data());
    if (is_id(left)) {
        if (!is_id(right)) sampling::syntax_err("id expected", right.data());
        sample.simpleMappings.push_back({std::string(left), std::string(right)});
        return;
    }
    if (parsMatrixMapping(left, right, "block", LowerTriangle, "block sampling is incorrect",
                          sample.blockMappings))
        return;
    if (parsMatrixMapping(left, right, "diag", Diagonal, "diag sampling is incorrect",
                          sample.diagMappings))
        return;
    sampling::syntax_err("unrecognized mapping", left.data());
}

// sample "(" "file" "," mode { "," mapping } ")"
int parse_sample(char const*& p, Sample*& out) {
    std::vector<std::string_view> items;
    char const* start = ScanWhite(p);
    out = nullptr;
    if (!parse_call(p, "sample", items)) return 0;
    if (items.size() < 3) sampling::syntax_err("too few arguments", start);
    std::string_view file = items[0];
    if (file.size() < 2 || file.front() != '"' || file.back() != '"')
        sampling::syntax_err("quoted string expected.", file.data());
    auto sample = std::make_unique<Sample>();
    sample->sFileName = std::string(unquote(file));
    sample->sMode = std::string(items[1]);
    for (size_t i = 2; i < items.size(); i++)
        parsSampleMapping(items[i], *sample);
    out = sample.release();
    return 1;
}

// Moves 'p' forward to 'target', counting the line feeds on the way.
static void MoveCountingLines(char const*& p, char const* target) {
    for (; p < target; p++) {
        if (*p != '\n') continue;
        iLine++;
        currentLine = p + 1;
    }
}

// The walk over a faulty statement may have counted lines past the fault: the count is taken
// back to the statement's start and moved on to the fault, which the report then points at.
// Recovery goes on from there, but never from before the end of the word "sample", which
// would find the same statement again.
bool parsSampleStmt(char const*& p, N& out) {
    char const* start = ScanWhite(p);
    int line = iLine;
    char const* lineStart = currentLine;
    Sample* sample = nullptr;
    try {
        if (!parse_sample(p, sample)) return false;
    } catch (syntax_error const& e) {
        iLine = line;
        currentLine = lineStart;
        p = start;
        if (e.pos && e.pos > start) MoveCountingLines(p, e.pos);
        SetErr(e.msg.c_str(), p, 0, 0, -1);
        char const* wordEnd = start + strlen("sample"); // the word stands at 'start'
        if (p < wordEnd) p = wordEnd;
        return true;
    }
    out = N(sample);
    out->pos = get_pos(start, p); // the whole statement, for the reports of the sampler checks
    return true;
}
