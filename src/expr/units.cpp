// Unit algebra: simplification of unit expressions (products and quotients of named units,
// the time unit and numbers, with logs and exps of them) to a product of powers, and the
// inference step at one expression node, which moves units between the node and its operands.
#include "driver/driver.h"
#include "expr/expr.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

// ---- SimpUnitsCountPowers ------------------------------------------------------------------

static int Power(unsigned short p) {
    return int16_t(p);
}

// Adds 'sign' to the power of 'f': an equal factor met before, searched from the end, takes
// it, otherwise 'f' is appended.
static void AddFactor(N const& f, int sign, NV& factors, std::vector<unsigned short>& powers) {
    for (size_t i = factors.size(); i-- > 0;) {
        if (!factors[i]->Equal(f)) continue;
        powers[i] = (unsigned short)(powers[i] + sign);
        return;
    }
    factors.push_back(f);
    powers.push_back((unsigned short)sign);
}

static bool IsUnitProduct(cn const& n) {
    return n->type == CN_UNIT_MUL || n->type == CN_UNIT_DIV;
}

static void CountFactor(N const& n, int sign, NV& factors, std::vector<unsigned short>& powers) {
    if (IsUnitProduct(n))
        n->SimpUnitsCountPowers(sign, factors, powers);
    else
        AddFactor(n, sign, factors, powers);
}

// Flattens a tree of unit products and quotients into its factors with their powers; the
// divisor of a quotient counts with the opposite 'sign'.
void CNode::SimpUnitsCountPowers(int sign, NV& factors, std::vector<unsigned short>& powers) {
    if (type != CN_UNIT_MUL && type != CN_UNIT_DIV) {
        AddFactor(Copy(), sign, factors, powers);
        return;
    }
    CountFactor(child1, sign, factors, powers);
    CountFactor(child2, type == CN_UNIT_MUL ? sign : -sign, factors, powers);
}

// ---- SimpUnits -----------------------------------------------------------------------------

static bool IsNumber(cn const& n, double value) {
    return n->type == CN_NUM && n->value == value;
}

// exp(log(u)) is u; exp of a small number is that number's exp.
static void SimpUnitsExp(CNode& n) {
    N arg = n.child1;
    if (arg->type == CN_UNIT_LOG)
        n = *arg->child1;
    else if (arg->type == CN_NUM && std::fabs(arg->value) <= 10)
        n = CNode(std::exp(arg->value));
}

// log(exp(u)) is u; log of a positive number is that number's log.
static void SimpUnitsLog(CNode& n) {
    N arg = n.child1;
    if (arg->type == CN_UNIT_EXP)
        n = *arg->child1;
    else if (arg->type == CN_NUM && arg->value > 0)
        n = CNode(std::log(arg->value));
}

static void EraseFactor(NV& factors, std::vector<unsigned short>& powers, size_t i) {
    factors.erase(factors.begin() + i);
    powers.erase(powers.begin() + i);
}

// A factor whose powers cancelled out, or the number 1, says nothing.
static void DropNeutralFactors(NV& factors, std::vector<unsigned short>& powers) {
    for (size_t i = factors.size(); i-- > 0;)
        if (Power(powers[i]) == 0 || IsNumber(factors[i], 1)) EraseFactor(factors, powers, i);
}

// The place of the number 0 among the factors, searched from the end, or -1.
static int FindZeroFactor(NV const& factors) {
    for (size_t i = factors.size(); i-- > 0;)
        if (IsNumber(factors[i], 0)) return int(i);
    return -1;
}

// A scale factor has no place in a unit: 2 * mg is mg.
static void DropNumbers(NV& factors, std::vector<unsigned short>& powers) {
    for (size_t i = factors.size(); i-- > 0;)
        if (factors[i]->type == CN_NUM) EraseFactor(factors, powers, i);
}

// Multiplies 'f' into 'side' as a left-leaning chain of products over copies.
static void MultiplyInto(N& side, N const& f) {
    side = side ? NewNode(CN_UNIT_MUL, side, f->Copy()) : f->Copy();
}

// numerator / denominator, each factor repeated as often as its power says.
static N RebuildUnits(NV const& factors, std::vector<unsigned short> const& powers) {
    N num, den;
    for (size_t i = 0; i < factors.size(); i++) {
        int p = Power(powers[i]);
        for (int k = 0; k < p; k++)
            MultiplyInto(num, factors[i]);
        for (int k = 0; k > p; k--)
            MultiplyInto(den, factors[i]);
    }
    if (!num) num = NewNum(1);
    return den ? NewNode(CN_UNIT_DIV, num, den) : num;
}

