// The routines of a trial procedure in cohort.cpp: Run, a coroutine that the scheduler enters
// at a state number and that jumps to its label; Finally, which wakes the caller; and Print.
// Also the walks that count a procedure's states and check whom it may start or call.
#include "driver/driver.h"
#include "modelgen/modelgen.h"
#include "trialgen/trialgen.h"

#include <cassert>
#include <cstdlib>

// The statements that 'stmt' holds, by kind: a block's list, the arms of an if, the bodies of
// loops, collect and steadystate.
static NV SubStatements(N const& stmt) {
    switch (stmt->type) {
        case CN_BLOCK: return stmt->list;
        case CN_IF: return {stmt->child2, stmt->child3};
        case CN_WHILE: return {stmt->child2};
        case CN_FOR: return {stmt->child3};
        case CN_COLLECT:
        case CN_STEADYSTATE: return {stmt->child1};
        default: return {};
    }
}

void GenCohortProcCountStates(N const& stmt, int& count) {
    if (!stmt) return;
    CNodeType t = stmt->type;
    if (t == CN_SLEEP || t == CN_PROC_CALL || t == CN_SUSPEND || t == CN_COLLECT) count++;
    for (N const& s : SubStatements(stmt))
        GenCohortProcCountStates(s, count);
}

void GenCohortProcMaxCollectDepth(N const& stmt, int depth, int& max) {
    if (!stmt) return;
    if (stmt->type == CN_COLLECT) depth++;
    if (depth > max) max = depth;
    for (N const& s : SubStatements(stmt))
        GenCohortProcMaxCollectDepth(s, depth, max);
}

// Whether a distrib statement stands anywhere in the procedure: its draws need temporaries.
static bool HasDistrib(N const& stmt) {
    if (!stmt) return false;
    if (stmt->type == CN_DISTRIB) return true;
    for (N const& s : SubStatements(stmt))
        if (HasDistrib(s)) return true;
    return false;
}

// The procedure so named, searching from the last, or null.
static N FindProc(NV const& procs, char const* name) {
    for (size_t i = procs.size(); i-- > 0;)
        if (procs[i]->child1->name == name) return procs[i];
    return N();
}

// main and proc may start a proc or a subject; subject and sproc only an sproc.
void GenCohortProcSprocCheck(CNodeType kind, N const& stmt, NV const& procs, N const& proc) {
    char const* callee = stmt->child1 ? (char const*)stmt->child1->name : "";
    N target = FindProc(procs, callee);
    if (target) {
        CNodeType t = target->type;
        if (kind == CN_PROC && (t == CN_PROC || t == CN_PROC_SUBJECT)) return;
        if (kind != CN_PROC && t == CN_PROC_SPROC) return;
    }
    fprintf(stderr,
            "Error: in procedure %s the call of procedure %s is invalid due to procedure type\r\n",
            (char const*)proc->child1->name, callee);
    exit(1);
}

static void CheckCalls(N const& stmt, NV const& procs, N const& proc) {
    if (!stmt) return;
    if (stmt->type == CN_START || stmt->type == CN_PROC_CALL)
        GenCohortProcSprocCheck(proc->type, stmt, procs, proc);
    for (N const& s : SubStatements(stmt))
        CheckCalls(s, procs, proc);
}

void CheckCohortProcCalls(NV const& procs) {
    for (N const& proc : procs)
        CheckCalls(proc->child2, procs, proc);
}

