// The parameter statements: the trees of fixef, constrain, the ranef family, error, vcvfixef,
// iwndf, the data columns, tables and assignment lists; every message with its caret line;
// omega matrices, their factors, and random effects that a zero omega turns off.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

typedef std::vector<std::string> Texts;

// A statement and the dump of what the model body receives from it.
struct Tree {
    char const* text;
    char const* tree;
};

// A statement and its report: the message, and 'width' carets from column 'col'.
struct Bad {
    char const* text;
    char const* msg;
    int col; // 0 also when the error stands at the end of the line
    int width = 1;
};

// The report of an error in line 2 of a model whose statement line is 'line'.
std::string Report(char const* msg, char const* line, int col, int width = 1) {
    return std::string("Error line 2: ") + msg + "\n" + line + "\n" +
           std::string(size_t(col), ' ') + std::string(size_t(width), '^') + "\n";
}

class ParsParamTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        zeroRanefs.clear();
        bAllowNullOmegas = 0;
    }

    void TearDown() override { bAllowNullOmegas = 0; }

    // Parses "test() {\n<text>\n}" as a fresh run; returns the dump of the block's entries
    // (the statement and any assignments of switched-off random effects), or of the whole
    // result when the model failed. The statement's node is kept in 'stmt', stderr in 'err'.
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
        if (!model || !model->child2 || model->child2->type != CN_BLOCK) return DumpTree(model);
        NV const& list = model->child2->list;
        if (!list.empty()) stmt = list[0];
        std::string out;
        for (size_t i = 0; i < list.size(); i++)
            out += (i ? " " : "") + DumpTree(list[i]);
        return out;
    }

    void ExpectTrees(std::vector<Tree> const& cases) {
        for (Tree const& c : cases) {
            EXPECT_EQ(c.tree, Stmt(c.text)) << c.text;
            EXPECT_EQ("", err) << c.text;
        }
    }

    void ExpectReports(std::vector<Bad> const& cases) {
        for (Bad const& c : cases) {
            Stmt(c.text);
            EXPECT_EQ(Report(c.msg, c.text, c.col, c.width), err) << c.text;
            EXPECT_TRUE(bFatalError) << c.text;
        }
    }

    N stmt;
    std::string err;
    std::vector<std::unique_ptr<std::string>> buffers;
};

// A fixef item as "name frozen-mark enable-mark [lower initial upper]", with "~estimate"
// behind when the item has the placeholder of its estimate.
std::string Item(N const& item) {
    std::string out = std::string(item->name) + " " + DumpTree(item->child1) + " " +
                      DumpTree(item->child2) + " [";
    for (size_t i = 0; i < item->list.size(); i++)
        out += (i ? " " : "") + DumpTree(item->list[i]);
    out += "]";
    if (item->child4) out += " ~" + std::string(item->child4->name);
    return out;
}

} // namespace

TEST_F(ParsParamTest, FixefItemsMarksAndEstimates) {
    struct {
        char const* text;
        Texts items;
    } const cases[] = {
        // Frozen: the enable mark is dropped without a message.
        {"fixef(a(freeze)(enable=1) = 2)", {"a 1 _ [_ 2 _] ~whatever"}},
        {"fixef(a(enable=2.7))", {"a _ 2 [_ _ _]"}},
        {"fixef(a(enable <- c(3.9)) = c(1, 2, 3))", {"a _ (CN_VALUES [3]) [1 2 3] ~whatever"}},
        {"fixef(a = c(0, 1, 2), b = c(,1,), d = 3)",
         {"a _ _ [0 1 2] ~whatever", "b _ _ [_ 1 _] ~whatever", "d _ _ [_ 3 _] ~whatever"}},
        // A leading comma, none between items, blanks and a comment inside c(...).
        {"fixef(, a = c( /* lo */ , 1/2, ) b <- -2 c)",
         {"a _ _ [_ 0.5 _] ~whatever", "b _ _ [_ -2 _] ~whatever", "c _ _ [_ _ _]"}},
        {"fixef(x = c(-1, , 2*3))", {"x _ _ [-1 _ 6] ~whatever"}},
        {"fixef()", {}},
    };

    for (auto const& c : cases) {
        Stmt(c.text);
        EXPECT_EQ("", err) << c.text;
        ASSERT_TRUE(stmt) << c.text;
        EXPECT_EQ(CN_FIXEF, stmt->type) << c.text;
        Texts items;
        for (N const& item : stmt->list)
            items.push_back(Item(item));
        EXPECT_EQ(c.items, items) << c.text;
    }

    // The spans of an item, its estimate and its numbers.
    Stmt("fixef(a = c(0, 1/2, 2), b(freeze) = 3, c)");
    ASSERT_EQ("", err);
    NV const& items = stmt->list;
    ASSERT_EQ(3u, items.size());
    EXPECT_EQ("a = c(0, 1/2, 2)", items[0]->pos.get_str());
    EXPECT_EQ("c(0, 1/2, 2)", items[0]->child4->pos.get_str());
    EXPECT_EQ("1/2", items[0]->list[1]->pos.get_str());
    EXPECT_EQ("b(freeze) = 3", items[1]->pos.get_str());
    EXPECT_EQ("3", items[1]->child4->pos.get_str());
    EXPECT_EQ("c", items[2]->pos.get_str());
}

