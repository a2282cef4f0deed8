#ifndef HOST_CORE_EXPORT_H
#define HOST_CORE_EXPORT_H

// Everything in the shared libraries is hidden unless it says otherwise with one of these.
#define BRIVANE_HOST_EXPORT __attribute__((visibility("default")))

#endif
