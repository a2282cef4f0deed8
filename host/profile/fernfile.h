#ifndef HOST_PROFILE_FERNFILE_H
#define HOST_PROFILE_FERNFILE_H

#include "core/export.h"

#include <QString>

class ProfilerData;

// A .fern file is a profile kept in a SQLite 3 database; docs/fern-format.md describes its tables.
namespace FernFile {

constexpr int ApplicationId = 0x4665726e; // "Fern"
constexpr int FormatVersion = 2; // versions 0 and 1 belong to releases before 5.0 and can't be read

// Writes a profile under a temporary name in the target's folder and renames the file when it is whole, so
// that a failure leaves an older file as it was. False, with a message in `error`, if that failed.
BRIVANE_HOST_EXPORT bool write(const ProfilerData &profile, const QString &path, QString *error);

// Reads a profile. False, with one message in `error`, if `path` isn't a .fern file or is damaged, and
// then `profile` isn't changed. A file of an old version gives a profile that knows its path and its
// version and nothing else: whether that is good enough is for the caller to say.
BRIVANE_HOST_EXPORT bool read(const QString &path, ProfilerData *profile, QString *error);

} // namespace FernFile

#endif
