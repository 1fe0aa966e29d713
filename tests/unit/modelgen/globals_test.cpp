// The global declarations of Model.cpp: lists filled by hand, the section printed, and its
// text checked fragment by fragment in order.
#include "modelgen/gen_test_support.h"

#include <memory>
#include <string>
#include <vector>

namespace {

class GlobalsTest : public GenTest {
  protected:
    std::string Gen() { return GenText(g, &CGenCode::GenModellingGlobalVariableDeclarations); }

    void TimeBased() {
        g.bTimeBased = 1;
        g.sTimeVar = "t";
    }

    void AddTransit(char const* name, double max) {
        body->list.push_back(
            std::make_shared<CNode>(CN_TRANSIT, Var(name), Var("mtt"), Var("ntr"), Num(max)));
    }

    void AddStatements(CNodeType kind, int count) {
        for (int i = 0; i < count; i++)
            Statement(kind);
    }

    // tvCl is in dual_vars but frozen; dVdWt is plain with enable number 3; tvKa is dual
    // with enable number 5; eps2 is a frozen error.
    void AddThetaMix() {
        dual_vars = {"tvV", "tvCl", "tvKa", "eps"};
        g.saDualFixef = {"tvV", "tvKa"};
        g.saDualError = {"eps"};
        AddFixef("tvV");
        AddFixef("tvCl", true);
        AddFixef("dVdWt", false, 3);
        AddFixef("tvKa", false, 5);
        AddError("eps");
        AddError("eps2", true);
    }

    static std::vector<std::string> Macros() { return {macros.begin(), macros.end()}; }
};

} // namespace

TEST_F(GlobalsTest, StaticsOfDataColumnsAndDosesAndOneDerivative) {
    TimeBased();
    g.nDelayCount = 1;
    g.saInterpolate = {"cp"};
    g.saCovariates = {"wt", "cp"};
    g.saCVMean = {"wt"};
    g.saCVMedian = {"age"};
    g.saInitialDose = {"A1_init"};
    g.saAssigned = {"t", "cp", "A1_init", "wt"};
    g.saDeriv = {"A"};
    std::string text = Gen();
    EXPECT_IN_ORDER(text, {"static double t;\n\n",
                           "static double _T0_cp, _T1_cp;\t// time points for interpolating cp\n"
                           "static double _0cp, _1cp;\t\t// end point values for interpolating cp\n"
                           "#define cp _interpolate(t, _T0_cp, _0cp, _T1_cp, _1cp)\n"
                           "static double _initial_cp;\n"
                           "#define THERE_ARE_INTERPOLATED_COVARIATES\n"
                           "static double wt;\nstatic double _initial_wt;\n"
                           "static double _mean_wt;\nstatic double _median_age;\n"
                           "static double A1_init;\n"
                           "static bool reset_thetas_to_init = true;\n\n"
                           "constexpr bool HasDelay()\n{\n    return true;\n}\n\n",
                           // with derivatives alone the extra integrator follows them
                           "#define    _A_irate globalIRate[0]\n\n\n"
                           "// zzY[1] is extra integrator for infusions\n\n"});
    for (char const* absent :
         {"// urine accumulators", "// transit2 compartment", "// event hazard accumulators"})
        EXPECT_EQ(std::string::npos, text.find(absent)) << absent;
    EXPECT_EQ(0, CountOf(text, "static double cp;"));
    EXPECT_EQ(1, CountOf(text, "static double t;"));
    // statics are declared names: the assignments of the same names get no member
    for (char const* member :
         {"    double t;\n", "    double cp;\n", "    double A1_init;\n", "    double wt;\n"})
        EXPECT_EQ(0, CountOf(text, member)) << member;
    // interpolated covariates come first in the macros
    EXPECT_EQ((std::vector<std::string>{"cp", "A", "zzR_A", "_A_irate"}), Macros());
}

