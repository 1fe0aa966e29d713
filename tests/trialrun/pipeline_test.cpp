// Whole trial programs: each script of cases/ is translated by VARO5 /T, its cohort.cpp compiled
// with the test run-time library and run, and its records checked against numbers computed
// here from the script's own parameters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Record {
    std::string kind, instance, name;
    int scen, rep, arm, sub;
    double value, time, extra1;
};

int Run(std::string const& cmd) {
    int status = system(cmd.c_str());
    return status == -1 ? -1 : WEXITSTATUS(status);
}

std::string ReadFile(std::string const& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// Translates and compiles cases/<name>.trial in a fresh folder of the build tree; the folder,
// or "" on failure.
std::string Build(std::string const& name) {
    std::string dir = TRIALRUN_WORK "/" + name;
    std::string q = "'" + dir + "'";
    EXPECT_EQ(0, Run("rm -rf " + q + " && mkdir -p " + q + " && cp '" TRIALRUN_DIR "/cases/" +
                     name + ".trial' " + q));
    if (Run("cd " + q + " && '" VARO5_BINARY "' /T " + name + ".trial > translate.log 2>&1")) {
        ADD_FAILURE() << "VARO5 /T failed:\n" << ReadFile(dir + "/translate.log");
        return "";
    }
    std::string cc = std::string(VARO5_CXX) +
                     " -std=c++17 -O1 -w -I'" TRIALENGINE_DIR "' -I'" TRIALRUN_DIR "' -I" + q +
                     " " + q + "/cohort.cpp '" TRIALRUN_DIR "/driver.cpp' '" TRIALRUN_LIB "' -o " +
                     q + "/program > " + q + "/compile.log 2>&1";
    if (Run(cc)) {
        ADD_FAILURE() << "cohort.cpp does not compile:\n"
                      << ReadFile(dir + "/compile.log").substr(0, 4000);
        return "";
    }
    return dir;
}

// Runs the program with 'args' and reads its records.
std::vector<Record> Records(std::string const& dir, std::string const& args) {
    std::vector<Record> out;
    if (dir.empty()) return out;
    if (Run("cd '" + dir + "' && ./program -o records.csv " + args + " 2> run.log")) {
        ADD_FAILURE() << "the program failed:\n" << ReadFile(dir + "/run.log");
        return out;
    }
    std::istringstream in(ReadFile(dir + "/records.csv"));
    std::string line;
    std::getline(in, line); // header
    while (std::getline(in, line)) {
        std::vector<std::string> c;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            c.push_back(cell);
        c.resize(13);
        auto num = [](std::string const& s) { return s.empty() ? -1.0 : atof(s.c_str()); };
        out.push_back(Record{c[0], c[6], c[7], atoi(c[1].c_str()), atoi(c[2].c_str()),
                             int(num(c[3])), int(num(c[4])), num(c[8]), num(c[10]), num(c[11])});
    }
    return out;
}

std::vector<Record> Select(std::vector<Record> const& all, std::string const& kind,
                           std::string const& name) {
    std::vector<Record> out;
    for (Record const& r : all)
        if (r.kind == kind && r.name == name) out.push_back(r);
    return out;
}

} // namespace

// One compartment, V 10, k 0.1, written with an integrator and with a closed form: a bolus of
// 100, an infusion of 100 at 25 an hour, and a bolus after a lag of 1.5, observed every hour.
TEST(TrialRun, OneCompartmentMatchesClosedForms) {
    double const V = 10, k = 0.1;
    auto bolus = [&](double t) { return t < 0 ? 0 : 100 / V * std::exp(-k * t); };
    auto infusion = [&](double t) {
        double during = 25 / (k * V) * (1 - std::exp(-k * std::min(t, 4.0)));
        return t <= 4 ? during : during * std::exp(-k * (t - 4));
    };
    auto want = [&](std::string const& instance, double t) {
        if (instance.compare(0, 3, "inf") == 0) return infusion(t);
        return bolus(instance.compare(0, 3, "lag") == 0 ? t - 1.5 : t);
    };
    std::vector<Record> obs = Select(Records(Build("one_compartment"), "-d -"), "observe", "C");
    std::map<std::string, std::set<double>> times;
    for (Record const& r : obs) {
        EXPECT_NEAR(want(r.instance, r.time), r.value, 1e-5) << r.instance << " at " << r.time;
        times[r.instance].insert(r.time);
    }
    EXPECT_EQ(6u * 24, obs.size());
    for (char const* instance : {"bolusOde", "bolusCf", "infOde", "infCf", "lagOde", "lagCf"})
        EXPECT_EQ(24u, times[instance].size()) << instance; // hours 1 to 24, once each
}

