// The log-likelihood (get_ll) and simulation (simulate) of one observation, a block for each
// observation statement in index order, and GetNumCategories of the multi statements.
#include "modelgen/gencode.h"

#include <cstring>
#include <string>

static bool const LL = false, SIM = true; // the two modes of a block

// 		if (!isfinite(_ypred)){
// 			SetErrorMsg("Error (Model.cpp): non-finite _ypred");
// 		}
static void GenCheck(FILE* fp, char const* test, char const* message) {
    fprintf(fp, "\t\tif (%s){\n", test);
    fprintf(fp, "\t\t\tSetErrorMsg(\"%s\");\n", message);
    fprintf(fp, "\t\t}\n");
}

// 		_dLL[0] += (double)_dLL1;
// 		copy_grad(_dLL1, _dGrad);
// 		(*pnObs)++;
static void GenAccumulate(FILE* fp) {
    fprintf(fp, "\t\t_dLL[0] += (double)_dLL1;\n");
    fprintf(fp, "\t\tcopy_grad(_dLL1, _dGrad);\n");
    fprintf(fp, "\t\t(*pnObs)++;\n");
}

// 		if (_pcb){
// 			_pcb->OnObserve(curTime, curTimeLastDose, _nm, -1, _NA, _NA, _v1, _NA,
// 1/_NA, iql);
// 		}
// 'rest' is the text after the two time arguments.
static void GenOnObserve(FILE* fp, ObsTimeArgs t, char const* rest) {
    fprintf(fp, "\t\tif (_pcb){\n");
    fprintf(fp, "\t\t\t_pcb->OnObserve(%s, %s, _nm, %s);\n", t.time, t.lastDose, rest);
    fprintf(fp, "\t\t}\n");
}

// 		// do before-obs action
// 		<the action, at indent 3 with the check of the ODE state>
// 		eval_sparams(zzY);
static void GenBeforeObs(CGenCode const& g, cn const& stmt) {
    g.GenObsAction(g.GetAppendixAction(stmt, 0), "\t\t// do before-obs action\n", 3,
                   "\t\teval_sparams(zzY);\n");
}

static void GenAfterObs(CGenCode const& g, cn const& stmt) {
    g.GenObsAction(g.GetAppendixAction(stmt, 1), "\t\t// do after-obs action\n", 3,
                   "\t\teval_sparams(zzY);\n");
}

// ---- observe --------------------------------------------------------------------------------

// The log-likelihood of a measured value, or of one below or above the quantification limit,
// on the log scale when the model allows it and the engine wants it.
static void GenGaussianLL(FILE* fp, ObsTimeArgs t) {
    fprintf(fp, "\t\tif (ALLOWLOGTRANSFORM && bEnableLogTransform){\n");
    fprintf(fp, "\t\t\tif (iql == 0) _dLL1 += lnorm(logfl(_v1) - logfl(_ypred), _sig);\n");
    fprintf(fp, "\t\t\telse if (iql > 0) _dLL1 += lphi(logfl(_v1) - logfl(_ypred), _sig);\n");
    fprintf(fp, "\t\t\telse _dLL1 += lphi(logfl(_ypred) - logfl(_v1), _sig);\n");
    fprintf(fp, "\t\t} else {\n");
    fprintf(fp, "\t\t\tif (iql == 0) _dLL1 += lnorm(_v1 - _ypred, _sig);\n");
    fprintf(fp, "\t\t\telse if (iql > 0) _dLL1 += lphi(_v1 - _ypred, _sig);\n");
    fprintf(fp, "\t\t\telse _dLL1 += lphi(_ypred - _v1, _sig);\n");
    fprintf(fp, "\t\t}\n");
    GenAccumulate(fp);
    fprintf(fp, "\t\tif (_pcb){\n");
    fprintf(fp, "\t\t\tif (ALLOWLOGTRANSFORM && bEnableLogTransform)\n");
    fprintf(
        fp,
        "                _pcb->OnObserve(%s, %s, _nm, -1, logfl((double)_ypred), 0, logfl(_v1), "
        "(double)_sig, (double)_sqrtvf, iql);",
        t.time, t.lastDose);
    fprintf(fp, "\n\t\t\telse\n");
    fprintf(
        fp,
        "                _pcb->OnObserve(%s, %s, _nm, -1, (double)_ypred, 0, _v1, (double)_sig, "
        "(double)_sqrtvf, iql);\n",
        t.time, t.lastDose);
    fprintf(fp, "\t\t}\n");
}

