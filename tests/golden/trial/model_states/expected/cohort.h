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
class pk : public PKPDModel {public:;
	virtual int GetType(){return 0;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk() : _sInstance(0L), _pSubj(0L) {Init();}
	pk(LPCTSTR _s, subject* __psub) : _sInstance(_s), _pSubj(__psub){Init();}
	DelayTable _delayTable_0;
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	double k;	// structural
	double k2;	// structural
	double ka;	// structural
	double mtt;	// structural
	double ntr;	// structural
	double kt;	// structural
	double mdel;	// structural
	double sdel;	// structural
	double h1;	// structural
	double h2;	// structural
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double U;	// urine integrator
	double U_rate;	// infusion rate
	double _ht_ev;	// event/count integrator
	double _ht_n;	// event/count integrator
	double _dt_ev;	// event repeat time
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
	double zzY_T[3];	// compartments 0-2 ahead of X
	void SetTransit_T(double _v){T = zzX_T = _v; for (int _i = 0; _i < 3; _i++) zzY_T[_i] = _v;}
	Ccf2machine _cf_A2;
	double _Get_A2(){return _cf_A2.GetVal1();}
	void   _Set_A2(const double& _v){_cf_A2.SetVal1(_v);}
	void   _Add_A2(const double& _v){_cf_A2.AddVal1(_v);}
	Property<pk, double, &pk::_Get_A2, &pk::_Set_A2, &pk::_Add_A2> A2;
	double _GetRate_A2(){return _cf_A2.GetRate1();}
	void   _SetRate_A2(const double& _v){_cf_A2.SetRate1(_v);}
	void   _AddRate_A2(const double& _v){_cf_A2.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_A2, &pk::_SetRate_A2, &pk::_AddRate_A2> A2_rate;
	double _Get_Aa(){return _cf_A2.GetValA();}
	void   _Set_Aa(const double& _v){_cf_A2.SetValA(_v);}
	void   _Add_Aa(const double& _v){_cf_A2.AddValA(_v);}
	Property<pk, double, &pk::_Get_Aa, &pk::_Set_Aa, &pk::_Add_Aa> Aa;
	double _GetRate_Aa(){return _cf_A2.GetRateA();}
	void   _SetRate_Aa(const double& _v){_cf_A2.SetRateA(_v);}
	void   _AddRate_Aa(const double& _v){_cf_A2.AddRateA(_v);}
	Property<pk, double, &pk::_GetRate_Aa, &pk::_SetRate_Aa, &pk::_AddRate_Aa> Aa_rate;
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
	void Observe_n(int iScen, int iRep, int iArm, int iSub, int iPer);
};
class pk_EventSim_1 : public StateMachine {public:;
	virtual int GetType(){return 1;}
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
class main : public StateMachine {public:;
	virtual int GetType(){return 2;}
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
	virtual int GetType(){return 3;}
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
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
