#include "files/FileUtils.h"
#include "errors/Result.h"
#include "files/FileUtilsGeneric.h"
#include "files/PathImpl.h"
#include "platform/TreeRemoval.h"

#include "LogCapture.h"
#include "TemporaryCache.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileUtilsTest : public testing::Test
{
protected:
    // QTemporaryDir cannot remove names that are no text.
    void TearDown() override { EXPECT_FALSE(TreeRemoval::remove(directory.path()).hasError()); }

    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }

    const QTemporaryDir directory;
};

using FileUtilsGenericTest = FileUtilsTest;

const FileUtils::CopyFilesOptions wholeTree(RecursionPolicy(1), DuplicateFilesPolicy(1));

/// Takes nothing with this in its path.
class Refusing : public FileUtils::CopyFilesValidator
{
public:
    explicit Refusing(const QString &refused)
        : refused(refused)
    {
    }
    bool isAccepted(const QString &sourcePath) const override
    {
        return !sourcePath.contains(refused);
    }

private:
    const QString refused;
};

/// Only one more file or folder can be open while it lives.
class OneDescriptor
{
public:
    OneDescriptor()
    {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const int next = ::dup(STDIN_FILENO);
        EXPECT_GE(next, 0);
        ::close(next);
        const rlimit few { rlim_t(next) + 1, before.rlim_max };
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    OneDescriptor(const OneDescriptor &) = delete;
    OneDescriptor &operator=(const OneDescriptor &) = delete;
    ~OneDescriptor() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0); }

private:
    rlimit before {};
};

} // namespace

TEST(PathImplTest, unknownKind_throughCopiesAndResults_staysTwo)
{
    const PathImpl<PathType::Unknown> path(u"/data/a"_s);
    EXPECT_EQ(path.kind, 2);
    const Result<PathImpl<PathType::Unknown>> result(path);
    const auto copy = result;
    EXPECT_EQ(copy.value().kind, 2);
    EXPECT_EQ(QString(copy.value()), u"/data/a"_s);
}

TEST_F(FileUtilsGenericTest, contentSize_fileAndTree_countsEveryFile)
{
    writeFile(at(u"t/a"_s), QByteArray(1000, 'a'));
    writeFile(at(u"t/b/c"_s), QByteArray(20, 'b'));
    writeFile(at(u"t/b/d/.hidden"_s), "123");
    ASSERT_TRUE(QDir().mkpath(at(u"t/empty"_s)));
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t"_s)), 1023);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t/"_s)), 1023);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t/a"_s)), 1000);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t/empty"_s)), 0);
}

TEST_F(FileUtilsGenericTest, contentSize_shallNotGoOn_endsAtTheNextEntry)
{
    for (const QString &name : { u"a"_s, u"b"_s, u"c"_s, u"d"_s })
        writeFile(at(u"t/"_s + name + u"/file"_s), QByteArray(10, 'a'));
    int asked = 0;
    const qint64 size = FileUtilsGeneric::contentSize(at(u"t"_s), [&asked] { return ++asked < 5; });
    EXPECT_EQ(size, 20); // of two folders, with a file in each
    EXPECT_LE(asked, 6); // once more in the folder around
}

TEST_F(FileUtilsGenericTest, contentSize_nothingThere_isZero)
{
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"missing"_s)), 0);
    EXPECT_EQ(FileUtilsGeneric::contentSize(QString()), 0);
}

TEST_F(FileUtilsGenericTest, contentSize_links_countAsPathButNotInside)
{
    writeFile(at(u"outside/big"_s), QByteArray(5000, 'x'));
    writeFile(at(u"t/a"_s), "1234");
    ASSERT_TRUE(QFile::link(at(u"outside"_s), at(u"t/folderLink"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside/big"_s), at(u"t/fileLink"_s)));
    ASSERT_TRUE(QFile::link(at(u"t"_s), at(u"t/loop"_s)));
    ASSERT_TRUE(QFile::link(at(u"t"_s), at(u"linkToTree"_s)));
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t"_s)), 4);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"linkToTree"_s)), 4);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t/fileLink"_s)), 5000);
}

TEST_F(FileUtilsGenericTest, contentSize_oddEntries_areCountedOrPassedOver)
{
    writeFile(at(u"t/"_s + QString(255, u'n')), "12345");
    writeFile(at(u"t/new\nline"_s), "12");
    QByteArray noText = QFile::encodeName(at(u"t"_s));
    noText += "/\xff\xfe";
    FILE *file = ::fopen(noText.constData(), "w");
    ASSERT_NE(file, nullptr);
    ::fputs("123", file);
    ::fclose(file);
    ASSERT_EQ(::mkfifo(QFile::encodeName(at(u"t/pipe"_s)).constData(), 0600), 0);
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t"_s)), 10);
}

