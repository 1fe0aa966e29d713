// The routines that read and write a model variable by name for the engine: get_var_value
// after the parameters are brought up to date, _set_var_value that only stores, and
// set_var_value that evaluates on both sides of the store.
#include "modelgen/gencode.h"

// MODEL_TEMPLATE_PARAMETER_LIST
// int MODEL_CLASS_DECL::get_var_value(const char* _nm, double* _pv)
// {
//     ...
//     if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
//     {
//         *_pv = double(V);
//         return 1;
//     }
//     return 0;
// }
static void GenGetVarValue(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "int MODEL_CLASS_DECL::get_var_value(const char* _nm, double* _pv)\n{\n");
    fprintf(fp, "    using NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "    NUM * zzY = globalY;\n\n");
    fprintf(fp, "    eval_sparams(zzY);\n\n");
    if (g.bTimeBased) {
        if_statement(fp, "t", false);
        fprintf(fp, "        *_pv = t;\n");
        fprintf(fp, "        return 1;\n");
        fprintf(fp, "    }\n");
    }
    for (String const& s : g.saUniqueVars) {
        if_statement(fp, s, false);
        fprintf(fp, "        *_pv = double(%s);\n", C(s));
        fprintf(fp, "        return 1;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "    return 0;\n");
    fprintf(fp, "}\n\n");
}

// The store of one name: both end points of an interpolated covariate; nothing for a
// machine's output or depot, which live in the machine.
static void GenStore(CGenCode const& g, char const* nm) {
    FILE* fp = g.fp;
    if (g.bTimeBased && MemberOf(nm, g.saInterpolate) >= 0)
        fprintf(fp, "_0%s = _1%s = *_pv;\n", nm, nm);
    else if (MemberOf(nm, g.saCFMacro) >= 0 || MemberOf(nm, g.saCFStrip) >= 0)
        fprintf(fp, "// %s = *_pv;\n", nm);
    else if (MemberOf(nm, g.saCFStrip2) < 0)
        fprintf(fp, "%s = *_pv;\n", nm);
    else
        fprintf(fp, "// %s = *_pv;\n", nm);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::_set_var_value(const char* _nm, double* _pv)
// {
//     ...
//     if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
//     {
//         V = *_pv;
//         return;
//     }
// }
static void GenSetVarValueOnly(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::_set_var_value(const char* _nm, double* _pv)\n{\n");
    fprintf(fp, "    using NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "    NUM * zzY = globalY;\n\n");
    for (String const& s : g.saUniqueVars) {
        if_statement(fp, s, false);
        fprintf(fp, "        ");
        GenStore(g, s);
        fprintf(fp, "        return;\n");
        fprintf(fp, "    }\n");
    }
    fprintf(fp, "}\n\n");
}

// get_var_value, _set_var_value, and set_var_value, which evaluates before and after the store
// on purpose.
void CGenCode::GenGetSetGlobalVars() {
    GenGetVarValue(*this);
    GenSetVarValueOnly(*this);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::set_var_value(const char* _nm, double* _pv)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    fprintf(fp, "\n    eval_sparams(zzY);\n");
    fprintf(fp, "\n    _set_var_value(_nm, _pv);\n");
    fprintf(fp, "\n    eval_sparams(zzY);\n");
    fprintf(fp, "}\n");
}