TEST_F(ParsParamTest, FixefMessages) {
    ExpectReports({
        {"fixef(a = c(0, 1))", "Expected: ','", 16},
        {"fixef(a = b)", "Expected simple numeric value", 11},
        {"fixef(1)", "Expected: <fixed effect variable>", 6},
        {"fixef(a(freeze)(freeze))", "freeze specified twice", 23},
        {"fixef(a(enable=1)(enable=2))", "enable specified twice", 27},
        {"fixef(a(enable=-1))", "Enable number must be integer >= 0", 17},
        {"fixef(a(enable=c()))", "Expected integer enable number", 17},
        {"fixef(a(enable=c(-2)))", "Enable number inside c(..) must be integer >= 0", 19},
        {"fixef(a(enable=c(1 2)))", "Expected: ')'", 19},
        {"fixef(a(enable=x))", "Expected integer enablement mask", 15},
        {"fixef(a(fix))", "Expected 'freeze' or 'enable'", 8},
        {"fixef(a(enable 1))", "Expected = or <-", 15},
        {"fixef a", "Expected: '('", 6},
    });
}

TEST_F(ParsParamTest, ConstrainAndAssignmentLists) {
    ExpectTrees({
        {"constrain(a > 0 && b < 1)", "(CN_CONSTRAIN (CN_AND (CN_GT a 0) (CN_LT b 1)))"},
        {"stparm(V = tvV * exp(nV), Cl <- tvCl)",
         "(CN_STPARM [(CN_ASSIGN V (CN_MUL tvV (CN_CALL exp [nV]))) (CN_ASSIGN Cl tvCl)])"},
        {"group(a = 1 b = 2)", "(CN_GROUP [(CN_ASSIGN a 1) (CN_ASSIGN b 2)])"},
        {"secondary(, s = a / b)", "(CN_SECONDARY [(CN_ASSIGN s (CN_DIV a b))])"},
        {"stparm()", "(CN_STPARM)"},
    });
    ExpectReports({
        {"stparm(V = 1, W)", "Expected assignment statement", 15},
        // The comma is read ahead of an item, so none may stand before ")".
        {"group(a = 1, b = 2,)", "Unrecognized primitive expression", 19},
        {"constrain a > 0", "Expected: ( <boolean expr> )", 10},
        {"constrain(a = 0)", "Error: Assignment only allowed at top level", 13},
    });
}

