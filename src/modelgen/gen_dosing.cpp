// Dosing of Model.cpp: the schedule routines that turn a due dose into actions of the engine's
// queue (lag, bioavailability, infusion rate from the model), the perform routines that change
// the state when an action comes due, for dose level 1 (dosepoint) and 2 (dosepoint2), and
// add_to_cpt.
#include "modelgen/gencode.h"

// Where a dose lands, by the range of its compartment number.
enum class Target { Integrator, Central, Depot, Central2, DelayTable, Transit, None };

struct DoseTarget {
    Target kind;
    char const* machine; // the machine of a central or depot, the variable of a chain
};

// 'i' is the compartment number of 'name'.
static DoseTarget GetDoseTarget(CGenCode const& g, char const* name, int i) {
    if (i < 0) return {Target::None, name};
    int n = int(g.saDeriv.size() + g.saUrine.size());
    if (i < n) return {Target::Integrator, name};

    struct Range {
        SV const* list;
        Target kind;
    } ranges[] = {{&g.saCFMacro, Target::Central},
                  {&g.saCFStrip, Target::Depot},
                  {&g.saCFMacro2, Target::Central2},
                  {&g.saTransit2, Target::DelayTable},
                  {&g.saTransit, Target::Transit}};

    for (Range const& r : ranges) {
        int size = int(r.list->size());
        if (i < n + size) {
            if (r.kind == Target::Depot) return {r.kind, g.saCFMacro[size_t(i - n)]};
            return {r.kind, name};
        }
        n += size;
    }
    return {Target::None, name};
}

// The delayInfCpt statement of 'name', or null.
static N GetDelayInfCpt(cn const& body, char const* name) {
    for (N const& s : GetTopStatements(body))
        if (s && s->type == CN_DELAYINFCPT && s->child1 && s->child1->name == name) return s;
    return N();
}

static NV GetDoseStatements(cn const& body, int level) {
    CNodeType kind = level == 1 ? CN_DOSEPOINT : CN_DOSEPOINT2;
    NV out;
    for (N const& s : GetTopStatements(body))
        if (s && s->type == kind) out.push_back(s);
    return out;
}

// 		_tlag = tlag < 0.0 ? 0.0 : double(tlag);
// 		_bio = F;
static void GenLagAndBio(FILE* fp, N const& d) {
    if (d->child1) {
        fprintf(fp, "\t\t_tlag = ");
        GenC(d->child1, fp);
        fprintf(fp, " < 0.0 ? 0.0 : double(");
        GenC(d->child1, fp);
        fprintf(fp, ");\n");
    }
    if (d->child4) {
        fprintf(fp, "\t\t_bio = ");
        GenC(d->child4, fp);
        fprintf(fp, ";\n");
    }
}

// 		double _c = (double)shape; ... a table of past doses, or a short infusion from a
// shape 		of 100 on.
static void GenDelayPreamble(FILE* fp, N const& cpt) {
    fprintf(fp, "\t\tdouble _c = (double)");
    GenC(cpt->child3, fp);
    fprintf(fp, ";\n");
    fprintf(fp, "\t\tdouble _lgammc = lgamm(_c);\n");
    fprintf(fp, "\t\tdouble _gammc = exp(_lgammc);\n");
    fprintf(fp, "\t\tif (_c < %f){\n", 100.0);
    fprintf(fp, "\t\t\t_delayTable_%d.iDoseMode = DBM_DOSE_TABLE;\n", cpt->iDelayTable);
    fprintf(fp, "\t\t} else {\n");
    fprintf(fp, "\t\t\t_delayTable_%d.iDoseMode = DBM_SHORT_INFUSION;\n", cpt->iDelayTable);
    fprintf(fp, "\t\t}\n");
}

