// Tests of the scanner: white space and comments with their line counting, the see* tests
// on the text under a cursor, the known-word tables, the recovery walk after a failed
// statement, and the messages of the expect_* forms.
#include "parser/parser.h"
#include "varo5_test.h"

#include <algorithm>
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

namespace {

using See = std::function<int(char const*&)>;

See Word(char const* w) {
    return [w](char const*& p) { return seeWord(p, w); };
}

See Chars(char const* s) {
    return [s](char const*& p) { return seeChars(p, s); };
}

// A test that copies into a name buffer, with what it copied in 'got'.
See Copy(int (*test)(char const*&, char*), std::string& got) {
    return [test, &got](char const*& p) {
        char out[NAME_BUF_SIZE] = "";
        int ok = test(p, out);
        got = out;
        return ok;
    };
}

// seeNum, with "value text" in 'got'. Read again without a text buffer, the number must come
// out the same, cursor included.
See Num(std::string& got) {
    return [&got](char const*& p) {
        char const* q = p;
        double v = -99, v2 = -99;
        char text[NAME_BUF_SIZE] = "";
        int ok = seeNum(p, v, text);
        char buf[64];
        snprintf(buf, sizeof buf, "%.15g ", v);
        got = ok ? buf + std::string(text) : "";
        if (seeNum(q, v2, nullptr) != ok || q != p || v2 != v) got = "differs without a buffer";
        return ok;
    };
}

See Int(std::string& got) {
    return [&got](char const*& p) {
        int v = -99;
        int ok = seeInt(p, v);
        got = ok ? std::to_string(v) : "";
        return ok;
    };
}

} // namespace

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
        {" \t\r\x01\x1f x", "x", 1, -1},
        {"// c\n\n  x", "x", 3, 6},
        {"  #c\r\n#d\ny", "y", 3, 9},
        {"/* a\nb\n */x", "x", 3, 7},
        {"/*/ x*/y", "y", 1, -1},          // the "*" of "/*" does not close it
        {"/* never closed\n fixef(", "", 2, 16},
        {"/ x", "/ x", 1, -1},             // a lone "/" is text
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        SetUp();
        char const* base = Text(c.in);
        char const* p = base;
        EXPECT_EQ(p, ScanWhite(p));
        EXPECT_STREQ(c.rest, p);
        EXPECT_EQ(c.line, iLine);
        EXPECT_EQ(c.lineStart, LineOffset(base));
    }
}

// Each see* test on a text: whether it matched, what it read ("" when it reads nothing), and
// the text left behind the cursor.
TEST_F(ScannerTest, SeeTests) {
    std::string got;
    See const num = Num(got), integer = Int(got), assign = seeAssignOp, known = seeKnownStatement;
    See const id = Copy(seeId, got), funny = Copy(seeIdAllowFunnyChars, got),
              str = Copy(seeStr, got);

    struct Case {
        See test;
        char const* in;
        int ok;
        char const* read;
        char const* rest;
    };

    // clang-format off
    std::vector<Case> const cases = {
        {num, ".5", 1, "0.5 .5", ""},             {num, "5.", 1, "5 5.", ""},
        {num, "5.e3", 1, "5000 5.e3", ""},        {num, "-.5", 1, "-0.5 -.5", ""},
        {num, "1e+5", 1, "1 1", "e+5"},           {num, "1e-5", 1, "1e-05 1e-5", ""},
        {num, "1e", 1, "1 1", "e"},               {num, "1E3x", 1, "1000 1E3", "x"},
        {num, "2.5e-x", 1, "2.5 2.5", "e-x"},     {num, ".", 0, "", "."},
        {num, " - 5", 0, "", "- 5"},              {num, "-.e3", 0, "", "-.e3"},
        {num, "", 0, "", ""},
        {integer, "-7x", 1, "-7", "x"},           {integer, " 0012;", 1, "12", ";"},
        {integer, "- 7", 0, "", "- 7"},           {integer, "+5", 0, "", "+5"},
        {Word("fixef"), "fixef(", 1, "", "("},    {Word("fixef"), "fixefs", 0, "", "fixefs"},
        {Word("fixef"), "Fixef", 0, "", "Fixef"}, {Word("ranef"), "ranef5", 0, "", "ranef5"},
        {Word("ranef"), "ranef_x", 0, "", "ranef_x"},
        {assign, " = =", 1, "", " ="},            {assign, "==1", 0, "", "==1"},
        {assign, "<-1", 1, "", "1"},              {assign, "< -1", 0, "", "< -1"},
        {Chars("ab"), "abc", 1, "", "c"},         {Chars("abc"), " ab", 0, "", "ab"},
        {Chars("fixef"), "fixefs", 1, "", "s"},   // no word boundary
        {Chars(nullptr), "  x", 0, "", "  x"},    {Chars(""), "  x", 0, "", "  x"},
        {known, "dosepoint2(A)", 1, "", "(A)"},   // "dosepoint" comes first but needs a boundary
        {known, " \n main", 1, "", ""},           {known, "Deriv", 0, "", "Deriv"},
        {known, "vcvranef(", 0, "", "vcvranef("}, {known, "dual_vars", 0, "", "dual_vars"},
        {id, "x_y2.z", 1, "x_y2", ".z"},          {id, "_a2(", 1, "_a2", "("},
        {id, "1a", 0, "", "1a"},
        {funny, "a/b-c.txt rest", 1, "a/b-c.txt", " rest"},
        {funny, "@x!y(1)", 1, "@x!y", "(1)"},
        {funny, "a#b", 1, "a", "#b"},
        {funny, "\"my file.csv\" x", 1, "my file.csv", " x"},
        {funny, "\"\"x", 1, "", "x"},
        {funny, "1abc", 0, "", "1abc"},
        {funny, " \"open\nx\"", 0, "", "\"open\nx\""},
        {funny, "\"a\rb\"", 0, "", "\"a\rb\""},
        {funny, "\"abc", 0, "", "\"abc"},
        {str, "\"a#b\" x", 1, "a#b", " x"},
        {str, "\"a\\\"b\"", 1, "a\\", "b\""},     // no escapes
        {str, "# \"c\"\n\"s\"", 1, "s", ""},
        {str, "\"unterminated", 0, "", "\"unterminated"},
        {str, "x\"s\"", 0, "", "x\"s\""},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        char const* p = Text(c.in);
        got = "";
        EXPECT_EQ(c.ok, c.test(p));
        EXPECT_STREQ(c.rest, p);
        if (!c.ok) continue;
        EXPECT_EQ(c.read, got);
    }

    // "_" is a word character only while underscores are letters.
    bAllowUnderscore = 0;
    char const* p = Text("ranef_x");
    int seen = seeWord(p, "ranef");
    bAllowUnderscore = 1;
    EXPECT_EQ(1, seen);
    EXPECT_STREQ("_x", p);

    // A line feed inside a string is not counted.
    SetUp();
    p = Text("\"line1\nline2\" ");
    EXPECT_EQ(1, str(p));
    EXPECT_EQ("line1\nline2", got);
    EXPECT_EQ(1, iLine);
    EXPECT_EQ(nullptr, currentLine);
}

