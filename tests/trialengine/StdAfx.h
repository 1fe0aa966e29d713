// The first header of the trial program: the library's text and list types.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

typedef char const* LPCTSTR;
typedef int BOOL;
typedef char TCHAR;
#define TRUE 1

// The list of names that GetSettableVars fills.
class CStringArray {
  public:
    void clear();
    void push_back(LPCTSTR s);

  private:
    std::vector<std::string> names_;
};
