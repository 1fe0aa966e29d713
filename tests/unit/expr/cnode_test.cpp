// The node class: what each constructor builds, deep and shallow copies, structural
// equality, the whole-tree walks and the kind-name table.
#include "expr/cnode.h"
#include "expr/node_pool.h"
#include "tree_text.h"
#include "varo5_test.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <set>
#include <string>

using tree_text::Num;
using tree_text::Op;
using tree_text::ShareNodes;
using tree_text::Text;
using tree_text::Var;

namespace {

// The scratch numbers of a node as "iTemp1 iTemp2 iDelayTable iPeakTable".
std::string Scratch(CNode const& n) {
    return std::to_string(n.iTemp1) + " " + std::to_string(n.iTemp2) + " " +
           std::to_string(n.iDelayTable) + " " + std::to_string(n.iPeakTable);
}

// Whether a node has no children, units, attachments, list or position.
bool Bare(CNode const& n) {
    return !(n.child1 || n.child2 || n.child3 || n.child4 || n.units || n.appendix ||
             n.doseOption || n.extra) &&
           n.list.empty() && !n.pos.line && !n.pos.start && !n.pos.end;
}

// A node that uses every kind of field: children, units, list (with an empty entry),
// attachments, position and scratch numbers.
N Rich(char const* text) {
    N n = std::make_shared<CNode>(CN_DOSEPOINT, "A1", Var("x"), Op(CN_MUL, Num(2), Var("y")),
                                  nullptr);
    n->child4 = Num(4);
    n->units = Var("mg");
    n->list = {Var("a"), nullptr, Num(3)};
    n->appendix = std::make_unique<CNodeAppendix>();
    n->appendix->doafter = Op(CN_ASSIGN, Var("z"), Num(1));
    n->doseOption = std::make_unique<CDoseVarOption>();
    n->doseOption->idosevar = "D";
    n->doseOption->split = 1;
    n->extra = std::make_unique<CNodeExtra>();
    n->extra->power = Num(1);
    n->extra->ilink = "ilogit";
    n->pos = Pos(text, text + 1, text + 3, 5);
    n->iTemp1 = 11;
    n->iTemp2 = 12;
    n->iDelayTable = 13;
    n->iPeakTable = 14;
    return n;
}

} // namespace

TEST_F(VaroTest, ConstructorsBuildTheAskedKind) {
    N c = Num(1), d = Num(2), e = Num(3), f = Num(4);

    struct {
        char const* what;
        CNode node;
        CNodeType type;
        char const* name;
        double value;
    } const cases[] = {
        {"CNode()", CNode(), CN_NONE, "", 0.0},
        {"CNode(\"x\")", CNode("x"), CN_VAR, "x", 0.0},
        {"CNode(2.0)", CNode(2.0), CN_NUM, "", 2.0},
        {"CNode(\"x\", 2.0)", CNode("x", 2.0), CN_NAMED_NUM, "x", 2.0},
        {"CNode(kind)", CNode(CN_SUSPEND), CN_SUSPEND, "", 0.0},
        {"CNode(kind, value)", CNode(CN_IWNDF, 3.5), CN_IWNDF, "", 3.5},
        {"CNode(kind, name)", CNode(CN_CALL, "exp"), CN_CALL, "exp", 0.0},
    };

    for (auto const& k : cases) {
        SCOPED_TRACE(k.what);
        EXPECT_EQ(k.type, k.node.type);
        EXPECT_STREQ(k.name, k.node.name);
        EXPECT_EQ(k.value, k.node.value);
        EXPECT_TRUE(Bare(k.node));
        EXPECT_EQ(-1, k.node.pos.iLine);
        EXPECT_EQ("-1 -1 -1 -1", Scratch(k.node));
    }

    // The child constructors share the given nodes.
    CNode one(CN_NEG, c), two(CN_ADD, c, d), three(CN_COND, c, d, e), four(CN_TRANSIT, c, d, e, f);
    CNode named(CN_PEAK, "P", c, d, e);
    EXPECT_TRUE(one.child1 == c && !one.child2);
    EXPECT_TRUE(two.child1 == c && two.child2 == d && !two.child3);
    EXPECT_TRUE(three.child1 == c && three.child2 == d && three.child3 == e && !three.child4);
    EXPECT_TRUE(four.child1 == c && four.child2 == d && four.child3 == e && four.child4 == f);
    EXPECT_EQ(CN_TRANSIT, four.type);
    EXPECT_STREQ("P", named.name);
    EXPECT_TRUE(named.child1 == c && named.child2 == d && named.child3 == e && !named.child4);
    EXPECT_EQ(-1, named.iPeakTable);
}

