#ifndef HOST_WORKFLOW_PROGRAMPATH_H
#define HOST_WORKFLOW_PROGRAMPATH_H

#include "workflow/exitstatus.h"

#include <QByteArray>
#include <QString>

// Finds the file that a shell would run for `name`: the name itself if it holds a slash, otherwise the first
// executable file of that name in a folder of `searchPath` (colons between; an empty entry is the working
// directory). ExitSuccess with the file in `path`; else ExitNotFound or ExitNotExecutable with one sentence
// in `error`.
ExitStatus findProgram(
    const QByteArray &name, const QByteArray &searchPath, QByteArray *path, QString *error);

#endif
