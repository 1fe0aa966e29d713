// The walkers of fixed effects and error variables: names in source order without
// duplicates, and beside each name the values the generators read.
#include "analysis/analysis.h"
#include "expr/tree_text.h"
#include "parser/parser.h"
#include "varo5_test.h"

#include <memory>
#include <string>
#include <vector>

using namespace tree_text;

namespace {

class ParamWalkersTest : public VaroTest {
  protected:
    // The model "test() { <text> }"; fails the test on a parse error.
    N Model(std::string const& text) {
        buffers.push_back(
            std::make_unique<std::string>("test() {\n" + text + "\n}" + std::string(16, '\0')));
        char const* p = buffers.back()->c_str();
        N model;
        parsModel(p, model);
        EXPECT_FALSE(bFatalError) << text;
        return model;
    }

    std::vector<std::unique_ptr<std::string>> buffers;
};

std::vector<std::string> Texts(SV const& names) {
    std::vector<std::string> out;
    for (String const& s : names)
        out.push_back(std::string(s));
    return out;
}

typedef std::vector<std::string> Names;
typedef std::vector<unsigned short> Flags;

} // namespace

TEST_F(ParamWalkersTest, CollectFixefTakesMarksAndInitialValues) {
    N model = Model("fixef(a = c(0, 2, 5), b(freeze) = 3, c(enable = 4), d(enable = c(1)) = "
                    "c(, 0.5, ))\n"
                    "{ fixef(a = 9, e(freeze)(enable = 2) = c(1, , 3), f(enable=0) = -1) }");
    SV units, names;
    Flags frozen;
    std::vector<int64_t> enable;
    std::vector<double> init;
    CollectFixef(model, units, names, frozen, enable, init);
    // The second a is a duplicate and adds nothing; e is frozen, so its enable mark is gone.
    EXPECT_EQ((Names{"a", "b", "c", "d", "e", "f"}), Texts(names));
    EXPECT_EQ((Names{"", "", "", "", "", ""}), Texts(units));
    EXPECT_EQ((Flags{0, 1, 0, 0, 1, 0}), frozen);
    EXPECT_EQ((std::vector<int64_t>{-1, -1, 4, 1, -1, 0}), enable);
    EXPECT_EQ((std::vector<double>{2, 3, 1, 0.5, 1, -1}), init);

    // Lists that hold names already are appended to, and kept parallel.
    SV moreUnits = {"x"}, more = {"c"};
    Flags moreFrozen = {1};
    std::vector<int64_t> moreEnable = {7};
    std::vector<double> moreInit = {8};
    CollectFixef(Model("fixef(b = 2, c = 3)"), moreUnits, more, moreFrozen, moreEnable, moreInit);
    EXPECT_EQ((Names{"c", "b"}), Texts(more));
    EXPECT_EQ((Names{"x", ""}), Texts(moreUnits));
    EXPECT_EQ((Flags{1, 0}), moreFrozen);
    EXPECT_EQ((std::vector<int64_t>{7, -1}), moreEnable);
    EXPECT_EQ((std::vector<double>{8, 2}), moreInit);
}

TEST_F(ParamWalkersTest, CollectErrorInfoTakesEntriesWithTheirValues) {
    N model = Model("error(e1 = 0.5, e2(freeze) = 2)\n"
                    "{ error(e3(0.1), e1 = 7) }\n"
                    "fixef(e4 = 1)");
    SV names;
    Flags frozen;
    std::vector<double> init;
    CollectErrorInfo(model, names, frozen, init);
    EXPECT_EQ((Names{"e1", "e2", "e3"}), Texts(names));
    EXPECT_EQ((Flags{0, 1, 0}), frozen);
    EXPECT_EQ((std::vector<double>{0.5, 2, 1}), init);

    // Built by hand: an entry of two names with one value, and an entry of another kind.
    N two = ListOf(CN_NAMES, {Var("x"), Var("y")});
    two->child1 = Num(1);
    N entry = std::make_shared<CNode>(CN_VARIANCE_DIAG, two, N(), ListOf(CN_VALUES, {Num(3)}));
    N other = Op(CN_RANEF_SAME, ListOf(CN_NAMES, {Var("z")}));
    N stmt = ListOf(CN_ERROR, {other, entry});
    SV names2;
    Flags frozen2;
    std::vector<double> init2;
    CollectErrorInfo(stmt, names2, frozen2, init2);
    EXPECT_EQ((Names{"x", "y"}), Texts(names2));
    EXPECT_EQ((Flags{1, 1}), frozen2);
    EXPECT_EQ((std::vector<double>{3, 1}), init2);
}
