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
DECLARE_GLOBAL_SCALAR(double,pk_tvCl,2);
DECLARE_GLOBAL_SCALAR(double,pk_tvK,0);
#ifndef IN_COHORT
	double pk_vcvFixef[3] = {
1, 0.5, 2, 
	};
#else
	extern double pk_vcvFixef[3];
#endif
DECLARE_GLOBAL_VECTOR(double,pk_vcvFixefHalf,3);
	double pk_ErrVar1[1] = {0.25};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pk_nErrVarDF1,1);
	double pk_vcv1Error[1] = {0.25};
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Prec,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Prch,1);
DECLARE_GLOBAL_VECTOR(double,pk_ErrVar1Inverse,1);
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
	static double tvCl;	// fixed effect
	static double SCALEtvCl;	// fixed effect
	static double DELTAtvCl;	// fixed effect
	static double tvK;	// fixed effect
	static double SCALEtvK;	// fixed effect
	static double DELTAtvK;	// fixed effect
	static double ErrVar1[1];	// replicate ErrVar matrix
	static double ErrVarHalf1[1];
	double eps1;	// epsilon variable
	double Cl;	// structural
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double C;	// assigned
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
	void Observe_C(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_E(int iScen, int iRep, int iArm, int iSub, int iPer);
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
	double pd_ErrVar1[1] = {9};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pd_nErrVarDF1,1);
	double pd_vcv1Error[1] = {0};
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Prec,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Prch,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Inverse,1);
class pd : public PKPDModel {public:;
	virtual int GetType(){return 1;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd() : _sInstance(0L), _pSubj(0L) {Init();}
	pd(LPCTSTR _s, subject* __psub) : _sInstance(_s), _pSubj(__psub){Init();}
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	static double Emax;	// fixed effect
	static double SCALEEmax;	// fixed effect
	static double DELTAEmax;	// fixed effect
	static double ErrVar1[1];	// replicate ErrVar matrix
	static double ErrVarHalf1[1];
	double eps2;	// epsilon variable
	double R;	// assigned
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
	void Observe_R(int iScen, int iRep, int iArm, int iSub, int iPer);
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
		e._sInstance = strdup("e");
		e._pSubj = this;
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
