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

// One state member of a trial model: what the integrator or the steady-state search carries.
enum StateKind {
    StateInteg,
    StateUrine,
    StateHazard,
    StateDelayInf,
    StateTransit,
    StateClosedForm
};

struct ModelState {
    StateKind kind;
    String name;
    int width; // the stages of a transit chain, 6 for a closed form, else 1
    N stmt;
};

// The state members of a model body in statement order, and its closed forms alone.
std::vector<ModelState> GetModelStates(N const& body);
std::vector<ModelState> GetClosedForms(N const& body);

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

    // One model of the script as a class, with its globals and the bodies of its routines.
    void GenCohortModelClass(N const& model, char const* className);
    void GenCohortUncertaintyPrologue(NV const& stmts);
    void GenCohortFixefCode(CGenCodePass pass);
    void GenCohortRanefCode(CGenCodePass pass);
    void GenCohortErrorCode(CGenCodePass pass);
    void GenCohortDistrCode(CGenCodePass pass, NV const& stmts);
    void GenCohortDistrCode1(CGenCodePass pass, N const& dist, int depth, int index,
                             NV const& vars);
    void GenCohortStateListDecls();
    void GenCohortStateLists();
    void GenCohortResetIntegrators();
    void GenCohortLevelRoutines(NV const& stmts);
    void GenCohortGetRate();
    void GenCohortEvalRoutines(NV const& stmts);

  private:
    bool OpenFiles(char const* sourcePath, char const* headerPath);
    void CloseFiles();
    void GenGlobalDeclarationMacros();
    void GenIncludes(NV const& includes);
    void GenGlobals(NV const& ints, NV const& doubles);
    void GenStaticOverModels(NV const& joins, int code);
    void GenOverInstances(NV const& joins, int code);

    // The model being written: its inputs, the names its class declared, its tables and the
    // lists of its draws.
    NV pModelInputs;
    SV saDeclared;
    int nDelayTables = 0;
    int nPeakTables = 0;
    NV paFixefItems;
    NV paErrorEntries;
    NV laRanefGroups;
    int nIwndf = 0;
    bool bVcvFixef = false;
    std::vector<double> daVcv;

    // The class of a model: its member rows and routine declarations.
    void GenMember(char const* comment, char const* name);
    void GenModelConstructors(NV const& inputs);
    void GenCfProperty(char const* name, char const* cf, char const* acc, char const* what,
                       char const* divisor);
    void GenCfMembers(N const& s);
    void GenTransitMembers(N const& s, int stages);
    void GenParameterMembers(NV const& stmts);
    void GenStateMembers(NV const& stmts);
    void GenAssignedMembers(NV const& stmts);
    void GenModelRoutineDecls();
    void GenModelClassDecl(N const& model, NV const& stmts);

    // Print, Init and the closed-form routines.
    void GenModelPrint();
    void GenModelInit();
    void GenCfForEach(char const* head, int what);
    void GenCfCopyState(bool bSet);
    void GenCfInit();
    void GenCfReInit();
    void GenModelSetupRoutines();

    // The draws of fixed effects, random effects and errors.
    void CheckVcvFixef(N const& vcv);
    int GetGroupSize(size_t g);
    void GenVcvFixefArray(int size);
    void GenFixefClassDecl();
    void GenFixefStaticDefs();
    void GenRanefClassDecl(N const& g, int num, int size);
    void GenFixefDraw();
    void GenOmegaBase(N const& g, int num);
    void GenOmegaPrecision(N const& g, int num);
    void GenWishartDraw(int num, int n);
    void GenDiagonalOmegaDraw(int num, int n);
    void GenOmegaDraw(N const& g, int num, int n);
    void GenEtaDraw(N const& g, int num, int n);
    double GetErrorUncertainty(size_t e);
    void GenErrorBase(size_t e, int num);
    void GenErrorClassDecl(int num, char const* eps);
    void GenErrorPrecision(size_t e, int num);
    void GenErrorDraw(size_t e, int num);
    void GenEpsilonDraw(size_t e, int num);

    // The draws of distrib statements.
    void GenDrawLine(CGenCodePass pass, N const& d, char const* I, char const* x);
    void GenNormalDraw(CGenCodePass pass, N const& d, char const* I, char const* x);
    void GenPlainDraw(CGenCodePass pass, N const& d, char const* I, char const* x);
    void GenLimitsFailure(CGenCodePass pass, char const* I, std::string const& lo,
                          std::string const& hi, bool multi);
    void GenUnivariateDraw(CGenCodePass pass, N const& d, char const* I, char const* x);
    void GenMultivariateDraw(CGenCodePass pass, N const& d, char const* I, int index,
                             NV const& vars);
    void GenCategoryDraw(CGenCodePass pass, N const& d, int depth, int index, NV const& vars);
    void GenDistribDraw(N const& s);

    // The routines of each level of draws and of evaluation.
    void GenModelRoutineHead();
    void GenAssignListLines(NV const& stmts, CNodeType type);
    void GenLevelRoutine(char const* name, CGenCodePass pass);
    void GenInitSubject(NV const& stmts);
    void GenInitObservation();
    void GenCohortDelayCode();

    // The dose, event and sequence machines of the model, each class with its routines.
    SV saPropertyNames; // the model's members that are Property of a closed form
    void GenCohortDosepointClasses(NV const& stmts);
    void GenCohortEventClasses(NV const& stmts);
    void GenCohortSequenceClasses(NV const& stmts);
    void GenCohortSequenceActionCode(N const& s, int& state, int indent);
    void GenMachineHead(char const* machine);
    void GenMachineTail(bool bFinally);
    void GenMachinePrint(char const* machine, bool bCaller);
    void GenMachineFinally(char const* machine, bool bWakeCaller);
    void GenDoseMachineConstructor(char const* machine, bool bInfusion);
    void GenDoseMachineClass(char const* machine, bool bInfusion);
    void GenDoseRecord(char const* x, bool bInfusion);
    void GenDoseGiven(char const* x, bool bInfusion, bool bTransit);
    void GenDoseRun(char const* machine, N const& dose, bool bInfusion);
    void GenEventMachineClass(char const* machine);
    void GenEventRun(char const* machine, N const& ev);
    void GenEventFinally(char const* machine, N const& ev);
    bool IsModelMember(char const* name);
    void GenSequenceBindings(NV const& body);
    void GenSequenceArm(N const& s, int& state, int indent);
    void GenSequenceMachineClass(char const* machine);
    void GenSequenceRun(char const* machine, N const& seq);

    // The entry points a script calls: StartSubject, StopSubject, Bolus_, Infuse_, Observe_.
    void GenModelEntryDecls(NV const& stmts);
    void GenModelEntries(NV const& stmts);
    void GenStartSubject(NV const& stmts);
    void GenStopSubject();
    void GenBolusEntry(N const& dose);
    void GenInfuseEntry(N const& dose);
    void GenDoseEntries(NV const& stmts);
    int GetErrorBlockOf(N const& expr);
    void GenObserveRecord(char const* name, char const* value);
    void GenObserveBody(N const& s);
    void GenMultiBody(N const& s);
    void GenCountZprob(N const& s);
    void GenCountBody(N const& s);
    void GenObserveEntry(N const& s);
    NV pJoins;         // the join blocks of the script
    String sTimeUnits; // the text of the time unit in unit texts
    std::string GetUnitText(char const* name);

    // The procedures of the script, each a state-machine class: its declaration in cohort.h,
    // its Run, Finally and Print in cohort.cpp, and the statements of its body as a coroutine
    // whose waiting points are numbered states with labels Ln.
  public:
    void GenCohortProcClass(N const& proc, NV const& joins, NV const& models, char const* indent);
    void GenCohortProcRunFunction(N const& proc, char const* indent, NV const& joins,
                                  NV const& models, NV const& ints, NV const& procs);
    // One statement; 'state' is the last state number taken, 'depth' the nesting of
    // statements, 'collectDepth' that of collects.
    void GenCohortProcStmt(int kind, N const& stmt, int& state, int depth, int collectDepth,
                           char const* indent, NV const& joins, NV const& models, NV const& ints,
                           NV const& procs, N const& proc);
    // 	pk a;
    void GenCohortJoinStmt(N const& stmt);

  private:
    // What the statements of one procedure see: its node and kind, the script's lists, its
    // int names, and the label of each open collect by collect depth (1, the root, at 0).
    struct ProcScope {
        N proc;
        CNodeType kind;
        NV const& joins;
        NV const& models;
        NV const& procs;
        SV ints;
        int labels[5];
    };

    void GenProcStmt(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                     std::string const& I);
    void GenProcArm(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                    std::string const& I);
    void GenProcBlock(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                      std::string const& I);
    void GenProcIf(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                   std::string const& I);
    void GenProcLoop(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                     std::string const& I);
    void GenProcCollect(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                        std::string const& I);
    void GenProcStart(ProcScope& sc, N const& s, int& state, int collectDepth,
                      std::string const& I);
    void GenProcSleep(ProcScope& sc, N const& s, int& state, std::string const& I);
    void GenProcObserve(ProcScope& sc, N const& s, std::string const& I);
    void GenProcPeakReset(ProcScope& sc, N const& s, std::string const& I);
    void GenProcDose(N const& s, std::string const& I);
    void GenProcAssign(ProcScope& sc, N const& s, std::string const& I);
    void GenProcDistrib(ProcScope& sc, N const& s, int depth, std::string const& I);
    void GenProcSubjectMembers(NV const& joins);
    void GenProcLocals(N const& proc);
    void GenProcConstructor(N const& proc, NV const& joins, NV const& models);
    void GenProcWiring(N const& proc, NV const& joins, NV const& models);
    void GenProcRunHead(N const& proc, NV const& joins, NV const& models, int nStates);
    void GenProcSubjectStart();
    void GenProcRunTail(N const& proc, int& state);
};

