#ifndef SAMPLER_CORE_ORPHAN_H
#define SAMPLER_CORE_ORPHAN_H

namespace fern {

// Starts a program beside the job: it is nobody's child, has a session of its own, no terminal, none of the
// program's descriptors, and / as its working directory. False if it can't be run. `path`, `arguments` and
// `environment`, both ended by a null pointer, are used until this returns. By the sampling thread alone,
// whose signals are all blocked: they are so in the new program, too.
bool startOrphan(const char *path, char *const *arguments, char *const *environment);

} // namespace fern

#endif
