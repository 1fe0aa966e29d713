// Action code of Model.cpp: the dobefore/doafter hooks, `sequence` blocks as routines that
// sleep and resume where they slept, and `event` statements as hazards sampled one time slice
// after another.
#include "modelgen/gencode.h"

#include <algorithm>

char const* Indent(int n) {
    static char const tabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
    n = std::max(0, std::min(n, 20));
    return tabs + 20 - n;
}

// Whether 'name' is the variable of a transit or delayInfCpt statement.
static bool IsTransitVariable(cn const& body, char const* name) {
    for (N const& s : GetTopStatements(body))
        if (s && (s->type == CN_TRANSIT || s->type == CN_DELAYINFCPT) && s->child1 &&
            s->child1->name == name)
            return true;
    return false;
}

// A = e;   or, for the variable of a transit chain, SetTransit_A(e, zzY, *this);
static void GenActionAssign(FILE* fp, cn const& body, cn const& s, int indent) {
    fprintf(fp, "%s", Indent(indent));
    if (s->child1 && s->child1->type == CN_VAR && IsTransitVariable(body, s->child1->name)) {
        fprintf(fp, "SetTransit_%s(", C(s->child1->name));
        GenC(s->child2, fp);
        fprintf(fp, ", zzY, *this)");
    } else {
        GenC(s, fp);
    }
    fprintf(fp, ";\n");
}

// 			_peakTable_0.init();
static void GenPeakReset(FILE* fp, cn const& body, cn const& s, int indent) {
    int table = GetIPeakTable(body, s->name);
    if (table >= 0) fprintf(fp, "%s_peakTable_%d.init();\n", Indent(indent), table);
}

void CGenCode::GenActionCode(NV const& stmts, int indent, bool prologue) const {
    if (prologue)
        fprintf(fp, "%sif (odeState == ODESTATE_UNDERWAY)\n%s\todeState = ODESTATE_CHANGE;\n\n",
                Indent(indent), Indent(indent));
    for (N const& s : stmts)
        GenActionCode(s, indent, false);
}

// The code of one action statement at 'indent' tabs, after the change-of-state prologue when
// 'prologue' is set. Calls, sleeps and addToCpt have no code here.
void CGenCode::GenActionCode(cn const& s, int indent, bool prologue) const {
    if (!s) return;
    if (prologue) return GenActionCode(NV{std::const_pointer_cast<CNode>(s)}, indent, true);
    switch (s->type) {
        case CN_WHILE:
            fprintf(fp, "%swhile(", Indent(indent));
            GenC(s->child1, fp);
            fprintf(fp, ")\n");
            return GenActionCode(s->child2, indent + 1, false);
        case CN_IF:
            return GenIfChain(fp, s, indent,
                              [&](cn const& arm, int i) { GenActionCode(arm, i, false); });
        case CN_BLOCK:
            fprintf(fp, "%s{\n", Indent(indent));
            for (N const& e : s->list)
                GenActionCode(e, indent + 1, false);
            fprintf(fp, "%s}\n", Indent(indent));
            return;
        case CN_ASSIGN: return GenActionAssign(fp, pBody, s, indent);
        case CN_NUM:
            fprintf(fp, "%s", Indent(indent));
            GenC(s, fp);
            fprintf(fp, ";\n");
            return;
        case CN_PEAKRESET: return GenPeakReset(fp, pBody, s, indent);
        default: return;
    }
}

// 	{
// 	    seq_state[0] = 1;
// 	    insert_action((double)2, 0, ZZACTION_SLEEP_SEQ, make_action_data(0, 0, 0));
// 	    return;
// 	}
// ST0001:;
static void GenSleep(FILE* fp, cn const& s, int indent, int seq, int& state) {
    char const* in = Indent(indent);
    state++;
    fprintf(fp, "%s{\n%s    seq_state[%d] = %d;\n%s    insert_action((double)", in, in, seq, state,
            in);
    GenC(s->child1, fp);
    fprintf(fp, ", 0, ZZACTION_SLEEP_SEQ, make_action_data(%d, 0, 0));\n%s    return;\n%s}\n", seq,
            in, in);
    fprintf(fp, "ST%04d:;\n", state);
}

