// The derivatives of a time-based model (deriv, with gamma delays, transit chains and
// delayInfCpt compartments), the tables' start, advance, and the compartment routines.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"
#include "modelgen/subject_templates.h"

static N ListEntry(N const& n, size_t i) {
    return i < n->list.size() ? n->list[i] : N();
}

//     gamma_deriv(12, inp, 1e-8, 3 / mdt
// 	, zzY + GetGammaDelayDEStart(0), zzR + GetGammaDelayDEStart(0), globalIRate + ...(0));
static void GenerateGammaDeriv(FILE* fp, N const& d) {
    N numODE = ListEntry(d, 2), number = ListEntry(d, 3);
    int g = number ? int(number->value) : 0;
    fprintf(fp, "    gamma_deriv(%d, ", numODE ? int(numODE->value) : 0);
    GenC(d->child1, fp);
    fprintf(fp, ", 1e-8, ");
    GenC(ListEntry(d, 0), fp);
    fprintf(fp, " / ");
    GenC(d->child2, fp);
    fprintf(fp, "\n\t, zzY + GetGammaDelayDEStart(%d)", g);
    fprintf(fp, ", zzR + GetGammaDelayDEStart(%d)", g);
    fprintf(fp, ", globalIRate + GetGammaDelayDEStart(%d));\n\n", g);
}

// 	zzR_A = _delayTable_0.delayFunc(t, _A_irate + (in), double(mdt), double(2), 100,
// 	DelayDistType::Gamma) + (out);
// The history length is always 100, whatever the shape argument is.
static void GenDerivTransit2(FILE* fp, N const& s) {
    char const* nm = s->child1->name;
    fprintf(fp, "\tzzR_%s = ", nm);
    fprintf(fp, "_delayTable_%d.delayFunc(t, _%s_irate", s->iDelayTable, nm);
    if (N in = ListEntry(s, 0)) {
        fprintf(fp, " + (");
        GenC(in, fp);
        fprintf(fp, ")");
    }
    fprintf(fp, ", double(");
    GenC(s->child2, fp);
    fprintf(fp, "), double(");
    if (s->child3)
        GenC(s->child3, fp);
    else
        fprintf(fp, "%g", 100.0);
    fprintf(fp, ")");
    fprintf(fp, ", %g", 100.0);
    fprintf(fp, ", %s", GenerateDistType(s->child4 ? s->child4->name : String()));
    fprintf(fp, ")");
    if (N out = ListEntry(s, 1)) {
        fprintf(fp, " + (");
        GenC(out, fp);
        fprintf(fp, ")");
    }
    fprintf(fp, ";\n");
}

// 	// beginning of transit(A) code ... //       end of transit(A) code
// The stages form a chain; the dose enters at stage zzI_A, and the flow out of the chain is
// interpolated on a log scale between stage 0 and the extra slot.
static void GenDerivTransit(FILE* fp, N const& s) {
    char const* a = s->child1->name;
    int m = s->child4 ? int(s->child4->value) : 0;
    fprintf(fp, "\t// beginning of transit(%s) code\n", a);
    fprintf(fp, "\tfor (_i = 0; _i < %d; _i++){\n", m - 1);
    fprintf(fp, "\t\tzzRi_%s(_i) = zzK_%s * (zzYi_%s(_i+1) - zzYi_%s(_i));\n", a, a, a, a);
    fprintf(fp, "\t}\n");
    fprintf(fp, "\tzzRi_%s(%d) = zzK_%s * - zzYi_%s(%d);\n", a, m - 1, a, a, m - 1);
    fprintf(fp, "\tzzRx_%s = zzK_%s * (zzYi_%s(0) - zzYx_%s);\n", a, a, a, a);
    fprintf(fp, "\tzzRi_%s(zzI_%s) += _%s_irate; // add the infusion rate\n", a, a, a);
    if (N in = ListEntry(s, 0)) {
        fprintf(fp, "\tzzRi_%s(zzI_%s) += ", a, a);
        GenC(in, fp);
        fprintf(fp, "; // add the input flow\n");
    }
    fprintf(fp, "\t// get the flow rate into %s\n", a);
    fprintf(fp, "\tif (zzYi_%s(0) > 0 && zzYx_%s > 0){\n", a, a);
    fprintf(fp, "\t\tzzR_%s = zzK_%s\n", a, a);
    fprintf(fp, "\t\t * _TransitCorrectionFactor(zzN_%s)\n", a);
    fprintf(fp, "\t\t * exp(");
    fprintf(fp, "log(zzYi_%s(0))*(1-zzF_%s)", a, a);
    fprintf(fp, "+");
    fprintf(fp, "log(zzYx_%s)*zzF_%s", a, a);
    fprintf(fp, ")");
    fprintf(fp, "; // log-interpolated rate\n");
    fprintf(fp, "\t} else {zzR_%s = 0;}\n", a);
    if (N out = ListEntry(s, 1)) {
        fprintf(fp, "\tzzR_%s += ", a);
        GenC(out, fp);
        fprintf(fp, "; // add the output flow\n");
    }
    fprintf(fp, "\t//       end of transit(%s) code\n", a);
}

