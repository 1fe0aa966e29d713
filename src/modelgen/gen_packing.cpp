// The parameter routines of Model.cpp: the bounds of the fixed effects that an override may
// replace, the limits and initial values of the thetas, the sigma of each observation's error,
// and the routines that move values between the fixed effects, the theta vector, the omega
// matrix and the engine's packed search vector, with their counts and index maps. Frozen and
// disabled parameters take no place in a packed vector, so each routine has them built in.
#include "modelgen/gencode.h"

#include <cassert>
#include <cstdlib>
#include <vector>

static double const S_NA = 3.3e-151; // the generated code's marker of a value not available

template <class T> static T At(std::vector<T> const& v, size_t i, T absent) {
    return i < v.size() ? v[i] : absent;
}

// ---- Thetas: fixed effects and error variables ----------------------------------------------

static int NFixef(CGenCode const& g) {
    return int(g.saFixef.size());
}

static bool IsFixefFrozen(CGenCode const& g, size_t i) {
    return At<unsigned short>(g.naFixefFrozen, i, 0) != 0;
}

// A gated fixed effect has an enable number; the engine switches it on and off.
static bool IsFixefGated(CGenCode const& g, size_t i) {
    return At<int64_t>(g.laFixefEnable, i, -1) != -1;
}

static bool IsErrorFrozen(CGenCode const& g, size_t j) {
    return At<unsigned short>(g.naErrorFrozen, j, 0) != 0;
}

// Prints 'e' as C, or 'absent' when there is no expression.
static void GenValueOr(FILE* fp, cn const& e, char const* absent) {
    if (e)
        GenC(e, fp);
    else
        fprintf(fp, "%s", absent);
}

// Entry 'k' of a list of numbers (a CN_VALUES), or nothing.
static cn ValueAt(cn const& values, size_t k) {
    if (!values || k >= values->list.size()) return cn();
    return values->list[k];
}

// A group of names (random effects or an error entry) is frozen when its names node is marked.
static bool IsGroupFrozen(cn const& group) {
    cn names = group->child1;
    return names && names->child1 && names->child1->value != 0;
}

// ---- Bounds of the fixed effects --------------------------------------------------------------

// One fixed effect of a fixef statement with its lower bound, initial value and upper bound;
// each may be absent.
struct FixefBounds {
    char const* name;
    cn low, init, high;
};

static std::vector<FixefBounds> GetFixefBounds(cn const& body) {
    std::vector<FixefBounds> out;
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_FIXEF) continue;
        for (N const& v : s->list) {
            if (!v) continue;
            out.push_back({v->name, ValueAt(v, 0), ValueAt(v, 1), ValueAt(v, 2)});
        }
    }
    return out;
}

// Prints a bound, or the marker of a value not available when the model gives none.
static void GenBound(FILE* fp, cn const& e) {
    if (e)
        GenC(e, fp);
    else
        fprintf(fp, "%g", S_NA);
}

// static double __tvV_low  = 0.0;
// static double __tvV_init = 1;
// static double __tvV_high = 3.3e-151;
// or, with 'statics' false, the same assignments after a tab, for the body of a routine.
static void GenBoundAssignments(FILE* fp, std::vector<FixefBounds> const& fixefs, bool statics) {
    for (FixefBounds const& f : fixefs) {
        fprintf(fp, statics ? "static double __%s_low  = " : "\t__%s_low  = ", f.name);
        GenBound(fp, f.low);
        fprintf(fp, ";\n");
        fprintf(fp, statics ? "static double __%s_init = " : "\t__%s_init = ", f.name);
        GenValueOr(fp, f.init, "1");
        fprintf(fp, ";\n");
        fprintf(fp, statics ? "static double __%s_high = " : "\t__%s_high = ", f.name);
        GenBound(fp, f.high);
        fprintf(fp, ";\n");
    }
}

// void SetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, ...){
//     if (strcmp(_nm, "tvV")==0){
//         __tvV_low  = *_fixefLow;
//         ...
//         return;
//     }
// }
static void GenSetFixefLowInitHigh(FILE* fp, std::vector<FixefBounds> const& fixefs) {
    fprintf(fp, "void SetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
                "double* _fixefHigh){\n");
    for (FixefBounds const& f : fixefs) {
        fprintf(fp, "    if (strcmp(_nm, \"%s\")==0){\n", f.name);
        fprintf(fp, "        __%s_low  = *_fixefLow;\n", f.name);
        fprintf(fp, "        __%s_init = *_fixefInit;\n", f.name);
        fprintf(fp, "        __%s_high = *_fixefHigh;\n", f.name);
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n\n");
}

// void GetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, ...){
// 	if (0){
//     }
//     if (strcmp(_nm, "tvV")==0){
//         *_fixefLow  = __tvV_low;
//         ...
//         return;
// 	}
// }
static void GenGetFixefLowInitHigh(FILE* fp, std::vector<FixefBounds> const& fixefs) {
    fprintf(fp, "void GetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
                "double* _fixefHigh){\n");
    fprintf(fp, "\tif (0){\n");
    for (FixefBounds const& f : fixefs) {
        fprintf(fp, "    }\n    if (strcmp(_nm, \"%s\")==0){\n", f.name);
        fprintf(fp, "        *_fixefLow  = __%s_low;\n", f.name);
        fprintf(fp, "        *_fixefInit = __%s_init;\n", f.name);
        fprintf(fp, "        *_fixefHigh = __%s_high;\n", f.name);
        fprintf(fp, "        return;\n");
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n\n");
}

// static double __tvV_low  = 0.0;
// static double __tvV_init = 1;
// static double __tvV_high = 3.3e-151;
//
// void RestoreFixefLowInitHighFromModel(){ ... }
// void SetFixefLowInitHigh(...){ ... }
// void GetFixefLowInitHigh(...){ ... }
// A bound that the model leaves out is the marker of a value not available.
void CGenCode::GenFixefOverrideStuff() {
    std::vector<FixefBounds> fixefs = GetFixefBounds(pBody);
    GenBoundAssignments(fp, fixefs, true);
    fprintf(fp, "\n");
    fprintf(fp, "void RestoreFixefLowInitHighFromModel(){\n");
    GenBoundAssignments(fp, fixefs, false);
    fprintf(fp, "}\n\n");
    GenSetFixefLowInitHigh(fp, fixefs);
    GenGetFixefLowInitHigh(fp, fixefs);
}

// ---- Theta limits and initial values ----------------------------------------------------------

// One name of an error entry and its place inside the entry.
struct ErrorName {
    cn entry;
    int index;
};

// The names of the diagonal entries of all error statements, in order.
static std::vector<ErrorName> GetErrorNames(cn const& body) {
    std::vector<ErrorName> out;
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_ERROR) continue;
        for (N const& e : s->list) {
            if (!e || e->type != CN_VARIANCE_DIAG || !e->child1) continue;
            for (size_t k = 0; k < e->child1->list.size(); k++)
                out.push_back({e, int(k)});
        }
    }
    return out;
}