TEST_F(ParsParamTest, DataColumns) {
    struct {
        char const* text;
        char const* tree;
        std::vector<int> marked; // 1 where the name was written with "()"
    } const cases[] = {
        {"covariate(sex(), age)", "(CN_COVARIATE [sex age])", {1, 0}},
        {"fcovariate(dose ( ) )", "(CN_FCOVARIATE [dose])", {1}},
        {"interpolate(x, y)", "(CN_INTERPOLATE [x y])", {0, 0}},
        {"covariate()", "(CN_COVARIATE)", {}},
    };

    for (auto const& c : cases) {
        EXPECT_EQ(c.tree, Stmt(c.text)) << c.text;
        EXPECT_EQ("", err) << c.text;
        ASSERT_EQ(c.marked.size(), stmt->list.size()) << c.text;
        for (size_t i = 0; i < c.marked.size(); i++) {
            N const& mark = stmt->list[i]->child1;
            EXPECT_EQ(c.marked[i], mark ? int(mark->value) : 0) << c.text << " " << i;
        }
    }
    ExpectReports({
        {"covariate(a b)", "Expected: ','", 12},
        {"covariate(1)", "Expected: <covariate name>", 10},
        {"covariate(a(b))", "Expected: ')'", 12},
        {"interpolate(x())", "Expected: ','", 13},
        {"interpolate(1)", "Expected: <interpolated covariate name>", 12},
    });
}

TEST_F(ParsParamTest, Tables) {
    ExpectTrees({{"table(t = c(1, 2), y = c(3, 4) z <- c(5, -6))",
                  "(CN_TABLE [(CN_TABLE_X t [1 2]) (CN_TABLE_Y y [3 4]) "
                  "(CN_TABLE_Y z [5 (CN_NEG 6)])])"}});
    ExpectReports({
        {"table(t = c(1, 2), y = c(3, 4), z = c(5))", "table y row must be same length as x row",
         40},
        {"table(t = c())", "table x row must have at least one value", 13},
        {"table(t = c(1))", "table must have at least one y row", 0},
        {"table(1 = c(1))", "Expected x row variable name", 6},
        {"table(t c(1))", "Expected = or <-", 8},
        {"table(t = c(1), 2 = c(1))", "Expected dependent variable name", 16},
        {"table(t = (1))", "Expected 'c'", 10},
    });
}

TEST_F(ParsParamTest, RanefGroupsAndTheirFactors) {
    ExpectTrees({
        {"ranef(a)",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES [a]) (CN_VALUES [1]) (CN_VALUES [1]))])"},
        // Square roots of the variances; freeze marks on the names.
        {"ranef(a(freeze) = 4, diag(b, c)(freeze) = c(4, 0.25))",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES 1 [a]) (CN_VALUES [4]) (CN_VALUES [2])) "
         "(CN_VARIANCE_DIAG (CN_NAMES 1 [b c]) (CN_VALUES [4 0.25]) (CN_VALUES [2 0.5]))])"},
        // L = [[2,0,0],[1,3,0],[0.5,1,2]]; the factor by rows of its lower triangle.
        {"ranef4(block(a, b, c) = c(4, 2, 10, 1, 3.5, 5.25), same(d, e, f))",
         "(CN_RANEF4 [(CN_RANEF_BLOCK (CN_NAMES [a b c]) (CN_VALUES [4 2 10 1 3.5 5.25]) "
         "(CN_VALUES [2 1 3 0.5 1 2])) (CN_RANEF_SAME (CN_NAMES [d e f]))])"},
        {"ranef3(block(a, b))",
         "(CN_RANEF3 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [1 0 1]) (CN_VALUES [1 0 1]))])"},
        {"ranef2(diag(a, b), same(c, d) c)",
         "(CN_RANEF2 [(CN_VARIANCE_DIAG (CN_NAMES [a b]) (CN_VALUES [1 1]) (CN_VALUES [1 1])) "
         "(CN_RANEF_SAME (CN_NAMES [c d])) "
         "(CN_VARIANCE_DIAG (CN_NAMES [c]) (CN_VALUES [1]) (CN_VALUES [1]))])"},
        {"ranef1(x <- 9)",
         "(CN_RANEF1 [(CN_VARIANCE_DIAG (CN_NAMES [x]) (CN_VALUES [9]) (CN_VALUES [3]))])"},
    });
    EXPECT_TRUE(zeroRanefs.empty());

    // The numbers and names keep their spans.
    Stmt("ranef(block(a, b) = c(1, 0.5, 2.0), x = 2.50)");
    ASSERT_EQ("", err);
    N block = stmt->list[0];
    EXPECT_EQ("a, b", block->child1->pos.get_str());
    EXPECT_EQ("b", block->child1->list[1]->pos.get_str());
    EXPECT_EQ("1, 0.5, 2.0", block->child2->pos.get_str());
    EXPECT_EQ("2.0", block->child2->list[2]->pos.get_str());
    EXPECT_EQ("2.50", stmt->list[1]->child2->list[0]->pos.get_str());
}

