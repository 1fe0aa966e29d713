// The distrib statement with its twenty kinds of distribution, sub-populations and limits,
// the sample clause of a distribution, and the sample statement with its balanced-text reader:
// trees, fields, and every report with its marked line.
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

namespace {

class DistribTest : public VaroTest {
  protected:
    // Parses one statement standing on line 2 through the statement dispatcher; returns the
    // dump of what it built and leaves stderr in 'err'.
    std::string Stmt(std::string const& text) {
        sErr = nullptr;
        iLine = 1;
        currentLine = nullptr;
        buffers.push_back(std::make_unique<std::string>("\n" + text + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        ScanWhite(p);
        last.reset();
        testing::internal::CaptureStderr();
        parsStmt(p, last);
        err = testing::internal::GetCapturedStderr();
        return DumpTree(last);
    }

    // The report of 'msg' at the place marked by '@' in 'marked', which stood on line 2.
    static std::string Report(std::string const& msg, std::string const& marked) {
        size_t col = marked.find('@');
        std::string line = marked;
        line.erase(col, 1);
        return "Error line 2: " + msg + "\n" + line + "\n" + std::string(col, ' ') + "^\n";
    }

    static std::string Unmarked(std::string text) {
        text.erase(text.find('@'), 1);
        return text;
    }

    std::string err;
    N last;
    std::vector<std::unique_ptr<std::string>> buffers;
};

// The right side of "distrib(vars = rhs)" for each word of the table, with its codes, and
// the limits of a primary.
TEST_F(DistribTest, EachWordGivesItsKindChildrenAndCodes) {
    struct {
        char const* vars;
        char const* rhs;
        char const* dist;
    } const cases[] = {
        {"a", "N(0, 1)", "(CN_DIST_NORM 0 1 0)"},
        {"a", "norm(0, 1, cvpct)", "(CN_DIST_NORM 0 1 1)"},
        {"a", "N(0, 1, varx)", "(CN_DIST_NORM 0 1 2)"},
        {"a", "N(0, 1, sdx)", "(CN_DIST_NORM 0 1 0)"},
        {"a", "lognorm(1, 2)", "(CN_DIST_LOGNORM 1 2 0 0)"},
        {"a", "lognorm(1, 2, mean, varx)", "(CN_DIST_LOGNORM 1 2 1 2)"},
        {"a", "lognorm(1, 2, sdx, median)", "(CN_DIST_LOGNORM 1 2 0 1)"},
        {"a", "lognorm(1, 2, sdlnx)", "(CN_DIST_LOGNORM 1 2 0 0)"},
        {"a", "beta(2, 3)", "(CN_DIST_BETA 2 3)"},
        {"a", "betamean(0.4, 3)", "(CN_DIST_BETAMEAN 0.4 3)"},
        {"a", "binomial(10, 0.5)", "(CN_DIST_BINOMIAL 10 0.5)"},
        {"a", "chisq(3)", "(CN_DIST_CHISQ 3)"},
        {"a", "constant(k * 2)", "(CN_DIST_CONSTANT (CN_MUL k 2))"},
        {"a", "exponential(2)", "(CN_DIST_EXPONENTIAL 2)"},
        {"a", "gamma(2, 3)", "(CN_DIST_GAMMA 2 3)"},
        {"a", "invgamma(3, 1)", "(CN_DIST_INVGAMMA 3 1)"},
        {"a", "logistic(0, 1)", "(CN_DIST_LOGISTIC 0 1)"},
        {"a", "negbin(4, 2)", "(CN_DIST_NEGBIN 4 2)"},
        {"a", "poisson(4)", "(CN_DIST_POISSON 4)"},
        {"a", "studentt(5, 0, 1)", "(CN_DIST_STUDENTT 5 0 1 0)"},
        {"a", "studentt(5, 0, 1, varx)", "(CN_DIST_STUDENTT 5 0 1 2)"},
        {"a", "uniform(1, 9)", "(CN_DIST_UNIFORM 1 9)"},
        {"a", "weibull(2, 1.5)", "(CN_DIST_WEIBULL 2 1.5)"},
        {"a, b", "M((0, 1), (1, 0.5, 2))", "(CN_DIST_MVN (CN_VALUES [0 1]) (CN_VALUES [1 0.5 2]))"},
        {"a, b", "MVN((0, 1), (1, 0, 2))", "(CN_DIST_MVN (CN_VALUES [0 1]) (CN_VALUES [1 0 2]))"},
        {"a, b", "T(4, (0, 1), (1, 0, 1))",
         "(CN_DIST_MVT 4 (CN_VALUES [0 1]) (CN_VALUES [1 0 1]))"},
        {"a, b, c", "MVT(3, (0, 1, 2), (1, 0, 1, 0, 0, 1))",
         "(CN_DIST_MVT 3 (CN_VALUES [0 1 2]) (CN_VALUES [1 0 1 0 0 1]))"},
        // limits on a primary: both, the lower only, the upper only, none
        {"a", "N(0(-1, 1), 1)", "(CN_DIST_NORM (CN_LIMITS 0 (CN_NEG 1) 1) 1 0)"},
        {"a", "uniform(5(, 8), 9)", "(CN_DIST_UNIFORM (CN_LIMITS 5 _ 8) 9)"},
        {"a", "exponential(2(0.5, ))", "(CN_DIST_EXPONENTIAL (CN_LIMITS 2 0.5))"},
        {"a", "chisq(3(,))", "(CN_DIST_CHISQ 3)"},
    };

    for (auto const& c : cases) {
        std::string text = std::string("distrib(") + c.vars + " = " + c.rhs + ")";
        Stmt(text);
        EXPECT_EQ("", err) << text;
        ASSERT_TRUE(last && last->child2->list.size() == 1) << text;
        EXPECT_EQ(c.dist, DumpTree(last->child2->list[0])) << text;
    }
}

TEST_F(DistribTest, CategoriesModelsAndNesting) {
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CATEG sex [(CN_NAMED_NUM male 0) "
              "(CN_NAMED_NUM female 1)])]) (CN_DISTRIB_SUBPOPS [(CN_DIST_P (CN_VALUES [0.6]))]))",
              Stmt("distrib(sex(male, female) = P(0.6))"));
    // three categories, each with a nested P over two, each with a normal for the weight
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CATEG sex [(CN_NAMED_NUM a 0) "
              "(CN_NAMED_NUM b 1) (CN_NAMED_NUM c 2)]) (CN_DISTRIB_CATEG race [(CN_NAMED_NUM x "
              "1) (CN_NAMED_NUM y 5)]) (CN_DISTRIB_CONT wt)]) (CN_DISTRIB_SUBPOPS [(CN_DIST_P "
              "(CN_VALUES [0.3 0.2]) (CN_DIST_LIST [(CN_DIST_P (CN_VALUES [0.5]) (CN_DIST_LIST "
              "[(CN_DIST_NORM 70 10 0) (CN_DIST_NORM 60 10 0)])) (CN_DIST_P (CN_VALUES [0.4]) "
              "(CN_DIST_LIST [(CN_DIST_NORM 71 10 0) (CN_DIST_NORM 61 10 0)])) (CN_DIST_P "
              "(CN_VALUES [0.6]) (CN_DIST_LIST [(CN_DIST_NORM 72 10 0) (CN_DIST_NORM 62 10 "
              "0)]))]))]))",
              Stmt("distrib(sex(a, b, c), race(x = 1, y = 5), wt = P(P(N(70, 10), 0.5, "
                   "N(60, 10)), 0.3, P(N(71, 10), 0.4, N(61, 10)), 0.2, P(N(72, 10), 0.6, "
                   "N(62, 10))))"));
    EXPECT_EQ("", err);
    // the model name before the list, or before the first variable, makes members
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CONT (CN_MEMBER m a)) (CN_DISTRIB_CONT "
              "(CN_MEMBER m b))]) (CN_DISTRIB_SUBPOPS [(CN_DIST_MVN (CN_VALUES [0 0]) (CN_VALUES "
              "[1 0 1]))]) m)",
              Stmt("distrib$m(a, b = MVN((0, 0), (1, 0, 1)))"));
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CONT a) (CN_DISTRIB_CONT (CN_MEMBER m b))]) "
              "(CN_DISTRIB_SUBPOPS [(CN_DIST_MVN (CN_VALUES [0 0]) (CN_VALUES [1 0 1]))]) m)",
              Stmt("distrib(a, m$b = MVN((0, 0), (1, 0, 1)))"));
    // an empty right side stores nothing
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CONT a)]) (CN_DISTRIB_SUBPOPS))",
              Stmt("distrib(a = )"));
}

