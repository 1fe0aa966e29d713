// The procedures of a trial script as state machines: their states and labels, whom they may
// start or call, and the rows of their classes and statements.
#include "parser/parser.h"
#include "trialgen/trialgen.h"
#include "varo5_test.h"

#include <algorithm>
#include <cstdio>
#include <regex>
#include <string>
#include <vector>

namespace {

// The text written to a temporary file, which is closed.
std::string Drain(FILE* fp) {
    std::string text;
    rewind(fp);
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, fp)) > 0;)
        text.append(buf, n);
    fclose(fp);
    return text;
}

// Each piece must stand in 'text', in this order.
void ExpectInOrder(std::string const& text, std::vector<std::string> const& pieces) {
    size_t at = 0;
    for (std::string const& piece : pieces) {
        size_t found = text.find(piece, at);
        ASSERT_NE(std::string::npos, found) << "missing in order: " << piece << "\nin:\n" << text;
        at = found + piece.size();
    }
}

class ProcTest : public VaroTest {
  protected:
    // Reads a script into the global lists of the trial parser.
    void Script(std::string const& text) {
        buffer = text + std::string(16, '\0');
        char const* p = buffer.c_str();
        parsCohort(p);
        ASSERT_FALSE(IsErrorSet()) << text;
    }

    N Proc(char const* name) {
        for (N const& proc : paProc)
            if (proc->child1->name == name) return proc;
        ADD_FAILURE() << "no procedure " << name;
        return paProc.front();
    }

    // Run, Finally and Print of the procedure.
    std::string RunText(char const* name) {
        CGenCode3 gen;
        gen.fpSource = tmpfile();
        gen.GenCohortProcRunFunction(Proc(name), "\t", paJoin, paModel, paGlobalInt, paProc);
        return Drain(gen.fpSource);
    }

    // The class of the procedure in cohort.h.
    std::string ClassText(char const* name) {
        CGenCode3 gen;
        gen.fpHeader = tmpfile();
        gen.GenCohortProcClass(Proc(name), paJoin, paModel, "\t");
        return Drain(gen.fpHeader);
    }

    std::string buffer;
};

int StateCount(N const& proc) {
    int n = 0;
    GenCohortProcCountStates(proc->child2, n);
    return n;
}

int CollectDepth(N const& proc) {
    int max = 0;
    GenCohortProcMaxCollectDepth(proc->child2, 0, max);
    return max;
}

// The numbers of all matches of 're' (group 1) in 'text'.
std::vector<int> Numbers(std::string const& text, char const* re) {
    std::vector<int> out;
    std::regex r(re);
    for (auto it = std::sregex_iterator(text.begin(), text.end(), r); it != std::sregex_iterator();
         ++it)
        out.push_back(std::stoi((*it)[1]));
    std::sort(out.begin(), out.end());
    return out;
}

} // namespace

TEST_F(ProcTest, StatesAndCollectDepth) {
    struct {
        char const* body;
        int states;
        int depth;
    } const cases[] = {
        {"", 0, 0},
        {"sleep(1) call s() suspend", 3, 0},
        {"if (x) sleep(1) else if (y) sleep(2) else { sleep(3) }", 3, 0},
        {"while (x) for (i in 1 : 2) steadystate { sleep(1) }", 1, 0},
        {"collect { start s() collect start s() } collect sleep(1)", 4, 2},
        {"collect { collect { collect { start s() } } }", 3, 3},
        {"start s() x = 1 observe(x) bolus(a$A1, 1)", 0, 0},
    };

    for (auto const& c : cases) {
        Script(std::string("sproc s() { }\nsubject() { ") + c.body + " }\n");
        N proc = Proc("subject");
        EXPECT_EQ(c.states, StateCount(proc)) << c.body;
        EXPECT_EQ(c.depth, CollectDepth(proc)) << c.body;
    }
}