TEST_F(ParsParamTest, RanefMessages) {
    ExpectReports({
        // Reported at the whole list, at the end of the last number, at the number in excess.
        {"ranef(block(a, b) = c(1, 2, 1))", "Matrix is not positive-definite", 22, 7},
        {"ranef(block(a, b) = c(1, 2))", "Not enough numbers in variance/covariance matrix", 26},
        {"ranef(block(a) = c(1, 2))", "Too many numbers in variance/covariance matrix", 22},
        {"ranef(diag(a, b) = c(1))", "Not enough numbers in diagonal variance matrix", 22},
        {"ranef(diag(a) = c(1, 22))", "Too many numbers in diagonal variance matrix", 21, 2},
        {"ranef(diag(a, b) = c(1, -0.5))", "Negative omega value", 24, 4},
        {"ranef(a, same(b, c))",
         "'same' block must have same number of variables as previous block", 14, 4},
        // Reported at the cursor.
        {"ranef(same(a))", "'same' block cannot be first", 10},
        {"ranef(a = x)", "Expected: numeric variance value", 10},
        {"ranef(a(fix) = 1)", "Expected: ')' to close ranef statement", 7},
        {"ranef(block(a, b) = 1)", "Expected: 'c('", 20},
        {"ranef(diag(a, b) = c(1 2))", "Expected: ','", 23},
        {"ranef(diag(a, b) = c(1, ))", "Expected: <numerical variance/covariance value>", 24},
        {"ranef(diag(a b))", "Expected: ','", 13},
        {"ranef(diag(a, 1))", "Expected: <variable name>", 14},
        {"ranef(diag a)", "Expected: '('", 11},
        {"ranef(diag(a)(fix))", "Expected 'freeze'", 14},
        {"ranef(diag(a)(freeze)(freeze))", "freeze specified twice", 28},
    });
    EXPECT_TRUE(zeroRanefs.empty());
}

TEST_F(ParsParamTest, OverrideOmegasMayBeLeftOut) {
    bAllowNullOmegas = 1;
    // A left-out number is an empty entry; nothing is factored, so nothing is tested.
    ExpectTrees({
        {"ranef(block(a, b) = c(1, , 2))",
         "(CN_RANEF5 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [1 _ 2]))])"},
        {"ranef(block(a, b) = c(, , 1))",
         "(CN_RANEF5 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [_ _ 1]))])"},
        {"ranef(block(a, b) = c(1, 2, 1))",
         "(CN_RANEF5 [(CN_RANEF_BLOCK (CN_NAMES [a b]) (CN_VALUES [1 2 1]))])"},
    });
    // A block still needs its count of places; a diagonal group needs every value.
    ExpectReports({
        {"ranef(block(a, b) = c(1, ))", "Not enough numbers in variance/covariance matrix", 25},
        {"ranef(diag(a, b) = c(1, ))", "Expected: <numerical variance/covariance value>", 24},
    });
}

