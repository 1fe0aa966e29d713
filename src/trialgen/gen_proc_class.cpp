// The class of a trial procedure in cohort.h: a StateMachine whose locals are members, so that
// they outlive a suspension. A subject also owns one member for each model instance of the
// join blocks, declares the routines that apply to all of them, and wires each instance's
// inputs to the members that the join block names.
#include "driver/driver.h"
#include "trialgen/trialgen.h"

#include <string>

static bool IsParameter(N const& proc, char const* name) {
    for (N const& v : proc->child1->list)
        if (v->name == name) return true;
    return false;
}

// The declared names of the statements under 'stmt', and the names of undeclared for loops
// after them; the walk follows every kind that holds statements.
static void CollectLocals(N const& stmt, SV& doubles, SV& ints, SV& loops) {
    if (!stmt) return;
    switch (stmt->type) {
        case CN_BLOCK:
            for (N const& s : stmt->list)
                CollectLocals(s, doubles, ints, loops);
            return;
        case CN_DOUBLE_DECL:
        case CN_INT_DECL:
            for (N const& v : stmt->list) {
                SV& names = stmt->type == CN_INT_DECL ? ints : doubles;
                if (MemberOf(v->name, names) < 0) names.push_back(v->name);
            }
            return;
        case CN_IF: CollectLocals(stmt->child3, doubles, ints, loops); [[fallthrough]];
        case CN_WHILE: CollectLocals(stmt->child2, doubles, ints, loops); return;
        case CN_FOR:
            if (MemberOf(stmt->name, loops) < 0) loops.push_back(stmt->name);
            CollectLocals(stmt->child3, doubles, ints, loops);
            return;
        case CN_COLLECT:
        case CN_STEADYSTATE: CollectLocals(stmt->child1, doubles, ints, loops); return;
        default: return;
    }
}

void GenCohortProcGetLocals(N const& proc, SV& doubles, SV& ints) {
    SV loops;
    CollectLocals(proc->child2, doubles, ints, loops);
    for (String const& name : loops)
        if (MemberOf(name, doubles) < 0 && MemberOf(name, ints) < 0 && !IsParameter(proc, name))
            ints.push_back(name);
}

// 	pk a;
void CGenCode3::GenCohortJoinStmt(N const& stmt) {
    fprintf(fpHeader, "\t%s %s;\n", (char const*)stmt->child2->child1->name,
            (char const*)stmt->child1->name);
}

// 	double tLastAbsTime;
// 	...
// 	static void InitReplicate();
// 	...
// 	void Advance(double tEnd);
// 	ssState ss;
// 	void StartSS();
// 	bool GetSS();
// 	pk a;
void CGenCode3::GenProcSubjectMembers(NV const& joins) {
    fprintf(fpHeader, "\tdouble tLastAbsTime;\n");
    fprintf(fpHeader, "\tdouble tLastSSTime;\n");
    fprintf(fpHeader, "\tstatic void InitReplicate();\n");
    fprintf(fpHeader, "\tstatic void InitScenario();\n");
    fprintf(fpHeader, "\tstatic void InitGlobal();\n");
    fprintf(fpHeader, "\tvoid InitSubject();\n");
    fprintf(fpHeader, "\tvoid StartSubject();\n");
    fprintf(fpHeader, "\tvoid StopSubject();\n");
    fprintf(fpHeader, "\tvoid EvalGroup();\n");
    fprintf(fpHeader, "\tvoid EvalAssign();\n");
    fprintf(fpHeader, "\tvoid CF2Advance(double dt);\n");
    fprintf(fpHeader, "\tvoid EvalSParms();\n");
    fprintf(fpHeader, "\tint GetNInteg();\n");
    fprintf(fpHeader, "\tvoid SetInteg(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid GetInteg(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid GetRate(int& zzn, double zzr[]);\n");
    fprintf(fpHeader, "\tvoid SetTimeOfStateCF(double _t);\n");
    fprintf(fpHeader, "\tvoid SetTimeOfGetValCF(double _t);\n");
    fprintf(fpHeader, "\tint GetNStateSS();\n");
    fprintf(fpHeader, "\tvoid GetStateSS(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid SetStateSS(int& zzn, double zzv[]);\n");
    fprintf(fpHeader, "\tvoid Deriv(double zzv[], double zzr[]);\n");
    fprintf(fpHeader, "\tvoid Advance(double tEnd);\n");
    fprintf(fpHeader, "\tssState ss;\n");
    fprintf(fpHeader, "\tvoid StartSS();\n");
    fprintf(fpHeader, "\tbool GetSS();\n");
    for (N const& item : JoinItems(joins))
        GenCohortJoinStmt(item);
}

// 	double dose;	(the double locals and the parameters)
// 	int i;
void CGenCode3::GenProcLocals(N const& proc) {
    SV doubles, ints;
    GenCohortProcGetLocals(proc, doubles, ints);
    for (String const& name : doubles)
        fprintf(fpHeader, "\tdouble %s;\n", (char const*)name);
    for (N const& v : proc->child1->list)
        if (MemberOf(v->name, doubles) < 0)
            fprintf(fpHeader, "\tdouble %s;\n", (char const*)v->name);
    for (String const& name : ints)
        fprintf(fpHeader, "\tint %s;\n", (char const*)name);
}

