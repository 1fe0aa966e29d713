// Tests of the scanner: white space and comments with their line counting, the see* tests
// on the text under a cursor, the known-word tables, the recovery walk after a failed
// statement, and the messages of the expect_* forms.
#include "parser/parser.h"
#include "varo5_test.h"

#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

class ScannerTest : public VaroTest {
  protected:
    // A copy of 's' that lives to the end of the test, zero-padded behind its end as the
    // input reader leaves a file.
    char const* Text(std::string const& s) {
        texts.emplace_back(s.begin(), s.end());
        texts.back().resize(s.size() + 16, 0);
        return texts.back().data();
    }

    // Offset of `currentLine` in 'base', or -1 while no line break has been scanned.
    static long LineOffset(char const* base) { return currentLine ? currentLine - base : -1; }

    std::deque<std::vector<char>> texts;
};

TEST_F(ScannerTest, ScanWhiteSkipsBlanksAndCommentsAndCountsLines) {
    struct Case {
        char const* in;
        char const* rest;
        int line;
        long lineStart; // -1: no line break seen
    };

    // clang-format off
    std::vector<Case> const cases = {
        {"", "", 1, -1},
        {"x # c", "x # c", 1, -1},
        {" \t\r\x01\x1f x", "x", 1, -1},
        {"# c\nx", "x", 2, 4},
        {"#only", "", 1, -1},
        {"// c\n\n  x", "x", 3, 6},
        {"  #c\r\n#d\ny", "y", 3, 9},
        {"/* a\nb\n */x", "x", 3, 7},
        {"/*/ x*/y", "y", 1, -1},          // the "*" of "/*" does not close it
        {"/**/x", "x", 1, -1},
        {"/* never closed\n fixef(", "", 2, 16},
        {"/ x", "/ x", 1, -1},             // a lone "/" is text
        {"*/x", "*/x", 1, -1},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        SetUp();
        char const* base = Text(c.in);
        char const* p = base;
        char const* ret = ScanWhite(p);
        EXPECT_EQ(ret, p);
        EXPECT_STREQ(c.rest, p);
        EXPECT_EQ(c.line, iLine);
        EXPECT_EQ(c.lineStart, LineOffset(base));
    }
}

TEST_F(ScannerTest, SeeNum) {
    struct Case {
        char const* in;
        int ok;
        double value;
        char const* text;
        char const* rest;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {".5", 1, 0.5, ".5", ""},
        {"5.", 1, 5, "5.", ""},
        {"5.e3", 1, 5000, "5.e3", ""},
        {"-.5", 1, -0.5, "-.5", ""},
        {"1e+5", 1, 1, "1", "e+5"},
        {"1e-5", 1, 1e-5, "1e-5", ""},
        {"1e", 1, 1, "1", "e"},
        {"1E3x", 1, 1000, "1E3", "x"},
        {"2.5e-x", 1, 2.5, "2.5", "e-x"},
        {"-3e2)", 1, -300, "-3e2", ")"},
        {"12.34.5", 1, 12.34, "12.34", ".5"},
        {"007,", 1, 7, "007", ","},
        {"  /* c */ 42 ", 1, 42, "42", " "},
        {".", 0, 0, nullptr, "."},
        {"  .x", 0, 0, nullptr, ".x"},
        {"-", 0, 0, nullptr, "-"},
        {" -x", 0, 0, nullptr, "-x"},
        {" - 5", 0, 0, nullptr, "- 5"},
        {"-.e3", 0, 0, nullptr, "-.e3"},
        {"e5", 0, 0, nullptr, "e5"},
        {"", 0, 0, nullptr, ""},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        char text[NAME_BUF_SIZE] = "unchanged";
        double value = -99;
        EXPECT_EQ(c.ok, seeNum(p, value, text));
        EXPECT_STREQ(c.rest, p);
        if (!c.ok) continue;
        EXPECT_DOUBLE_EQ(c.value, value);
        EXPECT_STREQ(c.text, text);
        // Without a text buffer the number is read the same.
        char const* q = Text(c.in);
        double value2 = -99;
        EXPECT_EQ(1, seeNum(q, value2, nullptr));
        EXPECT_DOUBLE_EQ(c.value, value2);
        EXPECT_STREQ(c.rest, q);
    }
}