TEST_F(FileUtilsGenericTest, contentSize_sparseFile_countsItsLength)
{
    QFile file(at(u"sparse"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(file.resize(80'000'000'000));
    EXPECT_EQ(FileUtilsGeneric::contentSize(directory.path()), 80'000'000'000);
}

TEST_F(FileUtilsGenericTest, contentSize_foldersCannotBeOpened_theFirstOfThemIsLogged)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "A sanitizer that gets no pipe to look at an object through takes it for none.";
#endif
    writeFile(at(u"t/file"_s), "1234");
    writeFile(at(u"t/a/file"_s), "12");
    writeFile(at(u"t/b/file"_s), "12");
    const LogCapture log;
    {
        const OneDescriptor limit;
        EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t"_s)), 4);
    }
    const QStringList warnings = log.texts(QtWarningMsg);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings.first().contains(at(u"t/a"_s)) || warnings.first().contains(at(u"t/b"_s)))
        << qPrintable(warnings.first());
    EXPECT_EQ(FileUtilsGeneric::contentSize(at(u"t"_s)), 8);
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
}

TEST_F(FileUtilsGenericTest, mkPath_newAndExisting_succeeds)
{
    EXPECT_FALSE(FileUtilsGeneric::mkPath(at(u"a/b/c"_s)).hasError());
    EXPECT_TRUE(QFileInfo(at(u"a/b/c"_s)).isDir());
    EXPECT_FALSE(FileUtilsGeneric::mkPath(at(u"a/b/c"_s)).hasError());
    EXPECT_FALSE(FileUtilsGeneric::mkPath(at(u"a/b/c/"_s)).hasError());
    ASSERT_TRUE(QFile::link(at(u"a"_s), at(u"link"_s)));
    EXPECT_FALSE(FileUtilsGeneric::mkPath(at(u"link"_s)).hasError());
}

TEST_F(FileUtilsGenericTest, mkPath_fileInTheWay_failsAndNamesThePath)
{
    writeFile(at(u"file"_s), "x");
    for (const QString &path : { at(u"file"_s), at(u"file/below"_s) }) {
        const Error error = FileUtilsGeneric::mkPath(path);
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(error.errorMessage().contains(path));
    }
    EXPECT_TRUE(FileUtilsGeneric::mkPath(QString()).hasError());
}

TEST_F(FileUtilsTest, copyFiles_tree_isCopiedOverWhatIsThere)
{
    writeFile(at(u"s/a"_s), "new");
    writeFile(at(u"s/b/c"_s), "deep");
    ASSERT_TRUE(QDir().mkpath(at(u"s/empty"_s)));
    writeFile(at(u"t/a"_s), "former content");
    writeFile(at(u"t/own"_s), "stays");

    EXPECT_TRUE(FileUtils::copyFiles(at(u"s"_s), at(u"t"_s), wholeTree,
                                     FileUtils::CopyFilesValidator(), {}, nullptr));
    EXPECT_EQ(readFile(at(u"t/a"_s)), "new");
    EXPECT_EQ(readFile(at(u"t/b/c"_s)), "deep");
    EXPECT_EQ(readFile(at(u"t/own"_s)), "stays");
    EXPECT_TRUE(QFileInfo(at(u"t/empty"_s)).isDir());
}

TEST_F(FileUtilsTest, copyFiles_policiesZero_leaveFoldersOutAndFailAtADuplicate)
{
    writeFile(at(u"s/a"_s), "a");
    writeFile(at(u"s/b/c"_s), "deep");
    const FileUtils::CopyFilesOptions options(RecursionPolicy(0), DuplicateFilesPolicy(0));
    EXPECT_TRUE(FileUtils::copyFiles(at(u"s"_s), at(u"t"_s), options,
                                     FileUtils::CopyFilesValidator(), {}, nullptr));
    EXPECT_EQ(readFile(at(u"t/a"_s)), "a");
    EXPECT_FALSE(QFileInfo::exists(at(u"t/b"_s)));

    writeFile(at(u"s/a"_s), "other");
    EXPECT_FALSE(FileUtils::copyFiles(at(u"s"_s), at(u"t"_s), options,
                                      FileUtils::CopyFilesValidator(), {}, nullptr));
    EXPECT_EQ(readFile(at(u"t/a"_s)), "a");
}

TEST_F(FileUtilsTest, copyFiles_validatorNamesAndSkipped_areRespected)
{
    writeFile(at(u"s/a"_s), "a");
    writeFile(at(u"s/b/c"_s), "c");
    writeFile(at(u"s/no/x"_s), "x");
    ASSERT_TRUE(QFile::link(u"/etc/passwd"_s, at(u"s/out"_s)));
    QList<QString> skipped;
    EXPECT_TRUE(FileUtils::copyFiles(at(u"s"_s), at(u"t"_s), wholeTree, Refusing(u"/no"_s),
                                     { { u"b/c"_s, u"d"_s } }, &skipped));
    EXPECT_EQ(readFile(at(u"t/a"_s)), "a");
    EXPECT_EQ(readFile(at(u"t/b/d"_s)), "c");
    EXPECT_FALSE(QFileInfo::exists(at(u"t/b/c"_s)));
    EXPECT_FALSE(QFileInfo::exists(at(u"t/no"_s)));
    EXPECT_FALSE(QFileInfo(at(u"t/out"_s)).isSymLink());
    EXPECT_THAT(skipped, testing::UnorderedElementsAre(at(u"s/no"_s), at(u"s/out"_s)));
}

TEST_F(FileUtilsTest, copyFiles_customNameThatIsAPath_fails)
{
    writeFile(at(u"s/a"_s), "a");
    for (const QString &name : { u"../escape"_s, u"x/y"_s, u".."_s }) {
        EXPECT_FALSE(FileUtils::copyFiles(at(u"s"_s), at(u"t"_s), wholeTree,
                                          FileUtils::CopyFilesValidator(), { { u"a"_s, name } },
                                          nullptr));
    }
    EXPECT_FALSE(QFileInfo::exists(at(u"escape"_s)));
}

TEST_F(FileUtilsTest, copyFiles_sourceMissing_fails)
{
    EXPECT_FALSE(FileUtils::copyFiles(at(u"missing"_s), at(u"t"_s), wholeTree,
                                      FileUtils::CopyFilesValidator(), {}, nullptr));
    EXPECT_FALSE(QFileInfo::exists(at(u"t"_s)));
}

TEST_F(FileUtilsTest, isSubPath_insideOrNot_isDecidedByPlace)
{
    const QString cache = at(u"Cache"_s);
    writeFile(cache + u"/a/b"_s, "x");
    ASSERT_TRUE(QDir().mkpath(at(u"Cache2"_s)));

    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/a"_s, cache));
    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/a/b"_s, cache));
    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/a/"_s, cache + u"/"_s));
    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/not/yet/there"_s, cache));
    EXPECT_TRUE(FileUtils::isSubPath(cache + u"//a/./b"_s, cache));
    EXPECT_TRUE(FileUtils::isSubPath(u"/tmp/x"_s, u"/"_s));

    EXPECT_FALSE(FileUtils::isSubPath(cache, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/."_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(at(u"Cache2"_s), cache));
    EXPECT_FALSE(FileUtils::isSubPath(at(u"Cache2/x"_s), cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/../Cache2"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/a/.."_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/a/../.."_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/missing/../../x"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(directory.path(), cache));
    EXPECT_FALSE(FileUtils::isSubPath(QString(), cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/a"_s, QString()));
    EXPECT_FALSE(FileUtils::isSubPath(at(u"cache/a"_s), cache));
}

TEST_F(FileUtilsTest, isSubPath_links_countWhereTheyStandAndAreFollowedAround)
{
    const QString cache = at(u"Cache"_s);
    ASSERT_TRUE(QDir().mkpath(cache + u"/a"_s));
    writeFile(at(u"outside/x"_s), "x");
    ASSERT_TRUE(QDir().mkpath(at(u"outside/deep"_s)));
    ASSERT_TRUE(QFile::link(at(u"outside"_s), cache + u"/out"_s));
    ASSERT_TRUE(QFile::link(at(u"outside/deep"_s), cache + u"/deep"_s));
    ASSERT_TRUE(QFile::link(at(u"gone"_s), cache + u"/dangling"_s));
    ASSERT_TRUE(QFile::link(cache, at(u"toCache"_s)));

    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/out"_s, cache)); // the link itself
    EXPECT_TRUE(FileUtils::isSubPath(cache + u"/dangling"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/out/x"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/out/new"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/dangling/x"_s, cache));
    EXPECT_FALSE(FileUtils::isSubPath(cache + u"/deep/../x"_s, cache)); // outside/x by the disk
    EXPECT_TRUE(FileUtils::isSubPath(at(u"toCache/a"_s), at(u"toCache"_s)));
    EXPECT_FALSE(FileUtils::isSubPath(at(u"toCache/a"_s), cache)); // not as text
    EXPECT_FALSE(FileUtils::isSubPath(at(u"toCache/out/x"_s), at(u"toCache"_s)));
}

TEST_F(FileUtilsTest, isSubPath_relativeSpellings_meanTheSameFolder)
{
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir().mkpath(at(u"Cache/a"_s)));
    ASSERT_TRUE(QDir::setCurrent(directory.path()));
    EXPECT_TRUE(FileUtils::isSubPath(u"Cache/a"_s, u"./Cache"_s));
    EXPECT_TRUE(FileUtils::isSubPath(QDir::currentPath() + u"/Cache/a"_s, u"Cache"_s));
    EXPECT_FALSE(FileUtils::isSubPath(u"Cache"_s, u"Cache"_s));
    EXPECT_TRUE(QDir::setCurrent(before));
}
