// What the engine may set by name before a run, with the routines that list and set those
// names, and the entry that makes the main procedure.
#include "analysis/analysis.h"
#include "trialgen/trialgen.h"

#include <cstdint>

static void AddSettable(std::vector<SettableVar>& vars, std::string name, bool bInt) {
    vars.push_back({std::move(name), bInt});
}

// A model's inflation factors, then for each fixed effect its global and its scale and shift.
static void AddModelSettables(N const& model, std::vector<SettableVar>& vars) {
    std::string m = (char const*)model->child1->name;
    for (char const* factor :
         {"FixefInflationFactor", "ErrorInflationFactor", "RanefInflationFactor"})
        AddSettable(vars, m + "::" + factor, false);
    SV units, fixefs;
    std::vector<unsigned short> frozen;
    std::vector<int64_t> enable;
    std::vector<double> init;
    CollectFixef(model, units, fixefs, frozen, enable, init);
    for (String const& f : fixefs) {
        AddSettable(vars, m + "_" + (char const*)f, false);
        AddSettable(vars, m + "::SCALE" + (char const*)f, false);
        AddSettable(vars, m + "::DELTA" + (char const*)f, false);
    }
}

// iScen and iRep stand first; a global int of the same name is not listed again.
std::vector<SettableVar> GetSettableVarList(NV const& models, NV const& ints, NV const& doubles) {
    std::vector<SettableVar> vars;
    AddSettable(vars, "iScen", true);
    AddSettable(vars, "iRep", true);
    for (N const& var : doubles)
        AddSettable(vars, (char const*)var->name, false);
    for (N const& var : ints)
        if (var->name != "iScen" && var->name != "iRep")
            AddSettable(vars, (char const*)var->name, true);
    for (N const& model : models)
        AddModelSettables(model, vars);
    return vars;
}

// void GetSettableVars(CStringArray& sa){
// 	sa.clear();
// 	sa.push_back("iScen");
// }
void CGenCode3::GenGetSettableVars(std::vector<SettableVar> const& vars) {
    fprintf(fpSource, "void GetSettableVars(CStringArray& sa){\n");
    fprintf(fpSource, "\tsa.clear();\n");
    for (SettableVar const& v : vars)
        fprintf(fpSource, "\tsa.push_back(\"%s\");\n", v.name.c_str());
    fprintf(fpSource, "}\n");
}

// void SetSettableVar(LPCTSTR sVar, double dVal){
// 	if (0);
// 	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
// }
void CGenCode3::GenSetSettableVar(std::vector<SettableVar> const& vars) {
    fprintf(fpSource, "void SetSettableVar(LPCTSTR sVar, double dVal){\n");
    fprintf(fpSource, "\tif (0);\n");
    for (SettableVar const& v : vars) {
        char const* name = v.name.c_str();
        if (v.bInt)
            fprintf(fpSource, "\telse if (strcmp(\"%s\", sVar)==0) %s = (int)dVal;\n", name, name);
        else
            fprintf(fpSource, "\telse if (strcmp(\"%s\", sVar)==0) %s = dVal;\n", name, name);
    }
    fprintf(fpSource, "}\n");
}

// StateMachine* CallMain(){
// 	return new main(0, -1);
// }
void CGenCode3::GenCallMain() {
    fprintf(fpSource, "StateMachine* CallMain(){\n");
    fprintf(fpSource, "\treturn new main(0, -1);\n");
    fprintf(fpSource, "}\n");
}
