// The tables of the observations, each indexed by the place of a statement in the sorted list:
// names, predicted and independent-variable names, variance functions, types and limits, the
// error of each observe statement with its correction factor; then the flags and the routine
// of the after-observation actions, and the controlled uniform and normal draws.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <cassert>

// ---- Names: codes 2, 3, 4, 6 and the variance function, code 5 ------------------------------

// void GetObsName(int* _iWhichObs, char* _nm)
// {
// 	_nm[0] = '\0';
// 	if (0);
// 'head' is the routine's first line and brace.
static void GenNameHead(FILE* fp, char const* head) {
    fprintf(fp, "%s", head);
    fprintf(fp, "\t_nm[0] = '\\0';\n");
    fprintf(fp, "\tif (0);\n");
}

// 	else if (*_iWhichObs == 0) strcpy(_nm, "CObs");
static void GenNameLine(FILE* fp, int k, char const* name) {
    fprintf(fp, "\telse if (*_iWhichObs == %d) strcpy(_nm, \"%s\");\n", k, name);
}

// void GetObsName(int* _iWhichObs, char* _nm)  ... the observed name of each statement
static void GenObsNameTable(CGenCode const& g) {
    GenNameHead(g.fp, "void GetObsName(int* _iWhichObs, char* _nm)\n{\n");
    int k = 0;
    for (N const& s : g.paSortedObserve)
        GenNameLine(g.fp, k++, s->name);
    fprintf(g.fp, "}\n\n");
}

// void GetPredName(int* _iWhichObs, char* _nm)  ... the text of the mean of each observe
// statement, as the model writes it: no closed-form casts.
static void GenPredNameTable(CGenCode const& g) {
    GenNameHead(g.fp, "void GetPredName(int* _iWhichObs, char* _nm)\n{\n");
    int k = 0;
    for (N const& s : g.paSortedObserve) {
        int index = k++;
        if (s->type != CN_OBSERVE) continue;
        String text;
        bool saved = nothing_is_cfm;
        nothing_is_cfm = true;
        GenCstr(g.GetObsMeanVar(s).mean, text);
        nothing_is_cfm = saved;
        GenNameLine(g.fp, index, text);
    }
    fprintf(g.fp, "}\n\n");
}

