// Run-time library of the trial program: the switches of the draws, the recording calls and
// the integrator's settings.
#pragma once

#include "StdAfx.h"

// Whether individual, replicate and observation draws are drawn or take their central value.
extern BOOL ENBIND;
extern BOOL ENBREP;
extern BOOL ENBOBS;

// The largest step of the solver, and whether the state is on its trajectory.
extern double _lmaxstep;
void _setOnTrajectory(int bOn);
// Set while a subject's parameters fail their limits.
extern int _bAbortingSubject;

double unif();
double norm();

void _rec_observe(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance,
                  LPCTSTR sName, double value, LPCTSTR sUnits);
void _rec_bolus(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double amount, LPCTSTR sUnits, double value);
void _rec_infuse(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance,
                 LPCTSTR sName, double amount, LPCTSTR sUnits, double value, double rate);
void _rec_covar(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double value, LPCTSTR sUnits);
void _rec_ranef(int iScen, int iRep, int iArm, int iSub, int iPer, LPCTSTR sInstance, LPCTSTR sName,
                double value, LPCTSTR sUnits);
void _rec_fixef(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits);
void _rec_sigma(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits);
void _rec_omega(int iScen, int iRep, LPCTSTR sName, double value, LPCTSTR sUnits);

// Random numbers: 'bDraw' off gives the central value.
double rbeta(double a, double b);
double rbeta_mean(double mean, double n);
double rbinomial(double n, double p);
double rgamma(double shape, double scale);
double rinvgamma(double shape, double scale);
double rnegbin_rp(double r, double p, BOOL bDraw);
double rnegbin(double mean, double beta, double power, BOOL bDraw);
double rpoisson(double mean, BOOL bDraw);
double rpoisson(double mean);
double studentt(int df);
double lognormalMedianSD(double median, double sd, BOOL bDraw);
double lognormalMedianVar(double median, double var, BOOL bDraw);
double lognormalMedianSigma(double median, double sigma, BOOL bDraw);
double lognormalMeanSD(double mean, double sd, BOOL bDraw);
double lognormalMeanVar(double mean, double var, BOOL bDraw);
double lognormalMeanSigma(double mean, double sigma, BOOL bDraw);

// Draws and factors of matrices stored as lower triangles by rows.
void SampleMVNLTRow(int n, double const* half, double* work, double* out, BOOL bDraw);
void SampleMVTLTRow(int df, int n, double const* half, double* work, double* out, BOOL bDraw);
BOOL CholeskyLTRow(int n, double const* a, double* half);
void GenWish(int n, double df, double const* precHalf, double* work, double* worksq, double* out,
             int nSamples);
void GenChiSq(double df, double precHalf, double& out, int nSamples);
void Scale(int n, double factor, double* a);

// Inverse link functions of categorical observations.
double ilogit(double x);
double iprobit(double x);
double iloglog(double x);
double icloglog(double x);

// The correction of the flow out of a transit chain of a non-integer number of stages.
double _TransitCorrectionFactor(double n);

// The solver of a subject's integrators: y' = f(t, y) from *x to *xend, leaving *x = *xend and
// *ind = 3 on success. 'c' and 'w' are the caller's settings and work space.
extern "C" void dverk_(int* n, void (*f)(int*, double*, double*, double*), double* x, double* y,
                       double* xend, double* tol, int* ind, double* c, int* nw, double* w);

// The allocation statement of a main procedure, as the call
// _allocation(_strata(...), _arms(...), _block(...)): lists of numbers, at most 8 each.
struct AllocationList {
    int n;
    double v[8];
};

template <class... T> AllocationList _strata(T... v) {
    return AllocationList{int(sizeof...(v)), {double(v)...}};
}

template <class... T> AllocationList _arms(T... v) {
    return AllocationList{int(sizeof...(v)), {double(v)...}};
}

template <class... T> AllocationList _block(T... v) {
    return AllocationList{int(sizeof...(v)), {double(v)...}};
}

void _allocation(AllocationList const& strata, AllocationList const& arms,
                 AllocationList const& block);
