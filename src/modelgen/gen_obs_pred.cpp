// The prediction routines of the observations: simulate_for_tables, which gives a table one
// simulated value and the prediction of an observation, and new_get_pred, which records the
// prediction and variance of the observe statements and the two-outcome multi statements.
#include "modelgen/gencode.h"

#include <cstring>

static bool HasKind(NV const& stmts, CNodeType kind) {
    for (N const& s : stmts)
        if (s->type == kind) return true;
    return false;
}

static char const* LinkName(cn const& multi) {
    return multi->child2 ? static_cast<char const*>(multi->child2->name) : "";
}

// The simulation action with the observed name replaced by _pred, on left sides too. The
// routine of the tables has no bSampleEpsilon, so unif() and norm() stay as written.
static N TableSimulationAction(cn const& stmt) {
    if (!stmt->appendix || !stmt->appendix->simulate) return N();
    return stmt->appendix->simulate->Subst(NewVar(stmt->name), NewVar("_pred"), true);
}

// ---- simulate_for_tables --------------------------------------------------------------------

//         // do before-obs action
//         <the action at indent 2, with the check of the ODE state>
//         eval_sparams(zzY);
static void GenTableBefore(CGenCode const& g, cn const& stmt) {
    g.GenObsAction(g.GetAppendixAction(stmt, 0), "        // do before-obs action\n", 2,
                   "        eval_sparams(zzY);\n");
}

//         // trigger after-obs action
//         triggerEndObs_C = 1;
static void GenTableTrigger(CGenCode const& g, cn const& stmt) {
    if (!g.GetAppendixAction(stmt, 1)) return;
    fprintf(g.fp, "        // trigger after-obs action\n");
    fprintf(g.fp, "        triggerEndObs_%s = 1;\n", C(stmt->name));
}

//         *_pPred = (double)(C + _eps);
//         _eps = norm() * _fixef[3]; // get a N(0,stdev)
//         *_pObs = (double)(C + _eps);
// or the simulation action with _pred as the observed value.
static void GenTableObserve(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    ObsMeanVar mv = g.GetObsError(stmt);
    g.GenObsStd(mv, "        ");
    GenTableBefore(g, stmt);
    if (N action = TableSimulationAction(stmt)) {
        fprintf(fp, "        double _pred = 0;\n");
        g.GenActionCode(action, 2, true);
        fprintf(fp, "        *_pPred = _NA;\n");
        fprintf(fp, "        *_pObs = _pred;\n");
    } else {
        N sim = stmt->child2->Subst(NewVar(mv.err), NewVar("_eps"), false);
        fprintf(fp, "        *_pPred = (double)");
        GenCReal(sim, fp);
        fprintf(fp, ";\n");
        fprintf(fp, "        _eps = norm() * _fixef[%d]; // get a N(0,stdev)\n",
                int(g.saFixef.size()) + mv.errIndex);
        fprintf(fp, "        *_pObs = (double)");
        GenCReal(sim, fp);
        fprintf(fp, ";\n");
    }
    GenTableTrigger(g, stmt);
}

//         _probge[0] = 1;
//         _probge[1] = ilogit((double)x1, 1, 2);
//         _probge[2] = ilogit((double)x2, 2, 1);
//         _probge[3] = 0;
static void GenTableProbabilities(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    char const* link = LinkName(stmt);
    int n = int(stmt->list.size());
    fprintf(fp, "        _probge[0] = 1;\n");
    for (int i = 1; i <= n; i++) {
        fprintf(fp, "        _probge[%d] = %s((double)", i, link);
        GenCReal(stmt->list[size_t(i - 1)], fp);
        if (strcmp(link, "ilogit") == 0) fprintf(fp, ", %d, %d", i, n - i + 1);
        fprintf(fp, ");\n");
    }
    fprintf(fp, "        _probge[%d] = 0;\n", n + 1);
}

