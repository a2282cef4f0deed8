#ifndef SAMPLER_BESIDE_PROGRAM_H
#define SAMPLER_BESIDE_PROGRAM_H

#include <csignal>
#include <initializer_list>

namespace fern::beside {

// The first thing that a program does which the sampler starts beside the job (core/orphan.h). Such a program
// has the signals of whoever came first, all blocked, and its processors: from here on it takes what comes,
// the signals in `handled` by `handler`, and runs wherever the node lets it, but gently.
void leaveProgram(std::initializer_list<int> handled = {}, void (*handler)(int) = SIG_DFL);

} // namespace fern::beside

#endif
