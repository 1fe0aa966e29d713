// Support for the numeric tests of generated models: translate a model text, compile the
// generated code with the test engine and a piece of test code, run it, read its numbers.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace numeric {

inline std::string ReadFile(std::string const& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

inline void WriteFile(std::string const& path, std::string const& text) {
    std::ofstream(path) << text;
}

// A fresh folder for one test.
inline std::string WorkDir(std::string const& name) {
    std::string dir = testing::TempDir() + "varo5_numeric_" + name;
    std::string cmd = "rm -rf '" + dir + "' && mkdir -p '" + dir + "'";
    EXPECT_EQ(0, system(cmd.c_str()));
    return dir;
}

inline int Run(std::string const& cmd) {
    int status = system(cmd.c_str());
    return status == -1 ? -1 : WEXITSTATUS(status);
}

// Translates 'model' into 'dir' (Model.h, Model.cpp); false when the translator refuses it.
inline bool Translate(std::string const& dir, std::string const& model,
                      std::string const& env = "") {
    WriteFile(dir + "/model.mdl", model);
    std::string cmd = "cd '" + dir + "' && " + env + " '" VARO5_BINARY "' model.mdl . > log 2>&1";
    return Run(cmd) == 0;
}

// Compiles 'code', which includes Model.cpp and the driver, into dir/run.
inline bool Compile(std::string const& dir, std::string const& code) {
    WriteFile(dir + "/harness.cpp", code);
    std::string cmd = std::string(VARO5_CXX) + " -std=c++17 -O1 -w -I'" RUNENGINE_DIR "' -I'" +
                      dir + "' '" + dir + "/harness.cpp' -o '" + dir + "/run' 2> '" + dir +
                      "/compile.log'";
    bool ok = Run(cmd) == 0;
    if (!ok) ADD_FAILURE() << ReadFile(dir + "/compile.log").substr(0, 3000);
    return ok;
}

// Runs dir/run and gives every number it printed, in order.
inline std::vector<double> Numbers(std::string const& dir, std::string const& args = "") {
    std::string cmd = "cd '" + dir + "' && ./run " + args + " > out.txt 2> err.txt";
    std::vector<double> out;
    if (Run(cmd) != 0) {
        ADD_FAILURE() << "run failed: " << ReadFile(dir + "/err.txt");
        return out;
    }
    std::istringstream in(ReadFile(dir + "/out.txt"));
    for (std::string tok; in >> tok;) {
        char* end = nullptr;
        double v = strtod(tok.c_str(), &end);
        if (end && *end == 0) out.push_back(v);
    }
    return out;
}

// |a - b| within 'rel' of the larger magnitude, or of 1e-12 near zero.
inline ::testing::AssertionResult Close(double want, double got, double rel) {
    double scale = std::max(std::max(std::fabs(want), std::fabs(got)), 1e-12);
    if (std::fabs(want - got) <= rel * scale) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "want " << want << ", got " << got;
}

// The head of every harness: the generated model and the driver.
inline std::string HarnessHead() {
    return "#include \"Model.cpp\"\n#include \"driver.h\"\n#include <cstdio>\n";
}

} // namespace numeric
