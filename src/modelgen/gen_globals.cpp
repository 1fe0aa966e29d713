// The global declarations of Model.cpp: the statics of the data columns, the macros that place
// each state in the integrator vector, the class model_data with one member per model
// variable, the routines that load thetas and etas into it and hand their derivatives back,
// and the name and count routines of the thetas, etas, errors and unit slots.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"
#include "modelgen/globals_templates.h"

#include <string>
#include <unordered_set>

static void AddMacro(std::string const& name) {
    AddMacro(name.c_str());
}

// ---- Lists and tests shared by the sub-sections -------------------------------------------

static bool IsIn(char const* name, SV const& list) {
    return MemberOf(name, list) >= 0;
}

// A set of names, for the tests that a long list would answer by a scan per name.
typedef std::unordered_set<std::string> NameSet;

static NameSet GetNameSet(SV const& list) {
    NameSet set;
    for (String const& name : list)
        set.insert(std::string(name));
    return set;
}

static bool IsIn(char const* name, NameSet const& set) {
    return set.count(name) > 0;
}

// The names declared so far; later groups skip them.
static void Declare(NameSet& declared, char const* name) {
    declared.insert(name);
}

// One theta: a fixed effect or, after them, an error variable, at 'index' in that order.
struct Theta {
    char const* name;
    int index;
    bool isFixef;
    bool frozen;
    bool enabled; // has an enable number; only fixed effects do
    int enable;
    bool dual; // carried as a dual number: in dual_vars and not frozen
};

template <class T> static T At(std::vector<T> const& v, size_t i, T absent) {
    return i < v.size() ? v[i] : absent;
}

static std::vector<Theta> GetThetas(CGenCode const& g) {
    std::vector<Theta> out;
    for (size_t i = 0; i < g.saFixef.size(); i++) {
        int64_t enable = At<int64_t>(g.laFixefEnable, i, -1);
        bool frozen = At<unsigned short>(g.naFixefFrozen, i, 0) != 0;
        char const* nm = g.saFixef[i];
        out.push_back(
            {nm, int(i), true, frozen, enable >= 0, int(enable), !frozen && is_var_dual(nm)});
    }
    for (size_t i = 0; i < g.saError.size(); i++) {
        bool frozen = At<unsigned short>(g.naErrorFrozen, i, 0) != 0;
        char const* nm = g.saError[i];
        out.push_back(
            {nm, int(g.saFixef.size() + i), false, frozen, false, -1, !frozen && is_var_dual(nm)});
    }
    return out;
}

static char const* ThetaType(Theta const& th) {
    return th.dual ? "ThetaType" : "double";
}

// ---- Statics --------------------------------------------------------------------------------

// static double _T0_cp, _T1_cp;	// time points for interpolating cp
// static double _0cp, _1cp;		// end point values for interpolating cp
// #define cp _interpolate(t, _T0_cp, _0cp, _T1_cp, _1cp)
// static double _initial_cp;
static void GenInterpolatedStatics(CGenCode const& g, NameSet& declared) {
    for (String const& s : g.saInterpolate) {
        char const* nm = s;
        Declare(declared, nm);
        AddMacro(nm);
        fprintf(g.fp, "static double _T0_%s, _T1_%s;\t// time points for interpolating %s\n", nm,
                nm, nm);
        fprintf(g.fp, "static double _0%s, _1%s;\t\t// end point values for interpolating %s\n", nm,
                nm, nm);
        fprintf(g.fp, "#define %s _interpolate(%s, _T0_%s, _0%s, _T1_%s, _1%s)\n", nm,
                C(g.sTimeVar), nm, nm, nm, nm);
        fprintf(g.fp, "static double _initial_%s;\n", nm);
    }
    if (!g.saInterpolate.empty()) fprintf(g.fp, "#define THERE_ARE_INTERPOLATED_COVARIATES\n");
}