// 	_fixefLow[_n] = __tvV_low; // set tvV
// 	_fixefHigh[_n] = __tvV_high;
// 	_n++;
// 	// tvCl frozen
// 	if (_is_fixef_enabled(2)){ // dVdWt enabled?
// 		...
// 	}
static void GenFixefLimits(CGenCode const& g) {
    FILE* fp = g.fp;
    for (int i = 0; i < NFixef(g); i++) {
        char const* nm = g.saFixef[i];
        if (IsFixefFrozen(g, i)) {
            fprintf(fp, "\t// %s frozen\n", nm);
        } else if (!IsFixefGated(g, i)) {
            fprintf(fp, "\t_fixefLow[_n] = __%s_low; // set %s\n", nm, nm);
            fprintf(fp, "\t_fixefHigh[_n] = __%s_high;\n", nm);
            fprintf(fp, "\t_n++;\n");
        } else {
            fprintf(fp, "\tif (_is_fixef_enabled(%d)){ // %s enabled?\n", i, nm);
            fprintf(fp, "\t\t_fixefLow[_n] = __%s_low; // set %s\n", nm, nm);
            fprintf(fp, "\t\t_fixefHigh[_n] = __%s_high;\n", nm);
            fprintf(fp, "\t\t_n++;\n");
            fprintf(fp, "\t}\n");
        }
    }
}

// 	_fixefLow[_n] = 0; // stdev 0
// 	_fixefHigh[_n] = 1e100;
// 	_n++;
// 	// if not using a gaussian alg, last theta is the main stdev
// 	if (! _bUsingGaussianAlgorithm){
// 		...
// 	}
// The wrapper of the last error stands even when that error is frozen.
static void GenErrorLimits(CGenCode const& g) {
    FILE* fp = g.fp;
    std::vector<ErrorName> errors = GetErrorNames(g.pBody);
    for (size_t e = 0; e < errors.size(); e++) {
        bool last = e + 1 == errors.size();
        if (last) {
            fprintf(fp, "\t// if not using a gaussian alg, last theta is the main stdev\n");
            fprintf(fp, "\tif (! _bUsingGaussianAlgorithm){\n");
        }
        if (!IsGroupFrozen(errors[e].entry)) {
            char const* indent = last ? "\t" : "";
            fprintf(fp, "\t%s_fixefLow[_n] = 0", indent);
            fprintf(fp, "; // stdev %d\n", errors[e].index);
            fprintf(fp, "\t%s_fixefHigh[_n] = 1e100;\n", indent);
            fprintf(fp, "\t%s_n++;\n", indent);
        }
        if (last) fprintf(fp, "\t}\n");
    }
}

// void GetThetaLimits(double* _fixefLow, double* _fixefHigh){
// 	int _n = 0;
// 	<limits of each free fixed effect, then of each free error>
// }
// 'which' 2 is the only routine of this family.
void CGenCode::GenRoutinesForTheta(int which) {
    assert(which == 2);
    if (which != 2) return;
    fprintf(fp, "void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n");
    fprintf(fp, "\tint _n = 0;\n");
    GenFixefLimits(*this);
    GenErrorLimits(*this);
    fprintf(fp, "}\n\n");
}

//     _data[0] = __tvV_init; // set tvV
//     _data[2] = 0.1; // stdev 0
static void GenFixefErrorInitial(CGenCode const& g) {
    FILE* fp = g.fp;
    int nFixef = NFixef(g);
    fprintf(fp, "void GetFixefErrorInitial(double* _data){\n");
    for (int i = 0; i < nFixef; i++)
        fprintf(fp, "    _data[%d] = __%s_init; // set %s\n", i, C(g.saFixef[i]), C(g.saFixef[i]));
    for (int j = 0; j < int(g.saError.size()); j++)
        fprintf(fp, "    _data[%d] = %g; // stdev %d\n", nFixef + j, At(g.daErrorInit, j, 0.0), j);
}

