// The parameter routines of Model.cpp: fixed effects, errors and random-effect groups filled
// by hand (statements and lists alike), each routine printed, and its text checked in order.
// One test assembles whole files and compiles them against the engine headers.
#include "analysis/analysis.h"
#include "modelgen/gen_test_support.h"
#include "modelgen/gencode.h"
#include "varo5_test.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

class PackingTest : public VaroTest {
  protected:
    void SetUp() override {
        VaroTest::SetUp();
        reset_assignment();
        dual_vars.clear();
        dual_vars_fixef.clear();
        dual_vars_ranxef.clear();
        cfs.clear();
        macros.clear();
    }

    // Everything 'gen' prints to g.fp.
    template <class F> std::string Printed(F gen) {
        FILE* f = tmpfile();
        if (!f) {
            ADD_FAILURE() << "tmpfile() failed";
            return "";
        }
        g.fp = f;
        gen();
        g.fp = nullptr;
        std::string text;
        rewind(f);
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;)
            text.append(buf, n);
        fclose(f);
        return text;
    }

    std::string Packing(int mode) {
        return Printed([&] { g.GenRoutinesForPacking(mode); });
    }

    static N Num(double v) { return std::make_shared<CNode>(v); }

    static N Var(char const* name) { return std::make_shared<CNode>(name); }

    static N Values(std::initializer_list<double> values) {
        N list = std::make_shared<CNode>(CN_VALUES);
        for (double v : values)
            list->list.push_back(Num(v));
        return list;
    }

    static N Names(std::initializer_list<char const*> names, bool frozen) {
        N list = std::make_shared<CNode>(CN_NAMES);
        for (char const* nm : names)
            list->list.push_back(Var(nm));
        if (frozen) list->child1 = Num(1.0);
        return list;
    }

    N Statement(CNodeType kind) {
        N s = std::make_shared<CNode>(kind);
        body->list.push_back(s);
        return s;
    }

    // A fixed effect in 'stmt' (a fixef statement) and in the lists; 'enable' -1 is none.
    void AddFixef(N const& stmt, char const* name, bool frozen = false, int64_t enable = -1,
                  N low = N(), N init = N(), N high = N()) {
        N v = Var(name);
        v->list = {low, init, high};
        stmt->list.push_back(v);
        g.saFixef.push_back(name);
        g.saFixefUnits.push_back("");
        g.naFixefFrozen.push_back(frozen);
        g.laFixefEnable.push_back(enable);
        g.daFixefInit.push_back(init ? init->value : 1.0);
    }

    // An error statement of one entry, and the name in the lists.
    void AddError(char const* name, double sd, bool frozen = false) {
        N e = std::make_shared<CNode>(CN_VARIANCE_DIAG);
        e->child1 = Names({name}, frozen);
        e->child3 = Values({sd});
        Statement(CN_ERROR)->list.push_back(e);
        g.saError.push_back(name);
        g.naErrorFrozen.push_back(frozen);
        g.daErrorInit.push_back(sd);
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

    N body = std::make_shared<CNode>(CN_BLOCK);
    N model = std::make_shared<CNode>(CN_MODEL, std::make_shared<CNode>(CN_CALL, "m"), body);
    CGenCode g{model};
};

} // namespace

// ---- Bounds of the fixed effects --------------------------------------------------------------

TEST_F(PackingTest, FixefBoundsFromEveryFixefStatementWithMissingOnesNotAvailable) {
    AddThetaMix();
    AddFixef(Statement(CN_FIXEF), "tvQ", false, -1, N(), Num(3), N());
    std::string text = Printed([&] { g.GenFixefOverrideStuff(); });
    EXPECT_EQ("static double __tvV_low  = 0.0;\n"
              "static double __tvV_init = 10.0;\n"
              "static double __tvV_high = 100.0;\n"
              "static double __tvCl_low  = 3.3e-151;\n"
              "static double __tvCl_init = 1.0;\n"
              "static double __tvCl_high = 3.3e-151;\n"
              "static double __dVdWt_low  = 3.3e-151;\n"
              "static double __dVdWt_init = 1;\n"
              "static double __dVdWt_high = 3.3e-151;\n"
              "static double __tvKa_low  = -1.0;\n"
              "static double __tvKa_init = 1;\n"
              "static double __tvKa_high = 3.3e-151;\n"
              "static double __tvQ_low  = 3.3e-151;\n"
              "static double __tvQ_init = 3.0;\n"
              "static double __tvQ_high = 3.3e-151;\n"
              "\n"
              "void RestoreFixefLowInitHighFromModel(){\n"
              "\t__tvV_low  = 0.0;\n"
              "\t__tvV_init = 10.0;\n"
              "\t__tvV_high = 100.0;\n"
              "\t__tvCl_low  = 3.3e-151;\n"
              "\t__tvCl_init = 1.0;\n"
              "\t__tvCl_high = 3.3e-151;\n"
              "\t__dVdWt_low  = 3.3e-151;\n"
              "\t__dVdWt_init = 1;\n"
              "\t__dVdWt_high = 3.3e-151;\n"
              "\t__tvKa_low  = -1.0;\n"
              "\t__tvKa_init = 1;\n"
              "\t__tvKa_high = 3.3e-151;\n"
              "\t__tvQ_low  = 3.3e-151;\n"
              "\t__tvQ_init = 3.0;\n"
              "\t__tvQ_high = 3.3e-151;\n"
              "}\n"
              "\n"
              "void SetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
              "double* _fixefHigh){\n"
              "    if (strcmp(_nm, \"tvV\")==0){\n"
              "        __tvV_low  = *_fixefLow;\n"
              "        __tvV_init = *_fixefInit;\n"
              "        __tvV_high = *_fixefHigh;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvCl\")==0){\n"
              "        __tvCl_low  = *_fixefLow;\n"
              "        __tvCl_init = *_fixefInit;\n"
              "        __tvCl_high = *_fixefHigh;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"dVdWt\")==0){\n"
              "        __dVdWt_low  = *_fixefLow;\n"
              "        __dVdWt_init = *_fixefInit;\n"
              "        __dVdWt_high = *_fixefHigh;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvKa\")==0){\n"
              "        __tvKa_low  = *_fixefLow;\n"
              "        __tvKa_init = *_fixefInit;\n"
              "        __tvKa_high = *_fixefHigh;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvQ\")==0){\n"
              "        __tvQ_low  = *_fixefLow;\n"
              "        __tvQ_init = *_fixefInit;\n"
              "        __tvQ_high = *_fixefHigh;\n"
              "        return;\n"
              "    }\n"
              "}\n"
              "\n"
              "void GetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
              "double* _fixefHigh){\n"
              "\tif (0){\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvV\")==0){\n"
              "        *_fixefLow  = __tvV_low;\n"
              "        *_fixefInit = __tvV_init;\n"
              "        *_fixefHigh = __tvV_high;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvCl\")==0){\n"
              "        *_fixefLow  = __tvCl_low;\n"
              "        *_fixefInit = __tvCl_init;\n"
              "        *_fixefHigh = __tvCl_high;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"dVdWt\")==0){\n"
              "        *_fixefLow  = __dVdWt_low;\n"
              "        *_fixefInit = __dVdWt_init;\n"
              "        *_fixefHigh = __dVdWt_high;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvKa\")==0){\n"
              "        *_fixefLow  = __tvKa_low;\n"
              "        *_fixefInit = __tvKa_init;\n"
              "        *_fixefHigh = __tvKa_high;\n"
              "        return;\n"
              "    }\n"
              "    if (strcmp(_nm, \"tvQ\")==0){\n"
              "        *_fixefLow  = __tvQ_low;\n"
              "        *_fixefInit = __tvQ_init;\n"
              "        *_fixefHigh = __tvQ_high;\n"
              "        return;\n"
              "\t}\n"
              "}\n"
              "\n",
              text);
}

