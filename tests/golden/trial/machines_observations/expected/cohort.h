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
	double pd_ErrVar1[1] = {1};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pd_nErrVarDF1,1);
	double pd_vcv1Error[1] = {0};
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Prec,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Prch,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar1Inverse,1);
	double pd_ErrVar2[1] = {0.01};	// diagonal base ErrVar matrix, note that we're writing variance, not SD
DECLARE_GLOBAL_VECTOR(int,pd_nErrVarDF2,1);
	double pd_vcv2Error[1] = {0};
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar2Prec,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar2Prch,1);
DECLARE_GLOBAL_VECTOR(double,pd_ErrVar2Inverse,1);
class pd : public PKPDModel {public:;
	virtual int GetType(){return 0;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd() : _sInstance(0L), _pSubj(0L) {Init();}
	pd(LPCTSTR _s, subject* __psub, double *__pCin) : _sInstance(_s), _pSubj(__psub), _pCin(__pCin){Init();}
	double *_pCin;
	PeakTable _peakTable_0;
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	static double ErrVar1[1];	// replicate ErrVar matrix
	static double ErrVarHalf1[1];
	double eps1;	// epsilon variable
	static double ErrVar2[1];	// replicate ErrVar matrix
	static double ErrVarHalf2[1];
	double eps2;	// epsilon variable
	double k;	// structural
	double mtt;	// structural
	double ntr;	// structural
	double h;	// structural
	double lam;	// structural
	double b;	// structural
	double lp;	// structural
	double a1;	// structural
	double a2;	// structural
	double s;	// structural
	double x;	// structural
	double c1;	// structural
	double c2;	// structural
	double A;	// integrator
	double A_rate;	// infusion rate
	double _ht_death;	// event/count integrator
	double _ht_visit;	// event/count integrator
	double _ht_nv;	// event/count integrator
	double _ht_ns;	// event/count integrator
	double _dt_death;	// event repeat time
	double _dt_visit;	// event repeat time
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
	double score;	// assigned
	double grade;	// assigned
	double E;	// assigned
	double Emax;	// assigned
	double Tpk;	// assigned
	double Y;	// assigned
	double Z;	// assigned
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
	void Observe_nv(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_ns(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_score(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_grade(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_A(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_Y(int iScen, int iRep, int iArm, int iSub, int iPer);
	void Observe_Z(int iScen, int iRep, int iArm, int iSub, int iPer);
};
class pd_EventSim_1 : public StateMachine {public:;
	virtual int GetType(){return 1;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd_EventSim_1() : _pSubj(0L), _model(0L) {}
	pd * _model;
	LPCTSTR _sInstance;
	int iScen, iRep;
	int _dropout;	// set non-zero if dropping out due to event
	pd_EventSim_1(pd* __model, int _iScen, int _iRep, subject* _psub) : _pSubj(_psub), _model(__model), _sInstance(__model->_sInstance), iScen(_iScen), iRep(_iRep), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pd_EventSim_2 : public StateMachine {public:;
	virtual int GetType(){return 2;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd_EventSim_2() : _pSubj(0L), _model(0L) {}
	pd * _model;
	LPCTSTR _sInstance;
	int iScen, iRep;
	int _dropout;	// set non-zero if dropping out due to event
	pd_EventSim_2(pd* __model, int _iScen, int _iRep, subject* _psub) : _pSubj(_psub), _model(__model), _sInstance(__model->_sInstance), iScen(_iScen), iRep(_iRep), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
class pd_SeqSim_1 : public StateMachine {public:;
	virtual int GetType(){return 3;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd_SeqSim_1() : _pSubj(0L), _model(0L) {}
	pd * _model;
	StateMachine* pCaller;
	int iStateCaller;
	int _nSubordinate[5];
	int _dropout;	// set non-zero if dropping out due to event
	pd_SeqSim_1(pd* __model) : _pSubj(__model->_pSubj), _model(__model), pCaller(0L), iStateCaller(-1), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
};
class pd_SeqSim_2 : public StateMachine {public:;
	virtual int GetType(){return 4;}
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pd_SeqSim_2() : _pSubj(0L), _model(0L) {}
	pd * _model;
	StateMachine* pCaller;
	int iStateCaller;
	int _nSubordinate[5];
	int _dropout;	// set non-zero if dropping out due to event
	pd_SeqSim_2(pd* __model) : _pSubj(__model->_pSubj), _model(__model), pCaller(0L), iStateCaller(-1), _dropout(0), tMachineStartTime(StateMachine::CurrentAbsTime()) {}
	double tMachineStartTime;
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
};
class pk : public PKPDModel {public:;
	virtual int GetType(){return 5;}
	LPCTSTR _sInstance;
	subject* _pSubj;
	virtual void Print(FILE* f, int nIndent);
	pk() : _sInstance(0L), _pSubj(0L) {Init();}
	pk(LPCTSTR _s, subject* __psub) : _sInstance(_s), _pSubj(__psub){Init();}
	static double FixefInflationFactor;
	static double ErrorInflationFactor;
	static double RanefInflationFactor;
	double A1;	// integrator
	double A1_rate;	// infusion rate
	double C;	// assigned
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
};
class pk_Bolus_A1_1 : public StateMachine {public:;
	virtual int GetType(){return 6;}
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
	virtual int GetType(){return 7;}
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
class main : public StateMachine {public:;
	virtual int GetType(){return 8;}
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
	virtual int GetType(){return 9;}
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
	pd p;
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
		p._sInstance = strdup("p");
		p._pSubj = this;
		p._pCin = &a.C;
	}
	double tMachineStartTime;
	double tSubjectStartTime;
	virtual int IsSubject(){return 1;}
	virtual void Run(int iState, double tAbsTime, double tAbsEps);
	void Finally();
};
#endif // COHORT_H_INCLUDED
