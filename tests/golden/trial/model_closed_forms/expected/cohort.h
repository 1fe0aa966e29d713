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
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	double V;	// structural
	double a;	// structural
	double alpha;	// structural
	double ka;	// structural
	double Dose;	// structural
	double b;	// structural
	double beta;	// structural
	double k10;	// structural
	double k12;	// structural
	double k21;	// structural
	double k13;	// structural
	double k31;	// structural
	Ccf2machine _cf_A;
	double _Get_A(){return _cf_A.GetVal1();}
	void   _Set_A(const double& _v){_cf_A.SetVal1(_v);}
	void   _Add_A(const double& _v){_cf_A.AddVal1(_v);}
	Property<pk, double, &pk::_Get_A, &pk::_Set_A, &pk::_Add_A> A;
	double _GetRate_A(){return _cf_A.GetRate1();}
	void   _SetRate_A(const double& _v){_cf_A.SetRate1(_v);}
	void   _AddRate_A(const double& _v){_cf_A.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_A, &pk::_SetRate_A, &pk::_AddRate_A> A_rate;
	double _Get_C(){return _cf_A.GetVal1() / ((A / V));}
	void   _Set_C(const double& _v){_cf_A.SetVal1(_v);}
	void   _Add_C(const double& _v){_cf_A.AddVal1(_v);}
	Property<pk, double, &pk::_Get_C, &pk::_Set_C, &pk::_Add_C> C;
	Ccf2machine _cf_B;
	double _Get_B(){return _cf_B.GetVal1();}
	void   _Set_B(const double& _v){_cf_B.SetVal1(_v);}
	void   _Add_B(const double& _v){_cf_B.AddVal1(_v);}
	Property<pk, double, &pk::_Get_B, &pk::_Set_B, &pk::_Add_B> B;
	double _GetRate_B(){return _cf_B.GetRate1();}
	void   _SetRate_B(const double& _v){_cf_B.SetRate1(_v);}
	void   _AddRate_B(const double& _v){_cf_B.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_B, &pk::_SetRate_B, &pk::_AddRate_B> B_rate;
	double _Get_Cb(){return _cf_B.GetVal1() / (Dose);}
	void   _Set_Cb(const double& _v){_cf_B.SetVal1(_v);}
	void   _Add_Cb(const double& _v){_cf_B.AddVal1(_v);}
	Property<pk, double, &pk::_Get_Cb, &pk::_Set_Cb, &pk::_Add_Cb> Cb;
	Ccf2machine _cf_M;
	double _Get_M(){return _cf_M.GetVal1();}
	void   _Set_M(const double& _v){_cf_M.SetVal1(_v);}
	void   _Add_M(const double& _v){_cf_M.AddVal1(_v);}
	Property<pk, double, &pk::_Get_M, &pk::_Set_M, &pk::_Add_M> M;
	double _GetRate_M(){return _cf_M.GetRate1();}
	void   _SetRate_M(const double& _v){_cf_M.SetRate1(_v);}
	void   _AddRate_M(const double& _v){_cf_M.AddRate1(_v);}
	Property<pk, double, &pk::_GetRate_M, &pk::_SetRate_M, &pk::_AddRate_M> M_rate;
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
	virtual int GetType(){return 1;}
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
	virtual int GetType(){return 2;}
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