TEST_F(PackingTest, FixefBoundsOfAModelWithoutFixedEffects) {
    EXPECT_EQ("\n"
              "void RestoreFixefLowInitHighFromModel(){\n"
              "}\n"
              "\n"
              "void SetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
              "double* _fixefHigh){\n"
              "}\n"
              "\n"
              "void GetFixefLowInitHigh(const char* _nm, double* _fixefLow, double* _fixefInit, "
              "double* _fixefHigh){\n"
              "\tif (0){\n"
              "\t}\n"
              "}\n"
              "\n",
              Printed([&] { g.GenFixefOverrideStuff(); }));
}

// ---- Theta limits and initial values ----------------------------------------------------------

TEST_F(PackingTest, ThetaLimitsSkipFrozenGateDisabledAndWrapTheLastError) {
    AddThetaMix();
    EXPECT_EQ("void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n"
              "\tint _n = 0;\n"
              "\t_fixefLow[_n] = __tvV_low; // set tvV\n"
              "\t_fixefHigh[_n] = __tvV_high;\n"
              "\t_n++;\n"
              "\t// tvCl frozen\n"
              "\tif (_is_fixef_enabled(2)){ // dVdWt enabled?\n"
              "\t\t_fixefLow[_n] = __dVdWt_low; // set dVdWt\n"
              "\t\t_fixefHigh[_n] = __dVdWt_high;\n"
              "\t\t_n++;\n"
              "\t}\n"
              "\t_fixefLow[_n] = __tvKa_low; // set tvKa\n"
              "\t_fixefHigh[_n] = __tvKa_high;\n"
              "\t_n++;\n"
              "\t_fixefLow[_n] = 0; // stdev 0\n"
              "\t_fixefHigh[_n] = 1e100;\n"
              "\t_n++;\n"
              "\t// if not using a gaussian alg, last theta is the main stdev\n"
              "\tif (! _bUsingGaussianAlgorithm){\n"
              "\t\t_fixefLow[_n] = 0; // stdev 0\n"
              "\t\t_fixefHigh[_n] = 1e100;\n"
              "\t\t_n++;\n"
              "\t}\n"
              "}\n"
              "\n",
              Printed([&] { g.GenRoutinesForTheta(2); }));
}

TEST_F(PackingTest, ThetaLimitsWithOnlyAFrozenErrorOrNone) {
    std::string none = Printed([&] { g.GenRoutinesForTheta(2); });
    EXPECT_EQ("void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n"
              "\tint _n = 0;\n"
              "}\n"
              "\n",
              none);
    AddError("eps", 0.3, true);
    EXPECT_EQ("void GetThetaLimits(double* _fixefLow, double* _fixefHigh){\n"
              "\tint _n = 0;\n"
              "\t// if not using a gaussian alg, last theta is the main stdev\n"
              "\tif (! _bUsingGaussianAlgorithm){\n"
              "\t}\n"
              "}\n"
              "\n",
              Printed([&] { g.GenRoutinesForTheta(2); }));
}

