// The base of every model class of the trial program, and the tables its members use.
#pragma once

#include "StdAfx.h"

class DelayTable {
  public:
    void init();
};

class PeakTable {
  public:
    void init();
};

class PKPDModel {
  public:
    virtual ~PKPDModel();
    void Init();
};
