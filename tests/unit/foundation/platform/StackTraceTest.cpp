#include "platform/StackTrace.h"

#include <gmock/gmock.h>

using namespace zel;

TEST(StackTraceTest, text_innermostFirst_tellsFunctionFileAndLine)
{
    EXPECT_THAT(StackTrace::ofThisThread().text(),
                testing::ContainsRegex("^ *StackTraceTest_text_.*StackTraceTest.cpp:[0-9]+"));
}

TEST(StackTraceTest, text_nothingTaken_isEmpty)
{
    EXPECT_EQ(StackTrace().text(), "");
}
