// The parameter routines of Model.cpp: fixed effects, errors and random-effect groups filled
// by hand (statements and lists alike), each routine printed, and its text checked in order.
// One test assembles whole files and compiles them against the engine headers.
#include "modelgen/gen_test_support.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

char const* const kCholesky = "// Caution: omega matrix is assumed to be in lower cholesky form\n";
char const* const kLive = "// Caution: live portion of omega matrix is assumed to be packed in "
                          "lower cholesky form\n";

class PackingTest : public GenTest {
  protected:
    std::string Packing(int mode) {
        return GenText(g, [&] { g.GenRoutinesForPacking(mode); });
    }

    static N Names(std::initializer_list<char const*> names, bool frozen) {
        N list = std::make_shared<CNode>(CN_NAMES);
        for (char const* nm : names)
            list->list.push_back(Var(nm));
        if (frozen) list->child1 = Num(1.0);
        return list;
    }

    // A fixed effect in 'stmt' (a fixef statement) with its bounds, and in the lists.
    void AddFixef(N const& stmt, char const* name, bool frozen = false, int64_t enable = -1,
                  N low = N(), N init = N(), N high = N()) {
        N v = Var(name);
        v->list = {low, init, high};
        stmt->list.push_back(v);
        GenTest::AddFixef(name, frozen, enable, init ? init->value : 1.0);
    }

    // An error statement of one entry, and the name in the lists.
    void AddError(char const* name, double sd, bool frozen = false) {
        N e = std::make_shared<CNode>(CN_VARIANCE_DIAG);
        e->child1 = Names({name}, frozen);
        e->child3 = Values({sd});
        Statement(CN_ERROR)->list.push_back(e);
        GenTest::AddError(name, frozen, sd);
    }

    // A random-effect group in 'stmt' (a level-5 ranef statement), names added to saRanef5.
    void AddGroup(N const& stmt, CNodeType kind, std::initializer_list<char const*> names,
                  N given = N(), N factor = N(), bool frozen = false) {
        N grp = std::make_shared<CNode>(kind);
        grp->child1 = Names(names, frozen);
        grp->child2 = given;
        grp->child3 = factor;
        stmt->list.push_back(grp);
        for (char const* nm : names)
            g.saRanef5.push_back(nm);
    }

    void AddObserve(char const* name, N expr) {
        N obs = Statement(CN_OBSERVE);
        obs->name = name;
        obs->child2 = expr;
    }

    static N Add(N a, N b) { return std::make_shared<CNode>(CN_ADD, a, b); }

    static N Mul(N a, N b) { return std::make_shared<CNode>(CN_MUL, a, b); }

    // tvV free with all three bounds, tvCl frozen, dVdWt gated by enable number 3 with no
    // estimate, tvKa free; errors eps1 free, eps2 frozen, eps3 free and last.
    void AddThetaMix() {
        N fixef = Statement(CN_FIXEF);
        AddFixef(fixef, "tvV", false, -1, Num(0), Num(10), Num(100));
        AddFixef(fixef, "tvCl", true, -1, N(), Num(1), N());
        AddFixef(fixef, "dVdWt", false, 3);
        AddFixef(fixef, "tvKa", false, -1, Num(-1), N(), N());
        AddError("eps1", 0.1);
        AddError("eps2", 0.5, true);
        AddError("eps3", 2);
    }

    // Seven etas: a block of nA, nB (given 4, 2, 5; factor 2, 1, 2), a same group nC, nD, a
    // frozen diagonal nE (9; factor 3); then in a second statement a diagonal nF, nG.
    void AddOmegaMix() {
        N ranef = Statement(CN_RANEF5);
        AddGroup(ranef, CN_RANEF_BLOCK, {"nA", "nB"}, Values({4, 2, 5}), Values({2, 1, 2}));
        AddGroup(ranef, CN_RANEF_SAME, {"nC", "nD"});
        AddGroup(ranef, CN_VARIANCE_DIAG, {"nE"}, Values({9}), Values({3}), true);
        AddGroup(Statement(CN_RANEF5), CN_VARIANCE_DIAG, {"nF", "nG"}, Values({0.5, 0.25}),
                 Values({0.70710678118654757, 0.5}));
    }
};

// The whole text of GenFixefOverrideStuff for fixed effects given as name, low, init, high.
std::string Bounds(std::vector<std::array<std::string, 4>> const& fixefs) {
    std::string statics, restore, set, get;
    for (auto const& f : fixefs) {
        std::string const& n = f[0];
        char const* const parts[] = {"_low  = ", "_init = ", "_high = "};
        for (int k = 0; k < 3; k++) {
            statics += "static double __" + n + parts[k] + f[k + 1] + ";\n";
            restore += "\t__" + n + parts[k] + f[k + 1] + ";\n";
        }
        set += "    if (strcmp(_nm, \"" + n + "\")==0){\n        __" + n + "_low  = *_fixefLow;\n" +
               "        __" + n + "_init = *_fixefInit;\n        __" + n +
               "_high = *_fixefHigh;\n        return;\n    }\n";
        get += "    }\n    if (strcmp(_nm, \"" + n + "\")==0){\n        *_fixefLow  = __" + n +
               "_low;\n        *_fixefInit = __" + n + "_init;\n        *_fixefHigh = __" + n +
               "_high;\n        return;\n";
    }
    std::string const args =
        "(const char* _nm, double* _fixefLow, double* _fixefInit, double* _fixefHigh){\n";
    return statics + "\nvoid RestoreFixefLowInitHighFromModel(){\n" + restore +
           "}\n\nvoid SetFixefLowInitHigh" + args + set + "}\n\nvoid GetFixefLowInitHigh" + args +
           "\tif (0){\n" + get + "\t}\n}\n\n";
}

} // namespace