// A simulated value: from the simulation action, or the expression with a drawn epsilon.
static void GenGaussianSimulation(CGenCode const& g, cn const& stmt, ObsMeanVar const& mv,
                                  ObsTimeArgs t) {
    FILE* fp = g.fp;
    fprintf(fp, "\t\tif (_pcb != 0){\n");
    if (N action = g.GetSimulationAction(stmt, "_ypred1")) {
        fprintf(fp, "\t\t\tdouble _ypred1 = 0;\n");
        fprintf(fp, "\t\t\t// do simulation action\n");
        g.GenActionCode(action, 3, true);
        fprintf(fp, "\n\t\t\teval_sparams(zzY);\n");
        fprintf(
            fp,
            "\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, (double)_ypred, _ypred1, _v1, (double)_sig, "
            "(double)_sqrtvf, iql);\n",
            t.time, t.lastDose);
        fprintf(fp, "\t\t}\n");
        return;
    }
    fprintf(fp, "            double _eps = bSampleEpsilon ? norm() * (double)_std : 0.0; // get a "
                "N(0,1)\n");
    fprintf(fp, "\t\t\tdouble _ypred1 = (double)");
    GenCReal(stmt->child2->Subst(NewVar(mv.err), NewVar("_eps"), false), fp);
    fprintf(fp, ";\n");
    fprintf(fp, "\t\t\tif (ALLOWLOGTRANSFORM && bEnableLogTransform)\n");
    fprintf(fp,
            "\t\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, logfl((double)_ypred), logfl(_ypred1), "
            "logfl(_v1), (double)_sig, (double)_sqrtvf, iql);\n",
            t.time, t.lastDose);
    fprintf(fp, "\t\t\telse\n");
    fprintf(fp,
            "\t\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, (double)_ypred, _ypred1, _v1, (double)_sig, "
            "(double)_sqrtvf, iql);\n",
            t.time, t.lastDose);
    fprintf(fp, "\t\t}\n");
}

// The block of an observe statement: prediction, standard deviation, then the likelihood or
// the simulated value. Its after action only sets a flag; end_obs_actions runs it.
static void GenObserveBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    ObsMeanVar mv = g.GetObsMeanVar(stmt);
    ObsTimeArgs t = g.GetObsTimeArgs(stmt);
    g.GenObsStd(mv, "\t\t");
    GenBeforeObs(g, stmt);
    fprintf(fp, "\t\t_ypred = ");
    GenC(mv.mean, fp);
    fprintf(fp, ";\n");
    GenCheck(fp, "!isfinite(_ypred)", "Error (Model.cpp): non-finite _ypred");
    fprintf(fp, "        if (!ALLOWLOGTRANSFORM || !bEnableLogTransform) {\n");
    fprintf(fp, "            _sqrtvf = sqrt(");
    GenC(mv.var, fp);
    fprintf(fp, ");\n");
    fprintf(fp, "        }\n");
    fprintf(fp, "\t\t/* handle 0 observations and proportional models */\n");
    fprintf(fp,
            "\t\tif (_sqrtvf == 0 || (_sqrtvf < 1e-12 && _v1 == 0)){_ypred = 0; _sqrtvf = 1;}\n");
    fprintf(fp, "\t\t_sig = _sqrtvf;\n");
    if (!sim) fprintf(fp, "\t\t_sig *= _std;\n");
    GenCheck(fp, "!isfinite(_sig)", "Error (Model.cpp): non-finite _sig");
    GenCheck(fp, "_sig == 0", "Error (Model.cpp): zero _sig");
    if (sim)
        GenGaussianSimulation(g, stmt, mv, t);
    else
        GenGaussianLL(fp, t);
    if (!g.GetAppendixAction(stmt, 1)) return;
    fprintf(fp, "\t\t// trigger after-obs action\n");
    fprintf(fp, "\t\ttriggerEndObs_%s = 1;\n", C(stmt->name));
}

// ---- multi ----------------------------------------------------------------------------------

