// The algebra of observation statements: their order in every index table, the error variable
// of an observation with the expression solved for it, the mean and variance function that
// follow from setting the errors to zero and differentiating by them, and whether the model
// may be fitted on the log scale.
#include "modelgen/gencode.h"

#include <cstdlib>
#include <utility>

static bool IsObservation(N const& s) {
    return s && (s->type == CN_OBSERVE || s->type == CN_MULTI || s->type == CN_LL ||
                 s->type == CN_EVENT || s->type == CN_COUNT);
}

void CGenCode::GetSortedObserveStmts(cn const& model, NV& out) {
    out.clear();
    for (N const& s : GetTopStatements(model ? model->child2 : cn()))
        if (IsObservation(s)) out.push_back(s);
    SortObserveStmt(out);
}

// An exchange sort on the node kind. It does not keep the text order of equal kinds in every
// case, and the engine's data are indexed in the order it gives.
void CGenCode::SortObserveStmt(NV& stmts) {
    for (size_t i = 0; i < stmts.size(); i++)
        for (size_t j = i + 1; j < stmts.size(); j++)
            if (stmts[i]->type > stmts[j]->type) std::swap(stmts[i], stmts[j]);
}

static void NoErrorVariable() {
    fprintf(
        stderr,
        "Error: there is an observation expression that does not contain an error variable\r\n");
}

int CGenCode::GenEpsilonExpression(char const* obsName, cn const& expr, N& solved, String& errName,
                                   int& frozen) const {
    solved = N();
    errName = "";
    frozen = 0;
    if (saError.empty()) return NoErrorVariable(), 0;
    int found = -1;
    for (size_t j = 0; j < saError.size(); j++) {
        int count = expr ? expr->CountContains(saError[j]) : 0;
        if (count > 1) {
            fprintf(stderr,
                    "Error: An error variable (%s) appears more than once in observation "
                    "expression\r\n",
                    C(saError[j]));
            return 0;
        }
        if (count == 1 && found >= 0) {
            fprintf(stderr,
                    "Error: More than one error variable (%s) appears in observation "
                    "expression\r\n",
                    C(saError[j]));
            return 0;
        }
        if (count == 1) found = int(j);
    }
    if (found < 0) return NoErrorVariable(), 0;
    errName = saError[size_t(found)];
    frozen = size_t(found) < naErrorFrozen.size() ? naErrorFrozen[size_t(found)] : 0;
    solved = expr->SolveFor(NewVar(obsName), errName);
    return solved ? 1 : 0;
}

// 'e' with every error variable of the model set to the number 0, each step simplified.
static N ZeroErrors(N e, SV const& errors, int& iFail) {
    for (String const& err : errors) {
        e = e->Subst(NewVar(err), NewNum(0.0), false)->Simp(iFail);
        if (iFail) break;
    }
    return e;
}

// mean = f with the errors at 0; variance function = the sum over the errors of the square of
// df/de at 0. A derivative that can't be had gives 1 with a warning.
void CGenCode::GenMeanVarianceExpr(cn const& expr, N& mean, N& var, int& iFail) const {
    mean = ZeroErrors(expr->Copy(), saError, iFail);
    if (iFail) return;
    var = NewNum(0.0);
    bool stopped = false;
    for (size_t i = 0; i < saError.size() && !stopped; i++) {
        N d = expr->Diff(saError[i]);
        if (!d) {
            stopped = true;
            break;
        }
        for (String const& err : saError)
            d = d->Subst(NewVar(err), NewNum(0.0), false);
        d = d->Simp(iFail);
        if (iFail) {
            stopped = true;
            break;
        }
        N square = NewNode(CN_MUL, d, d->Copy());
        var = i == 0 ? square : NewNode(CN_ADD, var, square);
    }
    if (stopped) {
        fprintf(stderr, "Warning: Cannot determine error variance - 1.0 assumed\r\n");
        var = NewNum(1.0);
        return;
    }
    var = var->Simp(iFail);
}

// The mean and the first derivative by an error that isn't 0 once the errors are 0.
void CGenCode::GenMeanSigExpr(cn const& expr, N& mean, N& sig, int& iFail) const {
    mean = ZeroErrors(expr->Copy(), saError, iFail);
    if (iFail) return;
    sig = NewNum(0.0);
    for (String const& err : saError) {
        N d = expr->Diff(err);
        if (!d) continue;
        int fail = 0;
        d = ZeroErrors(d, saError, fail);
        if (fail || (d->type == CN_NUM && d->value == 0.0)) continue;
        sig = d;
        return;
    }
}

// Whether log(f) moves one to one with the single error variable, as in C*exp(eps).
int CGenCode::CanLogTransform(cn const& expr) const {
    if (saError.size() != 1 || !expr) return 0;
    N call = MakeNode(CN_CALL, "log");
    call->list.push_back(expr->Copy());
    int iFail = 0;
    N l = call->Simp(iFail);
    N d = l->Diff(saError[0]);
    if (!d) return 0;
    d = d->Simp(iFail);
    return !iFail && d->type == CN_NUM && d->value == 1.0;
}

// Every observe statement must be solvable for its one error variable. The first that isn't ends
// the run here, before any file is written; its message is already printed.
void CGenCode::CheckObservationErrors() const {
    for (N const& s : GetTopStatements(pBody)) {
        if (!s || s->type != CN_OBSERVE) continue;
        N solved;
        String err;
        int frozen = 0;
        if (!GenEpsilonExpression(s->name, s->child2, solved, err, frozen)) exit(1);
    }
}
