#include "platform/TreeListing.h"

#include "TemporaryCache.h"

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TreeListingTest : public testing::Test
{
protected:
    QString at(const QString &name) const { return directory.filePath(name); }

    QList<TreeListing::Entry> list(const QByteArray &name)
    {
        QList<TreeListing::Entry> entries;
        failure = TreeListing::make(
            directory.path().toStdString(), name,
            [&entries](TreeListing::Entry &&entry) { entries.append(std::move(entry)); });
        return entries;
    }
    static QList<QByteArray> pathsOf(const QList<TreeListing::Entry> &entries)
    {
        QList<QByteArray> paths;
        for (const TreeListing::Entry &entry : entries)
            paths.append(entry.path);
        return paths;
    }

    QTemporaryDir directory;
    std::optional<TreeListing::Failure> failure;
};

} // namespace

TEST_F(TreeListingTest, make_folder_listsFilesAndLinksByName)
{
    writeFile(at(u"run/b/deep"_s), "123");
    writeFile(at(u"run/c"_s), "1");
    writeFile(at(u"run/a"_s), "12");
    ASSERT_TRUE(QFile::link(at(u"run/b"_s), at(u"run/link"_s)));
    ASSERT_EQ(::mkfifo(at(u"run/pipe"_s).toLocal8Bit().constData(), 0600), 0);
    const auto entries = list("run");
    EXPECT_FALSE(failure);
    ASSERT_EQ(pathsOf(entries), (QList<QByteArray> { "run/a", "run/b/deep", "run/c", "run/link" }));
    EXPECT_EQ(entries.at(1).size, 3);
    EXPECT_FALSE(entries.at(1).linkTarget);
    EXPECT_EQ(entries.at(3).linkTarget, QFile::encodeName(at(u"run/b"_s)));
    EXPECT_EQ(entries.at(3).size, 0);
}

TEST_F(TreeListingTest, make_time_isThatOfTheFileToTheNanosecond)
{
    writeFile(at(u"file"_s), "1");
    const std::array<timespec, 2> times { timespec { 1, 2 },
                                          timespec { 1'700'000'000, 123'456'789 } };
    ASSERT_EQ(::utimensat(AT_FDCWD, at(u"file"_s).toLocal8Bit().constData(), times.data(), 0), 0);
    const auto entries = list("file");
    ASSERT_EQ(pathsOf(entries), QList<QByteArray> { "file" });
    EXPECT_EQ(entries.first().modified, 1'700'000'000'123'456'789);
}

TEST_F(TreeListingTest, make_nothing_isAFailure)
{
    EXPECT_TRUE(list("none").isEmpty());
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(failure->path, std::filesystem::path(directory.path().toStdString()) / "none");
}

TEST_F(TreeListingTest, make_nameThatIsNoText_staysAsItIs)
{
    const QByteArray name = "\xff\xfe";
    const auto path = std::filesystem::path(directory.path().toStdString()) / name.toStdString();
    std::filesystem::create_directory(path);
    writeFile(at(u"other"_s), "12345");
    std::filesystem::copy(at(u"other"_s).toStdString(), path / "\xfe");
    const auto entries = list(name);
    ASSERT_EQ(pathsOf(entries), QList<QByteArray> { name + "/\xfe" });
    EXPECT_EQ(entries.first().size, 5);
}
