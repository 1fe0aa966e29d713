// Public header of the model code generator: the expression emitter with its visitors and
// cast contexts, and the lists of a model's assignments that the emitter expands.
#pragma once

#include "driver/driver.h"
#include "expr/expr.h"

#include <cstdio>

// All assignments of the model with their right sides, parallel lists.
extern SV saAssign;
extern NV paAssign;

// Where the text of an expression goes, and how powers and calls are written.
class NodeVisitor {
  public:
    CNodeType iParent = CN_NONE; // the kind of the node being printed

    virtual ~NodeVisitor() = default;

    virtual void put_str(char const*, char const*) {}

    virtual void put_int(int, char const*) {}

    virtual void put_dbl(double, char const*) {}

    virtual void visit_pow(cn const& node, bool bHasTime) = 0;
    virtual void visit_call(cn const& node) = 0;

    virtual bool just_looking() { return false; }
};

// Plain pow(...) and name(...) forms.
class GenerativeVisitor : public NodeVisitor {
  public:
    void visit_pow(cn const& node, bool bHasTime) override;
    void visit_call(cn const& node) override;
};

class FileGenVisitor : public GenerativeVisitor {
  public:
    explicit FileGenVisitor(FILE* f) : fp(f) {}

    void put_str(char const* text, char const* fmt) override;
    void put_int(int value, char const* fmt) override;
    void put_dbl(double value, char const* fmt) override;

  protected:
    FILE* fp;
};

class StrGenVisitor : public GenerativeVisitor {
  public:
    explicit StrGenVisitor(String* t) : target(t) {}

    void put_str(char const* text, char const* fmt) override;
    void put_int(int value, char const* fmt) override;
    void put_dbl(double value, char const* fmt) override;

  private:
    String* target;
};

struct CountingThing {
    int iResultCount = 0; // entries of _tempResult used so far
    int iArgCount = 0;    // entries of _tempArg used so far
};

// Writes exp, log, ln and pow as calls that remember their last result.
class CacheVisitor : public FileGenVisitor, public CountingThing {
  public:
    explicit CacheVisitor(FILE* f) : FileGenVisitor(f) {}

    void visit_pow(cn const& node, bool bHasTime) override;
    void visit_call(cn const& node) override;
};

// Walks an expression printing nothing, for the warnings of powers of time.
class CheckVisitor : public NodeVisitor {
  public:
    void visit_pow(cn const& node, bool bHasTime) override;
    void visit_call(cn const& node) override;

    bool just_looking() override { return true; }
};

// Whether an expression carries derivatives by fixed effects (theta) and random effects (eta).
struct duality_kind {
    bool theta = false;
    bool eta = false;
};

duality_kind operator||(duality_kind a, duality_kind b);

void GenCimpl(cn const& node, NodeVisitor* v, bool bRight);
void GenC(cn const& node, NodeVisitor* v);
void GenC(cn const& node, FILE* f);
void GenCstr(cn const& node, String& out);
void GenCReal(cn const& node, FILE* f);

void set_assignment(bool theta, bool eta);
void set_assignment(char const* var);
void pop_assignment();
void reset_assignment();

duality_kind is_expression_dual(cn const& node);
// "<NUM>", "<ThetaType>", "<EtaType>" or "<double>" for the open assignment context.
char const* GetContextTypeArgument();
char const* GenerateDistType(String const& name);
bool has_time(N const& base, N const& exponent);
bool suspicious(N const& node, CNodeType parent);

// Unit expressions as calls of the engine's unit routines (gen_units.cpp): _units_Mul(a,b),
// _units_Div, _units_Log, _units_Exp, __NumberString(2), _X_Units for a base unit X.
void GenUnitsCode(cn const& u, FILE* fp);
// "name: <code>\r\n", for debugging.
void PrintUnits(FILE* fp, char const* name, cn const& u);
// GetVarUnits over the table 'names'/'table', simplified in place; an entry whose units name
// a base unit without a slot among 'slots' is left out. 'bTime' adds the line of "t".
void GenUnitsRoutines(FILE* fp, SV& names, NV& table, int bTime, SV const& slots);