TEST_F(ScannerTest, SeeInt) {
    struct Case {
        char const* in;
        int ok;
        int value;
        char const* rest;
    };

    std::vector<Case> const cases = {
        {"42", 1, 42, ""},    {"-7x", 1, -7, "x"},  {" 0012;", 1, 12, ";"},
        {"3.5", 1, 3, ".5"},  {"- 7", 0, 0, "- 7"}, {"-", 0, 0, "-"},
        {"  x1", 0, 0, "x1"}, {"+5", 0, 0, "+5"},   {"", 0, 0, ""},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        int value = -99;
        EXPECT_EQ(c.ok, seeInt(p, value));
        EXPECT_STREQ(c.rest, p);
        if (!c.ok) continue;
        EXPECT_EQ(c.value, value);
    }
}

TEST_F(ScannerTest, SeeWordNeedsAWordBoundaryAndExactCase) {
    struct Case {
        char const* in;
        char const* word;
        int ok;
        char const* rest;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {"fixef(", "fixef", 1, "("},
        {"fixef", "fixef", 1, ""},
        {"fixef.x", "fixef", 1, ".x"},
        {"  # c\n fixef ", "fixef", 1, " "},
        {"fixefs", "fixef", 0, "fixefs"},
        {"ranef5", "ranef", 0, "ranef5"},
        {"ranef_x", "ranef", 0, "ranef_x"},
        {"Fixef", "fixef", 0, "Fixef"},
        {"FIXEF", "fixef", 0, "FIXEF"},
        {" fix", "fixef", 0, "fix"},
        {"LL(", "LL", 1, "("},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        EXPECT_EQ(c.ok, seeWord(p, c.word));
        EXPECT_STREQ(c.rest, p);
    }
    // "_" is a word character only while underscores are letters.
    bAllowUnderscore = 0;
    char const* p = Text("ranef_x");
    int seen = seeWord(p, "ranef");
    bAllowUnderscore = 1;
    EXPECT_EQ(1, seen);
    EXPECT_STREQ("_x", p);
}

TEST_F(ScannerTest, SeeAssignOpAndSeeChars) {
    struct Case {
        char const* in;
        int ok;
        char const* rest;
    };

    std::vector<Case> const ops = {
        {"=1", 1, "1"},      {" = =", 1, " ="}, {"==1", 0, "==1"}, {"<-1", 1, "1"},
        {"< -1", 0, "< -1"}, {"<1", 0, "<1"},   {":=", 0, ":="},   {"", 0, ""},
    };
    for (Case const& c : ops) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        EXPECT_EQ(c.ok, seeAssignOp(p));
        EXPECT_STREQ(c.rest, p);
    }

    struct CharsCase {
        char const* in;
        char const* s;
        int ok;
        char const* rest;
    };

    // clang-format off
    std::vector<CharsCase> const chars = {
        {"abc", "ab", 1, "c"},
        {"  # c\nabc", "abc", 1, ""},
        {"fixefs", "fixef", 1, "s"},       // no word boundary
        {"abc", "abd", 0, "abc"},
        {" ab", "abc", 0, "ab"},
        {"  x", nullptr, 0, "  x"},        // NULL and empty skip nothing
        {"  x", "", 0, "  x"},
    };
    // clang-format on
    for (CharsCase const& c : chars) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        EXPECT_EQ(c.ok, seeChars(p, c.s));
        EXPECT_STREQ(c.rest, p);
    }
}