// A failed test leaves the cursor where the white space and comments ended, with the lines
// it skipped counted.
TEST_F(ScannerTest, FailedTestStopsBehindSkippedWhiteSpace) {
    char buf[NAME_BUF_SIZE];
    double d;
    int n;
    std::vector<std::pair<char const*, See>> const tests = {
        {"seeChar", [](char const*& p) { return seeChar(p, ';'); }},
        {"seeChars", Chars("~!")},
        {"seeAssignOp", seeAssignOp},
        {"seeWord", Word("fixef")},
        {"seeId", [&](char const*& p) { return seeId(p, buf); }},
        {"seeIdAllowFunnyChars", [&](char const*& p) { return seeIdAllowFunnyChars(p, buf); }},
        {"seeStr", [&](char const*& p) { return seeStr(p, buf); }},
        {"seeNum", [&](char const*& p) { return seeNum(p, d, buf); }},
        {"seeInt", [&](char const*& p) { return seeInt(p, n); }},
        {"seeKnownStatement", seeKnownStatement},
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

TEST_F(ScannerTest, KnownWordTables) {
    int nStmt = 0, nFunc = 0;
    while (saKnownStatement[nStmt])
        nStmt++;
    while (saKnownFunction[nFunc])
        nFunc++;
    ASSERT_EQ(62, nStmt);
    ASSERT_EQ(13, nFunc);
    EXPECT_STREQ("deriv", saKnownStatement[0]);
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
        {"xfixefs deriv(a)", "deriv(a)", true, 1},
        {"a b } fixef(x)", "} fixef(x)", false, 1},
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

TEST_F(ScannerTest, ExpectFormsReportWithLineAndCaret) {
    char id[NAME_BUF_SIZE];

    struct Case {
        char const* in;
        std::function<void(char const*&)> expect;
        char const* msg;
        char const* stderrText;
    };

    // clang-format off
    std::vector<Case> const cases = {
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
    for (Case const& c : cases) {
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
    std::string const fits(NAME_BUF_SIZE - 1, 'a'), tooLong(NAME_BUF_SIZE, 'a');
    std::string const digits(NAME_BUF_SIZE, '1');
    // A heap buffer one guard byte longer than callers' buffers: a plain build sees a write on
    // the guard, the address sanitizer any write beyond it.
    std::vector<char> out(NAME_BUF_SIZE + 1, '#');
    double d = 0;
    auto into = [&out](int (*test)(char const*&, char*)) -> See {
        return [&out, test](char const*& p) { return test(p, out.data()); };
    };

    struct Case {
        std::string in;
        See test;
        int ok;
    };

    std::vector<Case> const cases = {
        {" " + fits + ")", into(seeId), 1},
        {" " + tooLong + ")", into(seeId), 0},
        {" " + tooLong + ")", into(seeIdAllowFunnyChars), 0},
        {" \"" + tooLong + "\")", into(seeIdAllowFunnyChars), 0},
        {" \"" + fits + "\")", into(seeStr), 1},
        {" \"" + tooLong + "\")", into(seeStr), 0},
        {" " + digits + ")", [&](char const*& p) { return seeNum(p, d, out.data()); }, 0},
        {" " + digits + ")", [&](char const*& p) { return seeNum(p, d, nullptr); }, 0},
    };
    for (size_t i = 0; i < cases.size(); i++) {
        SCOPED_TRACE(i);
        std::fill(out.begin(), out.end(), '#');
        char const* base = Text(cases[i].in);
        char const* p = base;
        EXPECT_EQ(cases[i].ok, cases[i].test(p));
        EXPECT_EQ('#', out[NAME_BUF_SIZE]);
        if (!cases[i].ok) {
            EXPECT_EQ(base + 1, p);
            continue;
        }
        EXPECT_EQ(fits, out.data());
        EXPECT_STREQ(")", p);
    }
}
