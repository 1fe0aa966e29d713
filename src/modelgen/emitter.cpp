// The expression emitter: prints an expression tree as generated C++ text through a
// visitor that decides where the text goes and how powers and calls are written. It casts
// variables and conditional arms for the dual-number type of the assignment being printed,
// and warns of powers whose base vanishes at time 0.
#include "analysis/analysis.h"
#include "modelgen/modelgen.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <deque>
#include <set>
#include <string>

SV saAssign;
NV paAssign;

// Precedence of each kind when printed; kinds from 126 on have 0.
// clang-format off
static signed char const precedence[126] = { // ORDER CNodeType
    100, // CN_NONE
    80, // CN_MEMBER
    82, // CN_VAR
    0, // CN_NAMES
    70, // CN_NUM
    0, // CN_VALUES
    30, // CN_ADD
    30, // CN_SUB
    40, // CN_MUL
    40, // CN_DIV
    62, // CN_NEG
    50, // CN_POW
    20, // CN_GE
    20, // CN_LE
    20, // CN_EQ
    20, // CN_NE
    20, // CN_GT
    20, // CN_LT
    16, // CN_AND
    14, // CN_OR
    60, // CN_NOT
    10, // CN_ASSIGN
    12, // CN_COND
    70, // CN_LIMITS
    0, // CN_TABLE
    0, // CN_TABLE_X
    0, // CN_TABLE_Y
    0, // CN_DERIV
    0, // CN_URINECPT
    0, // CN_TRANSIT
    0, // CN_DELAYINFCPT
    70, // CN_CALL
    0, // CN_UNIF_CONTROLLED
    0, // CN_NORM_CONTROLLED
    70, // CN_CV_MEAN
    70, // CN_CV_MEDIAN
    70, // CN_DELAY
    70, // CN_PEAK
    0, // CN_PEAKRESET
    0, // CN_DOSEPOINT
    0, // CN_DOSEPOINT2
    0, // CN_CFMICRO
    0, // CN_CFMACRO1
    0, // CN_CFMACRO
    0, // CN_COVARIATE
    0, // CN_FCOVARIATE
    0, // CN_INTERPOLATE
    0, // CN_FIXEF
    0, // CN_CONSTRAIN
    0, // CN_GROUP
    0, // CN_STPARM
    0, // CN_SECONDARY
    0, // CN_RANEF5
    0, // CN_RANEF4
    0, // CN_RANEF3
    0, // CN_RANEF2
    0, // CN_RANEF1
    0, // CN_RANEF_BLOCK
    0, // CN_VARIANCE_DIAG
    0, // CN_RANEF_SAME
    0, // CN_ERROR
    0, // CN_VCVFIXEF
    0, // CN_IWNDF
    0, // CN_DISTRIB_SUBPOPS
    0, // CN_DISTRIB
    0, // CN_DIST_LIST
    0, // CN_DISTRIB_CONT
    0, // CN_DISTRIB_CATEG
    0, // CN_NAMED_NUM
    0, // CN_DIST_P
    0, // CN_DIST_NORM
    0, // CN_DIST_LOGNORM
    0, // CN_DIST_BETA
    0, // CN_DIST_BETAMEAN
    0, // CN_DIST_BINOMIAL
    0, // CN_DIST_CHISQ
    0, // CN_DIST_CONSTANT
    0, // CN_DIST_EXPONENTIAL
    0, // CN_DIST_GAMMA
    0, // CN_DIST_INVGAMMA
    0, // CN_DIST_LOGISTIC
    0, // CN_DIST_NEGBIN
    0, // CN_DIST_POISSON
    0, // CN_DIST_STUDENTT
    0, // CN_DIST_UNIFORM
    0, // CN_DIST_WEIBULL
    0, // CN_DIST_MVN
    0, // CN_DIST_MVT
    0, // CN_OBSERVE
    0, // CN_MULTI
    0, // CN_LL
    0, // CN_EVENT
    0, // CN_COUNT
    0, // CN_OBSERVE1
    0, // CN_PROC_OBSERVE
    0, // CN_PROC_BOLUS
    0, // CN_PROC_INFUSE
    0, // CN_BLOCK
    0, // CN_SEQUENCE
    0, // CN_SLEEP
    0, // CN_ADDTOCPT
    0, // CN_WHILE
    0, // CN_IF
    0, // CN_FOR
    0, // CN_STEADYSTATE
    0, // CN_INT_DECL
    0, // CN_DOUBLE_DECL
    0, // CN_START
    0, // CN_PROC_CALL
    0, // CN_COLLECT
    0, // CN_FILE
    0, // CN_MODEL
    0, // CN_JOIN
    0, // CN_JOIN_ITEM
    0, // CN_UNITS
    0, // CN_PROC
    0, // CN_PROC_SUBJECT
    0, // CN_PROC_SPROC
    0, // CN_SUSPEND
    0, // CN_RESUME
    82, // CN_UNIT_TIME
    82, // CN_UNIT_NAME
    40, // CN_UNIT_MUL
    42, // CN_UNIT_DIV
    70, // CN_UNIT_LOG
    70, // CN_UNIT_EXP
};

