// The statements of a trial procedure inside its Run: loops and tests, doses and observations
// through the subject's model instances, and the waiting statements (sleep, call, suspend,
// collect), each of which takes the next state number and leaves the label Ln behind it.
#include "driver/driver.h"
#include "modelgen/gencode.h"
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

#include <cstring>
#include <string>

// The test that ends a subject's loops once it stops: "!bStop && ", "!_pSubj->bStop && ".
static char const* StopGuard(CNodeType kind) {
    if (kind == CN_PROC_SUBJECT) return "!bStop && ";
    if (kind == CN_PROC_SPROC) return "!_pSubj->bStop && ";
    return "";
}

// The subject that a started or called procedure gets: ", this", ", _pSubj", or none.
static char const* SubjectArgument(CNodeType kind) {
    if (kind == CN_PROC_SUBJECT) return ", this";
    if (kind == CN_PROC_SPROC) return ", _pSubj";
    return "";
}

// Whether 'x' of 'instance' is a transit state of the instance's model.
static bool IsInstanceTransit(N const& lhs, NV const& joins, NV const& models) {
    if (!lhs || lhs->type != CN_MEMBER) return false;
    char const* model = GetInstanceModelName(lhs->child1->name, joins);
    int m = model ? FindModelByName(model, models) : -1;
    if (m < 0) return false;
    for (ModelState const& st : GetModelStates(models[size_t(m)]->child2))
        if (st.kind == StateTransit && st.name == lhs->child2->name) return true;
    return false;
}

// The table number of the peak variable 'name' in the first model that has it, or -1.
static int FindPeakTable(NV const& models, char const* name, N& owner) {
    for (N const& model : models) {
        int table = GetIPeakTable(model->child2, name);
        if (table >= 0) {
            owner = model;
            return table;
        }
    }
    return -1;
}

// 	_pSubj->a._peakTable_0.init();
// The table is a member of the model's first instance; main has no subject, so no table.
void CGenCode3::GenProcPeakReset(ProcScope& sc, N const& s, std::string const& I) {
    N model;
    int table = FindPeakTable(sc.models, s->name, model);
    if (table < 0 || sc.kind == CN_PROC) return;
    fprintf(fpSource, "%s_pSubj->%s._peakTable_%d.init();\n", I.c_str(),
            GetFirstInstanceName(model->child1->name, sc.joins), table);
}

// {
// 	...
// }
void CGenCode3::GenProcBlock(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                             std::string const& I) {
    fprintf(fpSource, "{\n");
    std::string inner = I + "\t";
    for (N const& stmt : s->list) {
        if (stmt && stmt->type == CN_BLOCK) fprintf(fpSource, "%s", inner.c_str());
        GenProcStmt(sc, stmt, state, depth + 1, collectDepth, inner);
    }
    fprintf(fpSource, "%s}\n", I.c_str());
}

// The body of a loop or an arm of a test, behind its head on the same line. A statement that
// is no block gets braces of its own, since a start or a sleep prints more than one line.
void CGenCode3::GenProcArm(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                           std::string const& I) {
    if (s && s->type == CN_BLOCK) return GenProcBlock(sc, s, state, depth, collectDepth, I);
    fprintf(fpSource, "{\n");
    GenProcStmt(sc, s, state, depth + 1, collectDepth, I + "\t");
    fprintf(fpSource, "%s}\n", I.c_str());
}

// 	if(x > 1){ ... }
// 	else if(y){ ... }
// 	else { ... }
void CGenCode3::GenProcIf(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                          std::string const& I) {
    fprintf(fpSource, "%sif(", I.c_str());
    GenC(s->child1, fpSource);
    fprintf(fpSource, ")");
    GenProcArm(sc, s->child2, state, depth, collectDepth, I);
    N next = s->child3;
    for (; next && next->type == CN_IF; next = next->child3) {
        fprintf(fpSource, "%selse if(", I.c_str());
        GenC(next->child1, fpSource);
        fprintf(fpSource, ")");
        GenProcArm(sc, next->child2, state, depth, collectDepth, I);
    }
    if (!next) return;
    fprintf(fpSource, "%selse ", I.c_str());
    GenProcArm(sc, next, state, depth, collectDepth, I);
}

