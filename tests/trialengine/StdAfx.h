// The first header of the trial program: the library's text and list types.
#pragma once

#include <cstdio>

typedef char const* LPCTSTR;
typedef int BOOL;

// The list of names that GetSettableVars fills.
class CStringArray {
  public:
    void clear();
    void push_back(LPCTSTR s);
};
