// Public header of the language front end: the scanner's tests on the text buffer, the
// known-word tables, the recovery walk, and the parse routines of models and trial scripts.
#pragma once

#include "expr/expr.h"

#include <string>
#include <vector>

// Size of every buffer that receives an identifier, a string or the text of a number.
// A longer word is not recognised: the test fails and the caller reports what it expected.
constexpr int NAME_BUF_SIZE = 1024;

extern int bAllowUnderscore;
extern char const* const saKnownStatement[];
extern char const* const saKnownFunction[];

char const* ScanWhite(char const*& p);
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
