// The skeleton of the model code generator: the analysis of Phase 1 that fills the name lists
// before any file is opened, Model.h, and the frame of Model.cpp with its preludes, the
// sections in their fixed order, and the closing text.
#include "analysis/analysis.h"
#include "modelgen/gencode.h"
#include "modelgen/model_templates.h"
#include "parser/parser.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <unordered_map>
#include <unordered_set>

int want_cpp_solvers = 0;
int nFuncResult = 1;
int nFuncArg = 1;

// Records a macro of a model variable, so that FinishModelCpp undefines it.
void AddMacro(char const* name) {
    macros.push_back(name);
}

CGenCode::CGenCode(cn const& model) : pModel(model), pBody(model ? model->child2 : cn()) {}

bool CGenCode::IsDualModel() const {
    return !saDualRanef5.empty() || !saDualFixef.empty() || !saDualError.empty();
}

SV CGenCode::GetIntegratorList() const {
    SV all;
    for (SV const* list : {&saDeriv, &saUrine, &saTransit, &saTransit2, &saEvent})
        all.insert(all.end(), list->begin(), list->end());
    return all;
}

[[noreturn]] static void CannotCreate(char const* path) {
    fprintf(stderr, "Error: cannot create file %s\r\n", path);
    exit(1);
}

// The statements at the top of the body: its list when it is a block, else itself.
TopStatements::TopStatements(cn const& body) {
    if (body && body->type == CN_BLOCK)
        list = &body->list;
    else if (body)
        one.push_back(std::const_pointer_cast<CNode>(body));
}

TopStatements GetTopStatements(cn const& body) {
    return TopStatements(body);
}

int CountTopStatements(cn const& body, CNodeType kind) {
    int n = 0;
    for (N const& s : GetTopStatements(body))
        if (s && s->type == kind) n++;
    return n;
}

char const* MemberType(char const* name) {
    bool theta = is_var_dual_fixef(name), eta = is_var_dual_ranef(name);
    if (theta && eta) return "DualType";
    if (theta) return "ThetaType";
    if (eta) return "EtaType";
    return "double";
}

// Appends the assignments of 'stmts' of the given kind's lists (stparm, group) to 'names'
// and 'exprs': the left name and a copy of the right side.
static void AppendListAssignments(NV const& stmts, CNodeType kind, SV& names, NV& exprs) {
    for (N const& s : stmts) {
        if (!s || s->type != kind) continue;
        for (N const& a : s->list) {
            if (!a || a->type != CN_ASSIGN || !a->child1) continue;
            names.push_back(a->child1->name);
            exprs.push_back(a->child2 ? a->child2->Copy() : N());
        }
    }
}

// Top-level assignments in statement order; a peak on the right side adds its own name with
// no expression.
void CGenCode::GetAssignmentStatements(SV& names, NV& exprs) const {
    for (N const& s : GetTopStatements(pBody)) {
        if (!s || s->type != CN_ASSIGN || !s->child1) continue;
        names.push_back(s->child1->name);
        exprs.push_back(s->child2 ? s->child2->Copy() : N());
        if (s->child2 && s->child2->type == CN_PEAK) {
            names.push_back(s->child2->name);
            exprs.push_back(N());
        }
    }
}

void CGenCode::GetAssignmentStatementsIncludingSParms(SV& names, NV& exprs) const {
    GetAssignmentStatements(names, exprs);
    AppendListAssignments(GetTopStatements(pBody), CN_STPARM, names, exprs);
}

// Appends each name of 'list' that 'seen' lacks, and notes it there.
static void AppendNew(SV& out, std::unordered_set<std::string>& seen, SV const& list) {
    for (String const& name : list)
        if (seen.insert(std::string(name)).second) out.push_back(name);
}

void CGenCode::CollectUniqueVars() {
    saUniqueVars.clear();
    std::unordered_set<std::string> seen;
    for (SV const* list :
         {&saInterpolate, &saCovariates, &saInitialDose, &saDoubles,   &saDeriv,
          &saUrine,       &saTransit,    &saTransit2,    &saCFMacro,   &saCFStripNonEmpty,
          &saFixef,       &saRanef1,     &saRanef2,      &saRanef3,    &saRanef4,
          &saRanef5,      &saGroup,      &saStruct,      &saSecondary, &saAssigned})
        AppendNew(saUniqueVars, seen, *list);
}

