// The distrib statement of models and trial scripts: its variables with their categories,
// its sub-populations, and the twenty kinds of distribution of its right side. The category
// counts of the variables, ending in -1, tell each right side which variables it covers.
#include "parser/parser.h"

#include <memory>
#include <vector>

// The shapes of argument lists, one per row of the word table.
enum DistShape {
    SHAPE_P,
    SHAPE_NORM,
    SHAPE_LOGNORM,
    SHAPE_TWO,
    SHAPE_ONE,
    SHAPE_STUDENTT,
    SHAPE_MVN,
    SHAPE_MVT
};

struct DistWord {
    char const* word;
    CNodeType type;
    DistShape shape;
};

// The words in the order they are tried.
// clang-format off
static DistWord const distWords[] = {
    {"P",           CN_DIST_P,           SHAPE_P},
    {"N",           CN_DIST_NORM,        SHAPE_NORM},
    {"norm",        CN_DIST_NORM,        SHAPE_NORM},
    {"lognorm",     CN_DIST_LOGNORM,     SHAPE_LOGNORM},
    {"beta",        CN_DIST_BETA,        SHAPE_TWO},
    {"betamean",    CN_DIST_BETAMEAN,    SHAPE_TWO},
    {"binomial",    CN_DIST_BINOMIAL,    SHAPE_TWO},
    {"chisq",       CN_DIST_CHISQ,       SHAPE_ONE},
    {"constant",    CN_DIST_CONSTANT,    SHAPE_ONE},
    {"exponential", CN_DIST_EXPONENTIAL, SHAPE_ONE},
    {"gamma",       CN_DIST_GAMMA,       SHAPE_TWO},
    {"invgamma",    CN_DIST_INVGAMMA,    SHAPE_TWO},
    {"logistic",    CN_DIST_LOGISTIC,    SHAPE_TWO},
    {"negbin",      CN_DIST_NEGBIN,      SHAPE_TWO},
    {"poisson",     CN_DIST_POISSON,     SHAPE_ONE},
    {"studentt",    CN_DIST_STUDENTT,    SHAPE_STUDENTT},
    {"uniform",     CN_DIST_UNIFORM,     SHAPE_TWO},
    {"weibull",     CN_DIST_WEIBULL,     SHAPE_TWO},
    {"M",           CN_DIST_MVN,         SHAPE_MVN},
    {"MVN",         CN_DIST_MVN,         SHAPE_MVN},
    {"T",           CN_DIST_MVT,         SHAPE_MVT},
    {"MVT",         CN_DIST_MVT,         SHAPE_MVT},
};

// clang-format on

// The punctuation between the arguments of a distribution: seeChar, or a report without a
// throw.
static bool needChar(char const*& p, char c) {
    if (seeChar(p, c)) return true;
    if (c == '(') SetErr("Expected '('", p, 0, 0, -1);
    if (c == ',') SetErr("Expected ','", p, 0, 0, -1);
    if (c == ')') SetErr("Expected ')'", p, 0, 0, -1);
    return false;
}

// The tests on the category counts that open every distribution but P: the variables must
// be there and continuous, and a word of one variable must cover exactly one.
static bool FitsContinuous(char const* p, int const* cats, bool multi) {
    if (cats[0] < 0) {
        SetErr("Not enough variables", p, 0, 0, -1);
    } else if (cats[0] > 0) {
        if (multi)
            SetErr("Categorical variable is not continuous.", p, 0, 0, -1);
        else
            SetErr("Categorical variable is not continuous", p, 0, 0, -1);
    } else if (!multi && cats[1] >= 0) {
        SetErr("Expected a multivariate continuous distribution", p, 0, 0, -1);
    }
    return !IsErrorSet();
}

// The degrees of freedom of studentt and T; a missing number has an empty report.
static N parsDegrees(char const*& p) {
    double value;
    if (seeNum(p, value, nullptr)) return NewNum(value);
    SetErr("", p, 0, 0, -1);
    return N();
}

// "," ( sdx | cvpct | varx ), optional: the code 0, 1 or 2; 0 when absent
static N parsSpreadWord(char const*& p) {
    if (!seeChar(p, ',')) return NewNum(0);
    if (seeWord(p, "sdx")) return NewNum(0);
    if (seeWord(p, "cvpct")) return NewNum(1);
    if (seeWord(p, "varx")) return NewNum(2);
    SetErr("Expected sdx, cvpct, varx keyword", p, 0, 0, -1);
    return N();
}