// 	AddToCpt(zzY, 0, 5);   or a warning for a name that is no compartment
static void GenAddToCptAction(CGenCode const& g, cn const& s, int indent) {
    fprintf(g.fp, "%s", Indent(indent));
    char const* nm = s->child1 ? static_cast<char const*>(s->child1->name) : "";
    int cpt = g.GetCompartmentNumber(nm);
    if (cpt < 0) {
        fprintf(stderr,
                "Warning: cannot do addToCpt(%s) in action code. '%s' is not a compartment.\r\n",
                nm, nm);
        return;
    }
    if (!s->child2) return; // no amount: nothing to add
    fprintf(g.fp, "AddToCpt(zzY, %d, ", cpt);
    GenC(s->child2, g.fp);
    fprintf(g.fp, ")");
    fprintf(g.fp, ";\n");
}

// One arm of an if or the body of a while. A bare sleep is printed as a block, so that its
// label stands inside the braces and never between an if and its else.
static void GenSequenceArm(CGenCode const& g, cn const& arm, int indent, int seq, int& state) {
    if (!arm || arm->type != CN_SLEEP) return g.GenSequenceActionCode(arm, indent, seq, state);
    fprintf(g.fp, "%s{\n", Indent(indent - 1));
    g.GenSequenceActionCode(arm, indent, seq, state);
    fprintf(g.fp, "%s}\n", Indent(indent - 1));
}

// The code of one statement of sequence 'seq': as in hooks, and besides calls, sleeps that
// return to the engine and resume at their label, and addToCpt. 'state' counts the sleeps.
void CGenCode::GenSequenceActionCode(cn const& s, int indent, int seq, int& state) const {
    if (!s) return;
    switch (s->type) {
        case CN_WHILE:
            fprintf(fp, "%swhile(", Indent(indent));
            GenC(s->child1, fp);
            fprintf(fp, ")\n");
            return GenSequenceArm(*this, s->child2, indent + 1, seq, state);
        case CN_IF:
            return GenIfChain(fp, s, indent, [&](cn const& arm, int i) {
                GenSequenceArm(*this, arm, i, seq, state);
            });
        case CN_BLOCK:
            fprintf(fp, "%s{\n", Indent(indent - 1));
            for (N const& e : s->list)
                GenSequenceActionCode(e, indent, seq, state);
            fprintf(fp, "%s}\n", Indent(indent - 1));
            return;
        case CN_ASSIGN: return GenActionAssign(fp, pBody, s, indent);
        case CN_NUM:
        case CN_CALL:
            fprintf(fp, "%s", Indent(indent));
            GenC(s, fp);
            fprintf(fp, ";\n");
            return;
        case CN_PEAKRESET: return GenPeakReset(fp, pBody, s, indent);
        case CN_SLEEP: return GenSleep(fp, s, indent, seq, state);
        case CN_ADDTOCPT: return GenAddToCptAction(*this, s, indent);
        default: return;
    }
}

static void CountStates(N const& s, int& count) {
    if (!s) return;
    switch (s->type) {
        case CN_SLEEP: count++; return;
        case CN_IF: CountStates(s->child2, count); return CountStates(s->child3, count);
        case CN_WHILE: return CountStates(s->child2, count);
        case CN_BLOCK: return CountSequenceStates(s->list, count);
        default: return;
    }
}

