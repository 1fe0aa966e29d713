// Public header of the model analysis: the walkers that flatten the statement tree into
// name lists, the dependency chains between names, and the process-wide name sets that
// decide which variables are carried as dual numbers and which are closed-form outputs.
#pragma once

#include "expr/expr.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

extern std::set<std::string> force_dual;
extern std::set<std::string> force_real;
extern std::unordered_set<std::string> dual_vars;
extern std::unordered_set<std::string> dual_vars_fixef;
extern std::unordered_set<std::string> dual_vars_ranxef;
extern std::unordered_set<std::string> cfs;
// Macros the generated text defines for model variables, in the order of defining.
extern std::vector<std::string> macros;
extern bool nothing_is_cfm;

// ---- Walkers (walkers.cpp) -------------------------------------------------------------------
// Each appends to the caller's vectors in source order; a name already present is not added
// again (except by CollectInitialDoseVars), and parallel vectors grow only with their name.

// Every variable used under a node, with the number of its uses in 'counts'.
void CollectVars(cn const& node, SV& names, std::vector<int>& counts);
void CollectVars(cn const& node, SV& names);
void CollectVars(CNodeAppendix const* appendix, SV& names, std::vector<int>& counts);
void CollectVars(CDoseVarOption const* option, SV& names, std::vector<int>& counts);
void CollectVars(CNodeExtra const* extra, SV& names, std::vector<int>& counts);

// While it lives, the walkers below know which kinds stand under each statement of 'body' and
// pass over the statements that hold none of their targets. The body's list must stay as it is
// meanwhile (walkers.cpp).
class StatementKindsScope {
  public:
    explicit StatementKindsScope(cn const& body);
    ~StatementKindsScope();
    StatementKindsScope(StatementKindsScope const&) = delete;
    StatementKindsScope& operator=(StatementKindsScope const&) = delete;
};

// State variables by kind of statement.
void CollectDerivVars(cn const& node, SV& names);
void CollectUrineVars(cn const& node, SV& names);
void CollectTransitVars(cn const& node, SV& names);
void CollectTransit2Vars(cn const& node, SV& names);
void CollectIntegVars(cn const& node, SV& names);
void CollectEventVars(cn const& node, SV& names);

// Dose points, with the split flag of a dosepoint beside its name.
void CollectDosepoints1(cn const& node, SV& names, std::vector<unsigned short>& split);
void CollectDosepoints2(cn const& node, SV& names);
void CollectInitialDoseVars(cn const& node, SV& names);

// Closed forms: each compartment with its depot (cfMicro, cfMacro1) or its first argument
// (cfMacro), an empty text where there is none.
void CollectCFMacroVars(cn const& node, SV& names, SV& depots);
void CollectCFMacro2Vars(cn const& node, SV& names, SV& firsts);

// Observed variables: responses with their kind word, observations with their bql flags.
void CollectResponses(cn const& node, SV& names, SV& kinds);
void CollectObservations(cn const& node, SV& names, std::vector<unsigned short>& bql);

// Data columns: 'flags' 1 for a name written with "()", 'kinds' 0 covariate, 1 fcovariate,
// 2 interpolate.
void CollectCovariates(cn const& node, SV& names, std::vector<unsigned short>& flags,
                       std::vector<unsigned short>& kinds);
void CollectInterpolateVars(cn const& node, SV& names);
void CollectDoubles(cn const& node, SV& names);

// Left sides of group, stparm and secondary statements.
void CollectGroup(cn const& node, SV& names);
void CollectStruct(cn const& node, SV& names);
void CollectSecondary(cn const& node, SV& names);

// Random effects of ranef1 to ranef5 statements.
void CollectRanef1(cn const& node, SV& names);
void CollectRanef2(cn const& node, SV& names);
void CollectRanef3(cn const& node, SV& names);
void CollectRanef4(cn const& node, SV& names);
void CollectRanef5(cn const& node, SV& names);

// Fixed effects of the fixef statements with, parallel to the names: the units text (empty,
// since units are inferred later), the frozen flag, the enable number or -1 when there is
// none, and the initial value or 1 when the estimate gives none.
void CollectFixef(cn const& node, SV& units, SV& names, std::vector<unsigned short>& frozen,
                  std::vector<int64_t>& enable, std::vector<double>& init);
