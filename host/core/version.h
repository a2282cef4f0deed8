#ifndef HOST_CORE_VERSION_H
#define HOST_CORE_VERSION_H

#include "core/export.h"

namespace Version {

// The release, such as "7.1.0".
BRIVANE_HOST_EXPORT extern const char KELP_VERSION[];

} // namespace Version

#endif
