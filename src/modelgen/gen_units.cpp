// GetVarUnits, the routine by which the engine learns the units the translator inferred for
// each variable: unit expressions printed as calls of the engine's unit routines over the
// base units that the engine sets in the _X_Units slots.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"

// _units_Mul(_A1_Units,_t_Units)
static void GenUnitsCall(FILE* fp, char const* fn, cn const& a, cn const& b) {
    fprintf(fp, "%s(", fn);
    GenUnitsCode(a, fp);
    if (b) {
        fprintf(fp, ",");
        GenUnitsCode(b, fp);
    }
    fprintf(fp, ")");
}

// _units_Div(_A1_Units,_CObs_Units)
void GenUnitsCode(cn const& u, FILE* fp) {
    switch (u->type) {
        case CN_NUM: fprintf(fp, "__NumberString(%g)", u->value); return;
        case CN_UNIT_TIME: fprintf(fp, "_t_Units"); return;
        case CN_UNIT_NAME: fprintf(fp, "_%s_Units", C(u->name)); return;
        case CN_UNIT_MUL: GenUnitsCall(fp, "_units_Mul", u->child1, u->child2); return;
        case CN_UNIT_DIV: GenUnitsCall(fp, "_units_Div", u->child1, u->child2); return;
        case CN_UNIT_LOG: GenUnitsCall(fp, "_units_Log", u->child1, nullptr); return;
        case CN_UNIT_EXP: GenUnitsCall(fp, "_units_Exp", u->child1, nullptr); return;
        default: return;
    }
}

// V: _units_Div(_A1_Units,_CObs_Units)
void PrintUnits(FILE* fp, char const* name, cn const& u) {
    fprintf(fp, "%s: ", name);
    GenUnitsCode(u, fp);
    fprintf(fp, "\r\n");
}

// Whether every base unit of 'u' has its _X_Units declared; the time unit's slot is "t".
static bool HasSlots(cn const& u, SV const& slots) {
    if (!u) return true;
    if (u->type == CN_UNIT_TIME) return MemberOf("t", slots) >= 0;
    if (u->type == CN_UNIT_NAME) return MemberOf(u->name, slots) >= 0;
    return HasSlots(u->child1, slots) && HasSlots(u->child2, slots);
}

// The lines that end each test of a name in GetVarUnits.
static void GenUnitsReturn(FILE* fp) {
    fprintf(fp, "        strcpy(_units, _p);\n");
    fprintf(fp, "        return;\n");
    fprintf(fp, "    }\n");
}

// void GetVarUnits(const char* _nm, char* _units){
// 	const char* _p = nullptr;
// 	_units[0] = 0;
//     if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
//     {
//         _p = _units_Div(_A1_Units,_CObs_Units);
//         strcpy(_units, _p);
//         return;
//     }
// ...
// }
void GenUnitsRoutines(FILE* fp, SV& names, NV& table, int bTime, SV const& slots) {
    fprintf(fp, "void GetVarUnits(const char* _nm, char* _units){\n");
    fprintf(fp, "\tconst char* _p = nullptr;\n");
    fprintf(fp, "\t_units[0] = 0;\n");
    for (size_t i = 0; i < names.size(); i++) {
        if (!table[i]) continue;
        table[i]->SimpUnits();
        if (!HasSlots(table[i], slots)) continue;
        if_statement(fp, names[i], false);
        fprintf(fp, "        _p = ");
        GenUnitsCode(table[i], fp);
        fprintf(fp, ";\n");
        GenUnitsReturn(fp);
    }
    if (bTime) {
        if_statement(fp, "t", true);
        fprintf(fp, "        _p = _%s_Units;\n", "t");
        GenUnitsReturn(fp);
    }
    fprintf(fp, "}\n");
    fprintf(fp, "\n");
}

// Infers the units of the model's variables, with the structural parameters and fixed effects
// tied as their statements say, and prints GetVarUnits.
void CGenCode::GenVarUnits() {
    SV names;
    NV table;
    PropagateUnits(pBody, saStruct, saFixef, "", names, table);
    GenUnitsRoutines(fp, names, table, bTimeBased, GetUnitSlots(*this));
}
