#include "WholeCopy.h"

#include "AsAnybody.h"
#include "TemporaryCache.h"
#include "platform/ProcessIdentity.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

namespace zel::cli {

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

class WholeCopyTest : public ::testing::Test
{
protected:
    WholeCopyTest()
    {
        writeFile(at(u"source/a"_s), "a");
        writeFile(at(u"source/deep/b"_s), "b");
        EXPECT_TRUE(QDir().mkpath(at(u"place"_s)));
    }
    QString at(const QString &name) const { return directory.filePath(name); }
    /// What is there now, hidden things too.
    QStringList atThePlace() const
    {
        return QDir(at(u"place"_s))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir directory;
};

TEST_F(WholeCopyTest, copyWhole_fileAndFolder_areThereWithNothingBeside)
{
    EXPECT_FALSE(copyWhole(at(u"source"_s), at(u"place/run.d"_s)).hasError());
    EXPECT_FALSE(copyWhole(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(readFile(at(u"place/run.d/deep/b"_s)), "b");
    EXPECT_EQ(readFile(at(u"place/run.raw"_s)), "a");
    EXPECT_EQ(atThePlace(), QStringList({ u"run.d"_s, u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copyWhole_fileThatCannotBeRead_isNamedAndLeavesNothing)
{
    ASSERT_TRUE(QFile::setPermissions(at(u"source/deep/b"_s), {}));
    for (const QString &folder : { QString(), u"place"_s, u"source"_s, u"source/deep"_s })
        ASSERT_TRUE(QFile::setPermissions(at(folder), QFile::Permissions(0x7777)));
    const AsAnybody anybody;
    if (!anybody.canReach(at(u"source/a"_s)))
        GTEST_SKIP() << "the folders above are closed to anybody";
    const Error error = copyWhole(at(u"source"_s), at(u"place/run.d"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"source/deep/b"_s)))
        << qPrintable(error.errorMessage());
    EXPECT_EQ(atThePlace(), QStringList());
}

TEST_F(WholeCopyTest, copyWhole_placeIsTaken_failsAndKeepsWhatIsThere)
{
    writeFile(at(u"place/run.raw"_s), "first");
    EXPECT_TRUE(copyWhole(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(readFile(at(u"place/run.raw"_s)), "first");
    EXPECT_EQ(atThePlace(), QStringList({ u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copyWhole_remainsOfKilledCopies_goAndACopyUnderWayStays)
{
    const ProcessIdentity self = ProcessIdentity::current();
    const QString underWay
        = u".adding-%1-%2-else"_s.arg(QString::number(self.pid), QString::number(self.startTime));
    writeFile(at(u"place/"_s + underWay), "half");
    writeFile(at(u"place/.adding-%1-1/big"_s.arg(self.pid)), "half"); // of an earlier process
    writeFile(at(u"place/.adding-999999999-7"_s), "half");
    EXPECT_FALSE(copyWhole(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(atThePlace(), QStringList({ underWay, u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copyWhole_linkThatLeadsOut_isTold)
{
    ASSERT_TRUE(QFile::link(u"/etc/hostname"_s, at(u"source/link"_s)));
    const Error outcome = copyWhole(at(u"source"_s), at(u"place/run.d"_s));
    EXPECT_FALSE(outcome.hasError());
    EXPECT_EQ(outcome.warnings().size(), 1);
}

} // namespace zel::cli
