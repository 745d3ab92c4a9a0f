#include "platform/FolderMaking.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(FolderMakingTest, makeFolders_parentsMissing_makesAllAndAgainIsNoFailure)
{
    const QTemporaryDir directory;
    const QString folder = directory.filePath(u"a/b/c"_s);
    EXPECT_FALSE(makeFolders(folder));
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_FALSE(makeFolders(folder));
}

TEST(FolderMakingTest, makeFolders_aFileInTheWay_tellsAReason)
{
    const QTemporaryDir directory;
    const QString file = directory.filePath(u"file"_s);
    ASSERT_TRUE(QFile(file).open(QIODevice::WriteOnly));
    EXPECT_TRUE(makeFolders(file));
    EXPECT_TRUE(makeFolders(file + u"/below"_s));
    EXPECT_TRUE(makeFolders(QString()));
}
