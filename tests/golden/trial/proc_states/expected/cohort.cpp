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
double pk::FixefInflationFactor;
double pk::ErrorInflationFactor;
double pk::RanefInflationFactor;
double pk::tvV;
double pk::SCALEtvV = 1;
double pk::DELTAtvV = 0;
double pk::tvCl;
double pk::SCALEtvCl = 1;
double pk::DELTAtvCl = 0;
double pk::ErrVar1[1];
double pk::ErrVarHalf1[1];
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
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 4; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
}
void pk::SetInteg(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
}
int pk::GetNInteg(){
	int _n = 0;
	_n++; // A1
	_n++; // T
	_n++; // zzX_T
	_n += 4; // zzY_T
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = A1;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 4; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
}
void pk::SetStateSS(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
}
int pk::GetNStateSS(){
	int _n = 0;
	_n++; // A1
	_n++; // T
	_n++; // zzX_T
	_n += 4; // zzY_T
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
			A1 = 0;
	A1_rate = 0;
			T = 0;
	T_rate = 0;
	zzX_T = 0;
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = 0;
	}
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (-Cl * A1 / V + Cin);
	zzr[zzn] += A1_rate;
	zzn++;
	// get the base flow rates for the 4 T transit compartments, from right to left
	for (_i = 0; _i < 3; _i++){
		zzr[zzn + _i + 2] = zzK_T * (zzY_T[_i + 1] - zzY_T[_i]);
	}
	zzr[zzn + _i + 2] = zzK_T * - zzY_T[3];
	zzr[zzn + 1] = zzK_T * (zzY_T[0] - zzX_T); // get the flow rate into the X compartment
	zzr[zzn + (int)zzI_T + 2] += T_rate; // add the infusion rate to the dose compartment
	if (zzY_T[0] > 0 && zzX_T > 0){
		zzr[zzn] = zzK_T
			 * _TransitCorrectionFactor(zzN_T)
			 * exp(log(zzY_T[0])*(1-zzF_T) + log(zzX_T)*zzF_T); // log-interpolated rate
	} else {
		zzr[zzn] = 0;
	}
	zzn += 6;
	//       end of transit(T) code
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	// transit(T) setup
	zzN_T = ntr; // current number of stages (non-integer), truncated
	if (zzN_T < 0) zzN_T = 0;
	if (zzN_T >= 4) zzN_T = 4 - 1e-6;
	zzMTT_T = mtt; // mean transit time
	if (zzMTT_T <= 0) zzMTT_T = 1e-15;
	zzK_T = (zzN_T+1)/zzMTT_T; // inter-stage rate
	zzI_T = (int)floor(zzN_T); // integral part of N, index to receive doses
	zzF_T = zzN_T - (double)zzI_T; // fractional part of N
}
void pk::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	V = tvV;
	Cl = tvCl;
	mtt = 2.0;
	ntr = 3.0;
	EvalAssign();
}
void pk::InitGlobal(){
	int bError = 0;
	// foreach element, get nSigDF, precision, and square root of that
	pk_ErrVar1Prec[0] = 1 / pk_ErrVar1[0];
	pk_ErrVar1Prch[0] = sqrt(pk_ErrVar1Prec[0]);
}
void pk::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEtvV = 1;
	DELTAtvV = 0;
	SCALEtvCl = 1;
	DELTAtvCl = 0;
}
void pk::InitReplicate(){
	int bError = 0;
	double _a[2+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	tvV = (pk_tvV + _a[0]) * SCALEtvV + DELTAtvV;
	_rec_fixef(iScen, iRep, "pk_tvV", tvV, "");
	tvCl = (pk_tvCl + _a[1]) * SCALEtvCl + DELTAtvCl;
	_rec_fixef(iScen, iRep, "pk_tvCl", tvCl, "");
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	ErrVar1[0] = pk_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "pk_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void pk::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	C = 3.3e-151;
}
void pk::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf1, _work, _a, ENBOBS);
		eps = _a[0] * ErrorInflationFactor;
	}
}
void pk::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void pk::StopSubject(){
}
void pk::Bolus_A1(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	StateMachine* pst = new pk_Bolus_A1_1(this, iScen, iRep, _pSubj, 0, _v);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_A1(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	StateMachine* pst = new pk_Infusion_A1_1(this, iScen, iRep, _pSubj, 0, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Observe_C(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf1[0]
	C = (A1 / V + eps);
	#undef  sigma
	// record the value of C
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "C", C, "");
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
}
extern void InitScenario();
void InitScenario(){subject::InitScenario();}
void subject::InitScenario(){
	pk::InitScenario();
}
extern void InitGlobal();
void InitGlobal(){subject::InitGlobal();}
void subject::InitGlobal(){
	pk::InitGlobal();
}
void subject::InitSubject(){
	a.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	a.StartSubject();
}
void subject::StopSubject(){
	a.StopSubject();
}
void subject::EvalGroup(){
	a.EvalGroup();
}
void subject::EvalAssign(){
	a.EvalAssign();
}
void subject::CF2Advance(double dt){
	a.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += a.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	a.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	a.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	a.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += a.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.SetStateSS(zzn, zzv);
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
void rest::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	pk& a = _pSubj->a;
	switch(iState){case 1:goto L1;case 2:goto L2;}
	_nSubordinate[0] = 1;
	{
		SLEEP(2, d, 0);
		_pSubj->Advance(StateMachine::CurrentAbsTime());
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	Finally();
}
void rest::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);
		Destroy();
	}
}
void rest::Print(FILE* f, int nIndent){
	fprintf(f, "%*srest\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void give::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	pk& a = _pSubj->a;
	switch(iState){case 1:goto L1;case 2:goto L2;case 3:goto L3;}
	_nSubordinate[0] = 1;
	{
		CALL(2, new rest(this, 2, _pSubj, 1.0));
		_pSubj->a.Bolus_A1(iScen, iRep, amt);
		_pSubj->a.Infuse_A1(iScen, iRep, amt, (amt / 2.0));
		SLEEP(3, 24.0, 1.0);
		_pSubj->Advance(StateMachine::CurrentAbsTime());
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	Finally();
}
void give::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);
		Destroy();
	}
}
void give::Print(FILE* f, int nIndent){
	fprintf(f, "%*sgive\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void subject::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	Advance(tAbsTime);
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	switch(iState){case 1:goto L1;case 2:goto L2;case 3:goto L3;case 4:goto L4;case 5:goto L5;case 6:goto L6;case 7:goto L7;case 8:goto L8;}
	_nSubordinate[0] = 1;
	x = 0;
	k = 0;
	i = 0;
	_bAbortingSubject = 0;
	InitSubject();
	if (_bAbortingSubject){
		StopSubject();
		Finally();
		return;
	}
	StartSubject();
	{
		for(i = (int)(1.0); !bStop && i <= 3.0; i++){
			CALL(2, new give(this, 2, this, (dose * iArm)));
			_pSubj->a.Observe_C(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer);
		}
		{	_nSubordinate[1] = 1;
			{
				++_nSubordinate[1];
				START(new rest(this, 3, this, 2.0));
				{	_nSubordinate[2] = 1;
					{
						++_nSubordinate[2];
						START(new rest(this, 4, this, 3.0));
						SLEEP(5, 1.0, 2.0);
						Advance(StateMachine::CurrentAbsTime());
					}
					L4:; if (--_nSubordinate[2] > 0) return; // only continue if no more sub processes
				}
				SUSPEND(6);
			}
			L3:; if (--_nSubordinate[1] > 0) return; // only continue if no more sub processes
		}
		while(!bStop && ((x < 2.0))){
			x = x + 1.0;
		}
		if((x > 1.0)){
			k = (int)((x / 2.0));
		}
		else if((x > 0.0)){
			a.SetTransit_T(5.0);
		}
		else {
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, "", "x", x, "");
		}
		_pSubj->StartSS();
		while(_pSubj->GetSS()){
			_pSubj->a.Bolus_A1(iScen, iRep, 10.0);
			SLEEP(7, 12.0, 0);
			Advance(StateMachine::CurrentAbsTime());
		}
		_pSubj->SetTimeOfStateCF(StateMachine::CurrentAbsTime());
		for (_i = 0; _i < 100; _i++){
			x = (1.0) + norm() * (2.0);
			if (x < (0.0)) continue;
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test, low = 0.0, high = \n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			StopSubject();
			Finally();
			return;
		}
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	StopSubject();
	// allow any event sims to finish
	bStop = 1;
	SLEEP(8, 0, 10);
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
void main::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	switch(iState){case 1:goto L1;case 2:goto L2;}
	_nSubordinate[0] = 1;
	j = 0;
	{
		{	_nSubordinate[1] = 1;
			{
				for(j = (int)(1.0); j <= nSubj; j++){
					++_nSubordinate[1];
					START(new subject(this, 2, j));
				}
			}
			L2:; if (--_nSubordinate[1] > 0) return; // only continue if no more sub processes
		}
		RESUME(subject);
		++_nSubordinate[0];
		START(new subject(this, 1, 3.0));
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
void GetSettableVars(CStringArray& sa){
	sa.clear();
	sa.push_back("iScen");
	sa.push_back("iRep");
	sa.push_back("dose");
	sa.push_back("nSubj");
	sa.push_back("pk::FixefInflationFactor");
	sa.push_back("pk::ErrorInflationFactor");
	sa.push_back("pk::RanefInflationFactor");
	sa.push_back("pk_tvV");
	sa.push_back("pk::SCALEtvV");
	sa.push_back("pk::DELTAtvV");
	sa.push_back("pk_tvCl");
	sa.push_back("pk::SCALEtvCl");
	sa.push_back("pk::DELTAtvCl");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("dose", sVar)==0) dose = dVal;
	else if (strcmp("nSubj", sVar)==0) nSubj = (int)dVal;
	else if (strcmp("pk::FixefInflationFactor", sVar)==0) pk::FixefInflationFactor = dVal;
	else if (strcmp("pk::ErrorInflationFactor", sVar)==0) pk::ErrorInflationFactor = dVal;
	else if (strcmp("pk::RanefInflationFactor", sVar)==0) pk::RanefInflationFactor = dVal;
	else if (strcmp("pk_tvV", sVar)==0) pk_tvV = dVal;
	else if (strcmp("pk::SCALEtvV", sVar)==0) pk::SCALEtvV = dVal;
	else if (strcmp("pk::DELTAtvV", sVar)==0) pk::DELTAtvV = dVal;
	else if (strcmp("pk_tvCl", sVar)==0) pk_tvCl = dVal;
	else if (strcmp("pk::SCALEtvCl", sVar)==0) pk::SCALEtvCl = dVal;
	else if (strcmp("pk::DELTAtvCl", sVar)==0) pk::DELTAtvCl = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