TEST_F(GlobalsTest, ModelThatIsNotTimeBasedHasNoStateMacrosAndNoDelay) {
    g.nDelayCount = 1;
    g.saInterpolate = {"cp"};
    g.saDeriv = {"Ac"};
    g.saObserved = {"E"};
    std::string text = Gen();
    EXPECT_IN_ORDER(text,
                    {"static bool reset_thetas_to_init = true;\n\n"
                     "constexpr bool HasDelay()\n{\n    return false;\n}\n\n#if NFIXEF > 0\n"});
    // no unit slot for the time either
    EXPECT_IN_ORDER(text,
                    {"}\n\nconst char* _E_Units;\nconst char* _cp_Units;\nvoid ClearUnits(){\n"});
    for (char const* absent : {"static double t;", "#define THERE_ARE_INTERPOLATED_COVARIATES",
                               "#define     Ac", "extra integrator", "DelayTable<", "_t_Units"})
        EXPECT_EQ(std::string::npos, text.find(absent)) << absent;
    EXPECT_TRUE(Macros().empty());
}

TEST_F(GlobalsTest, StateMacrosNumberTheSlotsInVectorOrder) {
    TimeBased();
    g.saDeriv = {"Ac", "At"};
    g.saUrine = {"Au"};
    g.saTransit2 = {"D"};
    g.saTransit = {"Tr", "Ts"};
    g.saEvent = {"hz"};
    AddTransit("Tr", 3);
    AddTransit("Ts", 2.9); // truncated to 2 stages
    EXPECT_IN_ORDER(Gen(),
                    {"constexpr bool HasDelay()\n{\n    return false;\n}\n\n"
                     "// compartment integrators\n"
                     "#define     Ac       zzY[0]\n#define zzR_Ac       zzR[0]\n"
                     "#define    _Ac_irate globalIRate[0]\n\n"
                     "#define     At       zzY[1]\n",
                     "#define    _At_irate globalIRate[1]\n\n"
                     "// urine accumulators\n#define     Au       zzY[2]\n",
                     "#define    _Au_irate globalIRate[2]\n\n"
                     "// transit2 compartment\n#define     D       zzY[3]\n",
                     "#define    _D_irate globalIRate[3]\n"
                     "// transit Tr variables\n"
                     "static double zzK_Tr;\nstatic double zzN_Tr;\nstatic double zzMTT_Tr;\n"
                     "static   int zzI_Tr;\nstatic double zzF_Tr;\n"
                     "#define     Tr       zzY[4]\n#define zzR_Tr       zzR[4]\n"
                     "#define    _Tr_irate globalIRate[4]\n"
                     "#define zzYx_Tr   zzY[5]\n#define zzRx_Tr   zzR[5]\n"
                     "#define zzYi_Tr(i)   zzY[6+(i)]\n#define zzRi_Tr(i)   zzR[6+(i)]\n\n"
                     "template <typename NUM>\n"
                     "inline void AddBolus_Tr(double _v, NUM * zzY)\n"
                     "{\n    zzYi_Tr(zzI_Tr) += _v;\n}\n\n"
                     "// transit Ts variables\n",
                     "#define     Ts       zzY[9]\n",
                     "#define zzYx_Ts   zzY[10]\n#define zzRx_Ts   zzR[10]\n"
                     "#define zzYi_Ts(i)   zzY[11+(i)]\n",
                     "}\n\n// event hazard accumulators\n"
                     "#define     _ht_hz       zzY[13]\n#define zzR__ht_hz       zzR[13]\n"
                     "#define    __ht_hz_irate globalIRate[13]\n\n\n"
                     "// zzY[14] is extra integrator for infusions\n\n#if NFIXEF > 0\n"});
    // clang-format off
    std::vector<std::string> const expected = {
        "Ac", "zzR_Ac", "_Ac_irate", "At", "zzR_At", "_At_irate", "Au", "zzR_Au", "_Au_irate",
        "D", "zzR_D", "_D_irate",
        "Tr", "zzR_Tr", "_Tr_irate", "zzYx_Tr", "zzRx_Tr", "zzYi_Tr", "zzRi_Tr",
        "Ts", "zzR_Ts", "_Ts_irate", "zzYx_Ts", "zzRx_Ts", "zzYi_Ts", "zzRi_Ts",
        "_ht_hz", "zzR__ht_hz", "__ht_hz_irate"};
    // clang-format on
    EXPECT_EQ(expected, Macros());
}

