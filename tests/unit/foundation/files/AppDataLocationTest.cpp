#include "files/AppDataLocation.h"

#include "TemporaryCache.h"
#include "settings/UserFolders.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

class AppDataLocationTest : public testing::Test
{
protected:
    static QString location(QStandardPaths::StandardLocation which)
    {
        return QStandardPaths::writableLocation(which);
    }

    const test::UserFolders folders;
};

} // namespace

TEST_F(AppDataLocationTest, missingFile_flagSet_isPlacedInTheFirstLocation)
{
    EXPECT_EQ(getAppDataLocationFile(u"../No such folder/"_s, true, {}),
              location(QStandardPaths::AppLocalDataLocation) + u"/../No such folder/"_s);
    EXPECT_EQ(
        getAppDataLocationFile(
            u"none"_s, true, { QStandardPaths::CacheLocation, QStandardPaths::AppConfigLocation }),
        location(QStandardPaths::CacheLocation) + u"/none"_s);
}

TEST_F(AppDataLocationTest, missingFile_flagNotSet_isEmpty)
{
    EXPECT_EQ(getAppDataLocationFile(u"../No such folder/"_s, false, {}), QString());
}

TEST_F(AppDataLocationTest, existingFile_laterLocation_isFound)
{
    const QString path = location(QStandardPaths::AppConfigLocation) + u"/zel-test-file"_s;
    test::writeFile(path, "x");
    const QList<QStandardPaths::StandardLocation> searched { QStandardPaths::CacheLocation,
                                                             QStandardPaths::AppConfigLocation };
    EXPECT_EQ(getAppDataLocationFile(u"zel-test-file"_s, false, searched), path);
    EXPECT_EQ(getAppDataLocationFile(u"zel-test-file"_s, true, searched), path);
}
