#include "board/BoardWatch.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

TEST(BoardWatchTest, intervalFromText_seconds_areUnderstood)
{
    EXPECT_EQ(intervalFromText(u"1"_s), 1000ms);
    EXPECT_EQ(intervalFromText(u"0.1"_s), 100ms);
    EXPECT_EQ(intervalFromText(u"0.5"_s), 500ms);
    EXPECT_EQ(intervalFromText(u"3600"_s), 3'600'000ms);
}

TEST(BoardWatchTest, intervalFromText_anythingElse_isRefused)
{
    for (const QString &text :
         { QString(), u"0"_s, u"0.09"_s, u"-1"_s, u"3601"_s, u"1s"_s, u"nan"_s, u"inf"_s, u"one"_s,
           u"1e1"_s, u" 1"_s, u"1."_s, u".5"_s, u"0x1"_s })
        EXPECT_EQ(intervalFromText(text), std::nullopt) << qPrintable(text);
}

} // namespace zel::cli
