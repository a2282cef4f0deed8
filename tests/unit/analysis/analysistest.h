#ifndef TESTS_UNIT_ANALYSIS_ANALYSISTEST_H
#define TESTS_UNIT_ANALYSIS_ANALYSISTEST_H

#include "core/environment.h"

#include <QByteArray>
#include <QtGlobal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

constexpr double NotAvailable = std::numeric_limits<double>::quiet_NaN();

// Tests whose outcome must not depend on the settings of whoever runs them.
class AnalysisTest : public testing::Test {
protected:
    AnalysisTest() { unsetAll(); }
    ~AnalysisTest() override { unsetAll(); }

    static void setVariable(const char *name, const char *value)
    {
        qputenv(name, value);
        brivane::environmentChanged();
    }

private:
    static void unsetAll()
    {
        for (const char *prefix : {"KELP_", "FERN_", "BRIVANE_"}) {
            for (const char *name : {"CPU_ENERGY_METRIC", "SYSTEM_ENERGY_METRIC", "NOTES"})
                qunsetenv(QByteArray(prefix) + name);
        }
        brivane::environmentChanged();
    }
};

#endif