// The one test that warns: the log opens in the working directory at the first warning of
// the process, so it moves to a directory of its own before anything warns.
TEST_F(ParsParamTest, ZeroOmegasTurnRandomEffectsOff) {
    char dir[] = "/tmp/varo5_zero_omega_XXXXXX";
    ASSERT_TRUE(mkdtemp(dir));
    char cwd[4096];
    ASSERT_TRUE(getcwd(cwd, sizeof cwd));
    ASSERT_EQ(0, chdir(dir));

    struct {
        char const* text;
        char const* tree; // the statement, then the assignments the model receives
        Texts off;        // zeroRanefs after the statement
    } const cases[] = {
        // child1 and child2 lose the entry, child3 keeps its 0.
        {"ranef(diag(a, b) = c(1, 0))",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES [a]) (CN_VALUES [1]) (CN_VALUES [1 0]))]) "
         "(CN_ASSIGN b 0)",
         {"b"}},
        // The only group goes, and with it the statement.
        {"ranef(a = 0)", "(CN_ASSIGN a 0)", {"a"}},
        // The zero index is copied to the same group: d goes too, with no warning of its own.
        {"ranef(diag(a, b) = c(1, 0), same(c, d))",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES [a]) (CN_VALUES [1]) (CN_VALUES [1 0])) "
         "(CN_RANEF_SAME (CN_NAMES [c]))]) (CN_ASSIGN d 0) (CN_ASSIGN b 0)",
         {"d", "b"}},
        // Groups and indices are taken out from the last one back.
        {"ranef(x = 0, diag(p, q, r) = c(0, 4, 0))",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES [q]) (CN_VALUES [4]) (CN_VALUES [0 2 0]))]) "
         "(CN_ASSIGN r 0) (CN_ASSIGN p 0) (CN_ASSIGN x 0)",
         {"r", "p", "x"}},
    };

    for (auto const& c : cases) {
        zeroRanefs.clear();
        ExpectTrees({{c.text, c.tree}});
        EXPECT_EQ(c.off, zeroRanefs) << c.text;
    }

    // The list is never cleared: a second model still receives the names of the first.
    zeroRanefs.clear();
    EXPECT_EQ("(CN_ASSIGN u 0)", Stmt("ranef(u = 0)"));
    EXPECT_EQ("(CN_ASSIGN u 0) (CN_ASSIGN v 0)", Stmt("ranef(v = 0)"));
    EXPECT_EQ((Texts{"u", "v"}), zeroRanefs);

    // A zero ahead of an error still warns; the names are not taken out.
    zeroRanefs.clear();
    ExpectReports({{"ranef(diag(s, t) = c(0, -1))", "Negative omega value", 24, 2}});
    EXPECT_TRUE(zeroRanefs.empty());

    Warning().flush();
    std::ifstream log("VARO5Warnings.log");
    std::stringstream text;
    text << log.rdbuf();
    std::string expected;
    for (char const* nm : {"b", "a", "b", "x", "p", "r", "u", "v", "s"})
        expected +=
            std::string("Warning: zero omega value turns the random effect off - '") + nm + "'\n";
    EXPECT_EQ(expected, text.str());

    remove("VARO5Warnings.log");
    EXPECT_EQ(0, chdir(cwd));
    rmdir(dir);
}

TEST_F(ParsParamTest, ErrorEntries) {
    ExpectTrees({
        // Names, no variances, the value as written, the prior variances.
        {"error(eps(freeze)(0.1) = 0.5)",
         "(CN_ERROR [(CN_VARIANCE_DIAG (CN_NAMES 1 [eps]) _ (CN_VALUES [0.5]) (CN_VALUES "
         "[0.1]))])"},
        {"error(e1, e2 <- 4 e3(freeze))",
         "(CN_ERROR [(CN_VARIANCE_DIAG (CN_NAMES [e1]) _ (CN_VALUES [1])) "
         "(CN_VARIANCE_DIAG (CN_NAMES [e2]) _ (CN_VALUES [4])) "
         "(CN_VARIANCE_DIAG (CN_NAMES 1 [e3]) _ (CN_VALUES [1]))])"},
        {"error(eps = 0)", "(CN_ERROR [(CN_VARIANCE_DIAG (CN_NAMES [eps]) _ (CN_VALUES [0]))])"},
        {"error()", "(CN_ERROR)"},
    });
    Stmt("error(eps = 0.25)");
    EXPECT_EQ("0.25", stmt->list[0]->child3->list[0]->pos.get_str());
    ExpectReports({
        {"error(eps(0.1, 0.2))",
         "Number of prior variance values must equal number of random effects", 19},
        {"error(eps())", "Number of prior variance values must equal number of random effects", 11},
        {"error(eps(x))", "Expected: <numerical prior variance for random effect>", 10},
        {"error(eps(1 2))", "Expected: ','", 12},
        {"error(eps = -1)", "Negative stdev value", 14},
        {"error(eps = x)", "Expected: numeric variance value", 12},
        {"error(1)", "Expected: ')' to close error statement", 6},
    });
}