//     _low[0] = __tvV_low; // set tvV
//     _high[0] = __tvV_high;
//     _low[2] = 0; // stdev 0
//     _high[2] = 1e100; // stdev 0
static void GenFixefErrorLimits(CGenCode const& g) {
    FILE* fp = g.fp;
    int nFixef = NFixef(g);
    fprintf(fp, "void GetFixefErrorLimits(double* _low, double* _high){\n");
    for (int i = 0; i < nFixef; i++) {
        char const* nm = g.saFixef[i];
        fprintf(fp, "    _low[%d] = __%s_low; // set %s\n", i, nm, nm);
        fprintf(fp, "    _high[%d] = __%s_high;\n", i, nm);
    }
    for (int j = 0; j < int(g.saError.size()); j++) {
        fprintf(fp, "    _low[%d] = 0; // stdev %d\n", nFixef + j, j);
        fprintf(fp, "    _high[%d] = 1e100; // stdev %d\n", nFixef + j, j);
    }
}

// void InitFixefErrorEstimate(){          (mode 0)
//     GetFixefErrorInitial(_fixef);
// }
// void GetFixefErrorInitial(double* _data){ ... }          (mode 1)
// void GetFixefErrorLimits(double* _low, double* _high){ ... }          (mode 2)
// Every fixed effect and error has its place here, frozen or not: the layout of _fixef.
void CGenCode::GenRoutinesForFixefError(int mode) {
    switch (mode) {
        case 0:
            fprintf(fp, "void InitFixefErrorEstimate(){\n");
            fprintf(fp, "    GetFixefErrorInitial(_fixef);\n");
            break;
        case 1: GenFixefErrorInitial(*this); break;
        case 2: GenFixefErrorLimits(*this); break;
        default: assert(!"no such fixef/error routine"); return;
    }
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// ---- Sigma of each observation ----------------------------------------------------------------

[[noreturn]] static void EndRun() {
    exit(1);
}

// double GetObsSigma(int _piWhichObs){
// 	double _std = 0;
// 	if (0){
// 	} else if (_piWhichObs == 0){
// 		_std = _fixef[2];
// 	}
// 	return _std;
// }
// and with 'bName' GetObsSigmaName, which returns the name of each observation's error.
// An observation without a proper error variable ends the run, after the message that
// GenEpsilonExpression prints; one that can't be solved for its error ends it silently.
void CGenCode::GenRoutineGetObsSigma(bool bName) {
    if (bName)
        fprintf(fp, "const char * GetObsSigmaName(int _piWhichObs){\n");
    else
        fprintf(fp, "double GetObsSigma(int _piWhichObs){\n");
    if (!bName) fprintf(fp, "\tdouble _std = 0;\n");
    fprintf(fp, "\tif (0){\n");
    int obs = 0;
    for (N const& s : GetTopStatements(pBody)) {
        if (!s || s->type != CN_OBSERVE) continue;
        N solved;
        String err;
        int frozen = 0;
        if (!GenEpsilonExpression(s->name, s->child2, solved, err, frozen)) EndRun();
        int j = MemberOf(err, saError);
        if (j < 0) EndRun();
        char const* nm = saError[size_t(j)];
        fprintf(fp, "\t} else if (_piWhichObs == %d){\n", obs++);
        if (bName) {
            fprintf(fp, "\t\treturn \"%s\";\n", nm);
        } else if (frozen) {
            fprintf(fp, "\t\t// error %s is frozen\n", nm);
            fprintf(fp, "\t\t_std = %g;\n", At(daErrorInit, size_t(j), 0.0));
        } else {
            fprintf(fp, "\t\t_std = _fixef[%d];\n", NFixef(*this) + j);
        }
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, bName ? "\treturn \"\";\n" : "\treturn _std;\n");
    fprintf(fp, "}\n\n");
}

// ---- Packing: heading -------------------------------------------------------------------------

static bool IsUnpack(int mode) {
    return mode == 7 || mode == 8 || mode == 17;
}

static bool IsPack(int mode) {
    return mode == 9 || mode == 10 || mode == 18;
}

static bool IsTypX(int mode) {
    return mode == 11 || mode == 12 || mode == 19;
}

static bool IsCount(int mode) {
    return mode == 13 || mode == 14 || mode == 20;
}

// The signature of each packing routine, by mode; the blanks after the type are part of the
// generated text.
static char const* PackingSignature(int mode) {
    switch (mode) {
        case 3: return "void GetInitialStdev(double* _svec){\n";
        case 4: return "void GetInitialOmega5(double* _omat){\n";
        case 5: return "double GetEtaVariance5(int _i){\n";
        case 6: return "void TruncateOmega5(double* _omat){\n";
        case 7:
            return "void UnpackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 8:
            return "void UnpackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 9:
            return "void   PackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 10:
            return "void   PackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 11:
            return "void   TypXParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 12:
            return "void   TypXParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 13: return "void   GetNPack(int* _nPack){\n";
        case 14: return "void   GetNPackRanCov(int* _nPack){\n";
        case 15: return "void   GetPackedIndexError(int* _iStd, int* _index){\n";
        case 16: return "void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){\n";
        case 17:
            return "void UnpackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 18:
            return "void   PackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 19:
            return "void   TypXOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n";
        case 20: return "void   GetNPackOmega(int* _nPack){\n";
        case 21: return "void GetNSeqOmega(int* _nSeq){\n";
        case 22: return "void GetOmegaSequenceInfo(int* _iSeq1, int* _nEta, int* _nSame){\n";
        case 23: return "void GetFixefErrToThetaMap(int* _iaTheta, int* _nth){\n";
        case 24: return "void GetRanefToEtaMap(int* _iaEta, int* _nth){\n";
        case 25: return "void UnpackTheta(double* _fixef, double* _thvec){\n";
        case 26: return "void   PackTheta(double* _fixef, double* _thvec, int* _nth){\n";
        case 27: return "int GetEstimatedTheta(int * est_theta){\n";
        case 28: return "void   TypXTheta(double* _fixef, double* _thvec, int* _nth){\n";
        default: return nullptr;
    }
}

// 	int _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;
// 	double _temp = 0;
// 	// assert NRANEF5 <= ldo
static void GenPackingLocals(FILE* fp, int mode) {
    if (mode == 4 || mode == 6) {
        fprintf(fp, "\tint _i = 0;\n");
        fprintf(fp, "\tdouble _temp = 0;\n");
    }
    if (mode == 6) {
        fprintf(fp, "\tdouble _mtemp[NRANEF5*NRANEF5+1];\n");
        fprintf(fp, "\tmemcpy(_mtemp, _omat, sizeof(double)*NRANEF5*NRANEF5);\n");
        fprintf(fp, "\tmemset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);\n");
    }
    if (mode == 5) {
        fprintf(fp, "\tdouble _temp = 1;\n");
        fprintf(fp, "\tif (0){\n");
    }
    if (IsUnpack(mode)) {
        fprintf(fp, "\tint _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;\n");
        fprintf(fp, "\tdouble _temp = 0;\n");
        fprintf(fp, "\t// assert NRANEF5 <= ldo\n");
    }
    if (mode >= 9 && mode <= 12)
        fprintf(fp, "\tint _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;\n");
    if (mode == 18 || mode == 19) fprintf(fp, "\tint _i = 0, _j, _n = 0, _ldo = *_ldOmat;\n");
    if ((mode >= 9 && mode <= 12) || mode == 18 || mode == 19)
        fprintf(fp, "\t// assert NTHETA == *nth\n");
    if (IsCount(mode) || mode == 21 || mode == 23 || mode == 24 || (mode >= 25 && mode <= 28))
        fprintf(fp, "\tint _n = 0;\n");
    if (mode == 15 || mode == 16) {
        fprintf(fp, "\tint _n = 0;\n");
        fprintf(fp, "\t*_index = -1;\n");
    }
    if (mode == 22) {
        fprintf(fp, "\tint _iSeqCount = 0;\n");
        fprintf(fp, "\t*_nEta = *_nSame = 0;\n");
    }
}

// // Caution: omega matrix is assumed to be in lower cholesky form
// void UnpackParameters(double* _thvec, ...){
// 	<locals>
static void GenPackingHeading(FILE* fp, int mode) {
    if ((mode >= 7 && mode <= 12) || (mode >= 17 && mode <= 19))
        fprintf(fp, "// Caution: omega matrix is assumed to be in lower cholesky form\n");
    if (mode == 13 || mode == 14 || mode == 16 || mode == 20)
        fprintf(fp, "// Caution: live portion of omega matrix is assumed to be packed in lower "
                    "cholesky form\n");
    fputs(PackingSignature(mode), fp);
    GenPackingLocals(fp, mode);
}

// ---- Packing: theta and error stages -----------------------------------------------------------

// 	_svec[0] = 0.1;
// The value of the last error, the main sigma; nothing without an error.
static void GenInitialStdev(CGenCode const& g) {
    std::vector<ErrorName> errors = GetErrorNames(g.pBody);
    if (errors.empty()) return;
    ErrorName const& last = errors.back();
    fprintf(g.fp, "\t_svec[0] = ");
    GenValueOr(g.fp, ValueAt(last.entry->child3, last.index), "1");
    fprintf(g.fp, ";\n");
}

// 	_i1 = GetNTheta();
// 	for (_i = 0; _i < _i1; _i++){
// 		_thvec[_n++] = _pack[_i];
// 	}
// 	if (_i1 > 0){
// 		_svec[0] = _pack[_i1-1];
// 	}
// 'body' is the loop's line; 'svec', when not null, the line that moves the main sigma.
static void GenThetaLoop(FILE* fp, char const* body, char const* svec) {
    fprintf(fp, "\t_i1 = GetNTheta();\n");
    fprintf(fp, "\tfor (_i = 0; _i < _i1; _i++){\n");
    fputs(body, fp);
    fprintf(fp, "\t}\n");
    if (!svec) return;
    fprintf(fp, "\tif (_i1 > 0){\n");
    fputs(svec, fp);
    fprintf(fp, "\t}\n");
}

// 	_n++; // tvV
// 	// tvCl frozen
// 	if (_is_fixef_enabled(2)) _n++; // dVdWt if enabled          (mode 13)
// 	if (_is_fixef_enabled(2)){                                    (modes 15, 16)
// 		_n++; // dVdWt if enabled
// 	}
static void GenFixefCounts(CGenCode const& g, int mode) {
    FILE* fp = g.fp;
    for (int i = 0; i < NFixef(g); i++) {
        char const* nm = g.saFixef[i];
        if (IsFixefFrozen(g, i)) {
            fprintf(fp, "\t// %s frozen\n", nm);
        } else if (!IsFixefGated(g, i)) {
            fprintf(fp, "\t_n++; // %s\n", nm);
        } else if (mode == 13) {
            fprintf(fp, "\tif (_is_fixef_enabled(%d)) _n++; // %s if enabled\n", i, nm);
        } else {
            fprintf(fp, "\tif (_is_fixef_enabled(%d)){\n", i);
            fprintf(fp, "\t\t_n++; // %s if enabled\n", nm);
            fprintf(fp, "\t}\n");
        }
    }
}

// 	if (*_iStd == 0){*_index = _n; return;} // eps1
// 	_n++;
// 	if (! _bUsingGaussianAlgorithm){
// 		if (*_iStd == 1){*_index = _n; return;} // eps2
// 		_n++;
// 	}
static void GenErrorIndexSearch(CGenCode const& g) {
    FILE* fp = g.fp;
    int nError = int(g.saError.size());
    for (int j = 0; j < nError; j++) {
        char const* nm = g.saError[j];
        if (IsErrorFrozen(g, j)) {
            fprintf(fp, "\t// %s frozen\n", nm);
        } else if (j + 1 < nError) {
            fprintf(fp, "\tif (*_iStd == %d){*_index = _n; return;} // %s\n", j, nm);
            fprintf(fp, "\t_n++;\n");
        } else {
            fprintf(fp, "\tif (! _bUsingGaussianAlgorithm){\n");
            fprintf(fp, "\t\tif (*_iStd == %d){*_index = _n; return;} // %s\n", j, nm);
            fprintf(fp, "\t\t_n++;\n");
            fprintf(fp, "\t}\n");
        }
    }
}

// <counts of the fixed effects>
// 	_n++; // eps
// 	// eps2 frozen
// Mode 15 searches the error instead of counting it.
static void GenCountingStage(CGenCode const& g, int mode) {
    GenFixefCounts(g, mode);
    if (mode == 15) return GenErrorIndexSearch(g);
    for (size_t j = 0; j < g.saError.size(); j++) {
        if (IsErrorFrozen(g, j))
            fprintf(g.fp, "\t// %s frozen\n", C(g.saError[j]));
        else
            fprintf(g.fp, "\t_n++; // %s\n", C(g.saError[j]));
    }
}

// 	_iaTheta[0] = _n++; // tvV
// 	_iaTheta[1] = -1; // tvCl
// 	_iaTheta[2] = (_is_fixef_enabled(2) ? _n++ : -2); // dVdWt
// 	// unfrozen error sigmas
// 	_iaTheta[3] = _n++; // stdev 0
static void GenThetaMap(CGenCode const& g) {
    FILE* fp = g.fp;
    int nFixef = NFixef(g);
    for (int i = 0; i < nFixef; i++) {
        fprintf(fp, "\t_iaTheta[%d] = ", i);
        if (IsFixefFrozen(g, i))
            fprintf(fp, "-1");
        else if (IsFixefGated(g, i))
            fprintf(fp, "(_is_fixef_enabled(%d) ? _n++ : -2)", i);
        else
            fprintf(fp, "_n++");
        fprintf(fp, "; // %s\n", C(g.saFixef[i]));
    }
    fprintf(fp, "\t// unfrozen error sigmas \n");
    for (int j = 0; j < int(g.saError.size()); j++) {
        fprintf(fp, "\t_iaTheta[%d] = ", nFixef + j);
        fprintf(fp, "%s", IsErrorFrozen(g, j) ? "-1" : "_n++");
        fprintf(fp, "; // stdev %d\n", j);
    }
}

// 	_fixef[0] = _thvec[_n++];          (mode 25; 26 and 28 copy the other way)
static void GenCopyLine(FILE* fp, int mode, int index) {
    switch (mode) {
        case 25: fprintf(fp, "\t_fixef[%d] = _thvec[_n++];\n", index); break;
        case 26: fprintf(fp, "\t_thvec[_n++] = _fixef[%d];\n", index); break;
        default: fprintf(fp, "\t_thvec[_n++] = fabs(_fixef[%d]);\n", index); break;
    }
}

// 	// copy theta to fixef+error
// 	// unfrozen, enabled fixed effects
// 	_fixef[0] = _thvec[_n++];
// 	if (_is_fixef_enabled(2)){
// 		_fixef[2] = _thvec[_n++];
// 	}
// 	// unfrozen error sigmas
// 	_fixef[3] = _thvec[_n++];
static void GenThetaCopy(CGenCode const& g, int mode) {
    FILE* fp = g.fp;
    if (mode == 25) fprintf(fp, "\t// copy theta to fixef+error\n");
    if (mode == 26) fprintf(fp, "\t// copy fixef+error to theta\n");
    if (mode == 28) fprintf(fp, "\t// copy fabs(fixef+error) to theta\n");
    fprintf(fp, "\t// unfrozen, enabled fixed effects \n");
    int nFixef = NFixef(g);
    for (int i = 0; i < nFixef; i++) {
        if (IsFixefFrozen(g, i)) continue;
        if (!IsFixefGated(g, i)) {
            GenCopyLine(fp, mode, i);
            continue;
        }
        fprintf(fp, "\tif (_is_fixef_enabled(%d)){\n", i);
        fprintf(fp, "\t"); // one more tab inside the gate
        GenCopyLine(fp, mode, i);
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "\t// unfrozen error sigmas \n");
    for (int j = 0; j < int(g.saError.size()); j++)
        if (!IsErrorFrozen(g, j)) GenCopyLine(fp, mode, nFixef + j);
}

// 		est_theta[0] = 1; ++_n;
// 	if (_is_fixef_enabled(2)){
// 		est_theta[2] = 1; ++_n;
// 	}
// 	return _n;
// Only fixed effects are marked; the errors are not estimated thetas here.
static void GenEstimatedTheta(CGenCode const& g) {
    FILE* fp = g.fp;
    for (int i = 0; i < NFixef(g); i++) {
        if (IsFixefFrozen(g, i)) continue;
        bool gated = IsFixefGated(g, i);
        if (gated) fprintf(fp, "\tif (_is_fixef_enabled(%d)){\n", i);
        fprintf(fp, "\t\test_theta[%d] = 1; ++_n;\n", i);
        if (gated) fprintf(fp, "\t}\n");
    }
    fprintf(fp, "\treturn _n;\n");
}

// The stages of the thetas and the errors, by mode; most modes have none.
static void GenThetaStage(CGenCode const& g, int mode) {
    FILE* fp = g.fp;
    bool svec = g.bAllowGaussianFit != 0; // the main sigma has a place of its own
    switch (mode) {
        case 3: return GenInitialStdev(g);
        case 7: return GenThetaLoop(fp, "\t\t_thvec[_n++] = _pack[_i];\n", nullptr);
        case 8:
            return GenThetaLoop(fp, "\t\t_thvec[_n++] = _pack[_i];\n",
                                svec ? "\t\t_svec[0] = _pack[_i1-1];\n" : nullptr);
        case 9: return GenThetaLoop(fp, "\t\t_pack[_i] = _thvec[_n++];\n", nullptr);
        case 10:
            return GenThetaLoop(fp, "\t\t_pack[_i] = _thvec[_n++];\n",
                                svec ? "\t\t_pack[_i1-1] = _svec[0];\n" : nullptr);
        case 11: return GenThetaLoop(fp, "\t\t_pack[_i] = fabs(_thvec[_n++]);\n", nullptr);
        case 12:
            return GenThetaLoop(fp, "\t\t_pack[_i] = fabs(_thvec[_n++]);\n",
                                svec ? "\t\t_pack[_i1-1] = fabs(_svec[0]);\n" : nullptr);
        case 13:
        case 15:
        case 16: return GenCountingStage(g, mode);
        case 23: return GenThetaMap(g);
        case 25:
        case 26:
        case 28: return GenThetaCopy(g, mode);
        case 27: return GenEstimatedTheta(g);
        default: return;
    }
}

// ---- Packing: random-effect stage -------------------------------------------------------------

// A random-effect group of the level-5 ranef statements with its place among all etas: 'base'
// etas ahead of it, 'off' its first diagonal entry in the omega matrix of 'n' by 'n'.
struct RanefGroup {
    cn node;
    CNodeType kind; // CN_RANEF_BLOCK, CN_VARIANCE_DIAG or CN_RANEF_SAME
    int nb;
    int base, off;
    int prevBase, prevOff; // the same of the group before it
    bool frozen;
    int ordinal;
};

struct Omega {
    std::vector<RanefGroup> groups;
    int n = 0; // etas in all groups
};

static bool IsRanefGroup(N const& e) {
    return e &&
           (e->type == CN_RANEF_BLOCK || e->type == CN_VARIANCE_DIAG || e->type == CN_RANEF_SAME);
}

static Omega GetOmega(cn const& body) {
    Omega om;
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_RANEF5) continue;
        for (N const& e : s->list) {
            if (!IsRanefGroup(e)) continue;
            int nb = e->child1 ? int(e->child1->list.size()) : 0;
            int ordinal = int(om.groups.size());
            om.groups.push_back({e, e->type, nb, om.n, 0, 0, 0, IsGroupFrozen(e), ordinal});
            om.n += nb;
        }
    }
    for (size_t k = 0; k < om.groups.size(); k++) {
        RanefGroup& grp = om.groups[k];
        grp.off = grp.base * (om.n + 1);
        if (k == 0) continue;
        grp.prevBase = om.groups[k - 1].base;
        grp.prevOff = om.groups[k - 1].off;
    }
    return om;
}

