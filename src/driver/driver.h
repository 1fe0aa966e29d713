// Public header of the driver: the run settings of the command line, the readers of the
// input file, and the small text, name and digest tools every later stage uses.
#pragma once

#include "driver/diag.h"
#include "expr/expr.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

extern String sInFile;
extern String sOutDir;
extern int bTrialSimulation;
extern int bReplaceModelText;
extern int bGetTextModelInfo;
extern int bTestMode;
extern int iGenModelTypes;
extern int gradientLimit;
extern std::string varoPath;
extern char const* VARO_version;
extern char fmtbuf[1024];
extern int bAllowNullOmegas;

int doit();
// Prints the results of the built-in self-checks on standard output.
void RunSelfChecks();
void usage();
char* ReadFile(char const* path);
// A file for generated text, opened as `fopen` does, with a large buffer (output_file.cpp);
// close it with `CloseOutputFile`.
FILE* OpenOutputFile(char const* path, char const* mode);
int CloseOutputFile(FILE* f);
// Closes and deletes every output file still open: the translation failed half-way.
void DiscardOpenOutputFiles();
N ReadModelFile(char const* path, NV& includes, int iReplace);
N ReadCohortFile(char const* path, NV& includes);

extern char const* const saCReserved[];
char const* NameWithContext(char const* context, char const* name);
int MemberOf(char const* name, SV const& list);
int MemberOf(char const* context, char const* name, SV const& list);

// An index over 'list' for `FindName` while the scope lives: the list may only grow meanwhile,
// and one scope is open at a time (name_index.cpp).
class NameIndexScope {
  public:
    explicit NameIndexScope(SV const& list);
    ~NameIndexScope();
    NameIndexScope(NameIndexScope const&) = delete;
    NameIndexScope& operator=(NameIndexScope const&) = delete;
};

// `MemberOf`, answered from the open index when it is on 'list'.
int FindName(char const* name, SV const& list);
int FindName(char const* context, char const* name, SV const& list);

// Each name of a list with its last index, as `MemberOf` finds it: for many look-ups in a list
// that stays as it is meanwhile (name_index.cpp).
typedef std::unordered_map<std::string, int> NameMap;
NameMap GetNameMap(SV const& list);
// `MemberOf` of the list that 'map' was made of.
int FindIn(NameMap const& map, char const* name);
void EliminateDuplicates(SV& list);
void EliminateDuplicates(SV& list, std::vector<unsigned short>& a);
void EliminateDuplicates(SV& list, std::vector<unsigned short>& a, std::vector<unsigned short>& b);
bool is_reserved(char const* name);
bool is_var_dual(char const* name);
bool is_var_dual_fixef(char const* name);
bool is_var_dual_ranef(char const* name);
bool is_cfm(char const* name);
void if_statement(FILE* f, char const* name, bool bNewLine);
bool ltcholCol(int n, double const* A, double* L);

// The model id digest: the MD5 block function over the text padded with zeros only.
namespace MD5 {
struct Digest {
    uint32_t a, b, c, d;
};

Digest md5_text(char const* text);
Digest md5_file(char const* path);
} // namespace MD5

char const* get_model_id(char const* path);
