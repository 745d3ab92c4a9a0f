#include "platform/FolderGlance.h"

#include "TemporaryCache.h"

#include <QDir>
#include <QFile>

#include <cstdio>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FolderGlanceTest : public testing::Test
{
protected:
    QString folder() const { return cache.outside(u"folder"_s); }
    void add(const QString &name) { writeFile(folder() + u'/' + name, "x"); }

    TemporaryCache cache;
};

} // namespace

TEST_F(FolderGlanceTest, showsSeveral_noneOneAndTwo_isTrueForTwo)
{
    EXPECT_FALSE(FolderGlance::showsSeveral(folder()));
    ASSERT_TRUE(QDir().mkpath(folder()));
    EXPECT_FALSE(FolderGlance::showsSeveral(folder()));
    add(u"one"_s);
    EXPECT_FALSE(FolderGlance::showsSeveral(folder()));
    ASSERT_TRUE(QDir(folder()).mkdir(u"two"_s));
    EXPECT_TRUE(FolderGlance::showsSeveral(folder()));
    EXPECT_FALSE(FolderGlance::showsSeveral(folder() + u"/one"_s));
}

TEST_F(FolderGlanceTest, showsSeveral_longestNames_isTrue)
{
    add(QString(255, u'a'));
    add(QString(255, u'b'));
    EXPECT_TRUE(FolderGlance::showsSeveral(folder()));
}

// A listing leaves these out, or looks at what they lead to.
TEST_F(FolderGlanceTest, showsSeveral_namesThatNotEverybodySees_saysNothing)
{
    add(u"one"_s);
    add(u".hidden"_s);
    add(u"..x"_s);
    ASSERT_TRUE(QFile::link(folder(), folder() + u"/link"_s));
    const QByteArray name = QFile::encodeName(folder()) + "/no\xff\xfetext";
    add(u"odd"_s);
    ASSERT_EQ(std::rename(QFile::encodeName(folder() + u"/odd"_s).constData(), name.constData()),
              0);
    EXPECT_FALSE(FolderGlance::showsSeveral(folder()));
}

TEST_F(FolderGlanceTest, holdsEnding_names_areComparedByTheirEnds)
{
    const auto holds = [this] {
        return FolderGlance::holdsEnding(folder(), { ".one", ".other" });
    };
    EXPECT_FALSE(holds()); // there is no folder
    add(u"x.one.more"_s);
    add(u"one"_s);
    EXPECT_FALSE(holds());
    add(u"x.other"_s);
    EXPECT_TRUE(holds());
    EXPECT_FALSE(FolderGlance::holdsEnding(folder() + u"/one"_s, { "" })); // no folder
}

TEST_F(FolderGlanceTest, holdsEnding_otherCaseHiddenOrNothingElse_isFound)
{
    add(u".ONE"_s);
    EXPECT_TRUE(FolderGlance::holdsEnding(folder(), { ".one" }));
    EXPECT_FALSE(FolderGlance::holdsEnding(folder(), {}));
}

TEST_F(FolderGlanceTest, holdsEnding_manyNames_readsThemAll)
{
    for (int i = 0; i < 300; ++i)
        add(QString::number(i) + QString(200, u'x'));
    EXPECT_FALSE(FolderGlance::holdsEnding(folder(), { ".one" }));
    add(u"z.one"_s);
    EXPECT_TRUE(FolderGlance::holdsEnding(folder(), { ".one" }));
}