// One table for the three tests that copy a name or a text into a buffer.
TEST_F(ScannerTest, SeeIdSeeStrAndFunnyNames) {
    using Fn = std::function<int(char const*&, char*)>;
    Fn const id = seeId, funny = seeIdAllowFunnyChars, str = seeStr;

    struct Case {
        char const* what;
        Fn const& test;
        char const* in;
        int ok;
        char const* out;
        char const* rest;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {"id", id, "abc1 x", 1, "abc1", " x"},
        {"id", id, "_a2(", 1, "_a2", "("},
        {"id", id, "  # c\n x_y2.z", 1, "x_y2", ".z"},
        {"id", id, "1a", 0, nullptr, "1a"},
        {"id", id, "", 0, nullptr, ""},
        {"funny", funny, "a/b-c.txt rest", 1, "a/b-c.txt", " rest"},
        {"funny", funny, "./data1.csv,", 1, "./data1.csv", ","},
        {"funny", funny, "@x!y(1)", 1, "@x!y", "(1)"},
        {"funny", funny, "a#b", 1, "a", "#b"},
        {"funny", funny, "\"my file.csv\" x", 1, "my file.csv", " x"},
        {"funny", funny, "\"\"x", 1, "", "x"},
        {"funny", funny, "1abc", 0, nullptr, "1abc"},
        {"funny", funny, " \"open\nx\"", 0, nullptr, "\"open\nx\""},
        {"funny", funny, "\"a\rb\"", 0, nullptr, "\"a\rb\""},
        {"funny", funny, "\"abc", 0, nullptr, "\"abc"},
        {"funny", funny, ", a", 0, nullptr, ", a"},
        {"str", str, "\"a#b\" x", 1, "a#b", " x"},
        {"str", str, "\"a\\\"b\"", 1, "a\\", "b\""},   // no escapes
        {"str", str, "# \"c\"\n\"s\"", 1, "s", ""},
        {"str", str, "\"\"", 1, "", ""},
        {"str", str, "\"unterminated", 0, nullptr, "\"unterminated"},
        {"str", str, "x\"s\"", 0, nullptr, "x\"s\""},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.what) + " on " + c.in);
        char const* p = Text(c.in);
        char out[NAME_BUF_SIZE] = "unchanged";
        EXPECT_EQ(c.ok, c.test(p, out));
        EXPECT_STREQ(c.rest, p);
        if (!c.ok) continue;
        EXPECT_STREQ(c.out, out);
    }

    // A line feed inside a string is not counted.
    SetUp();
    char const* p = Text("\"line1\nline2\" ");
    char out[NAME_BUF_SIZE];
    EXPECT_EQ(1, seeStr(p, out));
    EXPECT_STREQ("line1\nline2", out);
    EXPECT_EQ(1, iLine);
    EXPECT_EQ(nullptr, currentLine);
}

// A failed test leaves the cursor where the white space and comments ended, with the lines
// it skipped counted.
TEST_F(ScannerTest, FailedTestStopsBehindSkippedWhiteSpace) {
    char buf[NAME_BUF_SIZE];
    double d;
    int n;
    std::vector<std::pair<char const*, std::function<int(char const*&)>>> const tests = {
        {"seeChar", [](char const*& p) { return seeChar(p, ';'); }},
        {"seeChars", [](char const*& p) { return seeChars(p, "~!"); }},
        {"seeAssignOp", [](char const*& p) { return seeAssignOp(p); }},
        {"seeWord", [](char const*& p) { return seeWord(p, "fixef"); }},
        {"seeId", [&](char const*& p) { return seeId(p, buf); }},
        {"seeIdAllowFunnyChars", [&](char const*& p) { return seeIdAllowFunnyChars(p, buf); }},
        {"seeStr", [&](char const*& p) { return seeStr(p, buf); }},
        {"seeNum", [&](char const*& p) { return seeNum(p, d, buf); }},
        {"seeInt", [&](char const*& p) { return seeInt(p, n); }},
        {"seeKnownStatement", [](char const*& p) { return seeKnownStatement(p); }},
    };
    for (auto const& t : tests) {
        SCOPED_TRACE(t.first);
        SetUp();
        char const* base = Text("  # c\n /* d\n */ ~x");
        char const* p = base;
        EXPECT_EQ(0, t.second(p));
        EXPECT_STREQ("~x", p);
        EXPECT_EQ(3, iLine);
        EXPECT_EQ(12, LineOffset(base));
    }
}

