#ifndef HOST_CORE_PRINTABLE_H
#define HOST_CORE_PRINTABLE_H

#include "core/export.h"

#include <QString>

// `text` with a question mark for each control character but line feeds and tabs. Names of programs and
// hosts, arguments and what other programs print may hold sequences that a terminal obeys.
BRIVANE_HOST_EXPORT QString printable(QString text);

#endif