TEST_F(VaroTest, CopiesAssignmentAndSwap) {
    char const* text = "xABy";
    N orig = Rich(text);
    N copy = orig->Copy();
    EXPECT_TRUE(orig->Equal(copy));
    EXPECT_TRUE(copy->Equal(orig));
    // New nodes and records all the way down; the fields as they stand.
    EXPECT_FALSE(ShareNodes(orig, copy));
    EXPECT_NE(orig->appendix.get(), copy->appendix.get());
    EXPECT_STREQ("mg", copy->units->name);
    ASSERT_EQ(3u, copy->list.size());
    EXPECT_FALSE(copy->list[1]); // an empty entry stays empty
    EXPECT_STREQ("D", copy->doseOption->idosevar);
    EXPECT_EQ(1, copy->doseOption->split);
    EXPECT_STREQ("ilogit", copy->extra->ilink);
    EXPECT_FALSE(copy->extra->beta);
    EXPECT_EQ(text + 1, copy->pos.start);
    EXPECT_EQ(5, copy->pos.iLine);
    EXPECT_EQ("11 12 13 14", Scratch(*copy));
    // Changing the copy leaves the original as it was.
    copy->appendix->doafter->child2->value = 9;
    copy->extra->power->value = 2;
    EXPECT_EQ(1.0, orig->appendix->doafter->child2->value);
    EXPECT_EQ(1.0, orig->extra->power->value);

    // Assignment copies deeply; swap exchanges every field.
    CNode a(CN_NUM, 7.0);
    a = *orig;
    EXPECT_TRUE(a.Equal(orig));
    EXPECT_NE(orig->child1, a.child1);
    CNode b("v");
    b.iTemp1 = 3;
    a.swap(b);
    EXPECT_EQ(CN_VAR, a.type);
    EXPECT_STREQ("v", a.name);
    EXPECT_EQ(3, a.iTemp1);
    EXPECT_FALSE(a.appendix || a.extra || a.child1);
    EXPECT_TRUE(b.Equal(orig));
    EXPECT_EQ(5, b.pos.iLine);
    EXPECT_EQ("11 12 13 14", Scratch(b));

    // A shallow copy keeps only the node itself.
    orig->type = CN_ADD;
    orig->value = 1.5;
    N s = orig->ShallowCopy();
    EXPECT_EQ(CN_ADD, s->type);
    EXPECT_STREQ("A1", s->name);
    EXPECT_EQ(1.5, s->value);
    EXPECT_TRUE(Bare(*s));
    EXPECT_EQ("11 12 13 14", Scratch(*s));
}

