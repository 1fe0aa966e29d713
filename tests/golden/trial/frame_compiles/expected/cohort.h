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

#include "extra.h"
#define DISP0 ;
#define DISP1 if (iState==1) goto L1; else DISP0
#define DISP2 if (iState==2) goto L2; else DISP1
DECLARE_GLOBAL_SCALAR(int,iScen,0);
DECLARE_GLOBAL_SCALAR(int,iRep,0);
static int nSubj;
static double dose;
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
#endif // COHORT_H_INCLUDED
