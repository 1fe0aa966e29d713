// The top of a model text: the model header, the statement dispatcher, blocks, and the
// declaration statements double/real, dual_vars/real_vars. A failed statement is reported
// once and parsing resumes at the next statement word.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "parser/parser.h"

int bBqlInModel = 0;
int bVCVFixefSeen = 0;
int bIWNDFSeen = 0;
int bUncertaintySeen = 0;
int bVCVRanefSeen = 0;
int bVCVRanchSeen = 0;
std::vector<std::string> zeroRanefs;

static void parse_stmt_impl(char const*& p, N& out);

// The uncertainty statement excludes the covariance statements, and vcvranef excludes
// vcvranch; reports and answers true when the model breaks either rule.
static bool HasIncompatibleUncertainty(char const* p) {
    if (bUncertaintySeen && (bVCVRanefSeen || bVCVFixefSeen || bVCVRanchSeen || bIWNDFSeen)) {
        SetErr(
            "uncertainty statement is incompatible with vcvfixef, vcvranef, vcvranch statements.",
            p, 0, 0, -1);
        return true;
    }
    if (!bUncertaintySeen && bVCVRanefSeen && bVCVRanchSeen) {
        SetErr("vcvranef and vcvranch are incompatible. Use one or the other.", p, 0, 0, -1);
        return true;
    }
    return false;
}

// Catches the statement's syntax error, keeping what it built; then recovers.
void parsStmt(char const*& p, N& out) {
    try {
        parse_stmt_impl(p, out);
    } catch (SyntaxError const&) {
    }
    if (IsErrorSet()) scanOutOfStmt(p);
}

// block: "{" { stmt [";"] } "}"
static void parsBlock(char const*& p, N& out) {
    DepthGuard guard(p);
    out = MakeNode(CN_BLOCK);
    while (!seeChar(p, '}')) {
        N stmt;
        parsStmt(p, stmt);
        if (IsErrorSet()) return;
        if (stmt) out->list.push_back(stmt);
        seeChar(p, ';');
    }
}

// double ( { id [","] } ) and real ( ... ): variables declared as plain doubles
static void parsDoubleDecl(char const*& p, N& out) {
    String name;
    expect_char(p, '(', "Expected: ( <names of double precision variables> )");
    out = MakeNode(CN_DOUBLE_DECL);
    while (*ScanWhite(p) && !seeChar(p, ')')) {
        if (!seeName(p, name)) return;
        out->list.push_back(MakeNode(name));
        seeChar(p, ',');
    }
}

// dual_vars ( { [","] id } ) and real_vars ( ... ): names forced to be, or not to be, dual.
// Anything else inside the parentheses is refused (nothing would ever consume it).
static void parsForceVars(char const*& p, std::set<std::string>& names) {
    String name;
    expect_char(p, '(', nullptr);
    while (!seeChar(p, ')')) {
        seeChar(p, ',');
        if (!seeName(p, name)) syntax_err("Expected: ')'", p);
        names.insert(std::string(name));
    }
}