TEST_F(GlobalsTest, MemberTypesFollowDualityInThetaAndEta) {
    dual_vars_fixef = {"dd", "G", "S2"};
    dual_vars_ranxef = {"dd", "V", "C"};
    cfs = {"A1"};
    g.saDoubles = {"dd"};
    g.saDeriv = {"Ac"};
    g.saGroup = {"G", "Ac"};
    g.saStruct = {"V", "Cl", "tvKa", "S2"};
    g.naStparmDuplicatesFixef = {0, 0, 1, 0};
    g.saSecondary = {"half", "G"};
    g.saAssigned = {"dd", "tvKa", "C", "A1", "Ac", "Cl"};
    std::string cls = Between(Gen(), "struct model_data\n", "\n    model_data()");
    EXPECT_IN_ORDER(cls, {"    DualType dd;\n    ThetaType G;\n    ThetaType _initial_G;\n"
                          "    EtaType V;\n    EtaType _initial_V;\n"
                          "    double Cl;\n    double _initial_Cl;\n"
                          "    ThetaType S2;\n    ThetaType _initial_S2;\n"
                          "    double half;\n    double tvKa;\n    EtaType C;\n"});
    // the duplicate of a fixed effect has no member of its own, and no initial value
    EXPECT_EQ(0, CountOf(cls, "_initial_tvKa"));
    // each name once; integrators and closed-form outputs get none
    for (char const* once : {" dd;", " G;", " V;", " Cl;", " half;", " tvKa;", " C;"})
        EXPECT_EQ(1, CountOf(cls, once)) << once;
    EXPECT_EQ(0, CountOf(cls, " Ac;"));
    EXPECT_EQ(0, CountOf(cls, " A1;"));
}