// 	while(!bStop && (n < 3)){ ... }
// 	for(i = (int)(1); !bStop && i <= 10; i++){ ... }
// 	_pSubj->StartSS();
// 	while(_pSubj->GetSS()){ ... }
// 	_pSubj->SetTimeOfStateCF(StateMachine::CurrentAbsTime());
void CGenCode3::GenProcLoop(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                            std::string const& I) {
    char const* in = I.c_str();
    char const* guard = StopGuard(sc.kind);
    if (s->type == CN_WHILE) {
        fprintf(fpSource, "%swhile(%s(", in, guard);
        GenC(s->child1, fpSource);
        fprintf(fpSource, "))");
        return GenProcArm(sc, s->child2, state, depth, collectDepth, I);
    }
    if (s->type == CN_FOR) {
        char const* x = s->name;
        fprintf(fpSource, "%sfor(%s = (int)(", in, x);
        GenC(s->child1, fpSource);
        fprintf(fpSource, "); %s%s <= ", guard, x);
        GenC(s->child2, fpSource);
        fprintf(fpSource, "; %s++)", x);
        return GenProcArm(sc, s->child3, state, depth, collectDepth, I);
    }
    fprintf(fpSource, "%s_pSubj->StartSS();\n", in);
    fprintf(fpSource, "%swhile(_pSubj->GetSS())", in);
    GenProcArm(sc, s->child1, state, depth, collectDepth, I);
    fprintf(fpSource, "%s_pSubj->SetTimeOfStateCF(StateMachine::CurrentAbsTime());\n", in);
}

// 	{	_nSubordinate[1] = 1;
// 		...
// 		L3:; if (--_nSubordinate[1] > 0) return; // only continue if no more sub processes
// 	}
// The collect counts itself once and each start once; each finished child comes back to its
// label through Finally, and only the last arrival goes on.
void CGenCode3::GenProcCollect(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                               std::string const& I) {
    char const* in = I.c_str();
    int d = collectDepth + 1, label = ++state;
    sc.labels[d < 5 ? d : 4] = label;
    fprintf(fpSource, "%s{\t_nSubordinate[%d] = 1;\n", in, d);
    if (s->child1 && s->child1->type == CN_BLOCK) fprintf(fpSource, "%s\t", in);
    GenProcStmt(sc, s->child1, state, depth + 1, d, I + "\t");
    fprintf(
        fpSource,
        "%s\tL%d:; if (--_nSubordinate[%d] > 0) return; // only continue if no more sub processes\n",
        in, label, d);
    fprintf(fpSource, "%s}\n", in);
}

// 	++_nSubordinate[1];
// 	START(new subject(this, 3, 2));
// 	CALL(4, new dose(this, 4, this, 100));
// The arguments of the callee follow its caller, its state and, below main, its subject.
void CGenCode3::GenProcStart(ProcScope& sc, N const& s, int& state, int collectDepth,
                             std::string const& I) {
    GenCohortProcSprocCheck(sc.kind, s, sc.procs, sc.proc);
    char const* in = I.c_str();
    char const* callee = s->child1->name;
    if (s->type == CN_START) {
        fprintf(fpSource, "%s++_nSubordinate[%d];\n", in, collectDepth);
        fprintf(fpSource, "%sSTART(new %s(this, %d%s", in, callee,
                sc.labels[collectDepth < 5 ? collectDepth : 4], SubjectArgument(sc.kind));
    } else {
        ++state;
        fprintf(fpSource, "%sCALL(%d, new %s(this, %d%s", in, state, callee, state,
                SubjectArgument(sc.kind));
    }
    if (s->child1->type == CN_CALL)
        for (N const& arg : s->child1->list) {
            fprintf(fpSource, ", ");
            GenC(arg, fpSource);
        }
    fprintf(fpSource, "));\n");
}