// Every state of the dispatch has exactly one label, written out or left by SLEEP, CALL or
// SUSPEND; every start wakes its procedure at one of them; the braces balance.
TEST_F(ProcTest, EachLabelHasOneCase) {
    Script("model pk() { deriv(A1 = -A1) dosepoint(A1) }\n"
           "join { a : pk() }\n"
           "int(n)\n"
           "sproc s(d) { sleep(d) call t() while (d > 0) { sleep(1) d = d - 1 } }\n"
           "sproc t() { }\n"
           "subject(iArm) {\n"
           "  collect { start s(1) collect { start s(2) sleep(1) collect start t() } suspend }\n"
           "  for (i in 1 : 12) { sleep(i) call s(i) }\n"
           "  if (n > 1) { collect start s(3) } else suspend\n"
           "  start t()\n"
           "}\n"
           "main() { collect for (j in 1 : n) start subject(j) sleep(1) start subject(0) }\n");
    for (char const* name : {"s", "t", "subject", "main"}) {
        std::string run = RunText(name);
        int n = 1 + (std::string(name) == "subject") + StateCount(Proc(name));
        std::vector<int> all;
        for (int i = 1; i <= n; i++)
            all.push_back(i);
        EXPECT_EQ(all, Numbers(run, R"(case (\d+):goto L\1;)")) << run;
        std::vector<int> labels =
            Numbers(run, R"((?:\bL|SLEEP\(|CALL\(|SUSPEND\()(\d+)(?::;|,|\)))");
        EXPECT_EQ(all, labels) << run;
        for (int woken : Numbers(run, R"(START\(new \w+\(this, (\d+))"))
            EXPECT_TRUE(std::binary_search(labels.begin(), labels.end(), woken)) << run;
        EXPECT_EQ(std::count(run.begin(), run.end(), '{'), std::count(run.begin(), run.end(), '}'))
            << run;
    }
    // subject: 1 the root, 2 to 6 the first collect, 7 and 8 the loop, 9 and 10 the test, 11
    // the last sleep; the dispatch breaks its line after the tenth case
    ExpectInOrder(
        RunText("subject"),
        {"\tswitch(iState){case 1:goto L1;", "case 10:goto L10;\n\tcase 11:goto L11;}\n",
         "\t\t\t\t++_nSubordinate[1];\n\t\t\t\tSTART(new s(this, 2, this, 1.0));\n",
         "START(new s(this, 3, this, 2.0));", "SLEEP(4, 1.0, 0);",
         "\t\t\t\t\t\t\t++_nSubordinate[3];\n\t\t\t\t\t\t\tSTART(new t(this, 5, this));\n",
         "L5:; if (--_nSubordinate[3] > 0) return;", "L3:; if (--_nSubordinate[2] > 0) return;",
         "SUSPEND(6);", "L2:; if (--_nSubordinate[1] > 0) return;",
         "\t\tfor(i = (int)(1.0); !bStop && i <= 12.0; i++){\n",
         "\t\t\tSLEEP(7, i, 0);\n\t\t\tAdvance(StateMachine::CurrentAbsTime());\n",
         "\t\t\tCALL(8, new s(this, 8, this, i));\n", "\t\tif((n > 1.0)){\n",
         "START(new s(this, 9, this, 3.0));", "\t\telse {\n\t\t\tSUSPEND(10);\n\t\t}\n",
         "\t\t++_nSubordinate[0];\n\t\tSTART(new t(this, 1, this));\n",
         "\tL1:; if (--_nSubordinate[0] > 0) return;\n", "\tSLEEP(11, 0, 10);\n"});
}

// An sproc's loops stop with its subject, and its sleep advances the subject; main has neither
// test nor advance and starts subjects with no subject argument.
TEST_F(ProcTest, StatementRowsByKind) {
    Script("model pk() { deriv(A1 = -A1) }\n"
           "join { a : pk() }\n"
           "int(n)\n"
           "sproc s(d) { int(k) while (d > 0) d = d - 1 for (i in 1 : 2) k = d / 2 sleep(1) }\n"
           "subject() { call s(1) }\n"
           "main() { double(x) x = n / 2 n = x sleep(x, 2) start subject() }\n");
    ExpectInOrder(RunText("s"), {"\tpk& a = _pSubj->a;\n", "\tk = 0;\n\ti = 0;\n",
                                 "\t\twhile(!_pSubj->bStop && ((d > 0.0))){\n",
                                 "\t\tfor(i = (int)(1.0); !_pSubj->bStop && i <= 2.0; i++){\n",
                                 "\t\t\tk = (int)((d / 2.0));\n", "\t\tSLEEP(2, 1.0, 0);\n",
                                 "\t\t_pSubj->Advance(StateMachine::CurrentAbsTime());\n"});
    std::string main = RunText("main");
    ExpectInOrder(main, {"\tx = 0;\n", "\t\tx = n / 2.0;\n", "\t\tn = (int)(x);\n",
                         "\t\tSLEEP(2, x, 2.0);\n\t\t++_nSubordinate[0];\n",
                         "\t\tSTART(new subject(this, 1));\n"});
    EXPECT_EQ(std::string::npos, main.find("Advance")) << main;
}