// Sub-populations, each with an optional sample clause; a comma that no clause follows is
// given back to the list.
TEST_F(DistribTest, SubpopsWithSampleClauses) {
    EXPECT_EQ("(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CATEG sex [(CN_NAMED_NUM f 0) "
              "(CN_NAMED_NUM m 1)])]) (CN_DISTRIB_SUBPOPS [(CN_DIST_P (CN_VALUES [0.5])) "
              "(CN_DIST_P (CN_VALUES [0.3])) (CN_DIST_P (CN_VALUES [0.7]))]))",
              Stmt("distrib(sex(f, m) = subpops(P(0.5), P(0.3), sample(s.csv, linear, sex = "
                   "\"SEX\"(\"F\", M)), P(0.7)))"));
    EXPECT_EQ("", err);
    NV const& subpops = last->child2->list;
    ASSERT_EQ(3u, subpops.size());
    EXPECT_FALSE(static_cast<Dist&>(*subpops[0]).pSampleOption);
    EXPECT_FALSE(static_cast<Dist&>(*subpops[2]).pSampleOption);
    CSampleOption const* o = static_cast<Dist&>(*subpops[1]).pSampleOption.get();
    ASSERT_TRUE(o);
    EXPECT_STREQ("s.csv", o->sFile);
    EXPECT_EQ(0, o->iMode);
    ASSERT_EQ(1u, o->vars.size());
    EXPECT_STREQ("sex", o->vars[0]->sVar);
    EXPECT_STREQ("SEX", o->vars[0]->sColumn);
    ASSERT_EQ(2u, o->vars[0]->categories.size());
    EXPECT_STREQ("F", o->vars[0]->categories[0]->sName);
    EXPECT_STREQ("M", o->vars[0]->categories[1]->sName);

    Stmt("distrib(wt = N(70, 10), sample(\"./w t.csv\", random, wt <- W, ht = H))");
    EXPECT_EQ("", err);
    o = static_cast<Dist&>(*last->child2->list[0]).pSampleOption.get();
    ASSERT_TRUE(o);
    EXPECT_STREQ("./w t.csv", o->sFile);
    EXPECT_EQ(1, o->iMode);
    ASSERT_EQ(2u, o->vars.size());
    EXPECT_STREQ("W", o->vars[0]->sColumn);
    EXPECT_STREQ("ht", o->vars[1]->sVar);
}