// The steady state of 100 every 12 hours, searched at hour 1 on the search's own clock and
// not recorded, then one more dose: the superposition of all earlier doses,
// 100/V e^(-k t) / (1 - e^(-12 k)), for the integrator and the closed form alike.
TEST(TrialRun, SteadyStateMatchesTheSumOfAllDoses) {
    std::vector<Record> all = Records(Build("steady_state"), "-d -");
    std::vector<Record> doses = Select(all, "bolus", "A1"), obs = Select(all, "observe", "C");
    ASSERT_EQ(2u, doses.size());
    for (Record const& d : doses)
        EXPECT_EQ(1, d.time);
    ASSERT_EQ(24u, obs.size());
    for (Record const& r : obs)
        EXPECT_NEAR(10 * std::exp(-0.1 * (r.time - 1)) / (1 - std::exp(-1.2)), r.value, 1e-5)
            << r.instance << " at " << r.time;
}

// A covariate N(70, 10) within (55, 85) for 20,000 subjects, and fixed effects drawn in 20,000
// replicates from their covariance matrix.
TEST(TrialRun, DrawsHaveTheirDistributions) {
    std::vector<Record> all = Records(Build("draws"), "-r 20000 -d ir");
    std::vector<Record> wt = Select(all, "covar", "wt");
    ASSERT_EQ(20000u, wt.size());
    double sum = 0, sum2 = 0;
    for (Record const& r : wt) {
        EXPECT_TRUE(r.value >= 55 && r.value <= 85) << r.value;
        sum += r.value;
        sum2 += r.value * r.value;
    }
    double mean = sum / wt.size(), sd = std::sqrt(sum2 / wt.size() - mean * mean);
    EXPECT_NEAR(70, mean, 0.3);
    // The standard deviation of a normal cut at 1.5 of its own on both sides.
    double z = 1.5, phi = std::exp(-z * z / 2) / std::sqrt(2 * M_PI), mass = std::erf(z / M_SQRT2);
    EXPECT_NEAR(10 * std::sqrt(1 - 2 * z * phi / mass), sd, 0.15);

    char const* names[3] = {"pk_tvV", "pk_tvCl", "pk_tvKa"};
    double const base[3] = {10, 1, 2};
    double const vcv[3][3] = {{4, 1.2, -0.3}, {1.2, 1, 0.1}, {-0.3, 0.1, 0.25}};
    std::vector<std::vector<double>> x(3);
    for (int i = 0; i < 3; i++)
        for (Record const& r : Select(all, "fixef", names[i]))
            x[size_t(i)].push_back(r.value);
    ASSERT_EQ(20000u, x[0].size());
    ASSERT_EQ(x[0].size(), x[1].size());
    ASSERT_EQ(x[0].size(), x[2].size());
    double n = double(x[0].size()), m[3];
    for (int i = 0; i < 3; i++) {
        m[i] = 0;
        for (double v : x[size_t(i)])
            m[i] += v / n;
        EXPECT_NEAR(base[i], m[i], 0.05 * std::sqrt(vcv[i][i])) << names[i];
    }
    for (int i = 0; i < 3; i++)
        for (int j = 0; j <= i; j++) {
            double c = 0;
            for (size_t s = 0; s < x[0].size(); s++)
                c += (x[size_t(i)][s] - m[i]) * (x[size_t(j)][s] - m[j]) / (n - 1);
            EXPECT_NEAR(vcv[i][j], c, 0.05 * std::sqrt(vcv[i][i] * vcv[j][j]))
                << names[i] << ", " << names[j];
        }
}

