#include "core/version.h"

const char Version::KELP_VERSION[] = QUILLON_VERSION;
