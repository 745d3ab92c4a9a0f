#include "files/WholeCopy.h"

#include "AsAnybody.h"
#include "FailingStep.h"
#include "Fate.h"
#include "SuddenDeath.h"
#include "TemporaryCache.h"
#include "UnsyncedFolders.h"
#include "platform/ProcessIdentity.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <functional>

#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Somebody else puts something at the place at the last moment.
class LateComer final : public FileStepWatcher
{
public:
    LateComer(std::string place, std::function<void()> come)
        : place(std::move(place))
        , come(std::move(come))
    {
        watchFileSteps(this);
    }
    LateComer(const LateComer &) = delete;
    LateComer &operator=(const LateComer &) = delete;
    ~LateComer() override { watchFileSteps(nullptr); }

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Rename && newPathOf(step) == place)
            come();
        return 0;
    }

    const std::string place;
    const std::function<void()> come;
};

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

    /// Copies in a process of its own; false if that died at this step.
    bool copyUntil(int step)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            dieAtFileStep(step);
            ::_exit(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError() ? 1 : 0);
        }
        return fateOfChild(child) != Fate::Killed;
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(WholeCopyTest, copy_fileAndFolder_areThereWithNothingBeside)
{
    EXPECT_FALSE(WholeCopy::copy(at(u"source"_s), at(u"place/run.d"_s)).hasError());
    EXPECT_FALSE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(readFile(at(u"place/run.d/deep/b"_s)), "b");
    EXPECT_EQ(readFile(at(u"place/run.raw"_s)), "a");
    EXPECT_EQ(atThePlace(), QStringList({ u"run.d"_s, u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copy_fileThatCannotBeRead_isNamedAndLeavesNothing)
{
    ASSERT_TRUE(QFile::setPermissions(at(u"source/deep/b"_s), {}));
    for (const QString &folder : { QString(), u"place"_s, u"source"_s, u"source/deep"_s })
        ASSERT_TRUE(QFile::setPermissions(at(folder), QFile::Permissions(0x7777)));
    const AsAnybody anybody;
    if (!anybody.canReach(at(u"source/a"_s)))
        GTEST_SKIP() << "the folders above are closed to anybody";
    const Error error = WholeCopy::copy(at(u"source"_s), at(u"place/run.d"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"source/deep/b"_s)))
        << qPrintable(error.errorMessage());
    EXPECT_EQ(atThePlace(), QStringList());
}

TEST_F(WholeCopyTest, copy_placeIsTaken_failsAndKeepsWhatIsThere)
{
    writeFile(at(u"place/run.raw"_s), "first");
    EXPECT_TRUE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(readFile(at(u"place/run.raw"_s)), "first");
    EXPECT_EQ(atThePlace(), QStringList({ u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copy_remainsOfKilledCopies_goAndACopyUnderWayStays)
{
    const ProcessIdentity self = ProcessIdentity::current();
    const QString underWay
        = u".adding-%1-%2-else"_s.arg(QString::number(self.pid), QString::number(self.startTime));
    writeFile(at(u"place/"_s + underWay), "half");
    writeFile(at(u"place/.adding-%1-1/big"_s.arg(self.pid)), "half"); // of an earlier process
    writeFile(at(u"place/.adding-999999999-7"_s), "half");
    EXPECT_FALSE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(atThePlace(), QStringList({ underWay, u"run.raw"_s }));
}

// The process is none of this machine's, as far as can be seen, but it may live all the same.
TEST_F(WholeCopyTest, copy_copyUnderWayInAnotherContainer_stays)
{
    const QString elsewhere = QString::number(ProcessIdentity::numberSpace() + 1);
    const QString underWay = u".adding-999999999-7-1-"_s + elsewhere;
    writeFile(at(u"place/"_s + underWay), "half");
    EXPECT_FALSE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    EXPECT_EQ(atThePlace(), QStringList({ underWay, u"run.raw"_s }));
}

TEST_F(WholeCopyTest, isInProgress_makersHereAndElsewhere_onlyTheUnseenGoByTheirAge)
{
    const ProcessIdentity self = ProcessIdentity::current();
    const QByteArray own = ".adding-" + QByteArray::number(self.pid) + '-'
        + QByteArray::number(self.startTime) + "-1-";
    const QByteArray dead = ".adding-999999999-7-1-";
    const QByteArray here = QByteArray::number(ProcessIdentity::numberSpace());
    const QByteArray elsewhere = QByteArray::number(ProcessIdentity::numberSpace() + 1);
    for (const auto age : { 0h, 23h, 25h }) {
        EXPECT_TRUE(WholeCopy::isInProgress(own + here, age));
        EXPECT_FALSE(WholeCopy::isInProgress(dead + here, age));
        EXPECT_EQ(WholeCopy::isInProgress(own + elsewhere, age), age < 24h);
        EXPECT_EQ(WholeCopy::isInProgress(dead + elsewhere, age), age < 24h);
        EXPECT_FALSE(WholeCopy::isInProgress("run-1-2-3-" + elsewhere, age));
    }
}

TEST_F(WholeCopyTest, copy_itsNameOnTheWay_tellsOfItsProcessAndItsNumberSpace)
{
    const ProcessIdentity self = ProcessIdentity::current();
    QStringList found;
    const LateComer look((at(u"place/run.raw"_s)).toStdString(), [&] { found = atThePlace(); });
    EXPECT_FALSE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
    ASSERT_EQ(found.size(), 1);
    const QStringList parts = found.first().split(u'-');
    ASSERT_EQ(parts.size(), 5);
    EXPECT_EQ(parts.at(1), QString::number(self.pid));
    EXPECT_EQ(parts.at(2), QString::number(self.startTime));
    EXPECT_EQ(parts.at(4), QString::number(ProcessIdentity::numberSpace()));
}

TEST_F(WholeCopyTest, copy_linkThatLeadsOut_isTold)
{
    ASSERT_TRUE(QFile::link(u"/etc/hostname"_s, at(u"source/link"_s)));
    const Error outcome = WholeCopy::copy(at(u"source"_s), at(u"place/run.d"_s));
    EXPECT_FALSE(outcome.hasError());
    EXPECT_EQ(outcome.warnings().size(), 1);
}

TEST_F(WholeCopyTest, copy_intoANewFolder_itsNameIsOnTheDisk)
{
    for (const QString &source : { u"source"_s, u"source/a"_s }) {
        const QString folder = u"place/of "_s + QFileInfo(source).fileName();
        const UnsyncedFolders folders(directory.path().toStdString());
        ASSERT_TRUE(QDir().mkdir(at(folder)));
        ASSERT_EQ(folders.now().size(), 1u);
        EXPECT_FALSE(WholeCopy::copy(at(source), at(folder + u"/run"_s)).hasError());
        EXPECT_EQ(folders.now(), std::set<std::string>());
    }
}

TEST_F(WholeCopyTest, copy_somethingComesMeanwhile_isNotReplaced)
{
    const QString place = at(u"place/run.raw"_s);
    const LateComer comer(place.toStdString(), [&place] { writeFile(place, "theirs"); });
    const Error error = WholeCopy::copy(at(u"source/a"_s), place);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), place + u" is there already."_s);
    EXPECT_EQ(readFile(place), "theirs");
    EXPECT_EQ(atThePlace(), QStringList({ u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copyOver_ownFile_isReplacedAndKnown)
{
    const QString place = at(u"place/run.raw"_s);
    WholeCopy::Placed own;
    EXPECT_FALSE(own.isThereStill());
    EXPECT_FALSE(WholeCopy::copyOver(at(u"source/a"_s), place, &own).hasError());
    EXPECT_TRUE(own.isThereStill());
    writeFile(at(u"source/a"_s), "newer");
    EXPECT_FALSE(WholeCopy::copyOver(at(u"source/a"_s), place, &own).hasError());
    EXPECT_EQ(readFile(place), "newer");
    EXPECT_TRUE(own.isThereStill());
    EXPECT_EQ(atThePlace(), QStringList({ u"run.raw"_s }));
}

TEST_F(WholeCopyTest, copyOver_anotherPlace_isNotOwn)
{
    WholeCopy::Placed own;
    EXPECT_FALSE(WholeCopy::copyOver(at(u"source/a"_s), at(u"place/one"_s), &own).hasError());
    writeFile(at(u"place/other"_s), "theirs");
    EXPECT_TRUE(WholeCopy::copyOver(at(u"source/a"_s), at(u"place/other"_s), &own).hasError());
    EXPECT_EQ(readFile(at(u"place/other"_s)), "theirs");
    EXPECT_FALSE(own.isThereStill());
}

TEST_F(WholeCopyTest, copyOver_folderIsOrWasCopied_isRefusedBeforeTheCopy)
{
    const auto isNotCalled = [](qint64) {
        ADD_FAILURE();
        return false;
    };
    for (const auto &[first, second] :
         { std::pair(u"source"_s, u"source"_s), std::pair(u"source"_s, u"source/a"_s),
           std::pair(u"source/a"_s, u"source"_s) }) {
        const QString place = at(u"place/run"_s);
        ASSERT_FALSE(WholeCopy::copy(at(first), place).hasError());
        WholeCopy::Placed own = WholeCopy::Placed::at(place);
        const Error error = WholeCopy::copyOver(at(second), place, &own, isNotCalled);
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_EQ(error.errorMessage(), place + u" is there already."_s);
        EXPECT_TRUE(own.isThereStill());
        EXPECT_EQ(atThePlace(), QStringList({ u"run"_s }));
        ASSERT_TRUE(QFile::remove(place) || QDir(place).removeRecursively());
    }
}

// Neither its name can be brought to the disk, nor the file be taken away.
TEST_F(WholeCopyTest, copyOver_diskDiesAtAnyStep_nextOneEndsIt)
{
    const std::string folder = at(u"place"_s).toStdString();
    const QString place = at(u"place/run.raw"_s);
    bool wasReached = true;
    int left = 0;
    for (int step = 0; wasReached && !HasFailure(); ++step) {
        WholeCopy::Placed own;
        {
            const FailingStep failing(folder, step, EIO, FailingStep::Lasting::FromThereOn);
            const Error error = WholeCopy::copyOver(at(u"source/a"_s), place, &own);
            wasReached = failing.hasFailed();
            EXPECT_EQ(error.hasError(), wasReached);
        }
        EXPECT_EQ(own.isThereStill(), QFile::exists(place)) << step;
        left += wasReached && own.isThereStill() ? 1 : 0;
        EXPECT_FALSE(WholeCopy::copyOver(at(u"source/a"_s), place, &own).hasError()) << step;
        EXPECT_EQ(readFile(place), "a");
        EXPECT_TRUE(QFile::remove(place));
    }
    EXPECT_GT(left, 0);
}

TEST_F(WholeCopyTest, copy_killedAtEachStep_leavesNothingOrTheWholeAndTheNextOneEndsIt)
{
    int step = 0;
    for (; !HasFailure() && !copyUntil(step); ++step) {
        if (!QFile::exists(at(u"place/run.raw"_s))) {
            EXPECT_FALSE(WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s)).hasError());
        }
        EXPECT_EQ(readFile(at(u"place/run.raw"_s)), "a");
        EXPECT_EQ(atThePlace(), QStringList({ u"run.raw"_s })) << step;
        ASSERT_TRUE(QFile::remove(at(u"place/run.raw"_s)));
    }
    EXPECT_GT(step, 3);
}

TEST_F(WholeCopyTest, copy_anyStepFails_leavesNothingOrTheWhole)
{
    const std::string place = at(u"place"_s).toStdString();
    bool wasReached = true;
    for (int step = 0; wasReached && !HasFailure(); ++step) {
        Error error;
        {
            const FailingStep failing(place, step, EIO);
            error = WholeCopy::copy(at(u"source/a"_s), at(u"place/run.raw"_s));
            wasReached = failing.hasFailed();
        }
        EXPECT_EQ(QFile::exists(at(u"place/run.raw"_s)), !error.hasError()) << step;
        QFile::remove(at(u"place/run.raw"_s));
    }
}
