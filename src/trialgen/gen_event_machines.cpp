// The event machines of a trial model: one for each event statement, which looks once per
// interval at the hazard accumulated since its last look, records an event with the value 1
// (and with dropout ends the subject), and at the end of the subject a right censoring with 0.
#include "trialgen/trialgen.h"

// Whether the statement carries the bare word dropout (the number 1).
static bool IsDropoutEvent(N const& ev) {
    return ev->child2 && ev->child2->type == CN_NUM && ev->child2->value == 1;
}

// 			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer,
// _model->_sInstance, 			"ev", 1, ""); // 1 means event happened
static void GenEventRecord(FILE* fp, char const* indent, char const* name, int value,
                           char const* comment) {
    fprintf(fp,
            "%s_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, "
            "_model->_sInstance, \"%s\", %d, \"\");%s\n",
            indent, name, value, comment);
}

// 	double& _ht = _model->_ht_ev;
// 	double& _dt = _model->_dt_ev;
static void GenEventBindings(FILE* fp, char const* name) {
    fprintf(fp, "\tdouble& _ht = _model->_ht_%s;\n", name);
    fprintf(fp, "\tdouble& _dt = _model->_dt_%s;\n", name);
}

// class pk_EventSim_1 : public StateMachine {public:; ... };
void CGenCode3::GenEventMachineClass(char const* machine) {
    GenMachineHead(machine);
    fprintf(fpHeader, "\tLPCTSTR _sInstance;\n");
    fprintf(fpHeader, "\tint iScen, iRep;\n");
    fprintf(fpHeader, "\tint _dropout;\t// set non-zero if dropping out due to event\n");
    fprintf(fpHeader,
            "\t%s(%s* __model, int _iScen, int _iRep, subject* _psub) : _pSubj(_psub), "
            "_model(__model), _sInstance(__model->_sInstance), iScen(_iScen), iRep(_iRep), "
            "_dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}\n",
            machine, (char const*)sModelClass);
    GenMachineTail(true);
}

// 		if (_u > _probsurv){ ... the event, and with dropout the end of the subject ... }
static void GenEventLook(FILE* fp, N const& ev) {
    char const* x = ev->name;
    if (IsDropoutEvent(ev)) {
        fprintf(fp, "\t\t_pSubj->Advance(StateMachine::CurrentAbsTime());\n");
        fprintf(fp, "\t\tif (_u > _probsurv){\n");
        fprintf(fp, "\t\t\t// the event occurred\n");
        GenEventRecord(fp, "\t\t\t", x, 1, " // 1 means event happened");
        fprintf(fp, "\t\t\t_dropout = 1; // dropout is requested\n");
        fprintf(fp, "\t\t\t_pSubj->bStop = 1;\n");
        fprintf(fp, "\t\t\tbreak;\n");
        fprintf(fp, "\t\t} else {\n");
        fprintf(fp, "\t\t\tSLEEP(1, _dt, 0);\n");
        fprintf(fp, "\t\t}\n");
        return;
    }
    fprintf(fp, "\t\tif (_u > _probsurv){\n");
    fprintf(fp, "\t\t\t// the event occurred\n");
    GenEventRecord(fp, "\t\t\t", x, 1, " // 1 means event happened");
    fprintf(fp, "\t\t}\n");
    fprintf(fp, "\t\tSLEEP(1, _dt, 0);\n");
}

// void pk_EventSim_1::Run(int iState, double tAbsTime, double tAbsEps){
// 	double& _ht = _model->_ht_ev; ...
// 	while(!_pSubj->bStop){
// 		_probsurv = exp( - _ht);
// 		_ht = 0;
// 		_u = (ENBOBS ? unif() : 0.5);
// 		...
// 	}
// 	Finally();
// }
void CGenCode3::GenEventRun(char const* machine, N const& ev) {
    fprintf(fpSource, "void %s::Run(int iState, double tAbsTime, double tAbsEps){\n", machine);
    GenEventBindings(fpSource, ev->name);
    fprintf(fpSource, "\tdouble _u, _probsurv;\n");
    fprintf(fpSource, "\t_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\t_model->EvalSParms();\n");
    fprintf(fpSource, "\tDISP1;\n");
    fprintf(fpSource, "\twhile(!_pSubj->bStop){\n");
    fprintf(fpSource, "\t\t_probsurv = exp( - _ht);\n");
    fprintf(fpSource, "\t\t_ht = 0;\n");
    fprintf(fpSource, "\t\t_u = (ENBOBS ? unif() : 0.5);\n");
    GenEventLook(fpSource, ev);
    fprintf(fpSource, "\t}\n");
    fprintf(fpSource, "\tFinally();\n");
    fprintf(fpSource, "}\n");
}

// void pk_EventSim_1::Finally(){
// 	... the bindings, the subject brought to now, and once the right censoring:
// 		// if subject didn't drop out, issue a right censor
// 		if (_dropout==0){
// 			_rec_observe(..., "ev", 0, "");
// 		}
// 		Destroy();
// }
void CGenCode3::GenEventFinally(char const* machine, N const& ev) {
    char const* x = ev->name;
    fprintf(fpSource, "void %s::Finally(){\n", machine);
    GenEventBindings(fpSource, x);
    fprintf(fpSource, "\t_pSubj->Advance(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\t_pSubj->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    fprintf(fpSource, "\tif (!_bFinallyDone){\n");
    fprintf(fpSource, "\t\t_bFinallyDone = 1;\n");
    fprintf(fpSource, "\t\t_model->EvalSParms();\n");
    if (IsDropoutEvent(ev)) {
        fprintf(fpSource, "\t\t// if subject didn't drop out, issue a right censor\n");
        fprintf(fpSource, "\t\tif (_dropout==0){\n");
        GenEventRecord(fpSource, "\t\t\t", x, 0, "");
        fprintf(fpSource, "\t\t}\n");
    } else {
        fprintf(fpSource, "\t\t// issue a right censor at end of subject regardless\n");
        GenEventRecord(fpSource, "\t\t", x, 0, "");
    }
    fprintf(fpSource, "\t\tDestroy();\n");
    fprintf(fpSource, "\t}\n");
    fprintf(fpSource, "}\n");
}

void CGenCode3::GenCohortEventClasses(NV const& stmts) {
    int number = 0;
    for (N const& s : stmts) {
        if (!s || s->type != CN_EVENT) continue;
        std::string machine = NumberedMachineName(sModelClass, "EventSim", ++number);
        GenEventMachineClass(machine.c_str());
        GenMachinePrint(machine.c_str(), false);
        GenEventRun(machine.c_str(), s);
        GenEventFinally(machine.c_str(), s);
    }
}