// void GetIVarName(int* _iWhichObs, char* _nm)  ... t in a time-based model, else the
// independent variable of an observe or multi statement, or "".
static void GenIVarNameTable(CGenCode const& g) {
    GenNameHead(g.fp, "void GetIVarName(int* _iWhichObs, char* _nm)\n{\n");
    int k = 0;
    for (N const& s : g.paSortedObserve) {
        bool own = (s->type == CN_OBSERVE || s->type == CN_MULTI) && s->child1 &&
                   s->child1->type == CN_VAR;
        char const* iv = own ? static_cast<char const*>(s->child1->name) : "";
        GenNameLine(g.fp, k++, g.bTimeBased ? "t" : iv);
    }
    fprintf(g.fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::get_obs_vf(int* _iWhichObs, double* _vf)
// {
// 	...
// 	*_vf = 1;
// 	if (0);
// 	else if (*_iWhichObs == 0){
// 		const auto & _std = CEps;
// 		*_vf = (double)(C * C);
// 	}
// }
static void GenObsVF(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::get_obs_vf(int* _iWhichObs, double* _vf)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    fprintf(fp, "\t*_vf = 1;\n");
    fprintf(fp, "\tif (0);\n");
    int k = 0;
    for (N const& s : g.paSortedObserve) {
        int index = k++;
        if (s->type != CN_OBSERVE) continue;
        ObsMeanVar mv = g.GetObsMeanVar(s);
        fprintf(fp, "\telse if (*_iWhichObs == %d){\n", index);
        g.GenObsStd(mv, "\t\t");
        fprintf(fp, "\t\t*_vf = (double)");
        GenCReal(mv.var, fp);
        fprintf(fp, ";\n");
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "}\n\n");
}

// void GetNumGaussianObs(int* _nGaussianObs)
// {
// 	(*_nGaussianObs)++; /* CObs */
// }
static void GenNumGaussianObs(CGenCode const& g) {
    fprintf(g.fp, "void GetNumGaussianObs(int* _nGaussianObs)\n{\n");
    for (N const& s : g.paSortedObserve)
        if (s->type == CN_OBSERVE) fprintf(g.fp, "\t(*_nGaussianObs)++; /* %s */\n", C(s->name));
    fprintf(g.fp, "}\n\n");
}

// 'code' 2 GetObsName, 3 GetPredName, 4 GetIVarName, 5 get_obs_vf, 6 GetNumGaussianObs.
void CGenCode::GenObsAndPredNameCode(int code) {
    switch (code) {
        case 2: return GenObsNameTable(*this);
        case 3: return GenPredNameTable(*this);
        case 4: return GenIVarNameTable(*this);
        case 5: return GenObsVF(*this);
        case 6: return GenNumGaussianObs(*this);
        default: assert(!"no such name table"); return;
    }
}

// ---- Number, name, type and limits -----------------------------------------------------------

// int GetNumObservations()
// {
// 	return 6;
// }
// int GetObservationNumber(const char* _nm)
// {
// 	int _i = -1;
// 	if (0);
// 	else if (strcmp(_nm, "CObs")==0) _i = 0;
// 	return _i;
// }
static void GenObservationNumbers(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "int GetNumObservations()\n{\n");
    fprintf(fp, "\treturn %d;\n", int(g.paSortedObserve.size()));
    fprintf(fp, "}\n\n");
    fprintf(fp, "int GetObservationNumber(const char* _nm)\n{\n");
    fprintf(fp, "\tint _i = -1;\n");
    fprintf(fp, "\tif (0);\n");
    int k = 0;
    for (N const& s : g.paSortedObserve)
        fprintf(fp, "\telse if (strcmp(_nm, \"%s\")==0) _i = %d;\n", C(s->name), k++);
    fprintf(fp, "\treturn _i;\n");
    fprintf(fp, "}\n\n");
}

// const char * GetObservationName(int* _pi)
// {
// 	if (0);
// 	else if (*_pi == 0) return "CObs";
// 	return "";
// }
static void GenObservationName(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "const char * GetObservationName(int* _pi)\n{\n");
    fprintf(fp, "\tif (0);\n");
    int k = 0;
    for (N const& s : g.paSortedObserve)
        fprintf(fp, "\telse if (*_pi == %d) return \"%s\";\n", k++, C(s->name));
    fprintf(fp, "\treturn \"\";\n");
    fprintf(fp, "}\n\n");
}

// ObsType::Gaussian, ObsType::Multi, ObsType::LL_cont (the type word of an LL statement,
// LL_cat when none), ObsType::Event or ObsType::Count.
static String ObservationType(cn const& s) {
    switch (s->type) {
        case CN_OBSERVE: return "ObsType::Gaussian";
        case CN_MULTI: return "ObsType::Multi";
        case CN_LL: return String("ObsType::") + (s->child2 ? C(s->child2->name) : "LL_cat");
        case CN_EVENT: return "ObsType::Event";
        case CN_COUNT: return "ObsType::Count";
        default: return "ObsType::Unknown";
    }
}

// ObsType GetObservationType(int * _pi)
// {
// 	ObsType _type = ObsType::Unknown;
// 	if (0);
// 	else if (*_pi == 0) _type = ObsType::Gaussian;
// 	return _type;
// }
static void GenObservationType(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "ObsType GetObservationType(int * _pi)\n{\n");
    fprintf(fp, "\tObsType _type = ObsType::Unknown;\n");
    fprintf(fp, "\tif (0);\n");
    int k = 0;
    for (N const& s : g.paSortedObserve)
        fprintf(fp, "\telse if (*_pi == %d) _type = %s;\n", k++, C(ObservationType(s)));
    fprintf(fp, "\treturn _type;\n");
    fprintf(fp, "}\n\n");
}

