// Fixed texts of the subject evaluation section of Model.cpp.
#pragma once

extern char const* const calcSumXTemplate;
extern char const* const gammaDerivTemplate;
