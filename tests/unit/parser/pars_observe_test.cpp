// Observation statements: the tree of each with its options, its hooks and the record of
// count; every message with its caret line; several bad statements in one model.
#include "expr/tree_text.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

namespace {

class ParsObserveTest : public VaroTest {
  protected:
    // Parses "test() {\n<text>\n}" as a fresh run; keeps stderr in 'err' and the first
    // statement in 'stmt', and returns its dump (see Full), or "_" when the model failed.
    std::string Stmt(std::string const& text) {
        VaroTest::SetUp();
        buffers.push_back(
            std::make_unique<std::string>("test() {\n" + text + "\n}" + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        testing::internal::CaptureStderr();
        parsModel(p, model);
        err = testing::internal::GetCapturedStderr();
        stmt = N();
        if (!model || model->child2->list.empty()) return "_";
        stmt = model->child2->list[0];
        return Full(stmt);
    }

    // The tree, then each hook as " before=", " after=", " simulate=", then the record of
    // count as " extra(beta power zprobOrLinkp 'ilink' noreset)".
    static std::string Full(N const& n) {
        std::string out = DumpTree(n);
        if (n->appendix) {
            if (n->appendix->dobefore) out += " before=" + DumpTree(n->appendix->dobefore);
            if (n->appendix->doafter) out += " after=" + DumpTree(n->appendix->doafter);
            if (n->appendix->simulate) out += " simulate=" + DumpTree(n->appendix->simulate);
        }
        if (n->extra) {
            CNodeExtra const& x = *n->extra;
            out += " extra(" + DumpTree(x.beta) + " " + DumpTree(x.power) + " " +
                   DumpTree(x.zprobOrLinkp) + " '" + std::string(x.ilink) + "' " +
                   std::to_string(x.noreset) + ")";
        }
        return out;
    }

    N stmt;
    std::string err;
    std::vector<std::unique_ptr<std::string>> buffers;
};

// The report of an error in line 2 of a model: the caret stands under the end of 'before',
// which is the text of the line up to the place of the error.
std::string Report(char const* msg, char const* line, std::string const& before) {
    return std::string("Error line 2: ") + msg + "\n" + line + "\n" +
           std::string(before.size(), ' ') + "^\n";
}

} // namespace

TEST_F(ParsObserveTest, Trees) {
    struct {
        char const* text;
        char const* tree;
    } const cases[] = {
        {"observe(C = A/V, bql)", "(CN_OBSERVE C _ (CN_DIV A V) 1 [0 0])"},
        {"observe(C = A/V, bql = 0.5, aql = 10)", "(CN_OBSERVE C _ (CN_DIV A V) 3 [0.5 10])"},
        {"observe(C(t) <- A + eps, aql = -1.5)", "(CN_OBSERVE C t (CN_ADD A eps) 2 [0 -1.5])"},
        {"observe(C)", "(CN_OBSERVE C [0 0])"},
        {"observe(C = x, simulate = { y = 1 }, dobefore = a = 1)",
         "(CN_OBSERVE C _ x [0 0]) before=(CN_ASSIGN a 1) simulate=(CN_BLOCK [(CN_ASSIGN y 1)])"},
        {"observe(C = x, bql doafter = { z = 2 })",
         "(CN_OBSERVE C _ x 1 [0 0]) after=(CN_BLOCK [(CN_ASSIGN z 2)])"},
        {"observe1(E)", "(CN_OBSERVE1 E)"},
        {"multi(y(t), ilogit, a, b + 1, doafter = { n = 0 })",
         "(CN_MULTI y t ilogit [a (CN_ADD b 1)]) after=(CN_BLOCK [(CN_ASSIGN n 0)])"},
        {"multi(y, f, x1, x2, x3, x4, x5, x6, x7, x8, x9, x10)",
         "(CN_MULTI y _ f [x1 x2 x3 x4 x5 x6 x7 x8 x9 x10])"},
        // Scale and intercepts are folded into -(a*b) - c; with no intercept nothing is left.
        {"ordinal(y, ilogit, a, b)", "(CN_MULTI y _ ilogit)"},
        {"ordinal(y(t), ilogit, s, b, c1, c2, dobefore = k = 1)",
         "(CN_MULTI y t ilogit [(CN_SUB (CN_NEG (CN_MUL s b)) c1) "
         "(CN_SUB (CN_NEG (CN_MUL s b)) c2)]) before=(CN_ASSIGN k 1)"},
        {"LL(y, e)", "(CN_LL y e LL_cat)"},
        {"LL(y, log(p), type = cont, simulate = { y = 1 })",
         "(CN_LL y (CN_CALL log [p]) LL_cont) simulate=(CN_BLOCK [(CN_ASSIGN y 1)])"},
        {"LL(y, e, type <- event doafter = a = 1)", "(CN_LL y e LL_event) after=(CN_ASSIGN a 1)"},
        {"LL(n, e, type = count)", "(CN_LL n e LL_count)"},
        {"event(y, h, dropout)", "(CN_EVENT y h 1)"},
        {"event(y, h, dropout = d, interval = w, dobefore = a = 1)",
         "(CN_EVENT y h d w) before=(CN_ASSIGN a 1)"},
        {"event(y, h interval <- w dropout)", "(CN_EVENT y h 1 w)"},
        // The record is always there; without a value option only noreset is filled in.
        {"count(y, m)", "(CN_COUNT y m) extra(_ _ _ '' 0)"},
        {"count(y, m, noreset)", "(CN_COUNT y m) extra(_ _ _ '' 1)"},
        {"count(y, m, beta = b1, zprob = z, beta = b2)", "(CN_COUNT y m) extra(b2 1 z '' 0)"},
        {"count(y, m, beta = b, power = q, linkp = l, ilink = ilogit, noreset,"
         " dobefore = { a = 1 }, doafter = c = 2)",
         "(CN_COUNT y m) before=(CN_BLOCK [(CN_ASSIGN a 1)]) after=(CN_ASSIGN c 2) "
         "extra(b q l 'ilogit' 1)"},
        // linkp without ilink is dropped: the generated count code reads zprob then.
        {"count(y, m, linkp = l)", "(CN_COUNT y m) extra(_ 1 0 '' 0)"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ(c.tree, Stmt(c.text)) << c.text;
        EXPECT_EQ("", err) << c.text;
    }
}

TEST_F(ParsObserveTest, LimitsFlagTheModelAndOrdinalEntriesStandAlone) {
    Stmt("observe(C = x, aql)");
    EXPECT_EQ(1, bBqlInModel);
    Stmt("observe(C = x, dobefore = bql = 1)");
    EXPECT_EQ(0, bBqlInModel);

    // Nine intercepts are the most that pass; each entry is a tree of its own.
    Stmt("ordinal(y, f, a, b, c1, c2, c3, c4, c5, c6, c7, c8, c9)");
    ASSERT_EQ("", err);
    ASSERT_EQ(9u, stmt->list.size());
    EXPECT_EQ("(CN_SUB (CN_NEG (CN_MUL a b)) c9)", DumpTree(stmt->list[8]));
    EXPECT_FALSE(tree_text::ShareNodes(stmt->list[0], stmt->list[1]));
}

TEST_F(ParsObserveTest, Messages) {
    struct {
        char const* text;
        char const* msg;
        char const* before; // the line up to the caret
    } const cases[] = {
        {"observe(1)", "Expected: <prediction variable name>", "observe("},
        {"observe1(x y)", "Expected: ')'", "observe1(x "},
        {"observe(C() = 1)", "Expected: name of independent variable", "observe(C("},
        {"observe(C(t)() = 1)", "Expected: name of independent variable", "observe(C(t)("},
        {"observe(C(t)(u) = 1)", "Independent variable specified twice", "observe(C(t)(u"},
        {"observe(C = x, bql = low)", "expected numeric BQL limit", "observe(C = x, bql = "},
        {"observe(C = x, bql, aql = )", "expected numeric AQL limit", "observe(C = x, bql, aql = "},
        // bql comes before aql or not at all.
        {"observe(C = A/V, aql = 10, bql = 0.5)", "Expected: ')'", "observe(C = A/V, aql = 10"},
        {"multi(1, f, a)", "Expected: <observed variable name>", "multi("},
        {"multi(y(1), f, a)", "Expected: name of independent variable", "multi(y("},
        {"multi(y, 2, a)", "Expected: name of inverse link function, such as ilogit", "multi(y, "},
        {"multi(y, ilogit)", "expected at least one expression after link function",
         "multi(y, ilogit"},
        {"multi(y, ilogit, dobefore = a = 1)",
         "expected at least one expression after link function", "multi(y, ilogit"},
        {"multi(y, f, a, a, a, a, a, a, a, a, a, a, a)",
         "more than 10 expressions after link function",
         "multi(y, f, a, a, a, a, a, a, a, a, a, a, a"},
        {"multi(y, f, x, doafter = a = 1, simulate = { })",
         "'simulate' not allowed in this context", "multi(y, f, x, doafter = a = 1, simulate"},
        {"ordinal(y, ilogit, a)",
         "expected scale expression and at least one intercept expression after link function",
         "ordinal(y, ilogit, a"},
        // Ten intercepts are refused, though the message speaks of more than ten.
        {"ordinal(y, f, a, b, c, c, c, c, c, c, c, c, c, c)", "more than 10 intercept expressions",
         "ordinal(y, f, a, b, c, c, c, c, c, c, c, c, c, c"},
        {"ordinal(y, f, a, b, c, doafter = x = 1, simulate = { })",
         "'simulate' not allowed in this context",
         "ordinal(y, f, a, b, c, doafter = x = 1, simulate"},
        {"LL(2, e)", "Expected: <observed variable name>", "LL("},
        {"LL(y, e, foo)", "Expected: type|dobefore|doafter|simulate or ')'", "LL(y, e, "},
        {"LL(y, e, type = x)", "Expected: cont|cat|count|event", "LL(y, e, type = x"},
        {"LL(y, e, type = 1)", "Expected: cont|cat|count|event", "LL(y, e, type = "},
        // The type comes first; after a hook it is left for the closing parenthesis.
        {"LL(y, e, dobefore = a = 1, type = cont)", "Expected: ')'", "LL(y, e, dobefore = a = 1"},
        {"event(1, h)", "Expected: <censor variable name>", "event("},
        {"event(y, h, interval w)", "Expected = or <- followed by <interval expression>",
         "event(y, h, interval "},
        {"event(y, h, simulate = {})", "'simulate' not allowed in this context",
         "event(y, h, simulate"},
        {"event(y, h, foo)", "Expected: ')'", "event(y, h, "},
        {"count(1, m)", "Expected: <count variable name>", "count("},
        {"count(y, m, power = 2)", "'power' is an option only if 'beta' is given",
         "count(y, m, power = 2"},
        {"count(y, m, zprob = z, linkp = l, ilink = f)",
         "'prob' and 'linkp' cannot both be specified",
         "count(y, m, zprob = z, linkp = l, ilink = f"},
        {"count(y, m, ilink = ilogit)", "'ilink' requires 'linkp' to be specified",
         "count(y, m, ilink = ilogit"},
        {"count(y, m, linkp = l, ilink = 3)",
         "Expected: name of inverse link function, such as ilogit",
         "count(y, m, linkp = l, ilink = "},
        {"count(y, m, bogus = 1)", "Expected: ')'", "count(y, m, "},
        {"count(y, m, dobefore = a = 1, dobefore = b = 2)", "Expected: ')'",
         "count(y, m, dobefore = a = 1, "},
        {"count(y, m, beta b)", "Expected = or <-", "count(y, m, beta "},
    };

    for (auto const& c : cases) {
        EXPECT_EQ("_", Stmt(c.text)) << c.text;
        EXPECT_EQ(Report(c.msg, c.text, c.before), err) << c.text;
        EXPECT_TRUE(bFatalError) << c.text;
    }
}

// Each bad statement is reported on its own line, whether it failed by a message or by a
// syntax error, and the parse goes on at the next statement word.
TEST_F(ParsObserveTest, ThreeBadStatementsThreeReports) {
    EXPECT_EQ("_", Stmt("  observe(C(t)(u) = 1)\n"
                        "  event(y, h, interval w)\n"
                        "  count(n, m, power = 2)"));
    EXPECT_EQ("Error line 2: Independent variable specified twice\n"
              "  observe(C(t)(u) = 1)\n"
              "                ^\n"
              "Error line 3: Expected = or <- followed by <interval expression>\n"
              "  event(y, h, interval w)\n"
              "                       ^\n"
              "Error line 4: 'power' is an option only if 'beta' is given\n"
              "  count(n, m, power = 2)\n"
              "                       ^\n",
              err);
    EXPECT_TRUE(bFatalError);
}