// "(" primary [ "," expr ] ")" for the words of one or two arguments
static void parsPlainDist(char const*& p, DistWord const& w, Dist*& out) {
    N a, b;
    if (!needChar(p, '(')) return;
    parsDistribRHSPrimaryAndLimits(p, a);
    if (IsErrorSet()) return;
    if (w.shape == SHAPE_TWO) {
        if (!needChar(p, ',')) return;
        parsExpr(p, b, 0);
    }
    if (!needChar(p, ')')) return;
    out = w.shape == SHAPE_TWO ? new Dist(w.type, a, b) : new Dist(w.type, a);
}

// N "(" primary "," expr [ "," spread ] ")" and studentt "(" df "," primary "," expr ... ")"
static void parsNormalDist(char const*& p, DistWord const& w, Dist*& out) {
    N df, a, b;
    if (!needChar(p, '(')) return;
    if (w.shape == SHAPE_STUDENTT) {
        df = parsDegrees(p);
        if (IsErrorSet() || !needChar(p, ',')) return;
    }
    parsDistribRHSPrimaryAndLimits(p, a);
    if (IsErrorSet() || !needChar(p, ',')) return;
    parsExpr(p, b, 0);
    N spread = parsSpreadWord(p);
    if (IsErrorSet() || !needChar(p, ')')) return;
    out = df ? new Dist(w.type, df, a, b, spread) : new Dist(w.type, a, b, spread);
}

// The keywords of lognorm in the order they are tried: median or mean set the centre,
// sdlnx, sdx or varx the spread, each by its code.
// clang-format off
static struct { char const* word; bool bCentre; int code; } const lognormWords[] = {
    {"median", true, 0}, {"mean", true, 1}, {"sdlnx", false, 0}, {"sdx", false, 1},
    {"varx", false, 2}};

// clang-format on

// { "," keyword }: at most one of each group; -1 stays where none was given
static void parsLognormWords(char const*& p, int& centre, int& spread) {
    while (seeChar(p, ',')) {
        size_t i = 0;
        while (i < sizeof lognormWords / sizeof *lognormWords && !seeWord(p, lognormWords[i].word))
            i++;
        if (i == sizeof lognormWords / sizeof *lognormWords)
            return SetErr("Expected mean, median, sdx, sdlnx, varx keyword", p, 0, 0, -1);
        if (lognormWords[i].bCentre && centre >= 0)
            return SetErr("mean/median are mutually exclusive", p, 0, 0, -1);
        if (!lognormWords[i].bCentre && spread >= 0)
            return SetErr("sdx/sdlnx/varx are mutually exclusive", p, 0, 0, -1);
        (lognormWords[i].bCentre ? centre : spread) = lognormWords[i].code;
    }
}

// lognorm "(" primary "," expr { "," keyword } ")"
static void parsLognormDist(char const*& p, DistWord const& w, Dist*& out) {
    N a, b;
    int centre = -1, spread = -1;
    if (!needChar(p, '(')) return;
    parsDistribRHSPrimaryAndLimits(p, a);
    if (IsErrorSet() || !needChar(p, ',')) return;
    parsExpr(p, b, 0);
    parsLognormWords(p, centre, spread);
    if (IsErrorSet() || !needChar(p, ')')) return;
    out = new Dist(w.type, a, b, NewNum(centre > 0 ? centre : 0), NewNum(spread > 0 ? spread : 0));
}

// "(" primary { "," primary } ")": the means of 'n' variables
static N parsMeans(char const*& p, int n) {
    if (!needChar(p, '(')) return N();
    N means = MakeNode(CN_VALUES);
    do {
        N mean;
        parsDistribRHSPrimaryAndLimits(p, mean);
        if (IsErrorSet()) return N();
        means->list.push_back(mean);
    } while (seeChar(p, ','));
    int count = int(means->list.size());
    if (count < n)
        SetErr("Expected more means for multivariate continuous distribution", p, 0, 0, -1);
    if (count > n)
        SetErr("Expected fewer means for multivariate continuous distribution", p, 0, 0, -1);
    if (IsErrorSet() || !needChar(p, ')')) return N();
    return means;
}

