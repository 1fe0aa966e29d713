// The routines that tell the engine which variables it can plot, with their flags, and the
// names of the structural parameters.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

static char const* const contFlags =
    "_TYP_CONTIN | _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS | _CAN_LOG";
static char const* const eventFlags = "_TYP_EVENT | _SWEEP_AVAIL | _POINT_AVAIL | _CAN_OVERLAY";
static char const* const multiFlags =
    "_TYP_MULTI | _SWEEP_AVAIL | _POINT_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS";
static char const* const countFlags =
    "_TYP_EVENT | _SWEEP_AVAIL | _POINT_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS";
static char const* const covariateFlags =
    "_TYP_CONTIN | _SWEEP_AVAIL | _POINT_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS";
static char const* const assignedFlags = "_SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS";

// The rows of the plot table: predicted name, observed name, flags; each predicted name once.
struct PlotRows {
    SV pred, obs, flags;
    std::unordered_set<std::string> held; // the predicted names

    void Add(char const* p, char const* o, char const* f) {
        pred.push_back(p);
        obs.push_back(o);
        flags.push_back(f);
        held.insert(p);
    }

    bool Has(char const* name) const { return held.count(name) > 0; }
};

static void add_plots(cn const& body, CNodeType kind, String const& flags, PlotRows& rows) {
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != kind || rows.Has(s->name)) continue;
        rows.Add(s->name, s->name, flags);
    }
}

// An observation's mean, when it is a single variable, can be plotted with its points; every
// other variable of the expression but the errors can be plotted beside it.
static void AddObservationRows(CGenCode const& g, N const& s, PlotRows& rows) {
    int iFail = 0;
    N mean = zero_error(s->child2->Copy(), g.saError)->Simp(iFail);
    if (mean->type == CN_VAR)
        rows.Add(mean->name, s->name, (std::string(contFlags) + " | _POINT_AVAIL").c_str());
    SV vars;
    CollectVars(s->child2, vars);
    for (String const& v : vars)
        if (!rows.Has(v) && MemberOf(v, g.saError) < 0) rows.Add(v, s->name, contFlags);
}

static PlotRows GetPlotRows(CGenCode const& g) {
    PlotRows rows;
    for (N const& s : GetTopStatements(g.pBody))
        if (s && s->type == CN_OBSERVE && s->child2) AddObservationRows(g, s, rows);
    add_plots(g.pBody, CN_EVENT, eventFlags, rows);
    add_plots(g.pBody, CN_MULTI, multiFlags, rows);
    add_plots(g.pBody, CN_COUNT, countFlags, rows);
    for (String const& c : g.saCovariates)
        if (!rows.Has(c)) rows.Add(c, "", covariateFlags);
    for (String const& a : g.saAssigned)
        if (!rows.Has(a)) rows.Add(a, "", assignedFlags);
    return rows;
}

// void GetPlotVarInfo(int *_pi, int* _pflags, char* _nmObs, char* _nmPred){
// 	*_pflags = 0;
// 	...
//     if (*_pi == 0){
//         *_pflags = _TYP_CONTIN | _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS | _CAN_LOG |
//         _POINT_AVAIL; strcpy(_nmObs, "CObs"); strcpy(_nmPred, "C");
//
//         return;
//     }
// }
//
// int GetNPlotVar(){return 1;}
void CGenCode::GenPlotVarRoutines() {
    PlotRows rows = GetPlotRows(*this);
    fprintf(fp, "void GetPlotVarInfo(int *_pi, int* _pflags, char* _nmObs, char* _nmPred){\n");
    fprintf(fp, "\t*_pflags = 0;\n");
    fprintf(fp, "\t*_nmObs = '\\0';\n");
    fprintf(fp, "\t*_nmPred = '\\0';\n");
    for (size_t i = 0; i < rows.pred.size(); i++) {
        fprintf(fp, "    if (*_pi == %d){\n", int(i));
        fprintf(fp, "        *_pflags = %s;\n", C(rows.flags[i]));
        fprintf(fp, "        strcpy(_nmObs, \"%s\");\n", C(rows.obs[i]));
        fprintf(fp, "        strcpy(_nmPred, \"%s\");\n", C(rows.pred[i]));
        fprintf(fp, "\n        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
    fprintf(fp, "int GetNPlotVar(){return %d;}\n", int(rows.pred.size()));
    fprintf(fp, "\n");
}

// int GetNumStructural(){ ... } int GetStructuralNumber(const char* _nm){ ... }
// void GetStructuralName(int* _pi, char* _nm){ ... }
void CGenCode::GenStructuralCodeOrbx() {
    fprintf(fp, "int GetNumStructural(){\n");
    fprintf(fp, "\treturn %d;\n", int(saStruct.size()));
    fprintf(fp, "}\n\n");
    fprintf(fp, "int GetStructuralNumber(const char* _nm){\n");
    fprintf(fp, "\tint _i = -1;\n");
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < saStruct.size(); i++)
        fprintf(fp, "\telse if (_nm[0]=='%c' && strcmp(_nm, \"%s\")==0) _i = %d;\n", saStruct[i][0],
                C(saStruct[i]), int(i));
    fprintf(fp, "\treturn _i;\n");
    fprintf(fp, "}\n\n");
    fprintf(fp, "void GetStructuralName(int* _pi, char* _nm){\n");
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < saStruct.size(); i++)
        fprintf(fp, "\telse if (*_pi == %d) strcpy(_nm, \"%s\");\n", int(i), C(saStruct[i]));
    fprintf(fp, "}\n\n");
}