TEST_F(PackingTest, FixefErrorRoutinesGiveEveryThetaItsPlace) {
    AddThetaMix();
    std::string text = Printed([&] {
        for (int mode : {0, 1, 2})
            g.GenRoutinesForFixefError(mode);
    });
    EXPECT_EQ("void InitFixefErrorEstimate(){\n"
              "    GetFixefErrorInitial(_fixef);\n"
              "}\n"
              "\n"
              "void GetFixefErrorInitial(double* _data){\n"
              "    _data[0] = __tvV_init; // set tvV\n"
              "    _data[1] = __tvCl_init; // set tvCl\n"
              "    _data[2] = __dVdWt_init; // set dVdWt\n"
              "    _data[3] = __tvKa_init; // set tvKa\n"
              "    _data[4] = 0.1; // stdev 0\n"
              "    _data[5] = 0.5; // stdev 1\n"
              "    _data[6] = 2; // stdev 2\n"
              "}\n"
              "\n"
              "void GetFixefErrorLimits(double* _low, double* _high){\n"
              "    _low[0] = __tvV_low; // set tvV\n"
              "    _high[0] = __tvV_high;\n"
              "    _low[1] = __tvCl_low; // set tvCl\n"
              "    _high[1] = __tvCl_high;\n"
              "    _low[2] = __dVdWt_low; // set dVdWt\n"
              "    _high[2] = __dVdWt_high;\n"
              "    _low[3] = __tvKa_low; // set tvKa\n"
              "    _high[3] = __tvKa_high;\n"
              "    _low[4] = 0; // stdev 0\n"
              "    _high[4] = 1e100; // stdev 0\n"
              "    _low[5] = 0; // stdev 1\n"
              "    _high[5] = 1e100; // stdev 1\n"
              "    _low[6] = 0; // stdev 2\n"
              "    _high[6] = 1e100; // stdev 2\n"
              "}\n"
              "\n",
              text);
}

// ---- Sigma of each observation ----------------------------------------------------------------

TEST_F(PackingTest, ObsSigmaByValueAndByName) {
    AddThetaMix();
    AddObserve("CObs", Add(Var("C"), Var("eps1")));
    Statement(CN_LL)->name = "L"; // not an observe statement: takes no number here
    AddObserve("EObs", Mul(Var("E"), Add(Num(1), Var("eps2"))));
    AddObserve("FObs", Add(Var("F"), Var("eps3")));
    EXPECT_EQ("double GetObsSigma(int _piWhichObs){\n"
              "\tdouble _std = 0;\n"
              "\tif (0){\n"
              "\t} else if (_piWhichObs == 0){\n"
              "\t\t_std = _fixef[4];\n"
              "\t} else if (_piWhichObs == 1){\n"
              "\t\t// error eps2 is frozen\n"
              "\t\t_std = 0.5;\n"
              "\t} else if (_piWhichObs == 2){\n"
              "\t\t_std = _fixef[6];\n"
              "\t}\n"
              "\treturn _std;\n"
              "}\n"
              "\n",
              Printed([&] { g.GenRoutineGetObsSigma(false); }));
    EXPECT_EQ("const char * GetObsSigmaName(int _piWhichObs){\n"
              "\tif (0){\n"
              "\t} else if (_piWhichObs == 0){\n"
              "\t\treturn \"eps1\";\n"
              "\t} else if (_piWhichObs == 1){\n"
              "\t\treturn \"eps2\";\n"
              "\t} else if (_piWhichObs == 2){\n"
              "\t\treturn \"eps3\";\n"
              "\t}\n"
              "\treturn \"\";\n"
              "}\n"
              "\n",
              Printed([&] { g.GenRoutineGetObsSigma(true); }));
}

TEST_F(PackingTest, ObservationWithoutOneErrorVariableEndsTheRun) {
    struct {
        N expr;
        char const* message;
    } const cases[] = {
        {Add(Var("C"), Var("x")),
         "Error: there is an observation expression that does not contain an error variable\r\n"},
        {Mul(Var("C"), Add(Var("eps1"), Var("eps1"))),
         "Error: An error variable \\(eps1\\) appears more than once in observation "
         "expression\r\n"},
        {Add(Add(Var("C"), Var("eps1")), Var("eps3")),
         "Error: More than one error variable \\(eps3\\) appears in observation expression\r\n"},
    };

    AddThetaMix();
    for (auto const& c : cases) {
        body->list.clear();
        AddObserve("CObs", c.expr);
        FILE* out = tmpfile();
        g.fp = out;
        EXPECT_EXIT(g.GenRoutineGetObsSigma(false), ::testing::ExitedWithCode(1),
                    std::string("^") + c.message + "$");
        g.fp = nullptr;
        fclose(out);
    }
}

TEST_F(PackingTest, ObservationInAModelWithoutErrorsEndsTheRun) {
    AddObserve("CObs", Var("C"));
    FILE* out = tmpfile();
    g.fp = out;
    EXPECT_EXIT(g.GenRoutineGetObsSigma(true), ::testing::ExitedWithCode(1),
                "^Error: there is an observation expression that does not contain an error "
                "variable\r\n$");
    g.fp = nullptr;
    fclose(out);
}

// ---- Packing: thetas and errors ---------------------------------------------------------------

