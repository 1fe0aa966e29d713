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
#ifdef IN_COHORT
FileSampler _sampler0;
FileSampler _sampler1;
#else
extern FileSampler _sampler0;
extern FileSampler _sampler1;
#endif
DECLARE_GLOBAL_SCALAR(double,m1_tvV,1);
#ifndef IN_COHORT
	double m1_omega1[1]={0.1, };	// diagonal base omega matrix
#else
	extern double m1_omega1[1];
#endif
DECLARE_GLOBAL_VECTOR(double,m1_omega1Prec,1);
DECLARE_GLOBAL_VECTOR(double,m1_omega1Prch,1);
DECLARE_GLOBAL_VECTOR(double,m1_work1Vec,1);
DECLARE_GLOBAL_VECTOR(double,m1_work1Vecsq,1);
DECLARE_GLOBAL_VECTOR(double,m1_omega1Inverse,1);
DECLARE_GLOBAL_SCALAR(int,m1_nDFOmega,0);
class m1 : public PKPDModel {public:;
	virtual int GetType(){return 0;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	m1() : _sInstance(0L), _pSubj(0L) {Init();}
	m1(LPCTSTR _s, subject* __psub) : _sInstance(_s), _pSubj(__psub){Init();}
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	static double tvV;	// fixed effect
	static double SCALEtvV;	// fixed effect
	static double DELTAtvV;	// fixed effect
	static double omega1[1];	// replicate omega matrix
	static double omegaHalf1[1];
	double nV;	// random effect variable
	double V;	// assigned
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
class m2 : public PKPDModel {public:;
	virtual int GetType(){return 1;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	m2() : _sInstance(0L), _pSubj(0L) {Init();}
	m2(LPCTSTR _s, subject* __psub) : _sInstance(_s), _pSubj(__psub){Init();}
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	double wt;
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
	m1 x;
	m2 y;
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
		x._sInstance = strdup("x");
		x._pSubj = this;
		y._sInstance = strdup("y");
		y._pSubj = this;
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