// clang-format on

static int Precedence(CNodeType t) {
    return t >= 0 && t < 126 ? precedence[t] : 0;
}

// The open assignment contexts: what the target of the printed right side is.
struct AssignmentContext {
    bool real, theta, eta;
};

static bool in_assignment = false;
static bool real_assignment = false;
static bool dual_theta_assignment = false;
static bool dual_eta_assignment = false;
static bool full_dual_assignment = false;
static std::deque<AssignmentContext> assignments;

static void LoadContext(bool real, bool theta, bool eta) {
    in_assignment = true;
    real_assignment = real;
    dual_theta_assignment = theta;
    dual_eta_assignment = eta;
    full_dual_assignment = theta && eta;
}

void set_assignment(bool theta, bool eta) {
    LoadContext(!theta && !eta, theta, eta);
    assignments.push_back({real_assignment, theta, eta});
}

void set_assignment(char const* var) {
    set_assignment(is_var_dual_fixef(var), is_var_dual_ranef(var));
}

void pop_assignment() {
    if (!assignments.empty()) assignments.pop_back();
    if (assignments.empty()) return reset_assignment();
    AssignmentContext const& top = assignments.back();
    LoadContext(top.real, top.theta, top.eta);
}

void reset_assignment() {
    in_assignment = real_assignment = false;
    dual_theta_assignment = dual_eta_assignment = full_dual_assignment = false;
    assignments.clear();
}

duality_kind operator||(duality_kind a, duality_kind b) {
    return duality_kind{a.theta || b.theta, a.eta || b.eta};
}

// The cast that makes a value the type of the open context.
static char const* ContextCast() {
    if (real_assignment) return "(double)";
    if (full_dual_assignment) return "(NUM)";
    if (dual_theta_assignment) return "(ThetaType)";
    if (dual_eta_assignment) return "(EtaType)";
    return "";
}

// The cast in front of a variable: closed-form outputs take the context's type; other dual
// variables are cast only to double.
static char const* VariableCast(char const* name) {
    if (!is_cfm(name)) return real_assignment && is_var_dual(name) ? "(double)" : "";
    return ContextCast();
}

// The template argument of the routines that exist for each number type.
char const* GetContextTypeArgument() {
    if (full_dual_assignment) return "<NUM>";
    if (dual_theta_assignment) return "<ThetaType>";
    if (dual_eta_assignment) return "<EtaType>";
    return "<double>";
}

// Whole numbers of the 32-bit range print with "%g" (so 1234567 is cut to 1.23457e+06),
// all others with 19 digits; a text that doesn't look like a floating value gets ".0".
// Below a million, "%g" prints a whole number's digits as they are: to_chars does that at a
// fraction of the cost (-0 is left to snprintf).
static std::string NumberText(double value) {
    char buf[64];
    if (std::fabs(value) < 1e6 && value == std::trunc(value) &&
        !(value == 0 && std::signbit(value))) {
        char* end = std::to_chars(buf, buf + sizeof buf, int(value)).ptr;
        return std::string(buf, end) + ".0";
    }
    bool whole32 = value >= INT_MIN && value <= INT_MAX && value == double(int(value));
    snprintf(buf, sizeof buf, whole32 ? "%g" : "%19.19g", value);
    std::string text(buf);
    text.erase(0, text.find_first_not_of(' '));
    if (text.find_first_of("eE.") == std::string::npos) text += ".0";
    return text;
}

char const* GenerateDistType(String const& name) {
    if (name == "Weibull") return "DelayDistType::Weibull";
    if (name == "InverseGaussian") return "DelayDistType::InvGauss";
    return "DelayDistType::Gamma";
}