// 	SLEEP(2, 24, 0);
// 	Advance(StateMachine::CurrentAbsTime());          (subject; an sproc through _pSubj)
void CGenCode3::GenProcSleep(ProcScope& sc, N const& s, int& state, std::string const& I) {
    char const* in = I.c_str();
    fprintf(fpSource, "%sSLEEP(%d, ", in, ++state);
    GenC(s->child1, fpSource);
    fprintf(fpSource, ", ");
    if (s->child2)
        GenC(s->child2, fpSource);
    else
        fprintf(fpSource, "0");
    fprintf(fpSource, ");\n");
    if (sc.kind == CN_PROC_SUBJECT)
        fprintf(fpSource, "%sAdvance(StateMachine::CurrentAbsTime());\n", in);
    if (sc.kind == CN_PROC_SPROC)
        fprintf(fpSource, "%s_pSubj->Advance(StateMachine::CurrentAbsTime());\n", in);
}

// 	_pSubj->a.Observe_C(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer);
// 	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, "", "x", x, "");
void CGenCode3::GenProcObserve(ProcScope& sc, N const& s, std::string const& I) {
    N const& x = s->child2;
    if (x->type == CN_MEMBER) {
        fprintf(fpSource,
                "%s_pSubj->%s.Observe_%s(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer);\n",
                I.c_str(), (char const*)x->child1->name, (char const*)x->child2->name);
        return;
    }
    // main has no subject: its records carry no arm, subject or period
    char const* who =
        sc.kind == CN_PROC ? "-1, -1, -1" : "_pSubj->iArm, _pSubj->iSub, _pSubj->iPer";
    fprintf(fpSource, "%s_rec_observe(iScen, iRep, %s, \"\"", I.c_str(), who);
    fprintf(fpSource, ", \"%s\"", (char const*)x->name);
    fprintf(fpSource, ", ");
    GenC(x, fpSource);
    fprintf(fpSource, ", \"\");\n");
}

// 	_pSubj->a.Bolus_Aa(iScen, iRep, 100);
// 	_pSubj->a.Infuse_A1(iScen, iRep, 100, 10);
void CGenCode3::GenProcDose(N const& s, std::string const& I) {
    N const& cpt = s->child2;
    char const* inst = cpt->type == CN_MEMBER ? (char const*)cpt->child1->name : "";
    char const* dose = cpt->type == CN_MEMBER ? cpt->child2->name : cpt->name;
    char const* what = s->type == CN_PROC_BOLUS ? "Bolus" : "Infuse";
    fprintf(fpSource, "%s_pSubj->%s.%s_%s(iScen, iRep", I.c_str(), inst, what, dose);
    fprintf(fpSource, ", ");
    GenC(s->child3, fpSource);
    if (s->type == CN_PROC_INFUSE) {
        fprintf(fpSource, ", ");
        GenC(s->child4, fpSource);
    }
    fprintf(fpSource, ");\n");
}

// 	a.SetTransit_T(5);
// 	n = (int)(n + 1);
// 	x = 2 * y;
void CGenCode3::GenProcAssign(ProcScope& sc, N const& s, std::string const& I) {
    N const& lhs = s->child1;
    char const* in = I.c_str();
    if (IsInstanceTransit(lhs, sc.joins, sc.models)) {
        fprintf(fpSource, "%s%s.SetTransit_%s(", in, (char const*)lhs->child1->name,
                (char const*)lhs->child2->name);
        GenC(s->child2, fpSource);
        fprintf(fpSource, ");\n");
        return;
    }
    if (lhs && lhs->type == CN_VAR && MemberOf(lhs->name, sc.ints) >= 0) {
        fprintf(fpSource, "%s%s = (int)(", in, (char const*)lhs->name);
        GenC(s->child2, fpSource);
        fprintf(fpSource, ");\n");
        return;
    }
    fprintf(fpSource, "%s", in);
    GenC(s, fpSource);
    fprintf(fpSource, ";\n");
}