// static double t;
//
// static double wt;
// static double _initial_wt;
// static double _mean_wt;
// static double A1_dose;
// static bool reset_thetas_to_init = true;
//
// constexpr bool HasDelay()
// { ... }
static void GenStatics(CGenCode const& g, NameSet& declared) {
    FILE* fp = g.fp;
    if (*g.sTimeVar && !IsIn(g.sTimeVar, declared)) {
        Declare(declared, g.sTimeVar);
        fprintf(fp, "static double %s;\n\n", C(g.sTimeVar));
    }
    if (g.bTimeBased) GenInterpolatedStatics(g, declared);
    for (String const& s : g.saCovariates) {
        if (g.bTimeBased && IsIn(s, g.saInterpolate)) continue; // declared with its end points
        Declare(declared, s);
        fprintf(fp, "static double %s;\n", C(s));
        fprintf(fp, "static double _initial_%s;\n", C(s));
    }
    for (String const& s : g.saCVMean)
        fprintf(fp, "static double _mean_%s;\n", C(s));
    for (String const& s : g.saCVMedian)
        fprintf(fp, "static double _median_%s;\n", C(s));
    for (String const& s : g.saInitialDose) {
        Declare(declared, s);
        fprintf(fp, "static double %s;\n", C(s));
    }
    fprintf(fp, "static bool reset_thetas_to_init = true;\n");
    fprintf(fp, "\n");
    fprintf(fp, "constexpr bool HasDelay()\n{\n");
    if (g.bTimeBased && g.nDelayCount > 0)
        fprintf(fp, "    return true;\n");
    else
        fprintf(fp, "    return false;\n");
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// ---- State macros ---------------------------------------------------------------------------

// #define     Ac       zzY[0]
// #define zzR_Ac       zzR[0]
// #define    _Ac_irate globalIRate[0]
static void GenStateBlock(FILE* fp, char const* name, int slot) {
    fprintf(fp, "#define     %s       zzY[%d]\n", name, slot);
    fprintf(fp, "#define zzR_%s       zzR[%d]\n", name, slot);
    fprintf(fp, "#define    _%s_irate globalIRate[%d]\n", name, slot);
    AddMacro(name);
    AddMacro(std::string("zzR_") + name);
    AddMacro(std::string("_") + name + "_irate");
}

// // compartment integrators
// <state block of each name>
// (a blank line after each block when 'blank'); 'n' counts the slots.
static void GenStateList(FILE* fp, SV const& list, char const* title, bool blank, int& n) {
    for (size_t i = 0; i < list.size(); i++) {
        if (i == 0) fprintf(fp, "%s", title);
        GenStateBlock(fp, list[i], n++);
        if (blank) fprintf(fp, "\n");
    }
}

// // transit A variables
// static double zzK_A; ... static   int zzI_A; static double zzF_A;
// <state block of A>
// #define zzYx_A   zzY[4]
// #define zzRx_A   zzR[4]
// #define zzYi_A(i)   zzY[5+(i)]
// #define zzRi_A(i)   zzR[5+(i)]
//
// template <typename NUM>
// inline void AddBolus_A(double _v, NUM * zzY)
// { ... }
static void GenTransitMacros(FILE* fp, char const* nm, int stages, int& n) {
    fprintf(fp, "// transit %s variables\n", nm);
    fprintf(fp, "static double zzK_%s;\n", nm);
    fprintf(fp, "static double zzN_%s;\n", nm);
    fprintf(fp, "static double zzMTT_%s;\n", nm);
    fprintf(fp, "static   int zzI_%s;\n", nm);
    fprintf(fp, "static double zzF_%s;\n", nm);
    GenStateBlock(fp, nm, n++);
    fprintf(fp, "#define zzYx_%s   zzY[%d]\n", nm, n);
    fprintf(fp, "#define zzRx_%s   zzR[%d]\n", nm, n);
    AddMacro(std::string("zzYx_") + nm);
    AddMacro(std::string("zzRx_") + nm);
    n++;
    fprintf(fp, "#define zzYi_%s(i)   zzY[%d+(i)]\n", nm, n);
    fprintf(fp, "#define zzRi_%s(i)   zzR[%d+(i)]\n\n", nm, n);
    AddMacro(std::string("zzYi_") + nm);
    AddMacro(std::string("zzRi_") + nm);
    n += stages;
    fprintf(fp, "template <typename NUM>\n");
    fprintf(fp, "inline void AddBolus_%s(double _v, NUM * zzY)\n{\n", nm);
    fprintf(fp, "    zzYi_%s(zzI_%s) += _v;\n", nm, nm);
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// // compartment integrators
// #define     Ac       zzY[0]
// ...
// // zzY[3] is extra integrator for infusions
static void GenStateMacros(CGenCode const& g) {
    FILE* fp = g.fp;
    int n = 0;
    GenStateList(fp, g.saDeriv, "// compartment integrators\n", true, n);
    GenStateList(fp, g.saUrine, "// urine accumulators\n", true, n);
    GenStateList(fp, g.saTransit2, "// transit2 compartment\n", false, n);
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || s->type != CN_TRANSIT) continue;
        GenTransitMacros(fp, s->child1->name, int(s->child4->value), n);
    }
    SV hazards;
    for (String const& s : g.saEvent)
        hazards.push_back(String("_ht_") + s);
    GenStateList(fp, hazards, "// event hazard accumulators\n", true, n);
    fprintf(fp, "\n");
    fprintf(fp, "// zzY[%d] is extra integrator for infusions\n", n);
    fprintf(fp, "\n");
}

