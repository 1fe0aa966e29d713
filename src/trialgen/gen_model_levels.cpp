// The routines of a trial model that hold the draws of each level: InitGlobal, InitScenario
// and InitReplicate (static, over the replicate's parameters), InitSubject and InitObservation.
#include "trialgen/trialgen.h"

// 	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
// 	double& Cin = *_pCin;
void CGenCode3::GenModelRoutineHead() {
    fprintf(fpSource,
            "\tconst double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;\n");
    for (N const& in : pModelInputs)
        fprintf(fpSource, "\tdouble& %s = *_p%s;\n", (char const*)in->name, (char const*)in->name);
}

// void pk::InitGlobal(){
// 	int bError = 0;
// 	...
// }
void CGenCode3::GenLevelRoutine(char const* name, CGenCodePass pass) {
    fprintf(fpSource, "void %s::%s(){\n", (char const*)sModelClass, name);
    fprintf(fpSource, "\tint bError = 0;\n");
    if (pass == PassInitReplicate) InitSamplersReplicate((char const*)sModelClass, fpSource);
    GenCohortFixefCode(pass);
    GenCohortRanefCode(pass);
    GenCohortErrorCode(pass);
    if (pass == PassInitGlobal) InitSamplersGlobal((char const*)sModelClass, fpSource);
    fprintf(fpSource, "}\n");
}

// void pk::InitSubject(){ the head, the model doubles and state reset, the etas }
void CGenCode3::GenInitSubject(NV const& stmts) {
    fprintf(fpSource, "void %s::InitSubject(){\n", (char const*)sModelClass);
    GenModelRoutineHead();
    fprintf(fpSource, "\tint _i = 0;\n");
    fprintf(fpSource, "\tint _itemp = 0;\n");
    fprintf(fpSource, "\tdouble _temp = 0;\n");
    fprintf(fpSource, "\tdouble _temp2 = 0;\n");
    fprintf(fpSource, "\tTCHAR sFileCell[512];\n");
    for (N const& s : stmts)
        if (s && s->type == CN_DOUBLE_DECL)
            for (N const& v : s->list)
                fprintf(fpSource, "\t%s = 0;\n", (char const*)v->name);
    fprintf(fpSource, "\tResetIntegrators();\n");
    for (N const& s : stmts)
        if (s && (s->type == CN_OBSERVE || s->type == CN_MULTI))
            fprintf(fpSource, "\t%s = 3.3e-151;\n", (char const*)s->name);
    InitSamplersSubject((char const*)sModelClass, fpSource);
    GenCohortRanefCode(PassInitSubject);
    GenCohortDistrCode(PassInitSubject, stmts);
    GenCohortDelayCode();
    fprintf(fpSource, "}\n");
}

// 	_delayTable_0.init();
// A new subject starts with empty histories of its delayed quantities.
void CGenCode3::GenCohortDelayCode() {
    for (int i = 0; i < nDelayTables; i++)
        fprintf(fpSource, "\t_delayTable_%d.init();\n", i);
}

// void pk::InitObservation(){ the head, the epsilon draws }
void CGenCode3::GenInitObservation() {
    fprintf(fpSource, "void %s::InitObservation(){\n", (char const*)sModelClass);
    GenModelRoutineHead();
    GenCohortErrorCode(PassInitObservation);
    fprintf(fpSource, "}\n");
}

void CGenCode3::GenCohortLevelRoutines(NV const& stmts) {
    GenLevelRoutine("InitGlobal", PassInitGlobal);
    GenLevelRoutine("InitScenario", PassInitScenario);
    GenLevelRoutine("InitReplicate", PassInitReplicate);
    GenInitSubject(stmts);
    GenInitObservation();
}