// The dose statements of a model body in text order, and the names of their machines:
// pk_Bolus_A1_1 (model, kind, compartment, dose path), pk_EventSim_1 (model, kind, number).
NV GetDoseStatements(NV const& stmts);
// The first dose statement of each dosed compartment, from which Bolus_ and Infuse_ are made.
NV GetFirstDoses(NV const& stmts);
std::string DoseMachineName(char const* model, char const* kind, N const& dose);
std::string NumberedMachineName(char const* model, char const* kind, int number);
// Whether an observation statement gets an Observe_ routine.
bool IsRecordedObservation(N const& s);

// The walks of a procedure's statements. CountStates adds the states that its waiting
// statements take (sleep, call, suspend, collect); MaxCollectDepth the deepest nesting of
// collects below 'depth'; GetLocals its double and int names, an undeclared for variable as an
// int. SprocCheck ends the run when a start or call names a procedure of the wrong kind, and
// CheckCohortProcCalls does so for every one of the script, before any file is opened.
void GenCohortProcCountStates(N const& stmt, int& count);
void GenCohortProcMaxCollectDepth(N const& stmt, int depth, int& max);
void GenCohortProcGetLocals(N const& proc, SV& doubles, SV& ints);
void GenCohortProcSprocCheck(CNodeType kind, N const& stmt, NV const& procs, N const& proc);
void CheckCohortProcCalls(NV const& procs);

