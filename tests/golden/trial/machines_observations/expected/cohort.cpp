// cohort.cpp

#include "StdAfx.h"
#include "RTL.h"
#include "MatrixInvert.h"
#include "Serializable.h"
// following line stops math.h from defining old bessel functions like y1, etc.
#define _NO_OLDNAMES
#define  NO_OLDNAMES
#include <math.h>
#include <stdlib.h> // for rand()
#include <string.h>
#undef  _NO_OLDNAMES
#undef   NO_OLDNAMES
#include "PKPDModel.h"
#include "StateMachine.h"
#define IN_COHORT
#include "cohort.h"
double pd::FixefInflationFactor;
double pd::ErrorInflationFactor;
double pd::RanefInflationFactor;
double pd::ErrVar1[1];
double pd::ErrVarHalf1[1];
double pd::ErrVar2[1];
double pd::ErrVarHalf2[1];
void pd::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd\n", nIndent, "");
}
void pd::Init(){
	PKPDModel::Init();
	_peakTable_0.init();
}
void pd::CF2Advance(double dt){
}
void pd::CF2GetState(double* y){
}
void pd::CF2SetState(double* y){
}
void pd::SetTimeOfStateCF(double _t){
}
void pd::SetTimeOfGetValCF(double _t){
}
void pd::CF2Init(double _t){
}
void pd::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void pd::GetInteg(int& zzn, double zzv[]){
	zzv[zzn++] = A;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 3; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
	zzv[zzn++] = _ht_death;
	zzv[zzn++] = _ht_visit;
	zzv[zzn++] = _ht_nv;
	zzv[zzn++] = _ht_ns;
}
void pd::SetInteg(int& zzn, double zzv[]){
	A = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 3; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
	_ht_death = zzv[zzn++];
	_ht_visit = zzv[zzn++];
	_ht_nv = zzv[zzn++];
	_ht_ns = zzv[zzn++];
}
int pd::GetNInteg(){
	int _n = 0;
	_n++; // A
	_n++; // T
	_n++; // zzX_T
	_n += 3; // zzY_T
	_n++; // death
	_n++; // visit
	_n++; // nv
	_n++; // ns
	return _n;
}
void pd::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = A;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 3; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
}
void pd::SetStateSS(int& zzn, double zzv[]){
	A = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 3; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
}
int pd::GetNStateSS(){
	int _n = 0;
	_n++; // A
	_n++; // T
	_n++; // zzX_T
	_n += 3; // zzY_T
	return _n;
}
void pd::ResetIntegrators(){
	int _i = 0;
			A = 0;
	A_rate = 0;
			T = 0;
	T_rate = 0;
	zzX_T = 0;
	for (_i = 0; _i < 3; _i++){
		zzY_T[_i] = 0;
	}
	_ht_death = 0;
	_ht_visit = 0;
	_ht_nv = 0;
	_ht_ns = 0;
}
void pd::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (-k * A + Cin);
	zzr[zzn] += A_rate;
	zzn++;
	// get the base flow rates for the 3 T transit compartments, from right to left
	for (_i = 0; _i < 2; _i++){
		zzr[zzn + _i + 2] = zzK_T * (zzY_T[_i + 1] - zzY_T[_i]);
	}
	zzr[zzn + _i + 2] = zzK_T * - zzY_T[2];
	zzr[zzn + 1] = zzK_T * (zzY_T[0] - zzX_T); // get the flow rate into the X compartment
	zzr[zzn + (int)zzI_T + 2] += T_rate; // add the infusion rate to the dose compartment
	if (zzY_T[0] > 0 && zzX_T > 0){
		zzr[zzn] = zzK_T
			 * _TransitCorrectionFactor(zzN_T)
			 * exp(log(zzY_T[0])*(1-zzF_T) + log(zzX_T)*zzF_T); // log-interpolated rate
	} else {
		zzr[zzn] = 0;
	}
	zzn += 5;
	//       end of transit(T) code
	zzr[zzn++] = h;
	zzr[zzn++] = (h * 2.0);
	zzr[zzn++] = lam;
	zzr[zzn++] = (lam * 2.0);
}
void pd::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
}
void pd::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	E = A + Cin;
	Emax = _peakTable_0.peakFunc(t, E, !(true), Tpk);
	_dt_death = 1;
	_dt_visit = 7.0;
	// transit(T) setup
	zzN_T = ntr; // current number of stages (non-integer), truncated
	if (zzN_T < 0) zzN_T = 0;
	if (zzN_T >= 3) zzN_T = 3 - 1e-6;
	zzMTT_T = mtt; // mean transit time
	if (zzMTT_T <= 0) zzMTT_T = 1e-15;
	zzK_T = (zzN_T+1)/zzMTT_T; // inter-stage rate
	zzI_T = (int)floor(zzN_T); // integral part of N, index to receive doses
	zzF_T = zzN_T - (double)zzI_T; // fractional part of N
}
void pd::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	k = 0.2000000000000000111;
	mtt = 3.0;
	ntr = 2.0;
	h = 0.01000000000000000021;
	lam = 0.5;
	b = 1.0;
	lp = -1.0;
	a1 = 0.5;
	a2 = -0.5;
	s = 1.0;
	x = 2.0;
	c1 = 0.1000000000000000056;
	c2 = 1.0;
	EvalAssign();
}
void pd::InitGlobal(){
	int bError = 0;
	// foreach element, get nSigDF, precision, and square root of that
	pd_ErrVar1Prec[0] = 1 / pd_ErrVar1[0];
	pd_ErrVar1Prch[0] = sqrt(pd_ErrVar1Prec[0]);
	// foreach element, get nSigDF, precision, and square root of that
	pd_ErrVar2Prec[0] = 1 / pd_ErrVar2[0];
	pd_ErrVar2Prch[0] = sqrt(pd_ErrVar2Prec[0]);
}
void pd::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
}
void pd::InitReplicate(){
	int bError = 0;
	double _a[0+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	ErrVar1[0] = pd_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "pd_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar2, 0, sizeof(ErrVar2));
	ErrVar2[0] = pd_ErrVar2[0];
	CholeskyLTRow(1, ErrVar2, ErrVarHalf2);
	_rec_sigma(iScen, iRep, "pd_sigma2_1_1", sqrt(ErrVar2[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void pd::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	score = 3.3e-151;
	grade = 3.3e-151;
	Y = 3.3e-151;
	Z = 3.3e-151;
}
void pd::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf1, _work, _a, ENBOBS);
		eps1 = _a[0] * ErrorInflationFactor;
	}
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf2, _work, _a, ENBOBS);
		eps2 = _a[0] * ErrorInflationFactor;
	}
}
void pd::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
	{
		StateMachine* pst = new pd_EventSim_1(this, iScen, iRep, _pSubj);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pd_EventSim_2(this, iScen, iRep, _pSubj);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pd_SeqSim_1(this);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pd_SeqSim_2(this);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
}
void pd::StopSubject(){
}
void pd::Observe_nv(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	double _zprob = 0.1000000000000000056;
	double _count = 0;
	if ((ENBOBS ? unif() : 0.5) >= _zprob){
		double _beta = b;
		double _power = 1.0;
		_count = rnegbin(_ht_nv, _beta, _power, ENBOBS); // sample the count
	}
	// record the value of nv
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nv", _count, "");
	_ht_nv = 0; // clear the integrator
}
void pd::Observe_ns(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	double _zprob = ilogit(lp);
	double _count = 0;
	if ((ENBOBS ? unif() : 0.5) >= _zprob){
		_count = rpoisson(_ht_ns, ENBOBS); // sample the count
	}
	// record the value of ns
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "ns", _count, "");
}
void pd::Observe_score(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	double _probge[2];
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	_probge[0] = ilogit(a1);
	_probge[1] = ilogit(a2);
	double _u = (ENBOBS ? unif() : 0.5);
	if (0);
	else if (_u > _probge[0]) score = 0;
	else if (_u > _probge[1]) score = 1;
	else score = 2;
	// record the value of score
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "score", score, "");
}
void pd::Observe_grade(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	double _probge[2];
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	_probge[0] = iprobit((-(s * x) - c1));
	_probge[1] = iprobit((-(s * x) - c2));
	double _u = (ENBOBS ? unif() : 0.5);
	if (0);
	else if (_u > _probge[0]) grade = 0;
	else if (_u > _probge[1]) grade = 1;
	else grade = 2;
	// record the value of grade
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "grade", grade, "");
}
void pd::Observe_A(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	// record the value of A
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "A", A, "");
}
void pd::Observe_Y(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf1[0]
	Y = (E + eps1);
	#undef  sigma
	// record the value of Y
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "Y", Y, "");
}
void pd::Observe_Z(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf2[0]
	Z = (E * exp(eps2));
	#undef  sigma
	// record the value of Z
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "Z", Z, "");
}
void pd_EventSim_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd_EventSim_1\n", nIndent, "");
}
void pd_EventSim_1::Run(int iState, double tAbsTime, double tAbsEps){
	double& _ht = _model->_ht_death;
	double& _dt = _model->_dt_death;
	double _u, _probsurv;
	_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	_model->EvalSParms();
	DISP1;
	while(!_pSubj->bStop){
		_probsurv = exp( - _ht);
		_ht = 0;
		_u = (ENBOBS ? unif() : 0.5);
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		if (_u > _probsurv){
			// the event occurred
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "death", 1, ""); // 1 means event happened
			_dropout = 1; // dropout is requested
			_pSubj->bStop = 1;
			break;
		} else {
			SLEEP(1, _dt, 0);
		}
	}
	Finally();
}
void pd_EventSim_1::Finally(){
	double& _ht = _model->_ht_death;
	double& _dt = _model->_dt_death;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_pSubj->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		_model->EvalSParms();
		// if subject didn't drop out, issue a right censor
		if (_dropout==0){
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "death", 0, "");
		}
		Destroy();
	}
}
void pd_EventSim_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd_EventSim_2\n", nIndent, "");
}
void pd_EventSim_2::Run(int iState, double tAbsTime, double tAbsEps){
	double& _ht = _model->_ht_visit;
	double& _dt = _model->_dt_visit;
	double _u, _probsurv;
	_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	_model->EvalSParms();
	DISP1;
	while(!_pSubj->bStop){
		_probsurv = exp( - _ht);
		_ht = 0;
		_u = (ENBOBS ? unif() : 0.5);
		if (_u > _probsurv){
			// the event occurred
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "visit", 1, ""); // 1 means event happened
		}
		SLEEP(1, _dt, 0);
	}
	Finally();
}
void pd_EventSim_2::Finally(){
	double& _ht = _model->_ht_visit;
	double& _dt = _model->_dt_visit;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_pSubj->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		_model->EvalSParms();
		// issue a right censor at end of subject regardless
		_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "visit", 0, "");
		Destroy();
	}
}
void pd_SeqSim_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd_SeqSim_1\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void pd_SeqSim_1::Run(int iState, double tAbsTime, double tAbsEps){
	double& A = _model->A;
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& T = _model->T;
	double& Cin = *_model->_pCin;
	auto& _peakTable_0 = _model->_peakTable_0;
	_model->EvalSParms();
	switch(iState){case 1:goto L1;case 2:goto L2;case 3:goto L3;}
	SLEEP(1, 2.0, 0);
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	if((A > 1.0))
		A = 1.0;
	else if((A > 0.5))
		{
			SLEEP(2, (t + 1.0), 0);
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTransit_T(0.0);
		}
	else
		A += (Cin);
	while((A < 10.0))
		{
			A = A + 1.0;
			SLEEP(3, 1.0, 0);
			_pSubj->Advance(StateMachine::CurrentAbsTime());
		}
	_peakTable_0.init();
	Destroy();
}
void pd_SeqSim_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd_SeqSim_2\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void pd_SeqSim_2::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	switch(iState){case 1:goto L1;}
	SLEEP(1, 5.0, 0);
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	Destroy();
}
double pk::FixefInflationFactor;
double pk::ErrorInflationFactor;
double pk::RanefInflationFactor;
void pk::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk\n", nIndent, "");
}
void pk::Init(){
	PKPDModel::Init();
}
void pk::CF2Advance(double dt){
}
void pk::CF2GetState(double* y){
}
void pk::CF2SetState(double* y){
}
void pk::SetTimeOfStateCF(double _t){
}
void pk::SetTimeOfGetValCF(double _t){
}
void pk::CF2Init(double _t){
}
void pk::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void pk::GetInteg(int& zzn, double zzv[]){
	zzv[zzn++] = A1;
}
void pk::SetInteg(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
}
int pk::GetNInteg(){
	int _n = 0;
	_n++; // A1
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = A1;
}
void pk::SetStateSS(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
}
int pk::GetNStateSS(){
	int _n = 0;
	_n++; // A1
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
			A1 = 0;
	A1_rate = 0;
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = -(A1);
	zzr[zzn] += A1_rate;
	zzn++;
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	C = A1;
}
void pk::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void pk::InitGlobal(){
	int bError = 0;
}
void pk::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
}
void pk::InitReplicate(){
	int bError = 0;
	double _a[0+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
}
void pk::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
}
void pk::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void pk::StopSubject(){
}
void pk::Bolus_A1(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Bolus_A1_1(this, iScen, iRep, _pSubj, 0, _v);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_A1(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Infusion_A1_1(this, iScen, iRep, _pSubj, 0, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk_Bolus_A1_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Bolus_A1_1\n", nIndent, "");
}
void pk_Bolus_A1_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP1;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "", _model->A1);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->A1 += _amt;
		}
	}
	Finally();
}
void pk_Bolus_A1_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_Infusion_A1_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Infusion_A1_1\n", nIndent, "");
}
void pk_Infusion_A1_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP2;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "", _model->A1, _rate);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->A1_rate += _rate;
			SLEEP(2, _amt / _rate, 0);
			if (!_pSubj->bStop){
				_pSubj->Advance(StateMachine::CurrentAbsTime());
				_model->A1_rate -= _rate;
			}
		}
	}
	Finally();
}
void pk_Infusion_A1_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
extern void InitReplicate();
void InitReplicate(){subject::InitReplicate();}
void subject::InitReplicate(){
	pk::InitReplicate();
	pd::InitReplicate();
}
extern void InitScenario();
void InitScenario(){subject::InitScenario();}
void subject::InitScenario(){
	pk::InitScenario();
	pd::InitScenario();
}
extern void InitGlobal();
void InitGlobal(){subject::InitGlobal();}
void subject::InitGlobal(){
	pk::InitGlobal();
	pd::InitGlobal();
}
void subject::InitSubject(){
	a.InitSubject();
	p.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	a.StartSubject();
	p.StartSubject();
}
void subject::StopSubject(){
	a.StopSubject();
	p.StopSubject();
}
void subject::EvalGroup(){
	a.EvalGroup();
	p.EvalGroup();
}
void subject::EvalAssign(){
	a.EvalAssign();
	p.EvalAssign();
}
void subject::CF2Advance(double dt){
	a.CF2Advance(dt);
	p.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += a.GetNInteg();
	n += p.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.SetInteg(zzn, zzv);
	p.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.GetInteg(zzn, zzv);
	p.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	a.GetRate(zzn, zzr);
	p.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	a.SetTimeOfStateCF(_t);
	p.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	a.SetTimeOfGetValCF(_t);
	p.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += a.GetNStateSS();
	n += p.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.GetStateSS(zzn, zzv);
	p.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.SetStateSS(zzn, zzv);
	p.SetStateSS(zzn, zzv);
}
void subject::Deriv(double zzv[], double zzr[]){
	int zzn = 0;
	SetInteg(zzn, zzv);
	EvalAssign();
	GetRate(zzn, zzr);
}
static subject* pSubjTemp = NULL;
static void calcderiv(int* neq, double* pt, double* zzv, double* zzr){
	// the state count and the time are the subject's own
	pSubjTemp->Deriv(zzv, zzr);
}
typedef void (*DERIV_fp)(int*, double*, double*, double*);
typedef void (*JAC_fp)(int*, double*, double*, int*, int*, double*, int*);
extern "C" {
#if defined( __GNUC__ )
#if __GNUC__ > 3
#define DVERK dverk_
#endif
#endif
void DVERK(int *n, DERIV_fp f, double* x, double* _y // (n)
	, double* xend, double* tol, int* ind, double* _c // (24)
	, int* nw, double* _w // (nw,9)
	);
}
void subject::Advance(double tEnd){
	static int zzNY = 0;
	static double* zz_Y = NULL;
	static double* zz_R = NULL;
	double& tLastTime = (InSteadyState() ? tLastSSTime : tLastAbsTime);
	double _t0 = tLastTime;
	int nInteg = GetNInteg();
	int zzn = 0;
	SetTimeOfStateCF(_t0);
	if (zz_Y==NULL || nInteg+1 > zzNY){
		delete [] zz_Y;
		delete [] zz_R;
		zzNY = nInteg+1;
		zz_Y = new double[zzNY];
		zz_R = new double[zzNY];
	}
	_setOnTrajectory(1);
	if (nInteg == 0){
		tLastTime = tEnd;
	} else if (tEnd > tLastTime){
		GetInteg(zzn, zz_Y);
#if 0
		// Euler steps of at most 0.01
		while (tLastTime < tEnd){
			double dt = tEnd - tLastTime;
			if (dt > 0.01) dt = 0.01;
			Deriv(zz_Y, zz_R);
			for (int i = 0; i < nInteg; i++) zz_Y[i] += dt * zz_R[i];
			tLastTime += dt;
		}
		SetInteg(zzn, zz_Y);
#else
		static int nrwork = 100;
		static double* rwork = NULL;
		static int iwork[100];
		if (rwork == NULL){
			rwork = new double[nrwork];
			memset(rwork, 0, nrwork*sizeof(double));
			memset(iwork, 0, sizeof(iwork));
		}
		double tol  = 1e-6;
		double rtol = 1e-6;
		double atol = 1e-6;
		int ind = 2;
		double c[24];
		memset(c, 0, sizeof(c));
		int nw = nInteg;
		if (nw*9 > nrwork){
			delete [] rwork;
			nrwork = nw*9;
			rwork = new double[nrwork];
			memset(rwork, 0, nrwork*sizeof(double));
		}
		pSubjTemp = this;
		c[6] = _lmaxstep;
		DVERK(&nInteg, calcderiv, &tLastTime, zz_Y, &tEnd, &rtol, &ind, c, &nw, rwork);
		SetInteg(zzn, zz_Y);
		pSubjTemp = NULL;
	if (ind != 3){
		int breakhere = 1;
	}
#endif
	}
	CF2Advance(tEnd - _t0);
	EvalSParms();
}
void subject::StartSS(){
	SetInSteadyState(true);
	dCurrentSSTime = 0;
	ss.iState = 0;
	ss.bTrySimpleWay = false;
}
static double vdis(int n, double* a, double* b){
	double sum = 0;
	for (int i = 0; i < n; i++){
		double d = a[i] - b[i];
		sum += d * d;
	}
	return sqrt(sum);
}
bool subject::GetSS(){
	const double _tol = 1e-5;
	int zzn = 0;
	int i = 0;
	double a = 0;
	double vec[MAXSSVEC];
	switch (ss.iState){case 1: goto L1; case 2: goto L2; case 3: goto L3; case 4: goto L4; case 5: goto L5;}
	ss.n = GetNStateSS();
	SetTimeOfStateCF(0); SetTimeOfGetValCF(0);
	tLastSSTime = 0;
	// two cycles to come near
	ss.iState = 1; StateMachine::SetInSteadyState(true); return true; L1:;
	ss.iState = 2; StateMachine::SetInSteadyState(true); return true; L2:;
	for (ss.j = 0; ss.j < 20 && !ss.bTrySimpleWay; ss.j++){
		GetStateSS(zzn, ss.y0);
		ss.iState = 3; StateMachine::SetInSteadyState(true); return true; L3:;
		GetStateSS(zzn, ss.y1);
		ss.dy01 = vdis(ss.n, ss.y0, ss.y1);
		ss.dy1z = vdis(ss.n, ss.y1, ss.zvec);
		if (ss.dy01 < _tol * ss.dy1z) break; // converged
		ss.iState = 4; StateMachine::SetInSteadyState(true); return true; L4:;
		GetStateSS(zzn, ss.y2);
		ss.dy02 = vdis(ss.n, ss.y0, ss.y2);
		if (2*ss.dy01 - ss.dy02 == 0){
			ss.bTrySimpleWay = 1;
			break;
		}
		// Aitken extrapolation along the line of travel
		for (i = 0; i < ss.n; i++) vec[i] = ss.y2[i] - ss.y0[i];
		a = (ss.dy01 * ss.dy01) / (2 * ss.dy01 - ss.dy02);
		if (fabs(a) > 5 * ss.dy02){
			ss.bTrySimpleWay = true;
			break;
		}
		for (i = 0; i < ss.n; i++){
			ss.y3[i] = ss.y0[i] + vec[i]/ss.dy02 * a;
			if (ss.y3[i] < 0){
				ss.bTrySimpleWay = true;
				break;
			}
		}
		SetStateSS(zzn, ss.y3);
	}
	if (ss.j > 20){
	}
	if (ss.bTrySimpleWay){
		GetStateSS(zzn, ss.y0);
		for (ss.j = 1000; --ss.j>=0;){
			ss.iState = 5; StateMachine::SetInSteadyState(true); return true; L5:;
			GetStateSS(zzn, ss.y1);
			ss.dy01 = vdis(ss.n, ss.y0, ss.y1);
			ss.dy1z = vdis(ss.n, ss.y1, ss.zvec);
			if (ss.dy01 < _tol * ss.dy1z) break;
			for (i = 0; i < ss.n; i++) ss.y0[i] = ss.y1[i];
		}
	}
	StateMachine::SetInSteadyState(false); return false;
}
void main::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	switch(iState){case 1:goto L1;}
	_nSubordinate[0] = 1;
	{
		++_nSubordinate[0];
		START(new subject(this, 1));
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	Finally();
}
void main::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);
		Destroy();
	}
}
void main::Print(FILE* f, int nIndent){
	fprintf(f, "%*smain\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void subject::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	Advance(tAbsTime);
	switch(iState){case 1:goto L1;case 2:goto L2;case 3:goto L3;}
	_nSubordinate[0] = 1;
	_bAbortingSubject = 0;
	InitSubject();
	if (_bAbortingSubject){
		StopSubject();
		Finally();
		return;
	}
	StartSubject();
	{
		_pSubj->p.Observe_Y(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer);
		SLEEP(2, 24.0, 0);
		Advance(StateMachine::CurrentAbsTime());
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	StopSubject();
	// allow any event sims to finish
	bStop = 1;
	SLEEP(3, 0, 10);
	Finally();
}
void subject::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);
		Destroy();
	}
}
void subject::Print(FILE* f, int nIndent){
	fprintf(f, "%*ssubject\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void GetSettableVars(CStringArray& sa){
	sa.clear();
	sa.push_back("iScen");
	sa.push_back("iRep");
	sa.push_back("pd::FixefInflationFactor");
	sa.push_back("pd::ErrorInflationFactor");
	sa.push_back("pd::RanefInflationFactor");
	sa.push_back("pk::FixefInflationFactor");
	sa.push_back("pk::ErrorInflationFactor");
	sa.push_back("pk::RanefInflationFactor");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("pd::FixefInflationFactor", sVar)==0) pd::FixefInflationFactor = dVal;
	else if (strcmp("pd::ErrorInflationFactor", sVar)==0) pd::ErrorInflationFactor = dVal;
	else if (strcmp("pd::RanefInflationFactor", sVar)==0) pd::RanefInflationFactor = dVal;
	else if (strcmp("pk::FixefInflationFactor", sVar)==0) pk::FixefInflationFactor = dVal;
	else if (strcmp("pk::ErrorInflationFactor", sVar)==0) pk::ErrorInflationFactor = dVal;
	else if (strcmp("pk::RanefInflationFactor", sVar)==0) pk::RanefInflationFactor = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
