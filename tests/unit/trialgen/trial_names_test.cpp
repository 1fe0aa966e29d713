// Look-ups by name over the lists of a trial script.
#include "parser/parser.h"
#include "trialgen/trialgen.h"
#include "varo5_test.h"

#include <string>

namespace {

class TrialNamesTest : public VaroTest {
  protected:
    // Reads a script into the global lists of the trial parser.
    void Script(std::string const& text) {
        buffer = text + std::string(16, '\0');
        char const* p = buffer.c_str();
        parsCohort(p);
        ASSERT_FALSE(IsErrorSet()) << text;
    }

    std::string buffer;
};

} // namespace

TEST_F(TrialNamesTest, ModelsAndInstances) {
    Script("model pk() { x = 1 } model pd() { y = 1 } model pk() { z = 1 }\n"
           "join { a : pk() b : pd(a$x) }\n"
           "join { c : pk() }\n");
    EXPECT_EQ(2, FindModelByName("pk", paModel)); // the last of that name
    EXPECT_EQ(1, FindModelByName("pd", paModel));
    EXPECT_EQ(-1, FindModelByName("pkx", paModel));

    struct {
        char const* instance;
        char const* model;
    } const cases[] = {{"a", "pk"}, {"b", "pd"}, {"c", "pk"}, {"d", nullptr}};

    for (auto const& c : cases) {
        String model("none");
        EXPECT_EQ(c.model ? 1 : 0, GetModelNameFromInstanceName(paJoin, c.instance, model));
        EXPECT_STREQ(c.model ? c.model : "none", model) << c.instance;
        char const* found = GetInstanceModelName(c.instance, paJoin);
        EXPECT_STREQ(c.model, found) << c.instance;
    }
}