// 		_probge[0] = 1;
// 		_probge[1] = ilogit(x1, 1, 2);
// 		_probge[2] = 0;
// The probability of a category at or above each intercept.
static void GenProbabilities(CGenCode const& g, cn const& stmt, bool sim, char const* indent) {
    FILE* fp = g.fp;
    char const* link = stmt->child2 ? (char const*)stmt->child2->name : "";
    int n = int(stmt->list.size());
    fprintf(fp, "%s_probge[0] = 1;\n", indent);
    for (int i = 1; i <= n; i++) {
        fprintf(fp, "%s_probge[%d] = %s(%s", indent, i, link, sim ? "(double)" : "");
        if (sim)
            GenCReal(stmt->list[size_t(i - 1)], fp); // into a double array
        else
            GenC(stmt->list[size_t(i - 1)], fp);
        if (strcmp(link, "ilogit") == 0) fprintf(fp, ", %d, %d", i, n - i + 1);
        fprintf(fp, ");\n");
    }
    fprintf(fp, "%s_probge[%d] = 0;\n", indent, n + 1);
}

// The log-probability of the observed category.
static void GenCategoryLL(FILE* fp, cn const& stmt, ObsTimeArgs t) {
    char const* nm = stmt->name;
    fprintf(fp, "\t\t_i = (int)_v1;\n");
    fprintf(fp, "\t\tif ((double)_i == _v1 && _i >= 0 && _i <= %d){\n", int(stmt->list.size()));
    fprintf(fp, "\t\t\tNUM delp = _probge[_i] - _probge[_i+1];\n");
    fprintf(fp, "\t\t\tif (delp > 0){\n");
    fprintf(fp, "\t\t\t\t_dLL1 = log(delp);\n");
    fprintf(fp, "\t\t\t} else {\n");
    fprintf(fp, "\t\t\t\tif (std::isnan((double)delp))\n");
    fprintf(fp,
            "\t\t\t\t\tSetErrorMessageWithParams(\"Observable '%s': NaN produced for the current "
            "structural parameters\");\n",
            nm);
    fprintf(fp, "\t\t\t\telse if (delp == 0)\n");
    fprintf(fp,
            "\t\t\t\t\tSetErrorMessageWithParams(\"Observable '%s' has category probability "
            "zero\");\n",
            nm);
    fprintf(fp, "\t\t\t\telse\n");
    fprintf(fp,
            "\t\t\t\t\tSetErrorMessageWithParams(\"Observable '%s' category probabilities not "
            "descending\");\n",
            nm);
    fprintf(fp, "\t\t\t\tNotOK();\n");
    fprintf(fp, "\t\t\t\t_dLL1 = -1.0e200;\n");
    fprintf(fp, "\t\t\t}\n");
    fprintf(fp, "\t\t} else {\n");
    fprintf(fp,
            "\t\t\tsprintf(_msgbuf, \"Observable '%s' has invalid categorical value %%g\", _v1);\n",
            nm);
    fprintf(fp, "\t\t\tSetErrorMessageWithParams(_msgbuf);\n");
    fprintf(fp, "\t\t\tNotOK();\n");
    fprintf(fp, "\t\t}\n");
    GenAccumulate(fp);
    GenOnObserve(fp, t, "-1, _NA, _NA, _v1, _NA, 1/_NA, iql");
}

// Each category's probability for a visual predictive check, or one drawn category.
static void GenCategorySimulation(FILE* fp, int n, ObsTimeArgs t) {
    fprintf(fp, "\t\tif (_pcb != 0){\n");
    fprintf(fp, "\t\t\tif (bForVPC){\n");
    fprintf(fp, "\t\t\t\tdouble _ypred1(0);\n");
    for (int k = 0; k <= n; k++) {
        fprintf(fp, "\t\t\t\t_ypred1 = _probge[%d] - _probge[%d];\n", k, k + 1);
        fprintf(fp,
                "\t\t\t\t_pcb->OnObserve(%s, %s, _nm, %d, (double)_ypred, _ypred1, _v1, _NA, "
                "1/_NA, iql);\n",
                t.time, t.lastDose, k);
    }
    fprintf(fp, "\t\t\t} else {\n");
    fprintf(fp, "\t\t\t\tdouble _u = unif();\n");
    fprintf(fp, "\t\t\t\tdouble _ypred1(0);\n");
    fprintf(fp, "\t\t\t\tif (0);\n");
    for (int k = 0; k < n; k++)
        fprintf(fp, "\t\t\t\telse if (_u > _probge[%d+1]) _ypred1 = %d;\n", k, k);
    fprintf(fp, "\t\t\t\telse _ypred1 = %d;\n", n);
    fprintf(fp,
            "\t\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, (double)_ypred, _ypred1, _v1, _NA, 1/_NA, "
            "iql);\n",
            t.time, t.lastDose);
    fprintf(fp, "\t\t\t}\n");
    fprintf(fp, "\t\t}\n");
}

