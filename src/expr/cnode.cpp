// CNode construction, deep copy, structural equality and the small whole-tree walks, and
// the copy and compare operations of the records a node owns.
#include "expr/cnode.h"

#include <cassert>
#include <cmath>

char const* const saCNodeTypeName[CN_KIND_COUNT] = {
#define CN_KIND(kind, value) #kind,
#include "expr/cnode_kinds.def"
#undef CN_KIND
};

#define CN_KIND(kind, value) static_assert(kind == value, "kinds are listed in value order");
#include "expr/cnode_kinds.def"
#undef CN_KIND

// Both empty, or both present and equal by the second tree's node.
static bool SameNode(N const& a, N const& b) {
    if (!a || !b) return !a && !b;
    return b->equal_impl(a.get());
}

template <class T>
static bool SameRecord(std::unique_ptr<T> const& a, std::unique_ptr<T> const& b) {
    if (!a || !b) return !a && !b;
    return a->Equal(b.get());
}

void CNodeAppendix::Clear() {
    dobefore.reset();
    doafter.reset();
    simulate.reset();
}

void CNodeAppendix::CopyTo(CNodeAppendix* target) const {
    target->Clear();
    target->dobefore = CopyOrEmpty(dobefore);
    target->doafter = CopyOrEmpty(doafter);
    target->simulate = CopyOrEmpty(simulate);
}

std::unique_ptr<CNodeAppendix> CNodeAppendix::Copy() const {
    auto r = std::make_unique<CNodeAppendix>();
    CopyTo(r.get());
    return r;
}

bool CNodeAppendix::Equal(CNodeAppendix const* other) const {
    return SameNode(dobefore, other->dobefore) && SameNode(doafter, other->doafter) &&
           SameNode(simulate, other->simulate);
}

void CNodeExtra::CopyTo(CNodeExtra* target) const {
    target->beta.reset();
    target->power.reset();
    target->zprobOrLinkp.reset();
    target->beta = CopyOrEmpty(beta);
    target->power = CopyOrEmpty(power);
    target->zprobOrLinkp = CopyOrEmpty(zprobOrLinkp);
    target->ilink = ilink;
    target->noreset = noreset;
}

std::unique_ptr<CNodeExtra> CNodeExtra::Copy() const {
    auto r = std::make_unique<CNodeExtra>();
    CopyTo(r.get());
    return r;
}

// The link name is compared both before and after the three expressions.
bool CNodeExtra::Equal(CNodeExtra const* other) const {
    return ilink == other->ilink && SameNode(beta, other->beta) && SameNode(power, other->power) &&
           SameNode(zprobOrLinkp, other->zprobOrLinkp) && ilink == other->ilink &&
           noreset == other->noreset;
}

void CDoseVarOption::CopyTo(CDoseVarOption* target) const {
    *target = *this;
}

std::unique_ptr<CDoseVarOption> CDoseVarOption::Copy() const {
    return std::make_unique<CDoseVarOption>(*this);
}

bool CDoseVarOption::Equal(CDoseVarOption const* other) const {
    return idosevar == other->idosevar && infdosevar == other->infdosevar &&
           infratevar == other->infratevar && split == other->split;
}

void CSampleVarOption::CopyTo(CSampleVarOption* target) const {
    target->sVar = sVar;
    target->sColumn = sColumn;
    target->categories.clear();
    for (auto const& c : categories)
        target->categories.push_back(std::make_unique<CSampleVarCategoryOption>(*c));
}

std::unique_ptr<CSampleVarOption> CSampleVarOption::Copy() const {
    auto r = std::make_unique<CSampleVarOption>();
    CopyTo(r.get());
    return r;
}

bool CSampleVarOption::Equal(CSampleVarOption const* other) const {
    if (!other || sVar != other->sVar || sColumn != other->sColumn) return false;
    if (categories.size() != other->categories.size()) return false;
    for (size_t i = 0; i < categories.size(); i++) {
        if (categories[i]->sName != other->categories[i]->sName) return false;
        if (categories[i]->sValue != other->categories[i]->sValue) return false;
    }
    return true;
}

void CSampleOption::CopyTo(CSampleOption* target) const {
    target->sFile = sFile;
    target->iMode = iMode;
    target->vars.clear();
    for (auto const& v : vars)
        target->vars.push_back(v->Copy());
}

std::unique_ptr<CSampleOption> CSampleOption::Copy() const {
    auto r = std::make_unique<CSampleOption>();
    CopyTo(r.get());
    return r;
}

bool CSampleOption::Equal(CSampleOption const* other) const {
    if (!other || sFile != other->sFile || iMode != other->iMode) return false;
    if (vars.size() != other->vars.size()) return false;
    for (size_t i = 0; i < vars.size(); i++)
        if (!vars[i]->Equal(other->vars[i].get())) return false;
    return true;
}

CNode::CNode() {
    InitBasics();
}

CNode::CNode(char const* name_) : type(CN_VAR), name(name_) {
    InitBasics();
}

CNode::CNode(char const* name_, double value_) : type(CN_NAMED_NUM), name(name_), value(value_) {
    InitBasics();
}

CNode::CNode(double value_) : type(CN_NUM), value(value_) {
    InitBasics();
}

CNode::CNode(CNodeType type_) : type(type_) {
    InitBasics();
}

CNode::CNode(CNodeType type_, double value_) : type(type_), value(value_) {
    InitBasics();
}

CNode::CNode(CNodeType type_, char const* name_) : type(type_), name(name_) {
    InitBasics();
}

CNode::CNode(CNodeType type_, N c1) : type(type_), child1(c1) {
    InitBasics();
}

CNode::CNode(CNodeType type_, N c1, N c2) : type(type_), child1(c1), child2(c2) {
    InitBasics();
}

