// Test support shared by the unit tests: a fixture that puts the reporting and scanner
// state back to a fresh run's before each test.
#pragma once

#include "driver/diag.h"

#include <gtest/gtest.h>

class VaroTest : public ::testing::Test {
  protected:
    void SetUp() override {
        sErr = nullptr;
        bFatalError = false;
        iLine = 1;
        currentLine = nullptr;
    }
};