//         _u = unif();
//         _ypred1 = 0;
//         if (0);
//         else if (_u > _probge[0+1]) _ypred1 = 0;
//         else _ypred1 = 1;
//         *_pPred = _probge[1];
//         *_pObs = _ypred1;
static void GenTableMulti(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    int n = int(stmt->list.size());
    fprintf(fp, "        double _u = 0;\n");
    fprintf(fp, "        double _ypred1 = 0;\n");
    GenTableBefore(g, stmt);
    GenTableProbabilities(g, stmt);
    fprintf(fp, "        _u = unif();\n");
    fprintf(fp, "        _ypred1 = 0;\n");
    fprintf(fp, "        if (0);\n");
    for (int k = 0; k < n; k++)
        fprintf(fp, "        else if (_u > _probge[%d+1]) _ypred1 = %d;\n", k, k);
    fprintf(fp, "        else _ypred1 = %d;\n", n);
    fprintf(fp, "        *_pPred = _probge[1];\n");
    fprintf(fp, "        *_pObs = _ypred1;\n");
    GenTableTrigger(g, stmt);
}

//         int _count = 0;
//         if (_bDroppingOut) _count = 1;
//         else _count = rpois((double)_ht_E); // sample the count
//         *_pPred = (double)_ht_E;
//         ...
// A sampled interval has no count of its own; a dropout expression may end the subject.
static void GenTableEvent(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    char const* nm = stmt->name;
    fprintf(fp, "        int _count = 0;\n");
    GenTableBefore(g, stmt);
    fprintf(fp, "        if (_bDroppingOut) _count = 1;\n");
    if (!stmt->child3)
        fprintf(fp, "        else _count = rpois((double)_ht_%s); // sample the count\n", nm);
    fprintf(fp, "        *_pPred = (double)_ht_%s;\n", nm);
    fprintf(fp, "        *_pObs = (_count > 1 ? - _count : _count); // negative because it may "
                "have happened >1 time\n");
    fprintf(fp, "        _ht_%s = 0;\n", nm);
    GenTableTrigger(g, stmt);
    if (!stmt->child2) return;
    fprintf(fp, "        // dropout option was specified\n");
    fprintf(fp, "        if (_count > 0 && (");
    GenCReal(stmt->child2, fp);
    fprintf(fp, ")) {\n");
    fprintf(fp, "            *_pObs = 1;\n");
    fprintf(fp, "            StartDroppingOut();\n");
    fprintf(fp, "        }\n");
}

//             double _beta = b;
//             double _power = p;
//             _count = rnegbin((double)_ht_N, _beta, _power); // sample the count
// or the Poisson draw when there is no beta.
static void GenTableCountDraw(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    CNodeExtra const* x = stmt->extra.get();
    char const* nm = stmt->name;
    if (!x || !x->beta) {
        fprintf(fp, "            _count = rpois((double)_ht_%s); // sample the count\n", nm);
        return;
    }
    fprintf(fp, "            double _beta = ");
    GenCReal(x->beta, fp);
    fprintf(fp, ";\n");
    fprintf(fp, "            double _power = ");
    if (x->power)
        GenCReal(x->power, fp);
    else
        fprintf(fp, "1");
    fprintf(fp, ";\n");
    fprintf(fp,
            "            _count = rnegbin((double)_ht_%s, _beta, _power); // sample the count\n",
            nm);
}

//         int _count = 0;
//         double _u = 0;
//         double _zprob = 0;
//         _zprob = ilogit(p);
//         _u = unif();
//         if (_u >= _zprob){ ... }
//         *_pPred = (double)_ht_N;
//         *_pObs = _count;
//         _ht_N = 0;
static void GenTableCount(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    CNodeExtra const* x = stmt->extra.get();
    char const* nm = stmt->name;
    fprintf(fp, "        int _count = 0;\n");
    fprintf(fp, "        double _u = 0;\n");
    fprintf(fp, "        double _zprob = 0;\n");
    GenTableBefore(g, stmt);
    if (x && x->zprobOrLinkp) {
        if (x->ilink[0])
            fprintf(fp, "        _zprob = %s(", C(x->ilink));
        else
            fprintf(fp, "        _zprob = ");
        GenCReal(x->zprobOrLinkp, fp);
        fprintf(fp, x->ilink[0] ? ");\n" : ";\n");
    }
    fprintf(fp, "        _u = unif();\n");
    fprintf(fp, "        if (_u >= _zprob){\n");
    GenTableCountDraw(g, stmt);
    fprintf(fp, "        }\n");
    fprintf(fp, "        *_pPred = (double)_ht_%s;\n", nm);
    fprintf(fp, "        *_pObs = _count;\n");
    if (!x || !x->noreset) fprintf(fp, "        _ht_%s = 0;\n", nm);
    GenTableTrigger(g, stmt);
}

