// What the observation routines share: the error, mean and variance of an observe statement,
// the _std line, the time arguments of OnObserve, and the before/after/simulation actions.
#include "modelgen/gencode.h"

// The error variable of an observe statement, with the expression solved for it.
ObsMeanVar CGenCode::GetObsError(cn const& stmt) const {
    ObsMeanVar r;
    GenEpsilonExpression(stmt->name, stmt->child2, r.solved, r.err, r.frozen);
    r.errIndex = MemberOf(r.err, saError);
    if (r.solved) r.solved = r.solved->Subst(NewVar(stmt->name), NewVar("_v1"), false);
    r.mean = NewNum(0.0);
    r.var = NewNum(1.0);
    return r;
}

// Error variable, mean and variance function of an observe statement.
ObsMeanVar CGenCode::GetObsMeanVar(cn const& stmt) const {
    ObsMeanVar r = GetObsError(stmt);
    r.mean = r.var = N();
    int iFail = 0;
    if (stmt->child2) GenMeanVarianceExpr(stmt->child2->Copy(), r.mean, r.var, iFail);
    if (!r.mean) r.mean = NewNum(0.0);
    if (!r.var) r.var = NewNum(1.0);
    return r;
}

// 		const auto & _std = CEps;   or, frozen,   const double _std = 0.1; // CEps is frozen
void CGenCode::GenObsStd(ObsMeanVar const& mv, char const* indent) const {
    if (mv.frozen) {
        double init = mv.errIndex >= 0 && size_t(mv.errIndex) < daErrorInit.size()
                          ? daErrorInit[size_t(mv.errIndex)]
                          : 0.0;
        fprintf(fp, "%sconst double _std = %g; // %s is frozen\n", indent, init, C(mv.err));
    } else {
        fprintf(fp, "%sconst auto & _std = %s;\n", indent, C(mv.err));
    }
}

// The two time arguments of OnObserve: curTime and curTimeLastDose, or for an observe or multi
// statement with an independent variable, that variable and 0.
ObsTimeArgs CGenCode::GetObsTimeArgs(cn const& stmt) const {
    bool own = (stmt->type == CN_OBSERVE || stmt->type == CN_MULTI) && stmt->child1 &&
               stmt->child1->type == CN_VAR;
    if (own) return {stmt->child1->name, "0"};
    return {"curTime", "curTimeLastDose"};
}

// 		// do before-obs action
// 		<the action at 'indent' tabs, with the check of the ODE state>
// 		eval_sparams(zzY);
// 'comment' is the comment line, 'eval' the line after the action.
void CGenCode::GenObsAction(cn const& action, char const* comment, int indent,
                            char const* eval) const {
    if (!action) return;
    fprintf(fp, "%s", comment);
    GenActionCode(action, indent, true);
    fprintf(fp, "%s", eval);
}

// The simulation action of a statement with the observed name replaced by 'target', on left
// sides too, and unif()/norm() drawing only when epsilon is sampled.
N CGenCode::GetSimulationAction(cn const& stmt, char const* target) const {
    if (!stmt->appendix || !stmt->appendix->simulate) return N();
    N a = stmt->appendix->simulate->Subst(NewVar(stmt->name), NewVar(target), true);
    return a->ConverToUnifNormControlled();
}

N CGenCode::GetAppendixAction(cn const& stmt, int which) const {
    if (!stmt->appendix) return N();
    if (which == 0) return stmt->appendix->dobefore;
    if (which == 1) return stmt->appendix->doafter;
    return stmt->appendix->simulate;
}
