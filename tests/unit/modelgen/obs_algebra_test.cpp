// The algebra of observations: the mean is the expression with its errors at zero, the
// variance function the sum of the squared derivatives by the errors there, both checked by
// numbers at random points; and which expressions allow the log scale.
#include "expr/tree_eval.h"
#include "gen_test_support.h"

#include <initializer_list>

namespace {

using tree_text::Evaluator;
using tree_text::ParseExpr;

class ObsAlgebraTest : public GenTest {
  protected:
    void Errors(std::initializer_list<char const*> names) {
        g.saError.clear();
        g.naErrorFrozen.clear();
        g.daErrorInit.clear();
        for (char const* e : names)
            AddError(e);
    }
};

// f at the point with every error at 0 but 'err', which is at 'at'.
double At(Evaluator& ev, cn const& f, SV const& errors, std::string const& err, double at) {
    for (String const& e : errors)
        ev.vars[std::string(e)] = 0;
    if (!err.empty()) ev.vars[err] = at;
    return ev.Eval(f);
}

TEST_F(ObsAlgebraTest, MeanAndVarianceFunctionMatchTheExpression) {
    struct {
        char const* text;
        std::initializer_list<char const*> errors;
    } const cases[] = {
        {"C + eps", {"eps"}},       {"C * (1 + eps)", {"eps"}},
        {"C * exp(eps)", {"eps"}},  {"C + eps * sqrt(1 + (p * C)^2)", {"eps"}},
        {"sqrt(C + eps)", {"eps"}}, {"C * (1 + e1) + e2", {"e1", "e2"}},
        {"C + e2", {"e1", "e2"}}, // the absent error adds nothing
    };

    tree_text::RandomPicks pick(7);
    for (auto const& c : cases) {
        Errors(c.errors);
        N f = ParseExpr(c.text);
        N mean, var;
        int iFail = 0;
        g.GenMeanVarianceExpr(f, mean, var, iFail);
        ASSERT_EQ(0, iFail) << c.text;
        ASSERT_TRUE(mean && var) << c.text;
        for (int point = 0; point < 20; point++) {
            Evaluator ev;
            ev.vars = {{"C", pick.Uniform(0.5, 5)}, {"p", pick.Uniform(0.1, 2)}};
            double f0 = At(ev, f, g.saError, "", 0);
            double expectVar = 0, h = 1e-5;
            for (String const& e : g.saError) {
                double d = (At(ev, f, g.saError, std::string(e), h) -
                            At(ev, f, g.saError, std::string(e), -h)) /
                           (2 * h);
                expectVar += d * d;
            }
            At(ev, f, g.saError, "", 0);
            EXPECT_NEAR(f0, ev.Eval(mean), 1e-12 * (1 + fabs(f0))) << c.text;
            EXPECT_NEAR(expectVar, ev.Eval(var), 1e-6 * (1 + expectVar)) << c.text;
        }
    }
}

TEST_F(ObsAlgebraTest, LogScaleNeedsAnExponentialErrorAndOneErrorVariable) {
    Errors({"eps"});
    EXPECT_EQ(1, g.CanLogTransform(ParseExpr("C * exp(eps)")));
    EXPECT_EQ(0, g.CanLogTransform(ParseExpr("C * (1 + eps)")));
    EXPECT_EQ(0, g.CanLogTransform(ParseExpr("C + eps")));
    Errors({"eps", "e2"});
    EXPECT_EQ(0, g.CanLogTransform(ParseExpr("C * exp(eps)")));
}

// The whole model: one exponential observation allows the log scale for all of them.
TEST_F(ObsAlgebraTest, ModelFlagFollowsTheFirstObservationThatAllowsIt) {
    char const* head = "test() {\n deriv(A = -A)\n C = A\n error(eps = 1)\n";
    auto gen = AnalysedModel(std::string(head) +
                             " observe(C1 = C + eps)\n observe(C2 = C * exp(eps))\n}\n");
    EXPECT_EQ(1, gen->bAllowLogTransform);
    gen = AnalysedModel(std::string(head) + " observe(C1 = C * (1 + eps))\n}\n");
    EXPECT_EQ(0, gen->bAllowLogTransform);
}

} // namespace
