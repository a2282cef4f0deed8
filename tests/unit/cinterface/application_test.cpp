// The application object: found where the program has one, made where it has none, never deleted.

#include "api/brivane-report-private.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <thread>

namespace {

using quillon::report::ensureQCoreApplicationExists;

TEST(ApplicationTest, theProgramsOwnIsUsedAndLeftAlone)
{
    int argc = 1;
    char name[] = "own";
    char *argv[] = {name, nullptr};
    QCoreApplication own(argc, argv);
    EXPECT_TRUE(ensureQCoreApplicationExists());
    EXPECT_EQ(QCoreApplication::instance(), &own);
    EXPECT_EQ(QCoreApplication::arguments().first(), "own");
}

// Runs behind the other in one process only when all tests do, and is as good alone.
TEST(ApplicationTest, oneIsMadeOnAnyThreadAndStaysWhenTheThreadEnds)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    std::thread([] { EXPECT_TRUE(ensureQCoreApplicationExists()); }).join();
    QCoreApplication *made = QCoreApplication::instance();
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(ensureQCoreApplicationExists());
    EXPECT_EQ(QCoreApplication::instance(), made);
}

} // namespace