// 		a._sInstance = strdup("a");
// 		a._pSubj = this;
// 		e._pC = &a.A1;
// Each input of an instance points at the member that its join item connects to it.
void CGenCode3::GenProcWiring(N const& proc, NV const& joins, NV const& models) {
    fprintf(fpHeader, "\t\tbStop = 0;\n");
    if (!IsParameter(proc, "iArm")) fprintf(fpHeader, "\t\tiArm = -1;\n");
    if (!IsParameter(proc, "iPer")) fprintf(fpHeader, "\t\tiPer = -1;\n");
    for (N const& item : JoinItems(joins)) {
        char const* inst = item->child1->name;
        fprintf(fpHeader, "\t\t%s._sInstance = strdup(\"%s\");\n", inst, inst);
        fprintf(fpHeader, "\t\t%s._pSubj = this;\n", inst);
        int m = FindModelByName(item->child2->child1->name, models);
        if (m < 0) continue;
        NV const& inputs = models[size_t(m)]->child1->list;
        NV const& wires = item->child2->list;
        for (size_t i = 0; i < inputs.size() && i < wires.size(); i++)
            fprintf(fpHeader, "\t\t%s._p%s = &%s.%s;\n", inst, (char const*)inputs[i]->name,
                    (char const*)wires[i]->child1->name, (char const*)wires[i]->child2->name);
    }
}

// 	subject(StateMachine* _pc, int _istc, double _iArm) : pCaller(_pc), iStateCaller(_istc),
// 	_pSubj(this), iArm(_iArm), ..., StateMachine(){          (in one line)
// 		bStop = 0;
// 		...
// 	}
void CGenCode3::GenProcConstructor(N const& proc, NV const& joins, NV const& models) {
    char const* name = proc->child1->name;
    NV const& params = proc->child1->list;
    fprintf(fpHeader, "\t%s(StateMachine* _pc, int _istc", name);
    if (proc->type == CN_PROC_SPROC) fprintf(fpHeader, ", subject* _psub");
    for (N const& v : params)
        fprintf(fpHeader, ", double _%s", (char const*)v->name);
    fprintf(fpHeader, ") : pCaller(_pc), iStateCaller(_istc)");
    if (proc->type == CN_PROC_SPROC) fprintf(fpHeader, ", _pSubj(_psub)");
    if (proc->type == CN_PROC_SUBJECT) fprintf(fpHeader, ", _pSubj(this)");
    if (proc->type == CN_PROC) fprintf(fpHeader, ", _pSubj(NULL)");
    for (N const& v : params)
        fprintf(fpHeader, ", %s(_%s)", (char const*)v->name, (char const*)v->name);
    if (proc->type == CN_PROC_SUBJECT) {
        fprintf(fpHeader, ", tSubjectStartTime(StateMachine::CurrentAbsTime())");
        fprintf(fpHeader, ", tLastAbsTime(StateMachine::CurrentAbsTime())");
        fprintf(fpHeader, ", tLastSSTime(0)");
    }
    fprintf(fpHeader, ", tMachineStartTime(StateMachine::CurrentAbsTime())");
    fprintf(fpHeader, ", StateMachine(){\n");
    if (proc->type == CN_PROC_SUBJECT) GenProcWiring(proc, joins, models);
    fprintf(fpHeader, "\t}\n");
}

// class main : public StateMachine {public:;
// 	virtual int GetType(){return 4;}
// 	subject* _pSubj;
// 	...
// 	virtual void Run(int iState, double tAbsTime, double tAbsEps);
// 	void Finally();
// };
void CGenCode3::GenCohortProcClass(N const& proc, NV const& joins, NV const& models,
                                   char const* indent) {
    char const* name = proc->child1->name;
    bool subj = proc->type == CN_PROC_SUBJECT;
    fprintf(fpHeader, "class %s : public StateMachine {public:;\n", name);
    fprintf(fpHeader, "%svirtual int GetType(){return %d;}\n", indent, AddClassName(name));
    fprintf(fpHeader, "%ssubject* _pSubj;\n", indent);
    if (subj) GenProcSubjectMembers(joins);
    fprintf(fpHeader, "%svirtual void Print(FILE* f, int nIndent);\n", indent);
    fprintf(fpHeader, "%s%s() : pCaller(0L), iStateCaller(-1) {}\n", indent, name);
    GenProcLocals(proc);
    fprintf(fpHeader, "%sStateMachine* pCaller;\n", indent);
    fprintf(fpHeader, "%sint _nSubordinate[5];\n", indent);
    fprintf(fpHeader, "%sint iStateCaller;\n", indent);
    if (subj) fprintf(fpHeader, "%sint bStop;\n", indent);
    GenProcConstructor(proc, joins, models);
    fprintf(fpHeader, "%sdouble tMachineStartTime;\n", indent);
    if (subj) {
        fprintf(fpHeader, "%sdouble tSubjectStartTime;\n", indent);
        fprintf(fpHeader, "%svirtual int IsSubject(){return 1;}\n", indent);
    }
    fprintf(fpHeader, "%svirtual void Run(int iState, double tAbsTime, double tAbsEps);\n", indent);
    fprintf(fpHeader, "%svoid Finally();\n", indent);
    fprintf(fpHeader, "};\n");
}
