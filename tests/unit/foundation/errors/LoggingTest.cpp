#include "errors/Logging.h"

using namespace zel;

TEST(LoggingTest, lcResourceManager_levels_startAtDebug)
{
    EXPECT_STREQ(lcResourceManager().categoryName(), "zel.resource_manager");
    EXPECT_TRUE(lcResourceManager().isDebugEnabled());
}

TEST(LoggingTest, loggingCategory_unknownWithoutCreate_isGeneric)
{
    EXPECT_STREQ(loggingCategory("zel.nobody", QtDebugMsg, false)->categoryName(), "zel.generic");
}

TEST(LoggingTest, loggingCategory_firstCallOfAll_makesGenericWithItsLevel)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a process where no call came before
    EXPECT_EXIT(
        {
            loggingCategory("zel.first", QtCriticalMsg, true);
            std::exit(loggingCategory("zel.generic", QtDebugMsg, false)->isWarningEnabled() ? 1
                                                                                            : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(LoggingTest, loggingCategory_created_isFoundByEqualTextAtAnotherAddress)
{
    static const char first[] = "zel.test";
    static const char second[] = "zel.test";
    QLoggingCategory *made = loggingCategory(first, QtDebugMsg, true);
    EXPECT_STREQ(made->categoryName(), "zel.test");
    EXPECT_EQ(loggingCategory(second, QtDebugMsg, false), made);
    EXPECT_EQ(loggingCategory(second, QtDebugMsg, true), made);
}

TEST(LoggingTest, loggingCategory_level_isTheLowestLetThrough)
{
    QLoggingCategory *quiet = loggingCategory("zel.quiet", QtCriticalMsg, true);
    EXPECT_FALSE(quiet->isDebugEnabled());
    EXPECT_FALSE(quiet->isWarningEnabled());
    EXPECT_TRUE(quiet->isCriticalEnabled());
}
