#ifndef SAMPLER_GPUREADER_CLAIM_H
#define SAMPLER_GPUREADER_CLAIM_H

#include "core/text.h"

namespace fern::gpureader {

// Who makes this folder among the spools, by the node's name, is the one that starts the node's reader. The
// reader removes it at its end.
constexpr const char *ClaimSuffix = ".gpu-reader";
using ClaimPath = TextBuilder<4608>;

} // namespace fern::gpureader

#endif
