// The observation tables and prediction routines: every table follows the observation index,
// the order of the exchange sort on the statement kind; after actions are flagged in text
// order; doubles are printed as real numbers in a dual model; and the records of
// new_get_pred count observe statements first, then multi statements.
#include "gen_test_support.h"

#include <string>
#include <vector>

namespace {

// In text order: event a, event b, count n, observe c, LL d, observe e.
char const* const kSixObservations = "test() {\n"
                                     "    deriv(A = -k * A)\n"
                                     "    dosepoint(A)\n"
                                     "    C = A / V\n"
                                     "    D = 2 * A\n"
                                     "    event(a, h, doafter = {A = 0})\n"
                                     "    event(b, h, dropout)\n"
                                     "    count(n, h, beta = 2)\n"
                                     "    observe(c = C + eps2, bql = 0.5, doafter = {A = 1})\n"
                                     "    LL(d, -C, simulate = {d = 1})\n"
                                     "    observe(e = D + eps1, aql = 10)\n"
                                     "    h = 0.1\n"
                                     "    k = 1\n"
                                     "    stparm(V = tvV)\n"
                                     "    fixef(tvV = 10)\n"
                                     "    error(eps1 = 0.1, eps2(freeze) = 0.2)\n"
                                     "}\n";

// The sort by hand, kinds observe < LL < event < count:
//   i=0: a>c swaps        c b n a d e
//   i=1: b>d, d>e swap    c e n a b d
//   i=2: n>a, a>d swap    c e d n b a
//   i=3: n>b swaps        c e d b n a
//   i=4: n>a swaps        c e d b a n   (b before a: equal kinds change places)
struct Row {
    char const* name;
    char const* type;
    char const* limits;
};

std::vector<Row> const kSorted = {
    {"c", "ObsType::Gaussian", "{0.5, 0}"}, {"e", "ObsType::Gaussian", "{0, 10}"},
    {"d", "ObsType::LL_cat", "{0, 0}"},     {"b", "ObsType::Event", "{0, 0}"},
    {"a", "ObsType::Event", "{0, 0}"},      {"n", "ObsType::Count", "{0, 0}"},
};

std::string Head(char const* routine) {
    return std::string("MODEL_TEMPLATE_PARAMETER_LIST\n") + routine +
           "\n{\n\tusing NUM = MODEL_CLASS_DECL::DualType;\n\n\tNUM * zzY = globalY;\n\n";
}

std::string NameTest(char const* name) {
    return std::string("    if (_nm[0] == '") + name[0] + "' && strcmp(_nm, \"" + name +
           "\") == 0)\n    {\n";
}

class ObsTablesTest : public GenTest {
  protected:
    std::string Gen(CGenCode& gen, void (CGenCode::*routine)()) { return GenText(gen, routine); }