// ---- Thetas: bounds, limits, initial values, sigmas -------------------------------------------

TEST_F(PackingTest, FixefBoundsFromEveryFixefStatementWithMissingOnesNotAvailable) {
    AddThetaMix();
    AddFixef(Statement(CN_FIXEF), "tvQ", false, -1, N(), Num(3), N());
    EXPECT_EQ(Bounds({{"tvV", "0.0", "10.0", "100.0"},
                      {"tvCl", "3.3e-151", "1.0", "3.3e-151"},
                      {"dVdWt", "3.3e-151", "1", "3.3e-151"},
                      {"tvKa", "-1.0", "1", "3.3e-151"},
                      {"tvQ", "3.3e-151", "3.0", "3.3e-151"}}),
              GenText(g, [&] { g.GenFixefOverrideStuff(); }));
}

TEST_F(PackingTest, ThetaLimitsSkipFrozenGateDisabledAndWrapTheLastError) {
    AddThetaMix();
    EXPECT_EQ(
        "void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n\tint _n = 0;\n"
        "\t_fixefLow[_n] = __tvV_low; // set tvV\n\t_fixefHigh[_n] = __tvV_high;\n\t_n++;\n"
        "\t// tvCl frozen\n"
        "\tif (_is_fixef_enabled(2)){ // dVdWt enabled?\n"
        "\t\t_fixefLow[_n] = __dVdWt_low; // set dVdWt\n\t\t_fixefHigh[_n] = __dVdWt_high;\n"
        "\t\t_n++;\n\t}\n"
        "\t_fixefLow[_n] = __tvKa_low; // set tvKa\n\t_fixefHigh[_n] = __tvKa_high;\n\t_n++;\n"
        "\t_fixefLow[_n] = 0; // stdev 0\n\t_fixefHigh[_n] = 1e100;\n\t_n++;\n"
        "\t// if not using a gaussian alg, last theta is the main stdev\n"
        "\tif (! _bUsingGaussianAlgorithm){\n"
        "\t\t_fixefLow[_n] = 0; // stdev 0\n\t\t_fixefHigh[_n] = 1e100;\n\t\t_n++;\n\t}\n"
        "}\n\n",
        GenText(g, [&] { g.GenRoutinesForTheta(2); }));
}

// A model without thetas has the frame of each routine; a frozen error alone still gets the
// Gaussian wrapper of the last error, with nothing in it.
TEST_F(PackingTest, ThetaRoutinesWithNoThetaOrOnlyAFrozenError) {
    EXPECT_EQ(Bounds({}), GenText(g, [&] { g.GenFixefOverrideStuff(); }));
    EXPECT_EQ("void GetInitialStdev(double* _svec){\n}\n\n", Packing(3));
    std::string const head = "void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n"
                             "\tint _n = 0;\n";
    EXPECT_EQ(head + "}\n\n", GenText(g, [&] { g.GenRoutinesForTheta(2); }));
    AddError("eps", 0.3, true);
    EXPECT_EQ(head + "\t// if not using a gaussian alg, last theta is the main stdev\n"
                     "\tif (! _bUsingGaussianAlgorithm){\n\t}\n}\n\n",
              GenText(g, [&] { g.GenRoutinesForTheta(2); }));
}

TEST_F(PackingTest, FixefErrorRoutinesGiveEveryThetaItsPlace) {
    AddThetaMix();
    EXPECT_EQ("void InitFixefErrorEstimate(){\n    GetFixefErrorInitial(_fixef);\n}\n\n"
              "void GetFixefErrorInitial(double* _data){\n"
              "    _data[0] = __tvV_init; // set tvV\n    _data[1] = __tvCl_init; // set tvCl\n"
              "    _data[2] = __dVdWt_init; // set dVdWt\n    _data[3] = __tvKa_init; // set tvKa\n"
              "    _data[4] = 0.1; // stdev 0\n    _data[5] = 0.5; // stdev 1\n"
              "    _data[6] = 2; // stdev 2\n}\n\n"
              "void GetFixefErrorLimits(double* _low, double* _high){\n"
              "    _low[0] = __tvV_low; // set tvV\n    _high[0] = __tvV_high;\n"
              "    _low[1] = __tvCl_low; // set tvCl\n    _high[1] = __tvCl_high;\n"
              "    _low[2] = __dVdWt_low; // set dVdWt\n    _high[2] = __dVdWt_high;\n"
              "    _low[3] = __tvKa_low; // set tvKa\n    _high[3] = __tvKa_high;\n"
              "    _low[4] = 0; // stdev 0\n    _high[4] = 1e100; // stdev 0\n"
              "    _low[5] = 0; // stdev 1\n    _high[5] = 1e100; // stdev 1\n"
              "    _low[6] = 0; // stdev 2\n    _high[6] = 1e100; // stdev 2\n"
              "}\n\n",
              GenText(g, [&] {
                  for (int mode : {0, 1, 2})
                      g.GenRoutinesForFixefError(mode);
              }));
}

