#include "verify/TimeBudget.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

TEST(TimeBudgetTest, timeBudgetFromText_numberWithAUnit_isThatTime)
{
    EXPECT_EQ(timeBudgetFromText(u"30s"_s), 30s);
    EXPECT_EQ(timeBudgetFromText(u"10m"_s), 10min);
    EXPECT_EQ(timeBudgetFromText(u"1h"_s), 1h);
    EXPECT_EQ(timeBudgetFromText(u"1.5 H"_s), 90min);
    EXPECT_EQ(timeBudgetFromText(u"2d"_s), 48h);
    EXPECT_EQ(timeBudgetFromText(u"0.25s"_s), 250ms);
}

TEST(TimeBudgetTest, timeBudgetFromText_anythingElse_isNone)
{
    for (const QString &text :
         { u""_s, u"10"_s, u"m"_s, u"-1s"_s, u"0s"_s, u"0.0001s"_s, u"1x"_s, u"1m30s"_s, u" 1s"_s,
           u"1s\n"_s, u"400d"_s, QString(400, u'9') + u's', u"1e3s"_s, u"٣s"_s })
        EXPECT_FALSE(timeBudgetFromText(text)) << text.left(20).toStdString();
}

} // namespace zel::cli