TEST_F(VaroTest, StructuralEquality) {
    char const* text = "abcdef";

    // Each case changes a copy of the rich node; 'equal' says whether it still matches.
    struct {
        char const* what;
        std::function<void(CNode&)> change;
        bool equal;
    } const cases[] = {
        {"pos", [&](CNode& n) { n.pos = Pos(text, text + 4, text + 5, 9); }, true},
        {"units", [](CNode& n) { n.units = Var("h"); }, true},
        {"scratch fields", [](CNode& n) { n.iTemp1 = n.iTemp2 = n.iDelayTable = 0; }, true},
        {"type", [](CNode& n) { n.type = CN_DOSEPOINT2; }, false},
        {"name", [](CNode& n) { n.name = "A2"; }, false},
        {"value", [](CNode& n) { n.value = 1e-300; }, false},
        {"child3 added", [](CNode& n) { n.child3 = Num(0); }, false},
        {"child4 removed", [](CNode& n) { n.child4.reset(); }, false},
        {"grandchild", [](CNode& n) { n.child2->child1 = Num(2.5); }, false},
        {"list shorter", [](CNode& n) { n.list.pop_back(); }, false},
        {"list order", [](CNode& n) { std::swap(n.list[0], n.list[2]); }, false},
        {"empty list entry filled", [](CNode& n) { n.list[1] = Num(0); }, false},
        {"appendix dropped", [](CNode& n) { n.appendix.reset(); }, false},
        {"appendix block", [](CNode& n) { n.appendix->simulate = Num(1); }, false},
        {"doseOption split", [](CNode& n) { n.doseOption->split = 0; }, false},
        {"doseOption name", [](CNode& n) { n.doseOption->infratevar = "R"; }, false},
        {"extra dropped", [](CNode& n) { n.extra.reset(); }, false},
        {"extra ilink", [](CNode& n) { n.extra->ilink = "iprobit"; }, false},
        {"extra noreset", [](CNode& n) { n.extra->noreset = 1; }, false},
        {"extra zprob", [](CNode& n) { n.extra->zprobOrLinkp = Num(0); }, false},
    };

    N orig = Rich(text);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        N other = orig->Copy();
        c.change(*other);
        EXPECT_EQ(c.equal, orig->Equal(other));
        EXPECT_EQ(c.equal, other->Equal(orig));
    }

    N nan = Num(NAN);
    EXPECT_FALSE(nan->Equal(Num(NAN)));
    EXPECT_FALSE(nan->Equal(nan));
    EXPECT_FALSE(Op(CN_ADD, Var("x"), Num(NAN))->Equal(Op(CN_ADD, Var("x"), Num(NAN))));
    EXPECT_FALSE(orig->Equal(cn()));
    EXPECT_FALSE(Var("x")->Equal(Var("X")));
}

TEST_F(VaroTest, RecordsCopyAndCompare) {
    CSampleOption s;
    s.sFile = "cov.csv";
    s.iMode = 1;
    s.vars.push_back(std::make_unique<CSampleVarOption>());
    s.vars[0]->sVar = "WT";
    s.vars[0]->categories.push_back(std::make_unique<CSampleVarCategoryOption>());

    auto copy = s.Copy();
    EXPECT_TRUE(s.Equal(copy.get()));
    EXPECT_NE(s.vars[0].get(), copy->vars[0].get());
    copy->vars[0]->categories[0]->sValue = "1";
    EXPECT_FALSE(s.Equal(copy.get()));
    EXPECT_STREQ("", s.vars[0]->categories[0]->sValue);
    EXPECT_FALSE(s.Equal(nullptr));

    CSampleOption other;
    s.CopyTo(&other);
    EXPECT_TRUE(other.Equal(&s));
    other.iMode = 0;
    EXPECT_FALSE(other.Equal(&s));
}

TEST_F(VaroTest, ClearTempInitBasicsAndCountNodes) {
    N deep = Var("deep");
    N c4 = Op(CN_ADD, deep, nullptr);
    N inList = Op(CN_NEG, Var("l"), nullptr);
    N root =
        std::make_shared<CNode>(CN_TRANSIT, Var("a"), Op(CN_MUL, Var("b"), Num(1)), Var("c"), c4);
    root->list = {inList, nullptr};
    // clang-format off
    NV const all = {root, root->child1, root->child2, root->child2->child1, root->child2->child2,
                    root->child3, inList, inList->child1, c4, deep};
    // clang-format on
    for (N const& n : all)
        n->iTemp1 = n->iTemp2 = 7;
    // Both walks leave out what hangs only under child4.
    root->ClearTemp1();
    for (N const& n : all)
        EXPECT_EQ(n == c4 || n == deep ? 7 : -1, n->iTemp1) << Text(n);
    EXPECT_EQ(7, root->iTemp2);
    root->ClearTemp2();
    for (N const& n : all)
        EXPECT_EQ(n == c4 || n == deep ? 7 : -1, n->iTemp2) << Text(n);

    EXPECT_EQ(0, CountNodes(cn()));
    N withList = std::make_shared<CNode>(CN_BLOCK);
    withList->list = {Var("s")};
    EXPECT_EQ(2, CountNodes(withList));
    // 1 root + x + (mul, 2, y) + child4 + list (a, empty, 3); units and attachments don't count.
    EXPECT_EQ(8, CountNodes(Rich("xABy")));
    EXPECT_EQ(4, CountNodes(NV{Var("a"), nullptr, Op(CN_SUB, Var("b"), Num(1))}));

    // InitBasics lets go of the attachments without freeing them.
    N n = Rich("xABy");
    CNodeAppendix* app = n->appendix.get();
    CDoseVarOption* dose = n->doseOption.get();
    CNodeExtra* extra = n->extra.get();
    n->InitBasics();
    EXPECT_FALSE(n->appendix || n->doseOption || n->extra || n->units);
    EXPECT_EQ("-1 -1 -1 -1", Scratch(*n));
    EXPECT_TRUE(n->child1 && n->child4);
    EXPECT_STREQ("D", dose->idosevar); // still alive
    delete app;
    delete dose;
    delete extra;
}