TEST_F(PackingTest, ObsSigmaByValueAndByNameAndTheInitialStdev) {
    AddThetaMix();
    AddObserve("CObs", Add(Var("C"), Var("eps1")));
    Statement(CN_LL)->name = "L"; // not an observe statement: takes no number here
    AddObserve("EObs", Mul(Var("E"), Add(Num(1), Var("eps2"))));
    AddObserve("FObs", Add(Var("F"), Var("eps3")));
    EXPECT_EQ("double GetObsSigma(int _piWhichObs){\n\tdouble _std = 0;\n\tif (0){\n"
              "\t} else if (_piWhichObs == 0){\n\t\t_std = _fixef[4];\n"
              "\t} else if (_piWhichObs == 1){\n\t\t// error eps2 is frozen\n\t\t_std = 0.5;\n"
              "\t} else if (_piWhichObs == 2){\n\t\t_std = _fixef[6];\n"
              "\t}\n\treturn _std;\n}\n\n",
              GenText(g, [&] { g.GenRoutineGetObsSigma(false); }));
    EXPECT_EQ("const char * GetObsSigmaName(int _piWhichObs){\n\tif (0){\n"
              "\t} else if (_piWhichObs == 0){\n\t\treturn \"eps1\";\n"
              "\t} else if (_piWhichObs == 1){\n\t\treturn \"eps2\";\n"
              "\t} else if (_piWhichObs == 2){\n\t\treturn \"eps3\";\n"
              "\t}\n\treturn \"\";\n}\n\n",
              GenText(g, [&] { g.GenRoutineGetObsSigma(true); }));
    EXPECT_EQ("void GetInitialStdev(double* _svec){\n\t_svec[0] = 2.0;\n}\n\n", Packing(3));
}

TEST_F(PackingTest, ObservationWithoutOneErrorVariableEndsTheRun) {
    auto expectExit = [&](N expr, bool name, std::string const& message) {
        body->list.clear();
        AddObserve("CObs", expr);
        g.fp = tmpfile();
        EXPECT_EXIT(g.GenRoutineGetObsSigma(name), ::testing::ExitedWithCode(1),
                    "^" + message + "$");
        fclose(g.fp);
        g.fp = nullptr;
    };
    std::string const none =
        "Error: there is an observation expression that does not contain an error variable\r\n";
    expectExit(Var("C"), true, none); // a model without any error variable
    AddThetaMix();
    expectExit(Add(Var("C"), Var("x")), false, none);
    expectExit(Mul(Var("C"), Add(Var("eps1"), Var("eps1"))), false,
               "Error: An error variable \\(eps1\\) appears more than once in observation "
               "expression\r\n");
    expectExit(Add(Add(Var("C"), Var("eps1")), Var("eps3")), false,
               "Error: More than one error variable \\(eps3\\) appears in observation "
               "expression\r\n");
}

// ---- Packing: thetas and errors ---------------------------------------------------------------

TEST_F(PackingTest, ThetaLoopsAndTheMainSigma) {
    struct {
        int mode;
        char const* name; // with the spacing of its format
        char const* loop; // the body line of the theta loop
        char const* svec; // the line of the main sigma; its routine takes _svec
    } const cases[] = {
        {7, "void UnpackParameters(", "_thvec[_n++] = _pack[_i];", nullptr},
        {8, "void UnpackParameters1(", "_thvec[_n++] = _pack[_i];", "_svec[0] = _pack[_i1-1];"},
        {9, "void   PackParameters(", "_pack[_i] = _thvec[_n++];", nullptr},
        {10, "void   PackParameters1(", "_pack[_i] = _thvec[_n++];", "_pack[_i1-1] = _svec[0];"},
        {11, "void   TypXParameters(", "_pack[_i] = fabs(_thvec[_n++]);", nullptr},
        {12, "void   TypXParameters1(", "_pack[_i] = fabs(_thvec[_n++]);",
         "_pack[_i1-1] = fabs(_svec[0]);"},
    };

    AddThetaMix();
    for (auto const& c : cases) {
        bool const unpack = c.mode <= 8;
        std::string const head =
            kCholesky + std::string(c.name) + "double* _thvec, double* _omat, " +
            (c.svec ? "double* _svec, " : "") + "double* _pack, int* _ldOmat, int* _nPack){\n" +
            (unpack ? "\tint _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;\n"
                      "\tdouble _temp = 0;\n\t// assert NRANEF5 <= ldo\n"
                    : "\tint _i = 0, _j, _n = 0, _i1 = 0, _ldo = *_ldOmat;\n"
                      "\t// assert NTHETA == *nth\n") +
            "\t_i1 = GetNTheta();\n\tfor (_i = 0; _i < _i1; _i++){\n\t\t" + c.loop + "\n\t}\n";
        std::string const closing =
            unpack ? "\t// assert *_nPack == _n;\n}\n\n" : "\t*_nPack = _n;\n}\n\n";
        for (int gaussian : {0, 1}) {
            g.bAllowGaussianFit = gaussian;
            std::string const svec =
                c.svec && gaussian ? std::string("\tif (_i1 > 0){\n\t\t") + c.svec + "\n\t}\n" : "";
            EXPECT_EQ(head + svec + closing, Packing(c.mode))
                << "mode " << c.mode << ", gaussian " << gaussian;
        }
    }
}

