// The model id digest: the MD5 block function over a text padded with zeros only.
//
// The expected words below come from an independent implementation of the zero-padded
// block function (a short Python script: round constants from floor(|sin(i+1)| * 2^32),
// checked against the standard MD5 with the usual padding, then run with zero padding over
// ((len + 8) rounded down to 64) + 56 bytes rounded up to whole 64-byte blocks).
#include "driver/driver.h"
#include "varo5_test.h"

#include <cstdio>
#include <fstream>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace {

std::string const t55 = "01234567890123456789012345678901234567890123456789abcde";
std::string const t56 = t55 + "f";
std::string const t100 = "deriv(A1 = -Cl * C)\n"
                         "deriv(A1 = -Cl * C)\n"
                         "deriv(A1 = -Cl * C)\n"
                         "deriv(A1 = -Cl * C)\n"
                         "deriv(A1 = -Cl * C)\n";

void ExpectWords(MD5::Digest d, uint32_t a, uint32_t b, uint32_t c, uint32_t e) {
    EXPECT_EQ(a, d.a);
    EXPECT_EQ(b, d.b);
    EXPECT_EQ(c, d.c);
    EXPECT_EQ(e, d.d);
}

// A file in a fresh temporary directory, removed with it.
struct TempFile {
    char dir[32] = "/tmp/varo5_md5XXXXXX";
    std::string path;

    explicit TempFile(std::string const& bytes) {
        if (!mkdtemp(dir)) return;
        path = std::string(dir) + "/model.mdl";
        std::ofstream(path, std::ios::binary) << bytes;
    }

    ~TempFile() {
        remove(path.c_str());
        rmdir(dir);
    }
};

} // namespace

TEST_F(VaroTest, DigestOfTextIsTheZeroPaddedBlockFunction) {
    // One block of 64 zero bytes; the published MD5 of "" would be d41d8cd9 8f00b204 ...
    MD5::Digest empty = MD5::md5_text("");
    ExpectWords(empty, 0x031f1dac, 0x6ea58ed0, 0x1fab67b7, 0x74317791);
    EXPECT_NE(0xd98c1dd4u, empty.a);

    ASSERT_EQ(55u, t55.size());
    ASSERT_EQ(56u, t56.size());
    ASSERT_EQ(100u, t100.size());

    struct {
        char const* what;
        char const* text;
        uint32_t a, b, c, d;
    } const cases[] = {
        {"55 chars: one block", t55.c_str(), 0xdb9f42ea, 0x1d7cad4d, 0xcbfd38d7, 0xebcc4198},
        {"56 chars: two blocks", t56.c_str(), 0x81b570fe, 0x7bc0d58c, 0x66f35b4b, 0x55bab80d},
        {"100 chars: two blocks", t100.c_str(), 0x8cd8314f, 0x37b42d2a, 0x4d93167b, 0x08678a88},
        {"the text ends at its first NUL", "x\0yz", 0xb44806d7, 0xa1f2958d, 0x47261640, 0x6672f64f},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectWords(MD5::md5_text(c.text), c.a, c.b, c.c, c.d);
    }
}

TEST_F(VaroTest, ModelIdOfAFile) {
    struct {
        char const* what;
        std::string bytes;
        char const* id;
    } const cases[] = {
        // No zero padding beyond two digits: 7 and 7 hex digits here.
        {"empty file", "", "31f1dac-6ea58ed0-1fab67b7-74317791"},
        {"100 chars", t100, "8cd8314f-37b42d2a-4d93167b-8678a88"},
        {"NUL in the file ends the text", std::string("x\0yz", 4),
         "b44806d7-a1f2958d-47261640-6672f64f"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        TempFile f(c.bytes);
        ASSERT_FALSE(f.path.empty());
        EXPECT_STREQ(c.id, get_model_id(f.path.c_str()));
    }
    ExpectWords(MD5::md5_file("/nonexistent/x.mdl"), 0, 0, 0, 0);
    EXPECT_STREQ("00-00-00-00", get_model_id("/nonexistent/x.mdl"));
}