void CountSequenceStates(NV const& list, int& count) {
    for (N const& s : list)
        CountStates(s, count);
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::sequence_action(int _seq, double _t)
// { ... a table of the routines, called by number ... }
// 'kind' is "sequence" or "event".
static void GenActionDispatcher(FILE* fp, char const* kind, char const* arg, int n) {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::%s_action(int %s, double _t)\n{\n", kind, arg);
    if (n > 0) {
        fprintf(fp, "\ttypedef void (MODEL_CLASS_DECL::*Action)(double);\n");
        fprintf(fp, "\tstatic Action actions[] = {");
        for (int k = 0; k < n; k++)
            fprintf(fp, "\n\t\t&MODEL_CLASS_DECL::%s_%d_action,", kind, k);
        fprintf(fp, "\n\t};\n");
        fprintf(fp, "\tif (%s < 0 || %s >= %d){\n", arg, arg, n);
        fprintf(fp, "\t\tfprintf(stderr, \"Fatal error: %s number is out of bounds.\\n\");\n",
                kind);
        fprintf(fp, "\t\texit(1);\n");
        fprintf(fp, "\t}\n");
        fprintf(fp, "\t(this->*actions[%s])(_t);\n", arg);
    }
    fprintf(fp, "}\n\n");
}

// template <typename Model>
// void SetTransit_A(double _v, double* zzY, Model & m);
// Sequence code may set a transit variable before the setters are printed.
static void GenSetTransitDeclarations(CGenCode const& g) {
    for (N const& s : GetTopStatements(g.pBody)) {
        if (!s || (s->type != CN_TRANSIT && s->type != CN_DELAYINFCPT) || !s->child1) continue;
        fprintf(g.fp, "template <typename Model>\n");
        fprintf(g.fp, "void SetTransit_%s(double _v, double* zzY, Model & m);\n\n",
                C(s->child1->name));
    }
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::sequence_0_action(double t)
// { ... resumes after the sleep it stopped at ... }
static void GenSequenceRoutine(CGenCode const& g, N const& seq, int k) {
    FILE* fp = g.fp;
    int n = 0;
    CountSequenceStates(seq->list, n);
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::sequence_%d_action(double t)\n{\n", k);
    fprintf(fp, "\tif (seq_state[%d] < 0) return;\n\n", k);
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n\n");
    fprintf(fp, "\tif (seq_state[%d] > %d) seq_state[%d] = -1;\n\n", k, n, k);
    fprintf(fp, "\tif (odeState == ODESTATE_UNDERWAY)\n\t\todeState = ODESTATE_CHANGE;\n\n");
    fprintf(fp, "\tif (seq_state[%d] < 0) return;\n", k);
    for (int s = 1; s <= n; s++)
        fprintf(fp, "\tif (seq_state[%d] == %d) goto ST%04d;\n", k, s, s);
    int state = 0;
    for (N const& stmt : seq->list)
        g.GenSequenceActionCode(stmt, 1, k, state);
    fprintf(fp, "\tseq_state[%d] = -1;\n", k);
    fprintf(fp, "}\n");
}

// void AddToCpt(int _iCpt, double _dv);	// forward declaration
// ... sequence_0_action ... sequence_action
void CGenCode::GenSequenceClasses() {
    fprintf(fp, "void AddToCpt(int _iCpt, double _dv);\t// forward declaration\n\n");
    int k = 0;
    for (N const& s : GetTopStatements(pBody)) {
        if (!s || s->type != CN_SEQUENCE) continue;
        if (k == 0) GenSetTransitDeclarations(*this);
        GenSequenceRoutine(*this, s, k++);
    }
    GenActionDispatcher(fp, "sequence", "_seq", k);
}

// The loop of one event: sample a delay from the hazard of the time slice; sleep to it and
// report the event, or sleep through the slice.
static void GenEventLoop(FILE* fp, N const& ev) {
    fprintf(fp, "\t_data._dropout = false;\n");
    fprintf(fp, "\twhile(!_data._dropout)\n\t{\n");
    fprintf(fp, "\t\tif (_data._dropout) break;\n");
    fprintf(fp, "\t\tif (_data._max_time >= 0 && curTime >= _data._max_time) break;\n");
    fprintf(fp, "\t\t// get time-slice interval if specified otherwise break\n");
    if (ev->child3) {
        fprintf(fp, "\t\t_data._dt = ");
        GenCReal(ev->child3, fp);
        fprintf(fp, ";\n");
    } else {
        fprintf(fp, "\t\tbreak;\n");
    }
    fprintf(fp, "\t\t_u = unif();\n");
    fprintf(fp, "\t\t_delay = -log(_u) / (double)");
    GenC(ev->child1, fp);
    fprintf(fp, ";\n");
    fprintf(fp, "\t\tif (_delay < _data._dt){\n");
    fprintf(fp, "\t\t\t// sleep to that time\n");
    fprintf(fp, "\t\t\t_data._state = %d;\n", 1);
    fprintf(fp, "\t\t\t_pos = insert_action(_data._dt, 0, ZZACTION_SLEEP_EVENT);\n ");
    fprintf(fp, "\t\t\tinsert_action(_data._dt, 1, ZZACTION_TIME, _pos);\n ");
    fprintf(fp, "\t\t\t// signify that event occurred\n");
    fprintf(fp, "\t\t\t_pcb->OnEvent(curTime, curTimeLastDose, \"%s\", 1);\n", C(ev->name));
    if (ev->child2) {
        fprintf(fp, "\t\t\t_data._dropout = (int)(");
        GenCReal(ev->child2, fp);
        fprintf(fp, ");\n");
    }
    fprintf(fp, "\t\t\treturn;\nST%04d:;\n", 1);
    if (ev->child2) fprintf(fp, "\t\t\tif (_data._dropout) StartDroppingOut();\n");
    fprintf(fp, "\t\t}\n\t\telse\n\t\t{\n");
    fprintf(fp, "\t\t\t// just sleep through the time slice\n");
    fprintf(fp,
            "\t\t\t_data._state = %d;\n\t\t\tinsert_action(_data._dt, 0, "
            "ZZACTION_SLEEP_EVENT);\n\t\t\treturn;\nST%04d:;\n",
            2, 2);
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t}\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::event_0_action(double t)
// { ... }
static void GenEventRoutine(FILE* fp, N const& ev, int k) {
    fprintf(fp, "MODEL_TEMPLATE_PARAMETER_LIST\n");
    fprintf(fp, "void MODEL_CLASS_DECL::event_%d_action(double t)\n{\n", k);
    fprintf(fp, "\tevent_sim & _data = event_data[%d];\n\n", k);
    fprintf(fp, "\tif (_data._state < 0) return;\n\n");
    fprintf(fp, "\tusing NUM = MODEL_CLASS_DECL::DualType;\n");
    fprintf(fp, "\tNUM * zzY = globalY;\n");
    fprintf(fp, "\tdouble _delay;\t// sample from exponential distribution\n");
    fprintf(fp, "\tdouble _u;\t\t// uniform random number\n");
    fprintf(fp, "\tint _pos = 0;\n\n");
    fprintf(fp, "\tif (_data._state > %d) _data._state = -1;\n", 2);
    fprintf(fp, "\tif (_data._state < 0) return;\n");
    for (int s = 1; s <= 2; s++)
        fprintf(fp, "\tif (_data._state == %d) goto ST%04d;\n", s, s);
    GenEventLoop(fp, ev);
    fprintf(fp, "};\n");
}

// MODEL_TEMPLATE_PARAMETER_LIST
// void MODEL_CLASS_DECL::event_0_action(double t) ... event_action(int _event, double _t)
// Events are numbered over event statements only; count statements have no routine.
void CGenCode::GenEventSimClasses() {
    int k = 0;
    for (N const& s : GetTopStatements(pBody))
        if (s && s->type == CN_EVENT) GenEventRoutine(fp, s, k++);
    GenActionDispatcher(fp, "event", "_event", k);
}