// Every gamma delay under 'node', depth first.
static void GetGammaDelaysBelow(N const& node, NV& list) {
    if (!node) return;
    if (node->type == CN_GAMMADELAY) list.push_back(node);
    for (N const* c : {&node->child1, &node->child2, &node->child3, &node->child4})
        GetGammaDelaysBelow(*c, list);
    for (N const& e : node->list)
        GetGammaDelaysBelow(e, list);
}

void GetGammaDelays(cn const& node, NV& list) {
    GetGammaDelaysBelow(std::const_pointer_cast<CNode>(node), list);
}

// Step 1 of Phase 1: the flat name lists out of the tree.
void CGenCode::RunWalkers() {
    StatementKindsScope const kinds(pBody);
    CollectIntegVars(pModel, saInteg);
    CollectCFMacroVars(pModel, saCFMacro, saCFStrip);
    GetSortedObserveStmts(pModel, paSortedObserve);
    for (String const& strip : saCFStrip)
        if (strip[0]) saCFStripNonEmpty.push_back(strip);
    CollectCFMacro2Vars(pModel, saCFMacro2, saCFStrip2);
    // The outputs of the machines, their depots and the concentrations of cfMacro are read
    // through macros.
    for (SV const* list : {&saCFMacro, &saCFStripNonEmpty, &saCFStrip2})
        for (String const& name : *list)
            cfs.insert(static_cast<char const*>(name));
    CollectDerivVars(pModel, saDeriv);
    CollectUrineVars(pModel, saUrine);
    CollectTransitVars(pModel, saTransit);
    CollectTransit2Vars(pModel, saTransit2);
    CollectEventVars(pModel, saEvent);
    CollectAssigned(pBody, saAssigned);
    CollectConst(pBody, saConst);
    CollectInterpolateVars(pModel, saInterpolate);
    CollectCovariates(pModel, saCovariates, naCovariateFlags, naInterpolateFlags);
    CollectInitialDoseVars(pModel, saInitialDose);
    CollectDoubles(pModel, saDoubles);
    CollectDosepoints1(pModel, saDosepoints1, naDosepoint1Flags);
    CollectDosepoints2(pModel, saDosepoints2);
    CollectGroup(pModel, saGroup);
    CollectStruct(pModel, saStruct);
    CollectSecondary(pModel, saSecondary);
    CollectObservations(pModel, saObserved, naObservedFlags);
    CollectResponses(pModel, saResponses, naResponseFlags);
    CollectVars(pModel, saAllVars);
    CollectCVMean(pModel, saCVMean);
    CollectCVMedian(pModel, saCVMedian);
    N body = std::const_pointer_cast<CNode>(pBody);
    CountSetDelay(body, nDelayCount, paDelayNodes, paDelayHist);
    CountSetTransit2(body, nDelayCount, paDelayNodes, paDelayHist);
    CountSetPeak(body, nPeakCount, paPeakNodes);
    CollectFixef(pModel, saFixefUnits, saFixef, naFixefFrozen, laFixefEnable, daFixefInit);
    CollectRanef1(pModel, saRanef1);
    CollectRanef2(pModel, saRanef2);
    CollectRanef3(pModel, saRanef3);
    CollectRanef4(pModel, saRanef4);
    CollectRanef5(pModel, saRanef5);
}

// Step 2 of Phase 1.
void CGenCode::RemoveDuplicates() {
    for (SV* list : {&saInteg, &saDeriv, &saUrine, &saTransit, &saTransit2, &saEvent, &saAssigned,
                     &saInterpolate})
        EliminateDuplicates(*list);
    EliminateDuplicates(saCovariates, naCovariateFlags, naInterpolateFlags);
    EliminateDuplicates(saInitialDose);
    EliminateDuplicates(saDoubles);
    EliminateDuplicates(saDosepoints1, naDosepoint1Flags);
    for (SV* list : {&saDosepoints2, &saGroup, &saStruct, &saSecondary})
        EliminateDuplicates(*list);
    EliminateDuplicates(saObserved, naObservedFlags);
    for (SV* list : {&saResponses, &saAllVars, &saCVMean, &saCVMedian})
        EliminateDuplicates(*list);
}

