// Override blocks behind a model: the copy of the model text with the override's values put in
// place (each text is the whole file written), the merge into the model's tree, the spans the
// rewrite rests on, and the model-wide flags that the override's parse must leave alone.
#include "driver/driver.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

std::string const NO_FILE = "<no file>";

class OverrideTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        zeroRanefs.clear();
        bAllowNullOmegas = 0;
        bBqlInModel = 0;
        char tmpl[] = "/tmp/varo5_override_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(tmpl));
        dir = tmpl;
    }

    void TearDown() override {
        unlink((dir + "/m.mdl").c_str());
        unlink((dir + "/m.mdx").c_str());
        rmdir(dir.c_str());
    }

    // Reads 'text' as a model file; with 'replace' returns the text written for it, else the
    // dump of the merged model. stderr goes to 'err'.
    std::string Read(std::string const& text, int replace) {
        VaroTest::SetUp();
        std::string in = dir + "/m.mdl", out = dir + "/m.mdx";
        unlink(out.c_str());
        std::ofstream(in, std::ios::binary) << text;
        NV includes;
        testing::internal::CaptureStderr();
        model = ReadModelFile(in.c_str(), includes, replace);
        err = testing::internal::GetCapturedStderr();
        if (!replace) return DumpTree(model);
        std::ifstream f(out, std::ios::binary);
        if (!f) return NO_FILE;
        return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    }

    // The text written for "test() {<model>}\noverride test() {<over>}\n".
    std::string Rewrite(std::string const& body, std::string const& over) {
        return Read("test() {" + body + "}\noverride test() {" + over + "}\n", 1);
    }

    // The dump of the first statement of the merged model "test() {<body>}" with 'over'.
    std::string Merge(std::string const& body, std::string const& over) {
        Read("test() {" + body + "}\noverride test() {" + over + "}\n", 0);
        if (!model || model->child2->list.empty()) return "<no model>";
        return DumpTree(model->child2->list[0]);
    }

    std::string dir, err;
    N model;
};

struct Case {
    char const* body;
    char const* over;
    char const* want; // the model's part of the text written
};

} // namespace