// ---- Class members --------------------------------------------------------------------------

// #if NFIXEF > 0 ... void init_enabled_fixefs(const int * ii, bool ext, int size) { ...
//         if (*i == 3) _enabled_fixefs[1] = 1; // tvCl
//     }
// }
static void GenEnabledFixefs(CGenCode const& g) {
    fputs(enabled_fixefs_head, g.fp);
    for (Theta const& th : GetThetas(g))
        if (th.enabled)
            fprintf(g.fp, "        if (*i == %d) _enabled_fixefs[%d] = 1; // %s\n", th.enable,
                    th.index, th.name);
    fprintf(g.fp, "    }\n}\n");
}

//     ThetaType & tvV;
//     double & tvCl;
//
//     EtaType nV;
//
static void GenThetaAndEtaMembers(CGenCode const& g, NameSet& declared) {
    for (Theta const& th : GetThetas(g)) {
        Declare(declared, th.name);
        fprintf(g.fp, "    %s & %s;\n", ThetaType(th), th.name);
    }
    fprintf(g.fp, "\n");
    for (SV const* list : {&g.saRanef1, &g.saRanef2, &g.saRanef3, &g.saRanef4, &g.saRanef5}) {
        for (String const& s : *list) {
            Declare(declared, s);
            fprintf(g.fp, "    %s %s;\n", is_var_dual(s) ? "EtaType" : "double", C(s));
        }
    }
    fprintf(g.fp, "\n");
}

// Prints "    double V;\n" for each name of 'list' that is neither an integrator nor declared,
// with "    double _initial_V;\n" after it when 'initial'; 'skip' (may be null) parallel to
// 'list' leaves out the entries that are not 0.
static void GenVariableMembers(CGenCode const& g, SV const& list, bool initial,
                               NameSet const& integ, NameSet& declared,
                               NaList const* skip = nullptr) {
    for (size_t i = 0; i < list.size(); i++) {
        char const* nm = list[i];
        if (IsIn(nm, integ) || IsIn(nm, declared)) continue;
        if (skip && At<unsigned short>(*skip, i, 0) != 0) continue;
        fprintf(g.fp, "    %s %s;\n", MemberType(nm), nm);
        if (initial) fprintf(g.fp, "    %s _initial_%s;\n", MemberType(nm), nm);
        Declare(declared, nm);
    }
}

//     double V;
//     double _initial_V;
//     ...
static void GenModelVariableMembers(CGenCode const& g, NameSet& declared) {
    for (String const& s : g.saDoubles) {
        Declare(declared, s);
        fprintf(g.fp, "    %s %s;\n", MemberType(s), C(s));
    }
    NameSet const integ = GetNameSet(g.GetIntegratorList());
    GenVariableMembers(g, g.saGroup, true, integ, declared);
    GenVariableMembers(g, g.saStruct, true, integ, declared, &g.naStparmDuplicatesFixef);
    GenVariableMembers(g, g.saSecondary, false, integ, declared);
    for (String const& s : g.saAssigned) {
        if (IsIn(s, integ) || IsIn(s, declared) || is_cfm(s)) continue;
        fprintf(g.fp, "    %s %s;\n", MemberType(s), C(s));
        Declare(declared, s);
    }
}

//     int seq_state[2] = {0};
//     void sequence_init() { ... }
//     void sequence_0_action(double t_);
//     ... and alike for the event statements
static void GenSequenceAndEventMembers(CGenCode const& g) {
    FILE* fp = g.fp;
    int nSeq = CountTopStatements(g.pBody, CN_SEQUENCE);
    if (nSeq > 0) {
        fprintf(fp, "\n    int seq_state[%d] = {0};\n\n", nSeq);
        fprintf(fp, "    void sequence_init()\n");
        fprintf(fp, "    {\n");
        fprintf(fp, "        std::fill_n(seq_state, %d, 0);\n", nSeq);
        fprintf(fp, "    }\n\n");
        for (int i = 0; i < nSeq; i++)
            fprintf(fp, "    void sequence_%d_action(double t_);\n", i);
    }
    int nEvent = CountTopStatements(g.pBody, CN_EVENT);
    if (nEvent > 0) {
        fputs(event_sim_declaration, fp);
        fprintf(fp, "    event_sim event_data[%d] = {0};\n\n", nEvent);
        fprintf(fp, "    void event_init()\n");
        fprintf(fp, "    {\n");
        fprintf(fp, "        std::fill_n(event_data, %d, event_sim(_dMaxTime));\n", nEvent);
        fprintf(fp, "    }\n");
        for (int i = 0; i < nEvent; i++)
            fprintf(fp, "    void event_%d_action(double t_);\n", i);
    }
}

