// The derivatives that generated models print, checked by numbers: the Jacobian of the golden
// models against central differences of their rates, and the derivative parts of dual
// predictions against central differences of plain predictions.
#include "numeric_support.h"

#include <cmath>
#include <filesystem>
#include <regex>

namespace {

using namespace numeric;

std::string GoldenModel(char const* name) {
    return ReadFile(std::string(GOLDEN_DIR) + "/" + name + "/model.mdl");
}

// Random parameters, covariates and states; then for each state the Jacobian's columns
// against central differences of Deriv, and its forcing column against the rates at zero
// states. Prints pairs "want got".
char const* const jacobianHarness = R"(
int main() {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(0.5, 2.0);
    run::Subject s;
    std::vector<double> th = run::Thetas({});
    for (double& v : th) v = u(rng);
    InitModels();
    SetCallbacks(&run::callbacks);
    SwitchMode(AD_Mode::REAL);
    init_fixef(th.data());
    std::vector<double> eta(NRANEF5 + 1);
    for (double& v : eta) v = u(rng) - 1.25;
    init_ranef(eta.data());
    InitSubject();
    for (int i = 0; i < GetNumCovariates(); i++) SetCovariate(0, GetCovariateName(i), u(rng));
    EvalSParms();
    int n = GetNintegAll();
    for (int point = 0; point < 20; point++) {
        double y[N_ODE] = {0}, r1[N_ODE], r2[N_ODE], jac[N_ODE * N_ODE], t = u(rng);
        for (int i = 0; i < n; i++) y[i] = u(rng);
        y[n] = 1;
        for (int i = 0; i < N_ODE; i++) md_real->globalIRate[i] = u(rng);
        Deriv(&t, y, r1);
        Jacobian(y, jac);
        for (int j = 0; j < n; j++) {
            double yj = y[j], h = 1e-5 * yj;
            y[j] = yj + h; Deriv(&t, y, r1);
            y[j] = yj - h; Deriv(&t, y, r2);
            y[j] = yj;
            for (int i = 0; i < n; i++)
                printf("%.17g %.17g\n", (r1[i] - r2[i]) / (2 * h), jac[i + N_ODE * j]);
        }
        double zero[N_ODE] = {0};
        zero[n] = 1;
        Deriv(&t, zero, r1);
        for (int i = 0; i < n; i++) printf("%.17g %.17g\n", r1[i], jac[i + N_ODE * n]);
    }
    return 0;
}
)";

// Pairs of numbers: each pair must agree to 'rel'; at least one pair must exist.
void ExpectPairs(std::vector<double> const& v, double rel, std::string const& what) {
    ASSERT_GE(v.size(), 2u) << what;
    ASSERT_EQ(0u, v.size() % 2) << what;
    int bad = 0;
    for (size_t i = 0; i < v.size() && bad < 5; i += 2)
        if (!Close(v[i], v[i + 1], rel)) {
            ADD_FAILURE() << what << ": pair " << i / 2 << ": "
                          << Close(v[i], v[i + 1], rel).message();
            bad++;
        }
}

std::vector<double> JacobianPairs(std::string const& name, std::string const& model) {
    std::string dir = WorkDir("jac_" + name);
    if (!Translate(dir, model)) {
        ADD_FAILURE() << name << ": " << ReadFile(dir + "/log");
        return {};
    }
    if (!Compile(dir, HarnessHead() + "#include <random>\n" + jacobianHarness)) return {};
    return Numbers(dir);
}