// The start, its mark and the end of an infusion with a dual payload. 'iv' gives the comments
// of schedule_iv.
static void GenInfusionGroup(FILE* fp, int level, bool iv) {
    fprintf(fp, "\t\tNUM _dualRate = _rate * _bio;\n");
    fprintf(fp,
            "\t\t           _pos = insert_action(_tRel              , 0, ZZACTION_DOSETIME);\t\t// "
            "%s\n",
            iv ? "mark dose time" : "mark dose requested time");
    fprintf(fp,
            "\t\t                  insert_action(_tRel + _tlag      , 0, ZZACTION_INFSTRT%d, "
            "make_action_data(_iCpt, _dualRate), _pos);\t// start inf with dual payload\n",
            level);
    fprintf(fp,
            "\t\tif (_mark) _pos = insert_action(_tRel              , 0,   ZZMARK_INFSTRT%d, "
            "make_action_data(_iCpt, _amt, _rate), _pos);\t\t// %s\n",
            level, iv ? "start/end inf" : "mark start/end inf");
    fprintf(fp,
            "\t\t                  insert_action(_tRel + _tlag + _dt, 0,  ZZACTION_INFEND%d, "
            "make_action_data(_iCpt, _dualRate), _pos);\t// end inf with dual payload\n",
            level);
}

// The whole amount at once with its rate, which a delay table spreads itself. 'amount' is the
// text of the amount, 'iv' gives the comments of schedule_iv.
static void GenSingleDoseGroup(FILE* fp, int level, char const* amount, bool iv) {
    fprintf(fp,
            "\t\t    _pos = insert_action(_tRel              , 0, ZZACTION_DOSETIME);\t\t// %s\n",
            iv ? "mark dose time" : "mark dose requested time");
    fprintf(fp,
            "\t\t           insert_action(_tRel + _tlag      , 0, ZZACTION_BOLUS%d, "
            "make_action_data(_iCpt, %s, _rate), _pos);\t// single dose inf\n",
            level, amount);
    fprintf(fp,
            "\t\tif (_mark) insert_action(_tRel              , 0, ZZMARK_INFSTRT%d, "
            "make_action_data(_iCpt, _amt, _rate), _pos);\t\t// %s\n",
            level, iv ? "start/end inf" : "mark start/end inf");
}

// A bolus: the dose time, the bolus with its dual payload after the lag, and its mark.
static void GenPlainBolus(FILE* fp, int level) {
    fprintf(fp, "        NUM _dualAmt = _amt * _bio;\n");
    fprintf(fp, "\t\tint _pos = 0;\n\n");
    fprintf(fp, "\t\t    _pos = insert_action(_tRel        , 0, ZZACTION_DOSETIME);\t\t// mark "
                "dose requested time\n");
    fprintf(fp,
            "\t\t           insert_action(_tRel + _tlag, 0, ZZACTION_BOLUS%d, "
            "make_action_data(_iCpt, _dualAmt), _pos);\t\t// bolus with dual payload\n",
            level);
    fprintf(fp,
            "        if (_mark) insert_action(_tRel        , 0,   ZZMARK_BOLUS%d, "
            "make_action_data(_iCpt, _amt, 0), _pos);\t\t// mark bolus requested time\n",
            level);
}

// A bolus into a delay table: a dose of the table, or a short infusion.
static void GenDelayTableBolus(FILE* fp, int level, int table) {
    fprintf(fp, "\t\tif (0){\n");
    fprintf(fp, "\t\t} else if (_delayTable_%d.iDoseMode == DBM_DOSE_TABLE){\n", table);
    fprintf(fp, "\t\t    int _pos = 0;\n\n");
    fprintf(fp, "\t\t\t    _pos = insert_action(_tRel        , 0, ZZACTION_DOSETIME);\t\t// "
                "mark dose requested time\n");
    fprintf(fp,
            "\t\t\t           insert_action(_tRel + _tlag, 0, ZZACTION_BOLUS%d, "
            "make_action_data(_iCpt, _amt * (double)_bio, _NA), _pos);    // bolus\n",
            level);
    fprintf(fp,
            "\t\t\tif (_mark) insert_action(_tRel        , 0,   ZZMARK_BOLUS%d, "
            "make_action_data(_iCpt, _amt, 0), _pos);             // mark bolus requested time\n",
            level);
    fprintf(fp, "\t\t} else if (_delayTable_%d.iDoseMode == DBM_SHORT_INFUSION){\n", table);
    fprintf(fp, "\t\t\t_dt = %e;\n", 0.001);
    fprintf(fp, "\t\t\t_rate = _amt / _dt;\n");
    fprintf(fp, "\t\t    int _pos = 0;\n\n");
    fprintf(fp, "\t\t\t           _pos = insert_action(_tRel              , 0, "
                "ZZACTION_DOSETIME);\t\t// mark dose requested time\n");
    fprintf(fp,
            "\t\t\t                  insert_action(_tRel + _tlag      , 0, ZZACTION_INFSTRT%d, "
            "make_action_data(_iCpt, _rate * (double)_bio, 0), _pos);\t// start/end inf\n",
            level);
    fprintf(fp,
            "\t\t\tif (_mark) _pos = insert_action(_tRel              , 0,   ZZMARK_INFSTRT%d, "
            "make_action_data(_iCpt, _amt, _rate), _pos);\t\t// mark start/end inf\n",
            level);
    fprintf(fp,
            "\t\t\t                  insert_action(_tRel + _tlag + _dt, 0,  ZZACTION_INFEND%d, "
            "make_action_data(_iCpt, _rate * (double)_bio, 0), _pos);\n",
            level);
    fprintf(fp, "\t\t} else {\n");
    fprintf(fp, "\t\t\t// shouldn't get here\n");
    fprintf(fp, "\t\t}\n");
}