// "(" expr { "," expr } ")": the lower triangle of the covariance matrix of 'n' variables, by rows
static N parsCovariances(char const*& p, int n) {
    if (!needChar(p, '(')) return N();
    N values = MakeNode(CN_VALUES);
    do {
        N value;
        parsExpr(p, value, 0);
        values->list.push_back(value);
    } while (seeChar(p, ','));
    int count = int(values->list.size());
    if (count < n * (n + 1) / 2) SetErr("Expected more variance/covariance values", p, 0, 0, -1);
    if (count > n * (n + 1) / 2) SetErr("Expected fewer variance/covariance values", p, 0, 0, -1);
    if (IsErrorSet() || !needChar(p, ')')) return N();
    return values;
}

// M "(" means "," covariances ")" and T "(" df "," means "," covariances ")"
static void parsMultiDist(char const*& p, int const* cats, DistWord const& w, Dist*& out) {
    int n = 0;
    while (cats[n] >= 0)
        n++;
    N df;
    if (!needChar(p, '(')) return;
    if (w.shape == SHAPE_MVT) {
        df = parsDegrees(p);
        if (IsErrorSet() || !needChar(p, ',')) return;
    }
    N means = parsMeans(p, n);
    if (IsErrorSet() || !needChar(p, ',')) return;
    N covariances = parsCovariances(p, n);
    if (IsErrorSet() || !needChar(p, ')')) return;
    out = df ? new Dist(w.type, df, means, covariances) : new Dist(w.type, means, covariances);
}

// A right side for the next variable inside a P; an unknown word adds nothing.
static void parsNestedDist(char const*& p, int* cats, N& nested) {
    Dist* dist = nullptr;
    parsDistribRHS(p, cats, dist);
    if (dist) nested->list.push_back(N(dist));
}

// P "(" prob { "," prob } ")" for the last variable, else P "(" rhs { "," prob "," rhs } ")":
// K categories take K-1 probabilities, the last one the rest.
static void parsCategoryDist(char const*& p, int* cats, Dist*& out) {
    if (cats[0] == 0) return SetErr("Expecting a continuous distribution", p, 0, 0, -1);
    if (!needChar(p, '(')) return;
    N probs = MakeNode(CN_VALUES), nested;
    if (cats[1] < 0) {
        do {
            N prob;
            parsExpr(p, prob, 0);
            probs->list.push_back(prob);
        } while (seeChar(p, ','));
    } else {
        nested = MakeNode(CN_DIST_LIST);
        parsNestedDist(p, cats + 1, nested);
        while (!IsErrorSet() && seeChar(p, ',')) {
            N prob;
            parsExpr(p, prob, 0);
            probs->list.push_back(prob);
            if (needChar(p, ',')) parsNestedDist(p, cats + 1, nested);
        }
        if (IsErrorSet()) return;
    }
    int k = cats[0];
    if (int(probs->list.size()) != k - 1 || (nested && int(nested->list.size()) != k))
        return SetErr("Wrong number of categories", p, 0, 0, -1);
    if (!needChar(p, ')')) return;
    out = new Dist(CN_DIST_P, probs, nested);
}

// rhs: P(...) | N(...) | ... | T(...), the first word of the table that stands here;
// any other text leaves 'out' empty and sets no error.
void parsDistribRHS(char const*& p, int* cats, Dist*& out) {
    DepthGuard guard(p);
    out = nullptr;
    for (DistWord const& w : distWords) {
        if (!seeWord(p, w.word)) continue;
        if (w.shape == SHAPE_P) return parsCategoryDist(p, cats, out);
        bool multi = w.shape == SHAPE_MVN || w.shape == SHAPE_MVT;
        if (!FitsContinuous(p, cats, multi)) return;
        if (multi) return parsMultiDist(p, cats, w, out);
        if (w.shape == SHAPE_NORM || w.shape == SHAPE_STUDENTT) return parsNormalDist(p, w, out);
        if (w.shape == SHAPE_LOGNORM) return parsLognormDist(p, w, out);
        return parsPlainDist(p, w, out);
    }
}

