#include "core/datetime.h"
#include "qtprinters.h"

#include <QProcess>

#include <gtest/gtest.h>

using brivane::DateTime;

namespace {

const QDateTime kMoment(QDate(2026, 3, 6), QTime(14, 5, 9));

QString datesUnderLocale(const QString &locale)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", locale);
    environment.insert("LANG", locale);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(HOST_CORE_PROBE, {"dates"});
    EXPECT_TRUE(process.waitForFinished());
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

TEST(DateTime, textDateHasEnglishNamesAndAFixedOrder)
{
    EXPECT_EQ(DateTime(kMoment).toString(Qt::TextDate), "Fri Mar 6 14:05:09 2026");
}

TEST(DateTime, isoDateIsThatOfTheStandard)
{
    EXPECT_EQ(DateTime(kMoment).toString(Qt::ISODate), "2026-03-06T14:05:09");
}

TEST(DateTime, takesAFormatOfItsOwn)
{
    EXPECT_EQ(DateTime(kMoment).toString(QStringLiteral("yyyy-MM-dd_hh-mm")), "2026-03-06_14-05");
}

TEST(DateTime, textsAreTheSameUnderEveryLocale)
{
    const QString plain = datesUnderLocale("C");
    EXPECT_EQ(plain.section('\n', 0, 0), "Fri Mar 6 14:05:09 2026");
    EXPECT_EQ(plain.section('\n', 1, 1), "Friday 6 March 2026");
    EXPECT_EQ(datesUnderLocale("de_DE.UTF-8"), plain);
    EXPECT_EQ(datesUnderLocale("ja_JP.UTF-8"), plain);
    EXPECT_EQ(datesUnderLocale("ar_EG.UTF-8"), plain);
}

TEST(DateTime, anInvalidDateIsAnEmptyText)
{
    EXPECT_FALSE(DateTime().isValid());
    EXPECT_TRUE(DateTime().toString(Qt::TextDate).isEmpty());
    EXPECT_TRUE(DateTime().toString(Qt::ISODate).isEmpty());
    EXPECT_TRUE(DateTime().toString(QStringLiteral("yyyy-MM-dd")).isEmpty());
}

TEST(DateTime, equalMomentsAreEqual)
{
    EXPECT_EQ(DateTime(kMoment), DateTime(kMoment));
    EXPECT_NE(DateTime(kMoment), DateTime(kMoment.addSecs(1)));
}
