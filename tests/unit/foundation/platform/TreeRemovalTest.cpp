#include "platform/TreeRemoval.h"

#include "TemporaryCache.h"
#include "platform/ChildProcess.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TreeRemovalTest : public testing::Test
{
protected:
    // QTemporaryDir cannot remove names that are no text.
    void TearDown() override { EXPECT_FALSE(TreeRemoval::remove(directory.path()).hasError()); }

    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }
    QByteArray bytesAt(const QString &name) const { return QFile::encodeName(at(name)); }
    bool isThere(const QString &name) const
    {
        const QFileInfo info(at(name));
        return info.exists() || info.isSymLink();
    }

    const QTemporaryDir directory;
};

} // namespace

TEST_F(TreeRemovalTest, remove_fileTreeAndMissing_succeeds)
{
    writeFile(at(u"file"_s), "x");
    writeFile(at(u"tree/a/b/c"_s), "x");
    writeFile(at(u"tree/.hidden"_s), "x");
    ASSERT_TRUE(QDir().mkpath(at(u"tree/empty"_s)));
    writeFile(at(u"other"_s), "x");
    for (const QString &name :
         { u"file"_s, u"tree/"_s, u"missing"_s, u"no/such/path"_s, u"other/x"_s })
        EXPECT_FALSE(TreeRemoval::remove(at(name)).hasError()) << qPrintable(name);
    EXPECT_FALSE(isThere(u"file"_s));
    EXPECT_FALSE(isThere(u"tree"_s));
    EXPECT_TRUE(isThere(u"other"_s));
}

TEST_F(TreeRemovalTest, remove_links_goAndTheirTargetsStay)
{
    writeFile(at(u"outside/file"_s), "x");
    ASSERT_TRUE(QDir().mkpath(at(u"tree/sub"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside"_s), at(u"tree/sub/toFolder"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside/file"_s), at(u"tree/toFile"_s)));
    ASSERT_TRUE(QFile::link(at(u"gone"_s), at(u"tree/dangling"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside"_s), at(u"link"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside"_s), at(u"slashed"_s)));
    EXPECT_FALSE(TreeRemoval::remove(at(u"tree"_s)).hasError());
    EXPECT_FALSE(TreeRemoval::remove(at(u"link"_s)).hasError());
    EXPECT_FALSE(TreeRemoval::remove(at(u"slashed"_s) + u'/').hasError());
    EXPECT_FALSE(isThere(u"tree"_s));
    EXPECT_FALSE(isThere(u"link"_s));
    EXPECT_FALSE(isThere(u"slashed"_s));
    EXPECT_EQ(readFile(at(u"outside/file"_s)), "x");
}

TEST_F(TreeRemovalTest, remove_oddNames_go)
{
    writeFile(at(u"tree/"_s + QString(255, u'n')), "x");
    writeFile(at(u"tree/new\nline"_s), "x");
    ASSERT_EQ(::mkdir((bytesAt(u"tree"_s) + "/\xff dir").constData(), 0755), 0);
    FILE *file = ::fopen((bytesAt(u"tree"_s) + "/\xff dir/\xfe").constData(), "w");
    ASSERT_NE(file, nullptr);
    ::fclose(file);
    ASSERT_EQ(::mkfifo((bytesAt(u"tree"_s) + "/pipe").constData(), 0600), 0);
    EXPECT_FALSE(TreeRemoval::remove(at(u"tree"_s)).hasError());
    EXPECT_FALSE(isThere(u"tree"_s));
}

TEST_F(TreeRemovalTest, remove_pathLongerThanTheSystemTakes_goes)
{
    ASSERT_TRUE(QDir().mkpath(at(u"tree"_s)));
    ASSERT_TRUE(inChild([&] {
        const QByteArray level(200, 'd');
        bool isMade = ::chdir(bytesAt(u"tree"_s).constData()) == 0;
        for (int i = 0; i < 40; ++i)
            isMade = isMade && ::mkdir(level.constData(), 0755) == 0
                && ::chdir(level.constData()) == 0;
        return isMade;
    }));
    EXPECT_FALSE(TreeRemoval::remove(at(u"tree"_s)).hasError());
    EXPECT_FALSE(isThere(u"tree"_s));
}

