#include "platform/TreeSurvey.h"

#include "TemporaryCache.h"
#include "platform/ChildProcess.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TreeSurveyTest : public testing::Test
{
protected:
    void SetUp() override
    {
        writeFile(directory.filePath(u"a/whole/x"_s), "12345");
        writeFile(directory.filePath(u"a/whole/deep/y"_s), "123");
        writeFile(directory.filePath(u"a/file"_s), "1");
        writeFile(directory.filePath(u"skipped/z"_s), "1234567");
        QFile::link(directory.filePath(u"a/file"_s), directory.filePath(u"a/link"_s));
    }

    TreeSurvey::Outcome survey() const
    {
        return TreeSurvey::make(directory.path(), [](const QByteArray &path, bool isFolder) {
            if (path == "skipped")
                return TreeSurvey::Step::Skip;
            return path == "a" && isFolder ? TreeSurvey::Step::Enter : TreeSurvey::Step::Measure;
        });
    }

    static std::optional<TreeSurvey::Entry> entry(const TreeSurvey::Outcome &outcome,
                                                  const QByteArray &path)
    {
        for (const TreeSurvey::Entry &entry : outcome.entries) {
            if (entry.path == path)
                return entry;
        }
        return {};
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(TreeSurveyTest, make_answers_areFollowed)
{
    const auto outcome = survey();
    EXPECT_TRUE(outcome.exists);
    EXPECT_EQ(outcome.entries.size(), 3);
    const auto whole = entry(outcome, "a/whole");
    ASSERT_TRUE(whole);
    EXPECT_TRUE(whole->isFolder);
    EXPECT_EQ(whole->bytes, 8);
    EXPECT_EQ(whole->files, 2);
    const auto link = entry(outcome, "a/link");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->bytes, 0);
    EXPECT_EQ(link->files, 1);
    EXPECT_FALSE(entry(outcome, "skipped"));
}

TEST_F(TreeSurveyTest, make_newestChange_isThatOfTheWholeTree)
{
    const qint64 before = entry(survey(), "a/whole")->newestChange;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    EXPECT_LE(before, now);
    EXPECT_GT(before, now - 60'000);
    // A rename into the tree shows, whatever times the file brings along.
    QFile old(directory.filePath(u"old"_s));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.setFileTime(QDateTime::fromSecsSinceEpoch(0), QFileDevice::FileModificationTime);
    old.close();
    do {
        ASSERT_TRUE(
            QFile::rename(directory.filePath(u"old"_s), directory.filePath(u"a/whole/deep/old"_s)));
        ASSERT_TRUE(
            QFile::rename(directory.filePath(u"a/whole/deep/old"_s), directory.filePath(u"old"_s)));
    } while (entry(survey(), "a/whole")->newestChange <= before);
}

TEST_F(TreeSurveyTest, make_noFolder_saysSo)
{
    const auto outcome
        = TreeSurvey::make(directory.filePath(u"none"_s),
                           [](const QByteArray &, bool) { return TreeSurvey::Step::Enter; });
    EXPECT_FALSE(outcome.exists);
    EXPECT_TRUE(outcome.entries.isEmpty());
}

TEST_F(TreeSurveyTest, make_folderThatMayNotBeRead_isNamedAndTheRestIsCounted)
{
    ASSERT_EQ(::chmod(QFile::encodeName(directory.filePath(u"a/whole/deep"_s)).constData(), 0), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [this] {
        const auto outcome = survey();
        const auto whole = entry(outcome, "a/whole");
        return outcome.unreadable == QList<QByteArray> { "a/whole" } && whole && whole->bytes == 5
            && entry(outcome, "a/file");
    }));
    ASSERT_EQ(::chmod(QFile::encodeName(directory.filePath(u"a"_s)).constData(), 0), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [this] {
        const auto outcome = survey();
        return outcome.unreadable == QList<QByteArray> { "a" } && outcome.entries.isEmpty();
    }));
    for (const QString &name : { u"a"_s, u"a/whole/deep"_s }) // or it could not be removed
        ASSERT_EQ(::chmod(QFile::encodeName(directory.filePath(name)).constData(), 0755), 0);
}