//             double _pred = 0;
//         <before action, simulation action>
//             *_pPred = _NA;
//             *_pObs = _pred;
static void GenTableLL(CGenCode const& g, cn const& stmt, N const& action) {
    FILE* fp = g.fp;
    fprintf(fp, "            double _pred = 0;\n");
    GenTableBefore(g, stmt);
    g.GenActionCode(action, 2, true);
    fprintf(fp, "            *_pPred = _NA;\n");
    fprintf(fp, "            *_pObs = _pred;\n");
    GenTableTrigger(g, stmt);
}

//     if (_nm[0] == 'C' && strcmp(_nm, "CObs") == 0)
//     {
//         ... the block of the statement ...
//
//         return;
//     }
// An LL statement without a simulation action has no block.
static void GenTableBlock(CGenCode const& g, cn const& stmt) {
    N llAction = stmt->type == CN_LL ? TableSimulationAction(stmt) : N();
    if (stmt->type == CN_LL && !llAction) return;
    if_statement(g.fp, stmt->name, false);
    switch (stmt->type) {
        case CN_OBSERVE: GenTableObserve(g, stmt); break;
        case CN_MULTI: GenTableMulti(g, stmt); break;
        case CN_LL: GenTableLL(g, stmt, llAction); break;
        case CN_EVENT: GenTableEvent(g, stmt); break;
        case CN_COUNT: GenTableCount(g, stmt); break;
        default: break;
    }
    fprintf(g.fp, "\n        return;\n");
    fprintf(g.fp, "    }\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::simulate_for_tables(double _t, const char* _nm, double* _pObs, ...)
// { ... one block for each observation statement ... }
void CGenCode::GenObservationSimTblCode() {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::simulate_for_tables(double _t, const char* _nm, double* "
                "_pObs, double* _pPred)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    if (HasKind(paSortedObserve, CN_MULTI)) fprintf(fp, "\tdouble _probge[12];\n");
    fprintf(fp, "\tconst double t = _t;\n");
    fprintf(fp, "\tdouble _eps = 0;\n");
    fprintf(fp, "\teval_sparams(zzY);\n");
    fprintf(fp, "\tif (_pcb == 0) return;\n");
    for (N const& s : paSortedObserve)
        GenTableBlock(*this, s);
    fprintf(fp, "}\n\n");
}

// ---- new_get_pred ---------------------------------------------------------------------------

// 			RecordObservation(_t, curTimeLastDose, iCurWhichDose, iCurWhichReset,
// (double)_ypred, _v1, (double)_var, 0); 'value', 'obs' and 'var' are the three values; 'q' counts
// the predicted observations. A model that isn't time-based passes the independent variable, or
// curTime, as both times.
static void GenRecordObservation(CGenCode const& g, cn const& stmt, char const* value,
                                 char const* obs, char const* var, int q) {
    if (g.bTimeBased) {
        fprintf(g.fp,
                "\t\t\tRecordObservation(_t, curTimeLastDose, iCurWhichDose, iCurWhichReset, %s, "
                "%s, (double)%s, %d);\n",
                value, obs, var, q);
        return;
    }
    char const* iv = stmt->child1 && stmt->child1->type == CN_VAR
                         ? static_cast<char const*>(stmt->child1->name)
                         : "curTime";
    fprintf(g.fp, "\t\t\tRecordObservation(%s, %s, 0, 0, %s, %s, (double)%s, %d);\n", iv, iv, value,
            obs, var, q);
}

// 		if (!isfinite(_sig)){
// 			SetErrorMsg("Error (Model.cpp): non-finite _sig");
// 		}
static void GenCheck(FILE* fp, char const* test, char const* message) {
    fprintf(fp, "\t\tif (%s){\n", test);
    fprintf(fp, "\t\t\tSetErrorMsg(\"%s\");\n", message);
    fprintf(fp, "\t\t}\n");
}

// 		if (doActions)
// 		{
// 			// do before-obs action
// 			<the action at indent 4, with the check of the ODE state>
// 			eval_sparams(zzY);
// 		}
static void GenPredBefore(CGenCode const& g, cn const& stmt) {
    N action = g.GetAppendixAction(stmt, 0);
    if (!action) return;
    fprintf(g.fp, "\t\tif (doActions)\n");
    fprintf(g.fp, "\t\t{\n");
    g.GenObsAction(action, "\t\t\t// do before-obs action\n", 4, "\t\t\teval_sparams(zzY);\n");
    fprintf(g.fp, "\t\t}\n");
}

// 		if (doActions)
// 		{
// 			// trigger after-obs action
// 			triggerEndObs_C = 1;
// 		}
static void GenPredTrigger(CGenCode const& g, cn const& stmt) {
    if (!g.GetAppendixAction(stmt, 1)) return;
    fprintf(g.fp, "\t\tif (doActions)\n");
    fprintf(g.fp, "\t\t{\n");
    fprintf(g.fp, "\t\t\t// trigger after-obs action\n");
    fprintf(g.fp, "\t\t\ttriggerEndObs_%s = 1;\n", C(stmt->name));
    fprintf(g.fp, "\t\t}\n");
}

// 		_sig = _sqrtvf;
// 		_dVFCorrectionFactor = GetPredVFCorrectionFactor(0);
// 		if (_dVFCorrectionFactor != 0) _sig /= _dVFCorrectionFactor;
// 		... the checks of _sig ...
// 		_var = _sig * _sig;
static void GenPredVariance(CGenCode const& g, ObsMeanVar const& mv) {
    FILE* fp = g.fp;
    fprintf(fp, "\t\t_sqrtvf = sqrt(");
    GenC(mv.var, fp);
    fprintf(fp, ");\n");
    fprintf(fp, "\t\t/* handle 0 observations and proportional models */\n");
    fprintf(fp,
            "\t\tif (_sqrtvf == 0 || (_sqrtvf < 1e-12 && _v1 == 0)){_ypred = 0; _sqrtvf = 1;}\n");
    fprintf(fp, "\t\t_sig = _sqrtvf;\n");
    fprintf(fp, "\t\t_dVFCorrectionFactor = GetPredVFCorrectionFactor(%d);\n", mv.errIndex);
    fprintf(fp, "\t\tif (_dVFCorrectionFactor != 0) _sig /= _dVFCorrectionFactor;\n");
    GenCheck(fp, "!isfinite(_sig)", "Error (Model.cpp): non-finite _sig");
    GenCheck(fp, "_sig == 0", "Error (Model.cpp): zero _sig");
    fprintf(fp, "\t\t_var = _sig * _sig;\n\n");
}

// 		const auto & _std = CEps;
// 		_ypred = C;
// 		... the variance, the record and the count ...
// 		(*pnObs)++; // count all observations
static void GenPredObserve(CGenCode const& g, cn const& stmt, int q) {
    FILE* fp = g.fp;
    ObsMeanVar mv = g.GetObsMeanVar(stmt);
    g.GenObsStd(mv, "\t\t");
    GenPredBefore(g, stmt);
    fprintf(fp, "\t\t_ypred = ");
    GenC(mv.mean, fp);
    fprintf(fp, ";\n");
    GenCheck(fp, "!isfinite(_ypred)", "Error (Model.cpp): non-finite _ypred");
    GenPredVariance(g, mv);
    fprintf(fp, "\t\tif (ALLOWLOGTRANSFORM && bEnableLogTransform){\n");
    GenRecordObservation(g, stmt, "logfl((double)_ypred)", "logfl(_v1)", "1.0", q);
    fprintf(fp, "\t\t\tcapture_pred(*pnObs, _ypred, NUM(1.0));\n");
    fprintf(fp, "\t\t} else {\n");
    GenRecordObservation(g, stmt, "(double)_ypred", "_v1", "_var", q);
    fprintf(fp, "\t\t\tcapture_pred(*pnObs, _ypred, _var);\n");
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\t(*pnObs)++; // count all observations\n");
    GenPredTrigger(g, stmt);
}

// 		// handled because there are just two outcomes
// 		_yval[1] = x;
// 		_probge[0] = 1;
// 		_probge[1] = ilogit(_yval[1], 1, 1);
// 		...
// Only a multi statement with one intercept has a prediction.
static void GenPredMulti(CGenCode const& g, cn const& stmt, int q) {
    FILE* fp = g.fp;
    if (stmt->list.size() > 1)
        fprintf(fp, "\t\t// prediction not handled because more than 2 outcomes\n");
    if (stmt->list.size() != 1) return;
    char const* link = LinkName(stmt);
    fprintf(fp, "\t\t// handled because there are just two outcomes\n");
    fprintf(fp, "\t\t_yval[%d] = ", 1);
    GenCReal(stmt->list[0], fp);
    fprintf(fp, ";\n");
    fprintf(fp, "\t\t_probge[0] = 1;\n");
    if (strcmp(link, "ilogit") == 0)
        fprintf(fp, "\t\t_probge[%d] = %s(_yval[%d], %d, %d);\n", 1, link, 1, 1, 1);
    else
        fprintf(fp, "\t\t_probge[%d] = %s(_yval[%d]);\n", 1, link, 1);
    fprintf(fp, "\t\t_probge[%d] = 0;\n", 2);
    for (int k = 0; k <= 1; k++)
        fprintf(fp, "\t\t_prob[%d] = _probge[%d] - _probge[%d];\n", k, k, k + 1);
    GenRecordObservation(g, stmt, "_prob[1]", "_v1", "(_prob[1]*(1-_prob[1]))", q);
}

//     if (_nm[0] == 'C' && strcmp(_nm, "CObs") == 0)
//     {
//         ... the block ...
//
//         return;
//     }
static void GenPredBlock(CGenCode const& g, cn const& stmt, int q) {
    if_statement(g.fp, stmt->name, false);
    if (stmt->type == CN_OBSERVE)
        GenPredObserve(g, stmt, q);
    else
        GenPredMulti(g, stmt, q);
    fprintf(g.fp, "\n        return;\n");
    fprintf(g.fp, "    }\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::new_get_pred(int* pnObs, const double _t, const char* _nm, ...)
// { ... a block for each observe statement, then for each multi statement ... }
// The index of RecordObservation counts these blocks in that order.
void CGenCode::GradientProcessing32() {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::new_get_pred(int* pnObs, const double _t, const char* "
                "_nm, double _v1, bool doActions /*= true*/)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    fprintf(fp, "\tdouble _dVFCorrectionFactor = 1;\n");
    if (HasKind(paSortedObserve, CN_MULTI)) {
        fprintf(fp, "\tdouble _yval[12] = {0};\n");
        fprintf(fp, "\tdouble _probge[12] = {0};\n");
        fprintf(fp, "\tdouble _prob[12] = {0};\n");
    }
    fprintf(fp, "\tNUM _ypred(0); // predicted value\n");
    fprintf(fp, "\tNUM _var(1);\n");
    fprintf(fp, "\tNUM _sig(1); // current standard deviation of Epsilon\n");
    fprintf(fp, "\tNUM _sqrtvf(1); // dObs / dEpsilon (additive = 1, proportional = _ypred)\n");
    fprintf(fp, "\tdouble _vf = 1; // _sqrtvf*_sqrtvf (additive = 1, proportional = _ypred^2)\n");
    int q = 0;
    for (CNodeType kind : {CN_OBSERVE, CN_MULTI})
        for (N const& s : paSortedObserve)
            if (s->type == kind) GenPredBlock(*this, s, q++);
    fprintf(fp, "}\n\n");
}
