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
double m1::FixefInflationFactor;
double m1::ErrorInflationFactor;
double m1::RanefInflationFactor;
double m1::tvV;
double m1::SCALEtvV = 1;
double m1::DELTAtvV = 0;
double m1::omega1[1];
double m1::omegaHalf1[1];
void m1::Print(FILE* f, int nIndent){
	fprintf(f, "%*sm1\n", nIndent, "");
}
void m1::Init(){
	PKPDModel::Init();
}
void m1::CF2Advance(double dt){
}
void m1::CF2GetState(double* y){
}
void m1::CF2SetState(double* y){
}
void m1::SetTimeOfStateCF(double _t){
}
void m1::SetTimeOfGetValCF(double _t){
}
void m1::CF2Init(double _t){
}
void m1::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void m1::GetInteg(int& zzn, double zzv[]){
}
void m1::SetInteg(int& zzn, double zzv[]){
}
int m1::GetNInteg(){
	int _n = 0;
	return _n;
}
void m1::GetStateSS(int& zzn, double zzv[]){
}
void m1::SetStateSS(int& zzn, double zzv[]){
}
int m1::GetNStateSS(){
	int _n = 0;
	return _n;
}
void m1::ResetIntegrators(){
	int _i = 0;
}
void m1::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
}
void m1::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m1::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	V = tvV * exp(nV);
}
void m1::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m1::InitGlobal(){
	int bError = 0;
	// foreach element, get precision, and square root of that
	m1_omega1Prec[0] = 1 / m1_omega1[0];
	m1_omega1Prch[0] = sqrt(m1_omega1Prec[0]);
	_sampler0.InitGlobal("dir\\boot.csv", 1);
}
void m1::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEtvV = 1;
	DELTAtvV = 0;
}
void m1::InitReplicate(){
	int bError = 0;
	_sampler0.InitReplicate();
	double _a[1+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	tvV = (m1_tvV + _a[0]) * SCALEtvV + DELTAtvV;
	_rec_fixef(iScen, iRep, "m1_tvV", tvV, "");
	memcpy(omega1, m1_omega1, sizeof(omega1));
	CholeskyLTRow(1, omega1, omegaHalf1);
	_rec_omega(iScen, iRep, "m1_omega1_1_1", omega1[0], "");
}
void m1::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	{	// sample eta vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, omegaHalf1, _work, _a, ENBIND);
		nV = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nV", nV, "");
	}
}
void m1::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m1::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void m1::StopSubject(){
}
double m2::FixefInflationFactor;
double m2::ErrorInflationFactor;
double m2::RanefInflationFactor;
void m2::Print(FILE* f, int nIndent){
	fprintf(f, "%*sm2\n", nIndent, "");
}
void m2::Init(){
	PKPDModel::Init();
}
void m2::CF2Advance(double dt){
}
void m2::CF2GetState(double* y){
}
void m2::CF2SetState(double* y){
}
void m2::SetTimeOfStateCF(double _t){
}
void m2::SetTimeOfGetValCF(double _t){
}
void m2::CF2Init(double _t){
}
void m2::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void m2::GetInteg(int& zzn, double zzv[]){
}
void m2::SetInteg(int& zzn, double zzv[]){
}
int m2::GetNInteg(){
	int _n = 0;
	return _n;
}
void m2::GetStateSS(int& zzn, double zzv[]){
}
void m2::SetStateSS(int& zzn, double zzv[]){
}
int m2::GetNStateSS(){
	int _n = 0;
	return _n;
}
void m2::ResetIntegrators(){
	int _i = 0;
}
void m2::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
}
void m2::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m2::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	E = wt;
}
void m2::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m2::InitGlobal(){
	int bError = 0;
	_sampler1.InitGlobal("wt.csv", 0);
}
void m2::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
}
void m2::InitReplicate(){
	int bError = 0;
	_sampler1.InitReplicate();
	double _a[0+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
}
void m2::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	_sampler1.InitSubject();
			wt = (70.0) + (ENBIND ? norm() : 0.0) * (10.0);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "wt", wt, "");
}
void m2::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m2::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void m2::StopSubject(){
}
extern void InitReplicate();
void InitReplicate(){subject::InitReplicate();}
void subject::InitReplicate(){
	m1::InitReplicate();
	m2::InitReplicate();
}
extern void InitScenario();
void InitScenario(){subject::InitScenario();}
void subject::InitScenario(){
	m1::InitScenario();
	m2::InitScenario();
}
extern void InitGlobal();
void InitGlobal(){subject::InitGlobal();}
void subject::InitGlobal(){
	m1::InitGlobal();
	m2::InitGlobal();
}
void subject::InitSubject(){
	x.InitSubject();
	y.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	x.StartSubject();
	y.StartSubject();
}
void subject::StopSubject(){
	x.StopSubject();
	y.StopSubject();
}
void subject::EvalGroup(){
	x.EvalGroup();
	y.EvalGroup();
}
void subject::EvalAssign(){
	x.EvalAssign();
	y.EvalAssign();
}
void subject::CF2Advance(double dt){
	x.CF2Advance(dt);
	y.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += x.GetNInteg();
	n += y.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	x.SetInteg(zzn, zzv);
	y.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	x.GetInteg(zzn, zzv);
	y.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	x.GetRate(zzn, zzr);
	y.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	x.SetTimeOfStateCF(_t);
	y.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	x.SetTimeOfGetValCF(_t);
	y.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += x.GetNStateSS();
	n += y.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	x.GetStateSS(zzn, zzv);
	y.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	x.SetStateSS(zzn, zzv);
	y.SetStateSS(zzn, zzv);
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
	switch(iState){case 1:goto L1;case 2:goto L2;}
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
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	StopSubject();
	// allow any event sims to finish
	bStop = 1;
	SLEEP(2, 0, 10);
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
	sa.push_back("m1::FixefInflationFactor");
	sa.push_back("m1::ErrorInflationFactor");
	sa.push_back("m1::RanefInflationFactor");
	sa.push_back("m1_tvV");
	sa.push_back("m1::SCALEtvV");
	sa.push_back("m1::DELTAtvV");
	sa.push_back("m2::FixefInflationFactor");
	sa.push_back("m2::ErrorInflationFactor");
	sa.push_back("m2::RanefInflationFactor");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("m1::FixefInflationFactor", sVar)==0) m1::FixefInflationFactor = dVal;
	else if (strcmp("m1::ErrorInflationFactor", sVar)==0) m1::ErrorInflationFactor = dVal;
	else if (strcmp("m1::RanefInflationFactor", sVar)==0) m1::RanefInflationFactor = dVal;
	else if (strcmp("m1_tvV", sVar)==0) m1_tvV = dVal;
	else if (strcmp("m1::SCALEtvV", sVar)==0) m1::SCALEtvV = dVal;
	else if (strcmp("m1::DELTAtvV", sVar)==0) m1::DELTAtvV = dVal;
	else if (strcmp("m2::FixefInflationFactor", sVar)==0) m2::FixefInflationFactor = dVal;
	else if (strcmp("m2::ErrorInflationFactor", sVar)==0) m2::ErrorInflationFactor = dVal;
	else if (strcmp("m2::RanefInflationFactor", sVar)==0) m2::RanefInflationFactor = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
