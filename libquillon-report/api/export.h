#ifndef QUILLON_REPORT_API_EXPORT_H
#define QUILLON_REPORT_API_EXPORT_H

// Everything in libquillon-report is hidden unless it says otherwise with this.
#define QUILLON_REPORT_EXPORT __attribute__((visibility("default")))

#endif