TEST_F(ScannerTest, SeeKnownStatement) {
    struct Case {
        char const* in;
        int ok;
        char const* rest;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {"dosepoint2(A)", 1, "(A)"},       // "dosepoint" comes first but needs a boundary
        {"ranef3 x", 1, " x"},
        {"observe1(", 1, "("},
        {" \n main", 1, ""},
        {"ranefx", 0, "ranefx"},
        {"vcvranef(", 0, "vcvranef("},
        {"dual_vars", 0, "dual_vars"},
        {"Deriv", 0, "Deriv"},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        EXPECT_EQ(c.ok, seeKnownStatement(p));
        EXPECT_STREQ(c.rest, p);
    }
}

TEST_F(ScannerTest, KnownWordTables) {
    int nStmt = 0, nFunc = 0;
    while (saKnownStatement[nStmt])
        nStmt++;
    while (saKnownFunction[nFunc])
        nFunc++;
    ASSERT_EQ(62, nStmt);
    ASSERT_EQ(13, nFunc);
    EXPECT_STREQ("deriv", saKnownStatement[0]);
    EXPECT_STREQ("delayInfCpt", saKnownStatement[3]);
    EXPECT_STREQ("LL", saKnownStatement[24]);
    EXPECT_STREQ("main", saKnownStatement[61]);
    EXPECT_STREQ("mean", saKnownFunction[0]);
    EXPECT_STREQ("cos", saKnownFunction[12]);
}

TEST_F(ScannerTest, ScanOutOfStmt) {
    struct Case {
        char const* in;
        char const* rest;
        bool cleared; // whether the pending error was cleared
        int line;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {"x = myfixef(1)\n", "fixef(1)\n", true, 1},
        {"mydosepoint1(A)", "dosepoint1(A)", true, 1},
        {"xfixefs deriv(a)", "deriv(a)", true, 1},
        {"a b } fixef(x)", "} fixef(x)", false, 1},
        {"} fixef(x)", "} fixef(x)", false, 1},
        {"x { fixef(a)\n ranef\n } \n stparm(", "stparm(", true, 4},
        {"a{b}c{d{e\n}f int}g int y", "int y", true, 2},
        {"{ \"}\" } # }\n error(", "} # }\n error(", false, 1}, // a quoted "}" closes
        {"# fixef\n // ranef\n /* deriv */ 1 + error(", "error(", true, 3},
        {"bad stuff 123 ", "", false, 1},
        {"x { never closed\n fixef", "", false, 2},
        {"", "", false, 1},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        SetUp();
        sErr = "pending";
        bFatalError = true;
        char const* p = Text(c.in);
        scanOutOfStmt(p);
        EXPECT_STREQ(c.rest, p);
        EXPECT_EQ(c.cleared, !IsErrorSet());
        EXPECT_TRUE(bFatalError);
        EXPECT_EQ(c.line, iLine);
    }
}

namespace {
// The message an expect_* form reports on stderr, and the one its SyntaxError carries.
struct Expectation {
    char const* in;
    std::function<void(char const*&)> expect;
    char const* msg;
    char const* stderrText;
};
} // namespace

