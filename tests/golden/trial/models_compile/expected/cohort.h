// cohort.h
#ifndef COHORT_H_INCLUDED
#define COHORT_H_INCLUDED
#ifdef IN_COHORT
	#define DECLARE_GLOBAL_SCALAR(typ,nm,val) typ nm = val
	#define DECLARE_GLOBAL_VECTOR(typ,nm,siz) typ nm[siz]
	int _i;
#else
	#define DECLARE_GLOBAL_SCALAR(typ,nm,val) extern typ nm
	#define DECLARE_GLOBAL_VECTOR(typ,nm,siz) extern typ nm[siz]
	extern int _i;
#endif
#include "math.h"
#include "StateMachine.h"
#include "DataReader.h"

#define DISP0 ;
#define DISP1 if (iState==1) goto L1; else DISP0
#define DISP2 if (iState==2) goto L2; else DISP1
DECLARE_GLOBAL_SCALAR(int,iScen,0);
DECLARE_GLOBAL_SCALAR(int,iRep,0);
#define MAXSSVEC 1000
class ssState {
public:
	int iState;
	int j, n;
	bool bTrySimpleWay;
	double dy01, dy1z, dy02;
	double zvec[MAXSSVEC];
	double y0[MAXSSVEC];
	double y1[MAXSSVEC];
	double y2[MAXSSVEC];
	double y3[MAXSSVEC];
};
class subject;
DECLARE_GLOBAL_SCALAR(double,pk_tvV,10);
DECLARE_GLOBAL_SCALAR(double,pk_tvCl,1);
#ifndef IN_COHORT
	double pk_vcvFixef[3] = {
1, 0.1, 2, 
	};
#else
	extern double pk_vcvFixef[3];
#endif
DECLARE_GLOBAL_VECTOR(double,pk_vcvFixefHalf,3);
#ifndef IN_COHORT
	double pk_omega1[3]={0.1, 0, 0.2, };	// diagonal base omega matrix
#else
	extern double pk_omega1[3];
#endif
DECLARE_GLOBAL_VECTOR(double,pk_omega1Prec,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega1Prch,3);
DECLARE_GLOBAL_VECTOR(double,pk_work1Vec,3);
DECLARE_GLOBAL_VECTOR(double,pk_work1Vecsq,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega1Inverse,3);
#ifndef IN_COHORT
	double pk_omega2[3] = {	// base omega matrix
0.1, 0.01, 0.2, 
	};
#else
	extern double pk_omega2[3];
