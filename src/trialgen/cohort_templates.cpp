// The fixed texts of the trial program: the state of a steady-state search, the integrator of
// a subject over all its models with its solver binding, and the steady-state search itself,
// a coroutine that asks its caller for one dosing cycle at each suspension.
#include "trialgen/cohort_templates.h"

// In cohort.h, behind "#define MAXSSVEC 1000".
char const* const ssStateClass = R"(class ssState {
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
)";

// Ahead of subject::Advance: the derivative callback of the solver and the solver's binding.
char const* const integratorText = R"(static subject* pSubjTemp = NULL;
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
)";

// A steady-state run keeps a clock of its own. A failed integration is not handled: the test
// of 'ind' only offers a place to stop in a debugger.
char const* const advanceText = R"(void subject::Advance(double tEnd){
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
)";

char const* const startSSText = R"(void subject::StartSS(){
	SetInSteadyState(true);
	dCurrentSSTime = 0;
	ss.iState = 0;
	ss.bTrySimpleWay = false;
}
)";

// The Euclidean distance of two vectors of n values.
char const* const vdisText = R"(static double vdis(int n, double* a, double* b){
	double sum = 0;
	for (int i = 0; i < n; i++){
		double d = a[i] - b[i];
		sum += d * d;
	}
	return sqrt(sum);
}
)";

// Each "return true" asks for one more dosing cycle; ss.iState says where to go on. Up to 20
// extrapolations, then, if those went wrong, up to 1000 plain cycles. Every local stands
// before the switch, so that no jump crosses an initialisation.
char const* const getSSText = R"(bool subject::GetSS(){
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
)";
