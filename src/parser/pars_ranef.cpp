// Random effects and residual errors: the ranef family with its block, diag and same groups,
// the count and positive-definiteness checks of an omega matrix and its Cholesky factor,
// random effects that a zero omega turns off, and the error statement. The name lists and
// freeze marks of the groups are shared with vcvfixef.
#include "driver/driver.h"
#include "parser/parser.h"

#include <cmath>

static N NewValues(N num) {
    N values = MakeNode(CN_VALUES);
    values->list.push_back(num);
    return values;
}

// A number read by `seeNum`, as a `CN_NUM` with its span; false when none stands there.
static bool seeNumNode(char const*& p, N& out) {
    double value;
    char const* start = ScanWhite(p);
    if (!seeNum(p, value, nullptr)) return false;
    out = NewNum(value);
    out->pos = get_pos(start, p);
    return true;
}

// "(" "freeze" ")" as a whole; when a part is missing the cursor goes back to where it was.
static bool seeFreezeMark(char const*& p) {
    char const* save = p;
    if (seeChar(p, '(') && seeWord(p, "freeze") && seeChar(p, ')')) return true;
    p = save;
    return false;
}

// names: "(" [ id { "," id } ] ")"
// A `CN_NAMES` whose span runs from behind "(" to the end of the last name.
N parse_name_list(char const*& p) {
    char name[NAME_BUF_SIZE];
    expect_char(p, '(', "Expected: '('");
    N names = MakeNode(CN_NAMES);
    char const* start = p;
    char const* last = p;
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        char const* begin = ScanWhite(p);
        if (!seeId(p, name)) syntax_err("Expected: <variable name>", p);
        N var = MakeNode(name);
        var->pos = get_pos(begin, p);
        names->list.push_back(var);
        last = p;
    }
    names->pos = get_pos(start, last);
    return names;
}

// freeze: { "(" "freeze" ")" }
// Marks the group of 'names' as frozen with child1 = 1.
void parsRanefFreeze(char const*& p, N& names) {
    while (seeChar(p, '(')) {
        if (!seeWord(p, "freeze")) syntax_err("Expected 'freeze'", p);
        if (names->child1) return SetErr("freeze specified twice", p, 0, 0, -1);
        expect_char(p, ')', nullptr);
        names->child1 = NewNum(1.0);
    }
}

// omegas: "c" "(" [ number ] { "," [ number ] } ")"
// A place without a number is an empty entry when 'allowEmpty', as in an override block.
// 'spans' gets each entry's span (the cursor for an empty one), the list the span of all.
static void parsOmegaList(char const*& p, N& nums, std::vector<Pos>& spans, bool allowEmpty) {
    if (!seeWord(p, "c") || !seeChar(p, '(')) syntax_err("Expected: 'c('", p);
    nums = MakeNode(CN_VALUES);
    char const* start = p;
    for (int i = 0; *ScanWhite(p) != ')'; i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        N num;
        char const* at = ScanWhite(p);
        if (!seeNumNode(p, num) && !allowEmpty)
            syntax_err("Expected: <numerical variance/covariance value>", p);
        spans.push_back(num ? num->pos : get_pos(at, at));
        nums->list.push_back(num);
    }
    nums->pos = get_pos(start, p);
    p++; // skip ')'
}

// The omegas when none are given: 1 for each variance and, in a block, 0 for each
// covariance, by rows of the lower triangle.
static N UnitOmegas(int n, bool block) {
    N nums = MakeNode(CN_VALUES);
    for (int i = 0; i < n; i++) {
        for (int j = 0; block && j < i; j++)
            nums->list.push_back(NewNum(0.0));
        nums->list.push_back(NewNum(1.0));
    }
    return nums;
}

// Refuses a list of omegas that hasn't 'want' entries: too few at the end of the last one,
// too many at the first in excess.
static void CheckOmegaCount(N const& nums, std::vector<Pos> const& spans, size_t want,
                            char const* fewMsg, char const* manyMsg) {
    size_t got = nums->list.size();
    if (got < want) {
        err_pos(spans.empty() ? nums->pos : spans.back(), false) << fewMsg;
        syntax_err();
    }
    if (got > want) {
        err_pos(spans[want]) << manyMsg;
        syntax_err();
    }
}