// A product or quotient becomes its factors' powers, with a zero product as the number 0;
// a unit divided by zero is left as it is.
static void SimpUnitsProduct(CNode& n) {
    NV factors;
    std::vector<unsigned short> powers;
    n.SimpUnitsCountPowers(1, factors, powers);
    DropNeutralFactors(factors, powers);
    int zero = FindZeroFactor(factors);
    if (zero >= 0) {
        if (Power(powers[zero]) < 0) return;
        n = CNode(0.0);
        return;
    }
    DropNumbers(factors, powers);
    N result = RebuildUnits(factors, powers);
    n = *result;
}

// Simplifies this unit expression in place, operands first.
void CNode::SimpUnits() {
    if (child1) child1->SimpUnits();
    if (child2) child2->SimpUnits();
    switch (type) {
        case CN_UNIT_MUL:
        case CN_UNIT_DIV: SimpUnitsProduct(*this); return;
        case CN_UNIT_LOG: SimpUnitsLog(*this); return;
        case CN_UNIT_EXP: SimpUnitsExp(*this); return;
        default: return;
    }
}

// ---- SetUnits ------------------------------------------------------------------------------

// Stores 'u' on this node. A variable also enters the table, simplified, under its name in
// 'context'; when the table has other units for it, those stay and a warning says so.
void CNode::SetUnits(N u, char const* context, SV& names, NV& table) {
    units = u;
    if (type != CN_VAR) return;
    char const* full = NameWithContext(context, name);
    N simple = u->Copy();
    simple->SimpUnits();
    int i = FindName(full, names);
    if (i < 0) {
        names.push_back(full);
        table.push_back(simple);
        return;
    }
    if (!table[i]->Equal(simple)) fprintf(stderr, "Warning: error setting -> %s\r\n", full);
}

// ---- PropagateUnits ------------------------------------------------------------------------

// The table of known units and the pass's change flag, as one argument for the rules below.
struct UnitTable {
    char const* context;
    SV& names;
    NV& table;
    int& iChanged;
};

// The units of 'n' to build on. A unit expression on a node is never changed in place (only
// copies are simplified), so nodes share it instead of copying it.
static N UnitsOf(cn const& n) {
    return n->units;
}

// Gives 'n' the units 'u', a variable through SetUnits. A number may already hold units
// (its own value), so giving it the same again is no change.
static void GiveUnits(N const& n, N u, UnitTable& t) {
    if (n->units && n->units->Equal(u)) return;
    if (n->type == CN_NUM)
        n->units = u;
    else
        n->SetUnits(u, t.context, t.names, t.table);
    t.iChanged = 1;
}

static bool IsCallOf(CNode const& n, char const* fn) {
    return n.type == CN_CALL && n.name == fn;
}

static bool IsLogCall(CNode const& n) {
    return IsCallOf(n, "ln") || IsCallOf(n, "log");
}

// A number that still carries its own value as units.
static bool HasOwnValueUnits(cn const& n) {
    return n->type == CN_NUM && n->units && IsNumber(n->units, n->value);
}

// In a sum a bare number's own value is no unit: it takes the other side's.
static bool IsKnownInSum(cn const& n) {
    return n->units && !HasOwnValueUnits(n);
}

static N FirstArgument(CNode const& call) {
    return call.list.empty() ? N() : call.list[0];
}

// x + 1 with x in mg: the number takes mg, and so does the sum.
static void SumFromChildren(CNode& n, UnitTable& t) {
    N a = n.child1, b = n.child2;
    if (!IsKnownInSum(a) && IsKnownInSum(b)) GiveUnits(a, UnitsOf(b), t);
    if (!IsKnownInSum(b) && IsKnownInSum(a)) GiveUnits(b, UnitsOf(a), t);
    if (a->units && b->units && (IsKnownInSum(a) || IsKnownInSum(b))) n.units = UnitsOf(a);
}

// A number operand always holds its own value as units by now, so a product or quotient
// waits for both operands.
static void ProductFromChildren(CNode& n, CNodeType unitType) {
    if (n.child1->units && n.child2->units)
        n.units = NewNode(unitType, UnitsOf(n.child1), UnitsOf(n.child2));
}

// exp(x) has the units exp(u) of x, log(x) and ln(x) the units log(u).
static void CallFromArgument(CNode& n) {
    N arg = FirstArgument(n);
    if (!arg || !arg->units) return;
    if (IsCallOf(n, "exp"))
        n.units = NewNode(CN_UNIT_EXP, UnitsOf(arg));
    else if (IsLogCall(n))
        n.units = NewNode(CN_UNIT_LOG, UnitsOf(arg));
}

static void VarFromTable(CNode& n, UnitTable& t) {
    int i = FindName(t.context, n.name, t.names);
    if (i >= 0) n.units = t.table[i]->Copy();
}