// Events checked every 2 hours: a dropout of hazard 0.05 and an event of hazard 0.1 without
// dropout, for 4,000 subjects observed every hour from 0 to 24.
TEST(TrialRun, EventsFallWhereTheHazardPutsThem) {
    std::string dir = Build("events");
    // Drawn: the dropout comes at the k-th check with probability (1 - p)^(k-1) p.
    std::vector<Record> all = Records(dir, "-d o");
    double const p = 1 - std::exp(-0.05 * 2);
    std::map<int, std::vector<Record>> death, obs;
    std::map<int, double> start;
    for (Record const& r : all) {
        if (r.kind == "bolus") start[r.sub] = r.time;
        if (r.kind == "observe" && r.name == "death") death[r.sub].push_back(r);
        if (r.kind == "observe" && r.name == "C") obs[r.sub].push_back(r);
    }
    ASSERT_EQ(4000u, start.size());
    int first = 0, dropped = 0;
    for (auto const& s : start) {
        std::vector<Record> const& d = death[s.first];
        ASSERT_EQ(1u, d.size()) << "subject " << s.first; // an event or a censoring, once
        double tEnd = 24;
        if (d[0].value == 1) {
            double t = d[0].time - s.second;
            EXPECT_TRUE(t >= 2 && t <= 24 && std::fmod(t, 2) == 0) << t;
            first += t == 2;
            dropped++;
            tEnd = t;
        }
        // Every hour up to the event, none after it.
        ASSERT_EQ(size_t(tEnd) + 1, obs[s.first].size()) << "subject " << s.first;
        EXPECT_EQ(tEnd, obs[s.first].back().time - s.second);
    }
    double const n = 4000, pAny = 1 - std::pow(1 - p, 12);
    EXPECT_NEAR(p, first / n, 4 * std::sqrt(p * (1 - p) / n));
    EXPECT_NEAR(pAny, dropped / n, 4 * std::sqrt(pAny * (1 - pAny) / n));

    // Not drawn, u is 0.5: a hazard of 0.1 or 0.2 over an interval is below log 2, and each
    // subject gets one censoring of each event and no event.
    all = Records(dir, "-d -");
    std::map<std::pair<int, std::string>, int> zeros;
    for (Record const& r : all) {
        if (r.kind != "observe" || r.name == "C") continue;
        EXPECT_EQ(0, r.value) << r.name << " of subject " << r.sub;
        zeros[{r.sub, r.name}]++;
    }
    EXPECT_EQ(8000u, zeros.size());
    for (auto const& z : zeros)
        EXPECT_EQ(1, z.second) << z.first.second << " of subject " << z.first.first;
}

// Integrator, urine, transit, delayed infusion, event and count side by side: the program runs
// under the solver's check of the state count, and the numbers hold: A1 is 100 e^(-0.1 t),
// A1 + U stays 100, and the count, not drawn, is its hazard of 0.05 over each hour.
TEST(TrialRun, StateListsRatesAndSolverAgree) {
    std::vector<Record> all = Records(Build("state_lists"), "-d -");
    std::vector<Record> a1 = Select(all, "observe", "A1"), u = Select(all, "observe", "U"),
                        n = Select(all, "observe", "n");
    ASSERT_EQ(24u, a1.size());
    ASSERT_EQ(24u, u.size());
    ASSERT_EQ(24u, n.size());
    for (size_t i = 0; i < a1.size(); i++) {
        EXPECT_NEAR(100 * std::exp(-0.1 * a1[i].time), a1[i].value, 1e-5) << a1[i].time;
        EXPECT_EQ(a1[i].time, u[i].time);
        EXPECT_NEAR(100, a1[i].value + u[i].value, 1e-5) << a1[i].time;
        EXPECT_NEAR(0.05, n[i].value, 1e-7) << n[i].time;
    }
}

