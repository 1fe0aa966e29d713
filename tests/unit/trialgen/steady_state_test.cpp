// The steady-state search of a subject, compiled with a stand-in subject of one state value
// and run by a small scheduler that applies one dosing cycle whenever the search asks.
#include "trialgen/cohort_templates.h"
#include "trialgen/trialgen.h"
#include "varo5_test.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// The routines GenCohortSSRoutines prints.
std::string SSRoutines() {
    CGenCode3 gen;
    gen.fpSource = tmpfile();
    gen.GenCohortSSRoutines();
    std::string text;
    rewind(gen.fpSource);
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, gen.fpSource)) > 0;)
        text.append(buf, n);
    fclose(gen.fpSource);
    return text;
}

// A subject whose one state value the scheduler moves by y <- rate*y + add per cycle. The
// program prints the number of cycles run and the final state.
bool BuildScheduler(std::string const& dir) {
    std::ofstream src(dir + "/scheduler.cpp");
    src << "#include <cmath>\n#include <cstdio>\n#include <cstdlib>\n"
        << "#define MAXSSVEC 1000\n"
        << ssStateClass << "struct StateMachine {\n"
        << "  static bool bSS; static double dCurrentSSTime;\n"
        << "  static void SetInSteadyState(bool b) { bSS = b; }\n"
        << "};\n"
        << "bool StateMachine::bSS = false;\ndouble StateMachine::dCurrentSSTime = 1;\n"
        << "class subject : public StateMachine {\npublic:\n"
        << "  double y = 0, tLastSSTime = 1;\n  ssState ss{};\n"
        << "  void SetTimeOfStateCF(double) {}\n  void SetTimeOfGetValCF(double) {}\n"
        << "  int GetNStateSS() { return 1; }\n"
        << "  void GetStateSS(int& zzn, double zzv[]) { zzn = 0; zzv[zzn++] = y; }\n"
        << "  void SetStateSS(int& zzn, double zzv[]) { zzn = 0; y = zzv[zzn++]; }\n"
        << "  void StartSS();\n  bool GetSS();\n};\n"
        << SSRoutines() << "int main(int argc, char** argv) {\n"
        << "  double rate = atof(argv[1]), add = atof(argv[2]);\n"
        << "  subject s;\n  s.StartSS();\n  int cycles = 0;\n"
        << "  while (s.GetSS() && cycles < 100000) { s.y = rate * s.y + add; cycles++; }\n"
        << "  printf(\"%d %g %d\\n\", cycles, s.y, (int)StateMachine::bSS);\n}\n";
    src.close();
    std::string cmd = std::string(VARO5_CXX) + " -std=c++17 -o " + dir + "/scheduler " + dir +
                      "/scheduler.cpp 2>" + dir + "/scheduler.err";
    return system(cmd.c_str()) == 0;
}

std::string RunScheduler(std::string const& dir, char const* rate, char const* add) {
    std::string cmd = dir + "/scheduler " + rate + " " + add + " > " + dir + "/out.txt";
    if (system(cmd.c_str()) != 0) return "failed";
    std::ifstream in(dir + "/out.txt");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

// From 0, y <- 0.5 y + 1 runs two cycles to come near, two more for the extrapolation, which
// lands on the fixed point 2, and one that finds it converged: 5 cycles. A state stuck at 0
// gives no distance to extrapolate by (2*0 - 0 == 0), so the plain way runs its 1000 cycles
// after the first four. The search leaves steady-state mode either way.
TEST(SteadyStateSearch, ConvergesOrStopsAtTheLimit) {
    char tmpl[] = "/tmp/varo5_ss_XXXXXX";
    char* dir = mkdtemp(tmpl);
    ASSERT_NE(nullptr, dir);
    ASSERT_TRUE(BuildScheduler(dir)) << "see " << dir << "/scheduler.err";
    EXPECT_EQ("5 2 0\n", RunScheduler(dir, "0.5", "1"));
    EXPECT_EQ("1004 0 0\n", RunScheduler(dir, "0.5", "0"));
    std::filesystem::remove_all(dir);
}