static void GenMultiBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    ObsTimeArgs t = g.GetObsTimeArgs(stmt);
    GenBeforeObs(g, stmt);
    GenProbabilities(g, stmt, sim, "\t\t");
    if (sim)
        GenCategorySimulation(fp, int(stmt->list.size()), t);
    else
        GenCategoryLL(fp, stmt, t);
    GenAfterObs(g, stmt);
}

// ---- LL, event, count ------------------------------------------------------------------------

static void GenLLBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    ObsTimeArgs t = g.GetObsTimeArgs(stmt);
    GenBeforeObs(g, stmt);
    if (!sim) {
        fprintf(fp, "\t\t_dLL1 = ");
        GenC(stmt->child1->Subst(NewVar(stmt->name), NewVar("_v1"), false), fp);
        fprintf(fp, ";\n\n");
        GenAccumulate(fp);
        GenOnObserve(fp, t, "-1, _NA, _NA, _v1, _NA, 1/_NA, iql");
    } else if (N action = g.GetSimulationAction(stmt, "_pred")) {
        fprintf(fp, "\t\tif (_pcb != 0){\n");
        fprintf(fp, "\t\t\tdouble _pred = 0;\n");
        g.GenActionCode(action, 3, true);
        fprintf(fp, "\n\t\t\teval_sparams(zzY);\n");
        fprintf(fp, "\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, _NA, _pred, _v1, 1.0, 1.0, iql);\n",
                t.time, t.lastDose);
        fprintf(fp, "\t\t}\n");
    }
    GenAfterObs(g, stmt);
}

