// Generated models run on the test engine, through the run-model command, against the
// closed-form solutions of their equations.
#include "numeric_support.h"

#include <cmath>
#include <functional>

namespace {

using namespace numeric;

// Runs a model on a case through the command; gives the rows of its CSV, without the header.
std::vector<std::vector<double>> RunModel(std::string const& name, std::string const& model,
                                          std::string const& json) {
    std::string dir = WorkDir(name);
    WriteFile(dir + "/model.mdl", model);
    WriteFile(dir + "/case.json", json);
    std::string cmd = "VARO5='" VARO5_BINARY "' CXX='" VARO5_CXX "' '" RUN_MODEL "' '" + dir +
                      "/model.mdl' '" + dir + "/case.json' > '" + dir + "/out.csv' 2> '" + dir +
                      "/err.txt'";
    std::vector<std::vector<double>> rows;
    if (Run(cmd) != 0) {
        ADD_FAILURE() << "run-model failed: " << ReadFile(dir + "/err.txt").substr(0, 3000);
        return rows;
    }
    std::istringstream in(ReadFile(dir + "/out.csv"));
    std::string line;
    std::getline(in, line); // header
    while (std::getline(in, line)) {
        std::vector<double> row;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            row.push_back(strtod(cell.c_str(), nullptr));
        rows.push_back(row);
    }
    return rows;
}

char const* const oneCpt = "test() {\n deriv(A1 = -Cl / V * A1)\n dosepoint(A1%s)\n C = A1 / V\n"
                           " stparm(V = tvV, Cl = tvCl%s)\n fixef(tvV = 10, tvCl = 2%s)\n}\n";

std::string OneCpt(char const* doseOptions = "", char const* stparm = "", char const* fixef = "") {
    char buf[512];
    snprintf(buf, sizeof buf, oneCpt, doseOptions, stparm, fixef);
    return buf;
}

struct PredictionCase {
    char const* name;
    std::string model, json;
    std::function<double(double)> c; // the concentration at time t
};

TEST(Predictions, MatchClosedForms) {
    double const V = 10, Cl = 2, k = Cl / V, D = 100;
    auto bolus = [=](double t, double amount) { return t < 0 ? 0 : amount / V * exp(-k * t); };
    auto infusion = [=](double t, double rate, double dur) {
        if (t <= 0) return 0.0;
        double during = rate / Cl * (1 - exp(-k * std::min(t, dur)));
        return t <= dur ? during : during * exp(-k * (t - dur));
    };
    double ka = 1.5, alpha, beta, k12 = 0.3, k21 = 0.2;
    {
        double s = k + k12 + k21, p = k * k21, d = sqrt(s * s - 4 * p);
        alpha = (s + d) / 2;
        beta = (s - d) / 2;
    }
    std::string times = "\"observation_times\": [0.25, 1, 2.5, 5, 12.5, 24]";
    std::string pred = "\"predictions\": [{\"name\": \"C\"}]";
    auto dose = [](char const* extra) {
        return std::string("\"doses\": [{\"time\": 0, \"amount\": 100, \"compartment\": \"") +
               extra;
    };
    std::vector<PredictionCase> cases = {
        {"iv_bolus", OneCpt(), "{" + dose("A1\"}],") + times + "," + pred + "}",
         [&](double t) { return bolus(t, D); }},
        {"infusion", OneCpt(), "{" + dose("A1\", \"duration\": 4}],") + times + "," + pred + "}",
         [&](double t) { return infusion(t, D / 4, 4); }},
        {"lag", OneCpt(", tlag = Tlag", ", Tlag = tvTlag", ", tvTlag = 1.5"),
         "{" + dose("A1\"}],") + times + "," + pred + "}",
         [&](double t) { return bolus(t - 1.5, D); }},
        {"bioavailability", OneCpt(", bioavail = F", ", F = tvF", ", tvF = 0.7"),
         "{" + dose("A1\"}],") + times + "," + pred + "}",
         [&](double t) { return bolus(t, 0.7 * D); }},
        {"repeated", OneCpt(),
         "{\"doses\": [{\"time\": 0, \"amount\": 100, \"compartment\": \"A1\"},"
         " {\"time\": 6, \"amount\": 50, \"compartment\": \"A1\"},"
         " {\"time\": 12, \"amount\": 100, \"compartment\": \"A1\"}]," +
             times + "," + pred + "}",
         [&](double t) { return bolus(t, D) + bolus(t - 6, 50) + bolus(t - 12, D); }},
        {"bateman",
         "test() {\n deriv(Aa = -Ka * Aa)\n deriv(A1 = Ka * Aa - Cl / V * A1)\n dosepoint(Aa)\n"
         " C = A1 / V\n stparm(V = tvV, Cl = tvCl, Ka = tvKa)\n"
         " fixef(tvV = 10, tvCl = 2, tvKa = 1.5)\n}\n",
         "{" + dose("Aa\"}],") + times + "," + pred + "}",
         [&](double t) { return D * ka / (V * (ka - k)) * (exp(-k * t) - exp(-ka * t)); }},
        {"two_cpt",
         "test() {\n deriv(A1 = -(k10 + k12) * A1 + k21 * A2)\n deriv(A2 = k12 * A1 - k21 * A2)\n"
         " dosepoint(A1)\n C = A1 / V\n stparm(V = tvV, k10 = tk10, k12 = tk12, k21 = tk21)\n"
         " fixef(tvV = 10, tk10 = 0.2, tk12 = 0.3, tk21 = 0.2)\n}\n",
         "{" + dose("A1\"}],") + times + "," + pred + "}",
         [&](double t) {
             return D / V *
                    ((alpha - k21) / (alpha - beta) * exp(-alpha * t) +
                     (k21 - beta) / (alpha - beta) * exp(-beta * t));
         }},
    };
    for (PredictionCase const& c : cases) {
        auto rows = RunModel(c.name, c.model, c.json);
        ASSERT_EQ(6u, rows.size()) << c.name;
        for (auto const& row : rows)
            EXPECT_TRUE(Close(c.c(row[0]), row[1], 1e-6)) << c.name << " at t = " << row[0];
    }
}

// The closed-form machine and the differential equations of one model agree.
TEST(Predictions, ClosedFormMachineEqualsDifferentialEquations) {
    std::string params = " C = A1 / V\n stparm(V = tvV, Cl = tvCl, Ka = tvKa)\n"
                         " fixef(tvV = 10, tvCl = 2, tvKa = 1.5)\n}\n";
    std::string json = "{\"doses\": [{\"time\": 0, \"amount\": 100, \"compartment\": \"Aa\"},"
                       " {\"time\": 3, \"amount\": 40, \"compartment\": \"A1\"}],"
                       " \"observation_times\": [0.5, 2, 3.5, 8, 20],"
                       " \"predictions\": [{\"name\": \"C\"}]}";
    auto ode = RunModel("cf_vs_ode_ode",
                        "test() {\n deriv(Aa = -Ka * Aa)\n deriv(A1 = Ka * Aa - Cl / V * A1)\n"
                        " dosepoint(Aa)\n dosepoint(A1)\n" +
                            params,
                        json);
    auto cf = RunModel("cf_vs_ode_cf",
                       "test() {\n cfMicro(A1, Cl / V, first = (Aa = Ka))\n dosepoint(Aa)\n"
                       " dosepoint(A1)\n" +
                           params,
                       json);
    ASSERT_EQ(5u, ode.size());
    ASSERT_EQ(ode.size(), cf.size());
    for (size_t i = 0; i < ode.size(); i++)
        EXPECT_TRUE(Close(ode[i][1], cf[i][1], 1e-8)) << "t = " << ode[i][0];
}

// A two-compartment model with an infusion from the data and a lag, through the command alone.
TEST(Predictions, RunModelCommandReproducesTwoCompartmentInfusion) {
    double V = 5, k10 = 0.4, k12 = 0.5, k21 = 0.25, D = 60, dur = 2, lag = 0.75;
    auto rows = RunModel("run_model_two_cpt",
                         "test() {\n deriv(A1 = -(k10 + k12) * A1 + k21 * A2)\n"
                         " deriv(A2 = k12 * A1 - k21 * A2)\n dosepoint(A1, tlag = Tlag)\n"
                         " C = A1 / V\n"
                         " stparm(V = tvV, k10 = tk10, k12 = tk12, k21 = tk21, Tlag = tvTlag)\n"
                         " fixef(tvV = 1, tk10 = 1, tk12 = 1, tk21 = 1, tvTlag = 0)\n}\n",
                         "{\"doses\": [{\"time\": 0, \"amount\": 60, \"compartment\": \"A1\","
                         " \"duration\": 2}],"
                         " \"fixed_effects\": {\"tvV\": 5, \"tk10\": 0.4, \"tk12\": 0.5,"
                         " \"tk21\": 0.25, \"tvTlag\": 0.75},"
                         " \"observation_times\": [0.5, 1, 2, 2.75, 4, 10],"
                         " \"predictions\": [{\"name\": \"C\"}]}");
    // Infusion at rate R from 'lag' to 'lag + dur' into a two-compartment system.
    double s = k10 + k12 + k21, d = sqrt(s * s - 4 * k10 * k21);
    double alpha = (s + d) / 2, beta = (s - d) / 2, R = D / dur;
    auto unitInfusion = [&](double t) { // amount in A1 for a unit rate started at 0
        if (t <= 0) return 0.0;
        double ca = (alpha - k21) / (alpha - beta), cb = (k21 - beta) / (alpha - beta);
        return ca / alpha * (1 - exp(-alpha * t)) + cb / beta * (1 - exp(-beta * t));
    };
    ASSERT_EQ(6u, rows.size());
    for (auto const& row : rows) {
        double t = row[0];
        double a1 = R * (unitInfusion(t - lag) - unitInfusion(t - lag - dur));
        EXPECT_TRUE(Close(a1 / V, row[1], 1e-6)) << "t = " << t;
    }
}

} // namespace