TEST_F(PackingTest, CountsIndexSearchAndMapOfThetas) {
    AddThetaMix();
    EXPECT_EQ(kLive + std::string("void   GetNPack(int* _nPack){\n\tint _n = 0;\n"
                                  "\t_n++; // tvV\n\t// tvCl frozen\n"
                                  "\tif (_is_fixef_enabled(2)) _n++; // dVdWt if enabled\n"
                                  "\t_n++; // tvKa\n\t_n++; // eps1\n\t// eps2 frozen\n"
                                  "\t_n++; // eps3\n\t*_nPack = _n;\n}\n\n"),
              Packing(13));
    std::string const fixefs = "\tint _n = 0;\n\t*_index = -1;\n\t_n++; // tvV\n\t// tvCl frozen\n"
                               "\tif (_is_fixef_enabled(2)){\n\t\t_n++; // dVdWt if enabled\n"
                               "\t}\n\t_n++; // tvKa\n";
    EXPECT_EQ(
        kLive + std::string("void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){\n") +
            fixefs + "\t_n++; // eps1\n\t// eps2 frozen\n\t_n++; // eps3\n}\n\n",
        Packing(16));
    EXPECT_EQ("void   GetPackedIndexError(int* _iStd, int* _index){\n" + fixefs +
                  "\tif (*_iStd == 0){*_index = _n; return;} // eps1\n\t_n++;\n"
                  "\t// eps2 frozen\n"
                  "\tif (! _bUsingGaussianAlgorithm){\n"
                  "\t\tif (*_iStd == 2){*_index = _n; return;} // eps3\n\t\t_n++;\n\t}\n}\n\n",
              Packing(15));
    EXPECT_EQ("void GetFixefErrToThetaMap(int* _iaTheta, int* _nth){\n\tint _n = 0;\n"
              "\t_iaTheta[0] = _n++; // tvV\n\t_iaTheta[1] = -1; // tvCl\n"
              "\t_iaTheta[2] = (_is_fixef_enabled(2) ? _n++ : -2); // dVdWt\n"
              "\t_iaTheta[3] = _n++; // tvKa\n\t// unfrozen error sigmas \n"
              "\t_iaTheta[4] = _n++; // stdev 0\n\t_iaTheta[5] = -1; // stdev 1\n"
              "\t_iaTheta[6] = _n++; // stdev 2\n\t*_nth = _n;\n}\n\n",
              Packing(23));
}

TEST_F(PackingTest, ThetaCopiesTakeFreeThetasOnly) {
    AddThetaMix();
    EXPECT_EQ("void UnpackTheta(double* _fixef, double* _thvec){\n\tint _n = 0;\n"
              "\t// copy theta to fixef+error\n\t// unfrozen, enabled fixed effects \n"
              "\t_fixef[0] = _thvec[_n++];\n"
              "\tif (_is_fixef_enabled(2)){\n\t\t_fixef[2] = _thvec[_n++];\n\t}\n"
              "\t_fixef[3] = _thvec[_n++];\n\t// unfrozen error sigmas \n"
              "\t_fixef[4] = _thvec[_n++];\n\t_fixef[6] = _thvec[_n++];\n}\n\n",
              Packing(25));
    EXPECT_EQ("void   PackTheta(double* _fixef, double* _thvec, int* _nth){\n\tint _n = 0;\n"
              "\t// copy fixef+error to theta\n\t// unfrozen, enabled fixed effects \n"
              "\t_thvec[_n++] = _fixef[0];\n"
              "\tif (_is_fixef_enabled(2)){\n\t\t_thvec[_n++] = _fixef[2];\n\t}\n"
              "\t_thvec[_n++] = _fixef[3];\n\t// unfrozen error sigmas \n"
              "\t_thvec[_n++] = _fixef[4];\n\t_thvec[_n++] = _fixef[6];\n\t*_nth = _n;\n}\n\n",
              Packing(26));
    EXPECT_EQ("void   TypXTheta(double* _fixef, double* _thvec, int* _nth){\n\tint _n = 0;\n"
              "\t// copy fabs(fixef+error) to theta\n\t// unfrozen, enabled fixed effects \n"
              "\t_thvec[_n++] = fabs(_fixef[0]);\n"
              "\tif (_is_fixef_enabled(2)){\n\t\t_thvec[_n++] = fabs(_fixef[2]);\n\t}\n"
              "\t_thvec[_n++] = fabs(_fixef[3]);\n\t// unfrozen error sigmas \n"
              "\t_thvec[_n++] = fabs(_fixef[4]);\n\t_thvec[_n++] = fabs(_fixef[6]);\n"
              "\t*_nth = _n;\n}\n\n",
              Packing(28));
    EXPECT_EQ("int GetEstimatedTheta(int * est_theta){\n\tint _n = 0;\n"
              "\t\test_theta[0] = 1; ++_n;\n"
              "\tif (_is_fixef_enabled(2)){\n\t\test_theta[2] = 1; ++_n;\n\t}\n"
              "\t\test_theta[3] = 1; ++_n;\n"
              "\treturn _n;\n}\n\n",
              Packing(27));
}

