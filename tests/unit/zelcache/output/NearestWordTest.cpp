#include "output/NearestWord.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(NearestWordTest, nearestWord_mistyped_isFound)
{
    const QStringList words { u"get"_s, u"list"_s, u"status"_s, u"outdated"_s };
    const std::pair<QString, QString> table[] {
        { u"lst"_s, u"list"_s },        { u"stauts"_s, u"status"_s }, { u"LIST"_s, u"list"_s },
        { u"gett"_s, u"get"_s },        { u"sta"_s, u"status"_s },    { u"o"_s, u"outdated"_s },
        { u"outdate"_s, u"outdated"_s }
    };
    for (const auto &[written, meant] : table)
        EXPECT_EQ(nearestWord(written, words), meant) << qPrintable(written);
}

TEST(NearestWordTest, nearestWord_farFromAll_isNone)
{
    const QStringList words { u"get"_s, u"list"_s };
    for (const QString &written : { QString(), u"x"_s, u"bogus"_s, QString(100'000, u'g') })
        EXPECT_EQ(nearestWord(written, words), QString()) << written.left(9).toStdString();
    EXPECT_EQ(nearestWord(u"get"_s, {}), QString());
}

} // namespace zel::cli