TEST_F(OverrideTest, RewriteOfFixedEffects) {
    Case const cases[] = {
        // Only the estimate's place changes: the digits in the name and the enable mark stay.
        {"fixef(tvV2(enable = 2) = 2)", "fixef(tvV2(enable = 2) = 2)",
         "fixef(tvV2(enable = 2) = c(, 2, ))"},
        // The override's marks replace the model's; a part left out keeps the model's text.
        {"fixef(a = c(0, 1, 2))", "fixef(a = c(, 5, ))", "fixef(a = c(0, 5, 2))"},
        {"fixef(a = 1)", "fixef(a(freeze) = 2)", "fixef(a(freeze) = c(, 2, ))"},
        {"fixef(a(enable=1) = c(1/2 , 1 , 3))", "fixef(a = c(0.25,,))", "fixef(a = c(0.25, 1, 3))"},
        // An override item without an estimate is passed over.
        {"fixef(a = 1, b = 2)", "fixef(a(freeze), b = 3)", "fixef(a = 1, b = c(, 3, ))"},
        // A name twice in the override: the second edit of the same text is dropped.
        {"fixef(a = 1)", "fixef(a = 3, a = 4)", "fixef(a = c(, 3, ))"},
        // A model item without an estimate takes the override's whole.
        {"fixef(a)", "fixef(a = 7)", "fixef(a = c(, 7, ))"},
        // The comment behind a plain estimate stays.
        {"fixef(a = 1 # one\n b = 2)", "fixef(a = 3, b = 4)",
         "fixef(a = c(, 3, ) # one\n b = c(, 4, ))"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(std::string("test() {") + c.want + "}\n", Rewrite(c.body, c.over)) << c.body;
        EXPECT_EQ("", err) << c.body;
    }
}

TEST_F(OverrideTest, RewriteOfOmegasAndErrors) {
    Case const cases[] = {
        // The override's first block, by rows; its names in the other order still find the
        // model's entries, and a left-out number replaces nothing.
        {"ranef(block(b, c) = c(1, 0.1, 2))", "ranef(block(c, b) = c(20, , 10))",
         "ranef(block(b, c) = c(10, 0.1, 20))"},
        // A diagonal entry of the block reaches a diag group of the model; frozen groups and
        // unit omegas, which have no text, stay.
        {"ranef(diag(a) = c(1), block(c)(freeze) = c(3), d)",
         "ranef(block(a, c, d) = c(7, 0.5, 8, 0, 0, 9))",
         "ranef(diag(a) = c(7), block(c)(freeze) = c(3), d)"},
        // Only the first block of the override counts, and its diag groups never do.
        {"ranef(diag(a) = c(1), block(b) = c(2))",
         "ranef(diag(a) = c(5), block(b) = c(6), block(a) = c(7))",
         "ranef(diag(a) = c(1), block(b) = c(6))"},
        // Error values as written, digits and all; frozen entries on either side stay.
        {"error(e1 = 0.1, e2(freeze) = 0.2, e3 = 0.3, e4)",
         "error(e1 = 0.123456789012345, e2 = 5, e3(freeze) = 6, e4 = 7)",
         "error(e1 = 0.123456789012345, e2(freeze) = 0.2, e3 = 0.3, e4)"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(std::string("test() {") + c.want + "}\n", Rewrite(c.body, c.over)) << c.body;
        EXPECT_EQ("", err) << c.body;
    }
}

TEST_F(OverrideTest, RewriteKeepsTheFileAroundTheModel) {
    // Blank lines behind the model stay; the comment and the blocks behind it go. Of two
    // blocks only the last one's edits remain.
    EXPECT_EQ("include(\"a.h\")\n# m\nt() { fixef(a = 1, b = c(, 6, )) }\n\n",
              Read("include(\"a.h\")\n# m\nt() { fixef(a = 1, b = 2) }\n\n# run 1\n"
                   "override t() { fixef(a = 3, b = 5) }\noverride t() { fixef(b = 6) }\n",
                   1));
    EXPECT_EQ("", err);
    // Without an override nothing is written.
    EXPECT_EQ(NO_FILE, Read("t() { fixef(a = 1) }\n", 1));
    EXPECT_EQ("", err);
    EXPECT_FALSE(bFatalError);
    // Text behind the last block is an error, after the file is written.
    EXPECT_EQ("t() { fixef(a = c(, 2, )) }\n",
              Read("t() { fixef(a = 1) }\noverride t() { fixef(a = 2) } x\n", 1));
    EXPECT_EQ("Error line 2: Extra characters at end of file\n"
              "override t() { fixef(a = 2) } x\n"
              "                              ^\n",
              err);
}

TEST_F(OverrideTest, MergeIntoTheTree) {
    Case const cases[] = {
        // Groups merge by place when kind and names agree; an empty entry keeps the number.
        {"ranef(block(a, b) = c(1, 0.5, 1.25), diag(c) = c(4))", "ranef(block(a, b) = c(4, , 6))",
         "(CN_RANEF5 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [4 0.5 6]) "
         "(CN_VALUES [1 0.5 1]))"
         " (CN_VARIANCE_DIAG (CN_NAMES [c]) (CN_VALUES [4]) (CN_VALUES [2]))])"},
        {"ranef(block(a, b) = c(1, 0, 4))", "ranef(block(b, a) = c(4, 0, 6))",
         "(CN_RANEF5 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [1 0 4]) "
         "(CN_VALUES [1 0 2]))])"},
        {"ranef(diag(a)(freeze) = c(1), block(b) = c(4))", "ranef(diag(a) = c(9), diag(b) = c(5))",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES 1 [a]) (CN_VALUES [1]) (CN_VALUES [1]))"
         " (CN_RANEF_BLOCK (CN_NAMES [b]) (CN_VALUES [4]) (CN_VALUES [2]))])"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.want, Merge(c.body, c.over)) << c.body;
        EXPECT_EQ("", err) << c.body;
    }
    // A frozen merge drops the enable mark; bounds the override leaves out stay.
    Merge("fixef(a(enable=1) = c(0, 1, 2), b = 3)", "fixef(a(freeze) = c(, 5, ), b(enable=2))");
    ASSERT_TRUE(model);
    auto item = [](N const& i) {
        return DumpTree(i->child1) + " " + DumpTree(i->child2) + " [" + DumpTree(i->list[0]) + " " +
               DumpTree(i->list[1]) + " " + DumpTree(i->list[2]) + "]";
    };
    NV const& items = model->child2->list[0]->list;
    EXPECT_EQ("1 _ [0 5 2]", item(items[0]));
    EXPECT_EQ("_ 2 [_ 3 _]", item(items[1]));
}

TEST_F(OverrideTest, OverrideLeavesTheModelsFlags) {
    Read("t() { observe(Y = C + e, bql) }\noverride t() { fixef(a = 1) }\n", 0);
    EXPECT_EQ(1, bBqlInModel);
    // Left-out omegas are refused in the model and allowed in the override only.
    Read("t() { ranef(block(a, b) = c(1, , 2)) }\n", 0);
    EXPECT_TRUE(bFatalError);
    Read(
        "t() { ranef(block(a, b) = c(1, 0, 2)) }\noverride t() { ranef(block(a, b) = c(1, , 2)) }\n",
        0);
    EXPECT_FALSE(bFatalError);
    EXPECT_EQ(0, bAllowNullOmegas);
}

TEST_F(OverrideTest, FixefSpansEndAtTheirLastCharacter) {
    Read("t() { fixef(a = 5   # five\n b = c(1 , 2 /* two */ , 3) , c  // none\n ) }\n", 0);
    ASSERT_TRUE(model);
    NV const& items = model->child2->list[0]->list;
    EXPECT_EQ("a = 5", items[0]->pos.get_str());
    EXPECT_EQ("5", items[0]->child4->pos.get_str());
    EXPECT_EQ("b = c(1 , 2 /* two */ , 3)", items[1]->pos.get_str());
    EXPECT_EQ("1", items[1]->list[0]->pos.get_str());
    EXPECT_EQ("2", items[1]->list[1]->pos.get_str());
    EXPECT_EQ("c", items[2]->pos.get_str());
}