// One statement: the first statement word that matches decides; anything else is an
// expression, which is how assignments enter a model.
static void parse_stmt_impl(char const*& p, N& out) {
    ScanWhite(p);
    if (seeWord(p, "double") || seeWord(p, "real")) return parsDoubleDecl(p, out);
    if (seeWord(p, "deriv")) return parsDerivStmt(p, out);
    if (seeWord(p, "urinecpt")) return parsUrineStmt(p, out);
    if (seeWord(p, "transit")) return parsTransitStmt(p, out);
    if (seeWord(p, "delayInfCpt")) return parsDelayInfCptStmt(p, out);
    if (seeWord(p, "fixef")) return parsFixefStmt(p, out);
    if (seeWord(p, "constrain")) return parsConstrainStmt(p, out);
    if (seeWord(p, "ranef") || seeWord(p, "ranef5")) return parsRanefStmt(p, out, CN_RANEF5);
    if (seeWord(p, "ranef4")) return parsRanefStmt(p, out, CN_RANEF4);
    if (seeWord(p, "ranef3")) return parsRanefStmt(p, out, CN_RANEF3);
    if (seeWord(p, "ranef2")) return parsRanefStmt(p, out, CN_RANEF2);
    if (seeWord(p, "ranef1")) return parsRanefStmt(p, out, CN_RANEF1);
    if (seeWord(p, "vcvfixef")) {
        parsUncertaintyStmt(p, out, CN_VCVFIXEF);
        bVCVFixefSeen = 1;
        return;
    }
    if (seeWord(p, "iwndf")) return parsIwndfStmt(p, out);
    if (seeWord(p, "distrib")) return parsDistribStmt(p, out);
    if (seeWord(p, "dosepoint") || seeWord(p, "dosepoint1"))
        return parsDosepointStmt(p, out, CN_DOSEPOINT);
    if (seeWord(p, "dosepoint2")) return parsDosepointStmt(p, out, CN_DOSEPOINT2);
    if (seeWord(p, "cfMacro1")) return parsCfMicroStmt(p, out, CN_CFMACRO1);
    if (seeWord(p, "cfMacro2") || seeWord(p, "cfMacro")) return parsCfMacroStmt(p, out);
    if (seeWord(p, "cfMicro")) return parsCfMicroStmt(p, out, CN_CFMICRO);
    if (seeWord(p, "covariate")) return parsCovariateStmt(p, out, CN_COVARIATE);
    if (seeWord(p, "fcovariate")) return parsCovariateStmt(p, out, CN_FCOVARIATE);
    if (seeWord(p, "interpolate")) return parsCovariateStmt(p, out, CN_INTERPOLATE);
    if (seeWord(p, "table")) return parsTableStmt(p, out);
    if (seeWord(p, "error")) return parsErrorStmt(p, out);
    if (seeWord(p, "LL")) return parsLLStmt(p, out);
    if (seeWord(p, "multi")) return parsMultiStmt(p, out);
    if (seeWord(p, "ordinal")) return parsOrdinalStmt(p, out);
    if (seeWord(p, "event")) return parsEventStmt(p, out);
    if (seeWord(p, "count")) return parsCountStmt(p, out);
    if (seeWord(p, "observe1")) return parsObserve1Stmt(p, out);
    if (seeWord(p, "observe")) return parsObserveStmt(p, out);
    if (seeWord(p, "group")) return parsAssignListStmt(p, out, CN_GROUP);
    if (seeWord(p, "stparm")) return parsAssignListStmt(p, out, CN_STPARM);
    if (seeWord(p, "secondary")) return parsAssignListStmt(p, out, CN_SECONDARY);
    if (seeWord(p, "sequence")) return parsSequence(p, out);
    if (seeWord(p, "dual_vars")) return parsForceVars(p, force_dual);
    if (seeWord(p, "real_vars")) return parsForceVars(p, force_real);
    if (parsSampleStmt(p, out)) return;
    if (seeChar(p, '{')) return parsBlock(p, out);
    parsExpr(p, out, 1);
}

// model: id "(" [ id { "," id } ] ")" stmt
void parse_model_impl(char const*& p, N& out) {
    bBqlInModel = bUncertaintySeen = bVCVFixefSeen = bVCVRanefSeen = bVCVRanchSeen = 0;
    bIWNDFSeen = 0;
    String name;
    ScanWhite(p);
    if (!seeName(p, name)) syntax_err("Expected: <model name>", p);
    expect_char(p, '(', "Expected: ( <model input parameters> )");
    N header = MakeNode(CN_CALL, name);
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        if (!seeName(p, name)) syntax_err("Expected: variable", p);
        header->list.push_back(MakeNode(name));
    }
    N body;
    parsStmt(p, body);
    if (IsErrorSet()) return;
    if (HasIncompatibleUncertainty(p)) return;
    // A body of one bare statement that left no node (dual_vars, a ranef of zero omegas only)
    // or that turned random effects off gets a block, which takes the assignments below.
    if (!body || (body->type != CN_BLOCK && !zeroRanefs.empty())) {
        N block = MakeNode(CN_BLOCK);
        if (body) block->list.push_back(body);
        body = block;
    }
    out = MakeNode(CN_MODEL, header, body);
    for (std::string const& ranef : zeroRanefs)
        body->list.push_back(MakeNode(
            CN_ASSIGN, MakeNode(ranef.c_str()), MakeNode(0.0)));
}

void parsModel(char const*& p, N& out) {
    try {
        parse_model_impl(p, out);
    } catch (SyntaxError const&) {
    }
}
