// Tests of the test run-time library by itself: the scheduler's order and macros, the closed
// forms and the solver against exact solutions, and the moments of the random routines.
#include "DataReader.h"
#include "MatrixInvert.h"
#include "PKPDModel.h"
#include "RTL.h"
#include "StateMachine.h"
#include "trialrun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::string trace;

// Writes its name and state at each entry: sleeps 'delay' at 'priority', then ends.
struct Sleeper : StateMachine {
    char const* name;
    double delay;
    int priority;

    Sleeper(char const* n, double d, int p) : name(n), delay(d), priority(p) {}

    void Print(FILE* f, int nIndent) override { fprintf(f, "%*s%s\n", nIndent, "", name); }

    void Run(int iState, double tAbsTime, double) override {
        trace +=
            std::string(name) + std::to_string(iState) + "@" + std::to_string(int(tAbsTime)) + " ";
        if (iState == 1) goto L1;
        SLEEP(1, delay, priority);
        Destroy();
    }
};

// Starts two sleepers, calls a third, suspends, and is resumed by name from 'waker'.
struct Parent : StateMachine {
    int IsSubject() override { return 1; }

    void Print(FILE* f, int nIndent) override { fprintf(f, "%*sparent\n", nIndent, ""); }

    void Run(int iState, double tAbsTime, double) override;
};

// Calls back its caller at state 2 when it ends, as a generated Finally does.
struct Callee : Sleeper {
    StateMachine* caller;

    Callee(StateMachine* c) : Sleeper("callee", 1, 0), caller(c) {}

    void Run(int iState, double tAbsTime, double eps) override {
        Sleeper::Run(iState, tAbsTime, eps);
        if (iState == 1) EnQueue(caller, 2);
    }
};

struct Waker : StateMachine {
    void Run(int, double tAbsTime, double) override {
        trace += "wake@" + std::to_string(int(tAbsTime)) + " ";
        RESUME(parent);
        Destroy();
    }
};

void Parent::Run(int iState, double tAbsTime, double) {
    switch (iState) {
        case 2: goto L2;
        case 3: goto L3;
    }
    START(new Sleeper("late", 5, 0));
    START(new Sleeper("early", 2, 0));
    START(new Sleeper("first", 2, -1));
    CALL(2, new Callee(this));
    trace += "back@" + std::to_string(int(tAbsTime)) + " ";
    EnQueue(new Waker, 0, 4, 0);
    SUSPEND(3);
    trace += "resumed@" + std::to_string(int(tAbsTime)) + " ";
    Destroy();
}

} // namespace

// Equal times go by priority, then by the order of queueing; CALL waits for its callee;
// SUSPEND waits for a RESUME of the machine's name; a subject outlives Destroy until the
// machines it started have ended.
TEST(Scheduler, OrdersEntriesAndRunsTheMacros) {
    trace.clear();
    Parent* parent = new Parent;
    parent->EnQueue(parent, 0, 0, 0);
    int const before = trialrun::LiveMachines();
    trialrun::RunQueue();
    EXPECT_EQ("late0@0 early0@0 first0@0 callee0@0 callee1@1 back@1 first1@2 early1@2 wake@4 "
              "resumed@4 late1@5 ",
              trace);
    EXPECT_EQ(before - 1, trialrun::LiveMachines()); // all gone, the parent last
}

namespace {

// |want - got| within 'rel' of |want|, or 1e-12 near 0.
::testing::AssertionResult Close(double want, double got, double rel) {
    if (std::fabs(want - got) <= rel * std::max(std::fabs(want), 1e-12))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "want " << want << ", got " << got;
}

} // namespace