TEST_F(PackingTest, ThetaLoopsAndTheMainSigma) {
    struct {
        int mode;
        char const* signature;
        char const* loop;
        char const* svec; // with a Gaussian fit allowed
    } const cases[] = {
        {7,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void UnpackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, "
         "int* _nPack){\n",
         "\t\t_thvec[_n++] = _pack[_i];\n", nullptr},
        {8,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void UnpackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, "
         "int* _ldOmat, int* _nPack){\n",
         "\t\t_thvec[_n++] = _pack[_i];\n", "\t\t_svec[0] = _pack[_i1-1];\n"},
        {9,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void   PackParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, "
         "int* _nPack){\n",
         "\t\t_pack[_i] = _thvec[_n++];\n", nullptr},
        {10,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void   PackParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, "
         "int* _ldOmat, int* _nPack){\n",
         "\t\t_pack[_i] = _thvec[_n++];\n", "\t\t_pack[_i1-1] = _svec[0];\n"},
        {11,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void   TypXParameters(double* _thvec, double* _omat, double* _pack, int* _ldOmat, "
         "int* _nPack){\n",
         "\t\t_pack[_i] = fabs(_thvec[_n++]);\n", nullptr},
        {12,
         "// Caution: omega matrix is assumed to be in lower cholesky form\n"
         "void   TypXParameters1(double* _thvec, double* _omat, double* _svec, double* _pack, "
         "int* _ldOmat, int* _nPack){\n",
         "\t\t_pack[_i] = fabs(_thvec[_n++]);\n", "\t\t_pack[_i1-1] = fabs(_svec[0]);\n"},
    };

    AddThetaMix();
    for (auto const& c : cases) {
        for (int gaussian : {0, 1}) {
            g.bAllowGaussianFit = gaussian;
            std::string text = Packing(c.mode);
            bool unpack = c.mode <= 8;
            std::string locals = unpack ? "\tint _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = "
                                          "*_ldOmat;\n\tdouble _temp = 0;\n\t// assert NRANEF5 "
                                          "<= ldo\n"
                                        : "\tint _i = 0, _j, _n = 0, _i1 = 0, _ldo = "
                                          "*_ldOmat;\n\t// assert NTHETA == *nth\n";
            std::string loop = std::string("\t_i1 = GetNTheta();\n"
                                           "\tfor (_i = 0; _i < _i1; _i++){\n") +
                               c.loop + "\t}\n";
            std::string svec;
            if (c.svec && gaussian) svec = std::string("\tif (_i1 > 0){\n") + c.svec + "\t}\n";
            std::string closing =
                unpack ? "\t// assert *_nPack == _n;\n}\n\n" : "\t*_nPack = _n;\n}\n\n";
            EXPECT_EQ(c.signature + locals + loop + svec + closing, text)
                << "mode " << c.mode << ", gaussian " << gaussian;
        }
    }
}

TEST_F(PackingTest, CountsAndIndexSearchOfThetas) {
    AddThetaMix();
    EXPECT_EQ("// Caution: live portion of omega matrix is assumed to be packed in lower cholesky "
              "form\n"
              "void   GetNPack(int* _nPack){\n"
              "\tint _n = 0;\n"
              "\t_n++; // tvV\n"
              "\t// tvCl frozen\n"
              "\tif (_is_fixef_enabled(2)) _n++; // dVdWt if enabled\n"
              "\t_n++; // tvKa\n"
              "\t_n++; // eps1\n"
              "\t// eps2 frozen\n"
              "\t_n++; // eps3\n"
              "\t*_nPack = _n;\n"
              "}\n"
              "\n",
              Packing(13));
    EXPECT_EQ("// Caution: live portion of omega matrix is assumed to be packed in lower cholesky "
              "form\n"
              "void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){\n"
              "\tint _n = 0;\n"
              "\t*_index = -1;\n"
              "\t_n++; // tvV\n"
              "\t// tvCl frozen\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\t_n++; // dVdWt if enabled\n"
              "\t}\n"
              "\t_n++; // tvKa\n"
              "\t_n++; // eps1\n"
              "\t// eps2 frozen\n"
              "\t_n++; // eps3\n"
              "}\n"
              "\n",
              Packing(16));
    EXPECT_EQ("void   GetPackedIndexError(int* _iStd, int* _index){\n"
              "\tint _n = 0;\n"
              "\t*_index = -1;\n"
              "\t_n++; // tvV\n"
              "\t// tvCl frozen\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\t_n++; // dVdWt if enabled\n"
              "\t}\n"
              "\t_n++; // tvKa\n"
              "\tif (*_iStd == 0){*_index = _n; return;} // eps1\n"
              "\t_n++;\n"
              "\t// eps2 frozen\n"
              "\tif (! _bUsingGaussianAlgorithm){\n"
              "\t\tif (*_iStd == 2){*_index = _n; return;} // eps3\n"
              "\t\t_n++;\n"
              "\t}\n"
              "}\n"
              "\n",
              Packing(15));
}

TEST_F(PackingTest, ThetaMapMarksFrozenAndDisabled) {
    AddThetaMix();
    EXPECT_EQ("void GetFixefErrToThetaMap(int* _iaTheta, int* _nth){\n"
              "\tint _n = 0;\n"
              "\t_iaTheta[0] = _n++; // tvV\n"
              "\t_iaTheta[1] = -1; // tvCl\n"
              "\t_iaTheta[2] = (_is_fixef_enabled(2) ? _n++ : -2); // dVdWt\n"
              "\t_iaTheta[3] = _n++; // tvKa\n"
              "\t// unfrozen error sigmas \n"
              "\t_iaTheta[4] = _n++; // stdev 0\n"
              "\t_iaTheta[5] = -1; // stdev 1\n"
              "\t_iaTheta[6] = _n++; // stdev 2\n"
              "\t*_nth = _n;\n"
              "}\n"
              "\n",
              Packing(23));
}

TEST_F(PackingTest, ThetaCopiesTakeFreeThetasOnly) {
    AddThetaMix();
    EXPECT_EQ("void UnpackTheta(double* _fixef, double* _thvec){\n"
              "\tint _n = 0;\n"
              "\t// copy theta to fixef+error\n"
              "\t// unfrozen, enabled fixed effects \n"
              "\t_fixef[0] = _thvec[_n++];\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\t_fixef[2] = _thvec[_n++];\n"
              "\t}\n"
              "\t_fixef[3] = _thvec[_n++];\n"
              "\t// unfrozen error sigmas \n"
              "\t_fixef[4] = _thvec[_n++];\n"
              "\t_fixef[6] = _thvec[_n++];\n"
              "}\n"
              "\n",
              Packing(25));
    EXPECT_EQ("void   PackTheta(double* _fixef, double* _thvec, int* _nth){\n"
              "\tint _n = 0;\n"
              "\t// copy fixef+error to theta\n"
              "\t// unfrozen, enabled fixed effects \n"
              "\t_thvec[_n++] = _fixef[0];\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\t_thvec[_n++] = _fixef[2];\n"
              "\t}\n"
              "\t_thvec[_n++] = _fixef[3];\n"
              "\t// unfrozen error sigmas \n"
              "\t_thvec[_n++] = _fixef[4];\n"
              "\t_thvec[_n++] = _fixef[6];\n"
              "\t*_nth = _n;\n"
              "}\n"
              "\n",
              Packing(26));
    EXPECT_EQ("void   TypXTheta(double* _fixef, double* _thvec, int* _nth){\n"
              "\tint _n = 0;\n"
              "\t// copy fabs(fixef+error) to theta\n"
              "\t// unfrozen, enabled fixed effects \n"
              "\t_thvec[_n++] = fabs(_fixef[0]);\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\t_thvec[_n++] = fabs(_fixef[2]);\n"
              "\t}\n"
              "\t_thvec[_n++] = fabs(_fixef[3]);\n"
              "\t// unfrozen error sigmas \n"
              "\t_thvec[_n++] = fabs(_fixef[4]);\n"
              "\t_thvec[_n++] = fabs(_fixef[6]);\n"
              "\t*_nth = _n;\n"
              "}\n"
              "\n",
              Packing(28));
}

TEST_F(PackingTest, EstimatedThetasAreTheFreeFixedEffects) {
    AddThetaMix();
    EXPECT_EQ("int GetEstimatedTheta(int * est_theta){\n"
              "\tint _n = 0;\n"
              "\t\test_theta[0] = 1; ++_n;\n"
              "\tif (_is_fixef_enabled(2)){\n"
              "\t\test_theta[2] = 1; ++_n;\n"
              "\t}\n"
              "\t\test_theta[3] = 1; ++_n;\n"
              "\treturn _n;\n"
              "}\n"
              "\n",
              Packing(27));
}

TEST_F(PackingTest, InitialStdevIsTheLastError) {
    EXPECT_EQ("void GetInitialStdev(double* _svec){\n}\n\n", Packing(3));
    AddThetaMix();
    EXPECT_EQ("void GetInitialStdev(double* _svec){\n\t_svec[0] = 2.0;\n}\n\n", Packing(3));
}

// n fixed effects of which k are frozen pack n - k thetas, whatever the routine
TEST_F(PackingTest, FrozenFixedEffectsTakeNoPlace) {
    N fixef = Statement(CN_FIXEF);
    char const* names[] = {"a", "b", "c", "d", "e"};
    for (int i = 0; i < 5; i++)
        AddFixef(fixef, names[i], i % 2 == 1); // b and d frozen
    EXPECT_EQ(3, CountOf(Packing(13), "\t_n++; //"));
    EXPECT_EQ(3, CountOf(Packing(23), "_n++; //"));
    EXPECT_EQ(3, CountOf(Packing(25), "_thvec[_n++]"));
    EXPECT_EQ(3, CountOf(Packing(27), "++_n;"));
    EXPECT_EQ(3, CountOf(Printed([&] { g.GenRoutinesForTheta(2); }), "\t_n++;\n"));
    EXPECT_EQ(2, CountOf(Packing(13), " frozen\n"));
}

// ---- Packing: random effects ------------------------------------------------------------------

TEST_F(PackingTest, InitialOmegaFromTheGivenValues) {
    AddOmegaMix();
    EXPECT_EQ("void GetInitialOmega5(double* _omat){\n"
              "\tint _i = 0;\n"
              "\tdouble _temp = 0;\n"
              "\tfor (_i=0; _i<49; _i++) _omat[_i] = 0;\n"
              "\t_temp = 4.0;\n"
              "\t_omat[0+0+0*7] = _temp;\n"
              "\t_temp = 2.0;\n"
              "\t_omat[0+1+0*7] = _temp;\n"
              "\t_omat[0+0+1*7] = _temp;\n"
              "\t_temp = 5.0;\n"
              "\t_omat[0+1+1*7] = _temp;\n"
              "\t_omat[16+0+0*7] = _omat[0+0+0*7];\n"
              "\t_omat[16+1+0*7] = _omat[0+1+0*7];\n"
              "\t_omat[16+1+1*7] = _omat[0+1+1*7];\n"
              "\t_omat[32+0+0*7] = 9.0;\n"
              "\t_omat[40+0+0*7] = 0.5;\n"
              "\t_omat[40+1+1*7] = 0.25;\n"
              "}\n"
              "\n",
              Packing(4));
}

TEST_F(PackingTest, InitialOmegaDefaultsForMissingValues) {
    N ranef = Statement(CN_RANEF5);
    N given = Values({4});
    given->list.push_back(N()); // left out, as an override block allows
    AddGroup(ranef, CN_RANEF_BLOCK, {"a", "b"}, given);
    std::string text = Packing(4);
    EXPECT_IN_ORDER(text, {"\t_temp = 4.0;\n\t_omat[0+0+0*2] = _temp;\n"
                           "\t_temp = 0;\n\t_omat[0+1+0*2] = _temp;\n\t_omat[0+0+1*2] = _temp;\n"
                           "\t_temp = 1;\n\t_omat[0+1+1*2] = _temp;\n}\n"});
}

TEST_F(PackingTest, EtaVariancesAndSameGroupsReferToTheirModel) {
    AddOmegaMix();
    EXPECT_EQ("double GetEtaVariance5(int _i){\n"
              "\tdouble _temp = 1;\n"
              "\tif (0){\n"
              "\t} else if (_i == 0){\n"
              "\t\t_temp = 4.0;\n"
              "\t} else if (_i == 1){\n"
              "\t\t_temp = 5.0;\n"
              "\t} else if (_i == 2){\n"
              "\t\t_temp = GetEtaVariance5(0);\n"
              "\t} else if (_i == 3){\n"
              "\t\t_temp = GetEtaVariance5(1);\n"
              "\t} else if (_i == 4){\n"
              "\t\t_temp = 9.0;\n"
              "\t} else if (_i == 5){\n"
              "\t\t_temp = 0.5;\n"
              "\t} else if (_i == 6){\n"
              "\t\t_temp = 0.25;\n"
              "\t}\n"
              "\treturn _temp;\n"
              "}\n"
              "\n",
              Packing(5));
}

TEST_F(PackingTest, TruncateKeepsTheLivePartAndRewritesFrozenFromTheFactor) {
    AddOmegaMix();
    EXPECT_EQ("void TruncateOmega5(double* _omat){\n"
              "\tint _i = 0;\n"
              "\tdouble _temp = 0;\n"
              "\tdouble _mtemp[NRANEF5*NRANEF5+1];\n"
              "\tmemcpy(_mtemp, _omat, sizeof(double)*NRANEF5*NRANEF5);\n"
              "\tmemset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);\n"
              "\t_temp = _mtemp[0+0+0*7];\n"
              "\t_omat[0+0+0*7] = _temp;\n"
              "\t_temp = _mtemp[0+1+0*7];\n"
              "\t_omat[0+1+0*7] = _temp;\n"
              "\t_temp = _mtemp[0+1+1*7];\n"
              "\t_omat[0+1+1*7] = _temp;\n"
              "\t_omat[16+0+0*7] = _omat[0+0+0*7];\n"
              "\t_omat[16+1+0*7] = _omat[0+1+0*7];\n"
              "\t_omat[16+1+1*7] = _omat[0+1+1*7];\n"
              "\t_omat[32+0+0*7] = 3.0;\n"
              "\t_temp = _mtemp[40+0+0*7];\n"
              "\t_omat[40+0+0*7] = _temp;\n"
              "\t_temp = _mtemp[40+1+1*7];\n"
              "\t_omat[40+1+1*7] = _temp;\n"
              "}\n"
              "\n",
              Packing(6));
}

TEST_F(PackingTest, UnpackOmegaReadsLiveEntriesAndCopiesSameGroups) {
    AddOmegaMix();
    std::string cells =
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
        "\t_i = 5 + 1;\n\t_j = 5 + 1;\n\t_omat[_j * _ldo + _i] = _pack[_n++];\n";
    EXPECT_EQ("// Caution: omega matrix is assumed to be in lower cholesky form\n"
              "void UnpackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n"
              "\tint _i = 0, _j, _n = 0, _i1 = 0, _j1 = 0, _ldo = *_ldOmat;\n"
              "\tdouble _temp = 0;\n"
              "\t// assert NRANEF5 <= ldo\n" +
                  cells +
                  "\t// assert *_nPack == _n;\n"
                  "}\n"
                  "\n",
              Packing(17));
    // the parameter routines read the omega entries after the thetas
    EXPECT_IN_ORDER(Packing(7), {"\t\t_thvec[_n++] = _pack[_i];\n\t}\n" + cells +
                                 "\t// assert *_nPack == _n;\n}\n\n"});
    EXPECT_IN_ORDER(Packing(8), {"\t\t_thvec[_n++] = _pack[_i];\n\t}\n" + cells +
                                 "\t// assert *_nPack == _n;\n}\n\n"});
}

TEST_F(PackingTest, PackAndTypicalSizesOfOmega) {
    AddOmegaMix();
    auto cell = [](char const* i, char const* j, char const* line) {
        return std::string("\t{\n\t\t_i = ") + i + ";\n\t\t_j = " + j + ";\n" + line + "\t}\n";
    };
    char const* pack = "\t\t_pack[_n++] = _omat[_j * _ldo + _i];\n";
    char const* geo = "\t\t_pack[_n++] = sqrt(fabs(_omat[_j * _ldo + _j]) * fabs(_omat[_i * _ldo "
                      "+ _i]));\n";
    char const* mag = "\t\t_pack[_n++] = fabs(_omat[_j * _ldo + _i]);\n";
    std::string packed = cell("0 + 0", "0 + 0", pack) + cell("0 + 1", "0 + 0", pack) +
                         cell("0 + 1", "0 + 1", pack) + cell("5 + 0", "5 + 0", pack) +
                         cell("5 + 1", "5 + 1", pack);
    // blocks take the geometric mean of their diagonal, diagonal groups their own entry
    std::string typx = cell("0 + 0", "0 + 0", geo) + cell("0 + 1", "0 + 0", geo) +
                       cell("0 + 1", "0 + 1", geo) + cell("5 + 0", "5 + 0", mag) +
                       cell("5 + 1", "5 + 1", mag);
    EXPECT_EQ("// Caution: omega matrix is assumed to be in lower cholesky form\n"
              "void   PackOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n"
              "\tint _i = 0, _j, _n = 0, _ldo = *_ldOmat;\n"
              "\t// assert NTHETA == *nth\n" +
                  packed + "\t*_nPack = _n;\n}\n\n",
              Packing(18));
    EXPECT_EQ("// Caution: omega matrix is assumed to be in lower cholesky form\n"
              "void   TypXOmega(double* _omat, double* _pack, int* _ldOmat, int* _nPack){\n"
              "\tint _i = 0, _j, _n = 0, _ldo = *_ldOmat;\n"
              "\t// assert NTHETA == *nth\n" +
                  typx + "\t*_nPack = _n;\n}\n\n",
              Packing(19));
    for (int mode : {9, 10})
        EXPECT_IN_ORDER(Packing(mode), {"\t}\n" + packed + "\t*_nPack = _n;\n}\n\n"}) << mode;
    for (int mode : {11, 12})
        EXPECT_IN_ORDER(Packing(mode), {"\t}\n" + typx + "\t*_nPack = _n;\n}\n\n"}) << mode;
}

TEST_F(PackingTest, CountsOfLiveOmegaEntries) {
    AddOmegaMix();
    std::string five;
    for (int k = 0; k < 5; k++)
        five += "\t{\n\t\t_n++;\n\t}\n";
    char const* caution = "// Caution: live portion of omega matrix is assumed to be packed in "
                          "lower cholesky form\n";
    EXPECT_EQ(caution + std::string("void   GetNPackRanCov(int* _nPack){\n\tint _n = 0;\n") + five +
                  "\t*_nPack = _n;\n}\n\n",
              Packing(14));
    EXPECT_EQ(caution + std::string("void   GetNPackOmega(int* _nPack){\n\tint _n = 0;\n") + five +
                  "\t*_nPack = _n;\n}\n\n",
              Packing(20));
    EXPECT_EQ(caution + std::string("void   GetNPack(int* _nPack){\n\tint _n = 0;\n") + five +
                  "\t*_nPack = _n;\n}\n\n",
              Packing(13));
    EXPECT_EQ("void   GetPackedIndexError(int* _iStd, int* _index){\n"
              "\tint _n = 0;\n"
              "\t*_index = -1;\n"
              "\t_n++;\n\t_n++;\n\t_n++;\n\t_n++;\n\t_n++;\n"
              "}\n\n",
              Packing(15));
}

TEST_F(PackingTest, PackedIndexOfACovariance) {
    AddOmegaMix();
    auto cell = [](int i, int j) {
        return "\t{\n\t\tif (*_iRan==" + std::to_string(i) + " && *_jRan==" + std::to_string(j) +
               "){*_index = _n; return;}\n\t\t_n++;\n\t}\n";
    };
    EXPECT_EQ("// Caution: live portion of omega matrix is assumed to be packed in lower "
              "cholesky form\n"
              "void   GetPackedIndexRanCov(int* _iRan, int* _jRan, int* _index){\n"
              "\tint _n = 0;\n"
              "\t*_index = -1;\n" +
                  cell(0, 0) + cell(1, 0) + cell(1, 1) + cell(5, 5) + cell(6, 6) + "}\n\n",
              Packing(16));
}

TEST_F(PackingTest, OmegaSequencesCountSameGroupsWithTheirModel) {
    AddOmegaMix();
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n"
              "\tint _n = 0;\n"
              "\t_n++; // block 0\n"
              "\t_n++; // block 3\n"
              "\t*_nSeq = _n;\n"
              "}\n"
              "\n",
              Packing(21));
    EXPECT_EQ("void GetOmegaSequenceInfo(int* _iSeq1, int* _nEta, int* _nSame){\n"
              "\tint _iSeqCount = 0;\n"
              "\t*_nEta = *_nSame = 0;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n"
              "\t\t*_nEta = 2;\n"
              "\t\t*_nSame = 1;\n"
              "\t\treturn;\n"
              "\t}\n"
              "\t_iSeqCount++;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n"
              "\t\t*_nEta = 2;\n"
              "\t\t*_nSame = 0;\n"
              "\t\treturn;\n"
              "\t}\n"
              "\t_iSeqCount++;\n"
              "}\n"
              "\n",
              Packing(22));
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
              "\tint _iSeqCount = 0;\n"
              "\t*_nEta = *_nSame = 0;\n"
              "\tif ((*_iSeq1-1) == _iSeqCount){\n"
              "\t\t*_nEta = 1;\n"
              "\t\t*_nSame = 2;\n"
              "\t\treturn;\n"
              "\t}\n"
              "\t_iSeqCount++;\n"
              "}\n"
              "\n",
              Packing(22));
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n\tint _n = 0;\n\t_n++; // block 3\n"
              "\t*_nSeq = _n;\n}\n\n",
              Packing(21));
    // a chain of same groups copies each from the one just before it
    EXPECT_IN_ORDER(Packing(4), {"\t_omat[0+0+0*6] = 1.0;\n"
                                 "\t_omat[7+0+0*6] = _omat[0+0+0*6];\n"
                                 "\t_omat[14+0+0*6] = _omat[7+0+0*6];\n"
                                 "\t_omat[21+0+0*6] = 1.0;\n"
                                 "\t_omat[28+0+0*6] = _omat[21+0+0*6];\n"
                                 "\t_omat[35+0+0*6] = _omat[28+0+0*6];\n"
                                 "}\n"});
}

