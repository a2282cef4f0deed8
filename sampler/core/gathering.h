#ifndef SAMPLER_CORE_GATHERING_H
#define SAMPLER_CORE_GATHERING_H

// Names in the folder to which nodes hand over their spools.
namespace fern::gathering {

// The host makes a folder of this name when it sees that there is the whole.
constexpr const char *SeenMark = "host";
// A folder whose name ends in this says that something is to come from a node; it goes when that has come.
constexpr const char *ClaimSuffix = ".keeper";

} // namespace fern::gathering

#endif