TEST_F(ScannerTest, ExpectFormsReportWithLineAndCaret) {
    char id[NAME_BUF_SIZE];
    // clang-format off
    std::vector<Expectation> const cases = {
        {"  x", [](char const*& p) { expect_char(p, ')', nullptr); },
         "Expected: ')'", "Error line 1: Expected: ')'\n"},
        {"(\n  x", [](char const*& p) { seeChar(p, '('); expect_char(p, ']', nullptr); },
         "Expected: ']'", "Error line 2: Expected: ']'\n  x\n  ^\n"},
        {"\n\t)", [](char const*& p) { expect_char(p, '(', "Expected: '('"); },
         "Expected: '('", "Error line 2: Expected: '('\n        )\n        ^\n"},
        {"a\n b == 1", [](char const*& p) { seeChar(p, 'a'); seeChar(p, 'b'); expect_assignment(p); },
         "Expected = or <-", "Error line 2: Expected = or <-\n b == 1\n   ^\n"},
        {"\nk 1", [](char const*& p) { seeChar(p, 'k'); expect_assignment(p, "<rate expression>"); },
         "Expected = or <- followed by <rate expression>",
         "Error line 2: Expected = or <- followed by <rate expression>\nk 1\n  ^\n"},
        {"\n 1", [&](char const*& p) { expect_id(p, id, nullptr); },
         "Expected id", "Error line 2: Expected id\n 1\n ^\n"},
    };
    // clang-format on
    for (Expectation const& c : cases) {
        SCOPED_TRACE(c.in);
        SetUp();
        char const* p = Text(c.in);
        std::string thrown = "<nothing thrown>";
        testing::internal::CaptureStderr();
        try {
            c.expect(p);
        } catch (SyntaxError const& e) {
            thrown = e.msg;
        }
        EXPECT_EQ(c.stderrText, testing::internal::GetCapturedStderr());
        EXPECT_EQ(c.msg, thrown);
        EXPECT_STREQ(c.msg, sErr);
        EXPECT_TRUE(bFatalError);
    }

    // A form that sees what it expects steps over it and reports nothing.
    SetUp();
    char const* p = Text(" ) <- x");
    testing::internal::CaptureStderr();
    expect_char(p, ')', nullptr);
    expect_assignment(p);
    expect_id(p, id, nullptr);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_STREQ("", p);
    EXPECT_STREQ("x", id);
    EXPECT_FALSE(bFatalError);
}

// A name, string or number longer than a name buffer is not recognised, and nothing is
// written behind the caller's buffer.
TEST_F(ScannerTest, OverlongNamesAreRefused) {
    std::string const fits(NAME_BUF_SIZE - 1, 'a');
    std::string const tooLong(NAME_BUF_SIZE, 'a');
    std::string const digits(NAME_BUF_SIZE, '1');

    struct Case {
        char const* what;
        std::string in;
        std::function<int(char const*&, char*)> test;
        int ok;
    };

    double d = 0;
    std::vector<Case> const cases = {
        {"id fits", " " + fits + ")", seeId, 1},
        {"id", " " + tooLong + ")", seeId, 0},
        {"funny", " " + tooLong + ")", seeIdAllowFunnyChars, 0},
        {"quoted funny", " \"" + tooLong + "\")", seeIdAllowFunnyChars, 0},
        {"str fits", " \"" + fits + "\")", seeStr, 1},
        {"str", " \"" + tooLong + "\")", seeStr, 0},
        {"num", " " + digits + ")", [&](char const*& p, char* out) { return seeNum(p, d, out); },
         0},
        {"num, no text", " " + digits + ")",
         [&](char const*& p, char*) { return seeNum(p, d, nullptr); }, 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        // A heap buffer one guard byte longer than callers' buffers: a plain build sees a
        // write on the guard, the address sanitizer any write beyond it.
        std::vector<char> out(NAME_BUF_SIZE + 1, '#');
        char const* base = Text(c.in);
        char const* p = base;
        EXPECT_EQ(c.ok, c.test(p, out.data()));
        EXPECT_EQ('#', out[NAME_BUF_SIZE]);
        if (c.ok) {
            EXPECT_EQ(fits, out.data());
            EXPECT_STREQ(")", p);
        } else {
            EXPECT_EQ(base + 1, p);
        }
    }
}
