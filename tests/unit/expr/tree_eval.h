// Test support for the algebra on trees: an evaluator of arithmetic trees in doubles and the
// random choices for the property tests of the rewrites, and a front to the expression parser
// for tables written as model text.
#pragma once

#include "parser/parser.h"
#include "tree_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace tree_text {

// Evaluates arithmetic trees. It notes the largest magnitude met, as a scale for rounding,
// and whether a point lies within 'margin' of a pole or of the edge of a domain (a divisor
// near 0, log or sqrt of a value near or below 0, a power of a base near 0), where values
// are not comparable.
struct Evaluator {
    std::map<std::string, double> vars;
    double margin = 1e-6;
    double scale = 0;
    bool nearPole = false;

    double Eval(cn const& n) {
        double const v = EvalNode(n);
        if (std::isfinite(v)) scale = std::max(scale, std::fabs(v));
        return v;
    }

    // Notes when 'x' is nearer to 0 than the margin; with 'oneSided', when it is below it.
    void Edge(double x, bool oneSided) { nearPole = nearPole || (oneSided ? x : fabs(x)) < margin; }

    double EvalPow(double a, double b) {
        if (b < 0 || b != floor(b)) Edge(a, b != floor(b));
        return pow(a, b);
    }

    double EvalCall(cn const& n) {
        std::string const f(n->name);
        double const x = Eval(n->list.at(0));
        if (f == "exp") return exp(x);
        Edge(x, true);
        if (f == "sqrt") return sqrt(x);
        EXPECT_TRUE(f == "log" || f == "ln") << f;
        return log(x);
    }

    double EvalNode(cn const& n) {
        switch (n->type) {
            case CN_VAR: return vars.at(std::string(n->name));
            case CN_NUM: return n->value;
            case CN_ADD: return Eval(n->child1) + Eval(n->child2);
            case CN_SUB: return Eval(n->child1) - Eval(n->child2);
            case CN_MUL: return Eval(n->child1) * Eval(n->child2);
            case CN_NEG: return -Eval(n->child1);
            case CN_POW: return EvalPow(Eval(n->child1), Eval(n->child2));
            case CN_COND: return Eval(n->child1) != 0 ? Eval(n->child2) : Eval(n->child3);
            case CN_CALL: return EvalCall(n);
            case CN_DIV: {
                double const a = Eval(n->child1), b = Eval(n->child2);
                Edge(b, false);
                return a / b;
            }
            default: ADD_FAILURE() << "cannot evaluate " << Text(n); return NAN;
        }
    }
};

// The random choices of the tree generators of the property tests.
class RandomPicks {
  public:
    explicit RandomPicks(unsigned seed) : rng(seed) {}

    double Uniform(double lo, double hi) { return lo + (hi - lo) * (rng() / 4294967296.0); }

    int Pick(int n) { return (int)(rng() % (unsigned)n); }

  private:
    std::mt19937 rng;
};

// The tree of the expression 'text', which must parse whole. The text is kept to the end of
// the run, since the nodes' spans point into it.
inline N ParseExpr(char const* text) {
    static std::vector<std::unique_ptr<std::string>> kept;
    kept.push_back(std::make_unique<std::string>(std::string(text) + std::string(16, '\0')));
    char const* p = kept.back()->c_str();
    N out;
    parsExpr(p, out, 0);
    EXPECT_STREQ("", p) << "not parsed whole: " << text;
    return out;
}

} // namespace tree_text