// The value of (i, j) among a group's numbers: the lower triangle by rows in a block, one per
// name in a diagonal group.
static cn GroupValue(RanefGroup const& grp, cn const& values, int i, int j) {
    int k = grp.kind == CN_RANEF_BLOCK ? i * (i + 1) / 2 + j : i;
    return ValueAt(values, size_t(k));
}

// 	_temp = 0.1;                          (block)
// 	_omat[0+1+0*3] = _temp;
// 	_omat[0+0+1*3] = _temp;
// 	_omat[8+0+0*3] = 0.4;                 (diagonal)
// 'values' is child2 (as given) or child3 (the factor); a missing value is 1 on the diagonal.
static void GenOmegaValue(FILE* fp, RanefGroup const& grp, cn const& values, int n, int i, int j) {
    cn v = GroupValue(grp, values, i, j);
    char const* dflt = i == j ? "1" : "0";
    if (grp.kind == CN_VARIANCE_DIAG) {
        fprintf(fp, "\t_omat[%d+%d+%d*%d] = ", grp.off, i, j, n);
        GenValueOr(fp, v, dflt);
        fprintf(fp, ";\n");
        return;
    }
    fprintf(fp, "\t_temp = ");
    GenValueOr(fp, v, dflt);
    fprintf(fp, ";\n");
    fprintf(fp, "\t_omat[%d+%d+%d*%d] = _temp;\n", grp.off, i, j, n);
    if (i > j) fprintf(fp, "\t_omat[%d+%d+%d*%d] = _temp;\n", grp.off, j, i, n);
}

