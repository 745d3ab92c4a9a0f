#include "ConnectionNames.h"

#include <gtest/gtest.h>

#include <QSqlDatabase>
#include <QStringList>

#include <thread>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Draws these names one after the other.
ConnectionNames::Draw drawing(const QStringList &names)
{
    return [names, next = qsizetype(0)]() mutable {
        return names.value(next++);
    };
}

} // namespace

TEST(ConnectionNamesTest, take_nameTakenButNotConnectedYet_isDrawnAgain)
{
    ConnectionNames names(drawing({ u"a"_s, u"a"_s, u"a"_s, u"b"_s }));
    EXPECT_EQ(names.take(), u"a"_s);
    EXPECT_EQ(names.take(), u"b"_s);
}

TEST(ConnectionNamesTest, take_nameGivenBack_isFreeAgain)
{
    ConnectionNames names(drawing({ u"a"_s, u"a"_s }));
    names.giveBack(names.take());
    EXPECT_EQ(names.take(), u"a"_s);
}

TEST(ConnectionNamesTest, take_nameOfAConnectionOfTheHost_isDrawnAgain)
{
    QSqlDatabase::addDatabase(u"QSQLITE"_s, u"host"_s);
    ConnectionNames names(drawing({ u"host"_s, u"a"_s }));
    EXPECT_EQ(names.take(), u"a"_s);
    QSqlDatabase::removeDatabase(u"host"_s);
}

TEST(ConnectionNamesTest, take_manyThreads_neverGetTheSame)
{
    std::atomic<int> drawn = 0;
    ConnectionNames names([&drawn] { return QString::number(drawn++ / 4); });
    std::array<QStringList, 4> got;
    std::vector<std::thread> threads;
    for (QStringList &list : got) {
        threads.emplace_back([&names, &list] {
            for (int i = 0; i < 200; ++i)
                list << names.take();
        });
    }
    QSet<QString> distinct;
    for (size_t i = 0; i < got.size(); ++i) {
        threads[i].join();
        distinct += QSet<QString>(got[i].cbegin(), got[i].cend());
    }
    EXPECT_EQ(distinct.size(), 800);
}

TEST(ConnectionNamesTest, ofThisProcess_namesTellWhoseTheyAre)
{
    const QString name = ConnectionNames::ofThisProcess().take();
    EXPECT_TRUE(name.startsWith(u"ResourceCache_{"_s)) << qPrintable(name);
    EXPECT_EQ(name.size(), 19);
    ConnectionNames::ofThisProcess().giveBack(name);
}
