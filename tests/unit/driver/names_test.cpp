// Name lists, the reserved-word test, the head of a generated name-dispatch branch, and the
// Cholesky factorisation behind the positive-definite checks.
#include "driver/driver.h"
#include "varo5_test.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

typedef std::vector<unsigned short> US;

static std::vector<std::string> Texts(SV const& list) {
    return std::vector<std::string>(list.begin(), list.end());
}

TEST_F(VaroTest, NameListLookups) {
    EXPECT_STREQ("x", NameWithContext("", "x"));
    EXPECT_STREQ("m$x", NameWithContext("m", "x"));

    SV list = {"a", "b", "a", "m$x", "x"};
    EXPECT_EQ(2, MemberOf("a", list)); // the last of the repeated entries
    EXPECT_EQ(1, MemberOf("b", list));
    EXPECT_EQ(-1, MemberOf("c", list));
    EXPECT_EQ(-1, MemberOf("a", SV()));
    EXPECT_EQ(3, MemberOf("m", "x", list));
    EXPECT_EQ(4, MemberOf("", "x", list));
    EXPECT_EQ(-1, MemberOf("n", "x", list));
}

TEST_F(VaroTest, EliminateDuplicatesKeepsFirstOccurrencesAndParallelVectorsAligned) {
    SV list = {"a", "b", "a", "a", "c", "b", "a"};
    US one = {1, 2, 3, 4, 5, 6, 7};
    US two = {10, 20, 30, 40, 50, 60, 70};
    EliminateDuplicates(list, one, two);
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), Texts(list));
    EXPECT_EQ((US{1, 2, 5}), one);
    EXPECT_EQ((US{10, 20, 50}), two);

    SV list2 = {"x", "x", "x", "y", "y"};
    US par = {1, 2, 3, 4, 5};
    EliminateDuplicates(list2, par);
    EXPECT_EQ((std::vector<std::string>{"x", "y"}), Texts(list2));
    EXPECT_EQ((US{1, 4}), par);

    SV list3 = {"q", "p", "q", "P"};
    EliminateDuplicates(list3);
    EXPECT_EQ((std::vector<std::string>{"q", "p", "P"}), Texts(list3));

    // A parallel vector shorter than the list loses only the places it has; one longer keeps
    // its entries past the end of the list.
    SV list4 = {"a", "a", "b", "a"};
    US shorter = {1, 2};
    US longer = {1, 2, 3, 4, 5, 6};
    EliminateDuplicates(list4, shorter, longer);
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), Texts(list4));
    EXPECT_EQ((US{1}), shorter);
    EXPECT_EQ((US{1, 3, 5, 6}), longer);
}

TEST_F(VaroTest, ReservedWords) {
    char const* const reserved[] = {
        "const", "int",    "long",   "short",  "char",    "double",   "signed",    "unsigned",
        "enum",  "struct", "bool",   "static", "private", "public",   "protected", "if",
        "else",  "for",    "while",  "do",     "break",   "continue", "switch",    "default",
        "case",  "goto",   "return", "true",   "false"};
    for (char const* w : reserved)
        EXPECT_TRUE(is_reserved(w)) << w;
    for (char const* w : {"Int", "integer", "in", "", "main", "float", "TRUE", "void"})
        EXPECT_FALSE(is_reserved(w)) << w;
}

TEST_F(VaroTest, IfStatementText) {
    struct {
        char const* name;
        bool newLine;
        char const* expected;
    } const cases[] = {
        {"Vol", false, "    if (_nm[0] == 'V' && strcmp(_nm, \"Vol\") == 0)\n    {\n"},
        {"tlag", true, "\n    if (_nm[0] == 't' && strcmp(_nm, \"tlag\") == 0)\n    {\n"},
    };

    for (auto const& c : cases) {
        char* buf = nullptr;
        size_t size = 0;
        FILE* f = open_memstream(&buf, &size);
        ASSERT_NE(nullptr, f);
        if_statement(f, c.name, c.newLine);
        fclose(f);
        EXPECT_EQ(c.expected, std::string(buf, size));
        free(buf);
    }
}

TEST_F(VaroTest, CholeskyOfSmallMatrices) {
    double L[4] = {-7, -7, -7, -7};
    double const four[] = {4};
    EXPECT_TRUE(ltcholCol(1, four, L));
    EXPECT_DOUBLE_EQ(2.0, L[0]);

    struct {
        char const* what;
        int n;
        std::vector<double> a;
    } const bad[] = {
        {"zero", 1, {0}},
        {"negative", 1, {-1}},
        {"unit diagonal, 2 off it", 2, {1, 2, 2, 1}},
        {"singular: second pivot exactly 0", 2, {4, 2, 2, 1}},
    };

    for (auto const& c : bad)
        EXPECT_FALSE(ltcholCol(c.n, c.a.data(), L)) << c.what;
    EXPECT_TRUE(ltcholCol(0, four, L));
}

TEST_F(VaroTest, CholeskyOf3x3RebuildsTheMatrix) {
    // A = M * M^T for this lower-triangular M with a positive diagonal, so M is its factor.
    double const m[3][3] = {{2, 0, 0}, {1, 3, 0}, {-1, 0.5, 1}};
    double a[9];
    for (int r = 0; r < 3; r++)
        for (int c = 0; c < 3; c++) {
            double s = 0;
            for (int k = 0; k < 3; k++)
                s += m[r][k] * m[c][k];
            a[c * 3 + r] = s;
        }
    double l[9];
    for (double& x : l)
        x = 99; // the upper storage must be overwritten with zeros
    ASSERT_TRUE(ltcholCol(3, a, l));
    for (int r = 0; r < 3; r++)
        for (int c = 0; c < 3; c++) {
            SCOPED_TRACE(testing::Message() << "row " << r << " col " << c);
            double lrc = l[c * 3 + r]; // column c at offset c*n
            if (c > r)
                EXPECT_EQ(0.0, lrc);
            else
                EXPECT_NEAR(m[r][c], lrc, 1e-12);
            double s = 0;
            for (int k = 0; k < 3; k++)
                s += l[k * 3 + r] * l[k * 3 + c];
            EXPECT_NEAR(a[c * 3 + r], s, 1e-12);
        }
}
