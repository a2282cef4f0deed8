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

// A JSON report as it is kept for comparison: the figures of one profile, and all else, which every profile
// shares. What depends on the place and the release is named instead: the address of the definition, the
// version of the software, the bytes of the logos.
QByteArray figuresOf(const QByteArray &json);
QByteArray documentWithoutFigures(const QByteArray &json);

// The file with what documentWithoutFigures() gives.
QString documentFile();

// The profiles of a folder, by their names without the suffix, in alphabetical order.
QStringList profileNames(const QDir &profiles);

// The report of a profile by the installed default definition, with all settings of the environment that have
// a say in it taken away. Null, and a located text, if the profile or the definition can't be read or the
// report has an error.
std::unique_ptr<quillon_report> filledReport(const QDir &profiles, const QString &name, QString *error);

} // namespace golden

#endif
