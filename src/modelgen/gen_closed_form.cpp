// The closed-form machines of Model.cpp: one cf_machines object per cfMicro, cfMacro1,
// cfMacro or cfMacro2 statement, the macros that read their compartments, their state as a
// flat array, their times, their start from the model's constants, and their reset.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

#include <string>

static bool IsMicro(N const& s) {
    return s && (s->type == CN_CFMICRO || s->type == CN_CFMACRO1);
}

static bool IsMacro(N const& s) {
    return s && s->type == CN_CFMACRO;
}

// The closed-form statements in statement order: the order of the machines.
static NV GetMachines(cn const& body) {
    NV out;
    for (N const& s : GetTopStatements(body))
        if (IsMicro(s) || IsMacro(s)) out.push_back(s);
    return out;
}

// The depot P of a `first = (P = rate)` argument, or null.
static char const* DepotName(N const& s) {
    N const& first = s->child1;
    if (!first || first->type != CN_ASSIGN || !first->child1 || first->child1->type != CN_VAR)
        return nullptr;
    return first->child1->name;
}

// valid_strip(_initial_X != _NA ? _initial_X : X, "For the current model ... 'X' must ...")
static std::string StripDivisor(N const& strip) {
    String text;
    GenCstr(strip, text);
    std::string value = C(text);
    if (strip->type == CN_VAR) {
        char const* v = strip->name;
        value = std::string("_initial_") + v + " != _NA ? _initial_" + v + " : " + C(text);
    }
    return "valid_strip(" + value + ", \"For the current model and the data used '" + C(text) +
           "' must be set to non-zero value (usually the stripping dose is identical to the "
           "administered dose).\")";
}

// #define C (CF2GetVal1<NUM>(_cf_A) / (D))   or, with a stripping dose,
// #define C (CF2GetVal1<NUM>(_cf_A) / valid_strip(...))
static void GenMacroOutput(FILE* fp, N const& s) {
    N c = s->list.size() > 0 ? s->list[0] : N();
    N d = s->list.size() > 1 ? s->list[1] : N();
    if (!c || !d) return;
    char const* nm = s->name;
    if (!s->child4) {
        String text;
        GenCstr(d, text);
        fprintf(fp, "#define %s (CF2GetVal1<NUM>(_cf_%s) / (%s))\n", C(c->name), nm, C(text));
    } else {
        std::string divisor = StripDivisor(s->child4);
        fprintf(fp, "#define %s (CF2GetVal1<NUM>(_cf_%s) / %s)\n", C(c->name), nm, divisor.c_str());
    }
    AddMacro(c->name);
}

// cf_machines _cf_A1;
//
// #define A1 CF2GetVal1<NUM>(_cf_A1)
// #define Aa CF2GetValA<NUM>(_cf_A1)
void CGenCode::GenClosedFormDeclarations() {
    for (N const& s : GetMachines(pBody)) {
        char const* nm = s->name;
        fprintf(fp, "cf_machines _cf_%s;\n\n", nm);
        if (IsMicro(s)) {
            fprintf(fp, "#define %s CF2GetVal1<NUM>(_cf_%s)\n", nm, nm);
            AddMacro(nm);
        } else {
            GenMacroOutput(fp, s);
        }
        char const* depot = IsMicro(s) ? DepotName(s) : nullptr;
        if (depot) {
            fprintf(fp, "#define %s CF2GetValA<NUM>(_cf_%s)\n", depot, nm);
            AddMacro(depot);
        }
    }
}

// The six values of a machine, in the order of its slots in the flat state array.
static char const* const cfStateNames[6] = {"ValA", "Val1", "Val2", "Val3", "RateA", "Rate1"};

