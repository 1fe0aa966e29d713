// The driver of a generated trial program linked with the test run-time library:
//   program [-o records.csv] [-s scenarios] [-r replicates] [-d draws] [-x seed]
// 'draws' holds the letters of the switches that are on: i (ENBIND), r (ENBREP), o (ENBOBS);
// "-" switches all off. The seed is -x, else $TRIALRUN_SEED, else the library's own.
// InitGlobal runs once, InitScenario for each scenario, InitReplicate for each replicate, and
// each replicate runs the machine of CallMain through the scheduler until nothing is left.
//
// The driver includes cohort.h without IN_COHORT, as every file of the program but cohort.cpp
// does: that defines the base matrices that the header holds for them. It is compiled with
// each program.
//
// Also the allocation statement, which is recorded, not carried out: one line for each number
// of its strata, arms and block, named by the list, in the order given. The script passes each
// subject its arm.
#include "MatrixInvert.h"
#include "PKPDModel.h"
#include "RTL.h"
#include "StateMachine.h"
#include "StdAfx.h"
#include "trialrun.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "cohort.h"

// The program's forwarders, in cohort.cpp.
void InitGlobal();
void InitScenario();
void InitReplicate();
StateMachine* CallMain();

void _allocation(AllocationList const& strata, AllocationList const& arms,
                 AllocationList const& block) {
    struct {
        char const* name;
        AllocationList const& list;
    } lists[] = {{"strata", strata}, {"arms", arms}, {"block", block}};

    for (auto const& l : lists)
        for (int i = 0; i < l.list.n; i++)
            trialrun::Record("allocation", iScen, iRep, ",,", "", l.name, l.list.v[i], "", ",");
}

int main(int argc, char** argv) {
    int nScen = 1, nRep = 1, opt;
    char const* out = "records.csv";
    char const* seed = getenv("TRIALRUN_SEED");
    while ((opt = getopt(argc, argv, "o:s:r:d:x:")) != -1) {
        switch (opt) {
            case 'o': out = optarg; break;
            case 's': nScen = atoi(optarg); break;
            case 'r': nRep = atoi(optarg); break;
            case 'x': seed = optarg; break;
            case 'd':
                ENBIND = strchr(optarg, 'i') != nullptr;
                ENBREP = strchr(optarg, 'r') != nullptr;
                ENBOBS = strchr(optarg, 'o') != nullptr;
                break;
            default:
                fprintf(stderr,
                        "usage: %s [-o records.csv] [-s scenarios] [-r replicates] "
                        "[-d iro|-] [-x seed]\n",
                        argv[0]);
                return 2;
        }
    }
    if (seed) trialrun::Seed(strtoull(seed, nullptr, 10));
    trialrun::OpenRecords(out);
    InitGlobal();
    for (int s = 0; s < nScen; s++) {
        iScen = s;
        InitScenario();
        for (int r = 0; r < nRep; r++) {
            iRep = r;
            InitReplicate();
            StateMachine* root = CallMain();
            root->EnQueue(root, 0, 0, 0);
            trialrun::RunQueue();
        }
    }
    trialrun::CloseRecords();
    return 0;
}
