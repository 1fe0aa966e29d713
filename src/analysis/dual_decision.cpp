// Which random effects, fixed effects and error variables a model carries as dual numbers: a
// parameter qualifies when it stays out of doses, action code and delays, and every rate of
// the model can be differentiated by it. The sets of dual variables follow from the chains.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <cstdlib>
#include <unordered_map>

// The expanded parts of a model that decide against a dual parameter.
struct DualEvidence {
    NV doses, sequences, closedForms, delays, rates;
};

void CGenCode::GradientProcessing0(NV& rates, NV& transits, NV& delays) const {
    NV stmts = GetTopStatements(pBody);
    for (cn const& s : filter_nodes(stmts, CN_TRANSIT))
        transits.push_back(std::const_pointer_cast<CNode>(s));
    for (cn const& s : filter_nodes(stmts, CN_DELAYINFCPT))
        delays.push_back(std::const_pointer_cast<CNode>(s));
    for (CNodeType kind : {CN_DERIV, CN_URINECPT, CN_EVENT, CN_COUNT})
        for (cn const& s : filter_nodes(stmts, kind))
            rates.push_back(std::const_pointer_cast<CNode>(s));
    rates.insert(rates.end(), delays.begin(), delays.end());
}

static N Expanded(N const& n) {
    return n ? FullyExpand(n, saAssign, paAssign) : N();
}

// Copies of the doses with lag, duration, rate and bioavailability expanded.
static NV ExpandedDoses(NV const& stmts) {
    NV out;
    for (CNodeType kind : {CN_DOSEPOINT, CN_DOSEPOINT2})
        for (cn const& s : filter_nodes(stmts, kind)) {
            N d = s->Copy();
            d->child1 = Expanded(d->child1);
            d->child2 = Expanded(d->child2);
            d->child3 = Expanded(d->child3);
            d->child4 = Expanded(d->child4);
            out.push_back(d);
        }
    return out;
}

// Copies of the closed forms with their arguments expanded: of cfMacro the coefficients and
// exponents only.
static NV ExpandedClosedForms(NV const& stmts) {
    NV out;
    for (CNodeType kind : {CN_CFMICRO, CN_CFMACRO1, CN_CFMACRO})
        for (cn const& s : filter_nodes(stmts, kind)) {
            N c = s->Copy();
            size_t from = kind == CN_CFMACRO ? 2 : 0;
            if (kind != CN_CFMACRO || c->list.size() > 2)
                for (size_t i = from; i < c->list.size(); i++)
                    c->list[i] = Expanded(c->list[i]);
            if (kind != CN_CFMACRO) c->child1 = Expanded(c->child1);
            out.push_back(c);
        }
    return out;
}

// The integrator a rate statement integrates, and its right side. 'forDiff' names the
// delayInfCpt's own variable, which the first use leaves empty.
static String RateName(N const& s, bool forDiff) {
    if (s->type == CN_EVENT || s->type == CN_COUNT) return String("_ht_") + (char const*)s->name;
    if (s->type == CN_DELAYINFCPT && !forDiff) return String();
    return s->child1 ? s->child1->name : String();
}

static N RateExpression(N const& s) {
    switch (s->type) {
        case CN_DERIV: return s->child2;
        case CN_URINECPT: return s->child3 ? NewNode(CN_MUL, s->child2, s->child3) : s->child2;
        case CN_EVENT:
        case CN_COUNT: return s->child1;
        default: return NewNum(0.0);
    }
}

static bool DeepIn(N const& n, char const* name) {
    return n && n->DeepContains(name);
}

static bool IsIn(std::set<std::string> const& set, char const* name) {
    return set.count(name) > 0;
}

// Adds the name of every variable under 'n' to 'out': at least every name that `Diff` compares.
static void CollectVarNames(N const& n, std::set<std::string>& out) {
    if (!n) return;
    if (n->type == CN_VAR) out.insert(std::string(n->name));
    for (N const* c : {&n->child1, &n->child2, &n->child3, &n->child4})
        CollectVarNames(*c, out);
    for (N const& e : n->list)
        CollectVarNames(e, out);
}

// A name that 'held' does not hold.
static std::string AbsentName(std::set<std::string> const& held) {
    std::string name = "_absent";
    while (held.count(name))
        name += "_";
    return name;
}

// The derivative 'd' exists and simplifies.
static bool SimpOk(N const& d) {
    if (!d) return false;
    if (!d->SimpCanFail()) return true;
    int iFail = 0;
    d->Simp(iFail);
    return iFail == 0;
}

