#if 0
// Model.h
// Generated with VARO5 26.3.2.2
#endif

#define NFIXEF 2 // number of user fixef vars
#define NERROR 1 // number of user error vars
#define NRANEF1 0
#define NRANEF2 0
#define NRANEF3 0
#define NRANEF4 0
#define NRANEF5 1
#define NDUALRANEF5 1
#define NDUALFIXEFS 3
#define MULTI_LEVEL_RANEF 0
#define NSECONDARY 0 // number of secondary parameters
#define TRULYTIMEBASED 1
#define ALLOWGAUSSIANFIT 0
#define ALLOWLOGTRANSFORM 0
#define MODELUNIQUEID "45dbde73-7cbcd616-49ea68f1-d82979f1"
#define MODELRUNID "45dbde73-7cbcd616-49ea68f1-d82979f1-00"

#define NDERIV 0 // number of user deriv vars
#define NURINE 0 // number of urine compartments
#define NTRANSIT2 0 // number of transit2 compartments
#define NTRANSIT 0 // number of transit compartments
#define NEVENT 2 // number of event/count statements
#define NINTEG_ALL (NDERIV + NURINE + NTRANSIT2 + NTRANSIT + NEVENT)
#define NCFMACRO 1 // number of closed form machines