// 	} else if (_i == 2){
// 		_temp = 0.3;
static void GenEtaVariance(FILE* fp, RanefGroup const& grp, int i) {
    fprintf(fp, "\t} else if (_i == %d){\n", grp.base + i);
    fprintf(fp, "\t\t_temp = ");
    GenValueOr(fp, GroupValue(grp, grp.node->child2, i, i), "1");
    fprintf(fp, ";\n");
}

// 	_temp = _mtemp[0+1+0*3];
// 	_omat[0+1+0*3] = _temp;
// A frozen group is written from its factor instead.
static void GenTruncateCell(FILE* fp, RanefGroup const& grp, int n, int i, int j) {
    if (grp.frozen) return GenOmegaValue(fp, grp, grp.node->child3, n, i, j);
    fprintf(fp, "\t_temp = _mtemp[%d+%d+%d*%d];\n", grp.off, i, j, n);
    fprintf(fp, "\t_omat[%d+%d+%d*%d] = _temp;\n", grp.off, i, j, n);
}

// 	{
// 		_i = 0 + 1;
// 		_j = 0 + 0;
// 		_pack[_n++] = sqrt(fabs(_omat[_j * _ldo + _j]) * fabs(_omat[_i * _ldo + _i]));
// 	}
// the typical size of a diagonal group's entry is its own magnitude.
static void GenPackCell(FILE* fp, int mode, RanefGroup const& grp, int i, int j) {
    fprintf(fp, "\t{\n");
    fprintf(fp, "\t\t_i = %d + %d;\n", grp.base, i);
    fprintf(fp, "\t\t_j = %d + %d;\n", grp.base, j);
    if (IsPack(mode))
        fprintf(fp, "\t\t_pack[_n++] = _omat[_j * _ldo + _i];\n");
    else if (grp.kind == CN_VARIANCE_DIAG)
        fprintf(fp, "\t\t_pack[_n++] = fabs(_omat[_j * _ldo + _i]);\n");
    else
        fprintf(fp, "\t\t_pack[_n++] = sqrt(fabs(_omat[_j * _ldo + _j]) * "
                    "fabs(_omat[_i * _ldo + _i]));\n");
    fprintf(fp, "\t}\n");
}

