// Model.cpp
// Generated with VARO5 26.3.2.2
#include <stdio.h> // for sprintf and possibly fprintf
static char _msgbuf[1024];
static char err_buf[256];
#include <algorithm>
#include <numeric>
// following line stops math.h from defining old bessel functions like y1, etc.
#define _NO_OLDNAMES
#define  NO_OLDNAMES
#undef _GLIBCXX_USE_STD_SPEC_FUNCS
#include <cmath>
#include <float.h>
#include <string.h>
#include <memory.h>
#include "MUtil.h"
#include "ModelAPI.h"
#include "Model.h"
#include "mutil/AD_Modes.h"
#undef _NO_OLDNAMES
#undef  NO_OLDNAMES
// this allows sigma of current epsilon to be referred to in the model
#define sigma() _std
const char * ZERO_TO_MINUS_ONE = "Error 0^-1: time (or its product) = 0 while raised to a negative power.\n";
bool need_check_pow = true;
bool pow_hit = false;
static const double S_NA = 3.3e-151;
using std::min;
using std::max;
using std::isfinite;

#include "mutil/umath.h"
#include "mutil/simmath.h"
#include "mutil/closed_form.h"
#include "mutil/action.h"
#include "mutil/action_data.h"

static const int N_ODE = NINTEG_ALL + 1 + 0;

ModelCallbackTable * _pcb = 0;
#define TOTAL_FIXEF NFIXEF + NERROR
#if TOTAL_FIXEF > 0
static double _fixef[TOTAL_FIXEF] = {0};
#else
static double * _fixef = 0;
#endif
const double * GetConstFixef() { return _fixef; }
double * GetFixef() { return _fixef; }

static bool _pbOK = true;
bool IsOK() { return _pbOK; }
void NotOK() { _pbOK = false; }

void reset_pow_check() { need_check_pow = true; pow_hit = false; }
void set_pow_checked() { need_check_pow = false; pow_hit = true; }
bool pow_minus_one_hit() { return pow_hit; }

template <typename T1, typename T2>
inline auto pow_check(const T1 & arg1, const T2 & arg2) -> decltype(pow(arg1, arg2))
{
    if (need_check_pow && arg1 == 0.0 && arg2 < 0.0)
    {
        printf("%s", ZERO_TO_MINUS_ONE);
        fflush(stdout);
        set_pow_checked();
    }
    return pow(arg1, arg2);
}

void SetCallbacks(ModelCallbackTable * _p)
{
    _pcb = _p;
    _can_uniform = _p ? _p->CantUniform() : false;
}

int GetNFixef() { return NFIXEF; }
int GetNSecondary() { return NSECONDARY; }
int GetNError() { return NERROR; }
int GetNRanef1() { return NRANEF1; }
int GetNRanef2() { return NRANEF2; }
int GetNRanef3() { return NRANEF3; }
int GetNRanef4() { return NRANEF4; }
int GetNRanef5() { return NRANEF5; }
int MultiLevelRanef() { return MULTI_LEVEL_RANEF; }
int AllowGaussianFit() { return ALLOWGAUSSIANFIT; }
int AllowLogTransform() { return ALLOWLOGTRANSFORM; }
int TrulyTimeBased() { return TRULYTIMEBASED; }
const char * ModelUniqueId() { return MODELUNIQUEID; }
const char * ModelRunId() { return MODELRUNID; }
int GetNurine() { return NURINE; }
int GetNtransit2() { return NTRANSIT2; }
int GetNtransit() { return NTRANSIT; }
int GetNevent() { return NEVENT; }
int GetNintegAll() { return NINTEG_ALL; }
int GetNcfmacro() { return NCFMACRO; }
int dual_ranef_num() { return NDUALRANEF5; }
int dual_fixef_num() { return NDUALFIXEFS; }

const char * get_varo_version() { return "26.3.2.2"; }
const char * get_qmix7_build_time() { return __DATE__ ", " __TIME__; }

constexpr bool can_dual() { return false; }
using temp_arg = double;
inline void reset_temp(temp_arg & _v) { _v = -999999999.0; }

template <bool CHECK>
inline double _pow_cached(double _x, double _y, double & _tempArg1, double & _tempArg2, double & _tempResult)
{
    if (CHECK && need_check_pow && _x == 0.0 && _y < 0.0)
    {
        printf("%s", ZERO_TO_MINUS_ONE);
        fflush(stdout);
        set_pow_checked();
    }
    if (_x == _tempArg1 && _y == _tempArg2)
        return _tempResult;
    _tempArg1 = _x;
    _tempArg2 = _y;
    _tempResult = pow(_x, _y);
    return _tempResult;
}

static temp_arg * _tempResult;
static temp_arg * _tempArg;

struct cf_machines
{
#ifdef DUAL_THETA
    cf_m<DualTheta> cfm_dt;
#endif
#ifdef DUAL_ETA
    cf_m<DualEta> cfm_de;
#endif
    cf_m<double> cfm_do;
#ifdef DUAL_THETA
    operator cf_m<DualTheta> * () { return &cfm_dt; }
#endif
#ifdef DUAL_ETA
    operator cf_m<DualEta> * () { return &cfm_de; }
#endif
    operator cf_m<double> * () { return &cfm_do; }
    void reset() { memset(this, 0, sizeof(*this)); }
};

static double t;

static bool reset_thetas_to_init = true;

constexpr bool HasDelay()
{
    return false;
}

// compartment integrators
#define     A1       zzY[0]
#define zzR_A1       zzR[0]
#define    _A1_irate globalIRate[0]

#define     A2       zzY[1]
#define zzR_A2       zzR[1]
#define    _A2_irate globalIRate[1]

// urine accumulators
#define     U       zzY[2]
#define zzR_U       zzR[2]
#define    _U_irate globalIRate[2]


// zzY[3] is extra integrator for infusions

#if NFIXEF > 0
static int _enabled_fixefs[NFIXEF] = {0};
#else
static int * _enabled_fixefs = 0;
#endif

inline bool _is_fixef_enabled(int i)
{
    return i < NFIXEF ? _enabled_fixefs[i] : false;
}

void init_enabled_fixefs(const int * ii, bool ext /*= false*/, int size /*= -1*/)
{
    static bool ext_used = false;
    if (ext_used) return;
    ext_used = ext;
    if (!ext) {
        std::copy_n(ii, NFIXEF, _enabled_fixefs);
        return;
    }
    std::fill_n(_enabled_fixefs, NFIXEF, 0);
    for (const int * i = ii; i < ii + size; i++) {
    }
}

#if TOTAL_FIXEF > 0
template <typename ThetaType>
ThetaType & theta_store(int index);

template <>
double & theta_store<double>(int index)
{
    return _fixef[index];
}

#ifdef DUAL_THETA
template <>
DualTheta & theta_store<DualTheta>(int index)
{
    static DualTheta store[TOTAL_FIXEF];
    static bool filled = false;
    if (!filled) {
        std::fill_n(store, TOTAL_FIXEF, DualTheta(0.0));
        filled = true;
    }
    return store[index];
}
#endif

template <typename ThetaType>
ThetaType & disabled_theta(int index);

template <>
double & disabled_theta<double>(int index)
{
    static double disabled_fixef[TOTAL_FIXEF] = {0};
    return disabled_fixef[index];
}

#ifdef DUAL_THETA
template <>
DualTheta & disabled_theta<DualTheta>(int index)
{
    static DualTheta disabled_fixef[TOTAL_FIXEF];
    static bool filled = false;
    if (!filled) {
        std::fill_n(disabled_fixef, TOTAL_FIXEF, DualTheta(0.0));
        filled = true;
    }
    return disabled_fixef[index];
}
#endif

template <typename ThetaType>
ThetaType & enabled_theta(int index)
{
    return _is_fixef_enabled(index) ? theta_store<ThetaType>(index) : disabled_theta<ThetaType>(index);
}
#endif