TEST_F(TreeRemovalTest, remove_foldersWithoutRights_areMadeWritable)
{
    writeFile(at(u"tree/readOnly/file"_s), "x");
    writeFile(at(u"tree/locked/sub/file"_s), "x");
    writeFile(at(u"tree/listOnly/sub/file"_s), "x");
    for (const auto &[name, mode] :
         { std::pair("tree/readOnly", 0555), std::pair("tree/locked", 0000),
           std::pair("tree/listOnly", 0444), std::pair("tree", 0555) })
        ASSERT_EQ(::chmod(bytesAt(QString::fromLatin1(name)).constData(), mode), 0);
    EXPECT_TRUE(asOrdinaryUser(bytesAt(u"."_s),
                               [&] { return !TreeRemoval::remove(at(u"tree"_s)).hasError(); }));
    EXPECT_FALSE(isThere(u"tree"_s));
}

TEST_F(TreeRemovalTest, remove_folderAroundIsReadOnly_failsWithTheNameAndKeepsItsRights)
{
    writeFile(at(u"around/tree/file"_s), "x");
    writeFile(at(u"around/single"_s), "x");
    ASSERT_EQ(::chmod(bytesAt(u"around"_s).constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(bytesAt(u"."_s), [&] {
        const Error single = TreeRemoval::remove(at(u"around/single"_s));
        const Error tree = TreeRemoval::remove(at(u"around/tree"_s));
        return single.errorCode() == ErrorCode::OperationFailed
            && single.errorMessage().contains(at(u"around/single"_s))
            && tree.errorMessage().contains(at(u"around/tree"_s));
    }));
    EXPECT_TRUE(isThere(u"around/single"_s));
    EXPECT_FALSE(isThere(u"around/tree/file"_s)); // as much as possible is gone
    EXPECT_FALSE(QFileInfo(at(u"around"_s)).permissions() & QFile::WriteGroup);
    struct stat status = {};
    ASSERT_EQ(::stat(bytesAt(u"around"_s).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0555u);
}

TEST_F(TreeRemovalTest, remove_partThatBelongsToAnother_isNamedAndTheRestGoes)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can give a folder away";
    writeFile(at(u"tree/a/file"_s), "x");
    writeFile(at(u"tree/foreign/kept"_s), "x");
    writeFile(at(u"tree/z/file"_s), "x");
    EXPECT_TRUE(asOrdinaryUser(bytesAt(u"."_s), [] { return true; }));
    ASSERT_EQ(::chown(bytesAt(u"tree/foreign"_s).constData(), 0, 0), 0);
    EXPECT_TRUE(inChild([&] {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            return false;
        const Error error = TreeRemoval::remove(at(u"tree"_s));
        return error.errorMessage().contains(at(u"tree/foreign/kept"_s));
    }));
    EXPECT_TRUE(isThere(u"tree/foreign/kept"_s));
    EXPECT_FALSE(isThere(u"tree/a"_s));
    EXPECT_FALSE(isThere(u"tree/z"_s));
}

TEST_F(TreeRemovalTest, remove_unusablePath_isBadArgument)
{
    const QString before = QDir::currentPath();
    writeFile(at(u"tree/file"_s), "x");
    ASSERT_TRUE(QDir::setCurrent(at(u"tree"_s)));
    for (const QString &path :
         { QString(), u"/"_s, u"//"_s, u"."_s, u".."_s, at(u"tree/."_s), at(u"tree/.."_s),
           at(u"tree/../"_s), at(u"tree"_s) + QChar(0) + u"x"_s })
        EXPECT_EQ(TreeRemoval::remove(path).errorCode(), ErrorCode::BadArgument)
            << qPrintable(path);
    EXPECT_TRUE(QDir::setCurrent(before));
    EXPECT_TRUE(isThere(u"tree/file"_s));
}

TEST_F(TreeRemovalTest, remove_relativePath_isTakenFromTheCurrentFolder)
{
    const QString before = QDir::currentPath();
    writeFile(at(u"tree/file"_s), "x");
    ASSERT_TRUE(QDir::setCurrent(directory.path()));
    EXPECT_FALSE(TreeRemoval::remove(u"tree"_s).hasError());
    EXPECT_TRUE(QDir::setCurrent(before));
    EXPECT_FALSE(isThere(u"tree"_s));
}
