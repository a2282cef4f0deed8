#ifndef TESTS_SUPPORT_TEXTPROFILE_H
#define TESTS_SUPPORT_TEXTPROFILE_H

#include "profile/profilerdata.h"

#include <QString>

#include <optional>

// Profiles written down as text: the files of tests/data/profiles. tests/data/README.md describes the format.

// Reads a file. Nothing and "FILE:LINE: what is wrong" for a file that can't be read or has a bad line.
std::optional<ProfilerData> readTextProfile(const QString &filename, QString *error);

// The same of text that is in memory; `name` is the file's name in messages.
std::optional<ProfilerData> parseTextProfile(const QString &text, const QString &name, QString *error);

#endif