// iScen, iRep, the global doubles and ints, then each model's inflation factors and the
// names by which each of its fixed effects can be set.
std::vector<SettableVar> GetSettableVarList(NV const& models, NV const& ints, NV const& doubles);

// The file samplers of the run: their objects in cohort.h, and what each model does with them
// at each level of draws. Each prints nothing for a model without samplers.
void DefineSamplers(FILE* fp);
void InitSamplersGlobal(std::string const& model, FILE* fp);
void InitSamplersReplicate(std::string const& model, FILE* fp);
void InitSamplersSubject(std::string const& model, FILE* fp);
// The read of 'var' of 'model' from its sampler's row; false when no sampler holds it.
bool GenSampling(std::string const& model, std::string const& var, FILE* fp);
// The read of the random-effect matrix 'target' (n by n, by rows) of the group of 'var', from
// a sample statement of 'model'; false when no sampler holds it.
bool GenBlockSampling(std::string const& model, std::string const& var, std::string const& target,
                      int n, FILE* fp);

// The index of the model so named, searching from the last, or -1.
int FindModelByName(char const* name, NV const& models);
// 1 with the model's name in 'modelName' when a join item declares the instance, else 0.
int GetModelNameFromInstanceName(NV const& joins, char const* instance, String& modelName);
// The model name of the instance, or null.
char const* GetInstanceModelName(char const* instance, NV const& joins);
// Whether 'name' is the last compartment of a transit chain among the statements.
bool IsTransitName(NV const& stmts, char const* name);
// The items of all join blocks, in order.
NV JoinItems(NV const& joins);
// The first instance that the join blocks declare of the model, or the model's own name.
char const* GetFirstInstanceName(char const* model, NV const& joins);