// A subject wires every input of an instance to the member its join item names; iArm and iPer
// start at -1 unless they are parameters, and the parameters are members but not zeroed.
TEST_F(ProcTest, SubjectClassWiresInstances) {
    Script("model pk(Cin) { deriv(A1 = -A1 + Cin) }\n"
           "model pd(C, D) { E = C + D }\n"
           "join { a : pk(b$E) }\n"
           "join { b : pd(a$A1, a$A1) }\n"
           "subject(iPer, w) { double(x) int(k) for (i in 1 : 2) x = i }\n"
           "main() { }\n");
    std::string cls = ClassText("subject");
    ExpectInOrder(cls, {"\tbool GetSS();\n\tpk a;\n\tpd b;\n",
                        "\tsubject() : pCaller(0L), iStateCaller(-1) {}\n",
                        "\tdouble x;\n\tdouble iPer;\n\tdouble w;\n\tint k;\n\tint i;\n",
                        "\tint bStop;\n",
                        "\tsubject(StateMachine* _pc, int _istc, double _iPer, double _w) : "
                        "pCaller(_pc), iStateCaller(_istc), _pSubj(this), iPer(_iPer), w(_w), "
                        "tSubjectStartTime(",
                        "\t\tbStop = 0;\n\t\tiArm = -1;\n\t\ta._sInstance = strdup(\"a\");\n",
                        "\t\ta._pSubj = this;\n\t\ta._pCin = &b.E;\n",
                        "\t\tb._pC = &a.A1;\n\t\tb._pD = &a.A1;\n\t}\n",
                        "\tvirtual int IsSubject(){return 1;}\n"});
    EXPECT_EQ(std::string::npos, cls.find("iPer = -1")) << cls;
    std::string run = RunText("subject");
    ExpectInOrder(run, {"\tx = 0;\n\tk = 0;\n\ti = 0;\n\t_bAbortingSubject = 0;\n"});
    EXPECT_EQ(std::string::npos, run.find("iPer = 0")) << run;
    EXPECT_EQ(std::string::npos, run.find("w = 0")) << run;
}

// main and proc may start or call a proc or a subject; subject and sproc only an sproc. Any
// other pair, or a name that is no procedure, ends the run.
TEST_F(ProcTest, CallsByProcedureKind) {
    struct {
        char const* caller;
        char const* callee;
        bool ok;
    } const cases[] = {
        {"main", "p", true},    {"main", "subject", true}, {"main", "s", false},
        {"p", "p", true},       {"p", "subject", true},    {"p", "s", false},
        {"subject", "s", true}, {"subject", "p", false},   {"subject", "subject", false},
        {"s", "s", true},       {"s", "p", false},         {"s", "nothing", false},
    };

    Script("proc p() { } sproc s() { } subject() { } main() { }\n");
    for (auto const& c : cases)
        for (char const* word : {"start", "call"}) {
            std::string body = std::string(word) + " " + c.callee + "()";
            buffer = body + std::string(16, '\0');
            char const* p = buffer.c_str();
            N stmt;
            parsProcStmt(p, stmt, PROC_MAIN);
            N caller = Proc(c.caller);
            if (c.ok) {
                GenCohortProcSprocCheck(caller->type, stmt, paProc, caller);
                continue;
            }
            std::string msg = std::string("Error: in procedure ") + c.caller +
                              " the call of procedure " + c.callee +
                              " is invalid due to procedure type";
            EXPECT_EXIT(GenCohortProcSprocCheck(caller->type, stmt, paProc, caller),
                        ::testing::ExitedWithCode(1), msg)
                << body << " in " << c.caller;
        }
}