// The BQL or AQL limit of an observe statement, 0 for every other kind.
static double Limit(cn const& s, size_t which) {
    if (s->type != CN_OBSERVE || which >= s->list.size() || !s->list[which]) return 0;
    return s->list[which]->value;
}

// void GetObservationBqlLimit(int _i, double & _bqllimit, double & _uqllimit)
// {
//     static const std::pair<double, double> limits[] = {
//         {0.5, 0}, // CObs
//     };
//     if (_i < 0 || _i >= 1) return;
//     _bqllimit = limits[_i].first;
//     _uqllimit = limits[_i].second;
// }
// With no observation statement the body is empty.
static void GenObservationBqlLimit(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "void GetObservationBqlLimit(int _i, double & _bqllimit, double & _uqllimit)\n{\n");
    int n = int(g.paSortedObserve.size());
    if (n > 0) {
        fprintf(fp, "    static const std::pair<double, double> limits[] = {\n");
        for (N const& s : g.paSortedObserve)
            fprintf(fp, "        {%g, %g}, // %s\n", Limit(s, 0), Limit(s, 1), C(s->name));
        fprintf(fp, "    };\n");
        fprintf(fp, "    if (_i < 0 || _i >= %d) return;\n", n);
        fprintf(fp, "    _bqllimit = limits[_i].first;\n");
        fprintf(fp, "    _uqllimit = limits[_i].second;\n");
    }
    fprintf(fp, "}\n\n");
}

// GetNumObservations, GetObservationNumber, GetObservationName, GetObservationType and
// GetObservationBqlLimit, in this order.
void CGenCode::GenGetObservationNumber() {
    GenObservationNumbers(*this);
    GenObservationName(*this);
    GenObservationType(*this);
    GenObservationBqlLimit(*this);
}

// ---- Error of each observe statement ---------------------------------------------------------

// int GetPredObsError(int _iObs)
// {
// 	int _iError = -1;
// 	if (0){
// 	} else if (_iObs == 0){
// 		_iError = 1;
// 	}
// 	return _iError;
// }
// 'j' counts the observe statements only, in the sorted order.
static void GenPredObsError(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "int GetPredObsError(int _iObs)\n{\n");
    fprintf(fp, "\tint _iError = -1;\n");
    fprintf(fp, "\tif (0){\n");
    int j = 0;
    for (N const& s : g.paSortedObserve) {
        if (s->type != CN_OBSERVE) continue;
        fprintf(fp, "\t} else if (_iObs == %d){\n", j++);
        fprintf(fp, "\t\t_iError = %d;\n", g.GetObsError(s).errIndex);
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "\treturn _iError;\n");
    fprintf(fp, "}\n\n");
}

// The last error variable that isn't frozen, or -1.
static int LastFreeError(CGenCode const& g) {
    int last = -1;
    for (size_t j = 0; j < g.saError.size(); j++)
        if (j >= g.naErrorFrozen.size() || !g.naErrorFrozen[j]) last = int(j);
    return last;
}

// double GetPredVFCorrectionFactor(int _iError)
// {
// 	int _nFixef = 4;
// 	int _iLastFreeError = 1;
// 	...
// 	return _vfCorrectionFactor;
// }
// The ratio of the main sigma to the sigma of error '_iError'; 1 for the last free error.
static void GenVFCorrectionFactor(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "double GetPredVFCorrectionFactor(int _iError)\n{\n");
    fprintf(fp, "\tint _nFixef = %d;\n", int(g.saFixef.size()));
    fprintf(fp, "\tint _iLastFreeError = %d;\n", LastFreeError(g));
    fprintf(fp, "\tint _bErrorFrozen = 0;\n");
    fprintf(fp, "\tdouble _vfCorrectionFactor = 1;\n");
    if (!g.saError.empty()) {
        fprintf(fp, "\tif (_iError != _iLastFreeError){\n");
        fprintf(fp, "\t\tdouble _dThisSigma = _fixef[_nFixef + _iError];\n");
        fprintf(fp, "\t\tif (_dThisSigma != 0) _vfCorrectionFactor = _dMainSigma / _dThisSigma;\n");
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "\treturn _vfCorrectionFactor;\n");
    fprintf(fp, "}\n\n");
}

