// The two files of the trial program: the layout of cohort.h and cohort.cpp, with the global
// declarations that one header both declares and, in cohort.cpp, defines. The classes of the
// models and procedures are written into this frame by their own generators.
#include "driver/driver.h"
#include "trialgen/cohort_templates.h"
#include "trialgen/trialgen.h"

bool CGenCode3::OpenFiles(char const* sourcePath, char const* headerPath) {
    fpSource = OpenOutputFile(sourcePath, "wb");
    fpHeader = fpSource ? OpenOutputFile(headerPath, "wb") : nullptr;
    if (fpHeader) return true;
    CloseFiles();
    return false;
}

void CGenCode3::CloseFiles() {
    if (fpSource) CloseOutputFile(fpSource);
    if (fpHeader) CloseOutputFile(fpHeader);
    fpSource = fpHeader = nullptr;
}

int CGenCode3::AddClassName(char const* name) {
    saClassNames.push_back(name);
    return int(saClassNames.size()) - 1;
}

// #ifdef IN_COHORT
// 	#define DECLARE_GLOBAL_SCALAR(typ,nm,val) typ nm = val
// ...
// #endif
void CGenCode3::GenGlobalDeclarationMacros() {
    fprintf(fpHeader, "#ifdef IN_COHORT\n");
    fprintf(fpHeader, "\t#define DECLARE_GLOBAL_SCALAR(typ,nm,val) typ nm = val\n");
    fprintf(fpHeader, "\t#define DECLARE_GLOBAL_VECTOR(typ,nm,siz) typ nm[siz]\n");
    fprintf(fpHeader, "\tint _i;\n");
    fprintf(fpHeader, "#else\n");
    fprintf(fpHeader, "\t#define DECLARE_GLOBAL_SCALAR(typ,nm,val) extern typ nm\n");
    fprintf(fpHeader, "\t#define DECLARE_GLOBAL_VECTOR(typ,nm,siz) extern typ nm[siz]\n");
    fprintf(fpHeader, "\textern int _i;\n");
    fprintf(fpHeader, "#endif\n");
}

// #include "dir\\name.h": a backslash or a double quote in the name gets a backslash
void CGenCode3::GenIncludes(NV const& includes) {
    for (N const& file : includes) {
        fprintf(fpHeader, "#include \"");
        for (char const* c = file->name; *c; c++) {
            if (*c == '\\' || *c == '"') fputc('\\', fpHeader);
            fputc(*c, fpHeader);
        }
        fprintf(fpHeader, "\"\n");
    }
}

// DECLARE_GLOBAL_SCALAR(int,iScen,0);
// static int nSubj;
// static double dose;
void CGenCode3::GenGlobals(NV const& ints, NV const& doubles) {
    fprintf(fpHeader, "DECLARE_GLOBAL_SCALAR(int,iScen,0);\n");
    fprintf(fpHeader, "DECLARE_GLOBAL_SCALAR(int,iRep,0);\n");
    for (N const& var : ints)
        if (var->name != "iScen" && var->name != "iRep")
            fprintf(fpHeader, "static int %s;\n", (char const*)var->name);
    for (N const& var : doubles)
        fprintf(fpHeader, "static double %s;\n", (char const*)var->name);
}

// // cohort.h
// #ifndef COHORT_H_INCLUDED
// ...
// class subject;
void CGenCode3::GenCohortHeaderTop(char const* headerPath, NV const& includes, NV const& ints,
                                   NV const& doubles) {
    fprintf(fpHeader, "// %s\n", headerPath);
    fprintf(fpHeader, "#ifndef COHORT_H_INCLUDED\n");
    fprintf(fpHeader, "#define COHORT_H_INCLUDED\n");
    GenGlobalDeclarationMacros();
    fprintf(fpHeader, "#include \"math.h\"\n");
    fprintf(fpHeader, "#include \"StateMachine.h\"\n");
    fprintf(fpHeader, "#include \"DataReader.h\"\n");
    fprintf(fpHeader, "\n");
    GenIncludes(includes);
    fprintf(fpHeader, "#define DISP0 ;\n");
    for (int i = 1; i <= 2; i++) // resume points of one- and two-state dose machines
        fprintf(fpHeader, "#define DISP%d if (iState==%d) goto L%d; else DISP%d\n", i, i, i, i - 1);
    GenGlobals(ints, doubles);
    fprintf(fpHeader, "#define MAXSSVEC 1000\n");
    fputs(ssStateClass, fpHeader);
    fprintf(fpHeader, "class subject;\n");
}

// // cohort.cpp
//
// #include "StdAfx.h"
// ...
// #include "cohort.h"
void CGenCode3::GenCohortSourceTop(char const* sourcePath, char const* headerPath) {
    fprintf(fpSource, "// %s\n", sourcePath);
    fprintf(fpSource, "\n");
    fprintf(fpSource, "#include \"StdAfx.h\"\n");
    fprintf(fpSource, "#include \"RTL.h\"\n");
    fprintf(fpSource, "#include \"MatrixInvert.h\"\n");
    fprintf(fpSource, "#include \"Serializable.h\"\n");
    fprintf(fpSource,
            "// following line stops math.h from defining old bessel functions like y1, etc.\n");
    fprintf(fpSource, "#define _NO_OLDNAMES\n");
    fprintf(fpSource, "#define  NO_OLDNAMES\n");
    fprintf(fpSource, "#include <math.h>\n");
    fprintf(fpSource, "#include <stdlib.h> // for rand()\n");
    fprintf(fpSource, "#include <string.h>\n");
    fprintf(fpSource, "#undef  _NO_OLDNAMES\n");
    fprintf(fpSource, "#undef   NO_OLDNAMES\n");
    fprintf(fpSource, "#include \"PKPDModel.h\"\n");
    fprintf(fpSource, "#include \"StateMachine.h\"\n");
    fprintf(fpSource, "#define IN_COHORT\n");
    fprintf(fpSource, "#include \"%s\"\n", headerPath);
}

// Header and source grow side by side: a class's declarations go to cohort.h while the bodies
// of its routines go to cohort.cpp. The samplers' declarations, the model classes with their
// routines and the procedure classes take their places between the tops and the routines of
// subject; the Run functions of the procedures follow the steady-state routines. Whom each
// procedure starts or calls is checked first, so that a refused script leaves no file.
void CGenCode3::GenCohortExe(char const* sourcePath, char const* headerPath, NV const& includes,
                             NV const& models, NV const& joins, NV const& procs, NV const& ints,
                             NV const& doubles, String const& sTimeText) {
    pJoins = joins;
    sTimeUnits = sTimeText;
    CheckCohortProcCalls(procs);
    if (!OpenFiles(sourcePath, headerPath)) return;
    GenCohortHeaderTop(headerPath, includes, ints, doubles);
    GenCohortSourceTop(sourcePath, headerPath);
    DefineSamplers(fpHeader);
    for (N const& model : models)
        GenCohortModelClass(model, model->child1->name);
    for (N const& proc : procs)
        GenCohortProcClass(proc, joins, models, "\t");
    for (int code = 1; code <= 21; code++)
        GenCohortMiscRoutineOverAllModels(joins, code);
    GenCohortSSRoutines();
    for (N const& proc : procs)
        GenCohortProcRunFunction(proc, "\t", joins, models, ints, procs);
    fprintf(fpHeader, "#endif // COHORT_H_INCLUDED\n");
    std::vector<SettableVar> vars = GetSettableVarList(models, ints, doubles);
    GenGetSettableVars(vars);
    GenSetSettableVar(vars);
    GenCallMain();
    CloseFiles();
}
