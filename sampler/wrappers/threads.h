#ifndef SAMPLER_WRAPPERS_THREADS_H
#define SAMPLER_WRAPPERS_THREADS_H

namespace fern::threads {

// Prepares to notice the end of threads, the main one included; called by the main thread once.
void prepare();
// In a forked child: the calling thread, now the main one, has got another slot.
void watchEndOfThisThread();

} // namespace fern::threads

#endif