// GetPredObsError, then GetPredVFCorrectionFactor. new_get_pred, printed earlier, calls the
// second before this definition, so its declaration must come from the included headers.
void CGenCode::GenPredVFCorrectionFactor() {
    GenPredObsError(*this);
    GenVFCorrectionFactor(*this);
}

// ---- After-observation actions -----------------------------------------------------------------

// The statements of the model, in text order, whose after action end_obs_actions runs.
static NV StatementsWithAfterAction(CGenCode const& g) {
    NV out;
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || !s->appendix || !s->appendix->doafter) continue;
        switch (s->type) {
            case CN_OBSERVE:
            case CN_MULTI:
            case CN_LL:
            case CN_EVENT:
            case CN_COUNT:
            case CN_OBSERVE1: out.push_back(s); break;
            default: break;
        }
    }
    return out;
}

// 	if (triggerEndObs_CObs){
// 		triggerEndObs_CObs = 0;
// 		bDidActions = 1;
// 		<the after action at indent 3, without the check of the ODE state>
// 		eval_sparams(zzY);
// 	}
static void GenEndObsAction(CGenCode const& g, cn const& s) {
    FILE* fp = g.fp;
    String flag = String("triggerEndObs_") + C(s->name);
    fprintf(fp, "\tif (%s){\n", C(flag));
    fprintf(fp, "\t\t%s = 0;\n", C(flag));
    fprintf(fp, "\t\tbDidActions = 1;\n");
    g.GenActionCode(s->appendix->doafter, 3, false);
    fprintf(fp, "\t\teval_sparams(zzY);\n");
    fprintf(fp, "\t}\n");
}

// int triggerEndObs_CObs = 0;
//
// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::end_obs_actions()
// { ... runs each triggered after action once ... }
// The observation routines only set the flags.
void CGenCode::GenEndObsCode() {
    NV stmts = StatementsWithAfterAction(*this);
    for (N const& s : stmts)
        fprintf(fp, "int triggerEndObs_%s = 0;\n", C(s->name));
    if (!stmts.empty()) fprintf(fp, "\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::end_obs_actions()\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    if (!stmts.empty()) fprintf(fp, "\tint bDidActions = 0;\n");
    for (N const& s : stmts)
        GenEndObsAction(*this, s);
    if (!stmts.empty())
        fprintf(fp,
                "\tif (bDidActions && odeState==ODESTATE_UNDERWAY) odeState = ODESTATE_CHANGE;\n");
    fprintf(fp, "}\n\n");
}

// ---- Controlled draws --------------------------------------------------------------------------

//
// double _unifControlled(BOOL bSample)
// {
// 	return bSample ? unif() : 0.5;
// }
// ... and _normControlled, which gives 0.0 when not sampling.
void CGenCode::GenUnifNormControlled() {
    fprintf(fp, "\n");
    fprintf(fp, "double _unifControlled(BOOL bSample)\n");
    fprintf(fp, "{\n");
    fprintf(fp, "\treturn bSample ? unif() : 0.5;\n");
    fprintf(fp, "}\n");
    fprintf(fp, "double _normControlled(BOOL bSample)\n");
    fprintf(fp, "{\n");
    fprintf(fp, "\treturn bSample ? norm() : 0.0;\n");
    fprintf(fp, "}\n");
}