// primary: expr [ "(" [ expr ] "," [ expr ] ")" ], the limits of the draw
void parsDistribRHSPrimaryAndLimits(char const*& p, N& out) {
    N lower, upper;
    parsExpr(p, out, 0);
    if (!seeChar(p, '(')) return;
    if (*ScanWhite(p) != ',') parsExpr(p, lower, 0);
    if (!seeChar(p, ',')) return SetErr("Expected ',' between limits", p, 0, 0, -1);
    if (*ScanWhite(p) != ')') parsExpr(p, upper, 0);
    if (!seeChar(p, ')')) return SetErr("Expected ')'", p, 0, 0, -1);
    if (lower || upper) out = MakeNode(CN_LIMITS, out, lower, upper);
}

// subpop: rhs [ "," sample-clause ]. An empty right side adds nothing to the list.
void parsSubpop(char const*& p, int* cats, N& out, N subpops, int* count) {
    Dist* dist = nullptr;
    char const* start = ScanWhite(p);
    parsDistribRHS(p, cats, dist);
    if (IsErrorSet() || !dist) return;
    std::shared_ptr<Dist> owned(dist);
    char const* end = p;
    char const* mark = ScanWhite(p);
    if (seeChar(p, ',') && !parse_sample(p, owned.get())) {
        if (IsErrorSet()) return;
        p = mark; // the comma belongs to the caller
    }
    owned->pos = get_pos(start, owned->pSampleOption ? p : end); // with its sample clause
    out = owned;
    subpops->list.push_back(out);
    ++*count;
}

// "(" category [ "=" number ] { "," category [ "=" number ] } ")"; unnumbered categories
// count from 0 by their place
static void parsCategories(char const*& p, N const& entry) {
    char name[NAME_BUF_SIZE];
    int k = 0;
    do {
        if (!seeId(p, name)) syntax_err("Expected category name", p);
        double value = k++;
        if (seeChar(p, '=') && !seeNum(p, value, nullptr))
            return SetErr("Expected category number", p, 0, 0, -1);
        entry->list.push_back(MakeNode(name, value));
    } while (seeChar(p, ','));
    expect_char(p, ')', nullptr);
}

// variable: [ model "$" ] id [ "(" categories ")" ]; a name behind a known model is its member
static void parsDistribVar(char const*& p, String& model, N const& vars, std::vector<int>& cats) {
    char name[NAME_BUF_SIZE];
    if (!seeId(p, name)) syntax_err("Expected model or variable name", p);
    if (seeChar(p, '$')) {
        if (model[0]) return SetErr("Cannot specify model name twice", p, 0, 0, -1);
        model = name;
        if (!seeId(p, name)) syntax_err("Expected variable name", p);
    }
    N var = NewVar(name);
    if (model[0]) var = NewNode(CN_MEMBER, NewVar(model), var);
    N entry = NewNode(CN_DISTRIB_CONT, var);
    if (seeChar(p, '(')) {
        entry->type = CN_DISTRIB_CATEG;
        parsCategories(p, entry);
        if (IsErrorSet()) return;
    }
    int count = int(entry->list.size());
    if (count > 0 && !cats.empty() && cats.back() == 0)
        return SetErr("Categorical cannot follow continuous variable.", p, 0, 0, -1);
    cats.push_back(count);
    vars->list.push_back(entry);
}

// distrib [ "$" model ] "(" variable { "," variable } assign-op
//     ( subpops "(" subpop { "," subpop } ")" | subpop ) ")"
void parsDistribStmt(char const*& p, N& out) {
    char name[NAME_BUF_SIZE];
    String model;
    N vars = MakeNode(CN_DIST_LIST);
    if (seeChar(p, '$')) {
        expect_id(p, name, "Expected model name");
        model = name;
    }
    expect_char(p, '(', nullptr);
    std::vector<int> cats;
    do {
        parsDistribVar(p, model, vars, cats);
        if (IsErrorSet()) return;
    } while (seeChar(p, ','));
    cats.push_back(-1);
    expect_assignment(p);
    N subpops = MakeNode(CN_DISTRIB_SUBPOPS), dist;
    int count = 0;
    if (seeWord(p, "subpops")) {
        expect_char(p, '(', nullptr);
        do {
            parsSubpop(p, cats.data(), dist, subpops, &count);
            if (IsErrorSet()) return;
        } while (seeChar(p, ','));
        expect_char(p, ')', nullptr);
    } else {
        parsSubpop(p, cats.data(), dist, subpops, &count);
        if (IsErrorSet()) return;
    }
    expect_char(p, ')', nullptr);
    out = MakeNode(CN_DISTRIB, vars, subpops, model[0] ? NewVar(model) : N());
}
