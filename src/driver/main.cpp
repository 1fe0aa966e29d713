// The VARO5 command: flags, then the model file and an optional output directory.
#include "driver/driver.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>

// A cluster of the letters l L t T i I r R, applied only when every letter passes.
static bool ApplyCluster(char const* letters) {
    if (strspn(letters, "lLtTiIrR") != strlen(letters)) return false;
    for (char const* c = letters; *c; c++) {
        switch (*c | 0x20) {
            case 'i': bGetTextModelInfo = 1; break;
            case 'l': iGenModelTypes |= 2; break;
            case 'r': bReplaceModelText = 1; break;
            case 't': bTrialSimulation = 1; break;
        }
    }
    return true;
}

// Reads the flags in front of the file names; returns the index of the first argument that
// is not a flag. '(c & 253) == 45' lets exactly '-' and '/' through.
static int ReadFlags(int argc, char** argv, bool& bVersion) {
    int i = 1;
    for (; i < argc; i++) {
        char const* arg = argv[i];
        if ((arg[0] & 253) != 45) break;
        char const* word = arg + 1;
        if (strcasecmp(word, "gradientlimit") == 0) {
            // A missing number reads as strtol of an empty text would: 0.
            i++;
            gradientLimit = i < argc ? int(strtol(argv[i], nullptr, 10)) : 0;
        } else if (strcasecmp(word, "test") == 0) {
            bTestMode = 1;
        } else if (strcasecmp(word, "v") == 0) {
            printf("VARO5 version: %s\n", VARO_version);
            bVersion = true;
        } else if (*word && !ApplyCluster(word)) {
            break; // taken for the file name
        }
    }
    return i;
}

// The files after the flags: the model, the output directory (default "."), no third.
static int RunOnFiles(int argc, char** argv, int i) {
    if (i + 2 < argc) {
        fprintf(stderr, "Error: extra arguments provided\n");
        usage();
        return 1;
    }
    sInFile = argv[i];
    sOutDir = i + 1 < argc ? argv[i + 1] : ".";
    int len = int(strlen(sOutDir));
    if (len > 0 && (sOutDir[len - 1] == '/' || sOutDir[len - 1] == '\\')) sOutDir[len - 1] = 0;
    try {
        return doit();
    } catch (CException* e) {
        delete e;
        DiscardOpenOutputFiles();
        return 1;
    } catch (std::bad_alloc const&) {
        DiscardOpenOutputFiles();
        fprintf(stderr, "Error: out of memory\n");
        return 1;
    }
}

int main(int argc, char** argv) {
    ClearWarnings();
    varoPath = argv[0] ? argv[0] : "";
    if (argc < 2) {
        usage();
        return 1;
    }
    iGenModelTypes = 0;
    bool bVersion = false;
    int i = ReadFlags(argc, argv, bVersion);
    if (bTestMode) {
        RunSelfChecks();
        return 0;
    }
    if (iGenModelTypes == 0) iGenModelTypes = 2;
    if (i < argc) return RunOnFiles(argc, argv, i);
    if (bVersion) return 0;
    fprintf(stderr, "Error: no file provided\n");
    usage();
    return 1;
}