duality_kind is_expression_dual(cn const& node) {
    if (!node) return duality_kind{};
    switch (node->type) {
        case CN_VAR:
            return duality_kind{is_var_dual_fixef(node->name), is_var_dual_ranef(node->name)};
        case CN_ADD:
        case CN_SUB:
        case CN_MUL:
        case CN_DIV:
        case CN_NEG:
        case CN_POW: return is_expression_dual(node->child1) || is_expression_dual(node->child2);
        case CN_COND: return is_expression_dual(node->child2) || is_expression_dual(node->child3);
        default: return duality_kind{};
    }
}

// Whether 't' is a pure factor of the expression, so that it vanishes at time 0.
bool suspicious(N const& node, CNodeType parent) {
    if (!node) return false;
    if (node->type == CN_VAR) return node->name == "t";
    CNodeType c = node->type == CN_NEG ? parent : node->type;
    if (c != CN_MUL && c != CN_DIV && c != CN_NONE) return false;
    return suspicious(node->child1, c) || suspicious(node->child2, c);
}

// Whether the base of a power depends on time. When time is a pure factor of it, the power
// is warned of in the log, once per text of base and exponent in the run.
bool has_time(N const& base, N const& exponent) {
    static std::set<std::string> has_time_checked;
    N expanded = FullyExpand(base, saAssign, paAssign);
    bool hasTime = expanded->CountContains("t") > 0;
    if (!hasTime || !base->pos.start || !exponent->pos.start) return hasTime;
    std::string baseText = base->pos.get_str(), exponentText = exponent->pos.get_str();
    if (!has_time_checked.insert(baseText + "^" + exponentText).second) return hasTime;
    if (!suspicious(expanded, CN_NONE)) return hasTime;
    int iFail = 0;
    N simple = exponent->Simp(iFail);
    if (!simple || iFail) return hasTime;
    if (simple->type != CN_NUM)
        Warning() << "pow(" << baseText << ", " << exponentText
                  << ") may return infinity at time = 0" << std::endl;
    else if (simple->value < 0)
        Warning() << "pow(" << baseText << ", " << exponentText
                  << ") will return infinity at time = 0" << std::endl;
    return hasTime;
}

// Puts the visitor's parent kind back on every way out of a node.
class ParentScope {
  public:
    ParentScope(NodeVisitor* v, CNodeType t) : visitor(v), saved(v->iParent) { v->iParent = t; }

    ~ParentScope() { visitor->iParent = saved; }

    CNodeType parent() const { return saved; }

  private:
    NodeVisitor* visitor;
    CNodeType saved;
};

static char const* BinaryOperator(CNodeType t) {
    switch (t) {
        case CN_ADD: return " + ";
        case CN_SUB: return " - ";
        case CN_MUL: return " * ";
        case CN_DIV: return " / ";
        case CN_GE: return " >= ";
        case CN_LE: return " <= ";
        case CN_EQ: return " == ";
        case CN_NE: return " != ";
        case CN_GT: return " > ";
        case CN_LT: return " < ";
        case CN_AND: return " && ";
        case CN_OR: return " || ";
        case CN_UNIT_MUL: return " * ";
        case CN_UNIT_DIV: return " / ";
        default: return nullptr;
    }
}

static void Open(NodeVisitor* v, bool parens) {
    if (parens) v->put_str("(", "%s");
}

static void Close(NodeVisitor* v, bool parens) {
    if (parens) v->put_str(")", "%s");
}

static void GenBinary(cn const& n, NodeVisitor* v, bool parens) {
    Open(v, parens);
    GenCimpl(n->child1, v, false);
    v->put_str(BinaryOperator(n->type), "%s");
    GenCimpl(n->child2, v, true);
    Close(v, parens);
}

// -x, -(x) when bracketed, and -(-x)
static void GenNeg(cn const& n, NodeVisitor* v, bool parens) {
    bool inner = parens || n->child1->type == CN_NEG;
    v->put_str("-", "%s");
    Open(v, inner);
    GenCimpl(n->child1, v, false);
    Close(v, inner);
}

