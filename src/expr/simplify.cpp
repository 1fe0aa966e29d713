// The simplifier of expression trees and its tree-depth setting.
#include "expr/expr.h"

// Read by the simplifier; nothing in the translator sets it, so it stays 0.
static int maxTreeDepth = 0;

void SetMaxTreeDepth(int depth) { maxTreeDepth = depth; }