// void subject::Run(int iState, double tAbsTime, double tAbsEps){
// 	double t = tAbsTime - tMachineStartTime;
// 	pk& a = _pSubj->a;               (sproc)
// 	Advance(tAbsTime);               (subject)
// 	int _i = 0; ...                  (with distrib statements)
// 	switch(iState){case 1:goto L1;case 2:goto L2;}
// 	_nSubordinate[0] = 1;
// 	dose = 0;
void CGenCode3::GenProcRunHead(N const& proc, NV const& joins, NV const& models, int nStates) {
    fprintf(fpSource, "void %s::Run(int iState, double tAbsTime, double tAbsEps){\n",
            (char const*)proc->child1->name);
    fprintf(fpSource, "\tdouble t = tAbsTime - tMachineStartTime;\n");
    if (proc->type == CN_PROC_SPROC)
        for (N const& join : joins)
            for (N const& item : join->list)
                if (FindModelByName(item->child2->child1->name, models) >= 0)
                    fprintf(fpSource, "\t%s& %s = _pSubj->%s;\n",
                            (char const*)item->child2->child1->name,
                            (char const*)item->child1->name, (char const*)item->child1->name);
    if (proc->type == CN_PROC_SUBJECT) fprintf(fpSource, "\tAdvance(tAbsTime);\n");
    if (HasDistrib(proc->child2)) {
        fprintf(fpSource, "\tint _i = 0;\n");
        fprintf(fpSource, "\tint _itemp = 0;\n");
        fprintf(fpSource, "\tdouble _temp = 0;\n");
    }
    fprintf(fpSource, "\tswitch(iState){");
    for (int i = 1; i <= nStates; i++) {
        fprintf(fpSource, "case %d:goto L%d;", i, i);
        if (i % 10 == 0) fprintf(fpSource, "\n\t");
    }
    fprintf(fpSource, "}\n");
    fprintf(fpSource, "\t_nSubordinate[0] = 1;\n");
    SV doubles, ints;
    GenCohortProcGetLocals(proc, doubles, ints);
    for (String const& name : doubles)
        fprintf(fpSource, "\t%s = 0;\n", (char const*)name);
    for (String const& name : ints)
        fprintf(fpSource, "\t%s = 0;\n", (char const*)name);
}

// 	_bAbortingSubject = 0;
// 	InitSubject();
// 	if (_bAbortingSubject){ StopSubject(); Finally(); return; }
// 	StartSubject();
// No other routine starts the models: closed forms, events and sequences begin here.
void CGenCode3::GenProcSubjectStart() {
    fprintf(fpSource, "\t_bAbortingSubject = 0;\n");
    fprintf(fpSource, "\tInitSubject();\n");
    fprintf(fpSource, "\tif (_bAbortingSubject){\n");
    fprintf(fpSource, "\t\tStopSubject();\n");
    fprintf(fpSource, "\t\tFinally();\n");
    fprintf(fpSource, "\t\treturn;\n");
    fprintf(fpSource, "\t}\n");
    fprintf(fpSource, "\tStartSubject();\n");
}

// 	L1:; if (--_nSubordinate[0] > 0) return;
// 	StopSubject();                   (subject, with its last sleep)
// 	...
// 	Finally();
// }
void CGenCode3::GenProcRunTail(N const& proc, int& state) {
    fprintf(fpSource, "\tL%d:; if (--_nSubordinate[0] > 0) return;\n", 1);
    if (proc->type == CN_PROC_SUBJECT) {
        fprintf(fpSource, "\tStopSubject();\n");
        fprintf(fpSource, "\t// allow any event sims to finish\n");
        fprintf(fpSource, "\tbStop = 1;\n");
        fprintf(fpSource, "\tSLEEP(%d, 0, 10);\n", ++state);
    }
    fprintf(fpSource, "\tFinally();\n");
    fprintf(fpSource, "}\n");
}

// Run, Finally and Print of one procedure; Print, as a machine's, names the caller too. Label 1 is
// the root that every start outside a collect wakes; each waiting statement then takes the next
// number in text order, and a subject's last sleep the one after all.
void CGenCode3::GenCohortProcRunFunction(N const& proc, char const* indent, NV const& joins,
                                         NV const& models, NV const& ints, NV const& procs) {
    char const* name = proc->child1->name;
    int nStates = 1 + (proc->type == CN_PROC_SUBJECT ? 1 : 0);
    GenCohortProcCountStates(proc->child2, nStates);
    GenProcRunHead(proc, joins, models, nStates);
    if (proc->type == CN_PROC_SUBJECT) GenProcSubjectStart();
    int state = 1;
    fprintf(fpSource, "%s", indent);
    GenCohortProcStmt(proc->type, proc->child2, state, 1, 0, indent, joins, models, ints, procs,
                      proc);
    GenProcRunTail(proc, state);
    assert(state == nStates);
    GenMachineFinally(name, true);
    GenMachinePrint(name, true);
}
