// Action code: sequence statements, actions, and the hooks of dose points and observations.
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

namespace {

class ParsActionTest : public VaroTest {
  protected:
    template <class Rule> std::string Run(std::string const& text, Rule rule) {
        buffers.push_back(std::make_unique<std::string>(text + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        sErr = nullptr;
        N n;
        testing::internal::CaptureStderr();
        try {
            rule(p, n);
        } catch (SyntaxError const&) {
        }
        err = testing::internal::GetCapturedStderr();
        rest = p;
        return DumpTree(n);
    }

    std::string Stmt(std::string const& text) {
        return Run(text, [](char const*& p, N& n) { parsStmt(p, n); });
    }

    std::string Action(std::string const& text, int allowSleep) {
        return Run(text, [&](char const*& p, N& n) { parsSequenceStmt(p, n, allowSleep); });
    }

    std::string err, rest;
    std::vector<std::unique_ptr<std::string>> buffers;
};

} // namespace

TEST_F(ParsActionTest, Actions) {
    struct {
        char const* text;
        char const* tree;
    } const cases[] = {
        {"sequence { sleep(1) a = 2 }", "(CN_SEQUENCE [(CN_SLEEP 1) (CN_ASSIGN a 2)])"},
        {"sequence { sleep(1, x); addToCpt(A) addToCpt(A, 1) peakreset(Cmax) }",
         "(CN_SEQUENCE [(CN_SLEEP 1 x) (CN_ADDTOCPT A) (CN_ADDTOCPT A 1) (CN_PEAKRESET Cmax)])"},
        {"sequence { while (a < 3) { sleep(1) a = a + 1 } }",
         "(CN_SEQUENCE [(CN_WHILE (CN_LT a 3) (CN_BLOCK [(CN_SLEEP 1) (CN_ASSIGN a (CN_ADD a "
         "1))]))])"},
        {"sequence { if (a) b = 1 else if (c) d = 1 else e = 1 }",
         "(CN_SEQUENCE [(CN_IF a (CN_ASSIGN b 1) (CN_IF c (CN_ASSIGN d 1) (CN_ASSIGN e 1)))])"},
        {"sequence { if a > 1 b = 2 }", "(CN_SEQUENCE [(CN_IF (CN_GT a 1) (CN_ASSIGN b 2))])"},
        {"sequence { if (a) b = 1 c = 2 }",
         "(CN_SEQUENCE [(CN_IF a (CN_ASSIGN b 1)) (CN_ASSIGN c 2)])"},
        // An else with no if before it is just a name.
        {"sequence { else }", "(CN_SEQUENCE [else])"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ(c.tree, Stmt(c.text)) << c.text;
        EXPECT_EQ("", err) << c.text;
    }
}

TEST_F(ParsActionTest, ActionMessages) {
    EXPECT_EQ("_", Action("sleep(1)", 0));
    EXPECT_EQ("Error line 1: 'sleep' not allowed in this context\n", err);
    EXPECT_EQ("_", Action("while (a) { sleep(1) }", 0));
    EXPECT_EQ("Error line 1: 'sleep' not allowed in this context\n", err);
    EXPECT_EQ("(CN_WHILE a (CN_BLOCK [(CN_SLEEP 1)]))", Action("while (a) { sleep(1) }", 1));
    Action("if (a = 1) b = 2", 1);
    EXPECT_EQ("Error line 1: Error: Assignment only allowed at top level\n", err);
    Action("addToCpt A", 1);
    EXPECT_EQ("Error line 1: Expected: ( <expr> )\n", err);
    Action("sleep 1", 1);
    EXPECT_EQ("Error line 1: Expected: ( <expr> )\n", err);
    Action("peakreset(1)", 1);
    EXPECT_EQ("Error line 1: Expected: <peak variable name>\n", err);
}

TEST_F(ParsActionTest, DosepointHooks) {
    Stmt("dosepoint(A, dobefore = { a = 1 }, doafter = b = 2, tlag = 1)");
    ASSERT_EQ("", err);
    std::string text = "dosepoint(A, doafter = { x = 1 }, dobefore = y = 2)";
    N n;
    Run(text, [&](char const*& p, N& out) {
        parsStmt(p, out);
        n = out;
    });
    ASSERT_TRUE(n && n->appendix);
    EXPECT_EQ("(CN_ASSIGN y 2)", DumpTree(n->appendix->dobefore));
    EXPECT_EQ("(CN_BLOCK [(CN_ASSIGN x 1)])", DumpTree(n->appendix->doafter));
    EXPECT_FALSE(n->appendix->simulate);

    Stmt("dosepoint(A, dobefore = { sleep(1) })");
    EXPECT_EQ(0u, err.find("Error line 1: 'sleep' not allowed in this context\n"));
    Stmt("dosepoint(A, dobefore = a = 1, dobefore = b = 1)");
    EXPECT_EQ(0u, err.find("Error line 1: Expected: tlag|duration|rate|bioavail = <expr>\n"));
    Stmt("dosepoint(A, doafter { a = 1 })");
    EXPECT_EQ(0u, err.find("Error line 1: Expected = or <-\n"));
}

TEST_F(ParsActionTest, AppendixOfObservations) {
    auto appendix = [&](std::string const& text, int allowSimulate, N& node) {
        node = std::make_shared<CNode>(CN_OBSERVE);
        Run(text, [&](char const*& p, N&) { parsAppendix(p, node, allowSimulate); });
    };
    N node;
    appendix(", simulate = { y = 1 }, dobefore = a = 1 )", 1, node);
    EXPECT_EQ("", err);
    ASSERT_TRUE(node->appendix);
    EXPECT_EQ("(CN_BLOCK [(CN_ASSIGN y 1)])", DumpTree(node->appendix->simulate));
    EXPECT_EQ("(CN_ASSIGN a 1)", DumpTree(node->appendix->dobefore));
    EXPECT_EQ(")", rest);

    // A second hook of a kind is left for the caller, with the comma before it.
    appendix(", doafter = a = 1, doafter = b = 2)", 1, node);
    EXPECT_EQ(", doafter = b = 2)", rest);

    appendix(", simulate = { }", 0, node);
    EXPECT_EQ("Error line 1: 'simulate' not allowed in this context\n", err);
    EXPECT_FALSE(node->appendix);

    appendix(", bql)", 1, node);
    EXPECT_FALSE(node->appendix);
    EXPECT_EQ(", bql)", rest);
}
