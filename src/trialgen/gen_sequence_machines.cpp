// The sequence machines of a trial model: each sequence statement becomes a coroutine that
// works on the model's members through references and waits with SLEEP, resuming at the label
// that the wait left.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "modelgen/gencode.h"
#include "trialgen/trialgen.h"

#include <algorithm>
#include <functional>

// Whether the model's class has a member of that name: what it declared, its fixed effects.
bool CGenCode3::IsModelMember(char const* name) {
    if (MemberOf(name, saDeclared) >= 0) return true;
    for (N const& f : paFixefItems)
        if (f->name == name) return true;
    return false;
}

// 	double& A1 = _model->A1;
// 	auto& Ac = _model->Ac;            (a closed-form compartment)
// 	double& Cin = *_model->_pCin;     (an input)
// 	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
// 	auto& _peakTable_0 = _model->_peakTable_0;
// for each name that the body uses, in the order of first use
void CGenCode3::GenSequenceBindings(NV const& body) {
    SV names;
    for (N const& s : body)
        CollectVars(s, names);
    for (String const& name : names) {
        char const* x = name;
        bool bInput = false;
        for (N const& in : pModelInputs)
            bInput = bInput || in->name == x;
        if (name == "t")
            fprintf(fpSource, "\tconst double t = StateMachine::CurrentAbsTime() - "
                              "_pSubj->tSubjectStartTime;\n");
        else if (bInput)
            fprintf(fpSource, "\tdouble& %s = *_model->_p%s;\n", x, x);
        else if (MemberOf(x, saPropertyNames) >= 0)
            fprintf(fpSource, "\tauto& %s = _model->%s;\n", x, x);
        else if (IsModelMember(x))
            fprintf(fpSource, "\tdouble& %s = _model->%s;\n", x, x);
    }
    std::vector<int> tables;
    std::function<void(N const&)> findResets = [&](N const& s) {
        if (!s) return;
        if (s->type == CN_PEAKRESET) {
            int table = GetIPeakTable(pModelBody, s->name);
            if (table >= 0 && std::find(tables.begin(), tables.end(), table) == tables.end())
                tables.push_back(table);
        }
        findResets(s->child2);
        findResets(s->child3);
        for (N const& e : s->list)
            findResets(e);
    };
    for (N const& s : body)
        findResets(s);
    for (int table : tables)
        fprintf(fpSource, "\tauto& _peakTable_%d = _model->_peakTable_%d;\n", table, table);
}

// The body of a while or an arm of an if. A bare sleep gets braces: it prints two lines.
void CGenCode3::GenSequenceArm(N const& s, int& state, int indent) {
    if (!s || s->type != CN_SLEEP) return GenCohortSequenceActionCode(s, state, indent);
    fprintf(fpSource, "%s{\n", Indent(indent));
    GenCohortSequenceActionCode(s, state, indent + 1);
    fprintf(fpSource, "%s}\n", Indent(indent));
}

// The code of one statement of a sequence at 'indent' tabs; 'state' counts the sleeps.
void CGenCode3::GenCohortSequenceActionCode(N const& s, int& state, int indent) {
    if (!s) return;
    char const* in = Indent(indent);
    switch (s->type) {
        case CN_WHILE:
            fprintf(fpSource, "%swhile(", in);
            GenC(s->child1, fpSource);
            fprintf(fpSource, ")\n");
            return GenSequenceArm(s->child2, state, indent + 1);
        case CN_IF:
            return GenIfChain(fpSource, s, indent,
                              [&](N const& arm, int i) { GenSequenceArm(arm, state, i); });
        case CN_BLOCK:
            fprintf(fpSource, "%s{\n", in);
            for (N const& e : s->list)
                GenCohortSequenceActionCode(e, state, indent + 1);
            fprintf(fpSource, "%s}\n", in);
            return;
        case CN_SLEEP: // then the subject is brought to now, before the body reads the state
            fprintf(fpSource, "%sSLEEP(%d, ", in, ++state);
            GenC(s->child1, fpSource);
            fprintf(fpSource, ", 0);\n");
            fprintf(fpSource, "%s_pSubj->Advance(StateMachine::CurrentAbsTime());\n", in);
            return;
        case CN_ADDTOCPT:
            if (!s->child1 || !s->child2) return;
            fprintf(fpSource, "%s%s += (", in, (char const*)s->child1->name);
            GenC(s->child2, fpSource);
            fprintf(fpSource, ");\n");
            return;
        case CN_PEAKRESET: {
            int table = GetIPeakTable(pModelBody, s->name);
            if (table >= 0) fprintf(fpSource, "%s_peakTable_%d.init();\n", in, table);
            return;
        }
        case CN_ASSIGN:
            if (s->child1 && s->child1->type == CN_VAR &&
                IsTransitName(GetTopStatements(pModelBody), s->child1->name)) {
                fprintf(fpSource, "%s_model->SetTransit_%s(", in, (char const*)s->child1->name);
                GenC(s->child2, fpSource);
                fprintf(fpSource, ");\n");
                return;
            }
            [[fallthrough]];
        default:
            fprintf(fpSource, "%s", in);
            GenC(s, fpSource);
            fprintf(fpSource, ";\n");
            return;
    }
}

// class pk_SeqSim_1 : public StateMachine {public:; ... };
void CGenCode3::GenSequenceMachineClass(char const* machine) {
    GenMachineHead(machine);
    fprintf(fpHeader, "\tStateMachine* pCaller;\n");
    fprintf(fpHeader, "\tint iStateCaller;\n");
    fprintf(fpHeader, "\tint _nSubordinate[5];\n");
    fprintf(fpHeader, "\tint _dropout;\t// set non-zero if dropping out due to event\n");
    fprintf(fpHeader,
            "\t%s(%s* __model) : _pSubj(__model->_pSubj), _model(__model), pCaller(0L), "
            "iStateCaller(-1), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) "
            "{}\n",
            machine, (char const*)sModelClass);
    GenMachineTail(false);
}

// void pk_SeqSim_1::Run(int iState, double tAbsTime, double tAbsEps){
// 	double& A1 = _model->A1;
// 	_model->EvalSParms();
// 	switch(iState){case 1:goto L1;case 2:goto L2;}
// 	...
// 	Destroy();
// }
void CGenCode3::GenSequenceRun(char const* machine, N const& seq) {
    int n = 0;
    CountSequenceStates(seq->list, n);
    fprintf(fpSource, "void %s::Run(int iState, double tAbsTime, double tAbsEps){\n", machine);
    GenSequenceBindings(seq->list);
    fprintf(fpSource, "\t_model->EvalSParms();\n");
    fprintf(fpSource, "\tswitch(iState){");
    for (int i = 1; i <= n; i++) {
        fprintf(fpSource, "case %d:goto L%d;", i, i);
        if (i % 10 == 0 && i < n) fprintf(fpSource, "\n\t");
    }
    fprintf(fpSource, "}\n");
    int state = 0;
    for (N const& s : seq->list)
        GenCohortSequenceActionCode(s, state, 1);
    fprintf(fpSource, "\tDestroy();\n");
    fprintf(fpSource, "}\n");
}

void CGenCode3::GenCohortSequenceClasses(NV const& stmts) {
    int number = 0;
    for (N const& s : stmts) {
        if (!s || s->type != CN_SEQUENCE) continue;
        std::string machine = NumberedMachineName(sModelClass, "SeqSim", ++number);
        GenSequenceMachineClass(machine.c_str());
        GenMachinePrint(machine.c_str(), true);
        GenSequenceRun(machine.c_str(), s);
    }
}
