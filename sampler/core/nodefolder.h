#ifndef SAMPLER_CORE_NODEFOLDER_H
#define SAMPLER_CORE_NODEFOLDER_H

// The folder for spools that the host has made needn't be there on other nodes. There the processes of the
// job share one of the node's own, in TMPDIR or /tmp, whose name follows from that of the folder where the
// host gathers what other nodes have. Who makes it starts a small program, the keeper, which waits for the
// end of the job's processes on the node and takes their spools from here to there.

namespace fern::nodefolder {

// When the process begins: where the host's folder is missing, `settings.spoolFolder` names the node's from
// now on.
void choose();

// Whether it does.
bool isChosen();

// For the sampling thread alone, before a spool is made: makes the node's folder if it is chosen and isn't
// there. False if it isn't one that nobody else can write to.
bool prepare();
// Behind it, when there is a spool or can't be one: starts the keeper if this process has made the folder.
void startKeeper();

} // namespace fern::nodefolder

#endif