// 	_i = 0 + 1;
// 	_j = 0 + 0;
// 	_omat[_j * _ldo + _i] = _pack[_n++];
static void GenUnpackCell(FILE* fp, RanefGroup const& grp, int i, int j) {
    fprintf(fp, "\t_i = %d + %d;\n", grp.base, i);
    fprintf(fp, "\t_j = %d + %d;\n", grp.base, j);
    fprintf(fp, "\t_omat[_j * _ldo + _i] = _pack[_n++];\n");
}

// 	{
// 		if (*_iRan==1 && *_jRan==0){*_index = _n; return;}
// 		_n++;
// 	}
static void GenRanCovSearchCell(FILE* fp, RanefGroup const& grp, int i, int j) {
    fprintf(fp, "\t{\n");
    fprintf(fp, "\t\tif (*_iRan==%d && *_jRan==%d){*_index = _n; return;}\n", grp.base + i,
            grp.base + j);
    fprintf(fp, "\t\t_n++;\n");
    fprintf(fp, "\t}\n");
}

// 	_iaEta[1] = _n++; // ranef 1          (a frozen group: (_n++, -1))
static void GenEtaMapEntry(FILE* fp, RanefGroup const& grp, int i) {
    fprintf(fp, "\t_iaEta[%d] = ", grp.base + i);
    fprintf(fp, "%s", grp.frozen ? "(_n++, -1)" : "_n++");
    fprintf(fp, "; // ranef %d\n", grp.base + i);
}