    std::string Names(CGenCode& gen, int code) {
        return GenText(gen, [&] { gen.GenObsAndPredNameCode(code); });
    }
};

TEST_F(ObsTablesTest, EveryTableFollowsTheObservationIndex) {
    auto gen = AnalysedModel(kSixObservations);
    ASSERT_TRUE(gen);
    std::string number =
        "int GetObservationNumber(const char* _nm)\n{\n\tint _i = -1;\n\tif (0);\n";
    std::string name = "const char * GetObservationName(int* _pi)\n{\n\tif (0);\n";
    std::string type =
        "ObsType GetObservationType(int * _pi)\n{\n\tObsType _type = ObsType::Unknown;\n\tif (0);\n";
    std::string limits = "void GetObservationBqlLimit(int _i, double & _bqllimit, double & "
                         "_uqllimit)\n{\n    static const std::pair<double, double> limits[] = {\n";
    std::string obsName = "void GetObsName(int* _iWhichObs, char* _nm)\n{\n\t_nm[0] = '\\0';\n\tif "
                          "(0);\n";
    std::string ivar = "void GetIVarName(int* _iWhichObs, char* _nm)\n{\n\t_nm[0] = '\\0';\n\tif "
                       "(0);\n";
    std::vector<std::string> blocks;
    for (size_t k = 0; k < kSorted.size(); k++) {
        Row const& r = kSorted[k];
        std::string i = std::to_string(k), nm = r.name;
        number += "\telse if (strcmp(_nm, \"" + nm + "\")==0) _i = " + i + ";\n";
        name += "\telse if (*_pi == " + i + ") return \"" + nm + "\";\n";
        type += "\telse if (*_pi == " + i + ") _type = " + r.type + ";\n";
        limits += std::string("        ") + r.limits + ", // " + nm + "\n";
        obsName += "\telse if (*_iWhichObs == " + i + ") strcpy(_nm, \"" + nm + "\");\n";
        ivar += "\telse if (*_iWhichObs == " + i + ") strcpy(_nm, \"t\");\n";
        blocks.push_back(NameTest(r.name));
    }
    EXPECT_EQ("int GetNumObservations()\n{\n\treturn 6;\n}\n\n" + number + "\treturn _i;\n}\n\n" +
                  name + "\treturn \"\";\n}\n\n" + type + "\treturn _type;\n}\n\n" + limits +
                  "    };\n    if (_i < 0 || _i >= 6) return;\n"
                  "    _bqllimit = limits[_i].first;\n    _uqllimit = limits[_i].second;\n}\n\n",
              Gen(*gen, &CGenCode::GenGetObservationNumber));
    EXPECT_EQ(obsName + "}\n\n", Names(*gen, 2));
    EXPECT_EQ(ivar + "}\n\n", Names(*gen, 4));
    // The LL statement has a simulation action, so every statement has a block here.
    std::string tables = Gen(*gen, &CGenCode::GenObservationSimTblCode);
    EXPECT_IN_ORDER(tables, {blocks[0], blocks[1], blocks[2], blocks[3], blocks[4], blocks[5]});
}

// Only observe statements: the mean's text, the variance function, the count of Gaussian
// observations and the error of each, c with eps2 (frozen) and e with eps1.
TEST_F(ObsTablesTest, ObserveTablesUseTheIndexOfTheStatement) {
    auto gen = AnalysedModel(kSixObservations);
    ASSERT_TRUE(gen);
    std::string const head = "\t_nm[0] = '\\0';\n\tif (0);\n";
    EXPECT_EQ("void GetPredName(int* _iWhichObs, char* _nm)\n{\n" + head +
                  "\telse if (*_iWhichObs == 0) strcpy(_nm, \"C\");\n"
                  "\telse if (*_iWhichObs == 1) strcpy(_nm, \"D\");\n}\n\n",
              Names(*gen, 3));
    EXPECT_EQ(Head("void MODEL_CLASS_DECL::get_obs_vf(int* _iWhichObs, double* _vf)") +
                  "\t*_vf = 1;\n\tif (0);\n"
                  "\telse if (*_iWhichObs == 0){\n\t\tconst double _std = 0.2; // eps2 is frozen\n"
                  "\t\t*_vf = (double)1.0;\n\t}\n"
                  "\telse if (*_iWhichObs == 1){\n\t\tconst auto & _std = eps1;\n"
                  "\t\t*_vf = (double)1.0;\n\t}\n}\n\n",
              Names(*gen, 5));
    EXPECT_EQ("void GetNumGaussianObs(int* _nGaussianObs)\n{\n"
              "\t(*_nGaussianObs)++; /* c */\n\t(*_nGaussianObs)++; /* e */\n}\n\n",
              Names(*gen, 6));
    EXPECT_EQ("int GetPredObsError(int _iObs)\n{\n\tint _iError = -1;\n\tif (0){\n"
              "\t} else if (_iObs == 0){\n\t\t_iError = 1;\n"
              "\t} else if (_iObs == 1){\n\t\t_iError = 0;\n"
              "\t}\n\treturn _iError;\n}\n\n"
              "double GetPredVFCorrectionFactor(int _iError)\n{\n\tint _nFixef = 1;\n"
              "\tint _iLastFreeError = 0;\n\tint _bErrorFrozen = 0;\n"
              "\tdouble _vfCorrectionFactor = 1;\n"
              "\tif (_iError != _iLastFreeError){\n"
              "\t\tdouble _dThisSigma = _fixef[_nFixef + _iError];\n"
              "\t\tif (_dThisSigma != 0) _vfCorrectionFactor = _dMainSigma / _dThisSigma;\n"
              "\t}\n\treturn _vfCorrectionFactor;\n}\n\n",
              Gen(*gen, &CGenCode::GenPredVFCorrectionFactor));
    std::string tables = Gen(*gen, &CGenCode::GenObservationSimTblCode);
    EXPECT_IN_ORDER(tables, {NameTest("c"), "_eps = norm() * _fixef[2]; // get a N(0,stdev)\n",
                             NameTest("e"), "_eps = norm() * _fixef[1]; // get a N(0,stdev)\n"});
    std::string pred = Gen(*gen, &CGenCode::GradientProcessing32);
    EXPECT_EQ(2, CountOf(pred, "strcmp(_nm")); // LL, event and count have no block
    EXPECT_IN_ORDER(pred,
                    {NameTest("c"), "\t\t_dVFCorrectionFactor = GetPredVFCorrectionFactor(1);\n",
                     "\t\t\tRecordObservation(_t, curTimeLastDose, iCurWhichDose, "
                     "iCurWhichReset, (double)_ypred, _v1, (double)_var, 0);\n",
                     NameTest("e"), "GetPredVFCorrectionFactor(0);\n",
                     "(double)_ypred, _v1, (double)_var, 1);\n"});
}

// The flags and end_obs_actions go by the text: a before c, where the index has c first.
TEST_F(ObsTablesTest, AfterActionsAreFlaggedAndRunInTextOrder) {
    auto gen = AnalysedModel(kSixObservations);
    ASSERT_TRUE(gen);
    auto action = [](char const* nm, char const* value) {
        std::string flag = std::string("triggerEndObs_") + nm;
        return "\tif (" + flag + "){\n\t\t" + flag + " = 0;\n\t\tbDidActions = 1;\n" +
               "\t\t\t{\n\t\t\t\tA = " + value + ";\n\t\t\t}\n\t\teval_sparams(zzY);\n\t}\n";
    };
    EXPECT_EQ("int triggerEndObs_a = 0;\nint triggerEndObs_c = 0;\n\n" +
                  Head("void MODEL_CLASS_DECL::end_obs_actions()") + "\tint bDidActions = 0;\n" +
                  action("a", "0.0") + action("c", "1.0") +
                  "\tif (bDidActions && odeState==ODESTATE_UNDERWAY) odeState = "
                  "ODESTATE_CHANGE;\n}\n\n",
              Gen(*gen, &CGenCode::GenEndObsCode));
    std::string const trigger = "        // trigger after-obs action\n        triggerEndObs_";
    std::string tables = Gen(*gen, &CGenCode::GenObservationSimTblCode);
    EXPECT_IN_ORDER(tables,
                    {NameTest("c"), trigger + "c = 1;\n", NameTest("a"), trigger + "a = 1;\n"});
    EXPECT_EQ(2, CountOf(tables, trigger));
    std::string pred = Gen(*gen, &CGenCode::GradientProcessing32);
    EXPECT_IN_ORDER(pred,
                    {"\t\t(*pnObs)++; // count all observations\n\t\tif (doActions)\n\t\t{\n"
                     "\t\t\t// trigger after-obs action\n\t\t\ttriggerEndObs_c = 1;\n\t\t}\n"});
}

TEST_F(ObsTablesTest, ModelWithoutObservations) {
    std::string numbers = Gen(g, &CGenCode::GenGetObservationNumber);
    EXPECT_IN_ORDER(numbers, {"int GetNumObservations()\n{\n\treturn 0;\n}\n\n",
                              "void GetObservationBqlLimit(int _i, double & _bqllimit, double & "
                              "_uqllimit)\n{\n}\n\n"});
    EXPECT_EQ(Head("void MODEL_CLASS_DECL::end_obs_actions()") + "}\n\n",
              Gen(g, &CGenCode::GenEndObsCode));
    EXPECT_EQ("int GetPredObsError(int _iObs)\n{\n\tint _iError = -1;\n\tif (0){\n\t}\n"
              "\treturn _iError;\n}\n\n"
              "double GetPredVFCorrectionFactor(int _iError)\n{\n\tint _nFixef = 0;\n"
              "\tint _iLastFreeError = -1;\n\tint _bErrorFrozen = 0;\n"
              "\tdouble _vfCorrectionFactor = 1;\n\treturn _vfCorrectionFactor;\n}\n\n",
              Gen(g, &CGenCode::GenPredVFCorrectionFactor));
}

// Not time-based: the records pass the independent variable, or curTime, as both times. The
// index of the records counts c, then the multi statements m and m3.
TEST_F(ObsTablesTest, PredictionsOfObserveThenMultiStatements) {
    auto gen = AnalysedModel("test() {\n"
                             "    covariate(x)\n"
                             "    C = x * 2\n"
                             "    multi(m, ilogit, C)\n"
                             "    observe(c(x) = C + eps)\n"
                             "    multi(m3, iprobit, C, C + 1)\n"
                             "    error(eps = 1)\n"
                             "}\n");
    ASSERT_TRUE(gen);
    ASSERT_FALSE(gen->bTimeBased);
    std::string pred = Gen(*gen, &CGenCode::GradientProcessing32);
    EXPECT_IN_ORDER(
        pred,
        {"\tdouble _dVFCorrectionFactor = 1;\n\tdouble _yval[12] = {0};\n"
         "\tdouble _probge[12] = {0};\n\tdouble _prob[12] = {0};\n\tNUM _ypred(0); // predicted "
         "value\n",
         NameTest("c"),
         "\t\t\tRecordObservation(x, x, 0, 0, logfl((double)_ypred), logfl(_v1), (double)1.0, "
         "0);\n\t\t\tcapture_pred(*pnObs, _ypred, NUM(1.0));\n\t\t} else {\n"
         "\t\t\tRecordObservation(x, x, 0, 0, (double)_ypred, _v1, (double)_var, 0);\n",
         NameTest("m"),
         "\t\t// handled because there are just two outcomes\n\t\t_yval[1] = C;\n"
         "\t\t_probge[0] = 1;\n\t\t_probge[1] = ilogit(_yval[1], 1, 1);\n\t\t_probge[2] = 0;\n"
         "\t\t_prob[0] = _probge[0] - _probge[1];\n\t\t_prob[1] = _probge[1] - _probge[2];\n"
         "\t\t\tRecordObservation(curTime, curTime, 0, 0, _prob[1], _v1, "
         "(double)(_prob[1]*(1-_prob[1])), 1);\n\n        return;\n    }\n",
         NameTest("m3"),
         "\t\t// prediction not handled because more than 2 outcomes\n\n        return;\n"});
    EXPECT_EQ("void GetIVarName(int* _iWhichObs, char* _nm)\n{\n\t_nm[0] = '\\0';\n\tif (0);\n"
              "\telse if (*_iWhichObs == 0) strcpy(_nm, \"x\");\n"
              "\telse if (*_iWhichObs == 1) strcpy(_nm, \"\");\n"
              "\telse if (*_iWhichObs == 2) strcpy(_nm, \"\");\n}\n\n",
              Names(*gen, 4));
    std::string tables = Gen(*gen, &CGenCode::GenObservationSimTblCode);
    EXPECT_IN_ORDER(tables,
                    {"\tdouble _probge[12];\n\tconst double t = _t;\n", NameTest("m"),
                     "        _probge[1] = ilogit((double)C, 1, 1);\n", NameTest("m3"),
                     "        _probge[0] = 1;\n        _probge[1] = iprobit((double)C);\n"
                     "        _probge[2] = iprobit((double)(C + 1.0));\n        _probge[3] = 0;\n"
                     "        _u = unif();\n        _ypred1 = 0;\n        if (0);\n"
                     "        else if (_u > _probge[0+1]) _ypred1 = 0;\n"
                     "        else if (_u > _probge[1+1]) _ypred1 = 1;\n"
                     "        else _ypred1 = 2;\n        *_pPred = _probge[1];\n"
                     "        *_pObs = _ypred1;\n"});
}

// A dual C never becomes a double by itself: each double target gets it cast.
TEST_F(ObsTablesTest, DoublesOfADualModelAreCast) {
    dual_vars.insert("C");
    AddError("eps");
    N obs = Statement(CN_OBSERVE);
    obs->name = "c";
    obs->child2 = std::make_shared<CNode>(CN_ADD, Var("C"), Var("eps"));
    N count = Statement(CN_COUNT);
    count->name = "n";
    count->extra = std::make_unique<CNodeExtra>();
    count->extra->beta = Var("C");
    count->extra->power = Num(2);
    count->extra->zprobOrLinkp = Var("C");
    N event = Statement(CN_EVENT);
    event->name = "v";
    event->child1 = Var("h");
    event->child2 = Var("C");
    event->child3 = Num(1);
    g.GetSortedObserveStmts(model, g.paSortedObserve);
    std::string tables = Gen(g, &CGenCode::GenObservationSimTblCode);
    // The sort puts the event before the count.
    EXPECT_IN_ORDER(tables, {"        *_pPred = (double)((double)C + _eps);\n"
                             "        _eps = norm() * _fixef[0]; // get a N(0,stdev)\n"
                             "        *_pObs = (double)((double)C + _eps);\n",
                             "        if (_bDroppingOut) _count = 1;\n"
                             "        *_pPred = (double)_ht_v;\n",
                             "        if (_count > 0 && ((double)C)) {\n",
                             "        int _count = 0;\n        double _u = 0;\n"
                             "        double _zprob = 0;\n        _zprob = (double)C;\n"
                             "        _u = unif();\n        if (_u >= _zprob){\n"
                             "            double _beta = (double)C;\n"
                             "            double _power = 2.0;\n"
                             "            _count = rnegbin((double)_ht_n, _beta, _power); // "
                             "sample the count\n        }\n"});
    EXPECT_EQ(1, CountOf(tables, "double _zprob"));
    EXPECT_EQ(0, CountOf(tables, "rpois")); // the event has an interval, the count a beta
}

// GetObsSigma takes the error from the expression solved for it; one that can't be solved
// ends the run without a message of its own.
TEST_F(ObsTablesTest, ObservationThatCannotBeSolvedEndsTheRun) {
    AddError("eps");
    N obs = Statement(CN_OBSERVE);
    obs->name = "c";
    N call = std::make_shared<CNode>(CN_CALL, "foo");
    call->list.push_back(Var("eps"));
    obs->child2 = std::make_shared<CNode>(CN_ADD, Var("C"), call);
    g.fp = tmpfile();
    EXPECT_EXIT(g.GenRoutineGetObsSigma(false), ::testing::ExitedWithCode(1), "^$");
    fclose(g.fp);
    g.fp = nullptr;
}

} // namespace