// ---- Packing: random effects ------------------------------------------------------------------

TEST_F(PackingTest, InitialOmegaEtaVariancesAndTruncation) {
    AddOmegaMix();
    EXPECT_EQ("void GetInitialOmega5(double* _omat){\n\tint _i = 0;\n\tdouble _temp = 0;\n"
              "\tfor (_i=0; _i<49; _i++) _omat[_i] = 0;\n"
              "\t_temp = 4.0;\n\t_omat[0+0+0*7] = _temp;\n"
              "\t_temp = 2.0;\n\t_omat[0+1+0*7] = _temp;\n\t_omat[0+0+1*7] = _temp;\n"
              "\t_temp = 5.0;\n\t_omat[0+1+1*7] = _temp;\n"
              "\t_omat[16+0+0*7] = _omat[0+0+0*7];\n\t_omat[16+1+0*7] = _omat[0+1+0*7];\n"
              "\t_omat[16+1+1*7] = _omat[0+1+1*7];\n\t_omat[32+0+0*7] = 9.0;\n"
              "\t_omat[40+0+0*7] = 0.5;\n\t_omat[40+1+1*7] = 0.25;\n}\n\n",
              Packing(4));
    EXPECT_EQ("double GetEtaVariance5(int _i){\n\tdouble _temp = 1;\n\tif (0){\n"
              "\t} else if (_i == 0){\n\t\t_temp = 4.0;\n"
              "\t} else if (_i == 1){\n\t\t_temp = 5.0;\n"
              "\t} else if (_i == 2){\n\t\t_temp = GetEtaVariance5(0);\n"
              "\t} else if (_i == 3){\n\t\t_temp = GetEtaVariance5(1);\n"
              "\t} else if (_i == 4){\n\t\t_temp = 9.0;\n"
              "\t} else if (_i == 5){\n\t\t_temp = 0.5;\n"
              "\t} else if (_i == 6){\n\t\t_temp = 0.25;\n"
              "\t}\n\treturn _temp;\n}\n\n",
              Packing(5));
    // the live part is kept, the frozen group rewritten from its factor
    EXPECT_EQ("void TruncateOmega5(double* _omat){\n\tint _i = 0;\n\tdouble _temp = 0;\n"
              "\tdouble _mtemp[NRANEF5*NRANEF5+1];\n"
              "\tmemcpy(_mtemp, _omat, sizeof(double)*NRANEF5*NRANEF5);\n"
              "\tmemset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);\n"
              "\t_temp = _mtemp[0+0+0*7];\n\t_omat[0+0+0*7] = _temp;\n"
              "\t_temp = _mtemp[0+1+0*7];\n\t_omat[0+1+0*7] = _temp;\n"
              "\t_temp = _mtemp[0+1+1*7];\n\t_omat[0+1+1*7] = _temp;\n"
              "\t_omat[16+0+0*7] = _omat[0+0+0*7];\n\t_omat[16+1+0*7] = _omat[0+1+0*7];\n"
              "\t_omat[16+1+1*7] = _omat[0+1+1*7];\n\t_omat[32+0+0*7] = 3.0;\n"
              "\t_temp = _mtemp[40+0+0*7];\n\t_omat[40+0+0*7] = _temp;\n"
              "\t_temp = _mtemp[40+1+1*7];\n\t_omat[40+1+1*7] = _temp;\n"
              "}\n\n",
              Packing(6));
}

TEST_F(PackingTest, InitialOmegaDefaultsForMissingValues) {
    N given = Values({4});
    given->list.push_back(N()); // left out, as an override block allows
    AddGroup(Statement(CN_RANEF5), CN_RANEF_BLOCK, {"a", "b"}, given);
    EXPECT_IN_ORDER(Packing(4),
                    {"\t_temp = 4.0;\n\t_omat[0+0+0*2] = _temp;\n"
                     "\t_temp = 0;\n\t_omat[0+1+0*2] = _temp;\n\t_omat[0+0+1*2] = _temp;\n"
                     "\t_temp = 1;\n\t_omat[0+1+1*2] = _temp;\n}\n"});
}

