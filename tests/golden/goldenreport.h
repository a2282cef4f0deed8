#ifndef TESTS_GOLDEN_GOLDENREPORT_H
#define TESTS_GOLDEN_GOLDENREPORT_H

#include "api/quillon-report.h"

#include <QDir>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

// From a profile written down as text to the four reports that a user would get of it.
namespace golden {

struct Form {
    QuillonReportType type;
    const char *suffix; // of its files, without the dot
};

const QVector<Form> &forms();

// The profiles of a folder, by their names without the suffix, in alphabetical order.
QStringList profileNames(const QDir &profiles);

// The report of a profile by the installed default definition, with all settings of the environment that have
// a say in it taken away. Null, and a located text, if the profile or the definition can't be read or the
// report has an error.
std::unique_ptr<quillon_report> filledReport(const QDir &profiles, const QString &name, QString *error);

} // namespace golden

#endif