// 		_dt = (double)d;  ... or with a rate: _rate = (double)r; ... then the group.
static void GenTimedDose(FILE* fp, N const& d, int level, N const& cpt) {
    if (cpt) GenDelayPreamble(fp, cpt);
    if (d->child2) {
        fprintf(fp, "\t\t_dt = (double)");
        GenC(d->child2, fp);
        fprintf(fp, ";\n\n");
        fprintf(fp, "\t\tif (_dt <= 0) return;\n\n");
        fprintf(fp, "\t\t_rate = _amt / _dt;\n\n");
        fprintf(fp, "\t\tif (_rate <= 0) return;\n\n");
    } else {
        fprintf(fp, "\t\t_rate = (double)");
        GenC(d->child3, fp);
        fprintf(fp, ";\n");
        fprintf(fp, "\t\tif (_rate <= 0) return;\n\n");
        fprintf(fp, "\t\t_dt = _amt / _rate;\n\n");
        fprintf(fp, "\t\tif (_dt <= 0) return;\n\n");
    }
    fprintf(fp, "\t\tint _pos = 0;\n\n");
    if (!cpt) return GenInfusionGroup(fp, level, false);
    GenSingleDoseGroup(fp, level, d->child2 ? "_amt * (double)_bio" : "(double)(_amt * _bio)",
                       false);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::schedule_bolus1(int _mark, double _tRel, int _iCpt, double _amt, ...)
// { ... a branch per dose statement of the level ... }
static void GenScheduleBolus(CGenCode const& g, int level) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp,
            "void MODEL_CLASS_DECL::schedule_bolus%d(int _mark, double _tRel, int _iCpt, double "
            "_amt, int _addl)\n{\n",
            level);
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tdouble _tlag = 0;\n");
    fprintf(fp, "\tdouble _rate = 1, _dt = 1;\n");
    fprintf(fp, "\tNUM _bio(1);\n");
    fprintf(fp, "\tif (0){\n");
    for (N const& d : GetDoseStatements(g.pBody, level)) {
        fprintf(fp, "\t} else if (_iCpt==%d){\n", g.GetCompartmentNumber(d->name));
        if (d->doseOption && d->doseOption->idosevar[0])
            fprintf(fp, "\t\tif (%s == 0) %s = _amt;\n\n", C(d->doseOption->idosevar),
                    C(d->doseOption->idosevar));
        GenLagAndBio(fp, d);
        N cpt = GetDelayInfCpt(g.pBody, d->name);
        if (d->child2 || d->child3)
            GenTimedDose(fp, d, level, cpt);
        else if (!cpt)
            GenPlainBolus(fp, level);
        else {
            GenDelayPreamble(fp, cpt);
            GenDelayTableBolus(fp, level, cpt->iDelayTable);
        }
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n\n");
}