#ifdef CAN_DUAL
#define OVERRIDE override
#define MODEL_TEMPLATE_PARAMETER_LIST template <typename ThetaType, typename EtaType>
#define MODEL_CLASS_DECL model_data<ThetaType, EtaType>
#else
#define OVERRIDE
#define MODEL_TEMPLATE_PARAMETER_LIST
#define MODEL_CLASS_DECL model_data
#endif

#ifdef CAN_DUAL
template <typename ThetaType, typename EtaType>
struct model_data : public base_data
#else
struct model_data
#endif
{
    static const AD_Mode ad_mode;
#ifdef CAN_DUAL
    using DualType = typename type_caster_up<ThetaType, EtaType>::type;
#else
    using ThetaType = double;
    using EtaType = double;
    using DualType = double;
#endif
    DualType globalY[N_ODE];
    DualType globalR[N_ODE];
    DualType globalIRate[N_ODE];

    double & tvV;
    double & tvV2;
    double & tvCl;
    double & Q;


    double V;
    double _initial_V;
    double V2;
    double _initial_V2;
    double Cl;
    double _initial_Cl;

    model_data() :
        tvV(theta_store<double>(0)),
        tvV2(theta_store<double>(1)),
        tvCl(theta_store<double>(2)),
        Q(theta_store<double>(3))
    {
    }

public:
    void get_y(DualType * _y)
    {
        std::copy_n(globalY, NINTEG_ALL, _y);
    }

    void set_y(const DualType * _y)
    {
        std::copy_n(_y, NINTEG_ALL, globalY);
    }

private:
    void reset_integ()
    {
        std::fill_n(globalY, N_ODE, DualType(0.0));
        std::fill_n(globalIRate, N_ODE, DualType(0.0));
        globalY[GetNintegAll()] = DualType(1.0); // init dummy integrator for infusions
    }

    void reset_urine()
    {
        for (int i = NINTEG_ALL - NURINE - NEVENT; i < NINTEG_ALL - NEVENT; i++)
            globalY[i] = DualType(0.0);
    }

    void reset_event()
    {
        for (int i = NINTEG_ALL - NURINE; i < NINTEG_ALL; i++)
            globalY[i] = DualType(0.0);
    }

    void eval_assign(DualType * zzY);
    void eval_sparams(DualType * zzY);
    void eval_group(DualType * zzY);
    void _set_var_value(const char * _nm, double * _pv);
    void calc_secondary();

public:
    void deriv(double _pt, DualType zzY[], DualType zzR[]);
    void jacobian(const DualType zzY[], DualType _jacobian[]);

    void jacobian_iface(const double zzY[], double _jacobian[]) OVERRIDE
    {
        jacobian(reinterpret_cast<const DualType *>(zzY), reinterpret_cast<DualType *>(_jacobian));
    }

    void init_fixef(const double * _ran) OVERRIDE;
    void init_ranef(const double * _ran) OVERRIDE;
    void init_subject() OVERRIDE;
    void reset_subject() OVERRIDE;
    void end_subject(int bSimulating) OVERRIDE;
    void advance(int iODELevel, double *pTimeOuter, double _dt) OVERRIDE;
    void sequence_action(int _seq, double _t) OVERRIDE;
    void event_action(int _seq, double _t) OVERRIDE;
    void init_delays(double _t) OVERRIDE;
    void init_cf(double _t) OVERRIDE;
    void reinit_cf(double _t) OVERRIDE;
    void eval_sparams() OVERRIDE { eval_sparams(globalY); }
    void get_secondary(int* _pn, double* _sec) OVERRIDE;
    int get_var_value(const char * _nm, double * _pv) OVERRIDE;
    void set_var_value(const char * _nm, double * _pv) OVERRIDE;
    void schedule_bolus1(int _mark, double _tRel, int _iCpt, double _amt, int _addl) OVERRIDE;
    void perform_bolus1(double _dt, const ActionTicket & action) OVERRIDE;
    void schedule_iv1(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) OVERRIDE;
    void perform_inf_start1(double _dt, const ActionTicket & action) OVERRIDE;
    void perform_inf_end1(double _dt, const ActionTicket & action) OVERRIDE;
    void schedule_bolus2(int _mark, double _tRel, int _iCpt, double _amt, int _addl) OVERRIDE;
    void schedule_iv2(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) OVERRIDE;
    void perform_bolus2(double _dt, const ActionTicket & action) OVERRIDE;
    void perform_inf_start2(double _dt, const ActionTicket & action) OVERRIDE;
    void perform_inf_end2(double _dt, const ActionTicket & action) OVERRIDE;
    void add_to_cpt(int _iCpt, double _dv) OVERRIDE;
    void get_saem_matrix(double * daCMat, int * theta2eta) OVERRIDE;
    void get_ll(double _dLL[], double _dGrad[], int * pnObs, double _t, const char * _nm, double _v1, int iql) OVERRIDE;
    void new_get_pred(int * pnObs, double _t, const char * _nm, double _v1, bool doActions) OVERRIDE;
    void get_obs_vf(int* _iWhichObs, double* _vf) OVERRIDE;
    void end_obs_actions() OVERRIDE;
    void simulate(double _t, const char* _nm, double _v1, int iql, int bSampleEpsilon, int bForVPC) OVERRIDE;
    void simulate_for_tables(double _t, const char* _nm, double* _pObs, double* _pPred) OVERRIDE;
    void restart_subject_sequences() OVERRIDE;
    void restart_subject_events() OVERRIDE;
    void set_time_of_state(double _t) OVERRIDE;
    void set_time_of_getval(double _t) OVERRIDE;
    void get_ss(const unsigned char * pc, int * pbOK) OVERRIDE;
    void init_tables() OVERRIDE;
    AD_Mode get_mode() OVERRIDE { return ad_mode; }

    void get_all_cf_state(DualType * _y);
    void set_all_cf_state(DualType * _y);
    void clear_ss_irrelevant_state(DualType * _y);
};

#ifdef CAN_DUAL
template<>
const AD_Mode model_data<double, double>::ad_mode = AD_Mode::REAL;
#else
const AD_Mode model_data::ad_mode = AD_Mode::REAL;
#endif

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_fixef(const double * fxf)
{
    tvV = fxf[0];
    tvV2 = fxf[1];
    tvCl = fxf[2];
    Q = fxf[3];
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_ranef(const double * ran)
{
}


inline void copy_grad(double ll, double grad[])
{
}

template <typename NUM>
inline void capture_pred(int obsIndex, const NUM & _ypred, const NUM & _sqrtvf)
{
}

void GetFixefName(int *_pi, char* _nm)
{
    _nm[0] = 0;

    const int fixefCount = 4;
    if (*_pi < 0 || *_pi >= fixefCount) return;

    static const char * names[fixefCount] = {
        "tvV",
        "tvV2",
        "tvCl",
        "Q"
    };

	strcpy(_nm, names[*_pi]);
}

void GetFixefUnits(int *_pi, char* _nm)
{
    _nm[0] = 0;

    const int fixefCount = 4;
    if (*_pi < 0 || *_pi >= fixefCount) return;

    static const char * names[fixefCount] = {
        "",
        "",
        "",
        ""
    };

	strcpy(_nm, names[*_pi]);
}

void GetSecondaryName(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0){
	}
}

// if gaussian alg is allowed, but not being used, set this to 0
// so that the main standard deviation is treated as a theta
int _bUsingGaussianAlgorithm = 0;
void SetUsingGaussianAlgorithm(int* _pBool)
{
	_bUsingGaussianAlgorithm = *_pBool;
}

// get number of theta minus possibly 1 sigma to estimate
int GetNThetaOld()
{
	int _n = 4 + 0; // number of fixefs + number of epsilons
	// don't count any frozen or disabled thetas
	return _n;
}

// get number of theta to estimate
int GetNTheta()
{
	int _n = 4 + 0; // number of fixefs + number of epsilons
	// don't count any frozen or disabled fixefs
	// don't count any frozen errors
	return _n;
}

// get number of sigma to estimate, 0 or 1
int GetNSigma()
{
	int _n = 0; // number of free epsilons
	return (_n > 0 ? 1 : 0);
}