#endif
DECLARE_GLOBAL_VECTOR(double,pk_omega2Prec,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega2Prch,3);
DECLARE_GLOBAL_VECTOR(double,pk_work2Vec,3);
DECLARE_GLOBAL_VECTOR(double,pk_work2Vecsq,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega2Inverse,3);
DECLARE_GLOBAL_SCALAR(int,pk_nDFOmega,5);
	double pk_ErrVar1[1] = {0.25};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pk_nErrVarDF1,1);
	double pk_vcv1Error[1] = {0.5};
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Prec,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Prch,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Inverse,1);
	double pk_ErrVar2[1] = {4};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pk_nErrVarDF2,1);
	double pk_vcv2Error[1] = {0.25};
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar2Prec,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar2Prch,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar2Inverse,1);
class pk : public PKPDModel {public:;
	virtual int GetType(){return 0;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk() : _sInstance(0L), _pSubj(0L) {Init();}
	pk(LPCTSTR _s, subject* __psub, double *__pCin) : _sInstance(_s), _pSubj(__psub), _pCin(__pCin){Init();}
	double *_pCin;
	DelayTable _delayTable_0;
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	static double tvV;	// fixed effect
	static double SCALEtvV;	// fixed effect
	static double DELTAtvV;	// fixed effect
	static double tvCl;	// fixed effect
	static double SCALEtvCl;	// fixed effect
	static double DELTAtvCl;	// fixed effect
	static double omega1[3];	// replicate omega matrix
	static double omegaHalf1[3];
	double nV;	// random effect variable
	double nCl;	// random effect variable
	static double omega2[3];	// replicate omega matrix
	static double omegaHalf2[3];
	double b1;	// random effect variable
	double b2;	// random effect variable
	static double omega3[3];	// replicate omega matrix
	static double omegaHalf3[3];
	double b3;	// random effect variable
	double b4;	// random effect variable
	double wt;
	double h;
	double g;
	double p;
	double q;
	double z;
	static double ErrVar1[1];	// replicate ErrVar matrix
	static double ErrVarHalf1[1];
	double eps1;	// epsilon variable
	static double ErrVar2[1];	// replicate ErrVar matrix
	static double ErrVarHalf2[1];
	double eps2;	// epsilon variable
	double V;	// structural
	double Cl;	// structural
	double k;	// structural
	double ka;	// structural
	double mtt;	// structural
	double ntr;	// structural
	double a;	// structural
	double alpha;	// structural
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double A2;	// integrator
	double A2_rate;	// infusion rate
	double U;	// urine integrator
	double U_rate;	// infusion rate
	double _ht_ev;	// event/count integrator
	double _ht_ev2;	// event/count integrator
	double _ht_n;	// event/count integrator
	double _dt_ev;	// event repeat time
	double _dt_ev2;	// event repeat time
	double D;	// integrator
	double D_rate;	// transit2 infusion rate
	double T_rate;	// infusion rate into dosing compartment
	double zzK_T;	// rate between compartments
	double zzN_T;	// current number of compartments
	double zzMTT_T;	// current mean transit time
	double zzI_T;	// current compartment to receive dose
	double zzF_T;	// fractional part of N
	// compartments in transit chain
	double T;	// last compartment in chain
	double zzX_T;	// second to last compartment in chain
	double zzY_T[5];	// compartments 0-4 ahead of X
	void SetTransit_T(double _v){T = zzX_T = _v; for (int _i = 0; _i < 5; _i++) zzY_T[_i] = _v;}
	Ccf2machine _cf_Ac;
	double _Get_Ac(){return _cf_Ac.GetVal1();}
	void   _Set_Ac(const double& _v){_cf_Ac.SetVal1(_v);}
	void   _Add_Ac(const double& _v){_cf_Ac.AddVal1(_v);}
	Property<pk, double, &pk::_Get_Ac, &pk::_Set_Ac, &pk::_Add_Ac> Ac;
	double _GetRate_Ac(){return _cf_Ac.GetRate1();}
	void   _SetRate_Ac(const double& _v){_cf_Ac.SetRate1(_v);}
	void   _AddRate_Ac(const double& _v){_cf_Ac.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_Ac, &pk::_SetRate_Ac, &pk::_AddRate_Ac> Ac_rate;
	double _Get_Aa(){return _cf_Ac.GetValA();}
	void   _Set_Aa(const double& _v){_cf_Ac.SetValA(_v);}
	void   _Add_Aa(const double& _v){_cf_Ac.AddValA(_v);}
	Property<pk, double, &pk::_Get_Aa, &pk::_Set_Aa, &pk::_Add_Aa> Aa;
	double _GetRate_Aa(){return _cf_Ac.GetRateA();}
	void   _SetRate_Aa(const double& _v){_cf_Ac.SetRateA(_v);}
	void   _AddRate_Aa(const double& _v){_cf_Ac.AddRateA(_v);}
	Property<pk, double, &pk::_GetRate_Aa, &pk::_SetRate_Aa, &pk::_AddRate_Aa> Aa_rate;
	Ccf2machine _cf_Am;
	double _Get_Am(){return _cf_Am.GetVal1();}
	void   _Set_Am(const double& _v){_cf_Am.SetVal1(_v);}
	void   _Add_Am(const double& _v){_cf_Am.AddVal1(_v);}
	Property<pk, double, &pk::_Get_Am, &pk::_Set_Am, &pk::_Add_Am> Am;
	double _GetRate_Am(){return _cf_Am.GetRate1();}
	void   _SetRate_Am(const double& _v){_cf_Am.SetRate1(_v);}
	void   _AddRate_Am(const double& _v){_cf_Am.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_Am, &pk::_SetRate_Am, &pk::_AddRate_Am> Am_rate;
	double _Get_Cm(){return _cf_Am.GetVal1() / ((Am / V));}
	void   _Set_Cm(const double& _v){_cf_Am.SetVal1(_v);}
	void   _Add_Cm(const double& _v){_cf_Am.AddVal1(_v);}
	Property<pk, double, &pk::_Get_Cm, &pk::_Set_Cm, &pk::_Add_Cm> Cm;
	double C;	// assigned
	double C2;	// assigned
	double E;	// assigned
	void Init();
	virtual void CF2Advance(double dt);
	virtual void CF2GetState(double* y);
	virtual void CF2SetState(double* y);
	virtual void SetTimeOfStateCF(double _t);
	virtual void SetTimeOfGetValCF(double _t);
	void CF2Init(double _t);
	void CF2ReInit(double _t);
	int GetNInteg();
	void GetInteg(int& zzn, double zzv[]);
	void SetInteg(int& zzn, double zzv[]);
	int GetNStateSS();
	void GetStateSS(int& zzn, double zzv[]);
	void SetStateSS(int& zzn, double zzv[]);
	void ResetIntegrators();
	virtual void GetRate(int& zzn, double zzr[]);
	virtual void EvalGroup();
	virtual void EvalAssign();
	virtual void EvalSParms();
	static void InitGlobal();
	static void InitScenario();
	static void InitReplicate();
	virtual void InitSubject();
	void InitObservation();
	virtual void StartSubject();
	virtual void StopSubject();
	void Bolus_A1(int iScen, int iRep, double _v);
	void Infuse_A1(int iScen, int iRep, double _v, double _r);
	void Observe_n(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_C(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_C2(int iScen, int iRep, int iArm, int iSub, int iPer);
};
class pk_Bolus_A1_1 : public StateMachine {public:;
	virtual int GetType(){return 1;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Bolus_A1_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep;
	double _tlag, _amt;
	pk_Bolus_A1_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Infusion_A1_1 : public StateMachine {public:;
	virtual int GetType(){return 2;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Infusion_A1_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep, iArm, iSub, iPer;
	double _tlag, _amt, _rate;
	pk_Infusion_A1_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt, double __rate) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), _rate(__rate), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Bolus_A1_2 : public StateMachine {public:;
	virtual int GetType(){return 3;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Bolus_A1_2() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep;
	double _tlag, _amt;
	pk_Bolus_A1_2(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Infusion_A1_2 : public StateMachine {public:;
	virtual int GetType(){return 4;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Infusion_A1_2() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep, iArm, iSub, iPer;
	double _tlag, _amt, _rate;
	pk_Infusion_A1_2(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt, double __rate) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), _rate(__rate), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_EventSim_1 : public StateMachine {public:;
	virtual int GetType(){return 5;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_EventSim_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	LPCTSTR _sInstance;
	int iScen, iRep;
	int _dropout;	// set non-zero if dropping out due to event
	pk_EventSim_1(pk* __model, int _iScen, int _iRep, subject* _psub) : _pSubj(_psub), _model(__model), _sInstance(__model->_sInstance), iScen(_iScen), iRep(_iRep), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_EventSim_2 : public StateMachine {public:;
	virtual int GetType(){return 6;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_EventSim_2() : _pSubj(0L), _model(0L) {}
	pk * _model;
	LPCTSTR _sInstance;
	int iScen, iRep;
	int _dropout;	// set non-zero if dropping out due to event
	pk_EventSim_2(pk* __model, int _iScen, int _iRep, subject* _psub) : _pSubj(_psub), _model(__model), _sInstance(__model->_sInstance), iScen(_iScen), iRep(_iRep), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_SeqSim_1 : public StateMachine {public:;
	virtual int GetType(){return 7;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_SeqSim_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	StateMachine* pCaller;
	int iStateCaller;
	int _nSubordinate[5];
	int _dropout;	// set non-zero if dropping out due to event
	pk_SeqSim_1(pk* __model) : _pSubj(__model->_pSubj), _model(__model), pCaller(0L), iStateCaller(-1), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
};
class pk_SeqSim_2 : public StateMachine {public:;
	virtual int GetType(){return 8;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_SeqSim_2() : _pSubj(0L), _model(0L) {}
	pk * _model;
	StateMachine* pCaller;
	int iStateCaller;
	int _nSubordinate[5];
	int _dropout;	// set non-zero if dropping out due to event
	pk_SeqSim_2(pk* __model) : _pSubj(__model->_pSubj), _model(__model), pCaller(0L), iStateCaller(-1), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
};
DECLARE_GLOBAL_SCALAR(double,pd_Emax,100);
#ifndef IN_COHORT
	double pd_vcvFixef[1] = {
4, 
	};
#else
	extern double pd_vcvFixef[1];
#endif
DECLARE_GLOBAL_VECTOR(double,pd_vcvFixefHalf,1);
#ifndef IN_COHORT
	double pd_omega1[1]={1, };	// diagonal base omega matrix
#else
	extern double pd_omega1[1];
#endif
DECLARE_GLOBAL_VECTOR(double,pd_omega1Prec,1);
DECLARE_GLOBAL_VECTOR(double,pd_omega1Prch,1);
DECLARE_GLOBAL_VECTOR(double,pd_work1Vec,1);
DECLARE_GLOBAL_VECTOR(double,pd_work1Vecsq,1);
DECLARE_GLOBAL_VECTOR(double,pd_omega1Inverse,1);
DECLARE_GLOBAL_SCALAR(int,pd_nDFOmega,0);
class pd : public PKPDModel {public:;
	virtual int GetType(){return 9;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd() : _sInstance(0L), _pSubj(0L) {Init();}
	pd(LPCTSTR _s, subject* __psub, double *__pC, double *__pD) : _sInstance(_s), _pSubj(__psub), _pC(__pC), _pD(__pD){Init();}
	double *_pC;
	double *_pD;
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	static double Emax;	// fixed effect
	static double SCALEEmax;	// fixed effect
	static double DELTAEmax;	// fixed effect
	static double omega1[1];	// replicate omega matrix
	static double omegaHalf1[1];
	double nE;	// random effect variable
	double ke;	// structural
	double Ce;	// integrator
	double Ce_rate;	// infusion rate
	Ccf2machine _cf_Ab;
	double _Get_Ab(){return _cf_Ab.GetVal1();}
	void   _Set_Ab(const double& _v){_cf_Ab.SetVal1(_v);}
	void   _Add_Ab(const double& _v){_cf_Ab.AddVal1(_v);}
	Property<pd, double, &pd::_Get_Ab, &pd::_Set_Ab, &pd::_Add_Ab> Ab;
	double _GetRate_Ab(){return _cf_Ab.GetRate1();}
	void   _SetRate_Ab(const double& _v){_cf_Ab.SetRate1(_v);}
	void   _AddRate_Ab(const double& _v){_cf_Ab.AddRate1(_v);}
	Property<pd, double, &pd::_GetRate_Ab, &pd::_SetRate_Ab, &pd::_AddRate_Ab> Ab_rate;
	double _Get_Cb(){return _cf_Ab.GetVal1() / (Ab);}
	void   _Set_Cb(const double& _v){_cf_Ab.SetVal1(_v);}
	void   _Add_Cb(const double& _v){_cf_Ab.AddVal1(_v);}
	Property<pd, double, &pd::_Get_Cb, &pd::_Set_Cb, &pd::_Add_Cb> Cb;
	double E;	// assigned
	void Init();
	virtual void CF2Advance(double dt);
	virtual void CF2GetState(double* y);
	virtual void CF2SetState(double* y);
	virtual void SetTimeOfStateCF(double _t);
	virtual void SetTimeOfGetValCF(double _t);
	void CF2Init(double _t);
	void CF2ReInit(double _t);
	int GetNInteg();
	void GetInteg(int& zzn, double zzv[]);
	void SetInteg(int& zzn, double zzv[]);
	int GetNStateSS();
	void GetStateSS(int& zzn, double zzv[]);
	void SetStateSS(int& zzn, double zzv[]);
	void ResetIntegrators();
	virtual void GetRate(int& zzn, double zzr[]);
	virtual void EvalGroup();
	virtual void EvalAssign();
	virtual void EvalSParms();
	static void InitGlobal();
	static void InitScenario();
	static void InitReplicate();
	virtual void InitSubject();
	void InitObservation();
	virtual void StartSubject();
	virtual void StopSubject();
};
class main : public StateMachine {public:;
	virtual int GetType(){return 10;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	main() : pCaller(0L), iStateCaller(-1) {}
	StateMachine* pCaller;
	int _nSubordinate[5];
	int iStateCaller;
	main(StateMachine* _pc, int _istc) : pCaller(_pc), iStateCaller(_istc), _pSubj(NULL), tMachineStartTime(StateMachine::CurrentAbsTime()), StateMachine(){
	}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class subject : public StateMachine {public:;
	virtual int GetType(){return 11;}
	subject* _pSubj;
	double tLastAbsTime;
	double tLastSSTime;
	static void InitReplicate();
	static void InitScenario();
	static void InitGlobal();
	void InitSubject();
	void StartSubject();
	void StopSubject();
	void EvalGroup();
	void EvalAssign();
	void CF2Advance(double dt);
	void EvalSParms();
	int GetNInteg();
	void SetInteg(int& zzn, double zzv[]);
	void GetInteg(int& zzn, double zzv[]);
	void GetRate(int& zzn, double zzr[]);
	void SetTimeOfStateCF(double _t);
	void SetTimeOfGetValCF(double _t);
	int GetNStateSS();
	void GetStateSS(int& zzn, double zzv[]);
	void SetStateSS(int& zzn, double zzv[]);
	void Deriv(double zzv[], double zzr[]);
	void Advance(double tEnd);
	ssState ss;
	void StartSS();
	bool GetSS();
	pk a;
	pk b;
	pd e;
	virtual void Print(FILE* f, int nIndent);
	subject() : pCaller(0L), iStateCaller(-1) {}
	StateMachine* pCaller;
	int _nSubordinate[5];
	int iStateCaller;
	int bStop;
	subject(StateMachine* _pc, int _istc) : pCaller(_pc), iStateCaller(_istc), _pSubj(this), tSubjectStartTime(StateMachine::CurrentAbsTime()), tLastAbsTime(StateMachine::CurrentAbsTime()), tLastSSTime(0), tMachineStartTime(StateMachine::CurrentAbsTime()), StateMachine(){
		bStop = 0;
		iArm = -1;
		iPer = -1;
		a._sInstance = strdup("a");
		a._pSubj = this;
		b._sInstance = strdup("b");
		b._pSubj = this;
		e._sInstance = strdup("e");
		e._pSubj = this;
		e._pC = &a.A1;
		e._pD = &b.E;
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
