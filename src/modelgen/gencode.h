// The model code generator: the name lists of one model, filled by the analysis before any
// output file is opened, and the routines that print Model.h and Model.cpp from them.
#pragma once

#include "modelgen/modelgen.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

typedef std::vector<unsigned short> NaList;

extern int want_cpp_solvers;

// The text of a name, for a formatted print.
inline char const* C(String const& s) {
    return s;
}

// The error, mean and variance function of an observe statement, and the expression solved for
// its error with the observed name replaced by _v1.
struct ObsMeanVar {
    N mean, var, solved;
    String err;
    int frozen = 0;
    int errIndex = -1;
};

// The two time arguments of OnObserve.
struct ObsTimeArgs {
    char const* time;
    char const* lastDose;
};

// Records a macro that the generated text defines for a model variable.
void AddMacro(char const* name);

// The statements at the top of a model body: its list when it is a block, else itself. A loop
// reads the block's own list, which must stay as it is meanwhile; a copy is an `NV`.
class TopStatements {
  public:
    explicit TopStatements(cn const& body);

    N const* begin() const { return list ? list->data() : one.data(); }

    N const* end() const { return begin() + size(); }

    size_t size() const { return list ? list->size() : one.size(); }

    bool empty() const { return size() == 0; }

    N const& operator[](size_t i) const { return begin()[i]; }

    operator NV() const { return NV(begin(), end()); }

  private:
    NV const* list = nullptr; // the block's statements
    NV one;                   // or the body alone, when it is no block
};

TopStatements GetTopStatements(cn const& body);
// The integrator slots of the transit statements (NTRANSIT): each takes its max + 2.
int CountTransitSlots(cn const& body);
// How many statements of 'kind' stand at the top of the body.
int CountTopStatements(cn const& body, CNodeType kind);
// The type of a model variable inside model_data, from its duality in theta and in eta:
// "DualType", "ThetaType", "EtaType" or "double".
char const* MemberType(char const* name);
// Every gamma delay under 'node', depth first.
void GetGammaDelays(cn const& node, NV& list);
// The peak table of the top-level assignment whose right side is the peak 'name', or -1.
int GetIPeakTable(cn const& body, char const* name);
// Adds the sleeps of action code to 'count', through if, while and blocks.
void CountSequenceStates(NV const& list, int& count);

// 'n' tab characters, at most 20.
char const* Indent(int n);

// if(c)
// 	...
// else if(d)
// 	...
// else
// 	...
// 'arm' prints one branch at the indent it is given.
template <class F> void GenIfChain(FILE* fp, cn const& s, int indent, F arm) {
    fprintf(fp, "%sif(", Indent(indent));
    GenC(s->child1, fp);
    fprintf(fp, ")\n");
    arm(s->child2, indent + 1);
    N next = s->child3;
    for (; next && next->type == CN_IF; next = next->child3) {
        fprintf(fp, "%selse if(", Indent(indent));
        GenC(next->child1, fp);
        fprintf(fp, ")\n");
        arm(next->child2, indent + 1);
    }
    if (!next) return;
    fprintf(fp, "%selse\n", Indent(indent));
    arm(next, indent + 1);
}

// A covariate that carries a stripping dose: a name of five letters or more ending in "Strip".
bool CovariateIsStripDose(char const* name);
extern int nFuncResult;
extern int nFuncArg;

class RateTests; // the rate tests of the dual-number decision (dual_decision.cpp)

class CGenCode {
  public:
    explicit CGenCode(cn const& model);
    CGenCode(CGenCode const&) = delete;
    CGenCode& operator=(CGenCode const&) = delete;

    void GenOrbxDLL(char const* modelFileName, char const* headerPath, char const* sourcePath,
                    int genTypes, NV const& includes);
    void GenDllPhase1();
    void FinishModelCpp();
    void CollectUniqueVars();
    void GetAssignmentStatements(SV& names, NV& exprs) const;
    void GetAssignmentStatementsIncludingSParms(SV& names, NV& exprs) const;