TEST_F(GlobalsTest, ThetasFrozenDisabledAndDualWithTheirCounts) {
    AddThetaMix();
    g.bAllowGaussianFit = 1;
    std::string text = Gen();
    EXPECT_IN_ORDER(
        text,
        {"struct base_data\n{\n",
         "    for (const int * i = ii; i < ii + size; i++) {\n"
         "        if (*i == 3) _enabled_fixefs[2] = 1; // dVdWt\n"
         "        if (*i == 5) _enabled_fixefs[3] = 1; // tvKa\n    }\n}\n",
         "    DualType globalIRate[N_ODE];\n\n"
         "    ThetaType & tvV;\n    double & tvCl;\n    double & dVdWt;\n    ThetaType & tvKa;\n"
         "    ThetaType & eps;\n    double & eps2;\n\n\n",
         "\n    model_data() :\n"
         "        tvV(theta_store<ThetaType>(0)),\n        tvCl(theta_store<double>(1)),\n"
         "        dVdWt(enabled_theta<double>(2)),\n        tvKa(enabled_theta<ThetaType>(3)),\n"
         "        eps(theta_store<ThetaType>(4)),\n        eps2(theta_store<double>(5))\n"
         "    {\n    }\n\n",
         "\ntemplate<>\nconst AD_Mode model_data<DualTheta, double>::ad_mode = AD_Mode::THETA_DUAL;\n",
         "MODEL_TEMPLATE_PARAMETER_LIST\n"
         "void MODEL_CLASS_DECL::init_fixef(const double * fxf)\n{\n"
         "    tvV = fxf[0];\n    tvCl = fxf[1];\n    dVdWt = fxf[2];\n    tvKa = fxf[3];\n"
         "    eps = fxf[4];\n    eps2 = fxf[5];\n}\n\n"
         "template <>\n"
         "void model_data<DualTheta, double>::init_fixef(const double * fxf)\n{\n"
         "    tvV = DualTheta(fxf[0]);\n    tvV.b[0] = 1;\n    tvCl = fxf[1]; // frozen\n"
         "    dVdWt = fxf[2];\n    tvKa = DualTheta(fxf[3]);\n    tvKa.b[1] = 1;\n"
         "    eps = DualTheta(fxf[4]);\n    eps.b[2] = 1;\n    eps2 = fxf[5]; // frozen\n}\n\n",
         "static void copy_grad(const DualTheta & ll, double grad[])\n{\n",
         // the gradient index counts all free thetas, the dual index only the dual ones
         "    grad[0] += ll.b[0]; // tvV\n    // tvCl\n    // dVdWt\n"
         "    if (_is_fixef_enabled(3)) grad[2] += ll.b[1]; // tvKa\n"
         "    grad[3] += ll.b[2]; // eps\n    // eps2\n}\n\n",
         "static void capture_pred(int obsIndex, DualTheta _ypred, const DualTheta & _vfunc)\n",
         "    int theta_idx = 0;\n"
         "    AccumulatePredGrad(obsIndex, theta_idx++, _ypred.b[0], _vfunc.b[0]); // tvV\n"
         "    // frozen tvCl\n    if (_is_fixef_enabled(2)) theta_idx++; // dVdWt\n"
         "    if (_is_fixef_enabled(3)) AccumulatePredGrad(obsIndex, theta_idx++, _ypred.b[1], "
         "_vfunc.b[1]); // tvKa\n"
         "    AccumulatePredGrad(obsIndex, theta_idx++, _ypred.b[2], _vfunc.b[2]); // eps\n"
         "    // frozen eps2\n}\n"});
    EXPECT_EQ(std::string::npos, text.find("AD_Mode::ETA_DUAL"));
    EXPECT_EQ(std::string::npos, text.find("DualEta"));
    // the counts leave out frozen and disabled thetas
    std::string const fixefs = "\t_n--; // tvCl frozen\n"
                               "\tif (!_is_fixef_enabled(2)) _n--; // dVdWt disabled?\n"
                               "\tif (!_is_fixef_enabled(3)) _n--; // tvKa disabled?\n";
    EXPECT_IN_ORDER(text, {"// if gaussian alg is allowed, but not being used, set this to 0\n"
                           "// so that the main standard deviation is treated as a theta\n"
                           "int _bUsingGaussianAlgorithm = 1;\n",
                           "\t_bUsingGaussianAlgorithm = *_pBool;\n",
                           "// get number of theta minus possibly 1 sigma to estimate\n"
                           "int GetNThetaOld()\n{\n"
                           "\tint _n = 4 + 2; // number of fixefs + number of epsilons\n"
                           "\t// don't count any frozen or disabled thetas\n" +
                               fixefs +
                               "\t// if using a gaussian alg, don't treat the last stdev as a "
                               "theta\n\tif (_bUsingGaussianAlgorithm)\n\t\t_n--;\n\treturn _n;\n",
                           "// get number of theta to estimate\nint GetNTheta()\n{\n"
                           "\tint _n = 4 + 2; // number of fixefs + number of epsilons\n"
                           "\t// don't count any frozen or disabled fixefs\n" +
                               fixefs +
                               "\t// don't count any frozen errors\n\t_n--; // eps2 frozen\n"
                               "\treturn _n;\n",
                           "// get number of sigma to estimate, 0 or 1\nint GetNSigma()\n{\n"
                           "\tint _n = 1; // number of free epsilons\n"
                           "\t// if not using a gaussian alg, treat the last stdev as a theta\n"
                           "\tif (! _bUsingGaussianAlgorithm)\n\t\t_n--;\n"
                           "\treturn (_n > 0 ? 1 : 0);\n",
                           "void GetThetaDualMask(int * mask)\n{\n\tint _n = 0;\n"
                           "\tmask[_n++] = 1; // tvV\n"
                           "\tif (_is_fixef_enabled(2)) mask[_n++] = 0; // dVdWt\n"
                           "\tif (_is_fixef_enabled(3)) mask[_n++] = 1; // tvKa\n"
                           "\tmask[_n++] = 1; // eps\n}\n"});
}

