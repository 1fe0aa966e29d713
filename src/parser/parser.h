// Public header of the language front end: the scanner's tests on the text buffer, the
// known-word tables, the recovery walk, and the parse routines of models and trial scripts.
#pragma once

#include "expr/expr.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Size of every buffer that receives an identifier, a string or the text of a number.
// A longer word is not recognised: the test fails and the caller reports what it expected.
constexpr int NAME_BUF_SIZE = 1024;

extern int bAllowUnderscore;
extern char const* const saKnownStatement[];
extern char const* const saKnownFunction[];

char const* ScanWhite(char const*& p);
char const* LastTokenEnd(char const* start, char const* end);
int seeChar(char const*& p, char c);
int seeChars(char const*& p, char const* s);
int seeAssignOp(char const*& p);
int seeWord(char const*& p, char const* w);
int seeId(char const*& p, char* out);
int seeName(char const*& p, String& out);
int seeIdAllowFunnyChars(char const*& p, char* out);
int seeStr(char const*& p, char* out);
int seeNum(char const*& p, double& value, char* text);
int seeInt(char const*& p, int& value);
int seeKnownStatement(char const*& p);
void scanOutOfStmt(char const*& p);

void expect_char(char const*& p, char c, char const* msg);
void expect_id(char const*& p, char* out, char const* msg);
void expect_assignment(char const*& p);
void expect_assignment(char const*& p, char const* what);

// Flags of the model being parsed, reset at the start of each model.
extern int bBqlInModel;
extern int bVCVFixefSeen;
extern int bIWNDFSeen;
extern int bUncertaintySeen;
extern int bVCVRanefSeen;
extern int bVCVRanchSeen;
// Random effects that a zero omega turned off; grows through the run.
extern std::vector<std::string> zeroRanefs;

void parsModel(char const*& p, N& out);
void parsStmt(char const*& p, N& out);

// Statements that declare the state of the system.
void parsDerivStmt(char const*& p, N& out);
void parsUrineStmt(char const*& p, N& out);
void parsTransitStmt(char const*& p, N& out);
void parsDelayInfCptStmt(char const*& p, N& out);
void parsDosepointStmt(char const*& p, N& out, CNodeType type);
void parsCfMicroStmt(char const*& p, N& out, CNodeType type);
void parsCfMacroStmt(char const*& p, N& out);

// Parameter statements.
void parsFixefStmt(char const*& p, N& out);
void parsConstrainStmt(char const*& p, N& out);
void parsRanefStmt(char const*& p, N& out, CNodeType type);
void parsUncertaintyStmt(char const*& p, N& out, CNodeType type);
void parsIwndfStmt(char const*& p, N& out);
void parsCovariateStmt(char const*& p, N& out, CNodeType type);
void parsTableStmt(char const*& p, N& out);
void parsErrorStmt(char const*& p, N& out);
void parsAssignListStmt(char const*& p, N& out, CNodeType type);
// "(" names ")" as a `CN_NAMES` of `CN_VAR`s, each with its span.
N parse_name_list(char const*& p);
// Any number of "(freeze)"; sets child1 of 'names' to 1.
void parsRanefFreeze(char const*& p, N& names);

// Observation statements.
void parsObserveStmt(char const*& p, N& out);
void parsObserve1Stmt(char const*& p, N& out);
void parsMultiStmt(char const*& p, N& out);
void parsOrdinalStmt(char const*& p, N& out);
void parsLLStmt(char const*& p, N& out);
void parsEventStmt(char const*& p, N& out);
void parsCountStmt(char const*& p, N& out);

// Action code.
void parsSequenceStmt(char const*& p, N& out, int allowSleep);
void parsSequence(char const*& p, N& out);
void parsHookAction(char const*& p, N& out);
void parsAppendix(char const*& p, N node, int allowSimulate);

// include("name") clauses in front of a model or a trial script, each appended to
// 'includes' as a `CN_FILE` node.
void parsIncludes(char const*& p, NV& includes);

// Override blocks behind a model. A `CReplacement` is one edit of the model buffer: the text
// from 'start' up to 'end' becomes 'text'.
struct CReplacement {
    char const* start;
    char const* end;
    std::string text;
};

// The model text of an override block, behind the word "override".
void parsOverride(char const*& p, N& out);
// Merges the override's fixed effects and omegas into the model's tree.
void incorporateOverride(N model, N over);
// Appends the edits that put the override's values into the model's text, ordered by start.
void GetReplacements(N model, N over, std::vector<CReplacement>& out);
// The text from 'text' on with the ordered 'edits' made, up to the end of the last one.
std::string ApplyReplacements(char const* text, std::vector<CReplacement> const& edits);

extern SV DelayDists;

void parsExpr(char const*& p, N& out, int allowAssign);
void parsAssign(char const*& p, N& out, int allowAssign);
void parsExprList(char const*& p, NV& out);
bool seeLExpr(char const*& p, N& out);

void parsUnits(char const*& p, N& out);
void parsUnitExpr(char const*& p, N& out);
void parsUnitProduct(char const*& p, N& out);
void parsUnitPrim(char const*& p, N& out);

// Counts the levels of nesting entered through it for as long as it lives, and refuses text
// nested deeper than the stack of the parser and of the later walks over the tree can take.
// A binary level enters once per operator, since each makes the tree one level deeper.
class DepthGuard {
  public:
    DepthGuard() = default;

    explicit DepthGuard(char const* p) { Enter(p); }

    ~DepthGuard();
    DepthGuard(DepthGuard const&) = delete;
    DepthGuard& operator=(DepthGuard const&) = delete;

