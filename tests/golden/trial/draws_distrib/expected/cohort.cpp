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
}
void pk::SetInteg(int& zzn, double zzv[]){
}
int pk::GetNInteg(){
	int _n = 0;
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
}
void pk::SetStateSS(int& zzn, double zzv[]){
}
int pk::GetNStateSS(){
	int _n = 0;
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
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
		for (_i = 0; _i < 100; _i++){
			n1 = (1.0) + (ENBIND ? norm() : 0.0) * (2.0);
			if (n1 < (0.0)) continue;
			if (n1 > (5.0)) continue;
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test, low = 0.0, high = 5.0\n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			return;
		}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "n1", n1, "");
			n2 = (1.0) * (1 + (ENBIND ? norm() : 0.0) * (2.0) / 100);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "n2", n2, "");
			n3 = (1.0) + (ENBIND ? norm() : 0.0) * sqrt(2.0);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "n3", n3, "");
			st = (1.0) + (ENBIND ? studentt(4) : 0.0) * (2.0);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "st", st, "");
			l1 = lognormalMedianSigma((1.0), (2.0), 1);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "l1", l1, "");
			l2 = lognormalMeanVar((1.0), (2.0), 1);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "l2", l2, "");
			l3 = lognormalMedianSD((1.0), (2.0), 1);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "l3", l3, "");
			be = (ENBIND ? rbeta((2.0), (3.0)) : (2.0)/((2.0)+(3.0)));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "be", be, "");
			bm = (ENBIND ? rbeta_mean((0.5), (3.0)) : (0.5)/((0.5)+(3.0)));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "bm", bm, "");
			bi = (ENBIND ? rbinomial((10.0), (0.5)) : (10.0)*(0.5));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "bi", bi, "");
			cs = 0;
			for (_itemp = (int)3.0; -- _itemp >= 0;){
				_temp = (ENBIND ? norm() : 0.0);
				cs += _temp * _temp;
			}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "cs", cs, "");
		co = 7.0;
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "co", co, "");
			ex = (2.0) * (ENBIND ? -log(unif()) : 1.0);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "ex", ex, "");
			ga = (ENBIND ? rgamma((2.0), (3.0)) : (2.0) * (3.0));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "ga", ga, "");
			ig = (ENBIND ? rinvgamma((3.0), (2.0)) : (3.0) * ((2.0) - 1));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "ig", ig, "");
			_temp = (ENBIND ? unif() : 0.5);
			lg = (0.0) + (1.0) * log(_temp/(1 - _temp));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "lg", lg, "");
			nb = rnegbin_rp((5.0), (0.5), ENBIND);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nb", nb, "");
			po = rpoisson((4.0), ENBIND);
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "po", po, "");
		for (_i = 0; _i < 100; _i++){
			un = (0.0) + (ENBIND ? unif() : 0.5) * ((10.0) - (0.0));
			if (un < (1.0)) continue;
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test, low = 1.0, high = \n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			return;
		}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "un", un, "");
			we = (2.0) * pow(-log((ENBIND ? unif() : 0.5)), 1/(1.5));
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "we", we, "");
	{
		double _sum = 0;
		double _u = (ENBIND ? unif() : 0.5);
		if (0){
		} else if ((_sum += (0.25)), _u < _sum){
			sex = 0; // male
					wt = (70.0) + (ENBIND ? norm() : 0.0) * (10.0);
		} else {
			sex = 2; // female
					wt = (60.0) + (ENBIND ? norm() : 0.0) * (8.0);
		}
	}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "sex", sex, "");
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "wt", wt, "");
		if (0){
	} else if (_pSubj->iSubpop == 1){
	{
		double _work[2];
		double _mean[2];
		double _var[3];
		double _varch[3];
		double _a[2];
		memset(_a, 0, sizeof(_a));
		_mean[0] = (3.0);
		_mean[1] = (4.0);
		_var[0] = (1.0);
		_var[1] = (0.0);
		_var[2] = (1.0);
		if (!CholeskyLTRow(2, _var, _varch)){} // fail somehow
		for (_i = 0; _i < 100; _i++){
			SampleMVTLTRow(3, 2, _varch, _work, _a, ENBIND);
			if (_mean[1] + _a[1] < (0.0)) continue;
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test\n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			return;
		}
		h = _mean[0] + _a[0];
		g = _mean[1] + _a[1];
	}
	} else { // iSubpop == 0 or any other number
	{
		double _work[2];
		double _mean[2];
		double _var[3];
		double _varch[3];
		double _a[2];
		memset(_a, 0, sizeof(_a));
		_mean[0] = (1.0);
		_mean[1] = (2.0);
		_var[0] = (1.0);
		_var[1] = (0.5);
		_var[2] = (2.0);
		if (!CholeskyLTRow(2, _var, _varch)){} // fail somehow
		for (_i = 0; _i < 100; _i++){
			SampleMVNLTRow(2, _varch, _work, _a, ENBIND);
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test\n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			return;
		}
		h = _mean[0] + _a[0];
		g = _mean[1] + _a[1];
	}
	}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "h", h, "");
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "g", g, "");
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
}
void SetSettableVar(LPCTSTR sVar, double dVal){
	if (0);
	else if (strcmp("iScen", sVar)==0) iScen = (int)dVal;
	else if (strcmp("iRep", sVar)==0) iRep = (int)dVal;
	else if (strcmp("pk::FixefInflationFactor", sVar)==0) pk::FixefInflationFactor = dVal;
	else if (strcmp("pk::ErrorInflationFactor", sVar)==0) pk::ErrorInflationFactor = dVal;
	else if (strcmp("pk::RanefInflationFactor", sVar)==0) pk::RanefInflationFactor = dVal;
}
StateMachine* CallMain(){
	return new main(0, -1);
}
