// The hash index over a growing name list: it answers as MemberOf does, the last equal entry,
// takes in entries appended after it opened, and serves no other list.
#include "driver/driver.h"
#include "varo5_test.h"

namespace {

TEST(NameIndexTest, AnswersAsMemberOfWhileTheListGrows) {
    SV names{"a", "b", "a"};
    SV other{"b"};
    NameIndexScope index(names);
    EXPECT_EQ(2, FindName("a", names)); // the last equal entry
    EXPECT_EQ(-1, FindName("c", names));
    names.push_back("c");
    names.push_back("b");
    EXPECT_EQ(3, FindName("c", names));
    EXPECT_EQ(4, FindName("b", names));
    EXPECT_EQ(0, FindName("b", other)); // not indexed: a scan
    names.push_back("ctx$x");
    EXPECT_EQ(5, FindName("ctx", "x", names));
    EXPECT_EQ(-1, FindName("", "x", names));
}

TEST(NameIndexTest, ClosedScopeLeavesPlainScans) {
    SV names{"a"};
    { NameIndexScope index(names); }
    names.push_back("a");
    EXPECT_EQ(1, FindName("a", names));
}

} // namespace