// Error variables of the error statements with the frozen flag of their entry and their
// value, the standard deviation as written (1 when the entry has none).
void CollectErrorInfo(cn const& node, SV& names, std::vector<unsigned short>& frozen,
                      std::vector<double>& init);

// Covariates whose mean or median the model reads, also inside action blocks.
void CollectCVMean(cn const& node, SV& names);
void CollectCVMean(CNodeAppendix const* appendix, SV& names);
void CollectCVMedian(cn const& node, SV& names);
void CollectCVMedian(CNodeAppendix const* appendix, SV& names);

// Names that a statement sets to the number 0, and all names that statements define.
void CollectConst(cn const& node, SV& names);
void CollectAssigned(cn const& node, SV& names);

// Whether a peak(...) stands anywhere under 'node'.
bool has_peak(cn const& node);

// Number the peak and delay nodes in tree order. 'count' runs on from its value; delays and
// delayInfCpt statements share one counter. 'nodes' gets the delayed node, 'hist' its history.
void CountSetPeak(N const& node, int& count, NV& out);
void CountSetDelay(N const& node, int& count, NV& nodes, NV& hist);
void CountSetTransit2(N const& node, int& count, NV& nodes, NV& hist);

// ---- Dependency chains (chains.cpp) ----------------------------------------------------------
// Filled by CollectDependencyChains, kept for the whole run. `recursiveDeps` is declared in
// expr/expr.h, since the expression engine reads it.

// Dependency sets as rows of bits over a sorted table of names, one layer per fill; a name
// "has an entry" when its set is not empty. A set made on another reads that one's columns,
// so that the inverse sets cost nothing to build (dep_sets.cpp).
class DepSets {
  public:
    typedef std::vector<std::vector<uint64_t>> Masks; // a row of bits per layer

    explicit DepSets(DepSets const* transposeOf = nullptr) : of(transposeOf) {}

    // Adds a layer: row i of 'bits', 'words' long, holds the set of 'names[i]'.
    void Add(std::vector<std::string> const& names, std::vector<uint64_t> bits, size_t words);
    void clear();
    size_t count(std::string const& name) const; // 1 when the set of 'name' is not empty
    size_t size() const;                         // the names whose set is not empty
    std::set<std::string> Get(std::string const& name) const;
    Masks MaskOf(std::set<std::string> const& names) const;
    // Whether the set of 'name' holds a name of 'masks'.
    bool Meets(std::string const& name, Masks const& masks) const;
    // The names of 'start' in the set of a name outside 'start', and those names.
    std::set<std::string> UsedFrom(std::set<std::string> const& start) const;
    std::set<std::string> UsedFrom(SV const& start) const;

  private:
    struct Layer {
        std::vector<std::string> names;
        std::unordered_map<std::string, size_t> index;
        std::vector<uint64_t> bits;
        size_t words = 0;

        uint64_t const* Row(size_t i) const { return &bits[i * words]; }

        bool Test(size_t i, size_t j) const { return (Row(i)[j / 64] >> (j % 64)) & 1; }
    };

    std::vector<Layer> const& Layers() const { return of ? of->layers : layers; }

    static uint64_t const* Row(Layer const& layer, std::string const& name);
    std::set<std::string> Column(Layer const& layer, std::string const& name) const;
    std::set<std::string> UsedFrom(Masks const& mask, std::set<std::string> const* start) const;

    DepSets const* of;
    std::vector<Layer> layers;
};

// For a name: everything it depends on, directly or not.
extern DepSets fwdDeps;
// For a name: everything that depends on it, directly or not.
extern DepSets invDeps;
// Names of the statements that define the model's outputs; "" stands for a sequence.
extern std::set<std::string> usedChainStarters;
// Everything that the chain starters need.
extern std::set<std::string> usedVars;

void CollectDependencyChains(N const& body);
void CollectDependentParams(SV const& names, SV const& starters, SV& out);
void CollectUsedVars(SV const& starts, SV& used);

// Whether a name of dual_vars occurs in the tree, as CountContains sees it (dual.cpp).
bool has_dual_vars(cn const& node);
// Appends the delay times of a tree: of delay(...) and gammaDelay(...), and the time argument
// of the inverse-Gaussian and Weibull densities.
void get_delays(cn const& node, NV& list);
// Whether action code (sequences, hooks of doses and observations) assigns the integrator.
bool IntegratorIsAssignedTo(char const* name, cn const& body);
bool IntegratorIsAssignedToStmt(char const* name, cn const& stmt);
// The names of the list that the model text forces dual and does not force real.
SV CollectDualFixef(SV const& names);

