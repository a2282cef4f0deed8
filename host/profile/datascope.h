#ifndef HOST_PROFILE_DATASCOPE_H
#define HOST_PROFILE_DATASCOPE_H

// Whose hits a figure is made from.
namespace DataScope {

enum Enum {
    ALL_CORES = 0, // hits of all threads, against the cores of the job
    ALL_CORES_STRETCH_COMPUTE_AND_MPI
    = 1, // likewise, a main thread alone in compute or MPI standing for its cores
    MAIN_THREAD = 2 // hits of the main threads alone
};

} // namespace DataScope

#endif
