// The engine's ODE levels and the bookkeeping around one integration step.
#pragma once

enum {
    ODELEVEL_CMATEXP = 1,
    ODELEVEL_CDVERK,
    ODELEVEL_CSODE,
    ODELEVEL_CSODEJAC,
    ODELEVEL_CSODA,
    ODELEVEL_CSODAJAC,
    ODELEVEL_CDOPRI
};

enum { ODESTATE_START = 1, ODESTATE_UNDERWAY = 2, ODESTATE_CHANGE = 3 };

extern int odeState;
int ODESolve(int iODELevel, double* ptOuter, double dt, double zzY[]);
template <int N, typename NUM> int is_zzy_finite(const NUM zzY[]);
void handle_ode_return(int iODELevel, int res, double t, double tout);
void handle_matexp_return(char const* name, int res, int ns, double t, double tout);
void computation_stopped(int level, int res, char const* message, double t, double tout);
