#ifndef SAMPLER_METRICS_PROCFILE_H
#define SAMPLER_METRICS_PROCFILE_H

#include "core/rawsystem.h"

namespace fern {

// A file of /proc that is kept open and read again and again, by the sampling thread only.
class ProcFile {
public:
    // The descriptor belongs to the sampling thread's own table and is gone with it: opened anew
    // whenever a sampling thread starts.
    void open(const char *path) { mFile = raw::open(path); }

    // The text as it is now, up to a fixed length; nullptr if it can't be read.
    const char *read()
    {
        const std::size_t length = mFile >= 0 ? raw::readAt(mFile, mText, sizeof(mText) - 1, 0) : 0;
        mText[length] = '\0';
        return length > 0 ? mText : nullptr;
    }

private:
    int mFile = -1;
    char mText[2048] = {};
};

} // namespace fern

#endif