// Two arms of three subjects, 50 and 100 a day for three days from an sproc, inside a collect;
// subject 7 starts after it. The allocation statement is recorded with its numbers.
TEST(TrialRun, ProceduresGiveEachSubjectItsArm) {
    std::vector<Record> all = Records(Build("two_arms"), "-d -");
    std::map<int, std::vector<Record>> doses, obs;
    for (Record const& r : all) {
        if (r.kind == "bolus") doses[r.sub].push_back(r);
        if (r.kind == "observe") obs[r.sub].push_back(r);
    }
    ASSERT_EQ(7u, doses.size());
    ASSERT_EQ(7u, obs.size());
    double endOfCollect = 0;
    for (auto const& o : obs)
        if (o.first != 7) endOfCollect = std::max(endOfCollect, o.second.back().time);
    for (auto const& d : doses) {
        int sub = d.first, arm = sub <= 3 || sub == 7 ? 1 : 2;
        double t0 = d.second[0].time;
        EXPECT_EQ(sub == 7 ? endOfCollect : 0, t0) << "subject " << sub;
        ASSERT_EQ(3u, d.second.size()) << "subject " << sub;
        for (size_t i = 0; i < 3; i++) {
            EXPECT_EQ(arm, d.second[i].arm);
            EXPECT_EQ(50 * arm, d.second[i].value) << "subject " << sub;
            EXPECT_EQ(t0 + 24 * double(i), d.second[i].time) << "subject " << sub;
        }
        std::vector<Record> const& o = obs[sub];
        ASSERT_EQ(72u, o.size()) << "subject " << sub; // each hour once
        // A dose of the same hour as an observation comes after it: the sproc queues its dose
        // machine when the subject's wake-up is already queued.
        for (size_t i = 0; i < o.size(); i++) {
            double t = o[i].time - t0, c = 0;
            EXPECT_EQ(double(i + 1), t);
            for (Record const& dose : d.second)
                if (dose.time - t0 < t)
                    c += dose.value / 10 * std::exp(-0.1 * (t - dose.time + t0));
            EXPECT_NEAR(c, o[i].value, 1e-5) << "subject " << sub << " at " << t;
            EXPECT_EQ(arm, o[i].arm);
        }
    }
    std::multiset<std::pair<std::string, double>> allocation,
        script = {{"strata", 3}, {"arms", 1}, {"arms", 2}, {"block", 2}};
    for (Record const& r : all)
        if (r.kind == "allocation") allocation.insert({r.name, r.value});
    EXPECT_EQ(script, allocation);
}

// A sequence of the model wakes between the hourly observations: the 100 of the bolus are
// emptied at 4.5, 50 are added at 6.5, 10 in each of two turns of a loop at 10.5 and 14.5, and
// 20 in an else branch at 17.5; in between, the amount falls at 0.1 an hour.
TEST(TrialRun, SequenceChangesTheCompartmentWhenItWakes) {
    struct Change {
        double t, kept, added; // A becomes kept * A + added at t
    } const changes[] = {{0, 0, 100},   {4.5, 0, 0},   {6.5, 1, 50},
                         {10.5, 1, 10}, {14.5, 1, 10}, {17.5, 1, 20}};

    auto want = [&](double t) {
        double a = 0, t0 = 0;
        for (Change const& c : changes)
            if (c.t < t) {
                a = c.kept * a * std::exp(-0.1 * (c.t - t0)) + c.added;
                t0 = c.t;
            }
        return a * std::exp(-0.1 * (t - t0));
    };
    std::vector<Record> obs = Select(Records(Build("sequence"), "-d -"), "observe", "A");
    ASSERT_EQ(24u, obs.size());
    for (size_t i = 0; i < obs.size(); i++) {
        EXPECT_EQ(double(i + 1), obs[i].time);
        EXPECT_NEAR(want(obs[i].time), obs[i].value, 1e-5) << "at " << obs[i].time;
    }
}