//
//     DelayTable<double> _delayTable_0;
//
//     PeakTable<DualType> _peakTable_0;
static void GenTableMembers(CGenCode const& g) {
    if (!g.bTimeBased) return;
    if (g.nDelayCount > 0) {
        fprintf(g.fp, "\n");
        for (N const& node : g.paDelayNodes)
            fprintf(g.fp, "    DelayTable<%s> _delayTable_%d;\n",
                    has_dual_vars(node) ? "DualType" : "double", node->iDelayTable);
    }
    if (g.nPeakCount > 0) {
        fprintf(g.fp, "\n");
        for (N const& node : g.paPeakNodes)
            fprintf(g.fp, "    PeakTable<%s> _peakTable_%d;\n",
                    has_dual_vars(node->child1) ? "DualType" : "double", node->iPeakTable);
    }
}

//     model_data() :
//         tvV(theta_store<ThetaType>(0)),
//         dCl(enabled_theta<double>(1))
//     {
//     }
static void GenConstructor(CGenCode const& g) {
    std::vector<Theta> thetas = GetThetas(g);
    fprintf(g.fp, "\n    model_data()%s\n", thetas.empty() ? "" : " :");
    for (size_t i = 0; i < thetas.size(); i++) {
        Theta const& th = thetas[i];
        char const* store = th.enabled ? "enabled_theta" : "theta_store";
        char const* comma = i + 1 < thetas.size() ? "," : "";
        fprintf(g.fp, "        %s(%s<%s>(%d))%s\n", th.name, store, ThetaType(th), th.index, comma);
    }
    fprintf(g.fp, "    {\n    }\n\n");
}

// struct base_data { ... };              (dual models)
// static int _enabled_fixefs[NFIXEF] ... (switches of the fixed effects)
// struct model_data
// {
//     <thetas, etas, model variables, sequences, events, tables, constructor>
//     ...
// };
static void GenClasses(CGenCode const& g, NameSet& declared) {
    if (g.IsDualModel()) fputs(base_data_declaration, g.fp);
    GenEnabledFixefs(g);
    fputs(model_data_start, g.fp);
    GenThetaAndEtaMembers(g, declared);
    GenModelVariableMembers(g, declared);
    GenSequenceAndEventMembers(g);
    GenTableMembers(g);
    GenConstructor(g);
    fputs(model_data_end, g.fp);
}

