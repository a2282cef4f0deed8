#ifndef SAMPLER_CORE_LAUNCHERS_H
#define SAMPLER_CORE_LAUNCHERS_H

namespace fern {

// Whether an executable is, by the last part of its path, a program that starts others: a job
// launcher, its daemons, a shell or a command that runs a command. Their spools are marked, so that
// a report of `sh -c 'mpirun ./prog'` is one of `prog`.
bool isLauncher(const char *executable);

} // namespace fern

#endif