    // Phase 1, in its order.
    void RunWalkers();
    void RemoveDuplicates();
    SV GetUsedVars();
    void FillAssignments();
    void DecideDualNumbers(SV const& used);
    // The dual-number decision (analysis/dual_decision.cpp).
    void GradientProcessing0(NV& rates, NV& transits, NV& delays) const;
    void GradientProcessing1(NV const& rates, NV const& transits, NV const& delays,
                             SV const& assignNames, NV const& assignExprs, SV& dualRanef5,
                             SV& dualFixef, SV& dualError, SV const& used) const;
    bool is_ranef_dual(String const& name, NV const& doses, int nDoses, NV const& sequences,
                       NV const& closedForms, NV const& delays, RateTests& rateTests) const;
    void FreezeUnusedFixefs(SV const& used);
    void StoreCounts();
    void DetectStparmsDuplicatingFixefs();
    // Whether a structural parameter is a plain copy of a fixed effect, which has no variable.
    bool IsStparmCopyOfFixef(char const* name) const;
    void GenDllPhase1GetSemanticErrors() const;
    void DecideGaussianFit();
    void CheckPowersOfTime();

    // Model.h, and the frame and sections of Model.cpp in the order they are printed.
    void GenModelH(char const* id, long runTime);
    void GenModelCpp(NV const& includes);
    void GenModeBlock();
    void GenEngineIncludes();
    void GenUserIncludes(NV const& includes);
    void GenModellingGlobalVariableDeclarations();

    // The parameter routines (gen_packing.cpp): bounds of the fixed effects, limits and initial
    // values of the thetas, the sigma of each observation, the routines that pack thetas and
    // omega into the engine's search vector ('mode' 3 to 28), and the Jacobian info.
    void GenFixefOverrideStuff();
    void GenRoutinesForTheta(int which);
    void GenRoutinesForFixefError(int mode);
    void GenRoutineGetObsSigma(bool bName);
    void GenRoutinesForPacking(int mode);
    void GenODEInfoRoutines(int nOde, int bCanJacobian, int bCanMatexp);

    // The algebra of observation statements (obs_algebra.cpp).
    void GetSortedObserveStmts(cn const& model, NV& out);
    void SortObserveStmt(NV& stmts);
    int GenEpsilonExpression(char const* obsName, cn const& expr, N& solved, String& errName,
                             int& frozen) const;
    void GenMeanVarianceExpr(cn const& expr, N& mean, N& var, int& iFail) const;
    void GenMeanSigExpr(cn const& expr, N& mean, N& sig, int& iFail) const;
    int CanLogTransform(cn const& expr) const;
    void DecideLogTransform();
    void CheckObservationErrors() const;

    // What the observation routines share (obs_common.cpp). 'which' of GetAppendixAction is 0
    // for dobefore, 1 for doafter, 2 for simulate.
    ObsMeanVar GetObsMeanVar(cn const& stmt) const;
    ObsMeanVar GetObsError(cn const& stmt) const; // without mean and variance
    void GenObsStd(ObsMeanVar const& mv, char const* indent) const;
    ObsTimeArgs GetObsTimeArgs(cn const& stmt) const;
    void GenObsAction(cn const& action, char const* comment, int indent, char const* eval) const;
    N GetSimulationAction(cn const& stmt, char const* target) const;
    N GetAppendixAction(cn const& stmt, int which) const;

    // The observation routines, in the order they are printed (gen_observe.cpp: get_ll,
    // simulate, GetNumCategories; gen_obs_tables.cpp and gen_obs_pred.cpp: the rest).
    void GenEndObsCode();
    void GradientProcessing32();
    void GenGetObservationNumber();
    void GenObservationCode(int mode);
    void GenPredVFCorrectionFactor();
    void GenObsAndPredNameCode(int code);
    void GenUnifNormControlled();
    void GenObservationSimTblCode();

    // The covariate routines (gen_covariates.cpp), the plot and structural tables
    // (gen_plot_vars.cpp), the variables by name (gen_get_set.cpp), the vcvfixef blocks
    // (gen_vcv.cpp).
    void GenCovariateCodeOrbx();
    void GenPlotVarRoutines();
    void GenStructuralCodeOrbx();
    void GenGetSetGlobalVars();
    void GenVcvfixef();
    void CheckVcvfixef() const;

    // The units inferred over the model, printed as GetVarUnits (gen_units.cpp).
    void GenVarUnits();

    // The SAEM routines, or their dummies when the model doesn't fit the linear design
    // (gen_saem.cpp). Returns 1 when SAEM can be used.
    int GenSAEMCode();

    // The subject evaluation section: start and reset of a subject (gen_subject.cpp), the
    // evaluation of parameters (gen_eval.cpp), derivatives and advance (gen_deriv.cpp), the
    // closed-form machines (gen_closed_form.cpp) and the Jacobian (gen_jacobian.cpp). It
    // reports the number of integrators and whether a Jacobian and a matrix exponential can
    // be had.
    void GenInitSubjectEvalDerivAdvance(int& nOde, int& bCanJacobian, int& bCanMatexp);
    void GenSubjectStart();
    void GenParameterRoutines();
    void GenEvaluation();
    void GenDeriv(int nOde);
    void GenAdvanceAndCompartments(int nOde);
    void GenClosedFormDeclarations();
    void GenClosedFormState();
    void GenClosedFormTimes();
    void GenClosedFormInit();
    void GenResetCF();
    void GenJacobian(int& bCanJacobian, int& bCanMatexp);

