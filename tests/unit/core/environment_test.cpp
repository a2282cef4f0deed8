#include "core/environment.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

namespace {

const char kKelp[] = "KELP_TEST_SETTING";
const char kFern[] = "FERN_TEST_SETTING";
const char kBrivane[] = "BRIVANE_TEST_SETTING";
const char kName[] = "TEST_SETTING";

class Environment : public ::testing::Test {
protected:
    void SetUp() override { clear(); }
    void TearDown() override
    {
        clear();
        g_cacheEnv = true;
    }

    static void clear()
    {
        qunsetenv(kKelp);
        qunsetenv(kFern);
        qunsetenv(kBrivane);
        brivane::environmentChanged();
    }
};

} // namespace

TEST_F(Environment, asksThePrefixesInTheirOrder)
{
    qputenv(kBrivane, "third");
    EXPECT_EQ(brivane::environmentString(kName), "third");
    qputenv(kFern, "second");
    EXPECT_EQ(brivane::environmentString(kName), "second");
    qputenv(kKelp, "first");
    EXPECT_EQ(brivane::environmentString(kName), "first");
}

TEST_F(Environment, aVariableThatIsSetAndEmptyDecides)
{
    qputenv(kKelp, "");
    qputenv(kBrivane, "/some/where");
    const QString value = brivane::environmentString(kName);
    EXPECT_TRUE(value.isEmpty());
    EXPECT_FALSE(value.isNull());
}

TEST_F(Environment, withoutAnyVariableTheStringIsNullAndTheFlagOff)
{
    EXPECT_TRUE(brivane::environmentString(kName).isNull());
    EXPECT_TRUE(brivane::environmentBytes(kName).isNull());
    EXPECT_FALSE(brivane::environmentFlag(kName));
}

TEST_F(Environment, flagsAreOffForTheOffWordsInAnyCase)
{
    for (const char *word : {"no", "off", "disable", "disabled", "0", "NO", "Off", "Disabled", "dIsAbLe"}) {
        qputenv(kFern, word);
        EXPECT_FALSE(brivane::environmentFlag(kName)) << word;
    }
}

TEST_F(Environment, flagsAreOnForAllElseTheEmptyTextIncluded)
{
    for (const char *word : {"", "1", "yes", "on", "false", "none", "00", " no"}) {
        qputenv(kFern, word);
        EXPECT_TRUE(brivane::environmentFlag(kName)) << '"' << word << '"';
    }
}

TEST_F(Environment, theFirstFlagDecidesAlone)
{
    qputenv(kKelp, "off");
    qputenv(kBrivane, "on");
    EXPECT_FALSE(brivane::environmentFlag(kName));
}

TEST_F(Environment, bytesAreNotDecoded)
{
    qputenv(kKelp, "\xff\xfe");
    EXPECT_EQ(brivane::environmentBytes(kName), QByteArray("\xff\xfe"));
}

TEST_F(Environment, aKeptLookUpStandsUntilAChangeIsAnnounced)
{
    brivane::CachedEnvironment lookup(kName);
    EXPECT_TRUE(lookup.string().isNull());
    qputenv(kFern, "new");
    EXPECT_TRUE(lookup.string().isNull());
    EXPECT_FALSE(lookup.flag());
    brivane::environmentChanged();
    EXPECT_EQ(lookup.string(), "new");
    EXPECT_TRUE(lookup.flag());
}

TEST_F(Environment, nothingIsKeptWhereKeepingIsOff)
{
    brivane::CachedEnvironment lookup(kName);
    EXPECT_TRUE(lookup.string().isNull());
    g_cacheEnv = false;
    qputenv(kFern, "new");
    EXPECT_EQ(lookup.string(), "new");
}