void GetThetaDualMask(int * mask)
{
	int _n = 0;
	mask[_n++] = 0; // tvV
	mask[_n++] = 0; // tvV2
	mask[_n++] = 0; // tvCl
	mask[_n++] = 0; // Q
}

void GetRanef1Name(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0){
	}
}

void GetRanef2Name(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
}

void GetRanef3Name(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
}

void GetRanef4Name(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
}

void GetRanef5Name(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
}

void GetOdeRanefs(int *_pi)
{
}

void GetErrorName(int *_pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
}

double valid_strip(double res, const char * message)
{
    if (res == 0) {
        SetErrorMsg(message);
        NotOK();
    }
    return res;
}

const char* _t_Units;
void ClearUnits(){
	_t_Units = "";
}

void SetVarUnits(const char* _nm, const char* _units)
{
    if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
    {
        _t_Units = _units;
        return;
    }
}

void GetPlotVarInfo(int *_pi, int* _pflags, char* _nmObs, char* _nmPred){
	*_pflags = 0;
	*_nmObs = '\0';
	*_nmPred = '\0';
    if (*_pi == 0){
        *_pflags = _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS;
        strcpy(_nmObs, "");
        strcpy(_nmPred, "V");

        return;
    }
    if (*_pi == 1){
        *_pflags = _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS;
        strcpy(_nmObs, "");
        strcpy(_nmPred, "V2");

        return;
    }
    if (*_pi == 2){
        *_pflags = _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS;
        strcpy(_nmObs, "");
        strcpy(_nmPred, "Cl");

        return;
    }
    if (*_pi == 3){
        *_pflags = _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS;
        strcpy(_nmObs, "");
        strcpy(_nmPred, "Q");

        return;
    }
    if (*_pi == 4){
        *_pflags = _SWEEP_AVAIL | _CAN_OVERLAY | _CAN_TRELLIS;
        strcpy(_nmObs, "");
        strcpy(_nmPred, "t");

        return;
    }
}

int GetNPlotVar(){return 5;}

void AddToCpt(int _iCpt, double _dv);	// forward declaration

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::sequence_action(int _seq, double _t)
{
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::event_action(int _event, double _t)
{
}

int GetNumCovariates(){
    return 0;
}

int GetCovariateNumber(const char* _nm){

    return -1;
}

const char * GetCovariateName(int i)
{
    return "";
}

int GetCovariateDirection(int i){
    // 0=backward, 1=forward, 2=interpolate
    return -1;
}

void SetCovariate(double _t, const char* _nm, double _v)
{
}

void SetCovariateInterp(double _t, const char* _nm, double _v1, double _dt, double _v2, int _bForward)
{
}

int GetStripDoseName(char* _nm){
    int _rvalue = 0;
    if (0){
    }
    return _rvalue;
}

int GetNumStructural(){
	return 4;
}

int GetStructuralNumber(const char* _nm){
	int _i = -1;
	if (0);
	else if (_nm[0]=='V' && strcmp(_nm, "V")==0) _i = 0;
	else if (_nm[0]=='V' && strcmp(_nm, "V2")==0) _i = 1;
	else if (_nm[0]=='C' && strcmp(_nm, "Cl")==0) _i = 2;
	else if (_nm[0]=='Q' && strcmp(_nm, "Q")==0) _i = 3;
	return _i;
}

void GetStructuralName(int* _pi, char* _nm){
	if (0);
	else if (*_pi == 0) strcpy(_nm, "V");
	else if (*_pi == 1) strcpy(_nm, "V2");
	else if (*_pi == 2) strcpy(_nm, "Cl");
	else if (*_pi == 3) strcpy(_nm, "Q");
}

void GetVarUnits(const char* _nm, char* _units){
	const char* _p = nullptr;
	_units[0] = 0;

    if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
    {
        _p = _t_Units;
        strcpy(_units, _p);
        return;
    }
}


// routine to read out all the CF state vector
MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_all_cf_state(DualType * _y)
{
	using NUM = MODEL_CLASS_DECL::DualType;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::set_all_cf_state(DualType * _y)
{
	using NUM = MODEL_CLASS_DECL::DualType;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::clear_ss_irrelevant_state(DualType * _y)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	_y[2] = NUM(0.0);
}


MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::set_time_of_state(double _t)
{
	using NUM = MODEL_CLASS_DECL::DualType;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::set_time_of_getval(double _t)
{
	using NUM = MODEL_CLASS_DECL::DualType;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::reset_subject()
{
	ResetTime();
	ClearActions();
	reset_integ();
	ResetCF();
	reset_urine();
	reset_event();
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_delays(double _t)
{
	using NUM = MODEL_CLASS_DECL::DualType;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_cf(double _t)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	NUM * zzY = globalY;
#if defined(USE_SETTIMECF)
    SetTimeOfStateCF(_t);
    SetTimeOfGetValCF(_t);
#endif
}

// routine to capture CF state, change covariates, and re-initialize CF machines
// make sure all covariate-derived values are up to date before calling
MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::reinit_cf(double _t)
{
	MODEL_CLASS_DECL::DualType _state[NCFMACRO*6+1];

	get_all_cf_state(_state); // get the compartment values
	init_cf(_t); // regenerate all the As
	set_all_cf_state(_state); // put the values back in all the compartments
}

void GetNumCVMean(int* _pn){*_pn = 0;}
void GetCVMeanName(int* _pi, char* _nm)
{
	if (0);
}
void GetCVMean(int* _pi, double* _pv)
{
	if (0);
}
void SetCVMean(int* _pi, double* _pv)
{
	if (0);
}

void GetNumCVMedian(int* _pn){*_pn = 0;}
void GetCVMedianName(int* _pi, char* _nm)
{
	if (0);
}
void GetCVMedian(int* _pi, double* _pv)
{
	if (0);
}
void SetCVMedian(int* _pi, double* _pv)
{
	if (0);
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_subject()
{
	ResetSubject();
	using NUM = MODEL_CLASS_DECL::DualType;
	V = _NA;
	_initial_V = _NA;
	V2 = _NA;
	_initial_V2 = _NA;
	Cl = _NA;
	_initial_Cl = _NA;
	ClearErrorMsg();

	odeState = ODESTATE_START;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::restart_subject_sequences()
{
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::restart_subject_events()
{
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::end_subject(int bSimulating)
{
	if (bSimulating){
	}
	// set covariates to their first settings, in case needed for secondary parameters
	V = _initial_V;
	V2 = _initial_V2;
	Cl = _initial_Cl;
}

static double __tvV_low  = 3.3e-151;
static double __tvV_init = 5.0;
static double __tvV_high = 3.3e-151;
static double __tvV2_low  = 3.3e-151;
static double __tvV2_init = 10.0;
static double __tvV2_high = 3.3e-151;
static double __tvCl_low  = 3.3e-151;
static double __tvCl_init = 1.0;
static double __tvCl_high = 3.3e-151;
static double __Q_low  = 3.3e-151;
static double __Q_init = 0.5;
static double __Q_high = 3.3e-151;

void RestoreFixefLowInitHighFromModel(){
	__tvV_low  = 3.3e-151;
	__tvV_init = 5.0;
	__tvV_high = 3.3e-151;
	__tvV2_low  = 3.3e-151;
	__tvV2_init = 10.0;
	__tvV2_high = 3.3e-151;
	__tvCl_low  = 3.3e-151;
	__tvCl_init = 1.0;
	__tvCl_high = 3.3e-151;
	__Q_low  = 3.3e-151;
	__Q_init = 0.5;
	__Q_high = 3.3e-151;
}

void SetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, double* _fixefHigh){
    if (strcmp(_nm, "tvV")==0){
        __tvV_low  = *_fixefLow;
        __tvV_init = *_fixefInit;
        __tvV_high = *_fixefHigh;
        return;
    }
    if (strcmp(_nm, "tvV2")==0){
        __tvV2_low  = *_fixefLow;
        __tvV2_init = *_fixefInit;
        __tvV2_high = *_fixefHigh;
        return;
    }
    if (strcmp(_nm, "tvCl")==0){
        __tvCl_low  = *_fixefLow;
        __tvCl_init = *_fixefInit;
        __tvCl_high = *_fixefHigh;
        return;
    }
    if (strcmp(_nm, "Q")==0){
        __Q_low  = *_fixefLow;
        __Q_init = *_fixefInit;
        __Q_high = *_fixefHigh;
        return;
    }
}

void GetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, double* _fixefHigh){
	if (0){
    }
    if (strcmp(_nm, "tvV")==0){
        *_fixefLow  = __tvV_low;
        *_fixefInit = __tvV_init;
        *_fixefHigh = __tvV_high;
        return;
    }
    if (strcmp(_nm, "tvV2")==0){
        *_fixefLow  = __tvV2_low;
        *_fixefInit = __tvV2_init;
        *_fixefHigh = __tvV2_high;
        return;
    }
    if (strcmp(_nm, "tvCl")==0){
        *_fixefLow  = __tvCl_low;
        *_fixefInit = __tvCl_init;
        *_fixefHigh = __tvCl_high;
        return;
    }
    if (strcmp(_nm, "Q")==0){
        *_fixefLow  = __Q_low;
        *_fixefInit = __Q_init;
        *_fixefHigh = __Q_high;
        return;
	}
}

void GetThetaLimits(double* _fixefLow, double* _fixefHigh){
	int _n = 0;
	_fixefLow[_n] = __tvV_low; // set tvV
	_fixefHigh[_n] = __tvV_high;
	_n++;
	_fixefLow[_n] = __tvV2_low; // set tvV2
	_fixefHigh[_n] = __tvV2_high;
	_n++;
	_fixefLow[_n] = __tvCl_low; // set tvCl
	_fixefHigh[_n] = __tvCl_high;
	_n++;
	_fixefLow[_n] = __Q_low; // set Q
	_fixefHigh[_n] = __Q_high;
	_n++;
}

void InitFixefErrorEstimate(){
    GetFixefErrorInitial(_fixef);
}

void GetFixefErrorInitial(double* _data){
    _data[0] = __tvV_init; // set tvV
    _data[1] = __tvV2_init; // set tvV2
    _data[2] = __tvCl_init; // set tvCl
    _data[3] = __Q_init; // set Q
}

void GetFixefErrorLimits(double* _low, double* _high){
    _low[0] = __tvV_low; // set tvV
    _high[0] = __tvV_high;
    _low[1] = __tvV2_low; // set tvV2
    _high[1] = __tvV2_high;
    _low[2] = __tvCl_low; // set tvCl
    _high[2] = __tvCl_high;
    _low[3] = __Q_low; // set Q
    _high[3] = __Q_high;
}

double GetObsSigma(int _piWhichObs){
	double _std = 0;
	if (0){
	}
	return _std;
}

const char * GetObsSigmaName(int _piWhichObs){
	if (0){
	}
	return "";
}

void GetInitialStdev(double* _svec){
}

void GetInitialOmega5(double* _omat){
	int _i = 0;
	double _temp = 0;
	for (_i=0; _i<0; _i++) _omat[_i] = 0;
}

double GetEtaVariance5(int _i){
	double _temp = 1;
	if (0){
	}
	return _temp;
}

void TruncateOmega5(double* _omat){
	int _i = 0;
	double _temp = 0;
	double _mtemp[NRANEF5*NRANEF5+1];
	memcpy(_mtemp, _omat, sizeof(double)*NRANEF5*NRANEF5);
	memset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);
}

// Caution: omega matrix is assumed to be in lower cholesky form
void UnpackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;
	double _temp = 0;
	// assert NRANEF5 <= ldo
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_thvec[_n++] = _pack[_i];
	}
	// assert *_nPack == _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void UnpackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;
	double _temp = 0;
	// assert NRANEF5 <= ldo
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_thvec[_n++] = _pack[_i];
	}
	// assert *_nPack == _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   PackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_pack[_i] = _thvec[_n++];
	}
	*_nPack = _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   PackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_pack[_i] = _thvec[_n++];
	}
	*_nPack = _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   TypXParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_pack[_i] = fabs(_thvec[_n++]);
	}
	*_nPack = _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   TypXParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	_i1 = GetNTheta();
	for (_i = 0; _i < _i1; _i++){
		_pack[_i] = fabs(_thvec[_n++]);
	}
	*_nPack = _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void UnpackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;
	double _temp = 0;
	// assert NRANEF5 <= ldo
	// assert *_nPack == _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   PackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	*_nPack = _n;
}