// ---- Semantic checks (checks.cpp) ------------------------------------------------------------
// The model itself is checked by CGenCode::GenDllPhase1GetSemanticErrors.

// Warns of each entry of 'names' missing from 'used': "<word> 'name' is not used".
void CheckVarUse(char const* word, SV const& names, SV const& used);
// The file samplers of a trial program's model, or of each of its models, against the model.
void CheckModel(cn const& model);
void CheckModels(NV const& models);
// 'node' with each variable of 'names' replaced by one shared number 0.
N zero_error(cn const& node, SV const& names);

// ---- Units (units.cpp) -----------------------------------------------------------------------
// The table of units is the pair 'names' (qualified by 'context', empty in a model) and
// 'table'; it only grows. A dose, observation or covariate X with no units yet has the base
// unit CN_UNIT_NAME X.

// Infers units over the statements of 'body', given the structural parameters 'params' and
// the fixed effects 'fixefs', repeating until nothing changes.
void PropagateUnits(cn const& body, SV const& params, SV const& fixefs, char const* context,
                    SV& names, NV& table);
// One statement's rules; 'stmts' is the model around it, 'time' the unit of time (the model's
// CN_UNIT_TIME when empty). Sets 'iChanged' when anything got units.
void PropagateUnitsOneStatement(N const& stmt, NV const& stmts, char const* context, SV& names,
                                NV& table, N const& time, int& iChanged);

// ---- Units of a trial program (cohort_units.cpp) --------------------------------------------
// One table for the whole script, its names qualified by model instance: the units blocks
// give the start, the joins share units between the two sides, and the model rules do the rest.

// Infers the units of the trial's models over their instances; with a units block,
// 'sTimeUnits' becomes the text of the time unit ("h" unless the block gives t).
void CohortPropagateUnits(NV const& models, NV const& joins, NV const& unitBlocks,
                          String& sTimeUnits);
// The plain text of a unit expression, CN_UNIT_TIME printed as 'sTime': appended to 'out', or
// printed to 'fp'.
void GenCohortUnits(cn const& units, String& out, String const& sTime);
void GenCohortUnits(cn const& units, FILE* fp, String const& sTime);
// The text of the time unit: the table's entry "t", or "h" when there is none.
void GetCohortTimeUnitsName(SV const& names, NV const& units, String& out);
// The unit text of a node of a trial model, the time unit printed as 'sTime'; empty when the
// node has no units.
void GetCohortUnitText(cn const& node, String const& sTime, String& out);
// The unit text of variable 'name' of model instance 'context' in the trial's table; empty when
// the table has no entry for it.
void GetCohortVarUnitText(char const* context, char const* name, String const& sTime, String& out);

// ---- File samplers (samplers.cpp, sampler_checks.cpp) ----------------------------------------
// A value of a trial model drawn from the rows of a file: a covariate by the sample clause of a
// distribution, fixed effects, random effects and errors by the sample statement.

struct SamplerInfo {
    std::string model;   // the model that holds it
    std::string sampler; // the generated FileSampler object, "_sampler<n>"
    std::string file;    // the file to read
    int mode = 0;        // 0 linear, 1 random
    N node;              // the Dist or Sample it came from
};

// Every sampler of the run, in the order found.
extern std::vector<SamplerInfo> samplings;
// The number of the next sampler; it runs on over all models of the run.
extern int nSampler;

// Empties 'samplings' and collects the samplers of each model.
void CollectSamplers(NV const& models);
// Adds the samplers of one model.
void CollectSamplers(cn const& model);
// The record of a Dist with a sample clause or of a Sample statement, numbered 'number';
// nothing for any other node.
std::optional<SamplerInfo> GetSamplerInfo(std::string const& model, N const& node, int number);
// Checks what the samplers of 'model' draw against its declarations; a sampler at fault is
// reported and ends the run with status 1.
void CheckSamplers(cn const& model);
// The model's fixed effects, random effects, errors, and its random-effect groups by kind,
// for the checks above.
void CollectVariables(cn const& model);
