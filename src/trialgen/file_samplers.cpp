// File samplers: values of a trial model drawn from the rows of a file instead of a
// distribution. Until samplers are collected from the models, no model has any.
#include "trialgen/trialgen.h"

void DefineSamplers(FILE*) {}
void InitSamplersGlobal(std::string const&, FILE*) {}
void InitSamplersReplicate(std::string const&, FILE*) {}
void InitSamplersSubject(std::string const&, FILE*) {}
