// The bound on how deeply one expression or block may nest.
#include "parser/parser.h"

// Deeper text would exhaust the stack in the parser or in the later recursive walks.
static int const MAX_NESTING = 1000;
static int nesting = 0;

void DepthGuard::Enter(char const* p) {
    if (nesting >= MAX_NESTING) syntax_err("Expression nested too deeply", p);
    nesting++;
    entered++;
}

DepthGuard::~DepthGuard() {
    nesting -= entered;
}