// Every golden model whose Jacobian is printed; models with delay tables, which this engine
// does not run, are left out. Copies run in another mode translate the same model.
TEST(Derivatives, JacobianEqualsCentralDifferencesOfTheRates) {
    int checked = 0;
    for (auto const& entry : std::filesystem::directory_iterator(GOLDEN_DIR)) {
        std::string name = entry.path().filename().string();
        if (name.find("_real_only") != std::string::npos) continue;
        std::string model = ReadFile(entry.path().string() + "/model.mdl");
        std::string dir = WorkDir("jac_" + name);
        if (!Translate(dir, model)) continue; // cases of refused models
        std::string text = ReadFile(dir + "/Model.cpp");
        bool printed = text.find("_piJacobianInfo = 1;") != std::string::npos ||
                       text.find("_piJacobianInfo = 2;") != std::string::npos;
        if (!printed || text.find("_delayTable_") != std::string::npos) continue;
        ExpectPairs(JacobianPairs(name, model), 1e-6, name);
        checked++;
    }
    EXPECT_GE(checked, 10);
}

// A transposed index in the printed Jacobian is caught.
TEST(Derivatives, TransposedJacobianIsCaught) {
    std::string dir = WorkDir("jac_mutated");
    ASSERT_TRUE(Translate(dir, GoldenModel("jacobian_two_cpt")));
    std::string text = ReadFile(dir + "/Model.cpp");
    std::regex entry(R"(_jacobian\[(\d+) \+ N_ODE\*(\d+)\])");
    std::string swapped = std::regex_replace(text, entry, "_jacobian[$2 + N_ODE*$1]");
    ASSERT_NE(text, swapped);
    WriteFile(dir + "/Model.cpp", swapped);
    ASSERT_TRUE(Compile(dir, HarnessHead() + "#include <random>\n" + jacobianHarness));
    std::vector<double> v = Numbers(dir);
    int bad = 0;
    for (size_t i = 0; i + 1 < v.size(); i += 2)
        if (!Close(v[i], v[i + 1], 1e-6)) bad++;
    EXPECT_GT(bad, 0);
}

// Derivative parts of predictions in theta and eta mode against central differences of plain
// predictions. 'reads' are C++ expressions over the model pointer m, e.g. "m->C".
struct DualCase {
    char const* name;
    std::string model;
    std::vector<std::string> reads;
    std::string dose;        // compartment of a dose of 100 at t = 0, or empty
    bool derivatives = true; // some derivative part is not zero
};

std::string DualHarness(DualCase const& c) {
    std::string read = "template <typename M> void Print(M* m, int k) {\n";
    for (std::string const& r : c.reads)
        read += "    printf(\"%.17g\\n\", k < 0 ? double(" + r + ") : Part(" + r + ", k));\n";
    read += "}\n";
    std::string dose = c.dose.empty() ? "" : "s.doses.push_back({0, 100, \"" + c.dose + "\"});\n";
    return HarnessHead() + R"(
template <typename T> double Part(T const& x, int k) { return x.b[k]; }
inline double Part(double, int) { return 0; }
)" + read + R"(
static run::Subject s;
static std::vector<double> th, eta;
template <typename M> void RunAt(AD_Mode mode, M* (&md), int k) {
    s.thetas = th;
    s.etas = eta;
    run::Start(s, mode);
    run::AdvanceTo(2.0);
    md->eval_sparams();
    Print(md, k);
}
int main() {
    )" + dose +
           R"(
    for (int i = 0; i < GetNumCovariates(); i++) s.covariates[GetCovariateName(i)] = 1.3 + 0.1 * i;
    th = run::Thetas({});
    eta.assign(NRANEF5 + 1, 0.05);
    double plain[NFIXEF + NERROR + NRANEF5 + 1][2] = {};
    (void)plain;
#ifdef DUAL_THETA
    for (int i = 0; i < NFIXEF + NERROR; i++) {
        int k = -1;
        s.thetas = th;
        s.etas = eta;
        run::Start(s, AD_Mode::THETA_DUAL);
        for (int b = 0; b < NDUALFIXEFS; b++)
            if (theta_store<DualTheta>(i).b[b] == 1 || disabled_theta<DualTheta>(i).b[b] == 1) k = b;
        if (k < 0) continue;
        double h = 1e-6 * std::max(1.0, std::fabs(th[i])), keep = th[i];
        th[i] = keep + h; RunAt(AD_Mode::REAL, md_real, -1);
        th[i] = keep - h; RunAt(AD_Mode::REAL, md_real, -1);
        th[i] = keep;
        printf("%.17g\n", h);
        RunAt(AD_Mode::THETA_DUAL, md_theta, k);
    }
#endif
#ifdef DUAL_ETA
    int mask[NRANEF5 + 1];
    GetOdeRanefs(mask);
    for (int i = 0, k = 0; i < NRANEF5; i++) {
        if (mask[i] != 1) continue;
        double h = 1e-6, keep = eta[i];
        eta[i] = keep + h; RunAt(AD_Mode::REAL, md_real, -1);
        eta[i] = keep - h; RunAt(AD_Mode::REAL, md_real, -1);
        eta[i] = keep;
        printf("%.17g\n", h);
        RunAt(AD_Mode::ETA_DUAL, md_eta, k++);
    }
#endif
    return 0;
}
)";
}

