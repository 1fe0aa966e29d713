// The expression emitter: text in, generated text out.
#include "analysis/analysis.h"
#include "modelgen/modelgen.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

class EmitterTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        reset_assignment();
        dual_vars.clear();
        dual_vars_fixef.clear();
        dual_vars_ranxef.clear();
        cfs.clear();
        saAssign.clear();
        paAssign.clear();
    }

    // Parses an expression (an assignment allowed) from a buffer that outlives the tree.
    N Parse(std::string const& text) {
        buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N n;
        parsExpr(p, n, 1);
        EXPECT_FALSE(IsErrorSet()) << text;
        return n;
    }

    std::string Emit(std::string const& text) {
        String out;
        GenCstr(Parse(text), out);
        return std::string(out);
    }

    std::vector<std::unique_ptr<std::string>> buffers;
};

} // namespace

TEST_F(EmitterTest, BracketsFollowPrecedenceAndSide) {
    struct {
        char const* in;
        char const* out;
    } const cases[] = {
        {"a + b", "(a + b)"},
        {"a + b * c", "(a + b * c)"},
        {"(a - b) - c", "(a - b - c)"},
        {"a - (b - c)", "(a - (b - c))"},
        {"a / (b * c)", "(a / (b * c))"},
        {"(a * b) / c", "(a * b / c)"},
        {"-(a + b)", "-((a + b))"},
        {"y = -(a + b)", "y = -(a + b)"},
        {"-(-x)", "-(-x)"},
        {"-x", "-(x)"},
        {"a * -x", "(a * -x)"},
        {"!(a && b)", "!((a && b))"},
        {"a && b || c", "(a && b || c)"},
        {"exp(a + b)", "exp(a + b)"},
        {"f(a, b * c, -d)", "f(a, b * c, -d)"},
        {"a ? b + 1 : c", "(a ? (b + 1.0) : c)"},
        {"x = a + b", "x = a + b"},
        {"x^2", "pow(x, 2.0)"},
        {"(a + b)^c", "pow((a + b), c)"},
        {"2^3", "8"},
        {"2^0.5", "1.41421"},
        {"m$V * 2", "(m.V * 2.0)"},
        {"mean(wt) / median(wt)", "(_mean_wt / _median_wt)"},
        {"(a < b) == c", "(a < b == c)"},
        {"a == (b < c)", "(a == (b < c))"},
    };

    for (auto const& c : cases)
        EXPECT_EQ(c.out, Emit(c.in)) << c.in;
}

TEST_F(EmitterTest, NumberFormats) {
    struct {
        double value;
        char const* out;
    } const cases[] = {
        {3, "3.0"},
        {-3, "-3.0"},
        {0.1, "0.1000000000000000056"},
        {0.5, "0.5"},
        {999999, "999999.0"},
        {-999999, "-999999.0"},
        {1000000, "1e+06"},
        {-1000000, "-1e+06"},
        {1234567, "1.23457e+06"},
        {2147483647, "2.14748e+09"},
        {2147483648.0, "2147483648.0"},
        {10000000000.0, "10000000000.0"},
        {1e300, "1.000000000000000053e+300"},
        {0, "0.0"},
        {-0.0, "-0.0"},
        {-2147483648.0, "-2.14748e+09"},
    };

    for (auto const& c : cases) {
        String out;
        GenCstr(std::make_shared<CNode>(c.value), out);
        EXPECT_EQ(c.out, std::string(out)) << c.value;
    }
}

// Dual variables are cast to double in a plain target; closed-form outputs take the type of
// the target; the arms of a conditional take the target's type.
TEST_F(EmitterTest, CastsFollowTheAssignmentContext) {
    dual_vars = {"d", "c"};
    dual_vars_fixef = {"th", "both"};
    dual_vars_ranxef = {"et", "both"};
    cfs = {"c"};

    EXPECT_EQ("x = (double)d + (double)c", Emit("x = d + c"));
    EXPECT_EQ("th = d + (ThetaType)c", Emit("th = d + c"));
    EXPECT_EQ("et = d + (EtaType)c", Emit("et = d + c"));
    EXPECT_EQ("both = d + (NUM)c", Emit("both = d + c"));
    EXPECT_EQ("(d + c)", Emit("d + c"));

    EXPECT_EQ("x = q ? (double)a : (double)b", Emit("x = q ? a : b"));
    EXPECT_EQ("both = q ? (NUM)a : (NUM)1.0", Emit("both = q ? a : 1"));
    // Outside an assignment the conditional's own arms decide, not its test.
    EXPECT_EQ("(q ? (ThetaType)th : (ThetaType)b)", Emit("q ? th : b"));
    EXPECT_EQ("(th ? a : b)", Emit("th ? a : b"));
    EXPECT_EQ("(q ? (NUM)th : (NUM)et)", Emit("q ? th : et"));

    // gammCDF evaluates its arguments as plain doubles; the context comes back after it.
    EXPECT_EQ("both = gammCDF((double)c, 2.0) + (NUM)c", Emit("both = gammCDF(c, 2) + c"));
    EXPECT_EQ("th = CalcTMax<ThetaType>(a)", Emit("th = CalcTMax(a)"));
    EXPECT_EQ("CalcTMax<double>(a)", Emit("CalcTMax(a)"));

    set_assignment(true, false);
    set_assignment("x");
    pop_assignment();
    String out;
    GenCstr(Parse("c"), out);
    EXPECT_EQ("(ThetaType)c", std::string(out));
    pop_assignment();
    pop_assignment(); // on an empty stack: everything off
    out = "";
    GenCstr(Parse("c"), out);
    EXPECT_EQ("c", std::string(out));
}

