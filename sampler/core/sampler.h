#ifndef SAMPLER_CORE_SAMPLER_H
#define SAMPLER_CORE_SAMPLER_H

#include <cstdint>

// The sampling thread's life, seen from the program's threads. Nothing here waits for a lock: of two
// threads that want to stop it, the second goes on at once. Safe in signal handlers, and harmless in a
// vfork child, which shares our memory but isn't the process that we watch.

namespace fern {

class Spool;

namespace sampler {

// Begins to watch the calling process; its spool comes with the first look.
void start();
// In a forked child: what is left of the parent's sampler is forgotten, and the child, if it lives on
// as itself, is watched in its own right.
void startInChild();

// The process ends: the spool gets its last figures and is marked.
void end();

// Around a call that wants no second thread in the process, or that ends all threads but one. Gives
// whether resume() is to be called.
bool pause();
void resume();
// Around exec; afterExec() is reached if it failed.
bool beforeExec();
void afterExec(bool wasStopped);

// For those who merge spools. The spool of this process, nullptr if it has none; to be looked into while the
// sampler is paused.
Spool *spool();
// The time now on the spool's clock, in nanoseconds.
std::uint64_t timeNs();
// What the spool holds is merged. While the sampler is paused: it begins anew with what is still to come, and
// is removed at the process's end if that isn't worth a file.
void beginTail();

} // namespace sampler
} // namespace fern

#endif
