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
static int nPerArm;
static double dailyDose;
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
DECLARE_GLOBAL_SCALAR(double,pk_tvV,20);
DECLARE_GLOBAL_SCALAR(double,pk_tvCl,2);
DECLARE_GLOBAL_SCALAR(double,pk_tvKa,1.5);
#ifndef IN_COHORT
	double pk_omega1[3]={0.1, 0, 0.1, };	// diagonal base omega matrix
#else
	extern double pk_omega1[3];
#endif
DECLARE_GLOBAL_VECTOR(double,pk_omega1Prec,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega1Prch,3);
DECLARE_GLOBAL_VECTOR(double,pk_work1Vec,3);
DECLARE_GLOBAL_VECTOR(double,pk_work1Vecsq,3);
DECLARE_GLOBAL_VECTOR(double,pk_omega1Inverse,3);
DECLARE_GLOBAL_SCALAR(int,pk_nDFOmega,0);
	double pk_ErrVar1[1] = {0.01};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pk_nErrVarDF1,1);
	double pk_vcv1Error[1] = {0};
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
	static double tvV;	// fixed effect
	static double SCALEtvV;	// fixed effect
	static double DELTAtvV;	// fixed effect
	static double tvCl;	// fixed effect
	static double SCALEtvCl;	// fixed effect
	static double DELTAtvCl;	// fixed effect
	static double tvKa;	// fixed effect
	static double SCALEtvKa;	// fixed effect
	static double DELTAtvKa;	// fixed effect
	static double omega1[3];	// replicate omega matrix
	static double omegaHalf1[3];
	double nV;	// random effect variable
	double nCl;	// random effect variable
	static double ErrVar1[1];	// replicate ErrVar matrix
	static double ErrVarHalf1[1];
	double CEps;	// epsilon variable
	double V;	// structural
	double Cl;	// structural
	double Ka;	// structural
	double Aa;	// integrator
	double Aa_rate;	// infusion rate
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double C;	// assigned
	double CObs;	// assigned
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
	void Bolus_Aa(int iScen, int iRep, double _v);
	void Infuse_Aa(int iScen, int iRep, double _v, double _r);
	void Observe_CObs(int iScen, int iRep, int iArm, int iSub, int iPer);
};
class pk_Bolus_Aa_1 : public StateMachine {public:;
	virtual int GetType(){return 1;}
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
	virtual int GetType(){return 2;}
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
class dosing : public StateMachine {public:;
	virtual int GetType(){return 3;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	dosing() : pCaller(0L), iStateCaller(-1) {}
	double amt;
	double nDays;
	int day;
	StateMachine* pCaller;
	int _nSubordinate[5];
	int iStateCaller;
	dosing(StateMachine* _pc, int _istc, subject* _psub, double _amt, double _nDays) : pCaller(_pc), iStateCaller(_istc), _pSubj(_psub), amt(_amt), nDays(_nDays), tMachineStartTime(StateMachine::CurrentAbsTime()), StateMachine(){
	}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class subject : public StateMachine {public:;
	virtual int GetType(){return 4;}
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
	pk p;
	virtual void Print(FILE* f, int nIndent);
	subject() : pCaller(0L), iStateCaller(-1) {}
	double iArm;
	int k;
	StateMachine* pCaller;
	int _nSubordinate[5];
	int iStateCaller;
	int bStop;
	subject(StateMachine* _pc, int _istc, double _iArm) : pCaller(_pc), iStateCaller(_istc), _pSubj(this), iArm(_iArm), tSubjectStartTime(StateMachine::CurrentAbsTime()), tLastAbsTime(StateMachine::CurrentAbsTime()), tLastSSTime(0), tMachineStartTime(StateMachine::CurrentAbsTime()), StateMachine(){
		bStop = 0;
		iPer = -1;
		p._sInstance = strdup("p");
		p._pSubj = this;
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class main : public StateMachine {public:;
	virtual int GetType(){return 5;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	main() : pCaller(0L), iStateCaller(-1) {}
	int arm;
	int n;
	StateMachine* pCaller;
	int _nSubordinate[5];
	int iStateCaller;
	main(StateMachine* _pc, int _istc) : pCaller(_pc), iStateCaller(_istc), _pSubj(NULL), tMachineStartTime(StateMachine::CurrentAbsTime()), StateMachine(){
	}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