CNode::CNode(CNodeType type_, N c1, N c2, N c3) : type(type_), child1(c1), child2(c2), child3(c3) {
    InitBasics();
}

CNode::CNode(CNodeType type_, N c1, N c2, N c3, N c4)
    : type(type_), child1(c1), child2(c2), child3(c3), child4(c4) {
    InitBasics();
}

CNode::CNode(CNodeType type_, char const* name_, N c1, N c2, N c3)
    : type(type_), name(name_), child1(c1), child2(c2), child3(c3) {
    InitBasics();
}

// Deep copy by the base class: a derived node comes out as a plain node of its kind.
CNode::CNode(CNode const& other)
    : type(other.type), name(other.name), value(other.value), child1(CopyOrEmpty(other.child1)),
      child2(CopyOrEmpty(other.child2)), child3(CopyOrEmpty(other.child3)),
      child4(CopyOrEmpty(other.child4)), units(CopyOrEmpty(other.units)), pos(other.pos),
      iTemp1(other.iTemp1), iTemp2(other.iTemp2), iDelayTable(other.iDelayTable),
      iPeakTable(other.iPeakTable) {
    if (other.appendix) appendix = other.appendix->Copy();
    if (other.doseOption) doseOption = other.doseOption->Copy();
    if (other.extra) extra = other.extra->Copy();
    list.reserve(other.list.size());
    for (N const& n : other.list)
        list.push_back(CopyOrEmpty(n));
}

// The appendix is cleared first, then the attachments, the list and the children go.
CNode::~CNode() {
    if (appendix) appendix->Clear();
    appendix.reset();
    doseOption.reset();
    extra.reset();
    list.clear();
}

CNode& CNode::operator=(CNode const& other) {
    CNode copy(other);
    swap(copy);
    return *this;
}

void CNode::swap(CNode& other) {
    std::swap(type, other.type);
    std::swap(name, other.name);
    std::swap(value, other.value);
    std::swap(child1, other.child1);
    std::swap(child2, other.child2);
    std::swap(child3, other.child3);
    std::swap(child4, other.child4);
    std::swap(units, other.units);
    std::swap(appendix, other.appendix);
    std::swap(doseOption, other.doseOption);
    std::swap(extra, other.extra);
    std::swap(list, other.list);
    std::swap(pos, other.pos);
    std::swap(iTemp1, other.iTemp1);
    std::swap(iTemp2, other.iTemp2);
    std::swap(iDelayTable, other.iDelayTable);
    std::swap(iPeakTable, other.iPeakTable);
}

// The constructors' common tail. The attachments are released, not freed: a constructor
// has none yet.
void CNode::InitBasics() {
    iTemp1 = iTemp2 = iDelayTable = iPeakTable = -1;
    units.reset();
    appendix.release();
    doseOption.release();
    extra.release();
}

N CNode::Copy() const {
    return MakeNode(*this);
}

N CNode::ShallowCopy() const {
    N r = MakeNode(type);
    r->name = name;
    r->value = value;
    r->iTemp1 = iTemp1;
    r->iTemp2 = iTemp2;
    r->iDelayTable = iDelayTable;
    r->iPeakTable = iPeakTable;
    return r;
}

bool CNode::Equal(cn const& other) const {
    return other && other->equal_impl(this);
}

// Structural equality; `units`, `pos` and the scratch fields take no part, and a NaN value
// equals nothing, not even itself.
bool CNode::equal_impl(CNode const* other) const {
    if (type != other->type || name != other->name) return false;
    if (std::isnan(value) || std::isnan(other->value) || value != other->value) return false;
    if (!SameNode(child1, other->child1) || !SameNode(child2, other->child2)) return false;
    if (!SameNode(child3, other->child3) || !SameNode(child4, other->child4)) return false;
    if (!SameRecord(appendix, other->appendix)) return false;
    if (!SameRecord(doseOption, other->doseOption)) return false;
    if (!SameRecord(extra, other->extra)) return false;
    if (list.size() != other->list.size()) return false;
    for (size_t i = 0; i < list.size(); i++)
        if (!SameNode(list[i], other->list[i])) return false;
    return true;
}

[[maybe_unused]] static void AssertValidIfPresent(N const& n) {
    if (n) n->AssertValid();
}

// Touches every node of the tree, so that a damaged tree fails here and not in a generator.
// Without assertions there is nothing to check, and the walk is left out.
void CNode::AssertValid() const {
#ifndef NDEBUG
    assert(type >= 0 && type < CN_KIND_COUNT);
    AssertValidIfPresent(child1);
    AssertValidIfPresent(child2);
    AssertValidIfPresent(child3);
    AssertValidIfPresent(child4);
    for (N const& n : list)
        AssertValidIfPresent(n);
#endif
}

// Through child1 to child3 and the list; a node that hangs only under child4 keeps its value.
void CNode::ClearTemp1() {
    iTemp1 = -1;
    for (N const* c : {&child1, &child2, &child3})
        if (*c) (*c)->ClearTemp1();
    for (N const& n : list)
        if (n) n->ClearTemp1();
}

void CNode::ClearTemp2() {
    iTemp2 = -1;
    for (N const* c : {&child1, &child2, &child3})
        if (*c) (*c)->ClearTemp2();
    for (N const& n : list)
        if (n) n->ClearTemp2();
}

int CountNodes(cn const& node) {
    if (!node) return 0;
    return 1 + CountNodes(node->child1) + CountNodes(node->child2) + CountNodes(node->child3) +
           CountNodes(node->child4) + CountNodes(node->list);
}

int CountNodes(NV const& list) {
    int n = 0;
    for (N const& e : list)
        n += CountNodes(e);
    return n;
}