// A copy of a Dist keeps its sample clause, which its own comparison sees and the base rule
// does not; a copy through the base class is a plain node.
TEST_F(DistribTest, DistCopyCompareSwap) {
    Stmt("distrib(a = N(0, 1), sample(f.csv, random))");
    auto const& d = static_cast<Dist const&>(*last->child2->list[0]);
    auto copy = std::make_shared<Dist>(d);
    ASSERT_TRUE(copy->pSampleOption);
    EXPECT_TRUE(copy->equal_impl(cn(last->child2->list[0])));
    auto bare = std::make_shared<Dist>(CN_DIST_NORM, NewNum(0), NewNum(1), NewNum(0));
    EXPECT_FALSE(copy->equal_impl(cn(bare)));
    EXPECT_TRUE(copy->Equal(bare)); // the base rule ignores the clause
    EXPECT_FALSE(copy->equal_impl(cn(d.Copy())));
    bare->swap(*copy);
    EXPECT_TRUE(bare->pSampleOption && !copy->pSampleOption);
}

// Every report of the distrib statement and of the sample clause, at the place '@' marks.
TEST_F(DistribTest, DistribReports) {
    struct {
        char const* marked;
        char const* msg;
    } const cases[] = {
        {"distrib$@(a = N(0, 1))", "Expected model name"},
        {"distrib @a = N(0, 1)", "Expected: '('"},
        {"distrib(@1 = N(0, 1))", "Expected model or variable name"},
        {"distrib$m(n$@a = N(0, 1))", "Cannot specify model name twice"},
        {"distrib(m$ @= N(0, 1))", "Expected variable name"},
        {"distrib(sex(@1) = P(0.5))", "Expected category name"},
        {"distrib(sex(a = @x) = P(0.5))", "Expected category number"},
        {"distrib(wt, sex(a, b)@ = P(N(0, 1), 0.5, N(1, 1)))",
         "Categorical cannot follow continuous variable."},
        {"distrib(sex(a, b) = N@(0, 1))", "Categorical variable is not continuous"},
        {"distrib(sex(a, b), wt = M@((0, 0), (1, 0, 1)))",
         "Categorical variable is not continuous."},
        {"distrib(a, b = N@(0, 1))", "Expected a multivariate continuous distribution"},
        {"distrib(a = N @0, 1)", "Expected '('"},
        {"distrib(a = N(0 @1))", "Expected ','"},
        {"distrib(a = N(0, 1, sdx@, varx))", "Expected ')'"},
        {"distrib(a = @foo(1))", "Expected: ')'"},
        {"distrib(a = N(0, 1, @sd))", "Expected sdx, cvpct, varx keyword"},
        {"distrib(a = lognorm(1, 1, mean, median@))", "mean/median are mutually exclusive"},
        {"distrib(a = lognorm(1, 1, sdx, varx@))", "sdx/sdlnx/varx are mutually exclusive"},
        {"distrib(a = lognorm(1, 1, @cvpct))", "Expected mean, median, sdx, sdlnx, varx keyword"},
        {"distrib(a = P@(0.5))", "Expecting a continuous distribution"},
        {"distrib(sex(a, b) = P(0.5, 0.3@))", "Wrong number of categories"},
        {"distrib(sex(a, b), w = P(N(1, 1), 0.5, N(2, 1), 0.2, N(3, 1)@))",
         "Wrong number of categories"},
        {"distrib(a, b = M((0@), (1, 0, 1)))",
         "Expected more means for multivariate continuous distribution"},
        {"distrib(a, b = M((0, 0, 0@), (1, 0, 1)))",
         "Expected fewer means for multivariate continuous distribution"},
        {"distrib(a, b = M((0, 0), (1, 0@)))", "Expected more variance/covariance values"},
        {"distrib(a, b = M((0, 0), (1, 0, 1, 2@)))", "Expected fewer variance/covariance values"},
        {"distrib(a = N(0(1 @2), 1))", "Expected ',' between limits"},
        {"distrib(a = N(0(1, 2 @3), 1))", "Expected ')'"},
        {"distrib(a = N(0, 1), sample @f.csv)", "Expected '(' leading sample args"},
        {"distrib(a = N(0, 1), sample(@, linear))",
         "Expected file name to import from, with or without quotes (\"\")"},
        {"distrib(a = N(0, 1), sample(f.csv @linear))",
         "Expected ',' before keyword linear or random"},
        {"distrib(a = N(0, 1), sample(f.csv, @uniform))", "Expected keyword linear or random"},
        {"distrib(a = N(0, 1), sample(f.csv, linear, @1 = x))",
         "Expected name of a covariate in this distribution"},
        {"distrib(a = N(0, 1), sample(f.csv, linear, a @x))",
         "Expected = or <- between covariate name and column name"},
        {"distrib(a = N(0, 1), sample(f.csv, linear, a = @))",
         "Expected name of column in file, with or without quotes (\"\")"},
        {"distrib(a = N(0, 1), sample(f.csv, linear, a = A(@1)))",
         "Expected name of category in file, with or without quotes (\"\")"},
        {"distrib(a = N(0, 1), sample(f.csv, linear, a = A(x @y)))",
         "Expected ')' closing list of category names in file"},
        {"distrib(a = N(0, 1), sample(f.csv, linear @a))", "Expected ')' closing sample args"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ("_", Stmt(Unmarked(c.marked))) << c.marked;
        EXPECT_EQ(Report(c.msg, c.marked), err);
    }
    // studentt without its degrees of freedom has an empty report
    Stmt("distrib(a = studentt(x, 0, 1))");
    EXPECT_EQ(Report("", "distrib(a = studentt(@x, 0, 1))"), err);
}

// With no variable left, a distribution reports it; no statement text leads there, since
// a P hands its nested right sides only to variables that exist.
TEST_F(DistribTest, NoVariableLeft) {
    int cats[] = {-1};
    char const* p = "N(0, 1)";
    Dist* dist = nullptr;
    testing::internal::CaptureStderr();
    parsDistribRHS(p, cats, dist);
    EXPECT_EQ("Error line 1: Not enough variables\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(nullptr, dist);
}

// The sample statement of the file-sampling example, with its mappings in order.
TEST_F(DistribTest, SampleStatementMappings) {
    EXPECT_EQ("(CN_SAMPLE)", Stmt("sample(\"./bootomega.csv\", random, tvCL = tvV, block(nCl, nV) "
                                  "= c(omega_1_1, omega_2_1, omega_2_2), CEps = sigma_1_1)"));
    EXPECT_EQ("", err);
    auto const& s = static_cast<Sample const&>(*last);
    EXPECT_EQ("./bootomega.csv", s.GetFileName());
    EXPECT_EQ(1, s.GetMode());
    ASSERT_EQ(2u, s.simpleMappings.size());
    EXPECT_EQ("tvCL", s.simpleMappings[0].var);
    EXPECT_EQ("tvV", s.simpleMappings[0].column);
    EXPECT_EQ("CEps", s.simpleMappings[1].var);
    EXPECT_EQ("sigma_1_1", s.simpleMappings[1].column);
    ASSERT_EQ(1u, s.blockMappings.size());
    EXPECT_EQ((std::vector<std::string>{"nCl", "nV"}), s.blockMappings[0].vars);
    EXPECT_EQ((std::vector<std::string>{"omega_1_1", "omega_2_1", "omega_2_2"}),
              s.blockMappings[0].columns);
    EXPECT_TRUE(s.diagMappings.empty());

    Stmt("sample(\"f.csv\", linear, diag(a, b) <- c(x, y))");
    auto const& d = static_cast<Sample const&>(*last);
    EXPECT_EQ(0, d.GetMode());
    ASSERT_EQ(1u, d.diagMappings.size());
    EXPECT_EQ((std::vector<std::string>{"x", "y"}), d.diagMappings[0].columns);
    // a longer name that begins with the word is an expression
    EXPECT_EQ("(CN_ASSIGN sampleTime 2)", Stmt("sampleTime = 2"));
}

// Every report of the sample statement, at the place '@' marks.
TEST_F(DistribTest, SampleStatementReports) {
    struct {
        char const* marked;
        char const* msg;
    } const cases[] = {
        {"sample @x", "braced list expected"},
        {"sample@(\"f.csv\", random, a = b", "unable to find closing symbol"},
        {"@sample(\"f.csv\", random)", "too few arguments"},
        {"sample(@f.csv, random, a = b)", "quoted string expected."},
        {"sample@(\", random, a = b)", "unable to find closing symbol"},
        {"sample(\"f.csv\", random, @a)", "assignment expected"},
        {"sample(\"f.csv\", random, @a == b)", "assignment expected"},
        {"sample(\"f.csv\", random, a = @1)", "id expected"},
        {"sample(\"f.csv\", random, block(a, b) = @d(x, y, z))", "c() expected"},
        {"sample(\"f.csv\", random, @block(a, b) = c(x, y))", "block sampling is incorrect"},
        {"sample(\"f.csv\", random, @diag(a, b) = c(x))", "diag sampling is incorrect"},
        {"sample(\"f.csv\", random, @full(a) = c(x))", "unrecognized mapping"},
    };

    for (auto const& c : cases) {
        EXPECT_EQ("_", Stmt(Unmarked(c.marked))) << c.marked;
        EXPECT_EQ(Report(c.msg, c.marked), err);
    }
}

// A sample statement over several lines is counted once: an error on line 5 reports line 5.
TEST_F(DistribTest, LinesCountedAcrossASampleStatement) {
    std::string text = "test() {\n"
                       "    sample(\"f.csv\", random,\n"
                       "        a = b,\n"
                       "        c = d)\n"
                       "    distrib(a = N 0, 1)\n"
                       "}\n" +
                       std::string(16, '\0');
    char const* p = text.c_str();
    N model;
    testing::internal::CaptureStderr();
    parsModel(p, model);
    EXPECT_EQ("Error line 5: Expected '('\n    distrib(a = N 0, 1)\n                  ^\n",
              testing::internal::GetCapturedStderr());
}

// A fault at the first word of a sample statement is reported there, and recovery goes on
// behind the word: the next fault is found, and the walk ends.
TEST_F(DistribTest, RecoveryBehindAFaultySampleStatement) {
    std::string text = "test() {\n"
                       "    sample(\"f.csv\", random)\n"
                       "    x = 1\n"
                       "    sample(\"g.csv\", random, a = 1)\n"
                       "}\n" +
                       std::string(16, '\0');
    char const* p = text.c_str();
    N model;
    testing::internal::CaptureStderr();
    parsModel(p, model);
    EXPECT_EQ("Error line 2: too few arguments\n    sample(\"f.csv\", random)\n    ^\n"
              "Error line 4: id expected\n    sample(\"g.csv\", random, a = 1)\n" +
                  std::string(32, ' ') + "^\n",
              testing::internal::GetCapturedStderr());
}

// A list splits at the commas outside parentheses and quotes; empty items stay.
TEST_F(DistribTest, BalancedListItems) {
    std::vector<std::string> items;
    block_parser blocks;
    EXPECT_TRUE(blocks.parse_list(",,\", , , \",(,\"()((\"),", items));
    EXPECT_EQ((std::vector<std::string>{"", "", "\", , , \"", "(,\"()((\")", ""}), items);
    items.clear();
    EXPECT_FALSE(blocks.parse_list("a, (b, c", items));

    std::string_view left, right;

    struct {
        char const* text;
        bool ok;
        char const* left;
        char const* right;
    } const assignments[] = {
        {" a = b ", true, "a", "b"}, {"a <- b", true, "a", "b"}, {"a <= b", true, "a <", "b"},
        {"a == b", false, "", ""},   {"a b", false, "", ""},
    };

    for (auto const& a : assignments) {
        left = right = std::string_view();
        EXPECT_EQ(a.ok, parse_assignment(a.text, left, right)) << a.text;
        EXPECT_EQ(a.left, left);
        EXPECT_EQ(a.right, right);
    }
}

} // namespace
