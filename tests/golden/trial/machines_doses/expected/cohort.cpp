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
	_delayTable_0.init();
	PKPDModel::Init();
		Ac.Init(this);
		Ac_rate.Init(this);
		Aa.Init(this);
		Aa_rate.Init(this);
}
void pk::CF2Advance(double dt){
	_cf_Ac.Advance(dt);
}
void pk::CF2GetState(double* y){
	y[0] = _cf_Ac.GetValA();
	y[1] = _cf_Ac.GetVal1();
	y[2] = _cf_Ac.GetVal2();
	y[3] = _cf_Ac.GetVal3();
	y[4] = _cf_Ac.GetRateA();
	y[5] = _cf_Ac.GetRate1();
}
void pk::CF2SetState(double* y){
	_cf_Ac.SetValA(y[0]);
	_cf_Ac.SetVal1(y[1]);
	_cf_Ac.SetVal2(y[2]);
	_cf_Ac.SetVal3(y[3]);
	_cf_Ac.SetRateA(y[4]);
	_cf_Ac.SetRate1(y[5]);
}
void pk::SetTimeOfStateCF(double _t){
	_cf_Ac.SetTimeOfStateCF(_t);
}
void pk::SetTimeOfGetValCF(double _t){
	_cf_Ac.SetTimeOfGetValCF(_t);
}
void pk::CF2Init(double _t){
	_cf_Ac.InitMicro1(k);
	_cf_Ac.Add1stOrd(1, ka);
	SetTimeOfStateCF(_t);
	SetTimeOfGetValCF(_t);
}
void pk::CF2ReInit(double _t){
	double _state[6*1];
	_cf_Ac.GetState(_state+6*0);
	CF2Init(_t);
	_cf_Ac.SetState(_state+6*0);
}
void pk::GetInteg(int& zzn, double zzv[]){
	zzv[zzn++] = B;
	zzv[zzn++] = A1;
	zzv[zzn++] = A2;
	zzv[zzn++] = U;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 4; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
	zzv[zzn++] = D;
}
void pk::SetInteg(int& zzn, double zzv[]){
	B = zzv[zzn++];
	A1 = zzv[zzn++];
	A2 = zzv[zzn++];
	U = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
	D = zzv[zzn++];
}
int pk::GetNInteg(){
	int _n = 0;
	_n++; // B
	_n++; // A1
	_n++; // A2
	_n++; // U
	_n++; // T
	_n++; // zzX_T
	_n += 4; // zzY_T
	_n++; // D
	return _n;
}
void pk::GetStateSS(int& zzn, double zzv[]){
	zzv[zzn++] = B;
	zzv[zzn++] = A1;
	zzv[zzn++] = A2;
	zzv[zzn++] = U;
	zzv[zzn++] = T;
	zzv[zzn++] = zzX_T;
	for (_i = 0; _i < 4; _i++){
		zzv[zzn++] = zzY_T[_i];
	}
	zzv[zzn++] = D;
	_cf_Ac.GetState(zzv+zzn);
	zzn += 6; // Ac
}
void pk::SetStateSS(int& zzn, double zzv[]){
	B = zzv[zzn++];
	A1 = zzv[zzn++];
	A2 = zzv[zzn++];
	U = zzv[zzn++];
	T = zzv[zzn++];
	zzX_T = zzv[zzn++];
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = zzv[zzn++];
	}
	D = zzv[zzn++];
	_cf_Ac.SetState(zzv+zzn);
	zzn += 6; // Ac
}
int pk::GetNStateSS(){
	int _n = 0;
	_n++; // B
	_n++; // A1
	_n++; // A2
	_n++; // U
	_n++; // T
	_n++; // zzX_T
	_n += 4; // zzY_T
	_n++; // D
	_n += 6; // Ac
	return _n;
}
void pk::ResetIntegrators(){
	int _i = 0;
			B = 0;
	B_rate = 0;
			A1 = 0;
	A1_rate = 0;
			A2 = 0;
	A2_rate = 0;
			U = 0;
	U_rate = 0;
			T = 0;
	T_rate = 0;
	zzX_T = 0;
	for (_i = 0; _i < 4; _i++){
		zzY_T[_i] = 0;
	}
			D = 0;
	D_rate = 0;
}
void pk::GetRate(int& zzn, double zzr[]){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	int _i = 0;
	zzr[zzn] = (-k * B);
	zzr[zzn] += B_rate;
	zzn++;
	zzr[zzn] = (-k * A1);
	zzr[zzn] += A1_rate;
	zzn++;
	zzr[zzn] = (k * A1 - k * A2);
	zzr[zzn] += A2_rate;
	zzn++;
	zzr[zzn] = (k * A2);
	zzr[zzn] += U_rate;
	zzn++;
	// get the base flow rates for the 4 T transit compartments, from right to left
	for (_i = 0; _i < 3; _i++){
		zzr[zzn + _i + 2] = zzK_T * (zzY_T[_i + 1] - zzY_T[_i]);
	}
	zzr[zzn + _i + 2] = zzK_T * - zzY_T[3];
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
	zzn += 6;
	//       end of transit(T) code
	zzr[zzn++] = D_rate;
}
void pk::EvalGroup(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
}
void pk::EvalAssign(){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
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
	SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
	EvalGroup();
	k = 0.1000000000000000056;
	ka = 1.0;
	mtt = 2.0;
	ntr = 3.0;
	tlag = 0.5;
	dur = 2.0;
	r = 4.0;
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
	_delayTable_0.init();
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
	StateMachine* pst = new pk_Bolus_A1_1(this, iScen, iRep, _pSubj, tlag, _v);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_A1(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Infusion_A1_1(this, iScen, iRep, _pSubj, tlag, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Bolus_A2(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	double _dt = dur;
	if (_dt != 0){
		StateMachine* pst = new pk_Infusion_A2_1(this, iScen, iRep, _pSubj, 0, _v, _v/_dt);
		EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
	}
}
void pk::Infuse_A2(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Infusion_A2_1(this, iScen, iRep, _pSubj, 0, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
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
void pk::Bolus_B(int iScen, int iRep, double _v){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
double _r = r;
	StateMachine* pst = new pk_Infusion_B_1(this, iScen, iRep, _pSubj, tlag, _v, _r);
	EnQueue(pst, 0, StateMachine::CurrentAbsTime(),  StateMachine::CurrentAbsEps());
}
void pk::Infuse_B(int iScen, int iRep, double _v, double _r){
	const double t = StateMachine::CurrentAbsTime() - _pSubj->tSubjectStartTime;
	StateMachine* pst = new pk_Infusion_B_1(this, iScen, iRep, _pSubj, tlag, _v, _r);
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
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "mg", _model->A1);
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
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "mg", _model->A1, _rate);
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
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "mg", _model->A1);
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
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A1", _amt, "mg", _model->A1, _rate);
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
void pk_Bolus_A2_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Bolus_A2_1\n", nIndent, "");
}
void pk_Bolus_A2_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP1;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A2", _amt, "", _model->A2);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->A2 += _amt;
		}
	}
	Finally();
}
void pk_Bolus_A2_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_Infusion_A2_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Infusion_A2_1\n", nIndent, "");
}
void pk_Infusion_A2_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP2;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "A2", _amt, "", _model->A2, _rate);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->A2_rate += _rate;
			SLEEP(2, _amt / _rate, 0);
			if (!_pSubj->bStop){
				_pSubj->Advance(StateMachine::CurrentAbsTime());
				_model->A2_rate -= _rate;
			}
		}
	}
	Finally();
}
void pk_Infusion_A2_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
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
void pk_Bolus_B_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Bolus_B_1\n", nIndent, "");
}
void pk_Bolus_B_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP1;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_bolus(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "B", _amt, "", _model->B);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->B += _amt;
		}
	}
	Finally();
}
void pk_Bolus_B_1::Finally(){
	if (!_bFinallyDone){
		_bFinallyDone = 1;
		Destroy();
	}
}
void pk_Infusion_B_1::Print(FILE* f, int nIndent){
	fprintf(f, "%*spk_Infusion_B_1\n", nIndent, "");
}
void pk_Infusion_B_1::Run(int iState, double tAbsTime, double tAbsEps){
	_model->EvalSParms();
	DISP2;
	if (!_pSubj->bStop){
		_pSubj->Advance(StateMachine::CurrentAbsTime());
		_rec_infuse(iScen, iRep, _pSubj->iArm, _pSubj->iSub, _pSubj->iPer, _model->_sInstance, "B", _amt, "", _model->B, _rate);
		SLEEP(1, _tlag, 0);
		if (!_pSubj->bStop){
			_pSubj->Advance(StateMachine::CurrentAbsTime());
			_model->SetTimeOfGetValCF(StateMachine::CurrentAbsTime());
			_model->B_rate += _rate;
			SLEEP(2, _amt / _rate, 0);
			if (!_pSubj->bStop){
				_pSubj->Advance(StateMachine::CurrentAbsTime());
				_model->B_rate -= _rate;
			}
		}
	}
	Finally();
}
void pk_Infusion_B_1::Finally(){
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
		_pSubj->a.Bolus_A1(iScen, iRep, 100.0);
		_pSubj->a.Infuse_A1(iScen, iRep, 100.0, 10.0);
		_pSubj->a.Bolus_A2(iScen, iRep, 50.0);
		_pSubj->a.Bolus_Aa(iScen, iRep, 20.0);
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
