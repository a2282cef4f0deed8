#ifndef HOST_WORKFLOW_OUTPUTFOLDER_H
#define HOST_WORKFLOW_OUTPUTFOLDER_H

#include <QString>

// Whether files can be made where the output option `output` points to: in that folder if it is one, else in
// the folder of that file; empty means the working directory, and "/dev/null" is always good. Found out by
// making a file there, which is gone again at once. False with one sentence in `error` if not.
bool isOutputWritable(const QString &output, QString *error);

#endif