TEST_F(GlobalsTest, FixefAndErrorNames) {
    AddFixef("tvV");
    AddFixef("tvCl");
    g.saFixefUnits = {"L", "L/h"};
    AddError("eps");
    g.saSecondary = {"Cl2", "half"};
    std::string text = Gen();
    EXPECT_IN_ORDER(text,
                    {"void GetFixefName(int *_pi, char* _nm)\n{\n    _nm[0] = 0;\n"
                     "\n    const int fixefCount = 3;\n",
                     "    static const char * names[fixefCount] = {\n"
                     "        \"tvV\",\n        \"tvCl\",\n        \"eps\"\n    };\n\n"
                     "\tstrcpy(_nm, names[*_pi]);\n}\n\n"
                     "void GetFixefUnits(int *_pi, char* _nm)\n{\n    _nm[0] = 0;\n"
                     "\n    const int fixefCount = 2;\n",
                     "        \"L\",\n        \"L/h\"\n    };\n\n"
                     "\tstrcpy(_nm, names[*_pi]);\n}\n\n"
                     "void GetSecondaryName(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0){\n"
                     "\t} else if (*_pi==0){ strcpy(_nm, \"Cl2\");\n"
                     "\t} else if (*_pi==1){ strcpy(_nm, \"half\");\n\t}\n}\n\n",
                     "void GetErrorName(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0);\n"
                     "\telse if (*_pi==0) strcpy(_nm, \"eps\");\n}\n\n"});
    // a fixed effect out of range leaves the name empty
    std::string check = Between(text, "const int fixefCount = 3;\n", "static const char");
    EXPECT_NE(std::string::npos, check.find("*_pi < 0 || *_pi >= fixefCount"));
}

TEST_F(GlobalsTest, ModelWithoutThetasOrTime) {
    g.bAllowGaussianFit = 0;
    std::string text = Gen();
    EXPECT_IN_ORDER(text,
                    {"    DualType globalIRate[N_ODE];\n\n\n\n\n"
                     "    model_data()\n    {\n    }\n\npublic:\n",
                     "};\n\n#ifdef CAN_DUAL\ntemplate<>\n"
                     "const AD_Mode model_data<double, double>::ad_mode = AD_Mode::REAL;\n"
                     "#else\nconst AD_Mode model_data::ad_mode = AD_Mode::REAL;\n#endif\n\n"
                     "MODEL_TEMPLATE_PARAMETER_LIST\n"
                     "void MODEL_CLASS_DECL::init_fixef(const double * fxf)\n{\n}\n\n"
                     "MODEL_TEMPLATE_PARAMETER_LIST\n"
                     "void MODEL_CLASS_DECL::init_ranef(const double * ran)\n{\n}\n\n"
                     "\ninline void copy_grad(double ll, double grad[])\n{\n}\n"
                     "\ntemplate <typename NUM>\ninline void capture_pred(int obsIndex, "
                     "const NUM & _ypred, const NUM & _sqrtvf)\n{\n}\n\n"
                     "void GetFixefName(int *_pi, char* _nm)\n{\n    _nm[0] = 0;\n}\n\n"
                     "void GetFixefUnits(int *_pi, char* _nm)\n{\n    _nm[0] = 0;\n}\n\n",
                     "int _bUsingGaussianAlgorithm = 0;\n", "void GetOdeRanefs(int *_pi)\n{\n}\n\n",
                     "void ClearUnits(){\n}\n\n"
                     "void SetVarUnits(const char* _nm, const char* _units)\n{\n}\n\n"});
    EXPECT_EQ("}\n\n", text.substr(text.size() - 3));
    for (char const* absent : {"struct base_data", "model_data() :", "DualTheta(fxf",
                               "copy_grad(const", "AccumulatePred", "init_ranef_mapping", "zzY[0]",
                               "seq_state", "event_sim", "_bUsingGaussianAlgorithm)"})
        EXPECT_EQ(std::string::npos, text.find(absent)) << absent;
}

