// Error and warning reporting: source spans, the one reporting primitive `SetErr`, the
// exceptions of the parsers, `ErrPos` which reports when it goes out of scope, and the
// warnings log. Positions are plain pointers into the model buffer, which lives to the end.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

extern char const* sErr;
extern bool bFatalError;
extern int iLine;
extern char const* currentLine;
extern char const* WarningFname;

// A span of the source text; 'iLine' is -1 when unset.
struct Pos {
    char const* line = nullptr;
    char const* start = nullptr;
    char const* end = nullptr;
    int iLine = -1;

    Pos() = default;

    Pos(char const* line_, char const* start_, char const* end_, int iLine_)
        : line(line_), start(start_), end(end_), iLine(iLine_) {}

    std::string get_str() const;
};

Pos get_pos(char const* start, char const* end);

void SetErr(char const* msg, char const* start, char const* end, char const* line, int iLine);
bool IsErrorSet();

// Thrown by the model parser up to `parsStmt` (or a top-level entry) after a report.
struct SyntaxError {
    std::string msg;
    Pos pos;
    SyntaxError() = default;

    SyntaxError(std::string m, Pos p) : msg(std::move(m)), pos(p) {}
};

// Thrown by the sampling sub-parser; its catcher reports.
struct syntax_error {
    std::string msg;
    char const* pos = nullptr;

    syntax_error(std::string m, char const* p) : msg(std::move(m)), pos(p) {}
};

// Thrown by the checks of the file samplers against a model: the model, the name at fault,
// the message, and the text of the statement that holds the sampler.
struct semantic_error {
    std::string model;
    std::string name;
    std::string msg;
    std::string extra;
};

[[noreturn]] void syntax_err(char const* msg, char const* pos);
[[noreturn]] void syntax_err();

// A message stream that reports itself through `SetErr` when destroyed, at the start, the
// end or the whole of its span: `err_pos(node->pos) << "Undefined: " << name;`
class ErrPos : public std::ostringstream {
  public:
    enum Where { AtStart = 0, AtEnd = 1, Whole = 2 };

    explicit ErrPos(Pos const& pos);
    ErrPos(Pos const& pos, Where where);
    ErrPos(ErrPos const&) = delete;
    ErrPos& operator=(ErrPos const&) = delete;
    ~ErrPos() override;

  private:
    Pos pos;
    Where where;
};

ErrPos err_pos(Pos const& pos);
ErrPos err_pos(Pos const& pos, bool atStart);

std::ostream& Warning();
void ClearWarnings();
bool WarnOfPossibleMisspelling1(char const* word, char const* known);
void WarnOfPossibleMisspelling(char const* word);
