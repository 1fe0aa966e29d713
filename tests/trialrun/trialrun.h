// The test run-time library of generated trial programs, beside the headers of tests/trialengine
// that it defines: what its driver and its own tests call. Not seen by generated code.
#pragma once

#include <cstdint>

class StateMachine;

namespace trialrun {

// Runs the queue until it is empty. The clock is 0 before and after each run.
void RunQueue();
// Machines that were run and machines still alive, for the tests of the scheduler.
long long RunCount();
int LiveMachines();

// The random generator of all draws.
void Seed(std::uint64_t seed);

// Records go to 'path' ("" for none), one CSV line each, after a header line.
void OpenRecords(char const* path);
void CloseRecords();
// One record line; 'subjectPart' is "arm,subject,period", 'extra' "extra1,extra2".
void Record(char const* kind, int iScen, int iRep, char const* subjectPart, char const* sInstance,
            char const* sName, double value, char const* sUnits, char const* extra);

// e^(dt A) for a square matrix of order 'n' (at most 8) stored by rows.
void MatrixExp(int n, double const* a, double dt, double* out);

} // namespace trialrun
