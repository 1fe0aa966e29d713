// The Jacobian of the rate equations: when the generator can give one and what it says when it
// can't, and the printed routine compiled and run against the rate coefficients of linear
// models at random parameter values.
#include "gen_test_support.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>

namespace {

class JacobianTest : public GenTest {
  protected:
    // The subject evaluation section of a model text, with the reported Jacobian info.
    std::string Section(std::string const& text, int& info) {
        auto gen = AnalysedModel(text);
        if (!gen) return "";
        int nOde = 0, bJac = 0, bMatexp = 0;
        std::string out = GenText(*gen, [&] {
            gen->GenInitSubjectEvalDerivAdvance(nOde, bJac, bMatexp);
            gen->GenODEInfoRoutines(nOde, bJac, bMatexp);
        });
        size_t at = out.find("_piJacobianInfo = ");
        info = at == std::string::npos ? -99 : atoi(out.c_str() + at + 18);
        return out;
    }

    // The body of the printed jacobian routine.
    static std::string JacobianBody(std::string const& text) {
        std::string head = "void MODEL_CLASS_DECL::jacobian(const DualType zzY[], "
                           "DualType _jacobian[])\n{\n";
        size_t a = text.find(head);
        if (a == std::string::npos) return "";
        a += head.size();
        return text.substr(a, text.find("\n}\n", a) + 1 - a);
    }
};

// n deriv statements of a chain, each rate linear in its own state.
std::string DerivChain(int n) {
    std::string text = "test() {\n";
    for (int i = 0; i < n; i++)
        text += "    deriv(A" + std::to_string(i) + " = -k * A" + std::to_string(i) + ")\n";
    return text + "    k = 0.5\n}\n";
}

TEST_F(JacobianTest, InfoFollowsWhatTheRatesAllow) {
    int info = 0;
    std::string mm = Section("test() {\n deriv(A1 = -Vmax * C / (Km + C))\n C = A1 / V\n"
                             " Vmax = 2\n Km = 3\n V = 5\n}\n",
                             info);
    EXPECT_EQ(1, info);
    // The quotient rule: denominator times the numerator's derivative first.
    EXPECT_IN_ORDER(mm, {"\t// (((3.0 + A1 / 5.0) * ", " - -2.0 * (A1 / 5.0) * ",
                         ") / ((3.0 + A1 / 5.0) * (3.0 + A1 / 5.0)))  is not constant\n",
                         "\t// 0.0\n", "jacobian(", "\t// rate terms for A1\n"});

    char const* cannot = "\t// cannot gen jacobian because cannot differentiate rate "
                         "expressions\n\t// or >= 20 integrators\n}\n";
    for (char const* stmt : {"transit(A, mtt, 2, max = 3)", "delayInfCpt(A, mdt, 2)",
                             "deriv(A = -k * A + delay(A, 1))"}) {
        std::string t =
            Section(std::string("test() {\n ") + stmt + "\n mtt = 1\n mdt = 1\n k = 1\n}\n", info);
        EXPECT_EQ(0, info) << stmt;
        EXPECT_NE(std::string::npos, t.find(cannot)) << stmt;
    }

    EXPECT_NE(std::string::npos, JacobianBody(Section(DerivChain(20), info)).find("memset"));
    EXPECT_EQ(2, info);
    EXPECT_NE(std::string::npos, JacobianBody(Section(DerivChain(21), info)).find("cannot gen"));
    EXPECT_EQ(0, info);

    // Closed forms only: time-based, but nothing to integrate.
    std::string cf = Section("test() {\n cfMicro(A1, k)\n k = 1\n}\n", info);
    EXPECT_EQ(-1, info);
    EXPECT_EQ("\tusing NUM = MODEL_CLASS_DECL::DualType;\n"
              "\tmemset(_jacobian, 0, sizeof(NUM)*N_ODE*N_ODE);\n\n",
              JacobianBody(cf));

    // A rate that depends on time has a forcing term that is not constant.
    Section("test() {\n deriv(A = -k * A + t)\n k = 1\n}\n", info);
    EXPECT_EQ(1, info);
}

TEST_F(JacobianTest, PrintedEntriesOfALinearModel) {
    int info = 0;
    std::string t = Section("test() {\n deriv(A1 = -k10 * A1 + k21 * A2)\n"
                            " deriv(A2 = k12 * A1 - k21 * A2)\n"
                            " stparm(k10 = tk10, k12 = tk12, k21 = tk21)\n"
                            " fixef(tk10 = 1, tk12 = 2, tk21 = 3)\n}\n",
                            info);
    EXPECT_EQ(2, info);
    // Row j is the integrator, column i the rate; the forcing column is the third. A negation
    // at the top of an entry is bracketed like any operator there.
    EXPECT_IN_ORDER(
        JacobianBody(t),
        {"\tmemset(_jacobian, 0, sizeof(NUM)*N_ODE*N_ODE);\n\n", "\t// rate terms for A1\n",
         "\t\t// w.r.t. A1\n\t_jacobian[0 + N_ODE*0] = -(tk10);\n",
         "\t\t// w.r.t. A2\n\t_jacobian[0 + N_ODE*1] = tk21;\n",
         "\t\t// forcing rate for A1\n\t_jacobian[0 + N_ODE*2] = 0.0 + "
         "globalIRate[0];\n",
         "\t// rate terms for A2\n", "\t\t// w.r.t. A1\n\t_jacobian[1 + N_ODE*0] = tk12;\n",
         "\t\t// w.r.t. A2\n\t_jacobian[1 + N_ODE*1] = -(tk21);\n",
         "\t_jacobian[1 + N_ODE*2] = 0.0 + globalIRate[1];\n"});
}

// ---- The routine as numbers ---------------------------------------------------------------

struct LinearModel {
    std::string text;
    std::vector<std::string> params; // names the Jacobian reads, given random values
    int nRates;
    // The rate coefficient of rate i by state j at the parameter values.
    std::function<double(std::vector<double> const&, int i, int j)> coef;
};

// Compiles the jacobian body into a program that reads parameter values and infusion rates,
// and prints the matrix of N_ODE x N_ODE entries.
static bool BuildHarness(std::string const& body, LinearModel const& m, std::string const& dir) {
    std::ofstream src(dir + "/harness.cpp");
    src << "#include <cstdio>\n#include <cstring>\n"
        << "static const int N_ODE = " << m.nRates + 1 << ";\n"
        << "struct model_data { using DualType = double; };\n"
        << "#define MODEL_CLASS_DECL model_data\n"
        << "static double globalIRate[N_ODE];\n";
    for (std::string const& p : m.params)
        src << "static double " << p << ";\n";
    src << "static void jacobian(const double zzY[], double _jacobian[])\n{\n"
        << body << "}\n"
        << "int main()\n{\n";
    for (std::string const& p : m.params)
        src << "    if (scanf(\"%lf\", &" << p << ") != 1) return 1;\n";
    src << "    for (int i = 0; i < N_ODE; i++) if (scanf(\"%lf\", &globalIRate[i]) != 1) return 1;\n"
        << "    double y[N_ODE] = {0}, jac[N_ODE * N_ODE];\n"
        << "    jacobian(y, jac);\n"
        << "    for (int i = 0; i < N_ODE * N_ODE; i++) printf(\"%.17g\\n\", jac[i]);\n"
        << "    return 0;\n}\n";
    src.close();
    std::string cmd = std::string(VARO5_CXX) + " -std=c++17 -o " + dir + "/harness " + dir +
                      "/harness.cpp 2>" + dir + "/harness.err";
    return system(cmd.c_str()) == 0;
}

static std::vector<double> RunHarness(std::string const& dir, std::vector<double> const& input) {
    {
        std::ofstream in(dir + "/in.txt");
        in.precision(17);
        for (double v : input)
            in << v << "\n";
    }
    std::string cmd = dir + "/harness < " + dir + "/in.txt > " + dir + "/out.txt";
    std::vector<double> out;
    if (system(cmd.c_str()) != 0) return out;
    std::ifstream res(dir + "/out.txt");
    for (double v; res >> v;)
        out.push_back(v);
    return out;
}

TEST_F(JacobianTest, CompiledRoutineGivesTheRateCoefficients) {
    std::vector<LinearModel> models = {
        {"test() {\n deriv(A1 = -Cl * C - Q * (C - C2))\n deriv(A2 = Q * (C - C2))\n"
         " C = A1 / V\n C2 = A2 / V2\n"
         " stparm(V = tvV, Cl = tvCl, V2 = tvV2, Q = tvQ)\n"
         " fixef(tvV = 5, tvCl = 1, tvV2 = 8, tvQ = 0.5)\n}\n",
         {"tvV", "tvCl", "tvV2", "tvQ"},
         2,
         [](std::vector<double> const& p, int i, int j) {
             double v = p[0], cl = p[1], v2 = p[2], q = p[3];
             double k[2][2] = {{-(cl + q) / v, q / v2}, {q / v, -q / v2}};
             return k[i][j];
         }},
        // The example model of the repository, with its constants written out.
        {"test() {\n deriv(Aa = -Ka * Aa)\n deriv(A1 = Ka * Aa - Cl * C)\n dosepoint(Aa)\n"
         " C = A1 / V\n stparm(Ka = tKa, Cl = tCl, V = tV)\n"
         " fixef(tKa = 1.2, tCl = 0.5, tV = 10)\n}\n",
         {"tKa", "tCl", "tV"},
         2,
         [](std::vector<double> const& p, int i, int j) {
             double k[2][2] = {{-p[0], 0}, {p[0], -p[1] / p[2]}};
             return k[i][j];
         }},
    };
    std::string dir = testing::TempDir() + "varo5_jacobian";
    std::mt19937 rng(20261123);
    std::uniform_real_distribution<double> value(0.1, 10.0);
    for (LinearModel const& m : models) {
        int info = 0;
        std::string routine = JacobianBody(Section(m.text, info));
        ASSERT_EQ(2, info) << m.text;
        ASSERT_EQ(0, system(("mkdir -p " + dir).c_str()));
        ASSERT_TRUE(BuildHarness(routine, m, dir)) << routine;
        int n = m.nRates, nOde = n + 1;
        for (int point = 0; point < 5; point++) {
            std::vector<double> params, input;
            for (size_t k = 0; k < m.params.size(); k++)
                params.push_back(value(rng));
            input = params;
            for (int i = 0; i < nOde; i++)
                input.push_back(value(rng)); // infusion rates
            std::vector<double> jac = RunHarness(dir, input);
            ASSERT_EQ(size_t(nOde * nOde), jac.size());
            for (int i = 0; i < n; i++) {
                for (int j = 0; j < n; j++)
                    EXPECT_NEAR(m.coef(params, i, j), jac[i + nOde * j], 1e-12)
                        << "rate " << i << " by state " << j;
                double irate = input[params.size() + size_t(i)];
                EXPECT_NEAR(irate, jac[i + nOde * n], 1e-12) << "forcing of rate " << i;
            }
        }
    }
}

} // namespace