TEST_F(PackingTest, RanefToEtaMapKeepsFrozenEtasAtMinusOne) {
    AddOmegaMix();
    EXPECT_EQ("void GetRanefToEtaMap(int* _iaEta, int* _nth){\n"
              "\tint _n = 0;\n"
              "\t_iaEta[0] = _n++; // ranef 0\n"
              "\t_iaEta[1] = _n++; // ranef 1\n"
              "\t_iaEta[2] = _n++; // ranef 2\n"
              "\t_iaEta[3] = _n++; // ranef 3\n"
              "\t_iaEta[4] = (_n++, -1); // ranef 4\n"
              "\t_iaEta[5] = _n++; // ranef 5\n"
              "\t_iaEta[6] = _n++; // ranef 6\n"
              "\t*_nth = _n;\n"
              "}\n"
              "\n",
              Packing(24));
}

TEST_F(PackingTest, FrozenBlockIsInOmegaButNotInThePackedVector) {
    AddThetaMix();
    AddGroup(Statement(CN_RANEF5), CN_RANEF_BLOCK, {"a", "b"}, Values({4, 2, 5}), Values({2, 1, 2}),
             true);
    // the factor, both triangles, as the initial omega writes its values
    EXPECT_IN_ORDER(Packing(6), {"\tmemset(_omat, 0, sizeof(double)*NRANEF5*NRANEF5);\n"
                                 "\t_temp = 2.0;\n"
                                 "\t_omat[0+0+0*2] = _temp;\n"
                                 "\t_temp = 1.0;\n"
                                 "\t_omat[0+1+0*2] = _temp;\n"
                                 "\t_omat[0+0+1*2] = _temp;\n"
                                 "\t_temp = 2.0;\n"
                                 "\t_omat[0+1+1*2] = _temp;\n"
                                 "}\n"});
    EXPECT_IN_ORDER(Packing(4), {"\t_temp = 4.0;\n", "\t_temp = 2.0;\n", "\t_temp = 5.0;\n"});
    EXPECT_IN_ORDER(Packing(5), {"\t} else if (_i == 0){\n\t\t_temp = 4.0;\n",
                                 "\t} else if (_i == 1){\n\t\t_temp = 5.0;\n"});
    for (int mode : {7, 9, 11, 13, 14, 16, 17, 18, 19, 20})
        EXPECT_EQ(0, CountOf(Packing(mode), "_i = 0 + 0") + CountOf(Packing(mode), "\t{\n\t\t_n"))
            << mode;
    EXPECT_EQ(5, CountOf(Packing(13), "_n++"));
    EXPECT_IN_ORDER(Packing(24), {"\t_iaEta[0] = (_n++, -1); // ranef 0\n"
                                  "\t_iaEta[1] = (_n++, -1); // ranef 1\n"
                                  "\t*_nth = _n;\n"});
    EXPECT_EQ("void GetNSeqOmega(int* _nSeq){\n\tint _n = 0;\n\t*_nSeq = _n;\n}\n\n", Packing(21));
}

