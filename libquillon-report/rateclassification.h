#ifndef QUILLON_REPORT_RATECLASSIFICATION_H
#define QUILLON_REPORT_RATECLASSIFICATION_H

#include <QPair>
#include <QString>

// The fixed scales that turn a share of the job's time or a transfer rate into a word. Their numbers are
// this tool's judgement of what counts as good, not settings. Percentages run from 0 to 100; a value that
// could not be measured is a NaN and falls to the last row of its scale.

// Classes of a transfer rate.
enum RateClassification : int {
    RATE_VERY_LOW = 0,
    RATE_LOW = 1,
    RATE_AVERAGE = 2,
    RATE_HIGH = 3,
    RATE_VERY_HIGH = 4,
};

// Rounds to nine decimal places, halves away from zero: removes the noise of floating-point arithmetic
// before a comparison with a round threshold.
double fround(double value);

// Class and hint of the share of time spent computing. With `accelerator`, the hint points to the
// accelerators section, too.
QPair<QString, QString> classifyCpu(double percent, bool accelerator);

// Class and hint of the share of time spent in MPI calls.
QPair<QString, QString> classifyMpi(double percent);

// Class and hint of the share of time spent in file I/O.
QPair<QString, QString> classifyIo(double percent);

// One more sentence for the overview when so little time goes into MPI that the job may scale further, else
// the null string; also null for a NaN. `cpu` and `io` have no say.
QString overviewAdvice(double cpu, double mpi, double io);

// Class of a peak memory usage in percent of what there is.
QString classifyMemory(double peak);

// Class of a rate in bytes per second.
RateClassification classifyTransferRate(double rate);

// The class as a word, with its article if `indefinite`; "surprising" for a value that is no class.
QString stringFromClassification(RateClassification c, bool indefinite);

#endif
