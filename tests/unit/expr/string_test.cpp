// The translator's text class: construction, search, trimming, comparison and joining.
#include "expr/vstring.h"
#include "varo5_test.h"

#include <string>

TEST_F(VaroTest, StringConstruction) {
    EXPECT_STREQ("", String());
    char const range[] = {'a', 'b', '\0', 'c'};
    EXPECT_STREQ("ab", String(range, range + 4)); // a NUL in the range ends the text
    char const* hello = "hello";
    EXPECT_STREQ("ell", String(hello + 1, hello + 4));
    EXPECT_STREQ("", String(hello, hello));

    String original("abc");
    String copy(original);
    copy[0] = 'X';
    EXPECT_STREQ("abc", original); // a private copy
    EXPECT_STREQ("Xbc", copy);
    EXPECT_EQ('b', static_cast<String const&>(copy)[1]);

    String assigned;
    assigned = original;
    assigned[1] = 'Y';
    EXPECT_STREQ("aYc", assigned);
    EXPECT_STREQ("abc", original);
    assigned = "fresh";
    EXPECT_STREQ("fresh", assigned);

    // Copies share an array until one changes; a character handed out for writing stays
    // this text's own, so later copies don't see later writes.
    String pinned("abc");
    char& first = pinned[0];
    String before(pinned);
    first = 'Z';
    EXPECT_STREQ("abc", before);
    EXPECT_STREQ("Zbc", pinned);
    String after;
    after = pinned;
    first = 'W';
    EXPECT_STREQ("Zbc", after);
    String shared(after), trimmed(" x"), trimmedCopy(trimmed);
    shared += "!";
    trimmed.TrimLeft();
    EXPECT_STREQ("Zbc", after);
    EXPECT_STREQ("Zbc!", shared);
    EXPECT_STREQ(" x", trimmedCopy);
    EXPECT_STREQ("x", trimmed);

    // A text that alone holds its array keeps it: pointers taken before a write access or a
    // trim stay good.
    String alone("xyz"), spaced("  ab");
    char const* aloneBefore = alone;
    char const* spacedBefore = spaced;
    EXPECT_EQ('x', alone[0]);
    spaced.TrimLeft();
    EXPECT_STREQ("xyz", aloneBefore);
    EXPECT_STREQ("ab", spacedBefore);
}

TEST_F(VaroTest, StringFind) {
    struct {
        char const* text;
        char c;
        int from, expected;
    } const chars[] = {
        {"abcab", 'a', 0, 0},  {"abcab", 'a', 1, 3},  {"abcab", 'b', 4, 4},
        {"abcab", 'a', 4, -1}, {"a", 'a', -5, 0},     {"abcab", 'a', 5, -1},
        {"abcab", 'a', 9, -1}, {"abcab", 'z', 0, -1}, {"", 'a', 0, -1},
    };

    for (auto const& c : chars)
        EXPECT_EQ(c.expected, String(c.text).Find(c.c, c.from))
            << c.text << " '" << c.c << "' from " << c.from;

    struct {
        char const* text;
        char const* pattern;
        int from, expected;
    } const subs[] = {
        {"a", "ab", 1, -1},     {"a", "ab", 0, -1},       {"abcab", "ab", 0, 0},
        {"abcab", "ab", 1, 3},  {"abcab", "ab", 4, -1},   {"abcab", "cab", 2, 2},
        {"abcab", "b", -3, 1},  {"abcab", "abcab", 0, 0}, {"abcab", "bcaa", 0, -1},
        {"abcab", "ab", 7, -1},
    };

    for (auto const& c : subs)
        EXPECT_EQ(c.expected, String(c.text).Find(c.pattern, c.from))
            << c.text << " \"" << c.pattern << "\" from " << c.from;
}

TEST_F(VaroTest, StringTrimLeft) {
    struct {
        char const* in;
        char const* out;
    } const cases[] = {
        {"  \tx ", "\tx "}, {"   ", ""}, {"", ""}, {"x  y", "x  y"}, {"\n x", "\n x"}, {" a", "a"},
    };

    for (auto const& c : cases) {
        String s(c.in);
        s.TrimLeft();
        EXPECT_STREQ(c.out, s) << '"' << c.in << '"';
    }
}

TEST_F(VaroTest, StringComparisonsFollowStrcmp) {
    String abc("abc");
    EXPECT_TRUE(abc == "abc");
    EXPECT_TRUE("abc" == abc);
    EXPECT_FALSE(abc != String("abc"));
    EXPECT_TRUE("abd" != abc);
    EXPECT_TRUE(abc < "abd");
    EXPECT_TRUE(abc > "ab");
    EXPECT_TRUE(abc <= "abc");
    EXPECT_TRUE(abc >= "abc");
    EXPECT_FALSE(abc < "abc");
    EXPECT_FALSE(abc > String("abd"));
    EXPECT_TRUE(String("B") < String("a")); // byte order, not case-folded
    EXPECT_TRUE(String("") < "a");
}

TEST_F(VaroTest, StringJoining) {
    String s("ab");
    s += "cd";
    s += String("ef");
    s += 'g';
    s += "";
    EXPECT_STREQ("abcdefg", s);

    String base("x");
    String joined = base + "_y";
    EXPECT_STREQ("x_y", joined);
    EXPECT_STREQ("x", base);
    EXPECT_EQ(std::string("x_y_z"), std::string(joined + "_z"));
}
