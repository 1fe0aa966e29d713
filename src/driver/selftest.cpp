// The built-in self-checks of the test mode: fixed expressions and statements run through
// the simplifier, the constant test and the parser, each printed with its result.
#include "driver/driver.h"
#include "modelgen/modelgen.h"
#include "parser/parser.h"

#include <string>

// Parses 'text' as an expression (an assignment allowed); an empty pointer on error. The
// text is copied into a buffer that lives to the end of the run, as every parsed text does.
static N ParseText(char const* text, bool statement) {
    std::string* buf = new std::string(std::string(text) + std::string(16, '\0'));
    char const* p = buf->c_str();
    N n;
    SetErr(nullptr, 0, 0, 0, -1);
    try {
        if (statement)
            parsStmt(p, n);
        else
            parsExpr(p, n, 1);
    } catch (SyntaxError const&) {
        return N();
    }
    return IsErrorSet() ? N() : n;
}

static std::string Text(cn const& n) {
    String out;
    GenCstr(n, out);
    return std::string(out);
}

static void CheckSimplifier() {
    static char const* const cases[] = {
        "x + 0", "1 * x * 1", "2 * 3 + x",   "x - x", "x / 1", "0 / x",
        "x ^ 1", "x ^ 0",     "log(exp(x))", "1 / 0", "-(-x)", "(2 + 3) * (x + 0)"};
    printf("simplifier:\n");
    for (char const* text : cases) {
        N n = ParseText(text, false);
        int iFail = 0;
        N s = n ? n->Simp(iFail) : N();
        printf("  %-20s ->  %s%s\n", text, s ? Text(s).c_str() : "?", iFail ? "  (undefined)" : "");
    }
}

static void CheckConstantTest() {
    static char const* const cases[] = {"2 * 3", "k * 2", "x + k", "exp(k) / 2", "t"};
    SV consts;
    consts.push_back("k");
    printf("constant test (k constant):\n");
    for (char const* text : cases) {
        N n = ParseText(text, false);
        printf("  %-20s ->  %s\n", text, n && n->IsConstant(consts) ? "constant" : "not constant");
    }
}

static void CheckStatements() {
    static char const* const cases[] = {"deriv(A = -k*A)",
                                        "dosepoint(A, tlag = 1, rate = r)",
                                        "transit(T, mtt, n, max = 10)",
                                        "delayInfCpt(D, m, s)",
                                        "cfMicro(A1, Cl/V)",
                                        "double(x, y)"};
    printf("statements:\n");
    for (char const* text : cases) {
        N n = ParseText(text, true);
        printf("  %-34s ->  %s\n", text, DumpTree(n).c_str());
    }
}

static void CheckParser() {
    static char const* const cases[] = {
        "a + b * c", "2 ** 3 ** 2",           "a ? b : c ? d : e",  "-x ^ 2",
        "x <- 1",    "mean(wt) + median(wt)", "peak(Cmax = C, max)"};
    printf("parser:\n");
    for (char const* text : cases) {
        N n = ParseText(text, false);
        printf("  %-22s ->  %s\n", text, DumpTree(n).c_str());
    }
}

void RunSelfChecks() {
    CheckSimplifier();
    CheckConstantTest();
    CheckStatements();
    CheckParser();
}
