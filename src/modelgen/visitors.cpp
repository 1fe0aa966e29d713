// The visitors of the emitter: to a file, to a string, with cached calls for the group
// evaluation routine, and a walk that prints nothing but lets the power warnings happen.
#include "modelgen/modelgen.h"

#include <cmath>
#include <string>

// The formats are literals of the generators; model text only ever comes in as an argument.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

static bool IsPlainText(char const* fmt) {
    return fmt[0] == '%' && fmt[1] == 's' && fmt[2] == 0;
}

// Most pieces are printed as they are ("%s"): they go out without a format to read.
void FileGenVisitor::put_str(char const* text, char const* fmt) {
    if (IsPlainText(fmt))
        fputs(text, fp);
    else
        fprintf(fp, fmt, text);
}

void FileGenVisitor::put_int(int value, char const* fmt) {
    fprintf(fp, fmt, value);
}

void FileGenVisitor::put_dbl(double value, char const* fmt) {
    fprintf(fp, fmt, value);
}

// Formats into a buffer of the needed size, so a long name is never cut.
template <class T> static std::string Format(char const* fmt, T value) {
    int len = snprintf(nullptr, 0, fmt, value);
    std::string out(size_t(len > 0 ? len : 0), '\0');
    snprintf(&out[0], out.size() + 1, fmt, value);
    return out;
}

void StrGenVisitor::put_str(char const* text, char const* fmt) {
    if (IsPlainText(fmt))
        *target += text;
    else
        *target += Format(fmt, text).c_str();
}

void StrGenVisitor::put_int(int value, char const* fmt) {
    *target += Format(fmt, value).c_str();
}

void StrGenVisitor::put_dbl(double value, char const* fmt) {
    *target += Format(fmt, value).c_str();
}

static bool BothNumbers(cn const& n) {
    return n->child1->type == CN_NUM && n->child2->type == CN_NUM;
}

static void GenArguments(cn const& call, NodeVisitor* v) {
    for (size_t i = 0; i < call->list.size(); i++) {
        if (i) v->put_str(", ", "%s");
        GenCimpl(call->list[i], v, false);
    }
}

// pow(a, b), pow_check(a, b) when the base depends on time, or the value of two numbers.
void GenerativeVisitor::visit_pow(cn const& n, bool bHasTime) {
    if (BothNumbers(n)) return put_dbl(pow(n->child1->value, n->child2->value), "%g");
    put_str(bHasTime ? "pow_check(" : "pow(", "%s");
    GenCimpl(n->child1, this, false);
    put_str(", ", "%s");
    GenCimpl(n->child2, this, false);
    put_str(")", "%s");
}

// name(args); gammCDF takes plain doubles, CalcTMax is chosen by the context's number type.
void GenerativeVisitor::visit_call(cn const& n) {
    bool plainArgs = n->name == "gammCDF";
    if (plainArgs) set_assignment(false, false);
    if (n->name == "CalcTMax") {
        put_str(GetContextTypeArgument(), "CalcTMax%s(");
    } else {
        put_str(n->name, "%s(");
    }
    GenArguments(n, this);
    if (plainArgs) pop_assignment();
    put_str(")", "%s");
}

// _exp_cached(x, _tempArg[0], _tempResult[0]) for exp, log and ln; others as plain calls.
void CacheVisitor::visit_call(cn const& n) {
    if (n->name != "exp" && n->name != "log" && n->name != "ln")
        return GenerativeVisitor::visit_call(n);
    put_str(n->name, "_%s_cached(");
    GenArguments(n, this);
    for (size_t i = 0; i < n->list.size(); i++)
        put_int(iArgCount++, ", _tempArg[%d]");
    put_int(iResultCount++, ", _tempResult[%d]");
    put_str(")", "%s");
}

// _pow_cached<true>(a, b, _tempArg[0], _tempArg[1], _tempResult[0])
void CacheVisitor::visit_pow(cn const& n, bool bHasTime) {
    if (BothNumbers(n)) return GenerativeVisitor::visit_pow(n, bHasTime);
    put_str(bHasTime ? "_pow_cached<true>(" : "_pow_cached<false>(", "%s");
    GenCimpl(n->child1, this, false);
    put_str(", ", "%s");
    GenCimpl(n->child2, this, false);
    put_int(iArgCount++, ", _tempArg[%d]");
    put_int(iArgCount++, ", _tempArg[%d]");
    put_int(iResultCount++, ", _tempResult[%d]");
    put_str(")", "%s");
}

void CheckVisitor::visit_pow(cn const& n, bool) {
    GenCimpl(n->child1, this, false);
    GenCimpl(n->child2, this, false);
}

void CheckVisitor::visit_call(cn const& n) {
    for (N const& arg : n->list)
        GenCimpl(arg, this, false);
}