// (test ? (cast)then : (cast)else). Outside an assignment the arms take the type of the
// conditional itself.
static void GenCond(cn const& n, NodeVisitor* v, bool parens) {
    Open(v, parens);
    GenCimpl(n->child1, v, false);
    bool outside = !in_assignment;
    if (outside) {
        duality_kind d = is_expression_dual(n);
        dual_theta_assignment = d.theta;
        dual_eta_assignment = d.eta;
        full_dual_assignment = d.theta && d.eta;
    }
    v->put_str(ContextCast(), " ? %s");
    GenCimpl(n->child2, v, false);
    v->put_str(ContextCast(), " : %s");
    GenCimpl(n->child3, v, false);
    if (outside) dual_theta_assignment = dual_eta_assignment = full_dual_assignment = false;
    Close(v, parens);
}

// zzR_A = rate, and the urine fraction as a factor
static void GenUrine(cn const& n, NodeVisitor* v) {
    v->put_str(n->child1->name, "zzR_%s = ");
    if (!n->child3) return GenCimpl(n->child2, v, false);
    GenCimpl(MakeNode(CN_MUL, n->child2, n->child3), v, false);
}

static void GenOptional(N const& n, NodeVisitor* v, char const* absent) {
    if (n)
        GenCimpl(n, v, false);
    else
        v->put_str(absent, "%s");
}

// The common end of a delay call: ", double(tau), double(shape), 100, DelayDistType::Gamma)".
// The distribution is named by the fourth child.
static void GenDelayArguments(cn const& n, NodeVisitor* v) {
    v->put_str(", double(", "%s");
    GenCimpl(n->child2, v, false);
    v->put_str("), double(", "%s");
    GenOptional(n->child3, v, "1");
    v->put_dbl(100, "), %g");
    v->put_str(GenerateDistType(n->child4 ? n->child4->name : String()), ", %s)");
}

// _delayTable_0.delayFunc(t, x, double(tau), double(shape), 100, DelayDistType::Gamma)
static void GenDelay(cn const& n, NodeVisitor* v) {
    v->put_int(n->iDelayTable, "_delayTable_%d.delayFunc(t, ");
    GenCimpl(n->child1, v, false);
    GenDelayArguments(n, v);
}

static N ListEntry(cn const& n, size_t i) {
    return i < n->list.size() ? n->list[i] : N();
}

// A, then the delayed rate of A: zzR_A = )_delayTable_0.delayFunc(t, _A_irate ... )
static void GenDelayInfCpt(cn const& n, NodeVisitor* v) {
    GenCimpl(n->child1, v, false);
    v->put_str(n->child1->name, "zzR_%s = )");
    v->put_int(n->iDelayTable, "_delayTable_%d");
    v->put_str(n->child1->name, ".delayFunc(t, _%s_irate");
    if (N in = ListEntry(n, 0)) {
        v->put_str(" + double(", "%s");
        GenCimpl(in, v, false);
        v->put_str(")", "%s");
    }
    GenDelayArguments(n, v);
    if (N out = ListEntry(n, 1)) {
        v->put_str(" - (", "%s");
        GenCimpl(out, v, false);
        v->put_str(")", "%s");
    }
}

// _peakTable_0.peakFunc(t, expr, cond, name)
static void GenPeak(cn const& n, NodeVisitor* v) {
    v->put_int(n->iPeakTable, "_peakTable_%d.peakFunc(t, ");
    set_assignment(n->name);
    GenCimpl(n->child1, v, false);
    pop_assignment();
    v->put_str(", ", "%s");
    GenCimpl(n->child2, v, false);
    v->put_str(n->name, ", %s)");
}

// history + (t == .0 ? 0.0 : kernel * calc_sum_x<T>((int)numODE, shape, zzY + start))
static void GenGammaDelay(cn const& n, NodeVisitor* v) {
    GenCimpl(n->child3, v, false);
    v->put_str(ContextCast(), "\n\t+ (t == .0 ? %s0.0");
    v->put_str(ContextCast(), " : %s");
    GenCimpl(n->child4, v, false);
    v->put_str(GetContextTypeArgument(), " * calc_sum_x%s((int)");
    GenCimpl(ListEntry(n, 2), v, false);
    v->put_str(", ", "%s");
    GenCimpl(ListEntry(n, 0), v, false);
    N number = ListEntry(n, 3);
    v->put_int(number ? int(number->value) : 0, ", zzY + GetGammaDelayDEStart(%d)))");
}

