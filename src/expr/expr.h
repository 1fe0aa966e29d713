// Public header of the symbolic expression engine: the node class, the text class, and
// the operations on trees that the parser, the analysis and the generators use.
#pragma once

#include "expr/cnode.h"
#include "expr/vstring.h"

// Thrown (as a pointer) only by differentiation when a derivative can't be formed.
class CException {
  public:
    virtual ~CException() = default;
};