// The draws of a distrib statement, by sub-population of the subject when it has several:
// 	if (0){
// 	} else if (_pSubj->iSubpop == 1){
// 			...
// 	} else { // iSubpop == 0 or any other number
// 			...
// 	}
void CGenCode3::GenProcDistrib(ProcScope& sc, N const& s, int depth, std::string const& I) {
    NV const& vars = s->child1->list;
    NV const& subpops = s->child2->list;
    char const* in = I.c_str();
    char const* subpop = sc.kind == CN_PROC ? "iSubpop" : "_pSubj->iSubpop";
    int tabs = depth > 2 ? depth - 2 : 0; // the draws print two tabs in
    if (subpops.size() > 1) {
        fprintf(fpSource, "%sif (0){\n", in);
        for (size_t k = 1; k < subpops.size(); k++) {
            fprintf(fpSource, "%s} else if (%s == %d){\n", in, subpop, int(k));
            GenCohortDistrCode1(PassProcStep, subpops[k], tabs, 0, vars);
        }
        fprintf(fpSource, "%s} else { // iSubpop == 0 or any other number\n", in);
    }
    if (!subpops.empty()) GenCohortDistrCode1(PassProcStep, subpops[0], tabs, 0, vars);
    if (subpops.size() > 1) fprintf(fpSource, "%s}\n", in);
}

// One statement at indent 'I', by kind; a block prints from its "{", the rest from 'I'.
void CGenCode3::GenProcStmt(ProcScope& sc, N const& s, int& state, int depth, int collectDepth,
                            std::string const& I) {
    if (!s) return;
    char const* in = I.c_str();
    switch (s->type) {
        case CN_BLOCK: return GenProcBlock(sc, s, state, depth, collectDepth, I);
        case CN_INT_DECL:
        case CN_DOUBLE_DECL: return; // members of the class
        case CN_PEAKRESET: return GenProcPeakReset(sc, s, I);
        case CN_SAMPLE: return; // files are sampled by the models only
        case CN_PROC_OBSERVE: return GenProcObserve(sc, s, I);
        case CN_PROC_BOLUS:
        case CN_PROC_INFUSE: return GenProcDose(s, I);
        case CN_SLEEP: return GenProcSleep(sc, s, state, I);
        case CN_IF: return GenProcIf(sc, s, state, depth, collectDepth, I);
        case CN_WHILE:
        case CN_FOR:
        case CN_STEADYSTATE: return GenProcLoop(sc, s, state, depth, collectDepth, I);
        case CN_START:
        case CN_PROC_CALL: return GenProcStart(sc, s, state, collectDepth, I);
        case CN_COLLECT: return GenProcCollect(sc, s, state, depth, collectDepth, I);
        case CN_SUSPEND: fprintf(fpSource, "%sSUSPEND(%d);\n", in, ++state); return;
        case CN_RESUME: fprintf(fpSource, "%sRESUME(%s);\n", in, (char const*)s->name); return;
        case CN_DISTRIB: return GenProcDistrib(sc, s, depth, I);
        case CN_ASSIGN: return GenProcAssign(sc, s, I);
        default:
            fprintf(fpSource, "%s", in);
            GenC(s, fpSource);
            fprintf(fpSource, ";\n");
            return;
    }
}

// The int names that an assignment converts: the script's globals and the procedure's own.
void CGenCode3::GenCohortProcStmt(int kind, N const& stmt, int& state, int depth, int collectDepth,
                                  char const* indent, NV const& joins, NV const& models,
                                  NV const& ints, NV const& procs, N const& proc) {
    ProcScope sc{proc, CNodeType(kind), joins, models, procs, {}, {1, 1, 1, 1, 1}};
    SV doubles;
    GenCohortProcGetLocals(proc, doubles, sc.ints);
    for (N const& v : ints)
        sc.ints.push_back(v->name);
    GenProcStmt(sc, stmt, state, depth, collectDepth, indent);
}