    void Enter(char const* p);

  private:
    int entered = 0;
};

// ---- Distributions and file sampling (pars_distrib.cpp, pars_sample.cpp, block_parser.cpp) ---

// A distribution of a `distrib` right side, kinds CN_DIST_P to CN_DIST_MVT, with the
// sample(...) clause that may follow it. Copied as a CNode it becomes a plain node.
class Dist : public CNode {
  public:
    std::unique_ptr<CSampleOption> pSampleOption;

    Dist(CNodeType type, N c1);
    Dist(CNodeType type, N c1, N c2);
    Dist(CNodeType type, N c1, N c2, N c3);
    Dist(CNodeType type, N c1, N c2, N c3, N c4);
    Dist(Dist const& other);
    Dist& operator=(Dist const& other);
    void swap(Dist& other);

    // For direct callers only: CNode::Equal never reaches this overload.
    using CNode::equal_impl;
    virtual bool equal_impl(cn const& other) const;
};

// One `name = column` argument of the sample statement.
struct SimpleMapping {
    std::string var;
    std::string column;
};

// One `block(...) = c(...)` or `diag(...) = c(...)` argument of the sample statement.
struct MatrixMapping {
    std::vector<std::string> vars;
    std::vector<std::string> columns;
};

// The sample statement: values drawn from the rows of a file, kind CN_SAMPLE.
class Sample : public CNode {
  public:
    std::vector<SimpleMapping> simpleMappings;
    std::vector<MatrixMapping> blockMappings;
    std::vector<MatrixMapping> diagMappings;
    std::string sFileName;
    std::string sMode;

    Sample();
    virtual std::string const& GetFileName() const;
    // 1 for the mode "random", else 0.
    virtual int GetMode() const;
    using CNode::equal_impl;
    virtual bool equal_impl(cn const& other) const;
    void swap(Sample& other);
};

void parsDistribStmt(char const*& p, N& out);
void parsSubpop(char const*& p, int* cats, N& out, N subpops, int* count);
void parsDistribRHS(char const*& p, int* cats, Dist*& out);
void parsDistribRHSPrimaryAndLimits(char const*& p, N& out);

// The sampling sub-parser reports by throwing `syntax_error`, which its caller turns into a
// report at the place of the fault.
namespace sampling {
[[noreturn]] void syntax_err(char const* msg, char const* where);
}

int parse_sample(char const*& p, Dist* dist);
int parse_sample(char const*& p, CSampleOption*& out);
int parse_sample(char const*& p, Sample*& out);
// The sample statement in a statement list: false when none stands here; a fault is
// reported with SetErr at its place, with the line count kept right.
bool parsSampleStmt(char const*& p, N& out);

// Balanced text: "(" with ")" and the double quote with itself; inside quotes only the quote
// has meaning. Over the script text it counts the lines it walks; over a view, the end of the
// view is the end of the text.
class block_parser {
  public:
    block_parser();
    explicit block_parser(std::string_view within);

    // The text between the opener under 'p' and its closer; 'p' moves behind the closer.
    // False when 'open' is not under the cursor.
    bool parse_block(char const*& p, char open, std::string_view& out);
    // Splits at the commas outside every block, trimming each item; empty items are kept.
    // False when the blocks are not balanced at the end.
    template <class T> bool parse_list(std::string_view const& text, std::vector<T>& items);

  private:
    void Clear();
    void Count(char c);
    bool AllClosed() const;
    bool AtEnd(char const* q) const;

    bool isOpener[256];
    unsigned char openerOf[256];
    int count[256];
    char const* end;
    bool bCountLines;
};

// The word, then a balanced "(...)" split into items. On the script text a word without its
// list is the error "braced list expected"; on a view it is no call, and neither is text
// behind the list.
template <class T> bool parse_call(char const*& p, char const* word, std::vector<T>& items);
template <class T>
bool parse_call(std::string_view const& text, char const* word, std::vector<T>& items);
template <class T> bool parse_braced_list(char const*& p, std::vector<T>& items);
bool parse_assignment(std::string_view const& text, std::string_view& left,
                      std::string_view& right);
bool is_id(std::string_view const& text);
std::string_view unquote(std::string_view const& text);
std::string_view trim(std::string_view const& text);

// ---- Trial scripts (pars_cohort.cpp, pars_proc.cpp) -----------------------------------------

// What parsCohort read: models, join blocks, units blocks, procedures, global int and double
// names. Emptied at the start of each script.
extern NV paModel;
extern NV paJoin;
extern NV paUnits;
extern NV paProc;
extern NV paGlobalInt;
extern NV paGlobalDbl;

// The kinds of procedure: 0 "main", 1 "proc", 2 "subject", 3 "sproc".
enum ProcKind { PROC_MAIN = 0, PROC_PROC = 1, PROC_SUBJECT = 2, PROC_SPROC = 3 };

void parse_model_impl(char const*& p, N& out);
void parsCohort(char const*& p);
void parsProc(char const*& p, N& out, int kind);
void parsProcBlock(char const*& p, N& out, int kind);
void parsProcStmt(char const*& p, N& out, int kind);
void parsJoin(char const*& p, N& out);
void parsJoinStmt(char const*& p, N& out);
void parsAllocationStmt(char const*& p, N& out);

// The branches of action code and of procedures, with the statement parser of their arms;
// 'mode' is passed to it unchanged.
typedef void (*ArmParser)(char const*& p, N& out, int mode);
void parsIfChain(char const*& p, N& out, ArmParser arm, int mode);
void parsWhileLoop(char const*& p, N& out, ArmParser arm, int mode);
