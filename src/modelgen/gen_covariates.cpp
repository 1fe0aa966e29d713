// The covariate routines of Model.cpp: how the engine counts, names and finds the model's data
// columns, in which direction each is carried forward, how a value or an interval is stored,
// and which column names the stripping dose of a macro-constant machine.
#include "modelgen/gencode.h"

// Whether a covariate is stored as the two end points of an interval.
static bool IsInterpolated(CGenCode const& g, char const* name) {
    return g.bTimeBased && MemberOf(name, g.saInterpolate) >= 0;
}

// int GetNumCovariates(){
//     return 1;
// }
//
// int GetCovariateNumber(const char* _nm){
//     if (_nm[0] == 'w' && strcmp(_nm, "wt") == 0)
//     {
//         return 0;
//     }
//
//     return -1;
// }
static void GenCovariateCountAndNumber(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "int GetNumCovariates(){\n");
    fprintf(fp, "    return %d;\n", int(g.saCovariates.size()));
    fprintf(fp, "}\n\n");
    fprintf(fp, "int GetCovariateNumber(const char* _nm){\n");
    for (size_t i = 0; i < g.saCovariates.size(); i++) {
        if_statement(fp, g.saCovariates[i], false);
        fprintf(fp, "        return %d;\n", int(i));
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "\n    return -1;\n");
    fprintf(fp, "}\n\n");
}

// const char * GetCovariateName(int i)
// {
//     if (i >= 1) return "";
//
//     static const char * names[1] = {
//         "wt",
//     };
//
//     return names[i];
// }
static void GenCovariateName(CGenCode const& g) {
    FILE* fp = g.fp;
    int n = int(g.saCovariates.size());
    fprintf(fp, "const char * GetCovariateName(int i)\n{\n");
    if (n == 0) {
        fprintf(fp, "    return \"\";\n");
    } else {
        fprintf(fp, "    if (i >= %d) return \"\";\n\n", n);
        fprintf(fp, "    static const char * names[%d] = {\n", n);
        for (String const& s : g.saCovariates)
            fprintf(fp, "        \"%s\",\n", C(s));
        fprintf(fp, "    };\n\n");
        fprintf(fp, "    return names[i];\n");
    }
    fprintf(fp, "}\n\n");
}

// int GetCovariateDirection(int i){
//     // 0=backward, 1=forward, 2=interpolate
//     if (i >= 1) return -1;
//
//     static int dirs[1] = {
//         0,
//     };
//
//     return dirs[i];
// }
static void GenCovariateDirection(CGenCode const& g) {
    FILE* fp = g.fp;
    int n = int(g.naInterpolateFlags.size());
    fprintf(fp, "int GetCovariateDirection(int i){\n");
    fprintf(fp, "    // 0=backward, 1=forward, 2=interpolate\n");
    if (n == 0) {
        fprintf(fp, "    return -1;\n");
    } else {
        fprintf(fp, "    if (i >= %d) return -1;\n\n", n);
        fprintf(fp, "    static int dirs[%d] = {\n", n);
        for (unsigned short d : g.naInterpolateFlags)
            fprintf(fp, "        %d,\n", int(d));
        fprintf(fp, "    };\n\n");
        fprintf(fp, "    return dirs[i];\n");
    }
    fprintf(fp, "}\n\n");
}

// void SetCovariate(double _t, const char* _nm, double _v)
// {
//     if (_nm[0] == 'w' && strcmp(_nm, "wt") == 0)
//     {
//         if (wt == _NA){
//             _initial_wt = _v;
//         }
//         wt = _v;
//         return;
//     }
// }
// The first value a subject gets is also remembered as its initial one.
static void GenSetCovariate(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "void SetCovariate(double _t, const char* _nm, double _v)\n{\n");
    for (String const& s : g.saCovariates) {
        char const* nm = s;
        if_statement(fp, nm, false);
        fprintf(fp, "        if (%s == _NA){\n", nm);
        fprintf(fp, "            _initial_%s = _v;\n", nm);
        fprintf(fp, "        }\n");
        if (IsInterpolated(g, nm)) {
            fprintf(fp, "        _0%s = _v;\n", nm);
            fprintf(fp, "        _T0_%s = _t;\n", nm);
            fprintf(fp, "        _1%s = _v;\n", nm);
            fprintf(fp, "        _T1_%s = _t;\n", nm);
        } else {
            fprintf(fp, "        %s = _v;\n", nm);
        }
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n\n");
}

// void SetCovariateInterp(double _t, const char* _nm, double _v1, double _dt, double _v2, ...)
// {
//     if (_nm[0] == 'w' && strcmp(_nm, "wt") == 0)
//     {
//         wt = (_bForward ? _v1 : _v2);
//         return;
//     }
// }
static void GenSetCovariateInterp(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "void SetCovariateInterp(double _t, const char* _nm, double _v1, double _dt, "
                "double _v2, int _bForward)\n{\n");
    for (String const& s : g.saCovariates) {
        char const* nm = s;
        if_statement(fp, nm, false);
        if (IsInterpolated(g, nm)) {
            fprintf(fp, "        _0%s = _v1;\n", nm);
            fprintf(fp, "        _T0_%s = _t;\n", nm);
            fprintf(fp, "        _1%s = _v2;\n", nm);
            fprintf(fp, "        _T1_%s = _t + _dt;\n", nm);
        } else {
            fprintf(fp, "        %s = (_bForward ? _v1 : _v2);\n", nm);
        }
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n\n");
}

// int GetStripDoseName(char* _nm){
//     int _rvalue = 0;
//     if (0){
//     } else if (_nm[0]=='D' && strcmp(_nm, "Dose")==0){
//         strcpy(_nm, "_initial_Dose");
//         _rvalue = 1;
//     }
//     return _rvalue;
// }
static void GenStripDoseName(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "int GetStripDoseName(char* _nm){\n");
    fprintf(fp, "    int _rvalue = 0;\n");
    fprintf(fp, "    if (0){\n");
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_CFMACRO || !s->child4 || s->child4->type != CN_VAR) continue;
        String text;
        GenCstr(s->child4, text);
        if (!text[0]) continue;
        fprintf(fp, "    } else if (_nm[0]=='%c' && strcmp(_nm, \"%s\")==0){\n", text[0], C(text));
        fprintf(fp, "        strcpy(_nm, \"_initial_%s\");\n", C(text));
        fprintf(fp, "        _rvalue = 1;\n");
    }
    fprintf(fp, "    }\n");
    fprintf(fp, "    return _rvalue;\n");
    fprintf(fp, "}\n\n");
}

// GetNumCovariates, GetCovariateNumber, GetCovariateName, GetCovariateDirection,
// SetCovariate, SetCovariateInterp, GetStripDoseName
void CGenCode::GenCovariateCodeOrbx() {
    GenCovariateCountAndNumber(*this);
    GenCovariateName(*this);
    GenCovariateDirection(*this);
    GenSetCovariate(*this);
    GenSetCovariateInterp(*this);
    GenStripDoseName(*this);
}
