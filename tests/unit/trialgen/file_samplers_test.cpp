// File samplers: the records collected from a script's models, numbered over the run, and the
// reads that the samplers print for one variable and for a random-effect matrix.
#include "analysis/analysis.h"
#include "parser/parser.h"
#include "trialgen/trialgen.h"
#include "varo5_test.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

// _sampler0 in m1 (a sample statement), _sampler1 and _sampler2 in m2 (the two clauses of
// one distrib, taken from the last sub-population), _sampler3 in m3.
char const* const script = R"(
model m1() {
    fixef(tvV = c(, 1, ))
    ranef(nV = 0.1, block(b1, b2) = c(1, 0, 1), diag(d1, d2, d3) = c(1, 1, 1))
    sample("boot.csv", random, tvV = TVV, nV = NV, block(b1, b2) = c(o11, o21, o22),
           diag(d1, d2, d3) = c(x1, x2, x3))
}
model m2() {
    distrib(wt = subpops(N(70, 10), sample(a.csv, linear, wt = WTA), N(80, 10), sample(b.csv, linear, wt = WTB)))
}
model m3() {
    distrib(sex(male, female, other) = P(0.3, 0.3), sample(s.csv, random, sex = SEX(M, F, O)))
}
)";

class FileSamplersTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        buffer = std::string(script) + std::string(16, '\0');
        char const* p = buffer.c_str();
        parsCohort(p);
        ASSERT_FALSE(IsErrorSet());
        nSampler = 0;
        CollectSamplers(paModel);
    }

    // What 'gen' prints, with its result in 'held'.
    static std::string Printed(std::function<bool(FILE*)> const& gen, bool& held) {
        char* text = nullptr;
        size_t size = 0;
        FILE* fp = open_memstream(&text, &size);
        held = gen(fp);
        fclose(fp);
        std::string out(text, size);
        free(text);
        return out;
    }

    std::string buffer;
};

} // namespace

TEST_F(FileSamplersTest, RecordsAreNumberedOverTheRun) {
    struct {
        char const* model;
        char const* sampler;
        char const* file;
        int mode;
    } const cases[] = {{"m1", "_sampler0", "boot.csv", 1},
                       {"m2", "_sampler1", "b.csv", 0},
                       {"m2", "_sampler2", "a.csv", 0},
                       {"m3", "_sampler3", "s.csv", 1}};

    ASSERT_EQ(4u, samplings.size());
    for (size_t i = 0; i < samplings.size(); i++) {
        EXPECT_EQ(cases[i].model, samplings[i].model);
        EXPECT_EQ(cases[i].sampler, samplings[i].sampler);
        EXPECT_EQ(cases[i].file, samplings[i].file);
        EXPECT_EQ(cases[i].mode, samplings[i].mode);
    }
    CollectSamplers(paModel); // a second collection starts a new list, the count runs on
    ASSERT_EQ(4u, samplings.size());
    EXPECT_EQ("_sampler4", samplings[0].sampler);
}

TEST_F(FileSamplersTest, OneVariable) {
    struct {
        char const* model;
        char const* var;
        char const* text;
    } const cases[] = {
        {"m1", "tvV", "\t_sampler0.GetDouble(\"TVV\", tvV);\n"},
        {"m1", "nV", "\t_sampler0.GetDouble(\"NV\", nV);\n"},
        {"m2", "wt", "\t\t_sampler1.GetDouble(\"WTB\", wt);\n"}, // the first record that has it
        {"m3", "sex",
         "\t\t_sampler3.GetDouble(\"SEX\", sFileCell);\n"
         "\t\tif (0){\n"
         "\t\t} else if (strcmp(sFileCell, \"M\")==0){\n"
         "\t\t\tsex = 0;\n"
         "\t\t} else if (strcmp(sFileCell, \"F\")==0){\n"
         "\t\t\tsex = 1;\n"
         "\t\t} else if (strcmp(sFileCell, \"O\")==0){\n"
         "\t\t\tsex = 2;\n"
         "\t\t}\n"},
        {"m1", "b1", ""},  // only in a matrix mapping
        {"m2", "tvV", ""}, // another model's
        {"m1", "V", ""},
    };

    for (auto const& c : cases) {
        bool held = false;
        std::string text = Printed([&](FILE* fp) { return GenSampling(c.model, c.var, fp); }, held);
        EXPECT_EQ(c.text, text) << c.model << " " << c.var;
        EXPECT_EQ(*c.text != 0, held) << c.model << " " << c.var;
    }
}

TEST_F(FileSamplersTest, RandomEffectMatrix) {
    struct {
        char const* var;
        int n;
        char const* text;
    } const cases[] = {
        {"b2", 2,
         "\t_sampler0.GetDouble(\"o11\", _om[0]);\n"
         "\t_sampler0.GetDouble(\"o21\", _om[2]);\n"
         "\t_sampler0.GetDouble(\"o22\", _om[3]);\n"},
        {"d1", 3,
         "\t_sampler0.GetDouble(\"x1\", _om[0]);\n"
         "\t_sampler0.GetDouble(\"x2\", _om[4]);\n"
         "\t_sampler0.GetDouble(\"x3\", _om[8]);\n"},
        {"nV", 1, "\t_sampler0.GetDouble(\"NV\", _om[0]);\n"},
        {"e1", 1, ""},
    };

    for (auto const& c : cases) {
        bool held = false;
        std::string text =
            Printed([&](FILE* fp) { return GenBlockSampling("m1", c.var, "_om", c.n, fp); }, held);
        EXPECT_EQ(c.text, text) << c.var;
        EXPECT_EQ(*c.text != 0, held) << c.var;
    }
    bool held = true;
    EXPECT_EQ("", Printed([](FILE* fp) { return GenBlockSampling("m2", "wt", "_om", 1, fp); },
                          held)); // a distribution holds no matrix
    EXPECT_FALSE(held);
}
