// Fixed texts of cohort.h and cohort.cpp that the trial generator prints as they stand.
#pragma once

extern char const* const ssStateClass;
extern char const* const integratorText;
extern char const* const advanceText;
extern char const* const startSSText;
extern char const* const vdisText;
extern char const* const getSSText;
