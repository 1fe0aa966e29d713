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
double pk::tvKa;
double pk::SCALEtvKa = 1;
double pk::DELTAtvKa = 0;
double pk::omega1[3];
double pk::omegaHalf1[3];
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
	zzv[zzn++] = Aa;
	zzv[zzn++] = A1;
}
void pk::SetInteg(int& zzn, double zzv[]){
	Aa = zzv[zzn++];
	A1 = zzv[zzn++];
}
int pk::GetNInteg(){
	int _n = 0;
	_n++; // Aa
	_n++; // A1
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = Aa;
	zzv[zzn++] = A1;
}
void pk::SetStateSS(int& zzn, double zzv[]){
	Aa = zzv[zzn++];
	A1 = zzv[zzn++];
}
int pk::GetNStateSS(){
	int _n = 0;
	_n++; // Aa
	_n++; // A1
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
			Aa = 0;
	Aa_rate = 0;
			A1 = 0;
	A1_rate = 0;
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (-Ka * Aa);
	zzr[zzn] += Aa_rate;
	zzn++;
	zzr[zzn] = (Ka * Aa - Cl * C);
	zzr[zzn] += A1_rate;
	zzn++;
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	C = A1 / V;
}
void pk::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	V = tvV * exp(nV);
	Cl = tvCl * exp(nCl);
	Ka = tvKa;
	EvalAssign();
}
void pk::InitGlobal(){
	int bError = 0;
	// foreach element, get precision, and square root of that
	pk_omega1Prec[0] = 1 / pk_omega1[0];
	pk_omega1Prch[0] = sqrt(pk_omega1Prec[0]);
	pk_omega1Prec[2] = 1 / pk_omega1[2];
	pk_omega1Prch[2] = sqrt(pk_omega1Prec[2]);
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
	SCALEtvKa = 1;
	DELTAtvKa = 0;
}
void pk::InitReplicate(){
	int bError = 0;
	double _a[3+1]; // random vector
	memset(_a, 0, sizeof(_a));
	// set replicate fixed effects from base value and uncertainty
	tvV = (pk_tvV + _a[0]) * SCALEtvV + DELTAtvV;
	_rec_fixef(iScen, iRep, "pk_tvV", tvV, "");
	tvCl = (pk_tvCl + _a[1]) * SCALEtvCl + DELTAtvCl;
	_rec_fixef(iScen, iRep, "pk_tvCl", tvCl, "");
	tvKa = (pk_tvKa + _a[2]) * SCALEtvKa + DELTAtvKa;
	_rec_fixef(iScen, iRep, "pk_tvKa", tvKa, "");
	memcpy(omega1, pk_omega1, sizeof(omega1));
	CholeskyLTRow(2, omega1, omegaHalf1);
	_rec_omega(iScen, iRep, "pk_omega1_1_1", omega1[0], "");
	_rec_omega(iScen, iRep, "pk_omega1_2_1", omega1[1], "");
	_rec_omega(iScen, iRep, "pk_omega1_2_2", omega1[2], "");
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	ErrVar1[0] = pk_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "pk_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void pk::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	ResetIntegrators();
	CObs = 3.3e-151;
	{	// sample eta vector
		double _work[2];
		double _a[2];
		SampleMVNLTRow(2, omegaHalf1, _work, _a, ENBIND);
		nV = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nV", nV, "");
		nCl = _a[1] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nCl", nCl, "");
	}
}
void pk::InitObservation(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	{	// sample epsilon vector
		double _work[1];
		double _a[1];
		SampleMVNLTRow(1, ErrVarHalf1, _work, _a, ENBOBS);
		CEps = _a[0] * ErrorInflationFactor;
	}
}
void pk::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
}
void pk::StopSubject(){
}
void pk::Bolus_Aa(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Bolus_Aa_1(this, iScen, iRep, _pSubj, 0, _v);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_Aa(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Infusion_Aa_1(this, iScen, iRep, _pSubj, 0, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Observe_CObs(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf1[0]
	CObs = (C * (1.0 + CEps));
	#undef  sigma
	// record the value of CObs
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "CObs", CObs, "");
}
void pk_Bolus_Aa_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Bolus_Aa_1\n", nIndent, "");
}
void pk_Bolus_Aa_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP1;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "Aa", _amt, "", _model->Aa);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->Aa += _amt;
		}
	}
	Finally();
}
void pk_Bolus_Aa_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_Infusion_Aa_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Infusion_Aa_1\n", nIndent, "");
}
void pk_Infusion_Aa_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP2;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "Aa", _amt, "", _model->Aa, _rate);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->Aa_rate += _rate;
			SLEEP(2, _amt / _rate, 0);
			if (!_pSubj->bStop){
				_pSubj->Advance(StateMachine::CurrentAbsTime());
				_model->Aa_rate -= _rate;
			}
		}
	}
	Finally();
}
void pk_Infusion_Aa_1::Finally(){
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
	p.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	p.StartSubject();
}
void subject::StopSubject(){
	p.StopSubject();
}
void subject::EvalGroup(){
	p.EvalGroup();
}
void subject::EvalAssign(){
	p.EvalAssign();
}
void subject::CF2Advance(double dt){
	p.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += p.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	p.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	p.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	p.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	p.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	p.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += p.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	p.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
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
void dosing::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	pk& p = _pSubj->p;
	switch(iState){case 1:goto L1;case 2:goto L2;}
	_nSubordinate[0] = 1;
	day = 0;
	{
		for(day = (int)(1.0); !_pSubj->bStop && day <= nDays; day++){
			_pSubj->p.Bolus_Aa(iScen, iRep, amt);
			SLEEP(2, 24.0, 0);
			_pSubj->Advance(StateMachine::CurrentAbsTime());
		}
	}
	L1:; if (--_nSubordinate[0] > 0) return;
	Finally();
}
void dosing::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		if (pCaller && iStateCaller >= 0) EnQueue(pCaller, iStateCaller);
		Destroy();
	}
}
void dosing::Print(FILE* f, int nIndent){
	fprintf(f, "%*sdosing\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void subject::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	Advance(tAbsTime);
	switch(iState){case 1:goto L1;case 2:goto L2;case 3:goto L3;}
	_nSubordinate[0] = 1;
	k = 0;
	_bAbortingSubject = 0;
	InitSubject();
	if (_bAbortingSubject){
		StopSubject();
		Finally();
		return;
	}
	StartSubject();
	{
		++_nSubordinate[0];
		START(new dosing(this, 1, this, (dailyDose * iArm), 7.0));
		for(k = (int)(1.0); !bStop && k <= 112.0; k++){
			SLEEP(2, 6.0, 0);
			Advance(StateMachine::CurrentAbsTime());
			_pSubj->p.Observe_CObs(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer);
		}
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
void main::Run(int iState, double tAbsTime, double tAbsEps){
	double t = tAbsTime - tMachineStartTime;
	switch(iState){case 1:goto L1;case 2:goto L2;}
	_nSubordinate[0] = 1;
	arm = 0;
	n = 0;
	{
		{	_nSubordinate[1] = 1;
			{
				for(arm = (int)(1.0); arm <= 2.0; arm++){
					for(n = (int)(1.0); n <= nPerArm; n++){
						++_nSubordinate[1];
						START(new subject(this, 2, arm));
					}
				}
			}
			L2:; if (--_nSubordinate[1] > 0) return; // only continue if no more sub processes
		}
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
	sa.push_back("dailyDose");
	sa.push_back("nPerArm");
	sa.push_back("pk::FixefInflationFactor");
	sa.push_back("pk::ErrorInflationFactor");
	sa.push_back("pk::RanefInflationFactor");
	sa.push_back("pk_tvV");
	sa.push_back("pk::SCALEtvV");
	sa.push_back("pk::DELTAtvV");
	sa.push_back("pk_tvCl");
	sa.push_back("pk::SCALEtvCl");
	sa.push_back("pk::DELTAtvCl");
	sa.push_back("pk_tvKa");
	sa.push_back("pk::SCALEtvKa");
	sa.push_back("pk::DELTAtvKa");
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("dailyDose", sVar)==0) dailyDose = dVal;
	else if (strcmp("nPerArm", sVar)==0) nPerArm = (int)dVal;
	else if (strcmp("pk::FixefInflationFactor", sVar)==0) pk::FixefInflationFactor = dVal;
	else if (strcmp("pk::ErrorInflationFactor", sVar)==0) pk::ErrorInflationFactor = dVal;
	else if (strcmp("pk::RanefInflationFactor", sVar)==0) pk::RanefInflationFactor = dVal;
	else if (strcmp("pk_tvV", sVar)==0) pk_tvV = dVal;
	else if (strcmp("pk::SCALEtvV", sVar)==0) pk::SCALEtvV = dVal;
	else if (strcmp("pk::DELTAtvV", sVar)==0) pk::DELTAtvV = dVal;
	else if (strcmp("pk_tvCl", sVar)==0) pk_tvCl = dVal;
	else if (strcmp("pk::SCALEtvCl", sVar)==0) pk::SCALEtvCl = dVal;
	else if (strcmp("pk::DELTAtvCl", sVar)==0) pk::DELTAtvCl = dVal;
	else if (strcmp("pk_tvKa", sVar)==0) pk_tvKa = dVal;
	else if (strcmp("pk::SCALEtvKa", sVar)==0) pk::SCALEtvKa = dVal;
	else if (strcmp("pk::DELTAtvKa", sVar)==0) pk::DELTAtvKa = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
