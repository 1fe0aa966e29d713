// Error reports (the message line, the echoed source line and its carets), the parser's
// exceptions, ErrPos, the warnings log and the misspelling warnings.
#include "driver/diag.h"
#include "varo5_test.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdlib.h>
#include <string>
#include <unistd.h>

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

// One SetErr call on 'text': offsets of line, start and end (-1 for a null pointer).
struct ErrCase {
    char const* what;
    char const* text;
    int lineAt, startAt, endAt;
    int lineArg; // passed as the 'iLine' argument
    char const* expected;
};

char const* At(char const* text, int off) {
    return off < 0 ? nullptr : text + off;
}

} // namespace

TEST_F(VaroTest, SetErrPrintsMessageLineAndMarkedSource) {
    // clang-format off
    ErrCase const cases[] = {
        {"tab at column 0 counts 8, three carets", "x = 1\n\ty = a+b\n", 6, 11, 14, 2,
         "Error line 2: bad\n        y = a+b\n            ^^^\n"},
        {"tab in mid line goes to the next multiple of 8", "ab\tc = 1\n", 0, 3, -1, 5,
         "Error line 5: bad\nab      c = 1\n        ^\n"},
        {"no end gives one caret; echo stops at CR", "k = 1 + ;\r\nnext", 0, 8, -1, 3,
         "Error line 3: bad\nk = 1 + ;\n        ^\n"},
        {"start behind the end of the line leaves the caret at column 0", "ab\ncd", 0, 4, -1, 1,
         "Error line 1: bad\nab\n^\n"},
        {"start null: message line only", "abc", 0, -1, -1, 4, "Error line 4: bad\n"},
        {"earlier line, span with end: the span text, literally", "q = 100 %% b\nnext\n", 13, 4,
         12, 8, "Error line 8: bad\n100 %% b\n"},
        {"earlier line, no end: up to the line feed", "q = 5 %% x\nnext\n", 11, 0, -1, 8,
         "Error line 8: bad\nq = 5 %% x\n"},
        {"earlier line, no end and no line feed: to the end of the text", "q %%\0zz", 5, 0, -1, 8, "Error line 8: bad\nq %%\n"},
    };
    // clang-format on
    for (ErrCase const& c : cases) {
        SCOPED_TRACE(c.what);
        sErr = nullptr;
        bFatalError = false;
        CaptureStderr();
        SetErr("bad", At(c.text, c.startAt), At(c.text, c.endAt), At(c.text, c.lineAt), c.lineArg);
        EXPECT_EQ(c.expected, GetCapturedStderr());
        EXPECT_STREQ("bad", sErr);
        EXPECT_TRUE(bFatalError);
        EXPECT_TRUE(IsErrorSet());
    }
}

TEST_F(VaroTest, SetErrFallsBackToTheScannerGlobals) {
    char const* text = "a = 1\nb = ?\n";
    // Line 1, before any line break: currentLine is null, so no echo.
    CaptureStderr();
    SetErr("first", text + 4, nullptr, nullptr, -1);
    EXPECT_EQ("Error line 1: first\n", GetCapturedStderr());

    // Later: the global line number and line start stand in for -1 and null; the second
    // report replaces the pending message.
    iLine = 7;
    currentLine = text + 6;
    CaptureStderr();
    SetErr("second", text + 10, nullptr, nullptr, -1);
    EXPECT_EQ("Error line 7: second\nb = ?\n    ^\n", GetCapturedStderr());
    EXPECT_STREQ("second", sErr);

    // Explicit arguments win over the globals.
    CaptureStderr();
    SetErr("third", text + 2, text + 3, text, 3);
    EXPECT_EQ("Error line 3: third\na = 1\n  ^\n", GetCapturedStderr());
}

TEST_F(VaroTest, SetErrWithNullMessageOnlyClearsThePendingError) {
    for (bool fatal : {false, true}) {
        sErr = "pending";
        bFatalError = fatal;
        CaptureStderr();
        SetErr(nullptr, nullptr, nullptr, nullptr, -1);
        EXPECT_EQ("", GetCapturedStderr());
        EXPECT_FALSE(IsErrorSet());
        EXPECT_EQ(fatal, bFatalError);
    }
}

TEST_F(VaroTest, SyntaxErrReportsThenThrows) {
    char const* text = "x = 1\ny = (2\n";
    iLine = 2;
    currentLine = text + 6;
    CaptureStderr();
    try {
        syntax_err("Missing ')'", text + 11);
        ADD_FAILURE() << "syntax_err returned";
    } catch (SyntaxError const& e) {
        EXPECT_EQ("Missing ')'", e.msg);
        EXPECT_EQ(text + 6, e.pos.line);
        EXPECT_EQ(text + 11, e.pos.start);
        EXPECT_EQ(text + 11, e.pos.end);
        EXPECT_EQ(2, e.pos.iLine);
    }
    EXPECT_EQ("Error line 2: Missing ')'\ny = (2\n     ^\n", GetCapturedStderr());
    EXPECT_TRUE(IsErrorSet());

    // The bare form has been reported by its caller: it only throws.
    sErr = nullptr;
    CaptureStderr();
    EXPECT_THROW(syntax_err(), SyntaxError);
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_FALSE(IsErrorSet());
}