TEST_F(PackingTest, UnpackOmegaReadsLiveEntriesAndCopiesSameGroups) {
    AddOmegaMix();
    std::string const cells =
        "\t_i = 0 + 0;\n\t_j = 0 + 0;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n"
        "\t_i = 0 + 1;\n\t_j = 0 + 0;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n"
        "\t_i = 0 + 1;\n\t_j = 0 + 1;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n"
        "\t{\n\t\t_i1 = 0 + 0;\n\t\t_j1 = 0 + 0;\n\t\t_i = 2 + 0;\n\t\t_j = 2 + 0;\n"
        "\t\t_omat[_j * _ldo + _i] = _omat[_j1 * _ldo + _i1];\n\t}\n"
        "\t{\n\t\t_i1 = 0 + 1;\n\t\t_j1 = 0 + 0;\n\t\t_i = 2 + 1;\n\t\t_j = 2 + 0;\n"
        "\t\t_omat[_j * _ldo + _i] = _omat[_j1 * _ldo + _i1];\n\t}\n"
        "\t{\n\t\t_i1 = 0 + 1;\n\t\t_j1 = 0 + 1;\n\t\t_i = 2 + 1;\n\t\t_j = 2 + 1;\n"
        "\t\t_omat[_j * _ldo + _i] = _omat[_j1 * _ldo + _i1];\n\t}\n"
        "\t_i = 5 + 0;\n\t_j = 5 + 0;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n"
        "\t_i = 5 + 1;\n\t_j = 5 + 1;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n"
        "\t// assert *_nPack == _n;\n}\n\n";
    EXPECT_EQ(kCholesky +
                  std::string("void UnpackOmega(double* _omat, double* _pack, int* _ldOmat, "
                              "int* _nPack){\n"
                              "\tint _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;\n"
                              "\tdouble _temp = 0;\n\t// assert NRANEF5 <= ldo\n") +
                  cells,
              Packing(17));
    // the parameter routines read the omega entries after the thetas
    for (int mode : {7, 8})
        EXPECT_IN_ORDER(Packing(mode), {"\t\t_thvec[_n++] = _pack[_i];\n\t}\n" + cells}) << mode;
}

TEST_F(PackingTest, PackAndTypicalSizesOfOmega) {
    AddOmegaMix();
    // the five live cells: the block of nA, nB, then the diagonal of nF, nG
    auto cells = [](char const* block, char const* diag) {
        char const* const ij[][2] = {{"0 + 0", "0 + 0"},
                                     {"0 + 1", "0 + 0"},
                                     {"0 + 1", "0 + 1"},
                                     {"5 + 0", "5 + 0"},
                                     {"5 + 1", "5 + 1"}};
        std::string out;
        for (auto const& c : ij)
            out += std::string("\t{\n\t\t_i = ") + c[0] + ";\n\t\t_j = " + c[1] + ";\n" +
                   (c[0][0] == '0' ? block : diag) + "\t}\n";
        return out + "\t*_nPack = _n;\n}\n\n";
    };
    char const* pack = "\t\t_pack[_n++] = _omat[_j * _ldo + _i];\n";
    std::string const packed = cells(pack, pack);
    // blocks take the geometric mean of their diagonal, diagonal groups their own entry
    std::string const typx = cells(
        "\t\t_pack[_n++] = sqrt(fabs(_omat[_j * _ldo + _j]) * fabs(_omat[_i * _ldo + _i]));\n",
        "\t\t_pack[_n++] = fabs(_omat[_j * _ldo + _i]);\n");
    std::string const locals = "(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n"
                               "\tint _i = 0, _j, _n = 0, _ldo = *_ldOmat;\n"
                               "\t// assert NTHETA == *nth\n";
    EXPECT_EQ(kCholesky + ("void   PackOmega" + locals) + packed, Packing(18));
    EXPECT_EQ(kCholesky + ("void   TypXOmega" + locals) + typx, Packing(19));
    for (int mode : {9, 10})
        EXPECT_IN_ORDER(Packing(mode), {"\t}\n" + packed}) << mode;
    for (int mode : {11, 12})
        EXPECT_IN_ORDER(Packing(mode), {"\t}\n" + typx}) << mode;
}

TEST_F(PackingTest, CountsAndIndexOfLiveOmegaEntries) {
    AddOmegaMix();
    std::string five;
    for (int k = 0; k < 5; k++)
        five += "\t{\n\t\t_n++;\n\t}\n";
    for (auto mode : {std::make_pair(14, "GetNPackRanCov"), std::make_pair(20, "GetNPackOmega"),
                      std::make_pair(13, "GetNPack")})
        EXPECT_EQ(kLive + ("void   " + std::string(mode.second)) +
                      "(int* _nPack){\n\tint _n = 0;\n" + five + "\t*_nPack = _n;\n}\n\n",
                  Packing(mode.first))
            << mode.second;
    EXPECT_EQ("void   GetPackedIndexError(int* _iStd, int* _index){\n\tint _n = 0;\n"
              "\t*_index = -1;\n\t_n++;\n\t_n++;\n\t_n++;\n\t_n++;\n\t_n++;\n}\n\n",
              Packing(15));
    auto cell = [](int i, int j) {
        return "\t{\n\t\tif (*_iRan==" + std::to_string(i) + " && *_jRan==" + std::to_string(j) +
               "){*_index = _n; return;}\n\t\t_n++;\n\t}\n";
    };
    EXPECT_EQ(kLive +
                  std::string("void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){\n"
                              "\tint _n = 0;\n\t*_index = -1;\n") +
                  cell(0, 0) + cell(1, 0) + cell(1, 1) + cell(5, 5) + cell(6, 6) + "}\n\n",
              Packing(16));
}