// The rate tests of `is_ranef_dual`, worked out once for all parameters. Each right side is
// expanded once. `Diff` by a name that the tree does not hold takes one path for every such
// name, and neither `Diff` nor `Simp` has side effects, so a rate needs a `Diff` of its own only
// for the names it holds; its answer for all others is kept, and so are the tests that don't
// depend on the parameter: an assignment to the integrator, `Diff` by the other integrators.
class RateTests {
  public:
    RateTests(NV const& rateList, N const& bodyNode, SV const& assignNames, NV const& assignExprs,
              SV const& covariates)
        : rates(rateList), body(bodyNode), names(assignNames), exprs(assignExprs),
          consts(covariates) {}

    // Whether every rate accepts 'name'. The first call does the work shared by all names.
    bool Accept(char const* name) {
        if (!built) Build();
        size_t badHolders = 0;
        auto holders = byName.find(name);
        if (holders != byName.end())
            for (size_t r : holders->second) {
                if (!generic[r]) badHolders++;
                if (!fixedOk[r]) return false;
                if (!plain[r] && !SimpOk(rhs[r]->Diff(name, consts))) return false;
            }
        return nBadGeneric == badHolders;
    }

  private:
    // The statements in which `IntegratorIsAssignedTo` can find an assignment: sequences,
    // and doses and observations with action code.
    N AssigningStatements() const {
        N block = MakeNode(CN_BLOCK);
        NV stmts = !body ? NV() : body->type == CN_BLOCK ? body->list : NV{body};
        for (N const& s : stmts) {
            if (!s) continue;
            bool hooks = s->type == CN_DOSEPOINT || s->type == CN_DOSEPOINT2 ||
                         (s->type >= CN_OBSERVE && s->type <= CN_COUNT);
            if (s->type == CN_SEQUENCE || (hooks && s->appendix)) block->list.push_back(s);
        }
        return block;
    }

    void Build() {
        built = true;
        N const assigning = AssigningStatements();
        AssignIndex const index = GetAssignIndex(names);
        for (N const& r : rates)
            rateNames.insert(std::string(RateName(r, true)));
        ExpansionSummaries summaries(names, exprs);
        for (size_t r = 0; r < rates.size(); r++) {
            N const rate = RateExpression(rates[r]);
            std::vector<std::string> holds;
            bool summedPlain = false;
            std::set<std::string> held;
            if (summaries.Summarize(rate.get(), holds, summedPlain) && summedPlain) {
                rhs.push_back(N()); // plain: no derivative will be asked for
                plain.push_back(1);
            } else {
                rhs.push_back(FullyExpand(rate, names, exprs, index));
                CollectVarNames(rhs[r], held);
                holds.assign(held.begin(), held.end());
                plain.push_back(IsPlainlyDifferentiable(rhs[r].get()));
            }
            for (std::string const& v : holds)
                byName[v].push_back(r);
            bool const assigned = IntegratorIsAssignedTo(RateName(rates[r], false), assigning);
            if (plain[r]) { // every derivative exists and simplifies
                fixedOk.push_back(!assigned);
                generic.push_back(fixedOk[r]);
            } else {
                N const dAbsent = rhs[r]->Diff(AbsentName(held).c_str(), consts);
                fixedOk.push_back(!assigned && OtherRatesOk(rhs[r], held, bool(dAbsent)));
                generic.push_back(fixedOk[r] && SimpOk(dAbsent));
            }
            if (!generic[r]) nBadGeneric++;
        }
    }

    // `Diff` of 'e' by each integrator exists; 'absentOk' answers for those 'e' does not hold.
    bool OtherRatesOk(N const& e, std::set<std::string> const& held, bool absentOk) const {
        size_t nHeld = 0;
        for (std::string const& v : held) {
            if (!rateNames.count(v)) continue;
            nHeld++;
            if (!e->Diff(v.c_str(), consts)) return false;
        }
        return nHeld == rateNames.size() || absentOk;
    }

    NV const& rates;
    N const& body;
    SV const& names;
    NV const& exprs;
    SV const& consts; // the covariates, constant for `Diff`
    bool built = false;
    std::set<std::string> rateNames; // the integrators, as the inner test names them
    NV rhs;                          // the expanded right sides, but of plain summaries
    std::vector<char> plain;         // `IsPlainlyDifferentiable` of each
    std::vector<char> fixedOk;       // the tests that don't depend on the parameter
    std::vector<char> generic;       // the answer for a name the rate does not hold
    std::unordered_map<std::string, std::vector<size_t>> byName; // the rates holding a name
    size_t nBadGeneric = 0;
};