TEST_F(ParsParamTest, VcvfixefAndIwndf) {
    ExpectTrees({
        {"vcvfixef(block(a, b) = c(1, 1/2, 2))",
         "(CN_VCVFIXEF (CN_NAMES [a b]) (CN_VALUES [1 0.5 2]))"},
        // A singular matrix passes: eigenvalues 0 and 2.
        {"vcvfixef(block(a, b) = c(1, 1, 1))",
         "(CN_VCVFIXEF (CN_NAMES [a b]) (CN_VALUES [1 1 1]))"},
        {"vcvfixef(diag(a, b) = c(0, 3) )", "(CN_VCVFIXEF (CN_NAMES [a b]) (CN_VALUES [0 3]))"},
        {"vcvfixef(diag() = c( ))", "(CN_VCVFIXEF (CN_NAMES) (CN_VALUES))"},
    });
    bVCVFixefSeen = 0;
    Stmt("vcvfixef(block(a, b) = c(1, -0.5, 2))");
    EXPECT_EQ(1, bVCVFixefSeen);
    EXPECT_EQ("1, -0.5, 2", stmt->child2->pos.get_str());
    EXPECT_EQ("-0.5", stmt->child2->list[1]->pos.get_str());
    ExpectReports({
        // Eigenvalues 3 and -1.
        {"vcvfixef(block(a, b) = c(1, 2, 1))", "All eigenvalues must be non-negative", 0},
        {"vcvfixef(diag(a, b) = c(1, -2))", "All values must be non-negative", 0},
        {"vcvfixef(block(a, b) = c(1, 0))", "Not enough numbers in variance/covariance matrix", 0},
        {"vcvfixef(block(a) = c(1, 0))", "Too many numbers in variance/covariance matrix", 0},
        {"vcvfixef(diag(a, b) = c(1))", "Not enough numbers in diagonal variance matrix", 0},
        {"vcvfixef(diag(a) = c(1, 2))", "Too many numbers in diagonal variance matrix", 0},
        {"vcvfixef(block(a, b) = c (1, 0, 1))", "Expected: 'c('", 23},
        {"vcvfixef(diag(a, b) = c(1, ))", "Expected a number or a simple numeric expression", 26},
        {"vcvfixef(diag(a) = c(x))", "Expected a number or a simple numeric expression", 22},
        {"vcvfixef(diag(a) = c(1 2))", "Expected: ','", 23},
        {"vcvfixef(other(a) = c(1))", "Expected: block|diag", 9},
        {"vcvfixef(diag(a) c(1))", "Expected = or <-", 17},
        {"iwndf(x)", "Expected integer degrees of freedom", 6},
        {"iwndf(3 4)", "Expected: ')'", 8},
    });

    // iwndf keeps the value as read, whole or not, and sets its flag.
    bIWNDFSeen = 0;
    Stmt("iwndf(3.5)");
    ASSERT_TRUE(stmt);
    EXPECT_EQ(CN_IWNDF, stmt->type);
    EXPECT_EQ(3.5, stmt->value);
    EXPECT_EQ(1, bIWNDFSeen);
}

TEST_F(ParsParamTest, StatementWordsAndRecovery) {
    ExpectTrees({
        {"ranef5(a)",
         "(CN_RANEF5 [(CN_VARIANCE_DIAG (CN_NAMES [a]) (CN_VALUES [1]) (CN_VALUES [1]))])"},
        // Longer words are ordinary names.
        {"fixefs = 1", "(CN_ASSIGN fixefs 1)"},
        {"errors = ranef6", "(CN_ASSIGN errors ranef6)"},
        // A reserved word is taken as a name here; the semantic checks refuse it later.
        {"covariate(int)", "(CN_COVARIATE [int])"},
    });

    // After a bad statement the next one is parsed and reported on its own.
    Stmt("fixef(a = b)\nranef(c = -1)\ncovariate(w)");
    EXPECT_EQ("Error line 2: Expected simple numeric value\n"
              "fixef(a = b)\n"
              "           ^\n"
              "Error line 3: Negative omega value\n"
              "ranef(c = -1)\n"
              "          ^^\n",
              err);
}