// Caution: omega matrix is assumed to be in lower cholesky form
void   TypXOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){
	int _i = 0, _j, _n = 0, _ldo = *_ldOmat;
	// assert NTHETA == *nth
	*_nPack = _n;
}

void GetFixefErrToThetaMap(int* _iaTheta, int* _nth){
	int _n = 0;
	_iaTheta[0] = _n++; // tvV
	_iaTheta[1] = _n++; // tvV2
	_iaTheta[2] = _n++; // tvCl
	_iaTheta[3] = _n++; // Q
	// unfrozen error sigmas 
	*_nth = _n;
}

void GetRanefToEtaMap(int* _iaEta, int* _nth){
	int _n = 0;
	*_nth = _n;
}

void UnpackTheta(double* _fixef, double* _thvec){
	int _n = 0;
	// copy theta to fixef+error
	// unfrozen, enabled fixed effects 
	_fixef[0] = _thvec[_n++];
	_fixef[1] = _thvec[_n++];
	_fixef[2] = _thvec[_n++];
	_fixef[3] = _thvec[_n++];
	// unfrozen error sigmas 
}

void   PackTheta(double* _fixef, double* _thvec, int* _nth){
	int _n = 0;
	// copy fixef+error to theta
	// unfrozen, enabled fixed effects 
	_thvec[_n++] = _fixef[0];
	_thvec[_n++] = _fixef[1];
	_thvec[_n++] = _fixef[2];
	_thvec[_n++] = _fixef[3];
	// unfrozen error sigmas 
	*_nth = _n;
}

int GetEstimatedTheta(int * est_theta){
	int _n = 0;
		est_theta[0] = 1; ++_n;
		est_theta[1] = 1; ++_n;
		est_theta[2] = 1; ++_n;
		est_theta[3] = 1; ++_n;
	return _n;
}

void   TypXTheta(double* _fixef, double* _thvec, int* _nth){
	int _n = 0;
	// copy fabs(fixef+error) to theta
	// unfrozen, enabled fixed effects 
	_thvec[_n++] = fabs(_fixef[0]);
	_thvec[_n++] = fabs(_fixef[1]);
	_thvec[_n++] = fabs(_fixef[2]);
	_thvec[_n++] = fabs(_fixef[3]);
	// unfrozen error sigmas 
	*_nth = _n;
}

// Caution: live portion of omega matrix is assumed to be packed in lower cholesky form
void   GetNPack(int* _nPack){
	int _n = 0;
	_n++; // tvV
	_n++; // tvV2
	_n++; // tvCl
	_n++; // Q
	*_nPack = _n;
}

// Caution: live portion of omega matrix is assumed to be packed in lower cholesky form
void   GetNPackOmega(int* _nPack){
	int _n = 0;
	*_nPack = _n;
}

void GetNSeqOmega(int* _nSeq){
	int _n = 0;
	*_nSeq = _n;
}

void GetOmegaSequenceInfo(int* _iSeq1, int* _nEta, int* _nSame){
	int _iSeqCount = 0;
	*_nEta = *_nSame = 0;
}

// Caution: live portion of omega matrix is assumed to be packed in lower cholesky form
void   GetNPackRanCov(int* _nPack){
	int _n = 0;
	*_nPack = _n;
}

// Caution: live portion of omega matrix is assumed to be packed in lower cholesky form
void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){
	int _n = 0;
	*_index = -1;
	_n++; // tvV
	_n++; // tvV2
	_n++; // tvCl
	_n++; // Q
}

static double _dMainSigma;
void SetMainSigma(double* _sig)
{
	_dMainSigma = *_sig;
}

static int GetGammaDelayDECnt(int i_)
{
    return 0;
}

constexpr int GetGammaDelayDEStart(int i_)
{
    return NINTEG_ALL + 1 + (i_ > 0 ? GetGammaDelayDECnt(i_ - 1) : 0);
}