TEST_F(GlobalsTest, DualRandomEffects) {
    dual_vars = {"nV", "nKa"};
    g.saRanef1 = {"nOcc"};
    g.saRanef2 = {"nR2"};
    g.saRanef5 = {"nV", "nCl", "nKa"};
    g.saDualRanef5 = {"nV", "nKa"};
    std::string text = Gen();
    std::string const empty = "(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0);\n}\n\n";
    EXPECT_IN_ORDER(
        text,
        {"struct base_data\n{\n",
         "    DualType globalIRate[N_ODE];\n\n\n"
         "    double nOcc;\n    double nR2;\n    EtaType nV;\n    double nCl;\n    EtaType nKa;\n\n",
         "\ntemplate<>\nconst AD_Mode model_data<double, DualEta>::ad_mode = AD_Mode::ETA_DUAL;\n",
         "MODEL_TEMPLATE_PARAMETER_LIST\n"
         "void MODEL_CLASS_DECL::init_ranef(const double * ran)\n{\n"
         "    nV = ran[0];\n    nCl = ran[1];\n    nKa = ran[2];\n}\n\n"
         "template <>\nvoid model_data<double, DualEta>::init_ranef(const double * ran)\n{\n"
         "    nV = DualEta(ran[0]);\n    nV.b[0] = 1;\n    nCl = ran[1];\n"
         "    nKa = DualEta(ran[2]);\n    nKa.b[1] = 1;\n}\n\n",
         "void copy_grad(const DualEta & ll, double grad[])\n{\n",
         "    grad[0] += ll.b[0]; // nV\n    // nCl\n    grad[2] += ll.b[1]; // nKa\n}\n\n",
         "static void capture_pred(int obsIndex, DualEta _ypred, const DualEta & _sqrtvf)\n",
         "AccumulatePredEtaGrad(obsIndex, dualToEta[j], _ypred.b[j]);\n",
         "void GetRanef1Name(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0){\n"
         "\t} else if (*_pi==0){ strcpy(_nm, \"nOcc\");\n\t}\n}\n\n"
         "void GetRanef2Name(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0);\n"
         "\telse if (*_pi==0) strcpy(_nm, \"nR2\");\n}\n\n"
         "void GetRanef3Name" +
             empty + "void GetRanef4Name" + empty +
             "void GetRanef5Name(int *_pi, char* _nm)\n{\n\t_nm[0] = 0;\n\tif (0);\n"
             "\telse if (*_pi==0) strcpy(_nm, \"nV\");\n"
             "\telse if (*_pi==1) strcpy(_nm, \"nCl\");\n"
             "\telse if (*_pi==2) strcpy(_nm, \"nKa\");\n}\n\n"
             "void GetOdeRanefs(int *_pi)\n{\n"
             "\t*_pi++ = 1; // nV\n\t*_pi++ = 0; // nCl\n\t*_pi++ = 1; // nKa\n}\n\n"
             "void GetErrorName" +
             empty});
    for (char const* absent :
         {"THETA_DUAL", "DualTheta(fxf", "copy_grad(const DualTheta", "AccumulatePredGrad("})
        EXPECT_EQ(std::string::npos, text.find(absent)) << absent;
}

