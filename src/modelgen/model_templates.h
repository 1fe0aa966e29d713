// Fixed texts of Model.cpp that the skeleton prints around the model's own sections.
#pragma once

extern char const* const preludeA;
extern char const* const preludeB_head;
extern char const* const preludeB_getters;
extern char const* const modePreludePlain;
extern char const* const modePreludeDual;
extern char const* const preludeD;
extern char const* const closingText;
extern char const* const steadyStateText;
extern char const* const solverText;
