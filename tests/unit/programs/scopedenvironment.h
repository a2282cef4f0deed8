#ifndef TESTS_UNIT_PROGRAMS_SCOPEDENVIRONMENT_H
#define TESTS_UNIT_PROGRAMS_SCOPEDENVIRONMENT_H

#include "core/environment.h"

#include <QByteArray>

// A variable of the environment for the length of a test.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char *name, const QByteArray &value)
        : mName(name)
    {
        qputenv(name, value);
        brivane::environmentChanged();
    }
    ~ScopedEnvironment()
    {
        qunsetenv(mName);
        brivane::environmentChanged();
    }

private:
    const char *mName;
};

#endif