TEST_F(VaroTest, PosSpanText) {
    char const* text = "abc def";
    EXPECT_EQ("def", Pos(text, text + 4, text + 7, 1).get_str());
    EXPECT_EQ("", Pos().get_str());
    EXPECT_EQ(-1, Pos().iLine);
    iLine = 6;
    currentLine = text;
    Pos p = get_pos(text + 1, text + 2);
    EXPECT_EQ(text, p.line);
    EXPECT_EQ(6, p.iLine);
    EXPECT_EQ("b", p.get_str());
}

TEST_F(VaroTest, ErrPosReportsAtDestructionWhereAsked) {
    char const* text = "\tV = Cl * tlag\n";
    Pos pos(text, text + 5, text + 7, 12); // "Cl"

    struct {
        int how; // 0 at start, 1 at end, 2 whole
        char const* expected;
    } const cases[] = {
        {0, "Error line 12: Unknown Cl (2)\n        V = Cl * tlag\n            ^\n"},
        {1, "Error line 12: Unknown Cl (2)\n        V = Cl * tlag\n              ^\n"},
        {2, "Error line 12: Unknown Cl (2)\n        V = Cl * tlag\n            ^^\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.how);
        sErr = nullptr;
        CaptureStderr();
        if (c.how == 2)
            err_pos(pos) << "Unknown " << pos.get_str() << " (" << 2 << ")";
        else
            err_pos(pos, c.how == 0) << "Unknown " << pos.get_str() << " (" << 2 << ")";
        EXPECT_EQ(c.expected, GetCapturedStderr());
        EXPECT_STREQ("Unknown Cl (2)", sErr);
    }

    // A named object reports when it goes out of scope, not before.
    sErr = nullptr;
    CaptureStderr();
    {
        ErrPos e(pos, ErrPos::AtStart);
        e << "late";
        EXPECT_FALSE(IsErrorSet());
    }
    EXPECT_EQ("Error line 12: late\n        V = Cl * tlag\n            ^\n", GetCapturedStderr());
    EXPECT_STREQ("late", sErr);
}

// Warning() opens its stream once per process, so this is the only test in the binary that
// may call it.
TEST_F(VaroTest, WarningsLogAppearsOnlyWithTheFirstWarning) {
    char tmpl[] = "/tmp/varo5_warnXXXXXX";
    ASSERT_NE(nullptr, mkdtemp(tmpl));
    char old[4096];
    ASSERT_NE(nullptr, getcwd(old, sizeof old));
    ASSERT_EQ(0, chdir(tmpl));

    std::ofstream("VARO5Warnings.log") << "stale\n";
    ClearWarnings();
    EXPECT_FALSE(std::ifstream("VARO5Warnings.log").good());

    std::string const text = "Warning: zero omega value turns the random effect off - 'nV'\n";
    Warning() << text << std::flush;
    std::ifstream in("VARO5Warnings.log");
    std::stringstream got;
    got << in.rdbuf();
    EXPECT_EQ(text, got.str());

    remove("VARO5Warnings.log");
    EXPECT_EQ(0, chdir(old));
    rmdir(tmpl);
}

TEST_F(VaroTest, MisspellingWarnings) {
    struct {
        char const* word;
        char const* known;
        bool warned;
    } const pairs[] = {
        {"x", "x", false},
        {"Deriv", "deriv", true},
        {"foo", "bar", false},
        {"derive", "deriv", false},
    };

    for (auto const& c : pairs) {
        SCOPED_TRACE(c.word);
        CaptureStderr();
        EXPECT_EQ(c.warned, WarnOfPossibleMisspelling1(c.word, c.known));
        std::string expected = c.warned ? std::string("Warning: Is '") + c.word +
                                              "' a misspelling of '" + c.known + "'? \r\n"
                                        : "";
        EXPECT_EQ(expected, GetCapturedStderr());
    }

    struct {
        char const* word;
        char const* expected;
    } const words[] = {
        {"DERIV", "Warning: Is 'DERIV' a misspelling of 'deriv'? \r\n"},
        {"Exp", "Warning: Is 'Exp' a misspelling of 'exp'? \r\n"},
        {"deriv", ""},
        {"exp", ""},
        {"frobnicate", ""},
    };

    for (auto const& c : words) {
        SCOPED_TRACE(c.word);
        CaptureStderr();
        WarnOfPossibleMisspelling(c.word);
        EXPECT_EQ(c.expected, GetCapturedStderr());
    }
    EXPECT_FALSE(IsErrorSet());
    EXPECT_FALSE(bFatalError);
}