// The lower Cholesky factor, by rows, of the symmetric matrix whose lower triangle 'nums'
// holds by rows. A matrix that is not positive definite is reported at the list.
static N CholeskyFactor(N const& nums, int n) {
    // Fill values that show only if an entry is read that the factorisation didn't write.
    std::vector<double> a(size_t(n * n), -11.1), l(size_t(n * n), -111.1);
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++, k++)
            a[i * n + j] = a[j * n + i] = nums->list[k]->value;
    if (!ltcholCol(n, a.data(), l.data())) {
        err_pos(nums->pos) << "Matrix is not positive-definite";
        syntax_err();
    }
    N factor = MakeNode(CN_VALUES);
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++)
            factor->list.push_back(NewNum(l[j * n + i])); // column j starts at j*n
    return factor;
}

// block names freeze [ assign-op omegas ]
// child2 the covariances by rows of the lower triangle, child3 their Cholesky factor, which
// an override block doesn't get.
static void parsBlockGroup(char const*& p, N& group) {
    N names = parse_name_list(p);
    parsRanefFreeze(p, names);
    if (IsErrorSet()) return;
    int n = int(names->list.size());
    N nums, factor;
    std::vector<Pos> spans;
    if (seeAssignOp(p))
        parsOmegaList(p, nums, spans, bAllowNullOmegas != 0);
    else
        nums = UnitOmegas(n, true);
    CheckOmegaCount(nums, spans, size_t(n * (n + 1) / 2),
                    "Not enough numbers in variance/covariance matrix",
                    "Too many numbers in variance/covariance matrix");
    if (!bAllowNullOmegas) factor = CholeskyFactor(nums, n);
    group = MakeNode(CN_RANEF_BLOCK, names, nums, factor);
}

// The standard deviation of the omega 'num' of the random effect 'var', at 'index' of its
// group. A zero omega puts the index on 'zeros' and warns that the effect is off.
static N OmegaStdev(N const& num, N const& var, int index, std::vector<int>& zeros) {
    if (num->value < 0) {
        err_pos(num->pos) << "Negative omega value";
        syntax_err();
    }
    if (num->value == 0) {
        zeros.push_back(index);
        Warning() << "Warning: zero omega value turns the random effect off - '" << var->name
                  << "'\n";
    }
    return NewNum(sqrt(num->value));
}

// diag names freeze [ assign-op omegas ]
// child2 the variances, child3 their square roots. Every value must be given, also in an
// override block, since each is tested and factored.
static void parsDiagGroup(char const*& p, N& group, std::vector<int>& zeros) {
    N names = parse_name_list(p);
    parsRanefFreeze(p, names);
    if (IsErrorSet()) return;
    int n = int(names->list.size());
    N nums;
    std::vector<Pos> spans;
    if (seeAssignOp(p))
        parsOmegaList(p, nums, spans, false);
    else
        nums = UnitOmegas(n, false);
    CheckOmegaCount(nums, spans, size_t(n), "Not enough numbers in diagonal variance matrix",
                    "Too many numbers in diagonal variance matrix");
    N stdevs = MakeNode(CN_VALUES);
    for (int i = 0; i < n; i++)
        stdevs->list.push_back(OmegaStdev(nums->list[i], names->list[i], i, zeros));
    group = MakeNode(CN_VARIANCE_DIAG, names, nums, stdevs);
}

// same names
// The omegas of the group before it again; its zero omegas turn these effects off too.
static void parsSameGroup(char const*& p, N const& stmt, N& group,
                          std::vector<std::vector<int>>& zeros) {
    if (stmt->list.empty()) syntax_err("'same' block cannot be first", p);
    N names = parse_name_list(p);
    if (names->list.size() != stmt->list.back()->child1->list.size()) {
        err_pos(names->pos) << "'same' block must have same number of variables as previous block";
        syntax_err();
    }
    zeros.back() = zeros[zeros.size() - 2];
    group = MakeNode(CN_RANEF_SAME, names);
}

// single: id [ "(" "freeze" ")" ] [ assign-op number ]
// A "(" that doesn't open a whole (freeze) is left in the text.
static void parsSingleRanef(char const*& p, N& group, std::vector<int>& zeros) {
    char name[NAME_BUF_SIZE];
    char const* start = ScanWhite(p);
    if (!seeId(p, name)) syntax_err("Expected: ')' to close ranef statement", p);
    N var = MakeNode(name);
    var->pos = get_pos(start, p);
    N names = MakeNode(CN_NAMES);
    names->list.push_back(var);
    names->pos = var->pos;
    if (seeFreezeMark(p)) names->child1 = NewNum(1.0);
    N num;
    if (!seeAssignOp(p))
        num = NewNum(1.0);
    else if (!seeNumNode(p, num))
        syntax_err("Expected: numeric variance value", p);
    N stdev = OmegaStdev(num, var, 0, zeros);
    group = MakeNode(CN_VARIANCE_DIAG, names, NewValues(num), NewValues(stdev));
}