bool CGenCode::is_ranef_dual(String const& name, NV const& doses, int nDoses, NV const& sequences,
                             NV const& closedForms, NV const& delays, RateTests& rateTests) const {
    (void)nDoses;      // handed along; it decides nothing
    (void)closedForms; // expanded, but they take no part in the refusal
    if (IsIn(force_real, name)) return false;
    if (IsIn(force_dual, name)) return true;
    for (N const& d : doses) {
        if (DeepIn(d->child1, name) || DeepIn(d->child2, name) || DeepIn(d->child3, name))
            return false;
        if (MemberOf(d->name, saTransit2) >= 0 && DeepIn(d->child4, name)) return false;
    }
    for (N const& s : sequences)
        if (DeepIn(s, name)) return false;
    for (N const& d : delays)
        if (DeepIn(d, name)) return false;
    return rateTests.Accept(name);
}

static bool IsFrozen(std::vector<unsigned short> const& frozen, size_t i) {
    return i < frozen.size() && frozen[i] != 0;
}

void CGenCode::GradientProcessing1(NV const& rates, NV const& transits, NV const& delays,
                                   SV const& assignNames, NV const& assignExprs, SV& dualRanef5,
                                   SV& dualFixef, SV& dualError, SV const& used) const {
    if (!transits.empty() || !delays.empty()) return;
    NV stmts = GetTopStatements(pBody);
    DualEvidence e;
    e.doses = ExpandedDoses(stmts);
    e.closedForms = ExpandedClosedForms(stmts);
    for (cn const& s : filter_nodes(stmts, CN_SEQUENCE))
        e.sequences.push_back(Expanded(std::const_pointer_cast<CNode>(s)));
    NV times;
    get_delays(pBody, times);
    for (N const& t : times)
        e.delays.push_back(Expanded(t));
    N body = std::const_pointer_cast<CNode>(pBody);
    RateTests rateTests(rates, body, assignNames, assignExprs, saCovariates);
    auto dual = [&](String const& name) {
        return is_ranef_dual(name, e.doses, int(e.doses.size()), e.sequences, e.closedForms,
                             e.delays, rateTests);
    };
    std::unordered_set<std::string> usedSet;
    for (String const& u : used)
        usedSet.insert(std::string(u));
    throw_diff_exception = false;
    for (String const& r : saRanef5)
        if (dual(r)) dualRanef5.push_back(r);
    if (!getenv("QMIX_NO_DUAL_THETA")) {
        // A fixed effect that nothing uses is frozen right after this analysis.
        for (size_t i = 0; i < saFixef.size(); i++)
            if (dual(saFixef[i]) && !IsFrozen(naFixefFrozen, i) &&
                usedSet.count(std::string(saFixef[i])))
                dualFixef.push_back(saFixef[i]);
        for (size_t i = 0; i < saError.size(); i++)
            if (dual(saError[i]) && !IsFrozen(naErrorFrozen, i)) dualError.push_back(saError[i]);
    }
    throw_diff_exception = true;
}

// Adds each name of 'lists', joined in order, that the text does not force real.
static void AddUnlessReal(std::unordered_set<std::string>& set,
                          std::initializer_list<SV const*> lists) {
    size_t total = set.size();
    for (SV const* list : lists)
        total += list->size();
    set.reserve(total);
    for (SV const* list : lists)
        for (String const& n : *list)
            if (force_real.empty() || !IsIn(force_real, n)) set.emplace(n);
}

// Step 5 of Phase 1: the parameters carried as dual numbers, then every variable that has a
// dual type in theta mode, in eta mode, in either.
void CGenCode::DecideDualNumbers(SV const& used) {
    if (getenv("QMIX_REAL_ONLY")) {
        if (getenv("QMIX_CPP_SOLVERS")) want_cpp_solvers = 1;
        return;
    }
    NV rates, transits, delays;
    GradientProcessing0(rates, transits, delays);
    GradientProcessing1(rates, transits, delays, saAssign, paAssign, saDualRanef5, saDualFixef,
                        saDualError, used);
    SV ranefDependents, thetaDependents;
    CollectDependentParams(used, saDualRanef5, ranefDependents);
    CollectDependentParams(used, saDualFixef, thetaDependents);
    CollectDependentParams(used, saDualError, thetaDependents);
    dual_vars.clear();
    for (std::string const& n : force_dual)
        if (!force_real.count(n)) dual_vars.insert(n);
    dual_vars_ranxef = dual_vars;
    dual_vars_fixef = dual_vars;
    SV integrators = saDeriv;
    integrators.insert(integrators.end(), saCFMacro.begin(), saCFMacro.end());
    integrators.insert(integrators.end(), saCFMacro2.begin(), saCFMacro2.end());
    AddUnlessReal(dual_vars_fixef, {&thetaDependents, &saDualFixef, &saDualError});
    AddUnlessReal(dual_vars_ranxef, {&ranefDependents, &integrators, &saDualRanef5});
    AddUnlessReal(dual_vars, {&ranefDependents, &thetaDependents, &integrators, &saDualRanef5,
                              &saDualFixef, &saDualError});
}
