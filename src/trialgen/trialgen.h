// Public header of the trial program generator: CGenCode3 writes cohort.h and cohort.cpp from
// the lists of a trial script, a simulation program of classes on the run-time library's
// state machines; and the look-ups of models and model instances that its parts share.
#pragma once

#include "expr/expr.h"

#include <cstdio>
#include <string>
#include <vector>

// Where a routine of the random draws is being written.
enum CGenCodePass {
    PassFileScope = 0,       // in cohort.h ahead of the model's class
    PassClassDecl = 1,       // in the class body
    PassStaticDef = 2,       // in cohort.cpp, definitions of static members
    PassInitGlobal = 3,      // in InitGlobal
    PassInitScenario = 4,    // in InitScenario
    PassInitReplicate = 5,   // in InitReplicate
    PassInitSubject = 6,     // in InitSubject
    PassInitObservation = 7, // in InitObservation, the epsilon draws
    PassProcStep = 8,        // in a procedure's Run
};

// A name the engine may set before a run; ints are converted from the double given.
struct SettableVar {
    std::string name;
    bool bInt;
};

class CGenCode3 {
  public:
    FILE* fpSource = nullptr; // cohort.cpp
    FILE* fpHeader = nullptr; // cohort.h
    SV saClassNames;          // every class generated so far
    String sModelClass;       // the model being written
    N pModelBody;             // its statements

    CGenCode3() = default;
    CGenCode3(CGenCode3 const&) = delete;
    CGenCode3& operator=(CGenCode3 const&) = delete;

    // Writes both files at once; a file that can't be opened ends it without a word.
    void GenCohortExe(char const* sourcePath, char const* headerPath, NV const& includes,
                      NV const& models, NV const& joins, NV const& procs, NV const& ints,
                      NV const& doubles, String const& sTimeUnits);
    // One routine of `subject` over all model instances, 'code' 1 to 21.
    void GenCohortMiscRoutineOverAllModels(NV const& joins, int code);
    // StartSS, vdis and GetSS, the steady-state search of a subject.
    void GenCohortSSRoutines();
    // The type number of a new class: the count of classes before it.
    int AddClassName(char const* name);

    void GenCohortHeaderTop(char const* headerPath, NV const& includes, NV const& ints,
                            NV const& doubles);
    void GenCohortSourceTop(char const* sourcePath, char const* headerPath);
    void GenGetSettableVars(std::vector<SettableVar> const& vars);
    void GenSetSettableVar(std::vector<SettableVar> const& vars);
    void GenCallMain();

  private:
    bool OpenFiles(char const* sourcePath, char const* headerPath);
    void CloseFiles();
    void GenGlobalDeclarationMacros();
    void GenIncludes(NV const& includes);
    void GenGlobals(NV const& ints, NV const& doubles);
    void GenStaticOverModels(NV const& joins, int code);
    void GenOverInstances(NV const& joins, int code);
};

// iScen, iRep, the global doubles and ints, then each model's inflation factors and the
// names by which each of its fixed effects can be set.
std::vector<SettableVar> GetSettableVarList(NV const& models, NV const& ints, NV const& doubles);

// The index of the model so named, searching from the last, or -1.
int FindModelByName(char const* name, NV const& models);
// 1 with the model's name in 'modelName' when a join item declares the instance, else 0.
int GetModelNameFromInstanceName(NV const& joins, char const* instance, String& modelName);
// The model name of the instance, or null.
char const* GetInstanceModelName(char const* instance, NV const& joins);
