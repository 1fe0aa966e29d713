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

// The correction of the flow out of a transit chain of a non-integer number of stages.
double _TransitCorrectionFactor(double n);
