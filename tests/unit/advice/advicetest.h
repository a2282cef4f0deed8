#ifndef TESTS_UNIT_ADVICE_ADVICETEST_H
#define TESTS_UNIT_ADVICE_ADVICETEST_H

#include "recordedsentences.h"

#include <QPair>
#include <QString>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

constexpr double NotAvailable = std::numeric_limits<double>::quiet_NaN();

// A sentence that isn't there is a null string, which an empty one is not.
const std::string Nothing = "(no sentence)";

inline std::string said(const QString &sentence)
{
    return sentence.isNull() ? Nothing : recorded(sentence).toStdString();
}

using Sentences = std::pair<std::string, std::string>;

inline Sentences said(const QPair<QString, QString> &advice)
{
    return {said(advice.first), said(advice.second)};
}

#endif