// ---- After the class: loading parameters and handing derivatives back ----------------------

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_fixef(const double * fxf)
// {
//     tvV = fxf[0];
// }
//
// template <>
// void model_data<DualTheta, double>::init_fixef(const double * fxf)
// {
//     tvV = DualTheta(fxf[0]);
//     tvV.b[0] = 1;
//     tvCl = fxf[1]; // frozen
// }
static void GenInitFixef(CGenCode const& g) {
    FILE* fp = g.fp;
    std::vector<Theta> thetas = GetThetas(g);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_fixef(const double * fxf)\n{\n");
    for (Theta const& th : thetas)
        fprintf(fp, "    %s = fxf[%d];\n", th.name, th.index);
    fprintf(fp, "}\n\n");
    if (!g.HasDualTheta()) return;
    fprintf(fp, "template <>\n");
    fprintf(fp, "void model_data<DualTheta, double>::init_fixef(const double * fxf)\n{\n");
    int k = 0;
    for (Theta const& th : thetas) {
        if (th.dual) {
            fprintf(fp, "    %s = DualTheta(fxf[%d]);\n", th.name, th.index);
            fprintf(fp, "    %s.b[%d] = 1;\n", th.name, k++);
        } else {
            fprintf(fp, "    %s = fxf[%d];%s\n", th.name, th.index, th.frozen ? " // frozen" : "");
        }
    }
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_ranef(const double * ran)
// {
//     nV = ran[0];
// }
// and its specialisation for model_data<double, DualEta> in a model with dual etas
static void GenInitRanef(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_ranef(const double * ran)\n{\n");
    for (size_t i = 0; i < g.saRanef5.size(); i++)
        fprintf(fp, "    %s = ran[%d];\n", C(g.saRanef5[i]), int(i));
    fprintf(fp, "}\n\n");
    if (g.saDualRanef5.empty()) return;
    fprintf(fp, "template <>\n");
    fprintf(fp, "void model_data<double, DualEta>::init_ranef(const double * ran)\n{\n");
    NameSet const dual = GetNameSet(g.saDualRanef5);
    int k = 0;
    for (size_t i = 0; i < g.saRanef5.size(); i++) {
        char const* nm = g.saRanef5[i];
        if (IsIn(nm, dual)) {
            fprintf(fp, "    %s = DualEta(ran[%d]);\n", nm, int(i));
            fprintf(fp, "    %s.b[%d] = 1;\n", nm, k++);
        } else {
            fprintf(fp, "    %s = ran[%d];\n", nm, int(i));
        }
    }
    fprintf(fp, "}\n\n");
}

// static void copy_grad(const DualTheta & ll, double grad[])
// {
//     if (!grad) return;
//     grad[0] += ll.b[0]; // tvV
//     // tvCl
//     if (_is_fixef_enabled(2)) grad[2] += ll.b[1]; // dVdWt
// }
// 'g' counts the non-frozen thetas, 'k' the dual ones.
static void GenCopyGradTheta(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "static void copy_grad(const DualTheta & ll, double grad[])\n{\n");
    fprintf(fp, "    if (!grad) return;\n");
    int out = 0, k = 0;
    for (Theta const& th : GetThetas(g)) {
        fprintf(fp, "    ");
        if (th.dual) {
            if (th.isFixef && th.enabled) fprintf(fp, "if (_is_fixef_enabled(%d)) ", th.index);
            fprintf(fp, "grad[%d] += ll.b[%d]; // %s\n", out++, k++, th.name);
        } else {
            fprintf(fp, "// %s\n", th.name);
            if (!th.frozen) out++;
        }
    }
    fprintf(fp, "}\n\n");
}

// void copy_grad(const DualEta & ll, double grad[])
// {
//     if (!grad) return;
//     grad[0] += ll.b[0]; // nV
//     // nCl
// }
static void GenCopyGradEta(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "void copy_grad(const DualEta & ll, double grad[])\n{\n");
    fprintf(fp, "    if (!grad) return;\n");
    NameSet const dual = GetNameSet(g.saDualRanef5);
    int k = 0;
    for (size_t i = 0; i < g.saRanef5.size(); i++) {
        char const* nm = g.saRanef5[i];
        if (IsIn(nm, dual))
            fprintf(fp, "    grad[%d] += ll.b[%d]; // %s\n", int(i), k++, nm);
        else
            fprintf(fp, "    // %s\n", nm);
    }
    fprintf(fp, "}\n\n");
}

// static void capture_pred(int obsIndex, DualTheta _ypred, const DualTheta & _vfunc)
// { ...
//     AccumulatePredGrad(obsIndex, theta_idx++, _ypred.b[0], _vfunc.b[0]); // tvV
//     // frozen tvCl
//     if (_is_fixef_enabled(2)) theta_idx++; // dVdWt
// }
static void GenCapturePredTheta(CGenCode const& g) {
    FILE* fp = g.fp;
    fputs(capture_pred_theta_head, fp);
    int k = 0;
    for (Theta const& th : GetThetas(g)) {
        fprintf(fp, "    ");
        if (th.frozen) {
            fprintf(fp, "// frozen %s\n", th.name);
            continue;
        }
        if (th.isFixef && th.enabled) fprintf(fp, "if (_is_fixef_enabled(%d)) ", th.index);
        if (th.dual) {
            fprintf(
                fp,
                "AccumulatePredGrad(obsIndex, theta_idx++, _ypred.b[%d], _vfunc.b[%d]); // %s\n", k,
                k, th.name);
            k++;
        } else {
            fprintf(fp, "theta_idx++; // %s\n", th.name);
        }
    }
    fprintf(fp, "}\n");
}

// template<>
// const AD_Mode model_data<DualTheta, double>::ad_mode = AD_Mode::THETA_DUAL;
// ... init_fixef, init_ranef, copy_grad, capture_pred in their plain and dual forms
static void GenAfterClass(CGenCode const& g) {
    FILE* fp = g.fp;
    if (g.HasDualTheta())
        fprintf(fp, "\ntemplate<>\nconst AD_Mode model_data<DualTheta, double>::ad_mode = "
                    "AD_Mode::THETA_DUAL;\n");
    if (!g.saDualRanef5.empty())
        fprintf(fp, "\ntemplate<>\nconst AD_Mode model_data<double, DualEta>::ad_mode = "
                    "AD_Mode::ETA_DUAL;\n");
    fputs(ad_mode_real, fp);
    GenInitFixef(g);
    GenInitRanef(g);
    fprintf(fp, "\ninline void copy_grad(double ll, double grad[])\n{\n}\n");
    if (g.IsDualModel()) fprintf(fp, "\n");
    if (g.HasDualTheta()) GenCopyGradTheta(g);
    if (!g.saDualRanef5.empty()) GenCopyGradEta(g);
    fprintf(fp, "\ntemplate <typename NUM>\ninline void capture_pred(int obsIndex, const NUM & "
                "_ypred, const NUM & _sqrtvf)\n{\n}\n");
    if (g.HasDualTheta()) GenCapturePredTheta(g);
    if (!g.saDualRanef5.empty()) fputs(capture_pred_eta, fp);
    fprintf(fp, "\n");
}

// ---- Name and count routines ----------------------------------------------------------------

// void GetFixefName(int *_pi, char* _nm)
// {
//     _nm[0] = 0;
//
//     const int fixefCount = 2;
//     ...
//     static const char * names[fixefCount] = {
//         "tvV",
//         "tvCl"
//     };
//
// 	strcpy(_nm, names[*_pi]);
// }
static void GenNameTable(FILE* fp, char const* routine, SV const& names) {
    fprintf(fp, "void %s(int *_pi, char* _nm)\n{\n", routine);
    fprintf(fp, "    _nm[0] = 0;\n");
    if (!names.empty()) {
        fprintf(fp, "\n    const int fixefCount = %d;\n", int(names.size()));
        fprintf(fp, "    if (*_pi < 0 || *_pi >= fixefCount) return;\n\n");
        fprintf(fp, "    static const char * names[fixefCount] = {\n");
        for (size_t i = 0; i < names.size(); i++)
            fprintf(fp, "%s        \"%s\"", i > 0 ? ",\n" : "", C(names[i]));
        fprintf(fp, "\n    };\n\n");
        fprintf(fp, "\tstrcpy(_nm, names[*_pi]);\n");
    }
    fprintf(fp, "}\n\n");
}

// void GetSecondaryName(int *_pi, char* _nm)
// {
// 	_nm[0] = 0;
// 	if (0){
// 	} else if (*_pi==0){ strcpy(_nm, "Cl2");
// 	}
// }
static void GenBracedNameRoutine(FILE* fp, char const* routine, SV const& names) {
    fprintf(fp, "void %s(int *_pi, char* _nm)\n{\n", routine);
    fprintf(fp, "\t_nm[0] = 0;\n");
    fprintf(fp, "\tif (0){\n");
    for (size_t i = 0; i < names.size(); i++)
        fprintf(fp, "\t} else if (*_pi==%d){ strcpy(_nm, \"%s\");\n", int(i), C(names[i]));
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// void GetRanef2Name(int *_pi, char* _nm)
// {
// 	_nm[0] = 0;
// 	if (0);
// 	else if (*_pi==0) strcpy(_nm, "nOcc");
// }
static void GenPlainNameRoutine(FILE* fp, char const* routine, SV const& names) {
    fprintf(fp, "void %s(int *_pi, char* _nm)\n{\n", routine);
    fprintf(fp, "\t_nm[0] = 0;\n");
    fprintf(fp, "\tif (0);\n");
    for (size_t i = 0; i < names.size(); i++)
        fprintf(fp, "\telse if (*_pi==%d) strcpy(_nm, \"%s\");\n", int(i), C(names[i]));
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// 	_n--; // tvV frozen
// 	if (!_is_fixef_enabled(2)) _n--; // dVdWt disabled?
static void GenFixefDiscounts(CGenCode const& g, std::vector<Theta> const& thetas) {
    for (Theta const& th : thetas) {
        if (!th.isFixef) continue;
        if (th.frozen)
            fprintf(g.fp, "\t_n--; // %s frozen\n", th.name);
        else if (th.enabled)
            fprintf(g.fp, "\tif (!_is_fixef_enabled(%d)) _n--; // %s disabled?\n", th.index,
                    th.name);
    }
}

// // get number of theta minus possibly 1 sigma to estimate
// int GetNThetaOld()
// {
// 	int _n = 2 + 1; // number of fixefs + number of epsilons
// 	...
// 	return _n;
// }
// and GetNTheta, which counts every free sigma as a theta.
static void GenThetaCounts(CGenCode const& g, std::vector<Theta> const& thetas) {
    FILE* fp = g.fp;
    int nFixef = int(g.saFixef.size()), nError = int(g.saError.size());
    fprintf(fp, "// get number of theta minus possibly 1 sigma to estimate\n");
    fprintf(fp, "int GetNThetaOld()\n{\n");
    fprintf(fp, "\tint _n = %d + %d; // number of fixefs + number of epsilons\n", nFixef, nError);
    fprintf(fp, "\t// don't count any frozen or disabled thetas\n");
    GenFixefDiscounts(g, thetas);
    if (nError > 0) {
        fprintf(fp, "\t// if using a gaussian alg, don't treat the last stdev as a theta\n");
        fprintf(fp, "\tif (_bUsingGaussianAlgorithm)\n");
        fprintf(fp, "\t\t_n--;\n");
    }
    fprintf(fp, "\treturn _n;\n");
    fprintf(fp, "}\n\n");
    fprintf(fp, "// get number of theta to estimate\n");
    fprintf(fp, "int GetNTheta()\n{\n");
    fprintf(fp, "\tint _n = %d + %d; // number of fixefs + number of epsilons\n", nFixef, nError);
    fprintf(fp, "\t// don't count any frozen or disabled fixefs\n");
    GenFixefDiscounts(g, thetas);
    fprintf(fp, "\t// don't count any frozen errors\n");
    for (Theta const& th : thetas)
        if (!th.isFixef && th.frozen) fprintf(fp, "\t_n--; // %s frozen\n", th.name);
    fprintf(fp, "\treturn _n;\n");
    fprintf(fp, "}\n\n");
}

// // get number of sigma to estimate, 0 or 1
// int GetNSigma() { ... }
// void GetThetaDualMask(int * mask) { ... }
static void GenSigmaCountAndDualMask(CGenCode const& g, std::vector<Theta> const& thetas) {
    FILE* fp = g.fp;
    int nFree = 0;
    for (Theta const& th : thetas)
        if (!th.isFixef && !th.frozen) nFree++;
    fprintf(fp, "// get number of sigma to estimate, 0 or 1\n");
    fprintf(fp, "int GetNSigma()\n{\n");
    fprintf(fp, "\tint _n = %d; // number of free epsilons\n", nFree);
    if (nFree != 0) {
        fprintf(fp, "\t// if not using a gaussian alg, treat the last stdev as a theta\n");
        fprintf(fp, "\tif (! _bUsingGaussianAlgorithm)\n");
        fprintf(fp, "\t\t_n--;\n");
    }
    fprintf(fp, "\treturn (_n > 0 ? 1 : 0);\n");
    fprintf(fp, "}\n\n");
    fprintf(fp, "void GetThetaDualMask(int * mask)\n{\n");
    fprintf(fp, "\tint _n = 0;\n");
    for (Theta const& th : thetas) {
        if (th.frozen) continue;
        int m = is_var_dual(th.name) ? 1 : 0;
        if (th.isFixef && th.enabled)
            fprintf(fp, "\tif (_is_fixef_enabled(%d)) mask[_n++] = %d; // %s\n", th.index, m,
                    th.name);
        else
            fprintf(fp, "\tmask[_n++] = %d; // %s\n", m, th.name);
    }
    fprintf(fp, "}\n\n");
}

// // if gaussian alg is allowed, but not being used, set this to 0
// ...
// int _bUsingGaussianAlgorithm = 1;
// void SetUsingGaussianAlgorithm(int* _pBool) { ... }
// int GetNThetaOld() ... int GetNTheta() ... int GetNSigma() ... GetThetaDualMask
static void GenThetaRoutines(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "// if gaussian alg is allowed, but not being used, set this to 0\n");
    fprintf(fp, "// so that the main standard deviation is treated as a theta\n");
    fprintf(fp, "int _bUsingGaussianAlgorithm = %d;\n", g.bAllowGaussianFit);
    fprintf(fp, "void SetUsingGaussianAlgorithm(int* _pBool)\n{\n");
    fprintf(fp, "\t_bUsingGaussianAlgorithm = *_pBool;\n");
    fprintf(fp, "}\n\n");
    std::vector<Theta> thetas = GetThetas(g);
    GenThetaCounts(g, thetas);
    GenSigmaCountAndDualMask(g, thetas);
}

// void GetOdeRanefs(int *_pi)
// {
// 	*_pi++ = 1; // nV
// }
static void GenOdeRanefs(CGenCode const& g) {
    fprintf(g.fp, "void GetOdeRanefs(int *_pi)\n{\n");
    NameSet const dual = GetNameSet(g.saDualRanef5);
    for (String const& s : g.saRanef5)
        fprintf(g.fp, "\t*_pi++ = %d; // %s\n", IsIn(s, dual) ? 1 : 0, C(s));
    fprintf(g.fp, "}\n\n");
}

// The variables whose units the engine may set: time, observations, dose points, covariates
// and initial doses, each once.
SV GetUnitSlots(CGenCode const& g) {
    SV slots;
    if (g.bTimeBased) slots.push_back("t");
    for (SV const* list : {&g.saObserved, &g.saDosepoints1, &g.saDosepoints2, &g.saCovariates})
        slots.insert(slots.end(), list->begin(), list->end());
    for (String const& s : g.saInterpolate)
        if (!IsIn(s, g.saCovariates)) slots.push_back(s);
    slots.insert(slots.end(), g.saInitialDose.begin(), g.saInitialDose.end());
    EliminateDuplicates(slots);
    return slots;
}

// const char* _t_Units;
// void ClearUnits(){
// 	_t_Units = "";
// }
//
// void SetVarUnits(const char* _nm, const char* _units)
// {
//     if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
//     {
//         _t_Units = _units;
//         return;
//     }
// }
static void GenUnitSlots(CGenCode const& g) {
    FILE* fp = g.fp;
    SV slots = GetUnitSlots(g);
    for (String const& s : slots)
        fprintf(fp, "const char* _%s_Units;\n", C(s));
    fprintf(fp, "void ClearUnits(){\n");
    for (String const& s : slots)
        fprintf(fp, "\t_%s_Units = \"\";\n", C(s));
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
    fprintf(fp, "void SetVarUnits(const char* _nm, const char* _units)\n{\n");
    for (String const& s : slots) {
        if_statement(fp, s, false);
        fprintf(fp, "        _%s_Units = _units;\n", C(s));
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// void GetFixefName(...) ... void GetFixefUnits(...) ... void GetSecondaryName(...)
// int _bUsingGaussianAlgorithm ... GetNThetaOld, GetNTheta, GetNSigma, GetThetaDualMask
// void GetRanef1Name(...) ... GetRanef5Name, GetOdeRanefs, GetErrorName, valid_strip
// const char* _t_Units; ... ClearUnits, SetVarUnits
static void GenNameAndCountRoutines(CGenCode const& g) {
    FILE* fp = g.fp;
    SV fixefAndError = g.saFixef;
    fixefAndError.insert(fixefAndError.end(), g.saError.begin(), g.saError.end());
    GenNameTable(fp, "GetFixefName", fixefAndError);
    GenNameTable(fp, "GetFixefUnits", g.saFixefUnits);
    GenBracedNameRoutine(fp, "GetSecondaryName", g.saSecondary);
    GenThetaRoutines(g);
    GenBracedNameRoutine(fp, "GetRanef1Name", g.saRanef1);
    GenPlainNameRoutine(fp, "GetRanef2Name", g.saRanef2);
    GenPlainNameRoutine(fp, "GetRanef3Name", g.saRanef3);
    GenPlainNameRoutine(fp, "GetRanef4Name", g.saRanef4);
    GenPlainNameRoutine(fp, "GetRanef5Name", g.saRanef5);
    GenOdeRanefs(g);
    GenPlainNameRoutine(fp, "GetErrorName", g.saError);
    fputs(valid_strip_routine, fp);
    GenUnitSlots(g);
}

// Prints the part of Model.cpp that declares the model's own names:
//     static double t;
//     ... statics of covariates and doses, HasDelay
//     #define     Ac       zzY[0]          (time-based models)
//     ...
//     struct model_data { double & tvV; ... model_data() : ... };
//     ... init_fixef, init_ranef, copy_grad, capture_pred
//     void GetFixefName(int *_pi, char* _nm) ... void SetVarUnits(...)
void CGenCode::GenModellingGlobalVariableDeclarations() {
    NameSet declared;
    GenStatics(*this, declared);
    if (bTimeBased) GenStateMacros(*this);
    GenClasses(*this, declared);
    GenAfterClass(*this);
    GenNameAndCountRoutines(*this);
}
