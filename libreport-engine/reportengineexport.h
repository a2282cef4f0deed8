#ifndef REPORTENGINEEXPORT_H
#define REPORTENGINEEXPORT_H

// Everything in libreport-engine is hidden unless it says otherwise with this.
#define REPORT_ENGINE_EXPORT __attribute__((visibility("default")))

#endif
