// Reading of data files by the file samplers: one FileSampler object per file a trial model
// draws from, set up at each level of draws and read a column at a time.
#pragma once

#include "StdAfx.h"

class FileSampler {
  public:
    // 'mode' 0 reads the rows in order, 1 picks them at random.
    void InitGlobal(char const* file, int mode);
    void InitReplicate();
    void InitSubject();
    // The number in the column of the current row.
    void GetDouble(char const* column, double& value);
    // The text of the cell in the column of the current row.
    void GetDouble(char const* column, TCHAR* cell);
};