// ---- Jacobian info, and the routines in Model.cpp ---------------------------------------------

TEST_F(PackingTest, JacobianInfo) {
    struct {
        int ode, jac, matexp, info;
    } const cases[] = {
        {0, 1, 1, -1}, {3, 1, 1, 2}, {3, 1, 0, 1}, {3, 0, 1, 0}, {3, 0, 0, 0},
    };

    for (auto const& c : cases) {
        std::string text = Printed([&] { g.GenODEInfoRoutines(c.ode, c.jac, c.matexp); });
        EXPECT_EQ("// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes\n"
                  "void GetJacobianInfo(int & _piJacobianInfo)\n{\n"
                  "\t_piJacobianInfo = " +
                      std::to_string(c.info) + ";\n}\n",
                  text)
            << c.ode << c.jac << c.matexp;
    }
}

TEST_F(PackingTest, ModelCppPrintsTheRoutinesInTheirOrder) {
    AddThetaMix();
    AddOmegaMix();
    std::string text = Printed([&] { g.GenModelCpp(NV()); });
    EXPECT_IN_ORDER(
        text,
        {"void SetVarUnits(const char* _nm, const char* _units)\n", // end of the globals
         "static double __tvV_low  = 0.0;\n",
         "void RestoreFixefLowInitHighFromModel(){\n",
         "void SetFixefLowInitHigh(",
         "void GetFixefLowInitHigh(",
         "void GetThetaLimits(",
         "void InitFixefErrorEstimate(){\n",
         "void GetFixefErrorInitial(",
         "void GetFixefErrorLimits(",
         "double GetObsSigma(",
         "const char * GetObsSigmaName(",
         "void GetInitialStdev(",
         "void GetInitialOmega5(",
         "double GetEtaVariance5(",
         "void TruncateOmega5(",
         "void UnpackParameters(",
         "void UnpackParameters1(",
         "void   PackParameters(",
         "void   PackParameters1(",
         "void   TypXParameters(",
         "void   TypXParameters1(",
         "void UnpackOmega(",
         "void   PackOmega(",
         "void   TypXOmega(",
         "void GetFixefErrToThetaMap(",
         "void GetRanefToEtaMap(",
         "void UnpackTheta(",
         "void   PackTheta(",
         "int GetEstimatedTheta(",
         "void   TypXTheta(",
         "void   GetNPack(",
         "void   GetNPackOmega(",
         "void GetNSeqOmega(",
         "void GetOmegaSequenceInfo(",
         "void   GetNPackRanCov(",
         "void   GetPackedIndexRanCov(",
         "// jacobian info: 2=can matexp, 1=can stiffjac, 0=no jac, -1=no odes\n"
         "void GetJacobianInfo(int & _piJacobianInfo)\n{\n\t_piJacobianInfo = -1;\n}\n",
         "static const int _temp_res_num = "});
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
        std::ofstream(dir + "/Model.h") << Printed([&] { g.GenModelH("00-00-00-00", 0); });
        std::ofstream(dir + "/Model.cpp") << Printed([&] { g.GenModelCpp(NV()); });
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
