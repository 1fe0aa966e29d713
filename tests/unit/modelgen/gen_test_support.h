// Support for tests of the sections of Model.cpp: run a Gen* routine of a CGenCode into a
// temporary file and get its text back, and check fragments of that text in order, in the
// manner of FileCheck, with a report that shows where the search stopped. GenTest is the
// fixture of a generator on an empty model whose lists the tests fill by hand.
#pragma once

#include "analysis/analysis.h"
#include "modelgen/gencode.h"
#include "modelgen/modelgen.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

// Runs 'gen', a member routine of CGenCode or a callable without arguments, with g.fp on a
// temporary file and returns everything it printed.
template <class F> std::string GenText(CGenCode& g, F gen) {
    FILE* f = tmpfile();
    if (!f) {
        ADD_FAILURE() << "tmpfile() failed";
        return "";
    }
    g.fp = f;
    if constexpr (std::is_member_function_pointer_v<F>)
        (g.*gen)();
    else
        gen();
    g.fp = nullptr;
    std::string text;
    rewind(f);
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;)
        text.append(buf, n);
    fclose(f);
    return text;
}

// Builders of the nodes that the generator reads: a number, a name, a list of numbers.
inline N Num(double v) {
    return std::make_shared<CNode>(v);
}

inline N Var(char const* name) {
    return std::make_shared<CNode>(name);
}

inline N Values(std::initializer_list<double> values) {
    N list = std::make_shared<CNode>(CN_VALUES);
    for (double v : values)
        list->list.push_back(Num(v));
    return list;
}

// Makes tabs and line ends visible, so a report shows the exact characters.
inline std::string Visible(std::string const& s) {
    std::string out;
    for (char c : s) {
        if (c == '\n')
            out += "\\n\n";
        else if (c == '\t')
            out += "\\t";
        else
            out += c;
    }
    return out;
}

// Each fragment must occur in 'text' at or after the end of the one before it.
inline ::testing::AssertionResult InOrder(std::string const& text,
                                          std::initializer_list<std::string> fragments) {
    size_t pos = 0;
    int i = 0;
    for (std::string const& f : fragments) {
        size_t at = text.find(f, pos);
        if (at == std::string::npos) {
            bool anywhere = text.find(f) != std::string::npos;
            return ::testing::AssertionFailure()
                   << "fragment " << i << " not found " << (anywhere ? "in order" : "at all")
                   << ":\n"
                   << Visible(f) << "\n---- text from the end of the previous fragment:\n"
                   << Visible(text.substr(pos, 1500));
        }
        pos = at + f.size();
        i++;
    }
    return ::testing::AssertionSuccess();
}

#define EXPECT_IN_ORDER(text, ...) EXPECT_TRUE(InOrder(text, __VA_ARGS__))

// Number of occurrences of 'fragment' in 'text', not overlapping.
inline int CountOf(std::string const& text, std::string const& fragment) {
    int n = 0;
    for (size_t at = text.find(fragment); at != std::string::npos;
         at = text.find(fragment, at + fragment.size()))
        n++;
    return n;
}

// The part of 'text' from the first 'from' up to (not including) the next 'to' after it;
// empty when 'from' is missing.
inline std::string Between(std::string const& text, std::string const& from,
                           std::string const& to) {
    size_t a = text.find(from);
    if (a == std::string::npos) return "";
    size_t b = text.find(to, a + from.size());
    return text.substr(a, b == std::string::npos ? std::string::npos : b - a);
}

// A generator on a parsed model text, Phase 1 done. The text stays alive with the tree.
inline std::unique_ptr<CGenCode> AnalysedModel(std::string const& text) {
    static std::vector<std::unique_ptr<std::string>> buffers;
    buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
    char const* p = buffers.back()->c_str();
    N model;
    parsModel(p, model);
    EXPECT_TRUE(model) << text;
    if (!model) return nullptr;
    auto g = std::make_unique<CGenCode>(model);
    g->GenDllPhase1();
    return g;
}

class GenTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        reset_assignment();
        dual_vars.clear();
        dual_vars_fixef.clear();
        dual_vars_ranxef.clear();
        cfs.clear();
        macros.clear();
        nothing_is_cfm = false;
    }

    // A new statement of 'kind' at the end of the model body.
    N Statement(CNodeType kind) {
        N s = std::make_shared<CNode>(kind);
        body->list.push_back(s);
        return s;
    }

    // A fixed effect in the generator's lists; 'enable' -1 is none.
    void AddFixef(char const* name, bool frozen = false, int64_t enable = -1, double init = 1.0) {
        g.saFixef.push_back(name);
        g.saFixefUnits.push_back("");
        g.naFixefFrozen.push_back(frozen);
        g.laFixefEnable.push_back(enable);
        g.daFixefInit.push_back(init);
    }

    void AddError(char const* name, bool frozen = false, double sd = 1.0) {
        g.saError.push_back(name);
        g.naErrorFrozen.push_back(frozen);
        g.daErrorInit.push_back(sd);
    }

    N body = std::make_shared<CNode>(CN_BLOCK);
    N model = std::make_shared<CNode>(CN_MODEL, std::make_shared<CNode>(CN_CALL, "m"), body);
    CGenCode g{model};
};