TEST_F(PackingTest, OmegaSequencesCountSameGroupsWithTheirModel) {
    AddOmegaMix();
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n\tint _n = 0;\n"
              "\t_n++; // block 0\n\t_n++; // block 3\n\t*_nSeq = _n;\n}\n\n",
              Packing(21));
    EXPECT_EQ("void GetOmegaSequenceInfo(int* _iSeq1, int* _nEta, int* _nSame){\n"
              "\tint _iSeqCount = 0;\n\t*_nEta = *_nSame = 0;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n\t\t*_nEta = 2;\n\t\t*_nSame = 1;\n"
              "\t\treturn;\n\t}\n\t_iSeqCount++;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n\t\t*_nEta = 2;\n\t\t*_nSame = 0;\n"
              "\t\treturn;\n\t}\n\t_iSeqCount++;\n}\n\n",
              Packing(22));
    EXPECT_EQ("void GetRanefToEtaMap(int* _iaEta, int* _nth){\n\tint _n = 0;\n"
              "\t_iaEta[0] = _n++; // ranef 0\n\t_iaEta[1] = _n++; // ranef 1\n"
              "\t_iaEta[2] = _n++; // ranef 2\n\t_iaEta[3] = _n++; // ranef 3\n"
              "\t_iaEta[4] = (_n++, -1); // ranef 4\n"
              "\t_iaEta[5] = _n++; // ranef 5\n\t_iaEta[6] = _n++; // ranef 6\n"
              "\t*_nth = _n;\n}\n\n",
              Packing(24));
}

TEST_F(PackingTest, SameGroupsAfterAFrozenGroupAreNoSequenceOfTheirOwn) {
    N ranef = Statement(CN_RANEF5);
    AddGroup(ranef, CN_VARIANCE_DIAG, {"a"}, Values({1}), Values({1}), true);
    AddGroup(ranef, CN_RANEF_SAME, {"b"});
    AddGroup(ranef, CN_RANEF_SAME, {"c"});
    AddGroup(ranef, CN_VARIANCE_DIAG, {"d"}, Values({1}), Values({1}));
    AddGroup(ranef, CN_RANEF_SAME, {"e"});
    AddGroup(ranef, CN_RANEF_SAME, {"f"});
    EXPECT_EQ("void GetOmegaSequenceInfo(int* _iSeq1, int* _nEta, int* _nSame){\n"
              "\tint _iSeqCount = 0;\n\t*_nEta = *_nSame = 0;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n\t\t*_nEta = 1;\n\t\t*_nSame = 2;\n"
              "\t\treturn;\n\t}\n\t_iSeqCount++;\n}\n\n",
              Packing(22));
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n\tint _n = 0;\n\t_n++; // block 3\n"
              "\t*_nSeq = _n;\n}\n\n",
              Packing(21));
    // a chain of same groups copies each from the one just before it
    EXPECT_IN_ORDER(Packing(4), {"\t_omat[0+0+0*6] = 1.0;\n\t_omat[7+0+0*6] = _omat[0+0+0*6];\n"
                                 "\t_omat[14+0+0*6] = _omat[7+0+0*6];\n\t_omat[21+0+0*6] = 1.0;\n"
                                 "\t_omat[28+0+0*6] = _omat[21+0+0*6];\n"
                                 "\t_omat[35+0+0*6] = _omat[28+0+0*6];\n}\n"});
}

TEST_F(PackingTest, FrozenBlockIsInOmegaButNotInThePackedVector) {
    AddThetaMix();
    AddGroup(Statement(CN_RANEF5), CN_RANEF_BLOCK, {"a", "b"}, Values({4, 2, 5}), Values({2, 1, 2}),
             true);
    // the factor, both triangles, as the initial omega writes its values
    EXPECT_IN_ORDER(Packing(6), {"\tmemset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);\n"
                                 "\t_temp = 2.0;\n\t_omat[0+0+0*2] = _temp;\n"
                                 "\t_temp = 1.0;\n\t_omat[0+1+0*2] = _temp;\n"
                                 "\t_omat[0+0+1*2] = _temp;\n"
                                 "\t_temp = 2.0;\n\t_omat[0+1+1*2] = _temp;\n}\n"});
    EXPECT_IN_ORDER(Packing(4), {"\t_temp = 4.0;\n", "\t_temp = 2.0;\n", "\t_temp = 5.0;\n"});
    for (int mode : {7, 9, 11, 13, 14, 16, 17, 18, 19, 20})
        EXPECT_EQ(0, CountOf(Packing(mode), "_i = 0 + 0") + CountOf(Packing(mode), "\t{\n\t\t_n"))
            << mode;
    EXPECT_EQ(5, CountOf(Packing(13), "_n++"));
    EXPECT_IN_ORDER(Packing(24), {"\t_iaEta[0] = (_n++, -1); // ranef 0\n"
                                  "\t_iaEta[1] = (_n++, -1); // ranef 1\n\t*_nth = _n;\n"});
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n\tint _n = 0;\n\t*_nSeq = _n;\n}\n\n", Packing(21));
}