// Macro closed forms after a bolus of 100, in each of three replicates of two scenarios: a sum
// of terms c e^(-a t) with a of 0.5 and 0.05, each term c ka / (ka - a) (e^(-a t) - e^(-ka t))
// behind an absorption rate ka, times the dose over the stripping dose of 50, or over V 10 for
// cfMacro1, whose coefficients 1 - b and b share out the dose.
TEST(TrialRun, MacroFormsAreSumsOfExponentials) {
    struct Form {
        char const* instance;
        double ka, c1, c2, scale;
    } const forms[] = {{"i", 0, 0.06, 0.04, 2}, {"o", 1.5, 0.06, 0.04, 2}, {"m", 0, 0.6, 0.4, 10}};

    std::vector<Record> obs =
        Select(Records(Build("macro_forms"), "-s 2 -r 3 -d -"), "observe", "C");
    std::map<std::pair<int, int>, int> counts;
    for (Record const& r : obs) {
        counts[{r.scen, r.rep}]++;
        Form const* f = std::find_if(std::begin(forms), std::end(forms),
                                     [&](Form const& x) { return r.instance == x.instance; });
        ASSERT_NE(std::end(forms), f) << r.instance;
        auto term = [&](double c, double a) {
            double t = r.time;
            return f->ka == 0 ? c * std::exp(-a * t)
                              : c * f->ka / (f->ka - a) * (std::exp(-a * t) - std::exp(-f->ka * t));
        };
        EXPECT_NEAR(f->scale * (term(f->c1, 0.5) + term(f->c2, 0.05)), r.value, 1e-9)
            << r.instance << " at " << r.time;
    }
    std::map<std::pair<int, int>, int> script;
    for (int s = 0; s < 2; s++)
        for (int r = 0; r < 3; r++)
            script[{s, r}] = 3 * 24;
    EXPECT_EQ(script, counts);
}

namespace {

// The chance that a gamma time of m stages of rate k is below t; as an identity in k it also
// serves a negative k.
double ErlangCdf(int m, double k, double t) {
    double term = 1, sum = 0;
    for (int j = 0; j < m; j++) {
        sum += term;
        term *= k * t / (j + 1);
    }
    return 1 - std::exp(-k * t) * sum;
}

} // namespace

// Transit chains of 3 stages and a mean transit time of 6: 4 compartments of rate K = 4/6, a
// gamma delay of mean 6. The chain fed at 0.3 A1 from a bolus of 100 into A1 has passed on 100
// times the chance that an exponential time of rate 0.3 plus the gamma time is below t; the
// chain dosed with 100 itself passes them on after the gamma time alone.
TEST(TrialRun, TransitChainsDelayByAGammaTime) {
    double const K = 4.0 / 6, ka = 0.3;
    std::vector<Record> obs = Select(Records(Build("transit"), "-d -"), "observe", "T");
    ASSERT_EQ(48u, obs.size());
    for (Record const& r : obs) {
        double t = r.time, want = 100 * ErlangCdf(4, K, t);
        if (r.instance == "f")
            want -= 100 * std::exp(-ka * t) * std::pow(K / (K - ka), 4) * ErlangCdf(4, K - ka, t);
        EXPECT_NEAR(want, r.value, 1e-5) << r.instance << " at " << t;
    }
}

// Programs with file samplers: the sampler objects are defined once however many files include
// cohort.h, each model opens its own file at the start (a missing file stops the run), and the
// run goes on over replicates and subjects. The values still come from the draws, since no
// routine of the program reads a sampled column yet.
TEST(TrialRun, SamplersOpenTheirFilesAndTheProgramRuns) {
    std::string dir = Build("sampler");
    ASSERT_FALSE(dir.empty());
    remove((dir + "/fixef.csv").c_str());
    remove((dir + "/covar.csv").c_str());
    EXPECT_NE(0, ::Run("cd '" + dir + "' && ./program -o records.csv -r 1 2> run.log"));
    EXPECT_NE(std::string::npos, ReadFile(dir + "/run.log").find("cannot read fixef.csv"));
    auto write = [&](char const* file, char const* header) {
        std::ofstream out(dir + "/" + file);
        out << header << ",other\n1,0\n2,0\n";
    };
    write("fixef.csv", "K");
    write("covar.csv", "WT");
    std::vector<Record> all = Records(dir, "-r 4 -d ir");
    EXPECT_EQ(4u, Select(all, "fixef", "pk_tvK").size());
    EXPECT_EQ(20u, Select(all, "covar", "wt").size());
}
