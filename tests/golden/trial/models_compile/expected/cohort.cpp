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
double pk::omega1[3];
double pk::omegaHalf1[3];
double pk::omega2[3];
double pk::omegaHalf2[3];
double pk::omega3[3];
double pk::omegaHalf3[3];
double pk::ErrVar1[1];
double pk::ErrVarHalf1[1];
double pk::ErrVar2[1];
double pk::ErrVarHalf2[1];
void pk::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk\n", nIndent, "");
}
void pk::Init(){
	_delayTable_0.init();
	PKPDModel::Init();
		Ac.Init(this);
		Ac_rate.Init(this);
		Aa.Init(this);
		Aa_rate.Init(this);
		Am.Init(this);
		Am_rate.Init(this);
		Cm.Init(this);
}
void pk::CF2Advance(double dt){
	_cf_Ac.Advance(dt);
	_cf_Am.Advance(dt);
}
void pk::CF2GetState(double* y){
	y[0] = _cf_Ac.GetValA();
	y[1] = _cf_Ac.GetVal1();
	y[2] = _cf_Ac.GetVal2();
	y[3] = _cf_Ac.GetVal3();
	y[4] = _cf_Ac.GetRateA();
	y[5] = _cf_Ac.GetRate1();
	y[6] = _cf_Am.GetValA();
	y[7] = _cf_Am.GetVal1();
	y[8] = _cf_Am.GetVal2();
	y[9] = _cf_Am.GetVal3();
	y[10] = _cf_Am.GetRateA();
	y[11] = _cf_Am.GetRate1();
}
void pk::CF2SetState(double* y){
	_cf_Ac.SetValA(y[0]);
	_cf_Ac.SetVal1(y[1]);
	_cf_Ac.SetVal2(y[2]);
	_cf_Ac.SetVal3(y[3]);
	_cf_Ac.SetRateA(y[4]);
	_cf_Ac.SetRate1(y[5]);
	_cf_Am.SetValA(y[6]);
	_cf_Am.SetVal1(y[7]);
	_cf_Am.SetVal2(y[8]);
	_cf_Am.SetVal3(y[9]);
	_cf_Am.SetRateA(y[10]);
	_cf_Am.SetRate1(y[11]);
}
void pk::SetTimeOfStateCF(double _t){
	_cf_Ac.SetTimeOfStateCF(_t);
	_cf_Am.SetTimeOfStateCF(_t);
}
void pk::SetTimeOfGetValCF(double _t){
	_cf_Ac.SetTimeOfGetValCF(_t);
	_cf_Am.SetTimeOfGetValCF(_t);
}
void pk::CF2Init(double _t){
	_cf_Ac.InitMicro1(k);
	_cf_Ac.Add1stOrd(1, ka);
	_cf_Am.InitMacro1New(Cm, (Am / V), a, alpha);
	_cf_Am.AppendKaNew(ka);
	SetTimeOfStateCF(_t);
	SetTimeOfGetValCF(_t);
}
void pk::CF2ReInit(double _t){
	double _state[6*2];
	_cf_Ac.GetState(_state+6*0);
	_cf_Am.GetState(_state+6*1);
	CF2Init(_t);
	_cf_Ac.SetState(_state+6*0);
	_cf_Am.SetState(_state+6*1);
}
void pk::GetInteg(int& zzn, double zzv[]){
	zzv[zzn++] = A1;
	zzv[zzn++] = A2;
	zzv[zzn++] = U;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 5; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
	zzv[zzn++] = D;
	zzv[zzn++] = _ht_ev;
	zzv[zzn++] = _ht_ev2;
	zzv[zzn++] = _ht_n;
}
void pk::SetInteg(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
	A2 = zzv[zzn++];
	U = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 5; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
	D = zzv[zzn++];
	_ht_ev = zzv[zzn++];
	_ht_ev2 = zzv[zzn++];
	_ht_n = zzv[zzn++];
}
int pk::GetNInteg(){
	int _n = 0;
	_n++; // A1
	_n++; // A2
	_n++; // U
	_n++; // T
	_n++; // zzX_T
	_n += 5; // zzY_T
	_n++; // D
	_n++; // ev
	_n++; // ev2
	_n++; // n
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = A1;
	zzv[zzn++] = A2;
	zzv[zzn++] = U;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 5; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
	zzv[zzn++] = D;
	_cf_Ac.GetState(zzv+zzn);
	zzn += 6; // Ac
	_cf_Am.GetState(zzv+zzn);
	zzn += 6; // Am
}
void pk::SetStateSS(int& zzn, double zzv[]){
	A1 = zzv[zzn++];
	A2 = zzv[zzn++];
	U = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 5; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
	D = zzv[zzn++];
	_cf_Ac.SetState(zzv+zzn);
	zzn += 6; // Ac
	_cf_Am.SetState(zzv+zzn);
	zzn += 6; // Am
}
int pk::GetNStateSS(){
	int _n = 0;
	_n++; // A1
	_n++; // A2
	_n++; // U
	_n++; // T
	_n++; // zzX_T
	_n += 5; // zzY_T
	_n++; // D
	_n += 6; // Ac
	_n += 6; // Am
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
			A1 = 0;
	A1_rate = 0;
			A2 = 0;
	A2_rate = 0;
			U = 0;
	U_rate = 0;
			T = 0;
	T_rate = 0;
	zzX_T = 0;
	for (_i = 0; _i < 5; _i++){
		zzY_T[_i] = 0;
	}
			D = 0;
	D_rate = 0;
	_ht_ev = 0;
	_ht_ev2 = 0;
	_ht_n = 0;
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (-Cl * A1 / V + Cin);
	zzr[zzn] += A1_rate;
	zzn++;
	zzr[zzn] = (Cl * A1 / V - k * A2);
	zzr[zzn] += A2_rate;
	zzn++;
	zzr[zzn] = (k * A2);
	zzr[zzn] += U_rate;
	zzn++;
	// get the base flow rates for the 5 T transit compartments, from right to left
	for (_i = 0; _i < 4; _i++){
		zzr[zzn + _i + 2] = zzK_T * (zzY_T[_i + 1] - zzY_T[_i]);
	}
	zzr[zzn + _i + 2] = zzK_T * - zzY_T[4];
	zzr[zzn + 1] = zzK_T * (zzY_T[0] - zzX_T); // get the flow rate into the X compartment
	zzr[zzn + (int)zzI_T + 2] += T_rate; // add the infusion rate to the dose compartment
		zzr[zzn + (int)zzI_T + 2] += (k * A2); // add the input flow to the dose compartment
	if (zzY_T[0] > 0 && zzX_T > 0){
		zzr[zzn] = zzK_T
			 * _TransitCorrectionFactor(zzN_T)
			 * exp(log(zzY_T[0])*(1-zzF_T) + log(zzX_T)*zzF_T); // log-interpolated rate
	} else {
		zzr[zzn] = 0;
	}
	zzr[zzn] += (-k * T); // add the output flow to the final compartment
	zzn += 7;
	//       end of transit(T) code
	zzr[zzn++] = D_rate;
	zzr[zzn++] = (k * A1);
	zzr[zzn++] = k;
	zzr[zzn++] = (k * A2);
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	E = C * wt + z;
	_dt_ev = 1;
	_dt_ev2 = 1.0;
	// transit(T) setup
	zzN_T = ntr; // current number of stages (non-integer), truncated
	if (zzN_T < 0) zzN_T = 0;
	if (zzN_T >= 5) zzN_T = 5 - 1e-6;
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
	V = tvV * exp(nV);
	Cl = tvCl * exp(nCl);
	k = 0.1000000000000000056 * exp(b1 + b2);
	ka = 1.0;
	mtt = 2.0;
	ntr = 3.0;
	a = exp(b3 + b4);
	alpha = 0.2000000000000000111;
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
	// foreach element, get nSigDF, precision, and square root of that
	pk_ErrVar1Prec[0] = 1 / pk_ErrVar1[0];
	pk_nErrVarDF1[0] = 2*pk_ErrVar1[0]*pk_ErrVar1[0]/pk_vcv1Error[0]+4;
	pk_ErrVar1Prch[0] = sqrt(pk_ErrVar1Prec[0]);
	// foreach element, get nSigDF, precision, and square root of that
	pk_ErrVar2Prec[0] = 1 / pk_ErrVar2[0];
	pk_nErrVarDF2[0] = 2*pk_ErrVar2[0]*pk_ErrVar2[0]/pk_vcv2Error[0]+4;
	pk_ErrVar2Prch[0] = sqrt(pk_ErrVar2Prec[0]);
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
	// use mvn to draw fixef vector
	double _work[sizeof(_a)]; // random vector
	SampleMVNLTRow(2, pk_vcvFixefHalf, _work, _a, ENBREP);
	_a[0] *= FixefInflationFactor;
	_a[1] *= FixefInflationFactor;
	// set replicate fixed effects from base value and uncertainty
	tvV = (pk_tvV + _a[0]) * SCALEtvV + DELTAtvV;
	_rec_fixef(iScen, iRep, "pk_tvV", tvV, "");
	tvCl = (pk_tvCl + _a[1]) * SCALEtvCl + DELTAtvCl;
	_rec_fixef(iScen, iRep, "pk_tvCl", tvCl, "");
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
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar1, 0, sizeof(ErrVar1));
	memset(pk_ErrVar1Inverse, 0, sizeof(pk_ErrVar1Inverse));
	GenChiSq(pk_nErrVarDF1[0], pk_ErrVar1Prch[0], pk_ErrVar1Inverse[0], 1);
	pk_ErrVar1Inverse[0] /= (pk_nErrVarDF1[0] - 1 - 1);
	ErrVar1[0] = ENBREP ? 1 / pk_ErrVar1Inverse[0] : pk_ErrVar1[0];
	CholeskyLTRow(1, ErrVar1, ErrVarHalf1);
	_rec_sigma(iScen, iRep, "pk_sigma1_1_1", sqrt(ErrVar1[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
	// sample diagonal block Error Variance from ChiSq, invert, normalize by the DF-2 and get cholesky
	memset(ErrVar2, 0, sizeof(ErrVar2));
	memset(pk_ErrVar2Inverse, 0, sizeof(pk_ErrVar2Inverse));
	GenChiSq(pk_nErrVarDF2[0], pk_ErrVar2Prch[0], pk_ErrVar2Inverse[0], 1);
	pk_ErrVar2Inverse[0] /= (pk_nErrVarDF2[0] - 1 - 1);
	ErrVar2[0] = ENBREP ? 1 / pk_ErrVar2Inverse[0] : pk_ErrVar2[0];
	CholeskyLTRow(1, ErrVar2, ErrVarHalf2);
	_rec_sigma(iScen, iRep, "pk_sigma2_1_1", sqrt(ErrVar2[0]), "");	// for LTRow we're storing variance in matrix, but need to record sigma value
}
void pk::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	int _i = 0;
	int _itemp = 0;
	double _temp = 0;
	double _temp2 = 0;
	TCHAR sFileCell[512];
	z = 0;
	ResetIntegrators();
	C = 3.3e-151;
	C2 = 3.3e-151;
	{	// sample eta vector
		double _work[2];
		double _a[2];
		SampleMVNLTRow(2, omegaHalf1, _work, _a, ENBIND);
		nV = _a[0] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nV", nV, "");
		nCl = _a[1] * RanefInflationFactor;
		_rec_ranef(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "nCl", nCl, "");
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
		for (_i = 0; _i < 100; _i++){
			wt = (70.0) + (ENBIND ? norm() : 0.0) * (10.0);
			if (wt < (40.0)) continue;
			if (wt > (120.0)) continue;
			break;
		}
		if (_i >= 100){
			fprintf(stderr, "Subject %d failed limits test, low = 40.0, high = 120.0\n", (int)_pSubj->iSub);
			_bAbortingSubject = 1;
			return;
		}
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
		_var[1] = (0.0);
		_var[2] = (1.0);
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
		p = _mean[0] + _a[0];
		q = _mean[1] + _a[1];
	}
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "p", p, "");
	_rec_covar(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "q", q, "");
	_delayTable_0.init();
}
void pk::InitObservation(){
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
void pk::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	// this must happen after covariates are drawn
	EvalSParms();
	CF2Init(StateMachine::CurrentAbsTime());
	{
		StateMachine* pst = new pk_EventSim_1(this, iScen, iRep, _pSubj);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pk_EventSim_2(this, iScen, iRep, _pSubj);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pk_SeqSim_1(this);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
	{
		StateMachine* pst = new pk_SeqSim_2(this);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
}
void pk::StopSubject(){
}
void pk::Bolus_A1(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	StateMachine* pst = new pk_Bolus_A1_1(this, iScen, iRep, _pSubj, 0.5, _v);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_A1(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	StateMachine* pst = new pk_Infusion_A1_1(this, iScen, iRep, _pSubj, 0.5, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Observe_n(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	double _zprob = 0;
	double _count = 0;
	if ((ENBOBS ? unif() : 0.5) >= _zprob){
		_count = rpoisson(_ht_n, ENBOBS); // sample the count
	}
	// record the value of n
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "n", _count, "");
	_ht_n = 0; // clear the integrator
}
void pk::Observe_C(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf1[0]
	C = (A1 / V + eps1);
	#undef  sigma
	// record the value of C
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "C", C, "");
}
void pk::Observe_C2(int iScen, int iRep, int iArm, int iSub, int iPer){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& Cin = *_pCin;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalSParms();
	InitObservation();
	#define sigma() ErrVarHalf2[0]
	C2 = (A2 / V + eps2);
	#undef  sigma
	// record the value of C2
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _sInstance, "C2", C2, "");
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
void pk_Bolus_A1_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Bolus_A1_2\n", nIndent, "");
}
void pk_Bolus_A1_2::Run(int iState, double tAbsTime, double tAbsEps){
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
void pk_Bolus_A1_2::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_Infusion_A1_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Infusion_A1_2\n", nIndent, "");
}
void pk_Infusion_A1_2::Run(int iState, double tAbsTime, double tAbsEps){
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
void pk_Infusion_A1_2::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_EventSim_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_EventSim_1\n", nIndent, "");
}
void pk_EventSim_1::Run(int iState, double tAbsTime, double tAbsEps){
	double& _ht = _model->_ht_ev;
	double& _dt = _model->_dt_ev;
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
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "ev", 1, ""); // 1 means event happened
		}
		SLEEP(1, _dt, 0);
	}
	Finally();
}
void pk_EventSim_1::Finally(){
	double& _ht = _model->_ht_ev;
	double& _dt = _model->_dt_ev;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_pSubj->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		_model->EvalSParms();
		// issue a right censor at end of subject regardless
		_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "ev", 0, "");
		Destroy();
	}
}
void pk_EventSim_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_EventSim_2\n", nIndent, "");
}
void pk_EventSim_2::Run(int iState, double tAbsTime, double tAbsEps){
	double& _ht = _model->_ht_ev2;
	double& _dt = _model->_dt_ev2;
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
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "ev2", 1, ""); // 1 means event happened
			_dropout = 1; // dropout is requested
			_pSubj->bStop = 1;
			break;
		} else {
			SLEEP(1, _dt, 0);
		}
	}
	Finally();
}
void pk_EventSim_2::Finally(){
	double& _ht = _model->_ht_ev2;
	double& _dt = _model->_dt_ev2;
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	_pSubj->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		_model->EvalSParms();
		// if subject didn't drop out, issue a right censor
		if (_dropout==0){
			_rec_observe(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "ev2", 0, "");
		}
		Destroy();
	}
}
void pk_SeqSim_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_SeqSim_1\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void pk_SeqSim_1::Run(int iState, double tAbsTime, double tAbsEps){
	double& A2 = _model->A2;
	_model->EvalSParms();
	switch(iState){case 1:goto L1;}
	SLEEP(1, 1.0, 0);
	_pSubj->Advance(StateMachine::CurrentAbsTime());
	A2 = 0.0;
	Destroy();
}
void pk_SeqSim_2::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_SeqSim_2\n", nIndent, "");
	if (pCaller) pCaller->Print(f, nIndent + 1);
}
void pk_SeqSim_2::Run(int iState, double tAbsTime, double tAbsEps){
	double& A1 = _model->A1;
	auto& Ac = _model->Ac;
	_model->EvalSParms();
	switch(iState){case 1:goto L1;}
	while((A1 > 1.0))
		{
			SLEEP(1, 2.0, 0);
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			Ac += (1.0);
		}
	Destroy();
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
		Ab.Init(this);
		Ab_rate.Init(this);
		Cb.Init(this);
}
void pd::CF2Advance(double dt){
	_cf_Ab.Advance(dt);
}
void pd::CF2GetState(double* y){
	y[0] = _cf_Ab.GetValA();
	y[1] = _cf_Ab.GetVal1();
	y[2] = _cf_Ab.GetVal2();
	y[3] = _cf_Ab.GetVal3();
	y[4] = _cf_Ab.GetRateA();
	y[5] = _cf_Ab.GetRate1();
}
void pd::CF2SetState(double* y){
	_cf_Ab.SetValA(y[0]);
	_cf_Ab.SetVal1(y[1]);
	_cf_Ab.SetVal2(y[2]);
	_cf_Ab.SetVal3(y[3]);
	_cf_Ab.SetRateA(y[4]);
	_cf_Ab.SetRate1(y[5]);
}
void pd::SetTimeOfStateCF(double _t){
	_cf_Ab.SetTimeOfStateCF(_t);
}
void pd::SetTimeOfGetValCF(double _t){
	_cf_Ab.SetTimeOfGetValCF(_t);
}
void pd::CF2Init(double _t){
	_cf_Ab.InitMacro1New(Cb, Ab, 1.0, ke);
	SetTimeOfStateCF(_t);
	SetTimeOfGetValCF(_t);
}
void pd::CF2ReInit(double _t){
	double _state[6*1];
	_cf_Ab.GetState(_state+6*0);
	CF2Init(_t);
	_cf_Ab.SetState(_state+6*0);
}
void pd::GetInteg(int& zzn, double zzv[]){
	zzv[zzn++] = Ce;
}
void pd::SetInteg(int& zzn, double zzv[]){
	Ce = zzv[zzn++];
}
int pd::GetNInteg(){
	int _n = 0;
	_n++; // Ce
	return _n;
}
void pd::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = Ce;
	_cf_Ab.GetState(zzv+zzn);
	zzn += 6; // Ab
}
void pd::SetStateSS(int& zzn, double zzv[]){
	Ce = zzv[zzn++];
	_cf_Ab.SetState(zzv+zzn);
	zzn += 6; // Ab
}
int pd::GetNStateSS(){
	int _n = 0;
	_n++; // Ce
	_n += 6; // Ab
	return _n;
}
void pd::ResetIntegrators(){
	int _i = 0;
			Ce = 0;
	Ce_rate = 0;
}
void pd::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (ke * (C - Ce) + D);
	zzr[zzn] += Ce_rate;
	zzn++;
}
void pd::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
}
void pd::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
	E = Emax * Ce * exp(nE);
}
void pd::EvalSParms(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	ke = 0.5;
	EvalAssign();
}
void pd::InitGlobal(){
	int bError = 0;
	CholeskyLTRow(1, pd_vcvFixef, pd_vcvFixefHalf);
	// foreach element, get precision, and square root of that
	pd_omega1Prec[0] = 1 / pd_omega1[0];
	pd_omega1Prch[0] = sqrt(pd_omega1Prec[0]);
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
	// use mvn to draw fixef vector
	double _work[sizeof(_a)]; // random vector
	SampleMVNLTRow(1, pd_vcvFixefHalf, _work, _a, ENBREP);
	_a[0] *= FixefInflationFactor;
	// set replicate fixed effects from base value and uncertainty
	Emax = (pd_Emax + _a[0]) * SCALEEmax + DELTAEmax;
	_rec_fixef(iScen, iRep, "pd_Emax", Emax, "");
	memcpy(omega1, pd_omega1, sizeof(omega1));
	CholeskyLTRow(1, omega1, omegaHalf1);
	_rec_omega(iScen, iRep, "pd_omega1_1_1", omega1[0], "");
}
void pd::InitSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
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
	double& C = *_pC;
	double& D = *_pD;
}
void pd::StartSubject(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double& C = *_pC;
	double& D = *_pD;
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
	b.InitSubject();
	e.InitSubject();
}
void subject::StartSubject(){
	EvalSParms();
	a.StartSubject();
	b.StartSubject();
	e.StartSubject();
}
void subject::StopSubject(){
	a.StopSubject();
	b.StopSubject();
	e.StopSubject();
}
void subject::EvalGroup(){
	a.EvalGroup();
	b.EvalGroup();
	e.EvalGroup();
}
void subject::EvalAssign(){
	a.EvalAssign();
	b.EvalAssign();
	e.EvalAssign();
}
void subject::CF2Advance(double dt){
	a.CF2Advance(dt);
	b.CF2Advance(dt);
	e.CF2Advance(dt);
}
void subject::EvalSParms(){
	EvalGroup();
	EvalAssign();
}
int subject::GetNInteg(){
	int n = 0;
	n += a.GetNInteg();
	n += b.GetNInteg();
	n += e.GetNInteg();
	return n;
}
void subject::SetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.SetInteg(zzn, zzv);
	b.SetInteg(zzn, zzv);
	e.SetInteg(zzn, zzv);
}
void subject::GetInteg(int& zzn, double zzv[]){
	zzn = 0;
	a.GetInteg(zzn, zzv);
	b.GetInteg(zzn, zzv);
	e.GetInteg(zzn, zzv);
}
void subject::GetRate(int& zzn, double zzr[]){
	zzn = 0;
	a.GetRate(zzn, zzr);
	b.GetRate(zzn, zzr);
	e.GetRate(zzn, zzr);
}
void subject::SetTimeOfStateCF(double _t){
	a.SetTimeOfStateCF(_t);
	b.SetTimeOfStateCF(_t);
	e.SetTimeOfStateCF(_t);
}
void subject::SetTimeOfGetValCF(double _t){
	a.SetTimeOfGetValCF(_t);
	b.SetTimeOfGetValCF(_t);
	e.SetTimeOfGetValCF(_t);
}
int subject::GetNStateSS(){
	int n = 0;
	n += a.GetNStateSS();
	n += b.GetNStateSS();
	n += e.GetNStateSS();
	return n;
}
void subject::GetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.GetStateSS(zzn, zzv);
	b.GetStateSS(zzn, zzv);
	e.GetStateSS(zzn, zzv);
}
void subject::SetStateSS(int& zzn, double zzv[]){
	zzn = 0;
	a.SetStateSS(zzn, zzv);
	b.SetStateSS(zzn, zzv);
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
	sa.push_back("pk_tvV");
	sa.push_back("pk::SCALEtvV");
	sa.push_back("pk::DELTAtvV");
	sa.push_back("pk_tvCl");
	sa.push_back("pk::SCALEtvCl");
	sa.push_back("pk::DELTAtvCl");
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
	else if (strcmp("pk_tvV", sVar)==0) pk_tvV = dVal;
	else if (strcmp("pk::SCALEtvV", sVar)==0) pk::SCALEtvV = dVal;
	else if (strcmp("pk::DELTAtvV", sVar)==0) pk::DELTAtvV = dVal;
	else if (strcmp("pk_tvCl", sVar)==0) pk_tvCl = dVal;
	else if (strcmp("pk::SCALEtvCl", sVar)==0) pk::SCALEtvCl = dVal;
	else if (strcmp("pk::DELTAtvCl", sVar)==0) pk::DELTAtvCl = dVal;
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