// log(u) or exp(u) of a unit expression
static void GenUnitFunction(cn const& n, NodeVisitor* v, char const* fn) {
    if (v->just_looking()) return;
    v->put_str(fn, "%s(");
    GenCimpl(n->child1, v, false);
    v->put_str(")", "%s");
}

static void GenVar(cn const& n, NodeVisitor* v) {
    if (v->just_looking()) return;
    v->put_str(VariableCast(n->name), "%s");
    v->put_str(n->name, "%s");
}

static void GenNum(cn const& n, NodeVisitor* v) {
    if (v->just_looking()) return;
    v->put_str(NumberText(n->value).c_str(), "%s");
}

static void GenAssign(cn const& n, NodeVisitor* v) {
    GenCimpl(n->child1, v, false);
    v->put_str(" = ", "%s");
    set_assignment(n->child1->name);
    GenCimpl(n->child2, v, false);
    pop_assignment();
}

// zzR_A = rate; the noss mark of the statement is not printed
static void GenDeriv(cn const& n, NodeVisitor* v) {
    v->put_str(n->child1->name, "zzR_%s = ");
    GenCimpl(n->child2, v, false);
}

static void GenBracketed(cn const& n, NodeVisitor* v, bool parens, char const* prefix) {
    v->put_str(prefix, "%s");
    Open(v, parens);
    GenCimpl(n->child1, v, false);
    Close(v, parens);
}

// Prints one node. Brackets are wanted below a parent of higher precedence (but for call
// arguments), under a conditional, and for a right operand of equal precedence.
void GenCimpl(cn const& n, NodeVisitor* v, bool bRight) {
    if (!n) return;
    ParentScope scope(v, n->type);
    CNodeType parent = scope.parent();
    int pt = Precedence(n->type), pp = Precedence(parent);
    bool parens = (pt < pp && parent != CN_CALL) || parent == CN_COND || (pt == pp && bRight);
    if (BinaryOperator(n->type)) return GenBinary(n, v, parens);
    switch (n->type) {
        case CN_MEMBER:
            GenCimpl(n->child1, v, false);
            v->put_str(".", "%s");
            return GenCimpl(n->child2, v, false);
        case CN_VAR: return GenVar(n, v);
        case CN_NUM: return GenNum(n, v);
        case CN_NEG: return GenNeg(n, v, parens);
        case CN_POW: return v->visit_pow(n, has_time(n->child1, n->child2));
        case CN_NOT: return GenBracketed(n, v, parens, "!");
        case CN_ASSIGN: return GenAssign(n, v);
        case CN_COND: return GenCond(n, v, parens);
        case CN_LIMITS: return GenBracketed(n, v, parens, "");
        case CN_TABLE:
        case CN_TABLE_X:
        case CN_TABLE_Y: return;
        case CN_DERIV: return GenDeriv(n, v);
        case CN_URINECPT: return GenUrine(n, v);
        case CN_DELAYINFCPT: return GenDelayInfCpt(n, v);
        case CN_CALL: return v->visit_call(n);
        case CN_UNIF_CONTROLLED: return v->put_str("_unifControlled(bSampleEpsilon)", "%s");
        case CN_NORM_CONTROLLED: return v->put_str("_normControlled(bSampleEpsilon)", "%s");
        case CN_CV_MEAN: return v->put_str(n->name, "_mean_%s");
        case CN_CV_MEDIAN: return v->put_str(n->name, "_median_%s");
        case CN_DELAY: return GenDelay(n, v);
        case CN_PEAK: return GenPeak(n, v);
        case CN_UNIT_TIME: return v->put_str("t", "%s");
        case CN_UNIT_LOG: return GenUnitFunction(n, v, "log");
        case CN_UNIT_EXP: return GenUnitFunction(n, v, "exp");
        case CN_GAMMADELAY: return GenGammaDelay(n, v);
        default: return v->put_int(n->type, "<<error in GenC: node type = %d>>");
    }
}

void GenC(cn const& n, NodeVisitor* v) {
    GenCimpl(n, v, false);
}

void GenC(cn const& n, FILE* f) {
    FileGenVisitor v(f);
    GenCimpl(n, &v, false);
}

// 'n' where a double is wanted: printed as a real number even in a dual model.
void GenCReal(cn const& n, FILE* f) {
    set_assignment(false, false);
    GenC(n, f);
    pop_assignment();
}

void GenCstr(cn const& n, String& out) {
    StrGenVisitor v(&out);
    GenCimpl(n, &v, false);
}