// Units that flow up to a node that has none.
static void UnitsFromChildren(CNode& n, UnitTable& t) {
    switch (n.type) {
        case CN_VAR: VarFromTable(n, t); break;
        case CN_ADD:
        case CN_SUB: SumFromChildren(n, t); break;
        case CN_MUL: ProductFromChildren(n, CN_UNIT_MUL); break;
        case CN_DIV: ProductFromChildren(n, CN_UNIT_DIV); break;
        case CN_NEG:
            if (n.child1->units) n.units = UnitsOf(n.child1);
            break;
        case CN_CALL: CallFromArgument(n); break;
        default: break;
    }
    if (n.units) t.iChanged = 1;
}

// A variable given units by its parent enters the table.
static void VarIntoTable(CNode& n, UnitTable& t) {
    if (FindName(t.context, n.name, t.names) >= 0) return;
    N simple = n.units->Copy();
    simple->SimpUnits();
    t.names.push_back(NameWithContext(t.context, n.name));
    t.table.push_back(simple);
    t.iChanged = 1;
}

static void GiveIfNone(N const& n, N u, UnitTable& t) {
    if (!n->units) GiveUnits(n, u, t);
}

// a * b with units U: one known factor K leaves U / K to the other; with neither known, a
// factor exp(...) is left alone and the other takes U.
static void ProductToChildren(CNode& n, UnitTable& t) {
    N a = n.child1, b = n.child2, u = n.units;
    if (a->units && !b->units) GiveUnits(b, NewNode(CN_UNIT_DIV, u, UnitsOf(a)), t);
    if (b->units && !a->units) GiveUnits(a, NewNode(CN_UNIT_DIV, u, UnitsOf(b)), t);
    if (a->units || b->units) return;
    if (IsCallOf(*a, "exp"))
        GiveUnits(b, u, t);
    else if (IsCallOf(*b, "exp"))
        GiveUnits(a, u, t);
}

// a / b with units U: a known as K gives b K / U; b known as K gives a U * K; with neither
// known, an exp(...) divisor leaves U to a, an exp(...) dividend leaves 1 / U to b.
static void QuotientToChildren(CNode& n, UnitTable& t) {
    N a = n.child1, b = n.child2, u = n.units;
    if (a->units && !b->units) GiveUnits(b, NewNode(CN_UNIT_DIV, UnitsOf(a), u), t);
    if (b->units && !a->units) GiveUnits(a, NewNode(CN_UNIT_MUL, u, UnitsOf(b)), t);
    if (a->units || b->units) return;
    if (IsCallOf(*b, "exp"))
        GiveUnits(a, u, t);
    else if (IsCallOf(*a, "exp"))
        GiveUnits(b, NewNode(CN_UNIT_DIV, NewNum(1), u), t);
}

// The argument of exp(x) in U has the units log(U); of log(x) and ln(x), exp(U).
static void CallToArgument(CNode& n, UnitTable& t) {
    N arg = FirstArgument(n);
    if (!arg) return;
    if (IsCallOf(n, "exp"))
        GiveIfNone(arg, NewNode(CN_UNIT_LOG, n.units), t);
    else if (IsLogCall(n))
        GiveIfNone(arg, NewNode(CN_UNIT_EXP, n.units), t);
}

// Units that flow down from a node that has them to operands that have none.
static void UnitsToChildren(CNode& n, UnitTable& t) {
    switch (n.type) {
        case CN_VAR: VarIntoTable(n, t); break;
        case CN_ADD:
        case CN_SUB:
            for (N const& c : {n.child1, n.child2})
                if (!IsKnownInSum(c)) GiveUnits(c, n.units, t);
            break;
        case CN_NEG: GiveIfNone(n.child1, n.units, t); break;
        case CN_MUL: ProductToChildren(n, t); break;
        case CN_DIV: QuotientToChildren(n, t); break;
        case CN_CALL: CallToArgument(n, t); break;
        default: break;
    }
}

// One inference step at this node: its operands first, then units flow up into this node
// when it has none, or down to operands that have none. Kinds past CN_CALL are left alone.
void CNode::PropagateUnits(char const* context, SV& names, NV& table, int& iChanged) {
    if (type > CN_CALL) return;
    if (type == CN_NUM) {
        if (units) return;
        units = NewNum(value);
        iChanged = 1;
        return;
    }
    for (N const* c : {&child1, &child2})
        if (*c) (*c)->PropagateUnits(context, names, table, iChanged);
    for (N const& e : list)
        if (e) e->PropagateUnits(context, names, table, iChanged);
    UnitTable t{context, names, table, iChanged};
    if (units)
        UnitsToChildren(*this, t);
    else
        UnitsFromChildren(*this, t);
}
