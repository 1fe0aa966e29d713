// Runs the translator on many damaged copies of sample model texts and trial scripts (named
// *.trial, always run with /T) and checks that every run ends with status 0 or 1, never with
// a signal or another status. The damage is deterministic
// (a fixed seed): bytes dropped, changed or cut off, and pieces of the language put in at
// random places, so that every parser rule sees unfinished and misplaced text.
// Usage: robustness <VARO5> <work dir> <runs> <sample files...>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <sys/wait.h>
#include <vector>

static char const* const pieces[] = {"(",
                                     ")",
                                     "{",
                                     "}",
                                     ",",
                                     "=",
                                     "<-",
                                     ";",
                                     "#",
                                     "/*",
                                     "\"",
                                     "1e",
                                     "-",
                                     "^",
                                     "**",
                                     "?",
                                     ":",
                                     "$",
                                     "\t",
                                     "\n",
                                     "deriv(",
                                     "dosepoint(",
                                     "c(",
                                     "peak(",
                                     "delay(",
                                     "gammaDelay(",
                                     "sequence {",
                                     "if (",
                                     "while (",
                                     "else",
                                     "override",
                                     "include(",
                                     "transit(",
                                     "cfMicro(",
                                     "cfMacro(",
                                     "urinecpt(",
                                     "delayInfCpt(",
                                     "real_vars(",
                                     "dual_vars(",
                                     "sleep(",
                                     "first = (",
                                     "max = ",
                                     "dist = ",
                                     "observe(",
                                     "multi(",
                                     "ordinal(",
                                     "LL(",
                                     "event(",
                                     "count(",
                                     ", bql",
                                     ", dobefore = ",
                                     ", doafter = ",
                                     ", simulate = ",
                                     "addToCpt(",
                                     "peakreset(",
                                     ", interval = ",
                                     ", dropout",
                                     ", ilink = ",
                                     "1.5",
                                     ".",
                                     "0",
                                     "%s%n",
                                     "model ",
                                     "join {",
                                     "units {",
                                     "proc ",
                                     "sproc ",
                                     "subject(",
                                     "main(",
                                     "allocation(",
                                     "strata(",
                                     "arms(",
                                     "block(",
                                     "diag(",
                                     "distrib(",
                                     "subpops(",
                                     "P(",
                                     "N(",
                                     "lognorm(",
                                     "MVN(",
                                     "T(",
                                     "sample(",
                                     "\"f.csv\", random, ",
                                     "collect ",
                                     "start ",
                                     "call ",
                                     "suspend",
                                     "resume(",
                                     "for (",
                                     " in ",
                                     "bolus(",
                                     "infuse(",
                                     "steadystate "};

static std::string ReadAll(char const* path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

static std::string Damaged(std::string text, std::mt19937& rng) {
    int edits = 1 + int(rng() % 6);
    for (int i = 0; i < edits && !text.empty(); i++) {
        size_t at = rng() % (text.size() + 1);
        switch (rng() % 5) {
            case 0: text.erase(at, 1 + rng() % 8); break;
            case 1: text.insert(at, pieces[rng() % (sizeof pieces / sizeof *pieces)]); break;
            case 2: text.resize(at); break;
            case 3:
                if (at < text.size()) text[at] = char(rng() % 256);
                break;
            case 4: text.insert(at, text.substr(rng() % text.size(), rng() % 40)); break;
        }
    }
    return text;
}

int main(int argc, char** argv) {
    if (argc < 5) {
        fprintf(stderr, "usage: robustness <VARO5> <work dir> <runs> <sample files...>\n");
        return 2;
    }
    std::string varo5 = argv[1], dir = argv[2];
    int runs = atoi(argv[3]);
    std::vector<std::string> samples;
    std::vector<bool> isTrial; // trial scripts, named *.trial, always run with /T
    for (int i = 4; i < argc; i++) {
        samples.push_back(ReadAll(argv[i]));
        std::string name = argv[i];
        isTrial.push_back(name.size() > 6 && name.compare(name.size() - 6, 6, ".trial") == 0);
    }
    std::mt19937 rng(20261122);
    std::string model = dir + "/damaged.mdl";
    char const* modes[] = {"", "/T ", "/R ", "/I "};
    int bad = 0;
    for (int i = 0; i < runs; i++) {
        size_t pick = rng() % samples.size();
        std::string text = Damaged(samples[pick], rng);
        std::ofstream(model, std::ios::binary) << text;
        std::string mode = modes[rng() % 4];
        if (isTrial[pick]) mode = "/T ";
        std::string cmd =
            "cd '" + dir + "' && '" + varo5 + "' " + mode + "damaged.mdl . >/dev/null 2>&1";
        int status = system(cmd.c_str());
        bool ok = status != -1 && WIFEXITED(status) &&
                  (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 1);
        if (ok) continue;
        bad++;
        std::string keep = dir + "/failure_" + std::to_string(i) + ".mdl";
        std::ofstream(keep, std::ios::binary) << text;
        printf("run %d ended with status %d; input kept in %s\n", i, status, keep.c_str());
    }
    printf("%d runs, %d ended otherwise than with status 0 or 1\n", runs, bad);
    return bad ? 1 : 0;
}
