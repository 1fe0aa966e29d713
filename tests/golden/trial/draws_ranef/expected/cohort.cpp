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
double pk::tvCl;
double pk::SCALEtvCl = 1;
double pk::DELTAtvCl = 0;
double pk::tvV;
double pk::SCALEtvV = 1;
double pk::DELTAtvV = 0;
double pk::omega1[3];
double pk::omegaHalf1[3];
double pk::omega2[3];
double pk::omegaHalf2[3];
double pk::omega3[3];
double pk::omegaHalf3[3];
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
	zzr[zzn] = (-Cl * A1);
	zzr[zzn] += A1_rate;
	zzn++;
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	Cl = tvCl * exp(nCl + nV + b1 + b2 + b3 + b4);
	EvalAssign();
}
void pk::InitGlobal(){
	int bError = 0;
	CholeskyLTRow(2, pk_vcvFixef, pk_vcvFixefHalf);
	// foreach element, get precision, and square root of that
	pk_omega1Prec[0] = 1 / pk_omega1[0];
	pk_omega1Prch[0] = sqrt(pk_omega1Prec[0]);
	pk_omega1Prec[2] = 1 / pk_omega1[2];
	pk_omega1Prch[2] = sqrt(pk_omega1Prec[2]);
	// get precision matrix, and cholesky of that
	MatrixInvert(2, pk_omega2, pk_omega2Prec, bError);
	CholeskyLTRow(2, pk_omega2Prec, pk_omega2Prch);
}
void pk::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEtvCl = 1;
	DELTAtvCl = 0;
	SCALEtvV = 1;
	DELTAtvV = 0;
}
void pk::InitReplicate(){
	int bError = 0;
	double _a[2+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// use mvn to draw fixef vector
	double _work[sizeof(_a)]; // random vector
	SampleMVNLTRow(2, pk_vcvFixefHalf, _work, _a, ENBREP);
	_a[0] *= FixefInflationFactor;
	_a[1] *= FixefInflationFactor;
	// set replicate fixed effects from base value and uncertainty
	tvCl = (pk_tvCl + _a[0]) * SCALEtvCl + DELTAtvCl;
	_rec_fixef(iScen, iRep, "pk_tvCl", tvCl, "");
	tvV = (pk_tvV + _a[1]) * SCALEtvV + DELTAtvV;
	_rec_fixef(iScen, iRep, "pk_tvV", tvV, "");
	// sample diagonal block omega from ChiSq using DF = IWNDF+1+3, invert, and get cholesky
	memset(omega1, 0, sizeof(omega1));
	memset(pk_omega1Inverse, 0, sizeof(pk_omega1Inverse));
	GenChiSq(pk_nDFOmega+1+3, pk_omega1Prch[0], pk_omega1Inverse[0], 1);
	pk_omega1Inverse[0] /= (pk_nDFOmega+2);
	omega1[0] = ENBREP ? 1.0 / pk_omega1Inverse[0] : pk_omega1[0];
	GenChiSq(pk_nDFOmega+1+3, pk_omega1Prch[2], pk_omega1Inverse[2], 1);
	pk_omega1Inverse[2] /= (pk_nDFOmega+2);
	omega1[2] = ENBREP ? 1.0 / pk_omega1Inverse[2] : pk_omega1[2];
	CholeskyLTRow(2, omega1, omegaHalf1);
	_rec_omega(iScen, iRep, "pk_omega1_1_1", omega1[0], "");
	_rec_omega(iScen, iRep, "pk_omega1_2_1", omega1[1], "");
	_rec_omega(iScen, iRep, "pk_omega1_2_2", omega1[2], "");
	// sample wishart using DF as IWNDF+p+3 to prevent the problem with mean
	GenWish(2, pk_nDFOmega+2+3, pk_omega2Prch, pk_work2Vec, pk_work2Vecsq, pk_omega2Inverse, 1);
	// scaling by DF-p-1 which is IWNDF+2 (to get the mean value)
	Scale(2, 1.0/(pk_nDFOmega+2), pk_omega2Inverse);
	MatrixInvert(2, pk_omega2Inverse, omega2, bError);
	if(!ENBREP) memcpy(omega2, pk_omega2, sizeof(pk_omega2));
	CholeskyLTRow(2, omega2, omegaHalf2);
	_rec_omega(iScen, iRep, "pk_omega2_1_1", omega2[0], "");
	_rec_omega(iScen, iRep, "pk_omega2_2_1", omega2[1], "");
	_rec_omega(iScen, iRep, "pk_omega2_2_2", omega2[2], "");
	// same block
	memcpy(omega3, omega2, sizeof(omega3));
	memcpy(omegaHalf3, omegaHalf2, sizeof(omegaHalf3));
}
void pk::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	{	// sample eta vector
		double _work[2];
		double _a[2];
		SampleMVNLTRow(2, omegaHalf1, _work, _a, ENBIND);
		nCl = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nCl", nCl, "");
		nV = _a[1] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nV", nV, "");
	}
	{	// sample eta vector
		double _work[2];
		double _a[2];
		SampleMVNLTRow(2, omegaHalf2, _work, _a, ENBIND);
		b1 = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "b1", b1, "");
		b2 = _a[1] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "b2", b2, "");
	}
	{	// sample eta vector
		double _work[2];
		double _a[2];
		SampleMVNLTRow(2, omegaHalf3, _work, _a, ENBIND);
		b3 = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "b3", b3, "");
		b4 = _a[1] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "b4", b4, "");
	}
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
double pd::FixefInflationFactor;
double pd::ErrorInflationFactor;
double pd::RanefInflationFactor;
double pd::Emax;
double pd::SCALEEmax = 1;
double pd::DELTAEmax = 0;
double pd::omega1[1];
double pd::omegaHalf1[1];
void pd::Print(FILE* f, int nIndent){
	fprintf(f, "%*spd\n", nIndent, "");
}
void pd::Init(){
	PKPDModel::Init();
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
}
void pd::SetInteg(int& zzn, double zzv[]){
}
int pd::GetNInteg(){
	int _n = 0;
	return _n;
}
void pd::GetStateSS(int& zzn, double zzv[]){
}
void pd::SetStateSS(int& zzn, double zzv[]){
}
int pd::GetNStateSS(){
	int _n = 0;
	return _n;
}
void pd::ResetIntegrators(){
	int _i = 0;
}
void pd::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
}
void pd::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pd::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	E = Emax * exp(nE);
}
void pd::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void pd::InitGlobal(){
	int bError = 0;
	// get precision matrix, and cholesky of that
	MatrixInvert(1, pd_omega1, pd_omega1Prec, bError);
	CholeskyLTRow(1, pd_omega1Prec, pd_omega1Prch);
}
void pd::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEEmax = 1;
	DELTAEmax = 0;
}
void pd::InitReplicate(){
	int bError = 0;
	double _a[1+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	Emax = (pd_Emax + _a[0]) * SCALEEmax + DELTAEmax;
	_rec_fixef(iScen, iRep, "pd_Emax", Emax, "");
	memcpy(omega1, pd_omega1, sizeof(omega1));
	CholeskyLTRow(1, omega1, omegaHalf1);
	_rec_omega(iScen, iRep, "pd_omega1_1_1", omega1[0], "");
}
void pd::InitSubject(){
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
		nE = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nE", nE, "");
	}
}
void pd::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pd::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void pd::StopSubject(){
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
	e.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	a.StartSubject();
	e.StartSubject();
}
void subject::StopSubject(){
	a.StopSubject();
	e.StopSubject();
}
void subject::EvalGroup(){
	a.EvalGroup();
	e.EvalGroup();
}
void subject::EvalAssign(){
	a.EvalAssign();
	e.EvalAssign();
}
void subject::CF2Advance(double dt){
	a.CF2Advance(dt);
	e.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += a.GetNInteg();
	n += e.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.SetInteg(zzn, zzv);
	e.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.GetInteg(zzn, zzv);
	e.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	a.GetRate(zzn, zzr);
	e.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	a.SetTimeOfStateCF(_t);
	e.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	a.SetTimeOfGetValCF(_t);
	e.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += a.GetNStateSS();
	n += e.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.GetStateSS(zzn, zzv);
	e.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.SetStateSS(zzn, zzv);
	e.SetStateSS(zzn, zzv);
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
	sa.push_back("pk::FixefInflationFactor");
	sa.push_back("pk::ErrorInflationFactor");
	sa.push_back("pk::RanefInflationFactor");
	sa.push_back("pk_tvCl");
	sa.push_back("pk::SCALEtvCl");
	sa.push_back("pk::DELTAtvCl");
	sa.push_back("pk_tvV");
	sa.push_back("pk::SCALEtvV");
	sa.push_back("pk::DELTAtvV");
	sa.push_back("pd::FixefInflationFactor");
	sa.push_back("pd::ErrorInflationFactor");
	sa.push_back("pd::RanefInflationFactor");
	sa.push_back("pd_Emax");
	sa.push_back("pd::SCALEEmax");
	sa.push_back("pd::DELTAEmax");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("pk::FixefInflationFactor", sVar)==0) pk::FixefInflationFactor = dVal;
	else if (strcmp("pk::ErrorInflationFactor", sVar)==0) pk::ErrorInflationFactor = dVal;
	else if (strcmp("pk::RanefInflationFactor", sVar)==0) pk::RanefInflationFactor = dVal;
	else if (strcmp("pk_tvCl", sVar)==0) pk_tvCl = dVal;
	else if (strcmp("pk::SCALEtvCl", sVar)==0) pk::SCALEtvCl = dVal;
	else if (strcmp("pk::DELTAtvCl", sVar)==0) pk::DELTAtvCl = dVal;
	else if (strcmp("pk_tvV", sVar)==0) pk_tvV = dVal;
	else if (strcmp("pk::SCALEtvV", sVar)==0) pk::SCALEtvV = dVal;
	else if (strcmp("pk::DELTAtvV", sVar)==0) pk::DELTAtvV = dVal;
	else if (strcmp("pd::FixefInflationFactor", sVar)==0) pd::FixefInflationFactor = dVal;
	else if (strcmp("pd::ErrorInflationFactor", sVar)==0) pd::ErrorInflationFactor = dVal;
	else if (strcmp("pd::RanefInflationFactor", sVar)==0) pd::RanefInflationFactor = dVal;
	else if (strcmp("pd_Emax", sVar)==0) pd_Emax = dVal;
	else if (strcmp("pd::SCALEEmax", sVar)==0) pd::SCALEEmax = dVal;
	else if (strcmp("pd::DELTAEmax", sVar)==0) pd::DELTAEmax = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