// ---- Jacobian info, and the routines in Model.cpp ---------------------------------------------

TEST_F(PackingTest, JacobianInfo) {
    struct {
        int ode, jac, matexp, info;
    } const cases[] = {{0, 1, 1, -1}, {3, 1, 1, 2}, {3, 1, 0, 1}, {3, 0, 1, 0}, {3, 0, 0, 0}};

    for (auto const& c : cases)
        EXPECT_EQ("// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes\n"
                  "void GetJacobianInfo(int & _piJacobianInfo)\n{\n\t_piJacobianInfo = " +
                      std::to_string(c.info) + ";\n}\n",
                  GenText(g, [&] { g.GenODEInfoRoutines(c.ode, c.jac, c.matexp); }))
            << c.ode << c.jac << c.matexp;
}

TEST_F(PackingTest, ModelCppPrintsTheRoutinesInTheirOrder) {
    AddThetaMix();
    AddOmegaMix();
    std::string text = GenText(g, [&] { g.GenModelCpp(NV()); });
    std::string const jacobian =
        "// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes\n"
        "void GetJacobianInfo(int & _piJacobianInfo)\n{\n\t_piJacobianInfo = -1;\n}\n";
    // from the end of the globals to the start of the next section
    // clang-format off
    EXPECT_IN_ORDER(text, {
        "void SetVarUnits(const char* _nm, const char* _units)", "static double __tvV_low  = 0.0;",
        "void RestoreFixefLowInitHighFromModel(){", "void SetFixefLowInitHigh(",
        "void GetFixefLowInitHigh(", "void GetThetaLimits(", "void InitFixefErrorEstimate(){",
        "void GetFixefErrorInitial(", "void GetFixefErrorLimits(", "double GetObsSigma(",
        "const char * GetObsSigmaName(", "void GetInitialStdev(", "void GetInitialOmega5(",
        "double GetEtaVariance5(", "void TruncateOmega5(", "void UnpackParameters(",
        "void UnpackParameters1(", "void   PackParameters(", "void   PackParameters1(",
        "void   TypXParameters(", "void   TypXParameters1(", "void UnpackOmega(",
        "void   PackOmega(", "void   TypXOmega(", "void GetFixefErrToThetaMap(",
        "void GetRanefToEtaMap(", "void UnpackTheta(", "void   PackTheta(",
        "int GetEstimatedTheta(", "void   TypXTheta(", "void   GetNPack(", "void   GetNPackOmega(",
        "void GetNSeqOmega(", "void GetOmegaSequenceInfo(", "void   GetNPackRanCov(",
        "void   GetPackedIndexRanCov(", jacobian, "static const int _temp_res_num = "});
    // clang-format on
    EXPECT_EQ(std::string::npos, text.find("GetPackedIndexError")); // no caller uses it
}

// Whole Model.h and Model.cpp of hand-filled models must compile against the engine headers.
TEST_F(PackingTest, GeneratedFilesCompile) {
    if (system("c++ --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "no c++ compiler";
    std::string tests = __FILE__;
    tests = tests.substr(0, tests.rfind("/unit/"));
    char tmpl[] = "/tmp/packing_testXXXXXX";
    ASSERT_TRUE(mkdtemp(tmpl));
    std::string dir = tmpl;
    auto compile = [&](char const* what) {
        std::ofstream(dir + "/Model.h") << GenText(g, [&] { g.GenModelH("00-00-00-00", 0); });
        std::ofstream(dir + "/Model.cpp") << GenText(g, [&] { g.GenModelCpp(NV()); });
        std::string cmd = "c++ -std=c++17 -fsyntax-only -I" + tests + "/engine -I" + dir + " " +
                          dir + "/Model.cpp > " + dir + "/errors.txt 2>&1";
        int rc = system(cmd.c_str());
        std::ifstream in(dir + "/errors.txt");
        std::stringstream errors;
        errors << in.rdbuf();
        EXPECT_EQ(0, rc) << what << ":\n" << errors.str();
        macros.clear();
    };
    compile("a model without parameters");
    AddThetaMix();
    AddOmegaMix();
    AddObserve("CObs", Add(Var("C"), Var("eps1")));
    AddObserve("EObs", Mul(Var("E"), Add(Num(1), Var("eps2"))));
    g.bAllowGaussianFit = 1;
    compile("thetas frozen and gated, omega with block, same and frozen groups");
    AddGroup(Statement(CN_RANEF5), CN_RANEF_BLOCK, {"nH", "nI"}, Values({4, 2, 5}),
             Values({2, 1, 2}), true);
    dual_vars = {"tvV", "eps1"};
    g.saDualFixef = {"tvV"};
    g.saDualError = {"eps1"};
    compile("a dual model with a frozen block");
    std::filesystem::remove_all(dir);
}