// Step 3: the variables that the structural parameters, fixed and random effects need.
SV CGenCode::GetUsedVars() {
    SV starters, used;
    for (SV const* list : {&saStruct, &saFixef, &saRanef5})
        starters.insert(starters.end(), list->begin(), list->end());
    CollectDependencyChains(std::const_pointer_cast<CNode>(pBody));
    CollectUsedVars(starters, used);
    return used;
}

// Step 4: all assignments, top-level first, then structural parameters, then groups.
void CGenCode::FillAssignments() {
    saAssign.clear();
    paAssign.clear();
    GetAssignmentStatements(saAssign, paAssign);
    AppendListAssignments(GetTopStatements(pBody), CN_STPARM, saAssign, paAssign);
    AppendListAssignments(GetTopStatements(pBody), CN_GROUP, saAssign, paAssign);
}

// Step 6: a fixed effect that nothing uses is frozen.
void CGenCode::FreezeUnusedFixefs(SV const& used) {
    NameMap const usedMap = GetNameMap(used);
    for (size_t i = 0; i < saFixef.size(); i++) {
        if (FindIn(usedMap, saFixef[i]) >= 0) continue;
        Warning() << "Fixed effect '" << saFixef[i] << "' is not used and will be frozen\n";
        if (i < naFixefFrozen.size()) naFixefFrozen[i] = 1;
    }
}

// Step 7: the nine counts, and whether the model runs in time.
void CGenCode::StoreCounts() {
    nDerivCount = int32_t(saDeriv.size());
    nCFMacroCount = int32_t(saCFMacro.size());
    nCFStripCount = int32_t(saCFStrip.size());
    nCFMacro2Count = int32_t(saCFMacro2.size());
    nCFStrip2Count = int32_t(saCFStrip2.size());
    nUrineCount = int32_t(saUrine.size());
    nTransitCount = int32_t(saTransit.size());
    nTransit2Count = int32_t(saTransit2.size());
    nEventCount = int32_t(saEvent.size());
    int states = nDerivCount + nCFMacroCount + nCFMacro2Count + 2 * nUrineCount + nTransitCount +
                 nTransit2Count + nEventCount;
    bTimeBased = states > 0;
    if (!bTimeBased) return;
    saAssigned.push_back("t");
    EliminateDuplicates(saAssigned);
}

static bool IsLikelihoodStatement(N const& s) {
    return s &&
           (s->type == CN_MULTI || s->type == CN_LL || s->type == CN_EVENT || s->type == CN_COUNT);
}

// Step 10: a Gaussian fit needs no bql, no likelihood statement and a free error variable.
void CGenCode::DecideGaussianFit() {
    bAllowGaussianFit = !bBqlInModel;
    for (N const& s : GetTopStatements(pBody))
        if (IsLikelihoodStatement(s)) bAllowGaussianFit = 0;
    bool anyFree = false;
    for (unsigned short frozen : naErrorFrozen)
        if (!frozen) anyFree = true;
    if (!anyFree) bAllowGaussianFit = 0;
}

// Step 11: one observation whose error is a factor exp(eps) allows the log scale for the model.
void CGenCode::DecideLogTransform() {
    bAllowLogTransform = 0;
    if (saError.size() != 1) return;
    for (N const& s : GetTopStatements(pBody))
        if (s && s->type == CN_OBSERVE && s->child2 && CanLogTransform(s->child2)) {
            bAllowLogTransform = 1;
            return;
        }
}

// Step 12: walks the assignments for the warnings about powers of time.
void CGenCode::CheckPowersOfTime() {
    CheckVisitor check;
    for (N const& s : GetTopStatements(pBody)) {
        if (!s) continue;
        if (s->type == CN_ASSIGN) GenC(s, &check);
        if (s->type != CN_GROUP && s->type != CN_STPARM) continue;
        for (N const& a : s->list)
            if (a && a->type == CN_ASSIGN) GenC(a, &check);
    }
}