int GetGammaDelayDECount()
{
    return 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::eval_group(DualType * zzY)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	int _ix0 = 0, _ix1 = 0;	// used for table statement
	double _xFrac = 0;
}

template <typename RES, typename NUM, typename NUM1>
static RES calc_sum_x(int N, const NUM1 & shape_, NUM x_[])
{
    RES BinomialCoeff_ = RES(1);
    RES res_ = RES(x_[0]);
    for (int i_ = 1; i_ < N; i_++) {
        BinomialCoeff_ = -BinomialCoeff_ * (static_cast<typename type_caster_down<RES, NUM1>::type>(shape_) - i_) / i_;
        res_ += BinomialCoeff_ * RES(x_[i_]);
    }
    return res_;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::eval_assign(DualType * zzY)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	int _ix0 = 0, _ix1 = 0;	// used for table statement
	double _xFrac = 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::eval_sparams(DualType * zzY)
{
	if (zzY == 0) return;
	int _ix0 = 0, _ix1 = 0;	// used for table statement
	double _xFrac = 0;
	eval_group(zzY);
	using NUM = MODEL_CLASS_DECL::DualType;
	V = tvV;
	if (_initial_V == _NA) _initial_V = V;
	V2 = tvV2;
	if (_initial_V2 == _NA) _initial_V2 = V2;
	Cl = tvCl;
	if (_initial_Cl == _NA) _initial_Cl = Cl;

    eval_assign(zzY);
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::calc_secondary()
{
	using NUM = MODEL_CLASS_DECL::DualType;
	NUM * zzY = globalY;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_secondary(int* _pn, double* _sec)
{
	*_pn = 0;
}

void SetModelTime(double _t)
{
	t = _t;
}

template <typename NUM, typename NUM1, typename NUM2>
static void gamma_deriv(int N, const NUM1 & s_, double eps_, const NUM2 & ktr_, const NUM x_[], NUM R_[], const NUM irate_[])
{
    for (int i_ = 0; i_ < N; i_++)
        R_[i_] = (s_ - (ktr_ + (i_ / (t + eps_))) * x_[i_]) + irate_[i_];
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::deriv(double _pt, DualType zzY[], DualType zzR[])
{
	using NUM = MODEL_CLASS_DECL::DualType;
	int _i = 0;
	t = _pt;
	#if defined(USE_SETTIMECF)
		SetTimeOfGetValCF(_pt);
	#endif
	#if defined(THERE_ARE_INTERPOLATED_COVARIATES)
		eval_sparams(zzY);
	#else
		eval_assign(zzY);
	#endif

	zzR_A1 = Q / V2 * A2 - (Cl + Q) / V * A1;
	zzR_A1 += _A1_irate;
	zzR_A2 = Q / V * A1 - Q / V2 * A2;
	zzR_A2 += _A2_irate;
	zzR_U = Cl / V * A1;
	zzR[3] = 0; // extra null equation
}

	// -(((tvCl + Q) / tvV))
	// (Q / tvV)
	// (tvCl / tvV)
	// (Q / tvV2)
	// -((Q / tvV2))
	// 0.0
	// 0.0
	// 0.0
	// 0.0
	// 0.0
	// 0.0
	// 0.0
MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::jacobian(const DualType zzY[], DualType _jacobian[])
{
	using NUM = MODEL_CLASS_DECL::DualType;
	memset(_jacobian, 0, sizeof(NUM)*N_ODE*N_ODE);

	// rate terms for A1
		// w.r.t. A1
	_jacobian[0 + N_ODE*0] = -(((tvCl + Q) / tvV));
		// w.r.t. A2
	_jacobian[0 + N_ODE*1] = (Q / tvV2);
		// forcing rate for A1
	_jacobian[0 + N_ODE*3] = 0.0 + globalIRate[0];
	// rate terms for A2
		// w.r.t. A1
	_jacobian[1 + N_ODE*0] = (Q / tvV);
		// w.r.t. A2
	_jacobian[1 + N_ODE*1] = -((Q / tvV2));
		// forcing rate for A2
	_jacobian[1 + N_ODE*3] = 0.0 + globalIRate[1];
	// rate terms for U
		// w.r.t. A1
	_jacobian[2 + N_ODE*0] = (tvCl / tvV);
		// forcing rate for U
	_jacobian[2 + N_ODE*3] = 0.0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::init_tables()
{
}

void ResetCF()
{
}

template <typename NUM>
static void ode_solve(int iODELevel, double * ptOuter, double dt, NUM zzY[N_ODE]);

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::advance(int iODELevel, double *pTimeOuter, double _dt)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	NUM * zzY = globalY;
	#if defined(USE_SETTIMECF)
		SetTimeOfStateCF(*pTimeOuter);
	#endif
	ode_solve(iODELevel, pTimeOuter, _dt, zzY);

	eval_sparams(zzY);
}

int GetNumCompartments()
{
	return 3;
}

int GetCompartmentNumber(const char* _nm)
{
	int _i = -1;
	if (0);
	else if (_nm[0]=='A' && strcmp(_nm, "A1")==0) _i = 0;
	else if (_nm[0]=='A' && strcmp(_nm, "A2")==0) _i = 1;
	else if (_nm[0]=='U' && strcmp(_nm, "U")==0) _i = 2;
	return _i;
}

void GetCompartmentName(int _pi, char* _nm)
{
	_nm[0] = 0;
	if (0);
	else if (_pi == 0) strcpy(_nm, "A1");
	else if (_pi == 1) strcpy(_nm, "A2");
	else if (_pi == 2) strcpy(_nm, "U");
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::schedule_bolus1(int _mark, double _tRel, int _iCpt, double _amt, int _addl)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	double _tlag = 0;
	double _rate = 1, _dt = 1;
	NUM _bio(1);
	if (0){
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::schedule_iv1(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	if (_rate <= 0) return;

	double _dt = _amt / _rate;

	if (_dt <= 0) return;

	double _tlag = 0;
	NUM _bio(1);
	if (0){
	}
}
MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_bolus1(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_inf_start1(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_inf_end1(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::schedule_bolus2(int _mark, double _tRel, int _iCpt, double _amt, int _addl)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	double _tlag = 0;
	double _rate = 1, _dt = 1;
	NUM _bio(1);
	if (0){
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::schedule_iv2(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	if (_rate <= 0) return;

	double _dt = _amt / _rate;

	if (_dt <= 0) return;

	double _tlag = 0;
	NUM _bio(1);
	if (0){
	}
}
MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_bolus2(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_inf_start2(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::perform_inf_end2(double _dt, const ActionTicket & action)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	using DataType = ActionData<NUM>;
	const DataType & data = get_data<NUM>(action);
	int _iCpt = data.iarg;
	NUM _dv = data.arg1;
	NUM * zzR = globalR;
	NUM * zzY = globalY;
	long _neq = 0;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;
	if (0)
	{
	}
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::add_to_cpt(int _iCpt, double _dv)
{
	using NUM = MODEL_CLASS_DECL::DualType;
	NUM * zzY = globalY;
	if (odeState == ODESTATE_UNDERWAY)
		odeState = ODESTATE_CHANGE;

	if (0){
	} else if (_iCpt==0){
		zzY[_iCpt] += _dv;
	} else if (_iCpt==1){
		zzY[_iCpt] += _dv;
	} else if (_iCpt==2){
		zzY[_iCpt] += _dv;
	}
}
MODEL_TEMPLATE_PARAMETER_LIST
int MODEL_CLASS_DECL::get_var_value(const char* _nm, double* _pv)
{
    using NUM = MODEL_CLASS_DECL::DualType;

    NUM * zzY = globalY;

    eval_sparams(zzY);

    if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
    {
        *_pv = t;
        return 1;
    }
    if (_nm[0] == 'A' && strcmp(_nm, "A1") == 0)
    {
        *_pv = double(A1);
        return 1;
    }
    if (_nm[0] == 'A' && strcmp(_nm, "A2") == 0)
    {
        *_pv = double(A2);
        return 1;
    }
    if (_nm[0] == 'U' && strcmp(_nm, "U") == 0)
    {
        *_pv = double(U);
        return 1;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvV") == 0)
    {
        *_pv = double(tvV);
        return 1;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvV2") == 0)
    {
        *_pv = double(tvV2);
        return 1;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvCl") == 0)
    {
        *_pv = double(tvCl);
        return 1;
    }
    if (_nm[0] == 'Q' && strcmp(_nm, "Q") == 0)
    {
        *_pv = double(Q);
        return 1;
    }
    if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
    {
        *_pv = double(V);
        return 1;
    }
    if (_nm[0] == 'V' && strcmp(_nm, "V2") == 0)
    {
        *_pv = double(V2);
        return 1;
    }
    if (_nm[0] == 'C' && strcmp(_nm, "Cl") == 0)
    {
        *_pv = double(Cl);
        return 1;
    }
    if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
    {
        *_pv = double(t);
        return 1;
    }
    return 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::_set_var_value(const char* _nm, double* _pv)
{
    using NUM = MODEL_CLASS_DECL::DualType;

    NUM * zzY = globalY;

    if (_nm[0] == 'A' && strcmp(_nm, "A1") == 0)
    {
        A1 = *_pv;
        return;
    }
    if (_nm[0] == 'A' && strcmp(_nm, "A2") == 0)
    {
        A2 = *_pv;
        return;
    }
    if (_nm[0] == 'U' && strcmp(_nm, "U") == 0)
    {
        U = *_pv;
        return;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvV") == 0)
    {
        tvV = *_pv;
        return;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvV2") == 0)
    {
        tvV2 = *_pv;
        return;
    }
    if (_nm[0] == 't' && strcmp(_nm, "tvCl") == 0)
    {
        tvCl = *_pv;
        return;
    }
    if (_nm[0] == 'Q' && strcmp(_nm, "Q") == 0)
    {
        Q = *_pv;
        return;
    }
    if (_nm[0] == 'V' && strcmp(_nm, "V") == 0)
    {
        V = *_pv;
        return;
    }
    if (_nm[0] == 'V' && strcmp(_nm, "V2") == 0)
    {
        V2 = *_pv;
        return;
    }
    if (_nm[0] == 'C' && strcmp(_nm, "Cl") == 0)
    {
        Cl = *_pv;
        return;
    }
    if (_nm[0] == 't' && strcmp(_nm, "t") == 0)
    {
        t = *_pv;
        return;
    }
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::set_var_value(const char* _nm, double* _pv)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;


    eval_sparams(zzY);

    _set_var_value(_nm, _pv);

    eval_sparams(zzY);
}
int IsSaemRanef(int * _idx)
{
    return 0;
}

void GetSaemCMatrixSize(int* nBaseEta, int* nExtraEta, int* nTheta)
{
    *nBaseEta = *nTheta = *nExtraEta = 0;

    {(*nExtraEta)++; (*nTheta)++;} // bare theta tvV

    {(*nExtraEta)++; (*nTheta)++;} // bare theta tvV2

    {(*nExtraEta)++; (*nTheta)++;} // bare theta tvCl

    {(*nExtraEta)++; (*nTheta)++;} // bare theta Q

}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_saem_matrix(double * daCMat, int * theta2eta)
{
	int _nBaseEta, _nExtraEta, _nTheta, _nEta;
	int _iEta = 0;
	int _jTheta = 0;
	GetSaemCMatrixSize(&_nBaseEta, &_nExtraEta, &_nTheta);
	_nEta = _nBaseEta + _nExtraEta;
	// clear the C matrix
	memset(daCMat, 0, sizeof(double)*_nEta*_nTheta);

	// for additional bare thetas
	{
		daCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta tvV
		theta2eta[_jTheta] = -1;
		_iEta++;
		_jTheta++;
	}
	{
		daCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta tvV2
		theta2eta[_jTheta] = -1;
		_iEta++;
		_jTheta++;
	}
	{
		daCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta tvCl
		theta2eta[_jTheta] = -1;
		_iEta++;
		_jTheta++;
	}
	{
		daCMat[_iEta + _jTheta * _nEta] = 1; // extra eta for bare theta Q
		theta2eta[_jTheta] = -1;
		_iEta++;
		_jTheta++;
	}
	// assert _iEta == _nEta
	// assert _jTheta == _nTheta
}

int GetCovariateIsInCMatrix(const char* name)
{

	return 0;
}

void GetSaemThetaInfo(int* iaCColToITheta, int* baCColIsLog)
{
	int _jCTheta = 0;
	int _nTheta = 0;
	int _iaIFixefErrToITheta[4+0];
	int _i;
	for (_i = 0; _i < 4+0; _i++) _iaIFixefErrToITheta[_i] = -1;
	GetFixefErrToThetaMap(_iaIFixefErrToITheta, &_nTheta);
	// for additional bare thetas
	{
		iaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[0]; // tvV
		baCColIsLog[_jCTheta] = 0;
		_jCTheta++;
	}
	{
		iaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[1]; // tvV2
		baCColIsLog[_jCTheta] = 0;
		_jCTheta++;
	}
	{
		iaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[2]; // tvCl
		baCColIsLog[_jCTheta] = 0;
		_jCTheta++;
	}
	{
		iaCColToITheta[_jCTheta] = _iaIFixefErrToITheta[3]; // Q
		baCColIsLog[_jCTheta] = 0;
		_jCTheta++;
	}
}

void GetSaemNaivePoolThetas(int* nNPTheta, int* iaTheta)
{
	int _jTheta = 0;
	*nNPTheta = _jTheta;
}

int CanUseSAEM()
{
	return 1;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::end_obs_actions()
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::new_get_pred(int* pnObs, const double _t, const char* _nm, double _v1, bool doActions /*= true*/)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

	double _dVFCorrectionFactor = 1;
	NUM _ypred(0); // predicted value
	NUM _var(1);
	NUM _sig(1); // current standard deviation of Epsilon
	NUM _sqrtvf(1); // dObs / dEpsilon (additive = 1, proportional = _ypred)
	double _vf = 1; // _sqrtvf*_sqrtvf (additive = 1, proportional = _ypred^2)
}

// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes
void GetJacobianInfo(int & _piJacobianInfo)
{
	_piJacobianInfo = 2;
}
int GetNumObservations()
{
	return 0;
}

int GetObservationNumber(const char* _nm)
{
	int _i = -1;
	if (0);
	return _i;
}

const char * GetObservationName(int* _pi)
{
	if (0);
	return "";
}

ObsType GetObservationType(int * _pi)
{
	ObsType _type = ObsType::Unknown;
	if (0);
	return _type;
}

void GetObservationBqlLimit(int _i, double & _bqllimit, double & _uqllimit)
{
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_ll(double _dLL[], double _dGrad[], int* pnObs, double _t, const char* _nm, double _v1, int iql)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

	NUM _dLL1(0);
	NUM _probge[12];

    const double t = _t;
    NUM _ypred(0), _sig(1), _sqrtvf(1);
    int _i = 0;
}

int GetPredObsError(int _iObs)
{
	int _iError = -1;
	if (0){
	}
	return _iError;
}

double GetPredVFCorrectionFactor(int _iError)
{
	int _nFixef = 4;
	int _iLastFreeError = -1;
	int _bErrorFrozen = 0;
	double _vfCorrectionFactor = 1;
	return _vfCorrectionFactor;
}

void GetPredName(int* _iWhichObs, char* _nm)
{
	_nm[0] = '\0';
	if (0);
}

void GetObsName(int* _iWhichObs, char* _nm)
{
	_nm[0] = '\0';
	if (0);
}

void GetIVarName(int* _iWhichObs, char* _nm)
{
	_nm[0] = '\0';
	if (0);
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_obs_vf(int* _iWhichObs, double* _vf)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

	*_vf = 1;
	if (0);
}

void GetNumGaussianObs(int* _nGaussianObs)
{
}


double _unifControlled(BOOL bSample)
{
	return bSample ? unif() : 0.5;
}
double _normControlled(BOOL bSample)
{
	return bSample ? norm() : 0.0;
}

int GetVcv(const char **& names, const double *& vals, const int *& sizes)
{
    return 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::simulate(double _t, const char* _nm, double _v1, int iql, int bSampleEpsilon, int bForVPC)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

	double _probge[12];

    const double t = _t;
    NUM _ypred(0), _sig(1), _sqrtvf(1);
    int _i = 0;
	eval_sparams(zzY);
}

void GetNumCategories(const char* _nm, int* pNCat){
	*pNCat = 0;
}

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::simulate_for_tables(double _t, const char* _nm, double* _pObs, double* _pPred)
{
	using NUM = MODEL_CLASS_DECL::DualType;

	NUM * zzY = globalY;

	const double t = _t;
	double _eps = 0;
	eval_sparams(zzY);
	if (_pcb == 0) return;
}

#undef A1
#undef zzR_A1
#undef _A1_irate
#undef A2
#undef zzR_A2
#undef _A2_irate
#undef U
#undef zzR_U
#undef _U_irate

static const int _temp_res_num = 1;
static const int _temp_arg_num = 1;

static std::vector<temp_arg> _temp_res_storage(_temp_res_num);
static std::vector<temp_arg> _temp_arg_storage(_temp_arg_num);

static void InitTemp()
{
    _tempResult = _temp_res_storage.data();
    _tempArg = _temp_arg_storage.data();
    for (auto & _v : _temp_res_storage)
        reset_temp(_v);
    for (auto & _v : _temp_arg_storage)
        reset_temp(_v);
}

#ifdef CAN_DUAL
static base_data * data = 0;
static model_data<double, double> * md_real = 0;
#else
static model_data * data = 0;
static model_data * md_real = 0;
#endif
#ifdef DUAL_THETA
static model_data<DualTheta, double> * md_theta = 0;
#endif
#ifdef DUAL_ETA
static model_data<double, DualEta> * md_eta = 0;
#endif

AD_Mode GetCurrentADMode()
{
    return data->get_mode();
}

void SwitchMode(AD_Mode mode)
{
    switch (mode)
    {
    case AD_Mode::REAL:
        data = md_real;
        break;
#ifdef DUAL_THETA
    case AD_Mode::THETA_DUAL:
        data = md_theta;
        break;
#endif
#ifdef DUAL_ETA
    case AD_Mode::ETA_DUAL:
        data = md_eta;
        break;
#endif
    default:
        exit(666);
    }
    InitTemp();
}

void InitModels()
{
    static bool initialized = false;
    if (initialized)
        return;
    initialized = true;
    InitTemp();
#ifdef CAN_DUAL
    static model_data<double, double> _md_real;
#else
    static model_data _md_real;
#endif
    md_real = &_md_real;
#ifdef DUAL_THETA
    static model_data<DualTheta, double> _md_theta;
    md_theta = &_md_theta;
#endif
#ifdef DUAL_ETA
    static model_data<double, DualEta> _md_eta;
    md_eta = &_md_eta;
#endif
    // select initial mode
    SwitchMode(AD_Mode::REAL);
}

void InitSubject() { data->init_subject(); }
void ResetSubject() { data->reset_subject(); }
void EndSubject(int sim) { data->end_subject(sim); }
void InitDelays(double _t) { data->init_delays(_t); }
void InitCF(double _t) { data->init_cf(_t); }
void ReInitCF(double _t) { data->reinit_cf(_t); }
void EvalSParms() { data->eval_sparams(); }
void GetSecondary(int* _pn, double* _sec) { data->get_secondary(_pn, _sec); }
void ScheduleBolus1(int _mark, double _tRel, int _iCpt, double _amt, int _addl) { data->schedule_bolus1(_mark, _tRel, _iCpt, _amt, _addl); }
void ScheduleBolus2(int _mark, double _tRel, int _iCpt, double _amt, int _addl) { data->schedule_bolus2(_mark, _tRel, _iCpt, _amt, _addl); }
void ScheduleIV1(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) { data->schedule_iv1(_mark, _tRel, _iCpt, _amt, _rate, _addl); }
void ScheduleIV2(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) { data->schedule_iv2(_mark, _tRel, _iCpt, _amt, _rate, _addl); }
void PerformBolus1(double _dt, const ActionTicket & action) { data->perform_bolus1(_dt, action); }
void PerformBolus2(double _dt, const ActionTicket & action) { data->perform_bolus2(_dt, action); }
void PerformInfStart1(double _dt, const ActionTicket & action) { data->perform_inf_start1(_dt, action); }
void PerformInfEnd1(double _dt, const ActionTicket & action) { data->perform_inf_end1(_dt, action); }
void PerformInfStart2(double _dt, const ActionTicket & action) { data->perform_inf_start2(_dt, action); }
void PerformInfEnd2(double _dt, const ActionTicket & action) { data->perform_inf_end2(_dt, action); }
void AddToCpt(int _iCpt, double _dv) { data->add_to_cpt(_iCpt, _dv); }
int GetVarValue(const char * _nm, double * _pv) { return data->get_var_value(_nm, _pv); }
void SetVarValue(const char * _nm, double * _pv) { data->set_var_value(_nm, _pv); }
void GetLL(double _dLL[], double _dGrad[], int * pnObs, double _t, const char * _nm, double _v1, int iql) { data->get_ll(_dLL, _dGrad, pnObs, _t, _nm, _v1, iql); }
void NewGetPred(int * pnObs, const double _t, const char * _nm, double _v1, bool doActions /*= true*/) { data->new_get_pred(pnObs, _t, _nm, _v1, doActions); }
void GetObsVF(int* _iWhichObs, double* _vf) { data->get_obs_vf(_iWhichObs, _vf); }
void DoEndObsActions() { data->end_obs_actions(); }
void Simulate(double _t, const char* _nm, double _v1, int iql, int bSampleEpsilon, int bForVPC) { data->simulate(_t, _nm, _v1, iql, bSampleEpsilon, bForVPC); }
void SimulateForSimTbl(double _t, const char* _nm, double* _pObs, double* _pPred) { data->simulate_for_tables(_t, _nm, _pObs, _pPred); }
void RestartSubjectSequences() { data->restart_subject_sequences(); }
void RestartSubjectEventSims() { data->restart_subject_events(); }
void Advance(int iODELevel, double *pTimeOuter, double _dt) { data->advance(iODELevel, pTimeOuter, _dt); }
void init_fixef(const double * ran) { data->init_fixef(ran); }
void init_ranef(const double * ran) { data->init_ranef(ran); }
void SetTimeOfStateCF(double _t) { data->set_time_of_state(_t); }
void SetTimeOfGetValCF(double _t) { data->set_time_of_getval(_t); }
void SequenceAction(int seq, double t) { data->sequence_action(seq, t); }
void EventAction(int seq, double t) { data->event_action(seq, t); }
void GetSaemCMatrix(double * daCMat, int * theta2eta) { data->get_saem_matrix(daCMat, theta2eta); }
void GetSS(const unsigned char * pc, int * pbOK) { data->get_ss(pc, pbOK); }

double GetVarValue(const char * _nm)
{
    double _v = S_NA;
    data->get_var_value(_nm, &_v);
    if (!isfinite(_v))
        return S_NA;
    return _v;
}

template <typename NUM>
static NUM vdis(int n, const NUM a[], const NUM b[])
{
    NUM _sum = 0.0;
    for (int i = 0; i < n; i++)
        _sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sqrt(_sum);
}

bool _extraSS = false;

MODEL_TEMPLATE_PARAMETER_LIST
void MODEL_CLASS_DECL::get_ss(const unsigned char * pc, int * pbOK)
{
    const int nIntegAll = NINTEG_ALL;
    const int N = NINTEG_ALL + NCFMACRO * 6;
    static DualType zvec[N + 1], y0[N + 1], y1[N + 1], y2[N + 1], y3[N + 1], vec[N + 1];
    const double _tol = 1e-5;
    int changeTime = HasDelay();
    int bTrySimpleWay = changeTime;
    int bSSFailed = 0;
    int i, j, k;

    double tempTime = curTime;
    SwitchToSSActions();
    if (pbOK && *pbOK == 0) return;
    curTime = 0;
    new_ss();

    // first run two cycles to get in the ballpark
    InterpSS(pc, pbOK, changeTime, TRUE);
    if (pbOK && *pbOK == 0) return;
    InterpSS(pc, pbOK, changeTime, FALSE);
    if (pbOK && *pbOK == 0) return;

    // extrapolate along the approach to steady state
    for (k = 0; k < 20 && !bTrySimpleWay; k++)
    {
        get_y(y0); get_all_cf_state(y0 + nIntegAll); clear_ss_irrelevant_state(y0);
        InterpSS(pc, pbOK, changeTime, FALSE);
        if (pbOK && *pbOK == 0) return;
        get_y(y1); get_all_cf_state(y1 + nIntegAll); clear_ss_irrelevant_state(y1);
        DualType dy01 = vdis(N, y0, y1);
        DualType dy1z = vdis(N, y1, zvec);
        if (dy01 < _tol * dy1z) break;
        InterpSS(pc, pbOK, changeTime, FALSE);
        if (pbOK && *pbOK == 0) return;
        get_y(y2); get_all_cf_state(y2 + nIntegAll); clear_ss_irrelevant_state(y2);
        DualType dy02 = vdis(N, y0, y2);
        if (2 * dy01 - dy02 == 0) { bTrySimpleWay = 1; break; }
        for (i = 0; i < N; i++) vec[i] = y2[i] - y0[i];
        DualType _a = (dy01 * dy01) / (2 * dy01 - dy02);
        if (fabs(_a) > 5 * dy02) { bTrySimpleWay = 1; break; }
        for (i = 0; i < N; i++) y3[i] = y0[i] + vec[i] / dy02 * _a;
        for (i = nIntegAll; i < N; i++)
        {
            if (y3[i] < 0) { bTrySimpleWay = 1; break; }
        }
        set_y(y3); set_all_cf_state(y3 + nIntegAll);
    }
    if (k >= 20) bTrySimpleWay = 1;

    if (bTrySimpleWay)
    {
        bSSFailed = 0;
        get_y(y0); get_all_cf_state(y0 + nIntegAll); clear_ss_irrelevant_state(y0);
        for (j = 1000; --j >= 0;)
        {
            InterpSS(pc, pbOK, changeTime, FALSE);
            if (pbOK && *pbOK == 0) return;
            get_y(y1); get_all_cf_state(y1 + nIntegAll); clear_ss_irrelevant_state(y1);
            DualType dy01 = vdis(N, y0, y1);
            DualType dy1z = vdis(N, y1, zvec);
            if (dy01 < _tol * dy1z) break;
            for (i = 0; i < N; i++) y0[i] = y1[i];
        }
        if (j < 0) bSSFailed = 1;
    }

    if (HasDelay())
    {
        _extraSS = true;
        InterpSS(pc, pbOK, changeTime, FALSE);
        _extraSS = false;
        if (pbOK && *pbOK == 0) return;
    }

    if (bSSFailed)
    {
        SetErrorMessageWithParams("Error: unable to achieve steady-state.");
        if (pbOK) *pbOK = 0;
    }
    curTime = tempTime;
    SwitchToDefaultActions();
}

void ResetTime()
{
	curTime = 0;
	curTimeLastDose = curTime;
	iCurWhichDose = 0;
	t = curTime;

	data->init_tables();
}

void Deriv(double * _pt, double zzY[], double zzR[])
{
    md_real->deriv(*_pt, zzY, zzR);
}

inline void deriv(double _pt, double zzY[], double zzR[]) { md_real->deriv(_pt, zzY, zzR); }
#ifdef DUAL_THETA
inline void deriv(double _pt, DualTheta zzY[], DualTheta zzR[]) { md_theta->deriv(_pt, zzY, zzR); }
#endif
#ifdef DUAL_ETA
inline void deriv(double _pt, DualEta zzY[], DualEta zzR[]) { md_eta->deriv(_pt, zzY, zzR); }
#endif

void Jacobian(const double zzY[], double _jacobian[])
{
    data->jacobian_iface(zzY, _jacobian);
}

inline void jacobian(const double zzY[], double _jacobian[]) { md_real->jacobian(zzY, _jacobian); }
#ifdef DUAL_THETA
inline void jacobian(const DualTheta zzY[], DualTheta _jacobian[]) { md_theta->jacobian(zzY, _jacobian); }
#endif
#ifdef DUAL_ETA
inline void jacobian(const DualEta zzY[], DualEta _jacobian[]) { md_eta->jacobian(zzY, _jacobian); }
#endif

template <typename PrintedType>
struct name_printer
{
    const char * format;
    PrintedType value;
    name_printer(const char * _format, PrintedType _value) : format(_format), value(_value) {}
    ~name_printer()
    {
        printf(format, value);
        fflush(stdout);
    }
};

#if defined(CAN_DUAL) || defined(WANT_CPP_SOLVERS)
#include "mutil/dopri.h"
#include "mutil/dverk.h"
#include "mutil/soda.h"
#include "mutil/matexp.h"

template <typename NUM>
int default_ode_solve(int iODELevel, double * ptOuter, double dt, NUM zzY[])
{
    fprintf(stderr, "ODE level doesn't support dual numbers: %d\n", iODELevel);
    exit(112);
    return 0;
}

template <>
int default_ode_solve<double>(int iODELevel, double * ptOuter, double dt, double zzY[])
{
    return ODESolve(iODELevel, ptOuter, dt, zzY);
}
#endif

template <typename NUM>
static void ode_solve(int iODELevel, double * ptOuter, double dt, NUM zzY[N_ODE])
{
    if (dt <= 0)
        return;
    double t = *ptOuter;
    double tout = *ptOuter + dt;
    extern int nMXSTEP;
    extern double dOdeRTol;
    extern double dOdeATol;
    if (is_zzy_finite<N_ODE - 1>(zzY) == -1)
    {
        odeState = -8;
        handle_ode_return(iODELevel, -8, t, tout);
        computation_stopped(iODELevel % 10, -8, "All integrators are non-finite", t, tout);
        return;
    }
    if (odeState > ODESTATE_UNDERWAY || odeState < ODESTATE_START)
        odeState = ODESTATE_START;
    int res = 0;
#if defined(CAN_DUAL) || defined(WANT_CPP_SOLVERS)
    switch (iODELevel)
    {
    case ODELEVEL_CMATEXP:
    {
        int ns = 0;
        res = matexp_ode<N_ODE>(*ptOuter, tout, dt, ns, zzY);
        handle_matexp_return("CMATEXP", res, ns, t, tout);
        return;
    }
    case ODELEVEL_CDVERK:
        res = cdverk<N_ODE>(*ptOuter, tout, zzY, nMXSTEP, dOdeRTol);
        break;
    case ODELEVEL_CSODE:
        res = mtdew<N_ODE, true>(2, *ptOuter, tout, dOdeRTol, dOdeATol, nMXSTEP, zzY, odeState);
        break;
    case ODELEVEL_CSODEJAC:
        res = mtdew<N_ODE, true>(1, *ptOuter, tout, dOdeRTol, dOdeATol, nMXSTEP, zzY, odeState);
        break;
    case ODELEVEL_CSODA:
        res = mtdew<N_ODE, false>(2, *ptOuter, tout, dOdeRTol, dOdeATol, nMXSTEP, zzY, odeState);
        break;
    case ODELEVEL_CSODAJAC:
        res = mtdew<N_ODE, false>(1, *ptOuter, tout, dOdeRTol, dOdeATol, nMXSTEP, zzY, odeState);
        break;
    case ODELEVEL_CDOPRI:
        res = dopri<N_ODE>(*ptOuter, tout, zzY, nMXSTEP, dOdeRTol, dOdeATol);
        break;
    default:
        res = default_ode_solve(iODELevel, ptOuter, dt, zzY);
        break;
    }
#else
    res = ODESolve(iODELevel, ptOuter, dt, zzY);
#endif
    handle_ode_return(iODELevel, res, t, tout);
}

