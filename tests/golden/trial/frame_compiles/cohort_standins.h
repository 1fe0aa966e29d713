// Stand-ins for the classes that the model and procedure generators write: what the frame of
// cohort.cpp calls on them. The test puts this text into cohort.h ahead of its closing #endif.
class modelStandIn : public PKPDModel {
  public:
    static double FixefInflationFactor, ErrorInflationFactor, RanefInflationFactor;
    static void InitReplicate();
    static void InitScenario();
    static void InitGlobal();
    void InitSubject();
    void StartSubject();
    void StopSubject();
    void EvalGroup();
    void EvalAssign();
    void CF2Advance(double dt);
    int GetNInteg();
    void SetInteg(int& zzn, double zzv[]);
    void GetInteg(int& zzn, double zzv[]);
    void GetRate(int& zzn, double zzr[]);
    void SetTimeOfStateCF(double _t);
    void SetTimeOfGetValCF(double _t);
    int GetNStateSS();
    void GetStateSS(int& zzn, double zzv[]);
    void SetStateSS(int& zzn, double zzv[]);
};

static double pk_tvV, pk_tvCl, pd_Emax;

class pk : public modelStandIn {
  public:
    static double SCALEtvV, DELTAtvV, SCALEtvCl, DELTAtvCl;
};

class pd : public modelStandIn {
  public:
    static double SCALEEmax, DELTAEmax;
};

class subject : public StateMachine {
  public:
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
    pk b;
    pd e;
    virtual void Run(int iState, double tAbsTime, double tAbsEps);
};

class main : public StateMachine {
  public:
    main(StateMachine* _pc, int _istc);
    virtual void Run(int iState, double tAbsTime, double tAbsEps);
};