TEST_F(GlobalsTest, SequencesEventsAndTables) {
    TimeBased();
    g.saDeriv = {"Ac"};
    dual_vars = {"Ac"};
    AddStatements(CN_SEQUENCE, 2);
    AddStatements(CN_EVENT, 1);
    // delays: one whose sum holds a dual name, one where it is hidden in a power, which
    // CountContains does not enter
    N d0 = std::make_shared<CNode>(CN_ADD, Var("Ac"), Num(1));
    N d1 = std::make_shared<CNode>(CN_POW, Var("Ac"), Num(2));
    d0->iDelayTable = 0;
    d1->iDelayTable = 1;
    g.paDelayNodes = {d0, d1};
    g.nDelayCount = 2;
    N p0 = std::make_shared<CNode>(CN_PEAK, "Cmax", Var("C"), nullptr, nullptr);
    p0->iPeakTable = 0;
    N p1 = std::make_shared<CNode>(CN_PEAK, "Cmin", Var("Ac"), nullptr, nullptr);
    p1->iPeakTable = 1;
    g.paPeakNodes = {p0, p1};
    g.nPeakCount = 2;
    EXPECT_IN_ORDER(
        Gen(), {"constexpr bool HasDelay()\n{\n    return true;\n}\n",
                "\n    int seq_state[2] = {0};\n\n    void sequence_init()\n    {\n"
                "        std::fill_n(seq_state, 2, 0);\n    }\n\n"
                "    void sequence_0_action(double t_);\n"
                "    void sequence_1_action(double t_);\n",
                "    struct event_sim\n", "        double _dt;", "// length of time slice\n",
                "        double _max_time;", "// if >= 0, time limit\n", "        int _state;\n",
                "        bool _dropout;", "// set non-zero if dropping out due to event\n",
                "    event_sim event_data[1] = {0};\n\n    void event_init()\n    {\n"
                "        std::fill_n(event_data, 1, event_sim(_dMaxTime));\n    }\n"
                "    void event_0_action(double t_);\n\n"
                "    DelayTable<DualType> _delayTable_0;\n"
                "    DelayTable<double> _delayTable_1;\n\n"
                "    PeakTable<double> _peakTable_0;\n"
                "    PeakTable<DualType> _peakTable_1;\n\n    model_data()\n"});
}

TEST_F(GlobalsTest, PeakTablesWithoutDelays) {
    TimeBased();
    g.saDeriv = {"Ac"};
    N p0 = std::make_shared<CNode>(CN_PEAK, "Cmax", Var("C"), nullptr, nullptr);
    p0->iPeakTable = 0;
    g.paPeakNodes = {p0};
    g.nPeakCount = 1;
    std::string text = Gen();
    EXPECT_IN_ORDER(text, {"    return false;\n",
                           "\n    PeakTable<double> _peakTable_0;\n\n    model_data()\n"});
    EXPECT_EQ(std::string::npos, text.find("DelayTable<"));
}

TEST_F(GlobalsTest, UnitSlotsEachNameOnce) {
    TimeBased();
    g.saObserved = {"CObs"};
    g.saDosepoints1 = {"Aa"};
    g.saDosepoints2 = {"Aa"};
    g.saCovariates = {"wt", "cp"};
    g.saInterpolate = {"cp", "tv"};
    g.saInitialDose = {"A0"};
    std::string text = Gen();
    std::string slots, clear;
    for (char const* nm : {"t", "CObs", "Aa", "wt", "cp", "tv", "A0"}) {
        slots += "const char* _" + std::string(nm) + "_Units;\n";
        clear += "\t_" + std::string(nm) + "_Units = \"\";\n";
    }
    EXPECT_IN_ORDER(text, {slots + "void ClearUnits(){\n" + clear + "}\n\n" +
                               "void SetVarUnits(const char* _nm, const char* _units)\n{\n"
                               "    if (_nm[0] == 't' && strcmp(_nm, \"t\") == 0)\n"
                               "    {\n        _t_Units = _units;\n        return;\n    }\n"
                               "    if (_nm[0] == 'C' && strcmp(_nm, \"CObs\") == 0)\n",
                           "    if (_nm[0] == 'A' && strcmp(_nm, \"A0\") == 0)\n"
                           "    {\n        _A0_Units = _units;\n        return;\n    }\n}\n\n"});
    EXPECT_EQ(1, CountOf(text, "const char* _Aa_Units;"));
    EXPECT_EQ(1, CountOf(text, "const char* _cp_Units;"));
}

TEST_F(GlobalsTest, HasDualVarsCountsArithmeticUsesOnly) {
    dual_vars = {"V"};
    N call = std::make_shared<CNode>(CN_CALL, "exp");
    call->list.push_back(Var("V"));
    EXPECT_TRUE(has_dual_vars(std::make_shared<CNode>(CN_ADD, Var("a"), Var("V"))));
    EXPECT_TRUE(has_dual_vars(call));
    EXPECT_FALSE(has_dual_vars(std::make_shared<CNode>(CN_POW, Var("V"), Num(2))));
    EXPECT_FALSE(has_dual_vars(Var("W")));
    EXPECT_FALSE(has_dual_vars(nullptr));
}