// group: "block" ... | "diag" ... | "same" ... | single
// 'zeros' has one list of zero-omega indices per group, the last for this one.
static void parsRanefGroup(char const*& p, N const& stmt, N& group,
                           std::vector<std::vector<int>>& zeros) {
    if (seeWord(p, "block")) return parsBlockGroup(p, group);
    if (seeWord(p, "diag")) return parsDiagGroup(p, group, zeros.back());
    if (seeWord(p, "same")) return parsSameGroup(p, stmt, group, zeros);
    parsSingleRanef(p, group, zeros.back());
}

// Takes the random effects with a zero omega out of their groups, last first, from child1
// and child2 (child3 keeps its entry), and a group left with no name out of the statement.
// The names go to `zeroRanefs` in that order.
static void TurnOffZeroRanefs(N const& stmt, std::vector<std::vector<int>> const& zeros) {
    std::vector<std::string> off;
    for (size_t g = stmt->list.size(); g-- > 0;) {
        N const group = stmt->list[g];
        NV& names = group->child1->list;
        for (size_t k = zeros[g].size(); k-- > 0;) {
            int i = zeros[g][k];
            off.push_back(std::string(names[i]->name));
            names.erase(names.begin() + i);
            if (group->child2) group->child2->list.erase(group->child2->list.begin() + i);
        }
        if (names.empty()) stmt->list.erase(stmt->list.begin() + long(g));
    }
    zeroRanefs.insert(zeroRanefs.end(), off.begin(), off.end());
}

// ranef ( { group [","] } ), ranef1 to ranef5 alike; 'type' is the statement's kind.
// A statement whose every random effect a zero omega turned off leaves no node.
void parsRanefStmt(char const*& p, N& out, CNodeType type) {
    out = MakeNode(type);
    expect_char(p, '(', nullptr);
    std::vector<std::vector<int>> zeros;
    while (!seeChar(p, ')')) {
        N group;
        zeros.emplace_back();
        parsRanefGroup(p, out, group, zeros);
        if (IsErrorSet()) return;
        out->list.push_back(group);
        seeChar(p, ',');
    }
    TurnOffZeroRanefs(out, zeros);
    if (out->list.empty()) out = nullptr;
}

// priors: [ number { "," number } ] ")", behind the "(": one prior variance
static void parsPriorVariances(char const*& p, N& priors) {
    priors = MakeNode(CN_VALUES);
    for (int i = 0; !seeChar(p, ')'); i++) {
        if (i > 0) expect_char(p, ',', "Expected: ','");
        N num;
        if (!seeNumNode(p, num))
            return SetErr("Expected: <numerical prior variance for random effect>", p, 0, 0, -1);
        priors->list.push_back(num);
    }
    if (priors->list.size() != 1)
        SetErr("Number of prior variance values must equal number of random effects", p, 0, 0, -1);
}

// entry: id [ "(" "freeze" ")" ] [ "(" priors ] [ assign-op number ]
// child1 the names, child3 the standard deviation as given, child4 the prior variances.
static void parsErrorEntry(char const*& p, N& entry) {
    char name[NAME_BUF_SIZE];
    char const* start = ScanWhite(p);
    if (!seeId(p, name)) return SetErr("Expected: ')' to close error statement", p, 0, 0, -1);
    N var = MakeNode(name);
    var->pos = get_pos(start, p);
    N names = MakeNode(CN_NAMES);
    names->list.push_back(var);
    if (seeFreezeMark(p)) names->child1 = NewNum(1.0);
    N priors, value;
    if (seeChar(p, '(')) parsPriorVariances(p, priors);
    if (IsErrorSet()) return;
    if (!seeAssignOp(p))
        value = NewNum(1.0);
    else if (!seeNumNode(p, value))
        return SetErr("Expected: numeric variance value", p, 0, 0, -1);
    else if (value->value < 0)
        return SetErr("Negative stdev value", p, 0, 0, -1);
    entry = MakeNode(CN_VARIANCE_DIAG, names, N(), NewValues(value), priors);
}

// error ( { entry [","] } )
void parsErrorStmt(char const*& p, N& out) {
    out = MakeNode(CN_ERROR);
    expect_char(p, '(', nullptr);
    while (!seeChar(p, ')')) {
        N entry;
        parsErrorEntry(p, entry);
        if (IsErrorSet()) return;
        out->list.push_back(entry);
        seeChar(p, ',');
    }
}