// The right side of the first assignment to each name in the stparm statements.
static std::unordered_map<std::string, N> FirstStparmRhs(cn const& body) {
    std::unordered_map<std::string, N> first;
    for (N const& s : GetTopStatements(body)) {
        if (!s || s->type != CN_STPARM) continue;
        for (N const& a : s->list)
            if (a && a->type == CN_ASSIGN && a->child1 && a->child1->type == CN_VAR)
                first.emplace(std::string(a->child1->name), a->child2);
    }
    return first;
}

// Step 8: a structural parameter written `V = V` beside a fixed effect V is a plain copy of it.
void CGenCode::DetectStparmsDuplicatingFixefs() {
    naStparmDuplicatesFixef.clear();
    stparmCopiesOfFixef.clear();
    std::unordered_map<std::string, N> const first = FirstStparmRhs(pBody);
    std::unordered_set<std::string> fixefs;
    for (String const& f : saFixef)
        fixefs.insert(std::string(f));
    for (String const& name : saStruct) {
        auto it = first.find(std::string(name));
        N rhs = it == first.end() ? N() : it->second;
        bool copy =
            rhs && rhs->type == CN_VAR && rhs->name == name && fixefs.count(std::string(name));
        naStparmDuplicatesFixef.push_back(copy ? 1 : 0);
        if (copy) stparmCopiesOfFixef.insert(std::string(name));
    }
}

bool CGenCode::IsStparmCopyOfFixef(char const* name) const {
    return !stparmCopiesOfFixef.empty() && stparmCopiesOfFixef.count(name) > 0;
}

// All analysis, before any output file is opened.
void CGenCode::GenDllPhase1() {
    RunWalkers();
    RemoveDuplicates();
    CollectErrorInfo(pModel, saError, naErrorFrozen, daErrorInit);
    SV used = GetUsedVars();
    FillAssignments();
    DecideDualNumbers(used);
    FreezeUnusedFixefs(used);
    CheckVarUse("Random effect", saRanef5, used);
    CheckVarUse("Structural parameter", saStruct, used);
    StoreCounts();
    DetectStparmsDuplicatingFixefs();
    GenDllPhase1GetSemanticErrors(); // ends the run on a wrong model
    if (bTimeBased && !sTimeVar[0]) sTimeVar = "t";
    DecideGaussianFit();
    DecideLogTransform();
    CheckPowersOfTime();
    paGammaDelays.clear();
    GetGammaDelays(pBody, paGammaDelays);
}

int CountTransitSlots(cn const& body) {
    int n = 0;
    for (N const& s : GetTopStatements(body))
        if (s && s->type == CN_TRANSIT && s->child4) n += int(s->child4->value) + 2;
    return n;
}

static int MultiLevelRanef(CGenCode const& g) {
    if (g.saRanef5.empty()) return 0;
    for (SV const* list : {&g.saRanef1, &g.saRanef2, &g.saRanef3, &g.saRanef4})
        if (!list->empty()) return 1;
    return 0;
}

