// What every dose, event and sequence machine of a trial model shares: the head and the tail of
// its class in cohort.h, and its Print and Finally in cohort.cpp.
#include "trialgen/trialgen.h"

// pk_EventSim_1, pk_SeqSim_2: the model, the kind and a number from 1 over the model
std::string NumberedMachineName(char const* model, char const* kind, int number) {
    return std::string(model) + "_" + kind + "_" + std::to_string(number);
}

// class pk_Bolus_A1_1 : public StateMachine {public:;
// 	virtual int GetType(){return 2;}
// 	subject* _pSubj;
// 	virtual void Print(FILE* f, int nIndent);
// 	pk_Bolus_A1_1() : _pSubj(0L), _model(0L) {}
// 	pk * _model;
void CGenCode3::GenMachineHead(char const* machine) {
    fprintf(fpHeader, "class %s : public StateMachine {public:;\n", machine);
    fprintf(fpHeader, "\tvirtual int GetType(){return %d;}\n", AddClassName(machine));
    fprintf(fpHeader, "\tsubject* _pSubj;\n");
    fprintf(fpHeader, "\tvirtual void Print(FILE* f, int nIndent);\n");
    fprintf(fpHeader, "\t%s() : _pSubj(0L), _model(0L) {}\n", machine);
    fprintf(fpHeader, "\t%s * _model;\n", (char const*)sModelClass);
}

// 	double tMachineStartTime;
// 	virtual void Run(int iState, double tAbsTime, double tAbsEps);
// 	void Finally();
// };
void CGenCode3::GenMachineTail(bool bFinally) {
    fprintf(fpHeader, "\tdouble tMachineStartTime;\n");
    fprintf(fpHeader, "\tvirtual void Run(int iState, double tAbsTime, double tAbsEps);\n");
    if (bFinally) fprintf(fpHeader, "\tvoid Finally();\n");
    fprintf(fpHeader, "};\n");
}

// void pk_Bolus_A1_1::Print(FILE* f, int nIndent){
// 	fprintf(f, "%*spk_Bolus_A1_1\n", nIndent, "");
// 	if (pCaller) pCaller->Print(f, nIndent + 1);   (a machine with a caller)
// }
void CGenCode3::GenMachinePrint(char const* machine, bool bCaller) {
    fprintf(fpSource, "void %s::Print(FILE* f, int nIndent){\n", machine);
    fprintf(fpSource, "\tfprintf(f, \"%%*s%s\\n\", nIndent, \"\");\n", machine);
    if (bCaller) fprintf(fpSource, "\tif (pCaller) pCaller->Print(f, nIndent + 1);\n");
    fprintf(fpSource, "}\n");
}

// void pk_Bolus_A1_1::Finally(){
// 	if (!_bFinallyDone){
// 		_bFinallyDone = 1;
// 		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);   (with
// 'bWakeCaller') 		Destroy();
// 	}
// }
// A finished procedure wakes its caller at the state that the caller gave it.
void CGenCode3::GenMachineFinally(char const* machine, bool bWakeCaller) {
    fprintf(fpSource, "void %s::Finally(){\n", machine);
    fprintf(fpSource, "\tif (!_bFinallyDone){\n");
    fprintf(fpSource, "\t\t_bFinallyDone = 1;\n");
    if (bWakeCaller)
        fprintf(fpSource,
                "\t\tif (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);\n");
    fprintf(fpSource, "\t\tDestroy();\n");
    fprintf(fpSource, "\t}\n");
    fprintf(fpSource, "}\n");
}