// 	auto __temp_0 = exp(-k * t);
//
// 	zzR_A = -k * A * __temp_0;
// 	zzR_A += _A_irate;
// Calls and powers of the rate equations are computed once, before the equations.
static void GenRateStatements(FILE* fp, NV const& stmts) {
    NV temps, rewritten;
    for (N const& s : stmts)
        if (s && (s->type == CN_DERIV || s->type == CN_URINECPT))
            rewritten.push_back(s->ElimSubexpr(temps));
    for (size_t i = 0; i < temps.size(); i++) {
        fprintf(fp, "\tauto __temp_%d = ", int(i));
        GenC(temps[i], fp);
        fprintf(fp, ";\n");
    }
    if (!temps.empty()) fprintf(fp, "\n");
    for (N const& s : rewritten) {
        fprintf(fp, "\t");
        GenC(s, fp);
        fprintf(fp, ";\n");
        if (s->type == CN_DERIV)
            fprintf(fp, "\tzzR_%s += _%s_irate;\n", C(s->child1->name), C(s->child1->name));
    }
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::deriv(double _pt, DualType zzY[], DualType zzR[])
// { ... rates of gamma delays, compartments, chains and hazards; zzR[3] = 0; ... }
void CGenCode::GenDeriv(int nOde) {
    NV stmts = GetTopStatements(pBody);
    fputs(gammaDerivTemplate, fp);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::deriv(double _pt, DualType zzY[], DualType zzR[])\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tint _i = 0;\n");
    fprintf(fp, "\tt = _pt;\n");
    fprintf(fp, "\t#if defined(USE_SETTIMECF)\n");
    fprintf(fp, "\t\tSetTimeOfGetValCF(_pt);\n");
    fprintf(fp, "\t#endif\n");
    fprintf(fp, "\t#if defined(THERE_ARE_INTERPOLATED_COVARIATES)\n");
    fprintf(fp, "\t\teval_sparams(zzY);\n");
    fprintf(fp, "\t#else\n");
    fprintf(fp, "\t\teval_assign(zzY);\n");
    fprintf(fp, "\t#endif\n\n");
    for (N const& d : paGammaDelays)
        GenerateGammaDeriv(fp, d);
    GenRateStatements(fp, stmts);
    for (N const& s : stmts)
        if (s && s->type == CN_DELAYINFCPT) GenDerivTransit2(fp, s);
    for (N const& s : stmts)
        if (s && s->type == CN_TRANSIT) GenDerivTransit(fp, s);
    for (N const& s : stmts) {
        if (!s || (s->type != CN_EVENT && s->type != CN_COUNT)) continue;
        fprintf(fp, "\tzzR__ht_%s = ", C(s->name));
        GenC(s->child1, fp);
        fprintf(fp, ";\n");
    }
    fprintf(fp, "\tzzR[%d] = 0; // extra null equation\n", nOde);
    fprintf(fp, "}\n\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::init_tables()
// {
// 	_delayTable_0.init();
// 	_peakTable_0.init();
// }
static void GenInitTables(CGenCode const& g) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::init_tables()\n{\n");
    if (g.bTimeBased) {
        for (int i = 0; i < g.nDelayCount; i++)
            fprintf(fp, "\t_delayTable_%d.init();\n", i);
        for (int i = 0; i < g.nPeakCount; i++)
            fprintf(fp, "\t_peakTable_%d.init();\n", i);
    }
    fprintf(fp, "}\n\n");
}

// template <typename NUM>
// static void ode_solve(int iODELevel, double * ptOuter, double dt, NUM zzY[N_ODE]);
//
// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::advance(int iODELevel, double *pTimeOuter, double _dt)
// { integrators first, then the machines, then the parameters }
static void GenAdvance(CGenCode const& g, int nOde) {
    FILE* fp = g.fp;
    fprintf(fp, "template <typename NUM>\n");
    fprintf(fp, "static void ode_solve(int iODELevel, double * ptOuter, double dt, NUM "
                "zzY[N_ODE]);\n\n");
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp,
            "void MODEL_CLASS_DECL::advance(int iODELevel, double *pTimeOuter, double _dt)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    fprintf(fp, "\t#if defined(USE_SETTIMECF)\n");
    fprintf(fp, "\t\tSetTimeOfStateCF(*pTimeOuter);\n");
    fprintf(fp, "\t#endif\n");
    if (nOde > 0) fprintf(fp, "\tode_solve(iODELevel, pTimeOuter, _dt, zzY);\n");
    for (SV const* list : {&g.saCFMacro, &g.saCFMacro2})
        for (String const& s : *list)
            fprintf(fp, "\tCF2Advance<NUM>(_cf_%s, _dt);\n", C(s));
    fprintf(fp, "\n\teval_sparams(zzY);\n");
    fprintf(fp, "}\n\n");
}

// The compartments in their engine numbering; an empty depot keeps its number.
static std::vector<SV const*> CompartmentLists(CGenCode const& g) {
    return {&g.saDeriv,    &g.saUrine,    &g.saCFMacro, &g.saCFStrip,
            &g.saCFMacro2, &g.saTransit2, &g.saTransit};
}

int CGenCode::GetCompartmentNumber(char const* name) const {
    if (!name || !name[0]) return -1; // an empty depot entry is no compartment
    int i = 0;
    for (SV const* list : CompartmentLists(*this))
        for (String const& s : *list) {
            if (s == name) return i;
            i++;
        }
    return -1;
}

// The first place of a name counts, as in GetCompartmentNumber.
std::unordered_map<std::string, int> CGenCode::GetCompartmentNumbers() const {
    std::unordered_map<std::string, int> numbers;
    int i = 0;
    for (SV const* list : CompartmentLists(*this))
        for (String const& s : *list) {
            if (s[0]) numbers.emplace(std::string(s), i);
            i++;
        }
    return numbers;
}

// int GetNumCompartments() ... int GetCompartmentNumber(const char* _nm) ...
// void GetCompartmentName(int _pi, char* _nm)
static void GenCompartmentRoutines(CGenCode const& g) {
    FILE* fp = g.fp;
    int count = g.nUrineCount + g.nDerivCount + g.nCFMacroCount + g.nCFStripCount +
                g.nCFMacro2Count + g.nTransit2Count + g.nTransitCount;
    fprintf(fp, "int GetNumCompartments()\n{\n");
    fprintf(fp, "\treturn %d;\n", count);
    fprintf(fp, "}\n\n");
    fprintf(fp, "int GetCompartmentNumber(const char* _nm)\n{\n");
    fprintf(fp, "\tint _i = -1;\n");
    fprintf(fp, "\tif (0);\n");
    int i = 0;
    for (SV const* list : CompartmentLists(g))
        for (String const& s : *list) {
            if (s[0])
                fprintf(fp, "\telse if (_nm[0]=='%c' && strcmp(_nm, \"%s\")==0) _i = %d;\n", s[0],
                        C(s), i);
            i++;
        }
    fprintf(fp, "\treturn _i;\n");
    fprintf(fp, "}\n\n");
    fprintf(fp, "void GetCompartmentName(int _pi, char* _nm)\n{\n");
    fprintf(fp, "\t_nm[0] = 0;\n");
    fprintf(fp, "\tif (0);\n");
    i = 0;
    for (SV const* list : CompartmentLists(g))
        for (String const& s : *list) {
            if (s[0]) fprintf(fp, "\telse if (_pi == %d) strcpy(_nm, \"%s\");\n", i, C(s));
            i++;
        }
    fprintf(fp, "}\n\n");
}

// init_tables, ResetCF, advance, and the compartment routines.
void CGenCode::GenAdvanceAndCompartments(int nOde) {
    GenInitTables(*this);
    GenResetCF();
    GenAdvance(*this, nOde);
    GenCompartmentRoutines(*this);
}