// Entry (i, j) of a block or diagonal group in each mode. A frozen group takes no place in a
// packed vector, yet has its values in omega and its etas in the map.
static void GenGroupCell(FILE* fp, int mode, RanefGroup const& grp, int n, int i, int j) {
    switch (mode) {
        case 4: return GenOmegaValue(fp, grp, grp.node->child2, n, i, j);
        case 5:
            if (i == j) GenEtaVariance(fp, grp, i);
            return;
        case 6: return GenTruncateCell(fp, grp, n, i, j);
        case 24:
            if (i == j) GenEtaMapEntry(fp, grp, i);
            return;
        default: break;
    }
    if (grp.frozen) return;
    if (IsUnpack(mode)) GenUnpackCell(fp, grp, i, j);
    if (IsPack(mode) || IsTypX(mode)) GenPackCell(fp, mode, grp, i, j);
    if (IsCount(mode)) fprintf(fp, "\t{\n\t\t_n++;\n\t}\n");
    if (mode == 15) fprintf(fp, "\t_n++;\n");
    if (mode == 16) GenRanCovSearchCell(fp, grp, i, j);
}

// 	{
// 		_i1 = 0 + 1;
// 		_j1 = 0 + 0;
// 		_i = 2 + 1;
// 		_j = 2 + 0;
// 		_omat[_j * _ldo + _i] = _omat[_j1 * _ldo + _i1];
// 	}
static void GenUnpackSameCell(FILE* fp, RanefGroup const& grp, int i, int j) {
    fprintf(fp, "\t{\n");
    fprintf(fp, "\t\t_i1 = %d + %d;\n", grp.prevBase, i);
    fprintf(fp, "\t\t_j1 = %d + %d;\n", grp.prevBase, j);
    fprintf(fp, "\t\t_i = %d + %d;\n", grp.base, i);
    fprintf(fp, "\t\t_j = %d + %d;\n", grp.base, j);
    fprintf(fp, "\t\t_omat[_j * _ldo + _i] = _omat[_j1 * _ldo + _i1];\n");
    fprintf(fp, "\t}\n");
}

