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
	double ka;	// structural
	double mtt;	// structural
	double ntr;	// structural
	double tlag;	// structural
	double dur;	// structural
	double r;	// structural
	double B;	// integrator
	double B_rate;	// infusion rate
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double A2;	// integrator
	double A2_rate;	// infusion rate
	double U;	// urine integrator
	double U_rate;	// infusion rate
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
	double zzY_T[4];	// compartments 0-3 ahead of X
	void SetTransit_T(double _v){T = zzX_T = _v; for (int _i = 0; _i < 4; _i++) zzY_T[_i] = _v;}
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
	void Bolus_A2(int iScen, int iRep, double _v);
	void Infuse_A2(int iScen, int iRep, double _v, double _r);
	void Bolus_Aa(int iScen, int iRep, double _v);
	void Infuse_Aa(int iScen, int iRep, double _v, double _r);
	void Bolus_B(int iScen, int iRep, double _v);
	void Infuse_B(int iScen, int iRep, double _v, double _r);
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
class pk_Bolus_A2_1 : public StateMachine {public:;
	virtual int GetType(){return 5;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Bolus_A2_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep;
	double _tlag, _amt;
	pk_Bolus_A2_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Infusion_A2_1 : public StateMachine {public:;
	virtual int GetType(){return 6;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Infusion_A2_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep, iArm, iSub, iPer;
	double _tlag, _amt, _rate;
	pk_Infusion_A2_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt, double __rate) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), _rate(__rate), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Bolus_Aa_1 : public StateMachine {public:;
	virtual int GetType(){return 7;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Bolus_Aa_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep;
	double _tlag, _amt;
	pk_Bolus_Aa_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Infusion_Aa_1 : public StateMachine {public:;
	virtual int GetType(){return 8;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Infusion_Aa_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep, iArm, iSub, iPer;
	double _tlag, _amt, _rate;
	pk_Infusion_Aa_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt, double __rate) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), _rate(__rate), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Bolus_B_1 : public StateMachine {public:;
	virtual int GetType(){return 9;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Bolus_B_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep;
	double _tlag, _amt;
	pk_Bolus_B_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pk_Infusion_B_1 : public StateMachine {public:;
	virtual int GetType(){return 10;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk_Infusion_B_1() : _pSubj(0L), _model(0L) {}
	pk * _model;
	int iScen, iRep, iArm, iSub, iPer;
	double _tlag, _amt, _rate;
	pk_Infusion_B_1(pk* __model, int _iScen, int _iRep, subject* _psub, double __tlag, double __amt, double __rate) : _pSubj(_psub), _model(__model), iScen(_iScen), iRep(_iRep), _tlag(__tlag), _amt(__amt), _rate(__rate), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class main : public StateMachine {public:;
	virtual int GetType(){return 11;}
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
	virtual int GetType(){return 12;}
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
