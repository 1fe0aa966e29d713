#if 0
// Model.h
// Generated with VARO5 26.3.2.2
#endif

#define NFIXEF 5 // number of user fixef vars
#define NERROR 1 // number of user error vars
#define NRANEF1 0
#define NRANEF2 0
#define NRANEF3 0
#define NRANEF4 0
#define NRANEF5 3
#define NDUALRANEF5 3
#define NDUALFIXEFS 5
#define MULTI_LEVEL_RANEF 0
#define NSECONDARY 0 // number of secondary parameters
#define TRULYTIMEBASED 1
#define ALLOWGAUSSIANFIT 1
#define ALLOWLOGTRANSFORM 0
#define MODELUNIQUEID "6ba7a1c2-f5fece55-8d57c163-945bb668"
#define MODELRUNID "6ba7a1c2-f5fece55-8d57c163-945bb668-00"

#define NDERIV 2 // number of user deriv vars
#define NURINE 0 // number of urine compartments
#define NTRANSIT2 0 // number of transit2 compartments
#define NTRANSIT 0 // number of transit compartments
#define NEVENT 0 // number of event/count statements
#define NINTEG_ALL (NDERIV + NURINE + NTRANSIT2 + NTRANSIT + NEVENT)
#define NCFMACRO 0 // number of closed form machines

