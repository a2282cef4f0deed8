#ifndef HOST_WORKFLOW_EXITSTATUS_H
#define HOST_WORKFLOW_EXITSTATUS_H

// What the host's programs exit with where it isn't the exit status of the job (which is passed on, with 128
// added to the number of a signal that killed it, as shells do).
enum ExitStatus {
    ExitSuccess = 0,
    ExitFailure = 1, // something went wrong, as the message on the standard error stream says
    ExitUsage = 2, // the command line is wrong; nothing was done
    ExitNotExecutable = 126, // the program is there and can't be run
    ExitNotFound = 127 // no such program
};

#endif
