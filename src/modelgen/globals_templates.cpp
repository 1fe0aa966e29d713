// Fixed texts of the global declarations of Model.cpp, printed with fputs exactly as they stand.
// They are compiled later against the engine's headers, which supply AD_Mode, ActionTicket,
// DN (DualTheta, DualEta), type_caster_up and the getters of the preludes.
#include "modelgen/globals_templates.h"

// The interface that the exported routines call, so one pointer serves all modes of a dual
// model. Printed only in a dual model.
char const* const base_data_declaration = R"TXT(struct base_data
{
    virtual ~base_data() {}

    virtual void init_fixef(const double * _ran) = 0;
    virtual void init_ranef(const double * _ran) = 0;
    virtual void init_subject() = 0;
    virtual void reset_subject() = 0;
    virtual void end_subject(int bSimulating) = 0;
    virtual void advance(int iODELevel, double *pTimeOuter, double _dt) = 0;
    virtual void sequence_action(int _seq, double _t) = 0;
    virtual void event_action(int _seq, double _t) = 0;
    virtual void init_delays(double _t) = 0;
    virtual void init_cf(double _t) = 0;
    virtual void reinit_cf(double _t) = 0;
    virtual void eval_sparams() = 0;
    virtual void get_secondary(int* _pn, double* _sec) = 0;
    virtual int get_var_value(const char * _nm, double * _pv) = 0;
    virtual void set_var_value(const char * _nm, double * _pv) = 0;
    virtual void schedule_bolus1(int _mark, double _tRel, int _iCpt, double _amt, int _addl) = 0;
    virtual void perform_bolus1(double _dt, const ActionTicket & action) = 0;
    virtual void schedule_iv1(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) = 0;
    virtual void perform_inf_start1(double _dt, const ActionTicket & action) = 0;
    virtual void perform_inf_end1(double _dt, const ActionTicket & action) = 0;
    virtual void schedule_bolus2(int _mark, double _tRel, int _iCpt, double _amt, int _addl) = 0;
    virtual void schedule_iv2(int _mark, double _tRel, int _iCpt, double _amt, double _rate, int _addl) = 0;
    virtual void perform_bolus2(double _dt, const ActionTicket & action) = 0;
    virtual void perform_inf_start2(double _dt, const ActionTicket & action) = 0;
    virtual void perform_inf_end2(double _dt, const ActionTicket & action) = 0;
    virtual void add_to_cpt(int _iCpt, double _dv) = 0;
    virtual void get_saem_matrix(double * daCMat, int * theta2eta) = 0;
    virtual void get_ll(double _dLL[], double _dGrad[], int * pnObs, double _t, const char * _nm, double _v1, int iql) = 0;
    virtual void new_get_pred(int * pnObs, double _t, const char * _nm, double _v1, bool doActions) = 0;
    virtual void get_obs_vf(int* _iWhichObs, double* _vf) = 0;
    virtual void end_obs_actions() = 0;
    virtual void simulate(double _t, const char* _nm, double _v1, int iql, int bSampleEpsilon, int bForVPC) = 0;
    virtual void simulate_for_tables(double _t, const char* _nm, double* _pObs, double* _pPred) = 0;
    virtual void restart_subject_sequences() = 0;
    virtual void restart_subject_events() = 0;
    virtual void set_time_of_state(double _t) = 0;
    virtual void set_time_of_getval(double _t) = 0;
    virtual void get_ss(const unsigned char * pc, int * pbOK) = 0;
    virtual void init_tables() = 0;
    virtual AD_Mode get_mode() = 0;
    virtual void jacobian_iface(const double zzY[], double _jacobian[]) = 0;
};

)TXT";

// The switches of the fixed effects that carry an enable number, up to the head of the loop
// over the engine's list; the generator prints one test per such fixed effect and the close.
char const* const enabled_fixefs_head = R"TXT(#if NFIXEF > 0
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
)TXT";

// Where the thetas live: plain ones in _fixef, dual ones in a store of their own, disabled
// ones in a store that the estimation never sees. Then the mode macros and the head of the
// class with its state vectors.
char const* const model_data_start = R"TXT(
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

)TXT";

// The state of one event statement; the array of them is printed after it.
char const* const event_sim_declaration = R"TXT(
    struct event_sim
    {
        double _dt;       // length of time slice
        double _max_time; // if >= 0, time limit
        int _state;
        bool _dropout;    // set non-zero if dropping out due to event

        event_sim(double m_time = -1.0) : _dt(0), _max_time(m_time), _state(0), _dropout(false) {}
    };

)TXT";

// The rest of the class: state access, resets, the routines that the later sections define,
// and the interface operations. reset_urine and reset_event keep their historical bounds
// although urine slots follow the deriv slots: run results of existing models depend on them.
char const* const model_data_end = R"TXT(public:
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
)TXT";

// The mode of the plain instance, which every model has.
char const* const ad_mode_real = R"TXT(
#ifdef CAN_DUAL
template<>
const AD_Mode model_data<double, double>::ad_mode = AD_Mode::REAL;
#else
const AD_Mode model_data::ad_mode = AD_Mode::REAL;
#endif

)TXT";

// Hands the derivatives of one prediction by the thetas to the engine; the generator prints
// one line per theta after this head and the closing brace.
char const* const capture_pred_theta_head = R"TXT(
extern void AccumulatePredGrad(int obsIndex, int thetaIdx, double yGrad, double vfGrad);
extern bool IsLaplacePredCaptureActive();

static void capture_pred(int obsIndex, DualTheta _ypred, const DualTheta & _vfunc)
{
    if (!IsLaplacePredCaptureActive()) return;
    // on the log scale the derivative part is to hold the Jacobian of log y
    if (ALLOWLOGTRANSFORM && bEnableLogTransform && _ypred > 0.0) _ypred /= (double)_ypred;
    int theta_idx = 0;
)TXT";

// Hands the derivatives of one prediction by the dual random effects to the engine, each under
// its position among all level-5 random effects.
char const* const capture_pred_eta = R"TXT(
void GetOdeRanefs(int *_pi);

// positions among the level-5 random effects of those carried as dual numbers, built once
static const int * init_ranef_mapping()
{
    static int dualToEta[NDUALRANEF5];
    static bool built = false;
    if (built) return dualToEta;
    built = true;
    int mask[NRANEF5];
    GetOdeRanefs(mask);
    int n = 0;
    for (int i = 0; i < NRANEF5 && n < NDUALRANEF5; i++)
        if (mask[i] == 1) dualToEta[n++] = i;
    return dualToEta;
}

static void capture_pred(int obsIndex, DualEta _ypred, const DualEta & _sqrtvf)
{
    extern void AccumulatePredEtaGrad(int obsIndex, int etaIdx, double dyGrad);
    extern bool IsLaplaceEtaPredCaptureActive();
    if (!IsLaplaceEtaPredCaptureActive()) return;
    const int * dualToEta = init_ranef_mapping();
    // on the log scale the derivative part is to hold the Jacobian of log y
    if (ALLOWLOGTRANSFORM && bEnableLogTransform && _ypred > 0.0) _ypred /= (double)_ypred;
    for (int j = 0; j < NDUALRANEF5; j++)
        AccumulatePredEtaGrad(obsIndex, dualToEta[j], _ypred.b[j]);
}
)TXT";

// A strip value of 0 is an error of the model's parameters.
char const* const valid_strip_routine = R"TXT(double valid_strip(double res, const char * message)
{
    if (res == 0) {
        SetErrorMsg(message);
        NotOK();
    }
    return res;
}

)TXT";
