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
double m1::a;
double m1::SCALEa = 1;
double m1::DELTAa = 0;
double m1::b;
double m1::SCALEb = 1;
double m1::DELTAb = 0;
double m1::c;
double m1::SCALEc = 1;
double m1::DELTAc = 0;
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
}
void m1::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m1::InitGlobal(){
	int bError = 0;
}
void m1::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEa = 1;
	DELTAa = 0;
	SCALEb = 1;
	DELTAb = 0;
	SCALEc = 1;
	DELTAc = 0;
}
void m1::InitReplicate(){
	int bError = 0;
	double _a[3+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	a = (m1_a + _a[0]) * SCALEa + DELTAa;
	_rec_fixef(iScen, iRep, "m1_a", a, "");
	b = (m1_b + _a[1]) * SCALEb + DELTAb;
	_rec_fixef(iScen, iRep, "m1_b", b, "");
	c = (m1_c + _a[2]) * SCALEc + DELTAc;
	_rec_fixef(iScen, iRep, "m1_c", c, "");
}
void m1::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
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
double m2::a;
double m2::SCALEa = 1;
double m2::DELTAa = 0;
double m2::b;
double m2::SCALEb = 1;
double m2::DELTAb = 0;
double m2::ErrVar1[1];
double m2::ErrVarHalf1[1];
double m2::ErrVar2[1];
double m2::ErrVarHalf2[1];
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
}
void m2::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m2::InitGlobal(){
	int bError = 0;
	// foreach element, get nSigDF, precision, and square root of that
	m2_ErrVar1Prec[0] = 1 / m2_ErrVar1[0];
	m2_ErrVar1Prch[0] = sqrt(m2_ErrVar1Prec[0]);
	// foreach element, get nSigDF, precision, and square root of that
	m2_ErrVar2Prec[0] = 1 / m2_ErrVar2[0];
	m2_ErrVar2Prch[0] = sqrt(m2_ErrVar2Prec[0]);
}
void m2::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEa = 1;
	DELTAa = 0;
	SCALEb = 1;
	DELTAb = 0;
}
void m2::InitReplicate(){
	int bError = 0;
	double _a[2+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	a = (m2_a + _a[0]) * SCALEa + DELTAa;
	_rec_fixef(iScen, iRep, "m2_a", a, "");
	b = (m2_b + _a[1]) * SCALEb + DELTAb;
	_rec_fixef(iScen, iRep, "m2_b", b, "");
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	ErrVar1[0] = m2_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "m2_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar2, 0, sizeof(ErrVar2));
	ErrVar2[0] = m2_ErrVar2[0];
	CholeskyLTRow(1, ErrVar2, ErrVarHalf2);
	_rec_sigma(iScen, iRep, "m2_sigma2_1_1", sqrt(ErrVar2[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void m2::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
}
void m2::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf1, _work, _a, ENBOBS);
		e1 = _a[0] * ErrorInflationFactor;
	}
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf2, _work, _a, ENBOBS);
		e2 = _a[0] * ErrorInflationFactor;
	}
}
void m2::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void m2::StopSubject(){
}
double m3::FixefInflationFactor;
double m3::ErrorInflationFactor;
double m3::RanefInflationFactor;
double m3::a;
double m3::SCALEa = 1;
double m3::DELTAa = 0;
double m3::b;
double m3::SCALEb = 1;
double m3::DELTAb = 0;
void m3::Print(FILE* f, int nIndent){
	fprintf(f, "%*sm3\n", nIndent, "");
}
void m3::Init(){
	PKPDModel::Init();
}
void m3::CF2Advance(double dt){
}
void m3::CF2GetState(double* y){
}
void m3::CF2SetState(double* y){
}
void m3::SetTimeOfStateCF(double _t){
}
void m3::SetTimeOfGetValCF(double _t){
}
void m3::CF2Init(double _t){
}
void m3::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void m3::GetInteg(int& zzn, double zzv[]){
}
void m3::SetInteg(int& zzn, double zzv[]){
}
int m3::GetNInteg(){
	int _n = 0;
	return _n;
}
void m3::GetStateSS(int& zzn, double zzv[]){
}
void m3::SetStateSS(int& zzn, double zzv[]){
}
int m3::GetNStateSS(){
	int _n = 0;
	return _n;
}
void m3::ResetIntegrators(){
	int _i = 0;
}
void m3::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
}
void m3::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m3::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m3::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m3::InitGlobal(){
	int bError = 0;
}
void m3::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEa = 1;
	DELTAa = 0;
	SCALEb = 1;
	DELTAb = 0;
}
void m3::InitReplicate(){
	int bError = 0;
	double _a[2+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	a = (m3_a + _a[0]) * SCALEa + DELTAa;
	_rec_fixef(iScen, iRep, "m3_a", a, "");
	b = (m3_b + _a[1]) * SCALEb + DELTAb;
	_rec_fixef(iScen, iRep, "m3_b", b, "");
}
void m3::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
}
void m3::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m3::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void m3::StopSubject(){
}
double m4::FixefInflationFactor;
double m4::ErrorInflationFactor;
double m4::RanefInflationFactor;
double m4::a;
double m4::SCALEa = 1;
double m4::DELTAa = 0;
double m4::ErrVar1[1];
double m4::ErrVarHalf1[1];
void m4::Print(FILE* f, int nIndent){
	fprintf(f, "%*sm4\n", nIndent, "");
}
void m4::Init(){
	PKPDModel::Init();
}
void m4::CF2Advance(double dt){
}
void m4::CF2GetState(double* y){
}
void m4::CF2SetState(double* y){
}
void m4::SetTimeOfStateCF(double _t){
}
void m4::SetTimeOfGetValCF(double _t){
}
void m4::CF2Init(double _t){
}
void m4::CF2ReInit(double _t){
	double _state[6*0];
	CF2Init(_t);
}
void m4::GetInteg(int& zzn, double zzv[]){
}
void m4::SetInteg(int& zzn, double zzv[]){
}
int m4::GetNInteg(){
	int _n = 0;
	return _n;
}
void m4::GetStateSS(int& zzn, double zzv[]){
}
void m4::SetStateSS(int& zzn, double zzv[]){
}
int m4::GetNStateSS(){
	int _n = 0;
	return _n;
}
void m4::ResetIntegrators(){
	int _i = 0;
}
void m4::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
}
void m4::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m4::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void m4::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	EvalAssign();
}
void m4::InitGlobal(){
	int bError = 0;
	// foreach element, get nSigDF, precision, and square root of that
	m4_ErrVar1Prec[0] = 1 / m4_ErrVar1[0];
	m4_ErrVar1Prch[0] = sqrt(m4_ErrVar1Prec[0]);
}
void m4::InitScenario(){
	int bError = 0;
	FixefInflationFactor = 1;
	ErrorInflationFactor = 1;
	RanefInflationFactor = 1;
	SCALEa = 1;
	DELTAa = 0;
}
void m4::InitReplicate(){
	int bError = 0;
	double _a[1+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	a = (m4_a + _a[0]) * SCALEa + DELTAa;
	_rec_fixef(iScen, iRep, "m4_a", a, "");
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	ErrVar1[0] = m4_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "m4_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void m4::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
}
void m4::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf1, _work, _a, ENBOBS);
		e = _a[0] * ErrorInflationFactor;
	}
}
void m4::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void m4::StopSubject(){
}
extern void InitReplicate();
void InitReplicate(){subject::InitReplicate();}
void subject::InitReplicate(){
	m1::InitReplicate();
}
extern void InitScenario();
void InitScenario(){subject::InitScenario();}
void subject::InitScenario(){
	m1::InitScenario();
}
extern void InitGlobal();
void InitGlobal(){subject::InitGlobal();}
void subject::InitGlobal(){
	m1::InitGlobal();
}
void subject::InitSubject(){
	x.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	x.StartSubject();
}
void subject::StopSubject(){
	x.StopSubject();
}
void subject::EvalGroup(){
	x.EvalGroup();
}
void subject::EvalAssign(){
	x.EvalAssign();
}
void subject::CF2Advance(double dt){
	x.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += x.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	x.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	x.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	x.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	x.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	x.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += x.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	x.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	x.SetStateSS(zzn, zzv);
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
	sa.push_back("m1_a");
	sa.push_back("m1::SCALEa");
	sa.push_back("m1::DELTAa");
	sa.push_back("m1_b");
	sa.push_back("m1::SCALEb");
	sa.push_back("m1::DELTAb");
	sa.push_back("m1_c");
	sa.push_back("m1::SCALEc");
	sa.push_back("m1::DELTAc");
	sa.push_back("m2::FixefInflationFactor");
	sa.push_back("m2::ErrorInflationFactor");
	sa.push_back("m2::RanefInflationFactor");
	sa.push_back("m2_a");
	sa.push_back("m2::SCALEa");
	sa.push_back("m2::DELTAa");
	sa.push_back("m2_b");
	sa.push_back("m2::SCALEb");
	sa.push_back("m2::DELTAb");
	sa.push_back("m3::FixefInflationFactor");
	sa.push_back("m3::ErrorInflationFactor");
	sa.push_back("m3::RanefInflationFactor");
	sa.push_back("m3_a");
	sa.push_back("m3::SCALEa");
	sa.push_back("m3::DELTAa");
	sa.push_back("m3_b");
	sa.push_back("m3::SCALEb");
	sa.push_back("m3::DELTAb");
	sa.push_back("m4::FixefInflationFactor");
	sa.push_back("m4::ErrorInflationFactor");
	sa.push_back("m4::RanefInflationFactor");
	sa.push_back("m4_a");
	sa.push_back("m4::SCALEa");
	sa.push_back("m4::DELTAa");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("m1::FixefInflationFactor", sVar)==0) m1::FixefInflationFactor = dVal;
	else if (strcmp("m1::ErrorInflationFactor", sVar)==0) m1::ErrorInflationFactor = dVal;
	else if (strcmp("m1::RanefInflationFactor", sVar)==0) m1::RanefInflationFactor = dVal;
	else if (strcmp("m1_a", sVar)==0) m1_a = dVal;
	else if (strcmp("m1::SCALEa", sVar)==0) m1::SCALEa = dVal;
	else if (strcmp("m1::DELTAa", sVar)==0) m1::DELTAa = dVal;
	else if (strcmp("m1_b", sVar)==0) m1_b = dVal;
	else if (strcmp("m1::SCALEb", sVar)==0) m1::SCALEb = dVal;
	else if (strcmp("m1::DELTAb", sVar)==0) m1::DELTAb = dVal;
	else if (strcmp("m1_c", sVar)==0) m1_c = dVal;
	else if (strcmp("m1::SCALEc", sVar)==0) m1::SCALEc = dVal;
	else if (strcmp("m1::DELTAc", sVar)==0) m1::DELTAc = dVal;
	else if (strcmp("m2::FixefInflationFactor", sVar)==0) m2::FixefInflationFactor = dVal;
	else if (strcmp("m2::ErrorInflationFactor", sVar)==0) m2::ErrorInflationFactor = dVal;
	else if (strcmp("m2::RanefInflationFactor", sVar)==0) m2::RanefInflationFactor = dVal;
	else if (strcmp("m2_a", sVar)==0) m2_a = dVal;
	else if (strcmp("m2::SCALEa", sVar)==0) m2::SCALEa = dVal;
	else if (strcmp("m2::DELTAa", sVar)==0) m2::DELTAa = dVal;
	else if (strcmp("m2_b", sVar)==0) m2_b = dVal;
	else if (strcmp("m2::SCALEb", sVar)==0) m2::SCALEb = dVal;
	else if (strcmp("m2::DELTAb", sVar)==0) m2::DELTAb = dVal;
	else if (strcmp("m3::FixefInflationFactor", sVar)==0) m3::FixefInflationFactor = dVal;
	else if (strcmp("m3::ErrorInflationFactor", sVar)==0) m3::ErrorInflationFactor = dVal;
	else if (strcmp("m3::RanefInflationFactor", sVar)==0) m3::RanefInflationFactor = dVal;
	else if (strcmp("m3_a", sVar)==0) m3_a = dVal;
	else if (strcmp("m3::SCALEa", sVar)==0) m3::SCALEa = dVal;
	else if (strcmp("m3::DELTAa", sVar)==0) m3::DELTAa = dVal;
	else if (strcmp("m3_b", sVar)==0) m3_b = dVal;
	else if (strcmp("m3::SCALEb", sVar)==0) m3::SCALEb = dVal;
	else if (strcmp("m3::DELTAb", sVar)==0) m3::DELTAb = dVal;
	else if (strcmp("m4::FixefInflationFactor", sVar)==0) m4::FixefInflationFactor = dVal;
	else if (strcmp("m4::ErrorInflationFactor", sVar)==0) m4::ErrorInflationFactor = dVal;
	else if (strcmp("m4::RanefInflationFactor", sVar)==0) m4::RanefInflationFactor = dVal;
	else if (strcmp("m4_a", sVar)==0) m4_a = dVal;
	else if (strcmp("m4::SCALEa", sVar)==0) m4::SCALEa = dVal;
	else if (strcmp("m4::DELTAa", sVar)==0) m4::DELTAa = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
