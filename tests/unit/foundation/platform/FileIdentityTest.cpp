#include "platform/FileIdentity.h"

#include "TemporaryCache.h"
#include "WaitUntil.h"

#include <QDir>
#include <QTemporaryDir>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileIdentityTest : public testing::Test
{
protected:
    QTemporaryDir directory;
    const QString path = directory.filePath(u"data"_s);
    const QString other = directory.filePath(u"other"_s);
};

} // namespace

TEST_F(FileIdentityTest, fileIdentity_nothingChanged_isTheSame)
{
    writeFile(path, "x");
    EXPECT_FALSE(fileIdentity(path).isEmpty());
    EXPECT_EQ(fileIdentity(path), fileIdentity(path));
}

TEST_F(FileIdentityTest, fileIdentity_nothingThere_isEmpty)
{
    EXPECT_EQ(fileIdentity(path), QByteArray());
    EXPECT_EQ(fileIdentity(QString()), QByteArray());
}

TEST_F(FileIdentityTest, fileIdentity_filesSideBySide_differ)
{
    writeFile(path, "x");
    writeFile(other, "x");
    EXPECT_NE(fileIdentity(path), fileIdentity(other));
}

TEST_F(FileIdentityTest, fileIdentity_folderReplaced_differs)
{
    for (const QString &folder : { path, other })
        ASSERT_TRUE(QDir().mkpath(folder));
    const QByteArray before = fileIdentity(path);
    ASSERT_TRUE(QDir().rmdir(path));
    ASSERT_TRUE(QDir().rename(other, path));
    EXPECT_NE(fileIdentity(path), before);
}

TEST_F(FileIdentityTest, fileIdentity_contentRewrittenInPlace_differs)
{
    writeFile(path, "x");
    const QByteArray before = fileIdentity(path);
    // The clock of a file's times does not tell two changes apart that come at once.
    EXPECT_TRUE(waitUntil([&] {
        writeFile(path, "y");
        return fileIdentity(path) != before;
    }));
}

TEST_F(FileIdentityTest, fileIdentity_permissionsChanged_differs)
{
    for (const bool isFolder : { false, true }) {
        const QString changed = isFolder ? directory.filePath(u"folder"_s) : path;
        if (isFolder)
            ASSERT_TRUE(QDir().mkpath(changed));
        else
            writeFile(changed, "x");
        const QByteArray before = fileIdentity(changed);
        EXPECT_TRUE(waitUntil([&] {
            const QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
            EXPECT_TRUE(QFile::setPermissions(changed, owner | QFile::ReadGroup));
            return fileIdentity(changed) != before;
        }));
    }
}

TEST_F(FileIdentityTest, fileIdentity_link_isThatOfItsTarget)
{
    writeFile(path, "x");
    ASSERT_TRUE(QFile::link(path, other));
    EXPECT_EQ(fileIdentity(other), fileIdentity(path));
}
