// The log-likelihood that generated models compute for one observation, against the textbook
// formulas evaluated here: Gaussian errors (additive, proportional, on the log scale), a value
// below the quantification limit, a count and an event.
#include "numeric_support.h"

#include <cmath>
#include <cstring>

namespace {

using namespace numeric;

double const pi = 3.14159265358979323846;

double LogNormal(double x, double sig) {
    return -0.5 * (x / sig) * (x / sig) - log(sig) - 0.5 * log(2 * pi);
}

double LogPhi(double z) {
    return log(0.5 * erfc(-z / sqrt(2.0)));
}

// Starts a subject with a dose of 100 at t = 0, moves to t = 2 and prints the concentration C
// and the log-likelihood of the observation named by argv[1] with value argv[2], flag argv[3].
char const* const llHarness = R"(
int main(int argc, char** argv) {
    if (argc < 4) return 2;
    bEnableLogTransform = 1;
    run::Subject s;
    s.doses.push_back({0, 100, "A1"});
    run::Start(s);
    run::AdvanceTo(2.0);
    double ll[1] = {0}, grad[64] = {0};
    int nObs = 0;
    double c = run::Read("C");
    GetLL(ll, grad, &nObs, 2.0, argv[1], atof(argv[2]), atoi(argv[3]));
    printf("%.17g %.17g %d\n", c, ll[0], nObs);
    return 0;
}
)";

char const* const model = "test() {\n deriv(A1 = -Cl / V * A1)\n dosepoint(A1)\n C = A1 / V\n"
                          " error(eps = 0.5)\n error(e2 = 0.2)\n"
                          " observe(CObs = C + eps, bql)\n observe(CProp = C * (1 + e2))\n"
                          " count(N1, h)\n event(E1, h)\n h = 0.3\n"
                          " stparm(V = tvV, Cl = tvCl)\n fixef(tvV = 10, tvCl = 2)\n}\n";

char const* const logModel = "test() {\n deriv(A1 = -Cl / V * A1)\n dosepoint(A1)\n C = A1 / V\n"
                             " error(eps = 0.3)\n observe(CObs = C * exp(eps))\n"
                             " stparm(V = tvV, Cl = tvCl)\n fixef(tvV = 10, tvCl = 2)\n}\n";

// C and the log-likelihood of one observation.
struct LL {
    double c, ll;
};

LL Evaluate(std::string const& dir, char const* name, double v, int iql) {
    char args[256];
    snprintf(args, sizeof args, "%s %.17g %d", name, v, iql);
    std::vector<double> out = Numbers(dir, args);
    if (out.size() != 3) {
        ADD_FAILURE() << "no result for " << name;
        return {0, 0};
    }
    EXPECT_EQ(1, out[2]) << name << ": one observation counted";
    return {out[0], out[1]};
}

std::string Built(char const* name, char const* text) {
    std::string dir = WorkDir(name);
    EXPECT_TRUE(Translate(dir, text)) << ReadFile(dir + "/log");
    EXPECT_TRUE(Compile(dir, HarnessHead() + llHarness));
    return dir;
}

TEST(Likelihood, MatchesTextbookFormulas) {
    std::string dir = Built("ll", model);
    double h = 0.3 * 2; // accumulated hazard at t = 2
    LL a = Evaluate(dir, "CObs", 7.1, 0);
    EXPECT_TRUE(Close(LogNormal(7.1 - a.c, 0.5), a.ll, 1e-9)) << "additive";
    LL b = Evaluate(dir, "CObs", 0.05, 1);
    EXPECT_TRUE(Close(LogPhi((0.05 - b.c) / 0.5), b.ll, 1e-9)) << "below the limit";
    LL p = Evaluate(dir, "CProp", 7.1, 0);
    EXPECT_TRUE(Close(LogNormal(7.1 - p.c, 0.2 * p.c), p.ll, 1e-9)) << "proportional";
    LL n = Evaluate(dir, "N1", 2, 0);
    EXPECT_TRUE(Close(2 * log(h) - h - log(2.0), n.ll, 1e-8)) << "count";
    LL e = Evaluate(dir, "E1", 1, 0);
    EXPECT_TRUE(Close(-h + log(0.3 + 1e-8), e.ll, 1e-8)) << "event";

    std::string logDir = Built("ll_log", logModel);
    LL l = Evaluate(logDir, "CObs", 7.1, 0);
    EXPECT_TRUE(Close(LogNormal(log(7.1) - log(l.c), 0.3), l.ll, 1e-9)) << "log scale";
}

// Without the error's size in sigma the check above fails.
TEST(Likelihood, MissingSigmaFactorIsCaught) {
    std::string dir = WorkDir("ll_mutated");
    ASSERT_TRUE(Translate(dir, model));
    std::string text = ReadFile(dir + "/Model.cpp");
    size_t at = text.find("\t\t_sig *= _std;\n");
    ASSERT_NE(std::string::npos, at);
    WriteFile(dir + "/Model.cpp", text.erase(at, strlen("\t\t_sig *= _std;\n")));
    ASSERT_TRUE(Compile(dir, HarnessHead() + llHarness));
    LL a = Evaluate(dir, "CObs", 7.1, 0);
    EXPECT_FALSE(Close(LogNormal(7.1 - a.c, 0.5), a.ll, 1e-6));
}

} // namespace