// Entry (i, j) of a same group, which copies the group before it and takes no place in a
// packed vector:
// 	_omat[8+1+0*3] = _omat[0+1+0*3];
static void GenSameCell(FILE* fp, int mode, RanefGroup const& grp, int n, int i, int j) {
    if (mode == 24) {
        if (i == j) GenEtaMapEntry(fp, grp, i);
    } else if (mode == 5) {
        if (i != j) return;
        fprintf(fp, "\t} else if (_i == %d){\n", grp.base + i);
        fprintf(fp, "\t\t_temp = GetEtaVariance5(%d);\n", grp.base - grp.nb + i);
    } else if (mode == 4 || grp.frozen || mode == 6) {
        fprintf(fp, "\t_omat[%d+%d+%d*%d] = _omat[%d+%d+%d*%d];\n", grp.off, i, j, n, grp.prevOff,
                i, j, n);
    } else if (IsUnpack(mode)) {
        GenUnpackSameCell(fp, grp, i, j);
    }
}

// 	if ((*_iSeq1-1) == _iSeqCount){
// 		*_nEta = 2;
// 		*_nSame = 1;
// 		return;
// 	}
// 	_iSeqCount++;
// A sequence is a block or diagonal group with the same groups that directly follow it.
static void GenOmegaSequences(FILE* fp, Omega const& om) {
    std::vector<RanefGroup> const& groups = om.groups;
    for (size_t k = 0; k < groups.size(); k++) {
        if (groups[k].kind == CN_RANEF_SAME) continue; // counted with the group before
        int nSame = 0;
        while (k + 1 + nSame < groups.size() && groups[k + 1 + nSame].kind == CN_RANEF_SAME)
            nSame++;
        if (groups[k].frozen) continue;
        fprintf(fp, "\tif ((*_iSeq1-1) == _iSeqCount){\n");
        fprintf(fp, "\t\t*_nEta = %d;\n", groups[k].nb);
        fprintf(fp, "\t\t*_nSame = %d;\n", nSame);
        fprintf(fp, "\t\treturn;\n");
        fprintf(fp, "\t}\n");
        fprintf(fp, "\t_iSeqCount++;\n");
    }
}

// 	for (_i=0; _i<9; _i++) _omat[_i] = 0;          (mode 4)
// 	_n++; // block 0                                (mode 21)
// then each group's entries, for a block the lower triangle by rows, for a diagonal group the
// diagonal, for a same group the lower triangle.
static void GenRanefStage(CGenCode const& g, int mode) {
    FILE* fp = g.fp;
    Omega om = GetOmega(g.pBody);
    if (mode == 4) fprintf(fp, "\tfor (_i=0; _i<%d; _i++) _omat[_i] = 0;\n", om.n * om.n);
    if (mode == 22) GenOmegaSequences(fp, om);
    for (RanefGroup const& grp : om.groups) {
        bool same = grp.kind == CN_RANEF_SAME;
        if (mode == 21 && !same && !grp.frozen) fprintf(fp, "\t_n++; // block %d\n", grp.ordinal);
        for (int i = 0; i < grp.nb; i++) {
            for (int j = grp.kind == CN_VARIANCE_DIAG ? i : 0; j <= i; j++) {
                if (same)
                    GenSameCell(fp, mode, grp, om.n, i, j);
                else
                    GenGroupCell(fp, mode, grp, om.n, i, j);
            }
        }
    }
}

// ---- Packing: closing and the routine ---------------------------------------------------------

// 	*_nPack = _n;
// }
//
static void GenPackingClosing(FILE* fp, int mode) {
    if (mode == 5) {
        fprintf(fp, "\t}\n");
        fprintf(fp, "\treturn _temp;\n");
    }
    if (IsUnpack(mode)) fprintf(fp, "\t// assert *_nPack == _n;\n");
    if ((mode >= 9 && mode <= 14) || mode == 18 || mode == 19 || mode == 20)
        fprintf(fp, "\t*_nPack = _n;\n");
    if (mode == 21) fprintf(fp, "\t*_nSeq = _n;\n");
    if (mode == 23 || mode == 24 || mode == 26 || mode == 28) fprintf(fp, "\t*_nth = _n;\n");
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
    fflush(fp);
}

// // Caution: omega matrix is assumed to be in lower cholesky form
// void UnpackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){
// 	int _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;
// 	...
// 	_i1 = GetNTheta();
// 	for (_i = 0; _i < _i1; _i++){
// 		_thvec[_n++] = _pack[_i];
// 	}
// 	_i = 0 + 0;
// 	_j = 0 + 0;
// 	_omat[_j * _ldo + _i] = _pack[_n++];
// 	// assert *_nPack == _n;
// }
// 'mode' 3 to 28 selects the routine; each has a heading, a theta and error stage, a
// random-effect stage and a closing, any of which may be empty.
void CGenCode::GenRoutinesForPacking(int mode) {
    assert(PackingSignature(mode));
    if (!PackingSignature(mode)) return;
    GenPackingHeading(fp, mode);
    GenThetaStage(*this, mode);
    GenRanefStage(*this, mode);
    GenPackingClosing(fp, mode);
}

// // jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes
// void GetJacobianInfo(int & _piJacobianInfo)
// {
// 	_piJacobianInfo = -1;
// }
void CGenCode::GenODEInfoRoutines(int nOde, int bCanJacobian, int bCanMatexp) {
    int info = 0;
    if (nOde == 0)
        info = -1;
    else if (bCanJacobian && bCanMatexp)
        info = 2;
    else if (bCanJacobian)
        info = 1;
    fprintf(fp, "// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes\n");
    fprintf(fp, "void GetJacobianInfo(int & _piJacobianInfo)\n{\n");
    fprintf(fp, "\t_piJacobianInfo = %d;\n", info);
    fprintf(fp, "}\n");
}