// The log-likelihood of an event: re-entry, interval censoring, the event, or n events.
static void GenEventLL(FILE* fp, cn const& stmt) {
    char const* nm = stmt->name;
    fprintf(fp, "\t\tif (_v1 == -999999){\t// subject re-entered risk pool\n");
    fprintf(fp, "\t\t\t_dLL1 = 0;\n");
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\telse if (_v1 == 2){\t// interval censored with (n > 0)\n");
    fprintf(fp, "\t\t\t_dLL1 = log(1.0 - exp(- _ht_%s));\n", nm);
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\telse if (_v1 == 1){\t// if event observed\n");
    fprintf(fp, "\t\t\t_dLL1 = - _ht_%s;\n", nm);
    fprintf(fp, "\t\t\t_dLL1 += log(");
    GenC(stmt->child1, fp);
    fprintf(fp, " + 1e-8); // add current log(haz)\n");
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\telse if (_v1 <= 0){\t// interval censored with specific n\n");
    fprintf(fp, "\t\t\t_dLL1 = lpois(_ht_%s, -(int)_v1);\n", nm);
    fprintf(fp, "\t\t}\n");
    GenAccumulate(fp);
    GenOnObserve(fp, {"-1", "-1"}, "-1, _NA, _NA, _v1, _NA, 1/_NA, iql");
}

// In simulate the actions of an event run only for a censored observation.
static void GenEventBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    if (sim) {
        if (N before = g.GetAppendixAction(stmt, 0)) {
            fprintf(fp, "\t\tif (_v1 == 0){ // if censored observation\n");
            g.GenObsAction(before, "\t\t\t// do before-obs action\n", 4,
                           "\t\t\teval_sparams(zzY);\n");
            fprintf(fp, "\t\t}\n");
        }
        fprintf(fp, "\t\tif (_pcb)\n\t\t{\n");
        fprintf(fp, "\t\t\t_pcb->OnObserve(curTime, curTimeLastDose, _nm, -1, _NA, _NA, _v1, _NA, "
                    "1 / _NA, iql);\n");
        fprintf(fp, "\t\t}\n");
    } else {
        GenBeforeObs(g, stmt);
        GenEventLL(fp, stmt);
    }
    fprintf(fp, "\t\t_ht_%s = 0; // reset hazard accumulator\n", C(stmt->name));
    if (!sim) return GenAfterObs(g, stmt);
    if (N after = g.GetAppendixAction(stmt, 1)) {
        fprintf(fp, "\t\tif (_v1 == 0){ // if censored observation\n");
        g.GenObsAction(after, "\t\t\t// do after-obs action\n", 4, "\t\t\teval_sparams(zzY);\n");
        fprintf(fp, "\t\t}\n");
    }
}

// 		auto _zprob = ilogit(p);   or   double _zprob = 0;
static void GenZeroProbability(CGenCode const& g, cn const& stmt, char const* indent,
                               char const* decl) {
    FILE* fp = g.fp;
    CNodeExtra const* x = stmt->extra.get();
    if (!x || !x->zprobOrLinkp) {
        fprintf(fp, "%sdouble _zprob = 0;\n", indent);
        return;
    }
    if (x->ilink[0])
        fprintf(fp, "%s%s_zprob = %s(", indent, decl, C(x->ilink));
    else
        fprintf(fp, "%s%s_zprob = ", indent, decl);
    GenC(x->zprobOrLinkp, fp);
    fprintf(fp, x->ilink[0] ? ");\n" : ";\n");
}

// The log-likelihood of a count, Poisson or negative binomial, with zero inflation.
static void GenCountLL(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    CNodeExtra const* x = stmt->extra.get();
    char const* nm = stmt->name;
    std::string p = std::string("lpois(_ht_") + nm + ", (int)_v1)";
    if (x && x->beta) {
        fprintf(fp, "\t\tauto _beta = ");
        GenC(x->beta, fp);
        fprintf(fp, ";\n");
        if (x->power) {
            fprintf(fp, "\t\tauto _power = ");
            GenC(x->power, fp);
            fprintf(fp, ";\n");
        } else {
            fprintf(fp, "\t\tdouble _power = 1;\n");
        }
        p = std::string("lnegbin(_ht_") + nm + ", _beta, _power, (int)_v1)";
    }
    fprintf(fp, "\t\tif (_zprob > 0.0 && _zprob < 1.0){\n");
    fprintf(fp, "\t\t\tif (_v1 == 0) _dLL1 = log(_zprob + (1 - _zprob)*exp(%s));\n", p.c_str());
    fprintf(fp, "\t\t\telse _dLL1 = log(1 - _zprob) + %s;\n", p.c_str());
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\telse if (_zprob == 0.0){\n");
    fprintf(fp, "\t\t\t_dLL1 = %s;\n", p.c_str());
    fprintf(fp, "\t\t}\n");
    GenAccumulate(fp);
    GenOnObserve(fp, g.GetObsTimeArgs(stmt), "-1, _NA, _NA, _v1, _NA, 1/_NA, iql");
}

// A drawn count, Poisson or negative binomial, unless the zero inflation draws 0.
static void GenCountSimulation(CGenCode const& g, cn const& stmt) {
    FILE* fp = g.fp;
    CNodeExtra const* x = stmt->extra.get();
    char const* nm = stmt->name;
    ObsTimeArgs t = g.GetObsTimeArgs(stmt);
    set_assignment(false, false);
    fprintf(fp, "\t\tif (_pcb != 0){\n");
    fprintf(fp, "\t\t\tint _count = 0;\n");
    fprintf(fp, "\t\t\tdouble _u = unif();\n");
    fprintf(fp, "\t\t\tif (_u >= _zprob){\n");
    if (!x || !x->beta) {
        fprintf(fp, "                           if (_bDroppingOut) _count = 1;\n");
        fprintf(fp,
                "                           else _count = rpois((double)_ht_%s); // sample the "
                "count\n",
                nm);
    } else {
        fprintf(fp, "\t\t\t\tdouble _beta = ");
        GenC(x->beta, fp);
        fprintf(fp, ";\n");
        fprintf(fp, "\t\t\t\tdouble _power = ");
        if (x->power)
            GenC(x->power, fp);
        else
            fprintf(fp, "1");
        fprintf(fp, ";\n");
        fprintf(fp,
                "\t\t\t\t_count = rnegbin((double)_ht_%s, _beta, _power); // sample the count\n",
                nm);
    }
    fprintf(fp, "\t\t\t}\n");
    fprintf(fp, "\t\t\t_pcb->OnObserve(%s, %s, _nm, -1, _NA, _count, _v1, 1.0, 1.0, iql);\n",
            t.time, t.lastDose);
    fprintf(fp, "\t\t}\n");
    pop_assignment();
}

static void GenCountBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    GenBeforeObs(g, stmt);
    if (sim) {
        set_assignment(false, false);
        GenZeroProbability(g, stmt, "\t\t", "double ");
        pop_assignment();
        GenCountSimulation(g, stmt);
    } else {
        GenZeroProbability(g, stmt, "\t\t", "auto ");
        GenCountLL(g, stmt);
    }
    if (!stmt->extra || !stmt->extra->noreset)
        fprintf(fp, "\t\t_ht_%s = 0; // reset hazard accumulator\n", C(stmt->name));
    GenAfterObs(g, stmt);
}

// ---- The routines -----------------------------------------------------------------------------

//     if (_nm[0] == 'C' && strcmp(_nm, "CObs") == 0)
//     {
//         ... the block of the statement ...
//
//         return;
//     }
static void GenObservationBlock(CGenCode const& g, cn const& stmt, bool sim) {
    FILE* fp = g.fp;
    if_statement(fp, stmt->name, false);
    switch (stmt->type) {
        case CN_OBSERVE: GenObserveBlock(g, stmt, sim); break;
        case CN_MULTI: GenMultiBlock(g, stmt, sim); break;
        case CN_LL: GenLLBlock(g, stmt, sim); break;
        case CN_EVENT: GenEventBlock(g, stmt, sim); break;
        case CN_COUNT: GenCountBlock(g, stmt, sim); break;
        default: break;
    }
    fprintf(fp, "\n        return;\n");
    fprintf(fp, "    }\n");
}

// void GetNumCategories(const char* _nm, int* pNCat){
// 	*pNCat = 0;
//     if (_nm[0] == 'C' && strcmp(_nm, "Cat") == 0)
//     {
//         *pNCat = 3;
//
//         return;
//     }
// }
static void GenNumCategories(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "void GetNumCategories(const char* _nm, int* pNCat){\n");
    fprintf(fp, "\t*pNCat = 0;\n");
    for (N const& s : g.paSortedObserve) {
        if (s->type != CN_MULTI) continue;
        if_statement(fp, s->name, false);
        fprintf(fp, "        *pNCat = %d;\n\n", int(s->list.size()) + 1);
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::get_ll(double _dLL[], double _dGrad[], int* pnObs, ...)
// { ... a block for each observation statement ... }
// 'mode' 0 prints get_ll, 7 simulate, 8 GetNumCategories.
void CGenCode::GenObservationCode(int mode) {
    if (mode == 8) return GenNumCategories(*this);
    bool sim = mode == 7 ? SIM : LL;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    if (sim)
        fprintf(fp, "void MODEL_CLASS_DECL::simulate(double _t, const char* _nm, double _v1, int "
                    "iql, int bSampleEpsilon, int bForVPC)\n{\n");
    else
        fprintf(fp, "void MODEL_CLASS_DECL::get_ll(double _dLL[], double _dGrad[], int* pnObs, "
                    "double _t, const char* _nm, double _v1, int iql)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    if (sim) {
        fprintf(fp, "\tdouble _probge[12];\n");
    } else {
        fprintf(fp, "\tNUM _dLL1(0);\n");
        fprintf(fp, "\tNUM _probge[12];\n");
    }
    fprintf(fp, "\n    const double t = _t;\n    NUM _ypred(0), _sig(1), _sqrtvf(1);\n    int _i = "
                "0;\n");
    if (sim) fprintf(fp, "\teval_sparams(zzY);\n");
    for (N const& s : paSortedObserve)
        GenObservationBlock(*this, s, sim);
    fprintf(fp, "}\n\n");
}
