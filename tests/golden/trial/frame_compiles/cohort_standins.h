// Stand-ins for the classes that the procedure generator writes: what the model classes and
// the frame of cohort.cpp use of them. The test puts this text into cohort.h ahead of its
// closing #endif.
class subject : public StateMachine {
  public:
    double tLastAbsTime;
    double tLastSSTime;
    double tSubjectStartTime;
    int iArm, iSub, iPer, iSubpop;
    int bStop;
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