//
// // routine to read out all the CF state vector
// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::get_all_cf_state(DualType * _y)
// {
// 	_y[0] = CF2GetValA<NUM>(_cf_A1);
// 	...
// }
// and set_all_cf_state with CF2SetValA<NUM>(_cf_A1, _y[0]); ...
void CGenCode::GenClosedFormState() {
    NV machines = GetMachines(pBody);
    fprintf(fp, "\n// routine to read out all the CF state vector\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::get_all_cf_state(DualType * _y)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    for (size_t m = 0; m < machines.size(); m++)
        for (int k = 0; k < 6; k++)
            fprintf(fp, "\t_y[%d] = CF2Get%s<NUM>(_cf_%s);\n", int(6 * m) + k, cfStateNames[k],
                    C(machines[m]->name));
    fprintf(fp, "}\n\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::set_all_cf_state(DualType * _y)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    for (size_t m = 0; m < machines.size(); m++)
        for (int k = 0; k < 6; k++)
            fprintf(fp, "\tCF2Set%s<NUM>(_cf_%s, _y[%d]);\n", cfStateNames[k], C(machines[m]->name),
                    int(6 * m) + k);
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::set_time_of_state(double _t)
// {
// 	CF2SetTimeOfState<NUM>(_cf_A1, _t);
// }
// and set_time_of_getval with CF2SetTimeOfGetVal
void CGenCode::GenClosedFormTimes() {
    NV machines = GetMachines(pBody);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::set_time_of_state(double _t)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    for (N const& s : machines)
        fprintf(fp, "\tCF2SetTimeOfState<NUM>(%s, _t);\n",
                (std::string("_cf_") + C(s->name)).c_str());
    fprintf(fp, "}\n\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::set_time_of_getval(double _t)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    for (N const& s : machines)
        fprintf(fp, "\tCF2SetTimeOfGetVal<NUM>(%s, _t);\n",
                (std::string("_cf_") + C(s->name)).c_str());
    fprintf(fp, "}\n\n");
}

// ", a, b, c" for the entries 'from' up to but not including 'to'
static void GenEntries(FILE* fp, NV const& list, size_t from, size_t to) {
    for (size_t i = from; i < to && i < list.size(); i++) {
        fprintf(fp, ", ");
        GenC(list[i], fp);
    }
}

// 	CF2InitMicro2<NUM>(_cf_A1, k10, k12, k21);
// 	CF2Add1stOrd<NUM>(_cf_A1, Ka);
// Seven entries open no call; the entries are printed all the same, as always.
static void GenInitMicro(FILE* fp, N const& s, char const* m) {
    char const* w = s->type == CN_CFMICRO ? "Micro" : "Macro";
    size_t l = s->list.size();
    if (l == 1) fprintf(fp, "\tCF2Init%s1<NUM>(%s", w, m);
    if (l == 3) fprintf(fp, "\tCF2Init%s2<NUM>(%s", w, m);
    if (l == 5) fprintf(fp, "\tCF2Init%s3<NUM>(%s", w, m);
    GenEntries(fp, s->list, 0, l);
    fprintf(fp, ");\n");
    if (!s->child1) return;
    fprintf(fp, "\tCF2Add1stOrd<NUM>(%s", m);
    fprintf(fp, ", ");
    GenC(s->child1->child2, fp);
    fprintf(fp, ");\n");
}

// 	CF2InitMacro1New<NUM>(_cf_A, a, alpha);
// 	CF2AppendKaNew<NUM>(_cf_A, ka);          (odd count: the last entry is the absorption)
static void GenInitMacro(FILE* fp, N const& s, char const* m) {
    size_t l = s->list.size();
    size_t even = l % 2 ? l - 1 : l;
    if (even == 4) fprintf(fp, "\tCF2InitMacro1New<NUM>(%s", m);
    if (even == 6) fprintf(fp, "\tCF2InitMacro2New<NUM>(%s", m);
    if (even == 8) fprintf(fp, "\tCF2InitMacro3New<NUM>(%s", m);
    GenEntries(fp, s->list, 2, even);
    fprintf(fp, ");\n");
    if (l % 2 == 0) return;
    fprintf(fp, "\tCF2AppendKaNew<NUM>(%s, ", m);
    GenC(s->list[l - 1], fp);
    fprintf(fp, ");\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_cf(double _t)
// { each machine reset and set up from its constants }
// and reinit_cf, which keeps the state across a new set-up.
void CGenCode::GenClosedFormInit() {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_cf(double _t)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    for (N const& s : GetMachines(pBody)) {
        std::string m = std::string("_cf_") + C(s->name);
        fprintf(fp, "\t%s.reset();\n", m.c_str());
        if (IsMicro(s))
            GenInitMicro(fp, s, m.c_str());
        else
            GenInitMacro(fp, s, m.c_str());
    }
    fprintf(fp, "#if defined(USE_SETTIMECF)\n");
    fprintf(fp, "    SetTimeOfStateCF(_t);\n");
    fprintf(fp, "    SetTimeOfGetValCF(_t);\n");
    fprintf(fp, "#endif\n");
    fprintf(fp, "}\n\n");
    fprintf(fp,
            "// routine to capture CF state, change covariates, and re-initialize CF machines\n");
    fprintf(fp, "// make sure all covariate-derived values are up to date before calling\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::reinit_cf(double _t)\n{\n");
    fprintf(fp, "\tMODEL_CLASS_DECL::DualType _state[NCFMACRO*6+1];\n\n");
    fprintf(fp, "\tget_all_cf_state(_state); // get the compartment values\n");
    fprintf(fp, "\tinit_cf(_t); // regenerate all the As\n");
    fprintf(fp, "\tset_all_cf_state(_state); // put the values back in all the compartments\n");
    fprintf(fp, "}\n\n");
}

// void ResetCF()
// {
// 	_cf_A1.reset();
// }
void CGenCode::GenResetCF() {
    fprintf(fp, "void ResetCF()\n{\n");
    for (N const& s : GetMachines(pBody))
        fprintf(fp, "\t_cf_%s.reset();\n", C(s->name));
    fprintf(fp, "}\n\n");
}