    // Dosing and action code (gen_dosing.cpp, gen_actions.cpp).
    void GenDosingSubroutines(int level);
    void GenAddToCpt();
    void GenSequenceClasses();
    void GenEventSimClasses();
    void GenActionCode(NV const& stmts, int indent, bool prologue) const;
    void GenActionCode(cn const& stmt, int indent, bool prologue) const;
    void GenSequenceActionCode(cn const& stmt, int indent, int seq, int& state) const;

    // The place of a compartment in the chain deriv, urine, machine centrals, depots, cfMacro
    // machines, delayInfCpt, transit; -1 for a name that is none.
    int GetCompartmentNumber(char const* name) const;
    // Each compartment name with the number GetCompartmentNumber gives it, for many look-ups.
    std::unordered_map<std::string, int> GetCompartmentNumbers() const;

    cn pModel;
    cn pBody;
    FILE* fp = nullptr;
    int32_t nDerivCount = 0, nCFMacroCount = 0, nCFStripCount = 0, nCFMacro2Count = 0,
            nCFStrip2Count = 0, nUrineCount = 0, nTransitCount = 0, nTransit2Count = 0,
            nEventCount = 0;
    int32_t bTimeBased = 0;
    int32_t bAllowGaussianFit = 0;
    int32_t bAllowLogTransform = 0;
    String sTimeVar;
    String sSpare;
    int32_t iGenTypes = 0;
    int32_t nDelayCount = 0;
    NV paDelayNodes, paDelayHist;
    NV paGammaDelays; // the gammaDelay calls of the body, found once by the analysis
    NV paPeakNodes;
    int32_t nPeakCount = 0;
    SV saUniqueVars;
    SV saInteg;
    SV saCFMacro, saCFStrip;
    SV saCFStripNonEmpty;
    SV saCFMacro2, saCFStrip2;
    SV saDeriv, saUrine, saTransit, saTransit2, saEvent;
    SV saInterpolate;
    NaList naInterpolateFlags;
    SV saDoubles;
    SV saAssigned;
    SV saConst;
    SV saCovariates;
    NaList naCovariateFlags;
    SV saInitialDose;
    SV saDosepoints1;
    NaList naDosepoint1Flags;
    SV saDosepoints2;
    SV saGroup, saStruct;
    NaList naStparmDuplicatesFixef;
    std::unordered_set<std::string> stparmCopiesOfFixef; // the names flagged there
    SV saSecondary;
    SV saObserved;
    NaList naObservedFlags;
    SV saResponses;
    SV naResponseFlags;
    SV saAllVars;
    SV saCVMean, saCVMedian;
    SV saFixefUnits, saFixef;
    NaList naFixefFrozen;
    std::vector<int64_t> laFixefEnable;
    std::vector<double> daFixefInit;
    SV saDualFixef;
    SV saRanef1, saRanef2, saRanef3, saRanef4, saRanef5;
    SV saDualRanef5;
    NV paSortedObserve;
    SV saError;
    NaList naErrorFrozen;
    std::vector<double> daErrorInit;
    SV saDualError;

    // Whether the model carries dual numbers: some random effect, fixed effect or error is dual.
    bool IsDualModel() const;

    bool HasDualTheta() const { return !saDualFixef.empty() || !saDualError.empty(); }

    // The integrator list: deriv, urine, transit, transit2 and event variables joined.
    SV GetIntegratorList() const;
};

// The variables whose units the engine sets, each with its _X_Units slot (gen_globals.cpp).
SV GetUnitSlots(CGenCode const& g);

// The model information file of the /I mode: the lists of Phase 1 printed as the sections of
// ModelInfo.txt (model_info.cpp).
class ModelInfoGen : public CGenCode {
  public:
    using CGenCode::CGenCode;

    void GenModelInfo(char const* path, int genTypes, NV& includes);
    // The names of the level-5 random effects and their initial omega matrix, n by n by rows.
    void GetInitialPackedOmega(SV& names, std::vector<double>& matrix) const;
    // The error variables and their values as the error statements give them.
    void GetInitialError(SV& names, std::vector<double>& values) const;
};
