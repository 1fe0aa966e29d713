// The dose machines of a trial model: for each dose statement a bolus and an infusion class,
// which record the dose when it is ordered and give it to the compartment after the lag time,
// the infusion then running for amount / rate.
#include "driver/driver.h"
#include "modelgen/gencode.h"
#include "trialgen/trialgen.h"

// The dose statements of a model body, in text order.
NV GetDoseStatements(NV const& stmts) {
    NV doses;
    for (N const& s : stmts)
        if (s && (s->type == CN_DOSEPOINT || s->type == CN_DOSEPOINT2)) doses.push_back(s);
    return doses;
}

// The first dose statement of each dosed compartment, in text order.
NV GetFirstDoses(NV const& stmts) {
    NV first;
    SV dosed;
    for (N const& dose : GetDoseStatements(stmts)) {
        if (MemberOf(dose->name, dosed) >= 0) continue;
        dosed.push_back(dose->name);
        first.push_back(dose);
    }
    return first;
}

// pk_Bolus_A1_1, pk_Infusion_A1_2: the model, the compartment and the dose path
std::string DoseMachineName(char const* model, char const* kind, N const& dose) {
    return std::string(model) + "_" + kind + "_" + (char const*)dose->name + "_" +
           (dose->type == CN_DOSEPOINT2 ? "2" : "1");
}

// 		_pSubj->Advance(StateMachine::CurrentAbsTime());
static void GenAdvanceLine(FILE* fp, char const* indent) {
    fprintf(fp, "%s_pSubj->Advance(StateMachine::CurrentAbsTime());\n", indent);
}

// 	pk_Bolus_A1_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag,
// 	double __amt) : _pSubj(_psub), _model(__model), ... {}          (in one line)
void CGenCode3::GenDoseMachineConstructor(char const* machine, bool bInfusion) {
    fprintf(fpHeader,
            "\t%s(%s* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt",
            machine, (char const*)sModelClass);
    if (bInfusion) fprintf(fpHeader, ", double __rate");
    fprintf(fpHeader, ") : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep)");
    fprintf(fpHeader, ", _tlag(__tlag), _amt(__amt)");
    if (bInfusion) fprintf(fpHeader, ", _rate(__rate)");
    fprintf(fpHeader, ", tMachineStartTime(StateMachine::CurrentAbsTime()) {}\n");
}

// The class of one dose machine in cohort.h.
void CGenCode3::GenDoseMachineClass(char const* machine, bool bInfusion) {
    GenMachineHead(machine);
    if (bInfusion) {
        fprintf(fpHeader, "\tint iScen, iRep, iArm, iSub, iPer;\n");
        fprintf(fpHeader, "\tdouble _tlag, _amt, _rate;\n");
    } else {
        fprintf(fpHeader, "\tint iScen, iRep;\n");
        fprintf(fpHeader, "\tdouble _tlag, _amt;\n");
    }
    GenDoseMachineConstructor(machine, bInfusion);
    GenMachineTail(true);
}

// 		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer,
// _model->_sInstance, 		"A1", _amt, "mg", _model->A1);          or _rec_infuse(...,
// _model->A1, _rate);
void CGenCode3::GenDoseRecord(char const* x, bool bInfusion) {
    fprintf(fpSource,
            "\t\t_rec_%s(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, "
            "_model->_sInstance, \"%s\", _amt, \"%s\", _model->%s%s);\n",
            bInfusion ? "infuse" : "bolus", x, GetUnitText(x).c_str(), x,
            bInfusion ? ", _rate" : "");
}

// 			_model->A1 += _amt;
// a bolus into a transit chain: _model->zzY_T[(int)_model->zzI_T] += _amt;
// or the infusion, which runs for amount / rate:
// 			_model->A1_rate += _rate;
// 			SLEEP(2, _amt / _rate, 0);
// 			if (!_pSubj->bStop){
// 				_pSubj->Advance(StateMachine::CurrentAbsTime());
// 				_model->A1_rate -= _rate;
// 			}
void CGenCode3::GenDoseGiven(char const* x, bool bInfusion, bool bTransit) {
    if (!bInfusion && bTransit) { // into the stage that receives doses, like an infusion
        fprintf(fpSource, "\t\t\t_model->zzY_%s[(int)_model->zzI_%s] += _amt;\n", x, x);
        return;
    }
    if (!bInfusion) {
        fprintf(fpSource, "\t\t\t_model->%s += _amt;\n", x);
        return;
    }
    fprintf(fpSource, "\t\t\t_model->%s_rate += _rate;\n", x);
    fprintf(fpSource, "\t\t\tSLEEP(2, _amt / _rate, 0);\n");
    fprintf(fpSource, "\t\t\tif (!_pSubj->bStop){\n");
    GenAdvanceLine(fpSource, "\t\t\t\t");
    fprintf(fpSource, "\t\t\t\t_model->%s_rate -= _rate;\n", x);
    fprintf(fpSource, "\t\t\t}\n");
}

// void pk_Bolus_A1_1::Run(int iState, double tAbsTime, double tAbsEps){
// 	_model->EvalSParms();
// 	DISP1;                                   (DISP2 for an infusion)
// 	if (!_pSubj->bStop){
// 		_pSubj->Advance(StateMachine::CurrentAbsTime());
// 		_rec_bolus(...);
// 		SLEEP(1, _tlag, 0);
// 		if (!_pSubj->bStop){
// 			_pSubj->Advance(StateMachine::CurrentAbsTime());
// 			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
// 			... the dose given
// 		}
// 	}
// 	Finally();
// }
// The dose is recorded when it is ordered and given after the lag time, if the subject runs.
void CGenCode3::GenDoseRun(char const* machine, N const& dose, bool bInfusion) {
    char const* x = dose->name;
    fprintf(fpSource, "void %s::Run(int iState, double tAbsTime, double tAbsEps){\n", machine);
    fprintf(fpSource, "\t_model->EvalSParms();\n");
    fprintf(fpSource, "\tDISP%d;\n", bInfusion ? 2 : 1);
    fprintf(fpSource, "\tif (!_pSubj->bStop){\n");
    GenAdvanceLine(fpSource, "\t\t");
    GenDoseRecord(x, bInfusion);
    fprintf(fpSource, "\t\tSLEEP(1, _tlag, 0);\n");
    fprintf(fpSource, "\t\tif (!_pSubj->bStop){\n");
    GenAdvanceLine(fpSource, "\t\t\t");
    fprintf(fpSource, "\t\t\t_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());\n");
    GenDoseGiven(x, bInfusion, IsTransitName(GetTopStatements(pModelBody), x));
    fprintf(fpSource, "\t\t}\n");
    fprintf(fpSource, "\t}\n");
    fprintf(fpSource, "\tFinally();\n");
    fprintf(fpSource, "}\n");
}

// Each dose statement's bolus and infusion classes; a class already written (two statements
// of one path into one compartment) is not written again.
void CGenCode3::GenCohortDosepointClasses(NV const& stmts) {
    for (N const& dose : GetDoseStatements(stmts))
        for (bool bInfusion : {false, true}) {
            std::string machine =
                DoseMachineName(sModelClass, bInfusion ? "Infusion" : "Bolus", dose);
            if (MemberOf(machine.c_str(), saClassNames) >= 0) continue;
            GenDoseMachineClass(machine.c_str(), bInfusion);
            GenMachinePrint(machine.c_str(), false);
            GenDoseRun(machine.c_str(), dose, bInfusion);
            GenMachineFinally(machine.c_str(), false);
        }
}
