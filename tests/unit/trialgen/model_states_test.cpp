// The state lists of a trial model: the integrator's lists, their count, the rates and the
// reset of the integrators cover the same state in the same order; the steady-state lists drop the
// hazards and add six values for each closed form.
#include "parser/parser.h"
#include "trialgen/trialgen.h"
#include "varo5_test.h"

#include <cstdio>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

class ModelStatesTest : public VaroTest {
  protected:
    // The body of the model "pk() { <text> }"; fails the test on a parse error.
    N Body(std::string const& text) {
        buffers.push_back(
            std::make_unique<std::string>("pk() {\n" + text + "\n}" + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        parsModel(p, model);
        EXPECT_FALSE(IsErrorSet()) << text;
        return model ? model->child2 : std::make_shared<CNode>(CN_BLOCK);
    }

    // What the state-list routines, ResetIntegrators and GetRate print for 'body'.
    std::string StateRoutines(N const& body) {
        CGenCode3 gen;
        gen.sModelClass = "pk";
        gen.pModelBody = body;
        gen.fpSource = tmpfile();
        gen.GenCohortStateLists();
        gen.GenCohortResetIntegrators();
        gen.GenCohortGetRate();
        std::string text;
        rewind(gen.fpSource);
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, gen.fpSource)) > 0;)
            text.append(buf, n);
        fclose(gen.fpSource);
        return text;
    }

    std::vector<std::unique_ptr<std::string>> buffers;
};

// The body of the routine whose head line starts with 'head'.
std::string Routine(std::string const& text, std::string const& head) {
    size_t at = text.find(head);
    if (at == std::string::npos) return "";
    return text.substr(at, text.find("\n}\n", at) - at);
}

// One entry of a state list: the name it stores (loops by their array) and how many values.
struct Entry {
    std::string name;
    int width;

    bool operator==(Entry const& o) const { return name == o.name && width == o.width; }
};

std::ostream& operator<<(std::ostream& os, Entry const& e) {
    return os << e.name << "*" << e.width;
}

// The entries of a routine, matched line by line by 'entry' (the name in group 1); a loop
// "for (_i = 0; _i < N; ...)" gives the entry in it the width N. The hazard prefix "_ht_"
// is dropped, so that stores and counts compare alike.
std::vector<Entry> Entries(std::string const& body, std::regex const& entry) {
    std::vector<Entry> out;
    std::istringstream in(body);
    std::smatch m;
    int width = 1;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_search(line, m, std::regex(R"(for \(_i = 0; _i < (\d+);)")))
            width = std::stoi(m[1]);
        else if (line == "\t}")
            width = 1;
        else if (std::regex_search(line, m, entry))
            out.push_back({std::regex_replace(m[1].str(), std::regex("^_ht_"), ""), width});
    }
    return out;
}

// The entries of a count routine: "_n++; // X" and "_n += N; // X".
std::vector<Entry> Counts(std::string const& body) {
    std::vector<Entry> out;
    std::istringstream in(body);
    std::smatch m;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_search(line, m, std::regex(R"(_n\+\+; // (\w+))"))) out.push_back({m[1], 1});
        if (std::regex_search(line, m, std::regex(R"(_n \+= (\d+); // (\w+))")))
            out.push_back({m[2], std::stoi(m[1])});
    }
    return out;
}

// How far each step of GetRate moves zzn: "zzn++" and "zzr[zzn++]" by one, "zzn += N" by N.
std::vector<int> RateSteps(std::string const& body) {
    std::vector<int> out;
    std::istringstream in(body);
    std::smatch m;
    for (std::string line; std::getline(in, line);) {
        if (line.find("zzn++") != std::string::npos) out.push_back(1);
        if (std::regex_search(line, m, std::regex(R"(zzn \+= (\d+);)")))
            out.push_back(std::stoi(m[1]));
    }
    return out;
}

TEST_F(ModelStatesTest, IntegratorListsCountAndResetAgree) {
    std::string text = StateRoutines(Body("deriv(A1 = -k * A1)\n"
                                          "event(ev, h1)\n"
                                          "urinecpt(U = k * A1)\n"
                                          "transit(T, mtt, ntr, max = 4, in = k, out = -k * T)\n"
                                          "count(n, h2)\n"
                                          "delayInfCpt(D, mdel, sdel)\n"
                                          "cfMicro(C, k)\n"
                                          "stparm(k = 1)\n"));
    std::vector<Entry> want = {{"A1", 1},    {"ev", 1},    {"U", 1}, {"T", 1},
                               {"zzX_T", 1}, {"zzY_T", 4}, {"n", 1}, {"D", 1}};
    std::regex store(R"(zzv\[zzn\+\+\] = (\w+)(\[_i\])?;)");
    std::regex load(R"(^\t+(\w+)(\[_i\])? = zzv\[zzn\+\+\];)");
    EXPECT_EQ(want, Entries(Routine(text, "void pk::GetInteg("), store));
    EXPECT_EQ(want, Entries(Routine(text, "void pk::SetInteg("), load));
    EXPECT_EQ(want, Counts(Routine(text, "int pk::GetNInteg(")));
    std::regex reset(R"(^\t+(\w+)(\[_i\])? = 0;)");
    std::vector<Entry> resets = Entries(Routine(text, "void pk::ResetIntegrators("), reset);
    std::vector<Entry> states;
    for (Entry const& e : resets)
        if (e.name.find("_rate") == std::string::npos) states.push_back(e);
    EXPECT_EQ(want, states);
    // GetRate fills one rate per value, a transit chain's M + 2 in one step.
    EXPECT_EQ((std::vector<int>{1, 1, 1, 6, 1, 1}), RateSteps(Routine(text, "void pk::GetRate(")));
}

TEST_F(ModelStatesTest, SteadyStateListsDropHazardsAndAddClosedForms) {
    std::string text = StateRoutines(Body("deriv(A1 = -k * A1)\n"
                                          "event(ev, h1)\n"
                                          "cfMicro(C, k)\n"
                                          "transit(T, mtt, ntr, max = 2)\n"
                                          "stparm(k = 1)\n"));
    std::vector<Entry> want = {{"A1", 1}, {"C", 6}, {"T", 1}, {"zzX_T", 1}, {"zzY_T", 2}};
    EXPECT_EQ(want, Counts(Routine(text, "int pk::GetNStateSS(")));
    std::string get = Routine(text, "void pk::GetStateSS(");
    EXPECT_NE(std::string::npos, get.find("\tzzv[zzn++] = A1;\n"
                                          "\t_cf_C.GetState(zzv+zzn);\n"
                                          "\tzzn += 6; // C\n"
                                          "\tzzv[zzn++] = T;\n"))
        << get;
    EXPECT_EQ(std::string::npos, get.find("_ht_ev"));
    std::string set = Routine(text, "void pk::SetStateSS(");
    EXPECT_NE(std::string::npos, set.find("\t_cf_C.SetState(zzv+zzn);\n\tzzn += 6; // C\n"));
    EXPECT_EQ(std::string::npos, set.find("_ht_ev"));
}

} // namespace
