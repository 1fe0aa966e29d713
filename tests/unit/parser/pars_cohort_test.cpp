// Trial scripts: the top-level lists, join items, procedures of each kind with every statement
// of the procedure language, and the allocation statement with its defaults.
#include "parser/parser.h"
#include "varo5_test.h"

#include <string>

namespace {

class CohortTest : public VaroTest {
  protected:
    // Reads a script into the global lists; stderr is left in 'err'.
    void Script(std::string const& text) {
        sErr = nullptr;
        iLine = 1;
        currentLine = nullptr;
        buffer = text + std::string(16, '\0');
        char const* p = buffer.c_str();
        testing::internal::CaptureStderr();
        parsCohort(p);
        err = testing::internal::GetCapturedStderr();
        rest = p;
    }

    std::string buffer, err, rest;
};

TEST_F(CohortTest, TopLevelLists) {
    Script("model pk(Cin) { C = A / V } ; model pd(C) { E = C }\n"
           "join { a : pk(); b : pd(a$C, a$V) }\n"
           "units { t = h }\n"
           "int(nSubj iRep) double(dose) real(tau, w)\n"
           "main() { } proc main() { } sproc dose2(n) { } subject(iSub, iArm) { }\n"
           "unknown");
    EXPECT_EQ("", err);
    EXPECT_EQ("unknown", rest); // left to the caller
    ASSERT_EQ(2u, paModel.size());
    EXPECT_EQ("(CN_MODEL (CN_CALL pd [C]) (CN_BLOCK [(CN_ASSIGN E C)]))", DumpTree(paModel[1]));
    ASSERT_EQ(1u, paJoin.size());
    EXPECT_EQ("(CN_JOIN [(CN_JOIN_ITEM a (CN_CALL pk)) (CN_JOIN_ITEM b (CN_CALL pd [(CN_MEMBER "
              "a C) (CN_MEMBER a V)]))])",
              DumpTree(paJoin[0]));
    EXPECT_EQ(1u, paUnits.size());
    ASSERT_EQ(2u, paGlobalInt.size());
    EXPECT_EQ("iRep", DumpTree(paGlobalInt[1]));
    ASSERT_EQ(3u, paGlobalDbl.size());
    EXPECT_EQ("w", DumpTree(paGlobalDbl[2]));
    ASSERT_EQ(4u, paProc.size());
    EXPECT_EQ("(CN_PROC (CN_CALL main) (CN_BLOCK))", DumpTree(paProc[0]));
    EXPECT_EQ("(CN_PROC (CN_CALL main) (CN_BLOCK))", DumpTree(paProc[1]));
    EXPECT_EQ("(CN_PROC_SPROC (CN_CALL dose2 [n]) (CN_BLOCK))", DumpTree(paProc[2]));
    EXPECT_EQ("(CN_PROC_SUBJECT (CN_CALL subject [iSub iArm]) (CN_BLOCK))", DumpTree(paProc[3]));

    Script("main() { }");
    EXPECT_TRUE(paModel.empty() && paJoin.empty() && paGlobalInt.empty());
}

// Every statement of a procedure, each in the kind that allows it, in one script.
TEST_F(CohortTest, ProcedureStatements) {
    struct {
        char const* stmt;
        char const* tree;
    } const cases[] = {
        {"int(i, n)", "(CN_INT_DECL [i n])"},
        {"double(x y)", "(CN_DOUBLE_DECL [x y])"},
        {"real(z)", "(CN_DOUBLE_DECL [z])"},
        {"{ x = 1; y = 2 }", "(CN_BLOCK [(CN_ASSIGN x 1) (CN_ASSIGN y 2)])"},
        {"allocation(strata(sex, wt > 70) arms(2, 1) block(3))",
         "(CN_CALL _allocation [(CN_CALL _strata [(CN_CALL round [sex]) (CN_CALL round [(CN_GT "
         "wt 70)])]) (CN_CALL _arms [2 1]) (CN_CALL _block [3])])"},
        {"allocation()", "(CN_CALL _allocation [(CN_CALL _strata [(CN_CALL round [0])]) (CN_CALL "
                         "_arms [1]) (CN_CALL _block [1])])"},
        {"allocation(arms(), block(2),)", "(CN_CALL _allocation [(CN_CALL _strata [(CN_CALL round "
                                          "[0])]) (CN_CALL _arms [1]) (CN_CALL _block [2])])"},
        {"distrib(wt = N(70, 10))",
         "(CN_DISTRIB (CN_DIST_LIST [(CN_DISTRIB_CONT wt)]) (CN_DISTRIB_SUBPOPS [(CN_DIST_NORM "
         "70 10 0)]))"},
        {"bolus(a$A, 100)", "(CN_PROC_BOLUS _ (CN_MEMBER a A) 100)"},
        {"infuse(a$A, 100, 10)", "(CN_PROC_INFUSE _ (CN_MEMBER a A) 100 10)"},
        {"observe(a$C)", "(CN_PROC_OBSERVE _ (CN_MEMBER a C))"},
        {"collect { start subject(1) }",
         "(CN_COLLECT (CN_BLOCK [(CN_START (CN_CALL subject [1]))]))"},
        {"start subject(2)", "(CN_START (CN_CALL subject [2]))"},
        {"call dosing(3)", "(CN_PROC_CALL (CN_CALL dosing [3]))"},
        {"sleep(1, 2)", "(CN_SLEEP 1 2)"},
        {"sleep(5)", "(CN_SLEEP 5)"},
        {"peakreset(Cmax)", "(CN_PEAKRESET Cmax)"},
        {"if (x > 1) y = 2 else if (x > 0) { sleep(1) } else y = 0",
         "(CN_IF (CN_GT x 1) (CN_ASSIGN y 2) (CN_IF (CN_GT x 0) (CN_BLOCK [(CN_SLEEP 1)]) "
         "(CN_ASSIGN y 0)))"},
        {"steadystate { bolus(a$A, 1); sleep(24) }",
         "(CN_STEADYSTATE (CN_BLOCK [(CN_PROC_BOLUS _ (CN_MEMBER a A) 1) (CN_SLEEP 24)]))"},
        {"while (x < 3) x = x + 1", "(CN_WHILE (CN_LT x 3) (CN_ASSIGN x (CN_ADD x 1)))"},
        {"for (i in 1 : n) observe(a$C)", "(CN_FOR i 1 n (CN_PROC_OBSERVE _ (CN_MEMBER a C)))"},
        {"sample(\"f.csv\", random, k = K)", "(CN_SAMPLE)"},
        {"y = x * 2", "(CN_ASSIGN y (CN_MUL x 2))"},
    };

    // One script: every row in main and again in a subject, which also suspends.
    std::string rows;
    for (auto const& c : cases)
        rows += std::string("    ") + c.stmt + "\n";
    Script("join { a : pk(b$C) }\nmain() {\n" + rows + "    resume(m)\n}\nsubject(iSub) {\n" +
           rows + "    suspend\n}\n");
    EXPECT_EQ("", err);
    EXPECT_EQ("(CN_JOIN [(CN_JOIN_ITEM a (CN_CALL pk [(CN_MEMBER b C)]))])",
              DumpTree(paJoin.at(0)));
    ASSERT_EQ(2u, paProc.size());
    size_t n = sizeof cases / sizeof *cases;
    for (N const& proc : paProc) {
        NV const& body = proc->child2->list;
        ASSERT_EQ(n + 1, body.size());
        for (size_t i = 0; i < n; i++)
            EXPECT_EQ(cases[i].tree, DumpTree(body[i])) << cases[i].stmt;
    }
    EXPECT_EQ("(CN_RESUME m)", DumpTree(paProc[0]->child2->list[n]));
    EXPECT_EQ("(CN_SUSPEND)", DumpTree(paProc[1]->child2->list[n]));
}

// resume belongs to main, suspend to subject, also deep inside other statements.
TEST_F(CohortTest, ResumeAndSuspendByKind) {
    struct {
        char const* script;
        char const* err;
    } const cases[] = {
        {"main() { resume(m) }", ""},
        {"proc main() { resume(m) }", "`resume` statement only allowed in main script"},
        {"subject() { resume(m) }", "`resume` statement only allowed in main script"},
        {"sproc s() { resume(m) }", "`resume` statement only allowed in main script"},
        {"subject() { while (1) { if (x) suspend } }", ""},
        {"main() { suspend }", "`suspend` statement only allowed in subject script"},
        {"proc p() { for (i in 1 : 2) suspend }",
         "`suspend` statement only allowed in subject script"},
        {"sproc s() { collect suspend }", "`suspend` statement only allowed in subject script"},
    };

    for (auto const& c : cases) {
        Script(c.script);
        EXPECT_EQ(c.err[0] ? "Error line 1: " + std::string(c.err) + "\n" : "", err) << c.script;
        EXPECT_EQ(c.err[0] ? 0u : 1u, paProc.size()) << c.script;
    }
}

} // namespace
