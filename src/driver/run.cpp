// The run settings of the command line, the usage text, and `doit`, which picks the one
// road of this run: trial program, override rewrite, model information, or model code.
#include "analysis/analysis.h"
#include "driver/driver.h"
#include "modelgen/gencode.h"
#include "parser/parser.h"
#include "trialgen/trialgen.h"

String sInFile;
String sOutDir;
int bTrialSimulation = 0;
int bReplaceModelText = 0;
int bGetTextModelInfo = 0;
int bTestMode = 0;
int iGenModelTypes = 0;
int gradientLimit = 1;
std::string varoPath;
char const* VARO_version = "26.3.2.2";
char fmtbuf[1024];

void usage() {
    fprintf(
        stderr, "%s",
        "\n    Usage:\n    VARO5 [flags] <model file> [<output dir>]\n    flags (case insensitive):\n        /T  gen trial simulation\n        /I  special call to get fixed effects, etc\n        /R  override model text\n        /L  model generates LL values\n        /gradientlimit <1-5>  set level of acceptable model complexity for gradient processing\n                              1 is the least complex, 4 is the most complex, 5 is unlimited\n                              default value is 1\n                              note that there are internal limitations that cannot be exceeded with any level\n");
}

// "<out dir>/<file>"; built in a string of its own rather than the shared buffer, so a long
// directory is never cut.
static std::string OutputPath(char const* file) {
    return std::string(sOutDir) + '/' + file;
}

// Trial scripts beat override rewriting, which beats model information; the model code
// generator is the default road.
int doit() {
    NV includes;
    if (bTrialSimulation) {
        ReadCohortFile(sInFile, includes);
        if (bFatalError) return 1;
        CollectSamplers(paModel);
        CheckModels(paModel);
        String sTimeUnits;
        CohortPropagateUnits(paModel, paJoin, paUnits, sTimeUnits);
        CGenCode3 trial;
        trial.GenCohortExe("cohort.cpp", "cohort.h", includes, paModel, paJoin, paProc, paGlobalInt,
                           paGlobalDbl, sTimeUnits);
        return 0;
    }
    if (bReplaceModelText) {
        ReadModelFile(sInFile, includes, 1);
        return bFatalError ? 1 : 0;
    }
    N model = ReadModelFile(sInFile, includes, 0);
    if (bFatalError) return 1;
    if (!model) return 0;
    model->AssertValid();
    if (bGetTextModelInfo) {
        std::string infoPath = OutputPath("ModelInfo.txt");
        ModelInfoGen info(model);
        info.GenModelInfo(infoPath.c_str(), iGenModelTypes, includes);
        return 0;
    }
    std::string hPath = OutputPath("Model.h"), cppPath = OutputPath("Model.cpp");
    CGenCode gen(model);
    gen.GenOrbxDLL(sInFile, hPath.c_str(), cppPath.c_str(), iGenModelTypes, includes);
    return 0;
}