TEST(Derivatives, DualPredictionsEqualCentralDifferences) {
    std::vector<DualCase> cases = {
        {"one_cpt_covariates", GoldenModel("one_cpt_covariates"), {"m->C", "m->V"}, "Aa"},
        {"two_cpt_block_omega", GoldenModel("two_cpt_block_omega"), {"m->C1", "m->C2"}, "A1"},
        {"frozen_disabled_fixefs",
         GoldenModel("frozen_disabled_fixefs"),
         {"m->k", "m->globalY[0]"},
         "A"},
        {"same_groups", GoldenModel("same_groups"), {"m->globalY[0]"}, "A"},
        {"jacobian_two_cpt",
         GoldenModel("jacobian_two_cpt"),
         {"m->V", "m->Cl"}, // no dose: the states stay 0
         ""},
        {"cov_power", GoldenModel("cov_power"), {"m->Eff", "m->Vl"}, ""},
        {"jacobian_michaelis", GoldenModel("jacobian_michaelis"), {"m->globalY[0]"}, ""},
        {"obs_gaussian_multi", GoldenModel("obs_gaussian_multi"), {"m->C"}, ""},
        {"saem", GoldenModel("saem"), {"m->C", "m->globalY[0]"}, "Aa"},
        {"saem_refused", GoldenModel("saem_refused"), {"m->C"}, "A1"},
        // dual only through its error, on which no prediction depends
        {"obs_responses", GoldenModel("obs_responses"), {"m->C"}, "A1", false},
        {"pk_population",
         ReadFile(std::string(EXAMPLES_DIR) + "/pk_population.mdl"),
         {"m->C"},
         "Aa"},
    };
    for (DualCase const& c : cases) {
        std::string dir = WorkDir(std::string("dual_") + c.name);
        ASSERT_TRUE(Translate(dir, c.model)) << c.name << ReadFile(dir + "/log");
        ASSERT_TRUE(Compile(dir, DualHarness(c))) << c.name;
        std::vector<double> v = Numbers(dir);
        size_t r = c.reads.size(), block = 3 * r + 1;
        ASSERT_GT(v.size(), 0u) << c.name;
        ASSERT_EQ(0u, v.size() % block) << c.name;
        int nonzero = 0; // the check must see real derivatives
        for (size_t at = 0; at < v.size(); at += block) {
            double h = v[at + 2 * r];
            for (size_t j = 0; j < r; j++) {
                double fd = (v[at + j] - v[at + r + j]) / (2 * h);
                double part = v[at + 2 * r + 1 + j];
                if (std::fabs(part) > 1e-6) nonzero++;
                // where the part is 0: the integrator's own error, divided by the step
                double noise = 1e-7 * (1 + std::fabs(v[at + j]));
                EXPECT_TRUE(Close(fd, part, 1e-5) || std::fabs(fd - part) < noise)
                    << c.name << " " << c.reads[j] << " parameter block " << at / block;
            }
        }
        if (c.derivatives) {
            EXPECT_GT(nonzero, 0) << c.name;
        }
    }
}

} // namespace
