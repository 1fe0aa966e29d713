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