// #if 0 ... #define NFIXEF 2 ... #define NCFMACRO 0 // number of closed form machines
void CGenCode::GenModelH(char const* id, long runTime) {
    fprintf(fp, "#if 0\n// Model.h\n// Generated with VARO5 %s\n#endif\n\n", VARO_version);
    fprintf(fp, "#define NFIXEF %d // number of user fixef vars\n", int(saFixef.size()));
    fprintf(fp, "#define NERROR %d // number of user error vars\n", int(saError.size()));
    SV const* ranefs[5] = {&saRanef1, &saRanef2, &saRanef3, &saRanef4, &saRanef5};
    for (int i = 0; i < 5; i++)
        fprintf(fp, "#define NRANEF%d %d\n", i + 1, int(ranefs[i]->size()));
    fprintf(fp, "#define NDUALRANEF5 %d\n", int(saDualRanef5.size()));
    fprintf(fp, "#define NDUALFIXEFS %d\n", int(saDualFixef.size() + saDualError.size()));
    fprintf(fp, "#define MULTI_LEVEL_RANEF %d\n", MultiLevelRanef(*this));
    fprintf(fp, "#define NSECONDARY %d // number of secondary parameters\n",
            int(saSecondary.size()));
    fprintf(fp, "#define TRULYTIMEBASED %d\n", bTimeBased);
    fprintf(fp, "#define ALLOWGAUSSIANFIT %d\n", bAllowGaussianFit);
    fprintf(fp, "#define ALLOWLOGTRANSFORM %d\n", bAllowLogTransform);
    fprintf(fp, "#define MODELUNIQUEID \"%s\"\n", id);
    fprintf(fp, "#define MODELRUNID \"%s-%2.2lx\"\n", id, runTime);
    fprintf(fp, "\n");
    fprintf(fp, "#define NDERIV %d // number of user deriv vars\n", nDerivCount);
    fprintf(fp, "#define NURINE %d // number of urine compartments\n", nUrineCount);
    fprintf(fp, "#define NTRANSIT2 %d // number of transit2 compartments\n", nTransit2Count);
    fprintf(fp, "#define NTRANSIT %d // number of transit compartments\n",
            CountTransitSlots(pBody));
    fprintf(fp, "#define NEVENT %d // number of event/count statements\n", int(saEvent.size()));
    fprintf(fp, "#define NINTEG_ALL (NDERIV + NURINE + NTRANSIT2 + NTRANSIT + NEVENT)\n");
    fprintf(fp, "#define NCFMACRO %d // number of closed form machines\n",
            nCFMacro2Count + nCFMacroCount);
    fprintf(fp, "\n");
}

// #define CAN_DUAL ... using DualEta = DN<NDUALRANEF5, _ETA_TAG>; or #define WANT_CPP_SOLVERS
void CGenCode::GenModeBlock() {
    if (!IsDualModel()) {
        if (want_cpp_solvers) fprintf(fp, "#define WANT_CPP_SOLVERS\n");
        return;
    }
    bool theta = HasDualTheta(), eta = !saDualRanef5.empty();
    fprintf(fp, "#define CAN_DUAL\n");
    if (theta) fprintf(fp, "#define DUAL_THETA\n");
    if (eta) fprintf(fp, "#define DUAL_ETA\n");
    fprintf(fp, "\n");
    fprintf(fp, "#include \"mutil/DualNumber.h\"\n");
    fprintf(fp, "\n");
    if (theta) fprintf(fp, "struct _THETA_TAG {};\n");
    if (eta) fprintf(fp, "struct _ETA_TAG {};\n");
    fprintf(fp, "\n");
    if (theta) fprintf(fp, "using DualTheta = DN<NDUALFIXEFS, _THETA_TAG>;\n");
    if (eta) fprintf(fp, "using DualEta = DN<NDUALRANEF5, _ETA_TAG>;\n");
    fprintf(fp, "\n");
}

// #include "mutil/umath.h" ... static const int N_ODE = NINTEG_ALL + 1 + 0;
void CGenCode::GenEngineIncludes() {
    fprintf(fp, "\n#include \"mutil/umath.h\"\n#include \"mutil/simmath.h\"\n#include "
                "\"mutil/closed_form.h\"\n#include \"mutil/action.h\"\n#include "
                "\"mutil/action_data.h\"\n\n");
    if (bTimeBased && nDelayCount > 0) fprintf(fp, "#include \"mutil/delay.h\"\n\n");
    if (bTimeBased && nPeakCount > 0) fprintf(fp, "#include \"mutil/peak.h\"\n\n");
    int extraStates = 0;
    for (N const& g : paGammaDelays)
        if (g->list.size() > 2 && g->list[2]) extraStates += int(g->list[2]->value);
    fprintf(fp, "static const int N_ODE = NINTEG_ALL + 1 + %d;\n", extraStates);
}

// #include "file.h" for each include clause, with '\' and '"' escaped
void CGenCode::GenUserIncludes(NV const& includes) {
    for (N const& inc : includes) {
        fprintf(fp, "#include \"");
        for (char const* c = inc->name; *c; c++) {
            if (*c == '\\' || *c == '"') fputc('\\', fp);
            fputc(*c, fp);
        }
        fprintf(fp, "\"\n");
    }
}