TEST_F(EmitterTest, StatementKindsAndBuiltIns) {
    N deriv = std::make_shared<CNode>(CN_DERIV, Parse("A"), Parse("-k*A"), Parse("d"));
    String out;
    GenCstr(deriv, out);
    EXPECT_EQ("zzR_A = -k * A", std::string(out)); // the noss mark in child3 is not printed

    N urine = std::make_shared<CNode>(CN_URINECPT, Parse("U"), Parse("k*A"), Parse("fe"));
    out = "";
    GenCstr(urine, out);
    EXPECT_EQ("zzR_U = k * A * fe", std::string(out));

    N delay = Parse("delay(x, tau, shape = s, dist = Weibull)");
    delay->iDelayTable = 2;
    out = "";
    GenCstr(delay, out);
    // The distribution is read from the fourth child, the history (here the number 0).
    EXPECT_EQ("_delayTable_2.delayFunc(t, x, double(tau), double(s), 100, DelayDistType::Gamma)",
              std::string(out));

    N peak = Parse("peak(Cmax = C, max = C > 1)");
    peak->iPeakTable = 0;
    out = "";
    GenCstr(peak, out);
    EXPECT_EQ("_peakTable_0.peakFunc(t, C, !((C > 1.0)), Cmax)", std::string(out));

    EXPECT_EQ("<<error in GenC: node type = 47>>", [] {
        String s;
        GenCstr(std::make_shared<CNode>(CN_FIXEF), s);
        return std::string(s);
    }());
    EXPECT_STREQ("DelayDistType::InvGauss", GenerateDistType("InverseGaussian"));
    EXPECT_STREQ("DelayDistType::Weibull", GenerateDistType("Weibull"));
    EXPECT_STREQ("DelayDistType::Gamma", GenerateDistType("Normal"));
}

TEST_F(EmitterTest, GammaDelayPrintsHistoryAndKernel) {
    N g = Parse("gammaDelay(x, m, shape = s, numODE = 20)");
    int n = int(g->list[3]->value);
    String out;
    GenCstr(g, out);
    EXPECT_EQ("0.0 * (1.0 - gammCDF(t, s, m / s, _lgamm_cached(s)))\n"
              "\t+ (t == .0 ? 0.0 : s / m / exp(_lgamm_cached(s)) * pow(s / m * t, s - 1.0)"
              " * calc_sum_x<double>((int)20.0, s, zzY + GetGammaDelayDEStart(" +
                  std::to_string(n) + ")))",
              std::string(out));
}

TEST_F(EmitterTest, CachedCallsNumberTheirSlots) {
    char path[] = "/tmp/varo5_cacheXXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    FILE* f = fdopen(fd, "w+");
    CacheVisitor v(f);
    GenC(Parse("exp(a) + log(b * c) + f(ln(d), e)^x + 2^2"), &v);
    GenC(Parse("exp(y)"), &v);
    rewind(f);
    char buf[512] = {0};
    size_t got = fread(buf, 1, sizeof buf - 1, f);
    buf[got] = 0;
    fclose(f);
    unlink(path);
    EXPECT_EQ("(_exp_cached(a, _tempArg[0], _tempResult[0]) + "
              "_log_cached(b * c, _tempArg[1], _tempResult[1]) + "
              "_pow_cached<false>(f(_ln_cached(d, _tempArg[2], _tempResult[2]), e), x, "
              "_tempArg[3], _tempArg[4], _tempResult[3]) + 4)"
              "_exp_cached(y, _tempArg[5], _tempResult[4])",
              std::string(buf));
    EXPECT_EQ(6, v.iArgCount);
    EXPECT_EQ(5, v.iResultCount);
}

TEST_F(EmitterTest, PowersOfTimeAreFlaggedAndWarnedOnce) {
    char dir[] = "/tmp/varo5_warnXXXXXX";
    ASSERT_NE(nullptr, mkdtemp(dir));
    char old[4096];
    ASSERT_NE(nullptr, getcwd(old, sizeof old));
    ASSERT_EQ(0, chdir(dir)); // the log opens where the first warning is written

    EXPECT_EQ("pow_check((k + t), 2.0)", Emit("(k + t)^2"));
    EXPECT_EQ("pow(k, t)", Emit("k^t"));
    // Expanded through the model's assignments: kt stands for k*t.
    saAssign.push_back("kt");
    paAssign.push_back(Parse("k*t"));
    EXPECT_EQ("pow_check(kt, a)", Emit("kt^a"));

    CheckVisitor check;
    GenC(Parse("y = (k*t)^-1 + (k*t)^-1 + (2*t/k)^a + (k+t)^-1 + (-t)^0.5 + (k*t)^2"), &check);
    Warning().flush();
    // A span is the text up to where the cursor stood when its rule left: behind the blank
    // that the tests for "$" and "(" after the name "a" skipped.
    std::ifstream log(WarningFname);
    std::stringstream text;
    text << log.rdbuf();
    EXPECT_EQ("pow(kt, a) may return infinity at time = 0\n"
              "pow((k*t), -1) will return infinity at time = 0\n"
              "pow((2*t/k), a ) may return infinity at time = 0\n",
              text.str());
    ASSERT_EQ(0, chdir(old));
}