TEST(ClosedForm, MatchesExactSolutions) {
    double const k = 0.2, ka = 1.3, k12 = 0.3, k21 = 0.15, D = 100, R = 7;
    double s = k + k12 + k21, p = k * k21, d = std::sqrt(s * s - 4 * p);
    double alpha = (s + d) / 2, beta = (s - d) / 2;
    for (double t : {0.3, 2.0, 11.0, 40.0}) {
        Ccf2machine oral, two, inf, macro, macroOral;
        oral.InitMicro1(k);
        oral.Add1stOrd(1, ka);
        oral.AddValA(D);
        oral.Advance(t);
        EXPECT_TRUE(Close(D * ka / (ka - k) * (std::exp(-k * t) - std::exp(-ka * t)),
                          oral.GetVal1(), 1e-12));
        EXPECT_TRUE(Close(D * std::exp(-ka * t), oral.GetValA(), 1e-12));

        two.InitMicro2(k, k12, k21);
        two.AddVal1(D);
        for (int i = 0; i < 4; i++) // in pieces
            two.Advance(t / 4);
        double c1 = D *
                    ((alpha - k21) * std::exp(-alpha * t) - (beta - k21) * std::exp(-beta * t)) /
                    (alpha - beta);
        EXPECT_TRUE(Close(c1, two.GetVal1(), 1e-11));

        inf.InitMicro1(k);
        inf.SetRate1(R);
        inf.SetTimeOfStateCF(10);
        inf.SetTimeOfGetValCF(10 + t); // read ahead of the state, which stays
        EXPECT_TRUE(Close(R / k * (1 - std::exp(-k * t)), inf.GetVal1(), 1e-12));
        EXPECT_EQ(0, inf.GetVal2());

        macro.InitMacro2New(0, 0, 0.6, alpha, 0.4, beta);
        macro.AddVal1(D);
        macro.Advance(t);
        EXPECT_TRUE(Close(D * (0.6 * std::exp(-alpha * t) + 0.4 * std::exp(-beta * t)),
                          macro.GetVal1(), 1e-12));

        // The same modes behind a depot: each mode takes its share of the absorbed dose.
        macroOral.InitMacro2New(0, 0, 0.6, alpha, 0.4, beta);
        macroOral.AppendKaNew(ka);
        macroOral.AddVal1(D);
        macroOral.Advance(t);
        auto mode = [&](double c, double e) {
            return c * ka / (ka - e) * (std::exp(-e * t) - std::exp(-ka * t));
        };
        EXPECT_TRUE(Close(D * (mode(0.6, alpha) + mode(0.4, beta)), macroOral.GetVal1(), 1e-11));
    }
}

namespace {

// The logistic equation, y' = y (1 - y), and a rate routine one short.
void Logistic(int* n, double*, double* y, double* r) {
    for (int i = 0; i < *n; i++)
        r[i] = y[i] * (1 - y[i]);
}

void OneShort(int* n, double*, double* y, double* r) {
    for (int i = 0; i + 1 < *n; i++)
        r[i] = y[i];
}

void Solve(void (*f)(int*, double*, double*, double*), std::vector<double>& y, double t1,
           int& ind) {
    int n = int(y.size()), nw = n;
    double x = 0, tol = 1e-6, c[24] = {};
    std::vector<double> w(size_t(9 * n));
    ind = 2;
    dverk_(&n, f, &x, y.data(), &t1, &tol, &ind, c, &nw, w.data());
    EXPECT_EQ(t1, x);
}

} // namespace

TEST(Solver, MatchesExactSolutionAndChecksStateCount) {
    std::vector<double> y0 = {0.01, 0.5, 2.0};
    for (double t : {0.5, 7.0, 30.0}) {
        std::vector<double> y = y0;
        int ind;
        Solve(Logistic, y, t, ind);
        EXPECT_EQ(3, ind);
        for (size_t i = 0; i < y.size(); i++)
            EXPECT_TRUE(Close(1 / (1 + (1 / y0[i] - 1) * std::exp(-t)), y[i], 1e-7));
    }
    std::vector<double> y = y0;
    int ind;
    EXPECT_EXIT(Solve(OneShort, y, 1, ind), ::testing::ExitedWithCode(4),
                "3 states, but the rate routine wrote 2");
}

// Means and variances of the draws over 200,000 samples, within 5 standard errors, and the
// central values with the switch off.
TEST(Random, MomentsOfTheDraws) {
    trialrun::Seed(7);
    int const n = 200000;

    struct Case {
        char const* name;
        double (*draw)();
        double mean, var;
    };

    std::vector<Case> cases = {
        {"unif", [] { return unif(); }, 0.5, 1.0 / 12},
        {"norm", [] { return norm(); }, 0, 1},
        {"rgamma", [] { return rgamma(2.5, 3); }, 7.5, 22.5},
        {"rgamma small shape", [] { return rgamma(0.4, 2); }, 0.8, 1.6},
        {"rbeta", [] { return rbeta(2, 3); }, 0.4, 0.04},
        {"rpoisson", [] { return rpoisson(3.5); }, 3.5, 3.5},
        {"rnegbin", [] { return rnegbin(4, 0.5, 1, TRUE); }, 4, 4 + 0.5 * 16},
        {"studentt", [] { return studentt(6); }, 0, 1.5},
        {"lognormalMeanSD", [] { return lognormalMeanSD(5, 2, TRUE); }, 5, 4},
        {"lognormalMedianSigma", [] { return lognormalMedianSigma(2, 0.3, TRUE); },
         2 * std::exp(0.045), 4 * std::exp(0.09) * (std::exp(0.09) - 1)},
    };
    for (Case const& c : cases) {
        double sum = 0, sum2 = 0;
        for (int i = 0; i < n; i++) {
            double x = c.draw();
            sum += x;
            sum2 += x * x;
        }
        double mean = sum / n, var = sum2 / n - mean * mean;
        EXPECT_NEAR(c.mean, mean, 5 * std::sqrt(c.var / n)) << c.name;
        EXPECT_NEAR(c.var, var, 0.05 * c.var) << c.name;
    }
    EXPECT_EQ(3.5, rpoisson(3.5, 0));
    EXPECT_EQ(5, lognormalMeanSD(5, 2, 0));
    EXPECT_EQ(2, lognormalMedianSigma(2, 0.3, 0));
}