// 		if (D == 0 && R == 0){D = _amt; R = _rate;}
static void GenInfusionVariables(FILE* fp, CDoseVarOption const* o) {
    if (!o) return;
    char const* dose = o->infdosevar;
    char const* rate = o->infratevar;
    if (dose[0] && rate[0]) {
        fprintf(fp, "\t\tif (%s == 0 && %s == 0){%s = _amt; %s = _rate;}\n\n", dose, rate, dose,
                rate);
        return;
    }
    if (dose[0]) fprintf(fp, "\t\tif (%s == 0) %s = _amt;\n\n", dose, dose);
    if (rate[0]) fprintf(fp, "\t\tif (%s == 0) %s = _rate;\n\n", rate, rate);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::schedule_iv1(int _mark, double _tRel, int _iCpt, double _amt, ...)
// { ... the rate comes with the dose ... }
static void GenScheduleIV(CGenCode const& g, int level) {
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp,
            "void MODEL_CLASS_DECL::schedule_iv%d(int _mark, double _tRel, int _iCpt, double "
            "_amt, double _rate, int _addl)\n{\n",
            level);
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tif (_rate <= 0) return;\n\n");
    fprintf(fp, "\tdouble _dt = _amt / _rate;\n\n");
    fprintf(fp, "\tif (_dt <= 0) return;\n\n");
    fprintf(fp, "\tdouble _tlag = 0;\n");
    fprintf(fp, "\tNUM _bio(1);\n");
    fprintf(fp, "\tif (0){\n");
    for (N const& d : GetDoseStatements(g.pBody, level)) {
        fprintf(fp, "\t} else if (_iCpt==%d){\n", g.GetCompartmentNumber(d->name));
        N cpt = GetDelayInfCpt(g.pBody, d->name);
        if (cpt) GenDelayPreamble(fp, cpt);
        GenInfusionVariables(fp, d->doseOption.get());
        GenLagAndBio(fp, d);
        fprintf(fp, "\t\tint _pos = 0;\n\n");
        if (cpt)
            GenSingleDoseGroup(fp, level, "_amt * (double)_bio", true);
        else
            GenInfusionGroup(fp, level, true);
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n");
}

enum class Perform { Bolus, InfStart, InfEnd };

// The delay table sees the old rate up to now and the new one after it: deriv runs on both
// sides of the change.
static void GenDelayRateChange(FILE* fp, char const* name, bool increase) {
    fprintf(fp, "            int _bOnTrajectorySave = _bOnTrajectory; _bOnTrajectory = TRUE;\n");
    fprintf(fp, "            // get old value entered into delay tables\n");
    fprintf(fp, "            eval_sparams(zzY);\n");
    fprintf(fp, "            deriv(_dt, zzY, zzR);\n");
    fprintf(fp, increase ? "            // increase infusion rate\n"
                         : "            // decrease infusion rate\n");
    fprintf(fp, increase ? "            _%s_irate += _dv;\n" : "            _%s_irate -= _dv;\n",
            name);
    fprintf(fp, "            // get new value entered into delay tables\n");
    fprintf(fp, "            eval_sparams(zzY);\n");
    fprintf(fp, "            deriv(_dt, zzY, zzR);\n");
    fprintf(fp, "            _bOnTrajectory = _bOnTrajectorySave;\n");
}

// Delay tables and transit chains take no dual payload.
static void GenGuarded(FILE* fp, N const& d, DoseTarget t, Perform p, cn const& body) {
    fprintf(fp, "        if constexpr (!DataType::is_dual)\n");
    fprintf(fp, "        {\n");
    if (t.kind == Target::Transit) {
        if (p == Perform::Bolus) fprintf(fp, "            AddBolus_%s(_dv, zzY);\n", t.machine);
        if (p == Perform::InfStart) fprintf(fp, "            _%s_irate += _dv;\n", t.machine);
        if (p == Perform::InfEnd) fprintf(fp, "            _%s_irate -= _dv;\n", t.machine);
    } else if (p == Perform::Bolus) {
        N cpt = GetDelayInfCpt(body, d->name);
        int table = cpt ? cpt->iDelayTable : -1;
        fprintf(fp, "            double _rate = data.arg2;\n");
        fprintf(fp, "            if (_delayTable_%d.iDoseMode == DBM_DOSE_TABLE){\n", table);
        fprintf(fp, "                _delayTable_%d.insertDose(curTime, _dv, _rate);\n", table);
        fprintf(fp, "            }\n");
    } else {
        GenDelayRateChange(fp, d->name, p == Perform::InfStart);
    }
    fprintf(fp, "        }\n");
}

// The change of state of one dose statement, by the range of its compartment.
static void GenStateChange(FILE* fp, N const& d, DoseTarget t, Perform p, cn const& body) {
    static char const* const sign[] = {"", "", "-"};
    int k = int(p);
    switch (t.kind) {
        case Target::Integrator:
            if (p == Perform::Bolus) fprintf(fp, "\t\tzzY[_iCpt] += _dv;\n");
            if (p == Perform::InfStart) fprintf(fp, "\t\tglobalIRate[_iCpt] += _dv;\n");
            if (p == Perform::InfEnd) fprintf(fp, "\t\tglobalIRate[_iCpt] -= _dv;\n");
            return;
        case Target::Central:
        case Target::Central2:
            if (p == Perform::Bolus)
                fprintf(fp, "\t\tCF2AddVal1<NUM>(_cf_%s, _dv);\n", t.machine);
            else
                fprintf(fp, "\t\tCF2AddRate1<NUM>(_cf_%s, %s_dv);\n", t.machine, sign[k]);
            return;
        case Target::Depot:
            if (p == Perform::Bolus)
                fprintf(fp, "\t\tCF2AddValA<NUM>(_cf_%s, _dv);\n", t.machine);
            else
                fprintf(fp, "\t\tCF2AddRateA<NUM>(_cf_%s, %s_dv);\n", t.machine, sign[k]);
            return;
        case Target::DelayTable:
        case Target::Transit: return GenGuarded(fp, d, t, p, body);
        case Target::None: return;
    }
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::perform_bolus1(double _dt, const ActionTicket & action)
// { ... a branch per dose statement: before-dose action, change of state, after-dose action }
static void GenPerform(CGenCode const& g, int level, Perform p) {
    static char const* const names[] = {"bolus", "inf_start", "inf_end"};
    FILE* fp = g.fp;
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::perform_%s%d(double _dt, const ActionTicket & action)\n{\n",
            names[int(p)], level);
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tusing DataType = ActionData<NUM>;\n");
    fprintf(fp, "\tconst DataType & data = get_data<NUM>(action);\n");
    fprintf(fp, "\tint _iCpt = data.iarg;\n");
    fprintf(fp, "\tNUM _dv = data.arg1;\n");
    fprintf(fp, "\tNUM * zzR = globalR;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    fprintf(fp, "\tlong _neq = 0;\n");
    fprintf(fp, "\tif (odeState == ODESTATE_UNDERWAY)\n\t\todeState = ODESTATE_CHANGE;\n");
    fprintf(fp, "\tif (0)\n\t{\n\t}\n");
    for (N const& d : GetDoseStatements(g.pBody, level)) {
        int cpt = g.GetCompartmentNumber(d->name);
        if (p == Perform::InfEnd)
            fprintf(fp, "    else if (_iCpt==%d)\n   {\n", cpt); // three blanks, as always
        else
            fprintf(fp, "    else if (_iCpt==%d)\n    {\n", cpt);
        N before = d->appendix ? d->appendix->dobefore : N();
        N after = d->appendix ? d->appendix->doafter : N();
        if (before && p != Perform::InfEnd) {
            fprintf(fp, "\t\t// do before-dose action\n");
            g.GenActionCode(before, 3, true);
            fprintf(fp, "\t\teval_sparams(zzY);\n");
        }
        GenStateChange(fp, d, GetDoseTarget(g, d->name, cpt), p, g.pBody);
        if (after && p != Perform::InfStart) {
            fprintf(fp, "\t\t// do after-dose action\n");
            g.GenActionCode(after, 3, true);
            fprintf(fp, "\t\teval_sparams(zzY);\n");
        }
        fprintf(fp, "\t}\n");
    }
    fprintf(fp, "}\n\n");
}

// schedule_bolus, schedule_iv, perform_bolus, perform_inf_start and perform_inf_end of one dose
// level: 1 for dosepoint, 2 for dosepoint2.
void CGenCode::GenDosingSubroutines(int level) {
    GenScheduleBolus(*this, level);
    GenScheduleIV(*this, level);
    GenPerform(*this, level, Perform::Bolus);
    GenPerform(*this, level, Perform::InfStart);
    GenPerform(*this, level, Perform::InfEnd);
}

// 		if (0){
// 		} else if (_delayTable_0.iDoseMode == DBM_DOSE_TABLE){ ... insertDose ...
// 		} else if (_delayTable_0.iDoseMode == DBM_SHORT_INFUSION){ ... a short infusion ...
static void GenAddToDelayTable(FILE* fp, int table) {
    fprintf(fp, "\t\tif (0){\n");
    fprintf(fp, "\t\t} else if (_delayTable_%d.iDoseMode == DBM_DOSE_TABLE){\n", table);
    fprintf(fp, "\t\t\t_delayTable_%d.insertDose(curTime, _dv, _NA);\n", table);
    fprintf(fp, "\t\t} else if (_delayTable_%d.iDoseMode == DBM_SHORT_INFUSION){\n", table);
    fprintf(fp, "\t\t\tdouble _dt = %e, _rate = _dv/_dt;\n", 0.001);
    fprintf(fp,
            "\t\t\tint _pos = insert_action(0.0      , 0, ZZACTION_INFSTRT%d, "
            "make_action_data(_iCpt, _rate, 0));\t\t// start/end inf\n",
            1);
    fprintf(fp,
            "\t\t\tinsert_action(0.0 + _dt, 0, ZZACTION_INFEND%d,  make_action_data(_iCpt, _rate, "
            "0), _pos);\n",
            1);
    fprintf(fp, "\t\t} else {\n");
    fprintf(fp, "\t\t}\n");
}

// The compartment a top-level statement names, or null.
static char const* CompartmentOf(N const& s) {
    if (!s) return nullptr;
    switch (s->type) {
        case CN_DERIV:
        case CN_URINECPT:
        case CN_TRANSIT:
        case CN_DELAYINFCPT: return s->child1 ? (char const*)s->child1->name : nullptr;
        case CN_CFMICRO:
        case CN_CFMACRO1:
        case CN_CFMACRO: return s->name;
        default: return nullptr;
    }
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::add_to_cpt(int _iCpt, double _dv)
// { ... an amount added at once to the compartment of that number ... }
void CGenCode::GenAddToCpt() {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::add_to_cpt(int _iCpt, double _dv)\n{\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    fprintf(fp, "\tif (odeState == ODESTATE_UNDERWAY)\n\t\todeState = ODESTATE_CHANGE;\n\n");
    fprintf(fp, "\tif (0){\n");
    std::unordered_map<std::string, int> const numbers = GetCompartmentNumbers();
    for (N const& s : GetTopStatements(pBody)) {
        char const* name = CompartmentOf(s);
        if (!name) continue;
        auto at = name[0] ? numbers.find(name) : numbers.end();
        int const cpt = at == numbers.end() ? -1 : at->second;
        fprintf(fp, "\t} else if (_iCpt==%d){\n", cpt);
        DoseTarget t = GetDoseTarget(*this, name, cpt);
        switch (t.kind) {
            case Target::Integrator: fprintf(fp, "\t\tzzY[_iCpt] += _dv;\n"); break;
            case Target::Central:
            case Target::Central2:
                fprintf(fp, "\t\tCF2AddVal1<NUM>(_cf_%s, _dv);\n", t.machine);
                break;
            case Target::Depot:
                fprintf(fp, "\t\tCF2AddValA<NUM>(_cf_%s, _dv);\n", t.machine);
                break;
            case Target::Transit: fprintf(fp, "\t\tAddBolus_%s(_dv, zzY);\n", t.machine); break;
            case Target::DelayTable: GenAddToDelayTable(fp, s->iDelayTable); break;
            case Target::None: break;
        }
    }
    fprintf(fp, "\t}\n");
    fprintf(fp, "}\n");
}
