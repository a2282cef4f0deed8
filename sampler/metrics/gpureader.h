#ifndef SAMPLER_METRICS_GPUREADER_H
#define SAMPLER_METRICS_GPUREADER_H

#include "core/spool.h"

namespace fern {

// The figures of GPUs come from a library of their driver, which has threads, locks and memory of its own and
// may wait long for a device: nothing for a thread inside of a program. So a small program reads them, one
// for each node, which the first process of the job there starts. It is nobody's child, has no terminal and
// none of the program's descriptors, and writes a spool of its own; it ends when the last process of the job
// there has ended.

// Starts the reader if there is one for this node to start: it has GPUs, and no other process was first. Says
// in the spool what else is the case. By the sampling thread alone, whose signals are all blocked.
void startGpuReader(Spool &spool);

} // namespace fern

#endif