// Multivariate normal draws through a Cholesky factor have the covariance of the matrix; a
// Wishart draw has the mean df times its scale; MatrixInvert inverts.
TEST(Random, MatricesByLowerTriangleRows) {
    trialrun::Seed(11);
    double const a[6] = {4, 1.2, 1, -0.3, 0.1, 0.25};
    double half[6], work[9], x[3];
    ASSERT_TRUE(CholeskyLTRow(3, a, half));
    int const n = 100000;
    double cov[6] = {};
    for (int s = 0; s < n; s++) {
        SampleMVNLTRow(3, half, work, x, TRUE);
        for (int i = 0, k = 0; i < 3; i++)
            for (int j = 0; j <= i; j++, k++)
                cov[k] += x[i] * x[j] / n;
    }
    for (int i = 0, k = 0; i < 3; i++)
        for (int j = 0; j <= i; j++, k++)
            EXPECT_NEAR(a[k], cov[k], 0.03 * std::sqrt(a[i * (i + 3) / 2] * a[j * (j + 3) / 2]));
    SampleMVNLTRow(3, half, work, x, 0);
    EXPECT_EQ(0, x[0] * x[0] + x[1] * x[1] + x[2] * x[2]);

    double mean[6] = {}, w[6], sq[9];
    for (int s = 0; s < 20000; s++) {
        GenWish(3, 7.5, half, work, sq, w, 1);
        for (int k = 0; k < 6; k++)
            mean[k] += w[k] / 20000;
    }
    for (int k = 0; k < 6; k++)
        EXPECT_NEAR(7.5 * a[k], mean[k], 0.03 * 7.5 * 4);

    double inv[6], back[6];
    int bError = 1;
    MatrixInvert(3, a, inv, bError);
    EXPECT_EQ(0, bError);
    MatrixInvert(3, inv, back, bError);
    for (int k = 0; k < 6; k++)
        EXPECT_NEAR(a[k], back[k], 1e-12);
    double full[3][3], finv[3][3];
    for (int i = 0, k = 0; i < 3; i++)
        for (int j = 0; j <= i; j++, k++) {
            full[i][j] = full[j][i] = a[k];
            finv[i][j] = finv[j][i] = inv[k];
        }
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) {
            double s = 0;
            for (int k = 0; k < 3; k++)
                s += full[i][k] * finv[k][j];
            EXPECT_NEAR(i == j ? 1 : 0, s, 1e-12);
        }
}

// Rows in order, again from the first after the last, or at random; cells by column name.
TEST(FileSampler, ReadsRowsByColumn) {
    std::string path = testing::TempDir() + "trialrun_sampler.csv";
    FILE* f = fopen(path.c_str(), "w");
    ASSERT_TRUE(f);
    fputs("id, wt,sex\n1,61.5,male\n2, 80,female\n3,72.25,male\r\n", f);
    fclose(f);
    FileSampler linear, random;
    linear.InitGlobal(path.c_str(), 0);
    random.InitGlobal(path.c_str(), 1);
    double const wt[3] = {61.5, 80, 72.25};
    char const* sex[3] = {"male", "female", "male"};
    for (int i = 0; i < 7; i++) {
        linear.InitSubject();
        double v = 0;
        char cell[512];
        linear.GetDouble("wt", v);
        linear.GetDouble("sex", cell);
        EXPECT_EQ(wt[i % 3], v);
        EXPECT_STREQ(sex[i % 3], cell);
    }
    trialrun::Seed(3);
    int count[3] = {};
    for (int i = 0; i < 30000; i++) {
        random.InitSubject();
        double id = 0;
        random.GetDouble("id", id);
        ASSERT_TRUE(id >= 1 && id <= 3);
        count[int(id) - 1]++;
    }
    for (int c : count)
        EXPECT_NEAR(10000, c, 400);
}