// The frame of Model.cpp; each section prints itself in this order.
void CGenCode::GenModelCpp(NV const& includes) {
    fprintf(fp, "// Model.cpp\n// Generated with VARO5 %s\n", VARO_version);
    fputs(preludeA, fp);
    GenModeBlock();
    GenEngineIncludes();
    fputs(preludeB_head, fp);
    fprintf(fp, "const char * get_varo_version() { return \"%s\"; }\n", VARO_version);
    fputs(preludeB_getters, fp);
    fputs(IsDualModel() ? modePreludeDual : modePreludePlain, fp);
    fputs(preludeD, fp);
    GenUserIncludes(includes);
    GenModellingGlobalVariableDeclarations();
    GenPlotVarRoutines();
    GenSequenceClasses();
    GenEventSimClasses();
    GenCovariateCodeOrbx();
    GenStructuralCodeOrbx();
    GenVarUnits();
    pModel->AssertValid();
    int nOde = 0, bCanJacobian = 0, bCanMatexp = 0;
    GenInitSubjectEvalDerivAdvance(nOde, bCanJacobian, bCanMatexp);
    pModel->AssertValid();
    CollectUniqueVars();
    GenGetSetGlobalVars();
    GenSAEMCode();
    GenEndObsCode();
    GradientProcessing32();
    GenODEInfoRoutines(nOde, bCanJacobian, bCanMatexp);
    GenGetObservationNumber();
    GenObservationCode(0);
    GenPredVFCorrectionFactor();
    for (int code : {3, 2, 4, 5, 6})
        GenObsAndPredNameCode(code);
    GenUnifNormControlled();
    GenVcvfixef();
    GenObservationCode(7);
    GenObservationCode(8);
    GenObservationSimTblCode();
    FinishModelCpp();
}

// #undef A ... static const int _temp_res_num = 1; ... void ResetTime() ... Deriv ... Jacobian
void CGenCode::FinishModelCpp() {
    for (std::string const& m : macros)
        fprintf(fp, "#undef %s\n", m.c_str());
    fprintf(fp, "\n");
    fprintf(fp, "static const int _temp_res_num = %d;\n", nFuncResult);
    fprintf(fp, "static const int _temp_arg_num = %d;\n", nFuncArg);
    fputs(closingText, fp);
    fputs(steadyStateText, fp);
    fprintf(fp, "void ResetTime()\n{\n");
    fprintf(fp, "\tcurTime = 0;\n");
    fprintf(fp, "\tcurTimeLastDose = curTime;\n");
    fprintf(fp, "\tiCurWhichDose = 0;\n");
    if (bTimeBased) fprintf(fp, "\tt = curTime;\n\n");
    if (bTimeBased) fprintf(fp, "\tdata->init_tables();\n");
    fprintf(fp, "}\n\n");
    if (bTimeBased) {
        fputs(solverText, fp);
        return;
    }
    fprintf(fp, "void Deriv(double * _pt, double zzY[], double zzR[])\n{\n}\n\n");
    fprintf(fp, "void Jacobian(const double zzY[], double _jacobian[])\n{\n}\n");
}

// Analyses the model, then writes Model.h and Model.cpp.
void CGenCode::GenOrbxDLL(char const* modelFileName, char const* headerPath, char const* sourcePath,
                          int genTypes, NV const& includes) {
    iGenTypes = genTypes;
    GenDllPhase1();
    CheckVcvfixef();
    CheckObservationErrors();
    std::string id = get_model_id(modelFileName);
    long runTime = long(uint32_t(time(nullptr)));
    fp = OpenOutputFile(headerPath, "wb");
    if (!fp) CannotCreate(headerPath);
    GenModelH(id.c_str(), runTime);
    CloseOutputFile(fp);
    fp = OpenOutputFile(sourcePath, "wb");
    if (!fp) CannotCreate(sourcePath);
    GenModelCpp(includes);
    CloseOutputFile(fp);
    fp = nullptr;
}