TEST_F(VaroTest, KindNameTableIsInStepWithTheValues) {
    struct {
        CNodeType kind;
        int value;
        char const* name;
    } const kinds[] = {
        {CN_NONE, 0, "CN_NONE"},       {CN_NUM, 4, "CN_NUM"},
        {CN_CALL, 31, "CN_CALL"},      {CN_NAMED_NUM, 68, "CN_NAMED_NUM"},
        {CN_PROC, 115, "CN_PROC"},     {CN_PROC_SUBJECT, 116, "CN_PROC_SUBJECT"},
        {CN_SAMPLE, 126, "CN_SAMPLE"}, {CN_GAMMADELAY, 127, "CN_GAMMADELAY"},
    };

    for (auto const& k : kinds) {
        EXPECT_EQ(k.value, int(k.kind)) << k.name;
        EXPECT_STREQ(k.name, saCNodeTypeName[k.value]);
    }
    std::set<std::string> seen;
    for (int i = 0; i < CN_KIND_COUNT; i++) {
        ASSERT_NE(nullptr, saCNodeTypeName[i]) << i;
        EXPECT_EQ(0, std::string(saCNodeTypeName[i]).rfind("CN_", 0)) << i;
        EXPECT_TRUE(seen.insert(saCNodeTypeName[i]).second) << saCNodeTypeName[i];
    }
}

// Blocks of the pool are aligned and don't overlap, whether they come fresh from a chunk or
// back from a free list. Sizes are mixed, so that a block freed into the wrong size class (the
// size is not passed back) would be handed out again too small and overwritten.
TEST_F(VaroTest, NodePoolBlocksAreDistinct) {
    size_t const sizes[] = {0, 8, 200, 512, 600, 48};
    std::vector<unsigned char*> blocks;
    std::vector<size_t> blockSizes;
    for (int round = 0; round < 3; round++) {
        for (size_t i = 0; i < 4200; i++) {
            size_t const size = sizes[(i + size_t(round)) % 6];
            blocks.push_back(static_cast<unsigned char*>(PoolAllocate(size)));
            blockSizes.push_back(size == 0 ? 1 : size);
        }
        for (size_t i = 0; i < blocks.size(); i++) {
            EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(blocks[i]) % 16);
            memset(blocks[i], int(i % 251), blockSizes[i]);
        }
        for (size_t i = 0; i < blocks.size(); i++)
            for (size_t k = 0; k < blockSizes[i]; k += 7)
                ASSERT_EQ(i % 251, blocks[i][k]) << "block " << i << " of " << blockSizes[i];
        std::vector<unsigned char*> kept;
        std::vector<size_t> keptSizes;
        for (size_t i = 0; i < blocks.size(); i++) { // half go back, then come again
            if (i % 2 == 0) {
                PoolFree(blocks[i]);
            } else {
                kept.push_back(blocks[i]);
                keptSizes.push_back(blockSizes[i]);
            }
        }
        blocks = kept;
        blockSizes = keptSizes;
    }
    for (unsigned char* b : blocks)
        PoolFree(b);
}
