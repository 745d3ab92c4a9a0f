#include "StagingFixture.h"

#include "FailingStep.h"
#include "Fate.h"
#include "SchemeErrors.h"
#include "Volumes.h"

#include <cerrno>
#include <csignal>

#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class StagingAreaTest : public StagingFixture
{
protected:
    static QByteArray staged(const StagingArea &area)
    {
        const QString path = QString::fromStdString(area.mainPath());
        return QFileInfo::exists(path) ? readFile(path) : QByteArray();
    }
};

/// Kills the process before a step.
class Death final : public FileStepWatcher
{
public:
    explicit Death(int stepsToLive)
        : stepsToLive(stepsToLive)
    {
    }

private:
    int before(const FileStep &step) override
    {
        if (changesFiles(step) && stepsToLive-- == 0)
            ::kill(::getpid(), SIGKILL);
        return 0;
    }

    int stepsToLive;
};

} // namespace

TEST_F(StagingAreaTest, publish_stagedFile_isAtTheExpectedPathAndNothingStaysBehind)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));

    const Error error = area->publish();
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(readFile(plan.expectedPath), "content");
    EXPECT_TRUE(places().isEmpty());
    EXPECT_EQ(QDir(plan.stagingDirectory).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(),
              0);
}

TEST_F(StagingAreaTest, publish_companions_comeAlong)
{
    const FetchPlan plan = planFor(u"share:/a"_s, u"x.wiff"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "main");
    writeFile(QString::fromStdString(area->contentDirectory() / "x.wiff.scan"), "scan");
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "main");
    EXPECT_EQ(readFile(plan.expectedPath + u".scan"_s), "scan");
}

TEST_F(StagingAreaTest, open_sameState_goesOnFromTheStagedBytes)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "first");
    const auto area = open(plan, u"v1"_s);
    EXPECT_EQ(stagedBytes(*area), 5);
    append(*area, " second");
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "first second");
}

TEST_F(StagingAreaTest, open_otherState_startsAnewAndRemovesTheFormerOne)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "first");
    const auto area = open(plan, u"v2"_s);
    EXPECT_EQ(stagedBytes(*area), 0);
    EXPECT_EQ(places().size(), 1);
}

TEST_F(StagingAreaTest, open_otherResource_leavesOthersAlone)
{
    append(*open(planFor(u"share:/a"_s), u"v1"_s), "first");
    const auto other = open(planFor(u"share:/b"_s), u"v1"_s);
    EXPECT_EQ(stagedBytes(*other), 0);
    EXPECT_EQ(places().size(), 2);
}

TEST_F(StagingAreaTest, open_withoutAState_neverGoesOn)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, {}), "first");
    EXPECT_EQ(stagedBytes(*open(plan, {})), 0);
}

TEST_F(StagingAreaTest, open_recordIsLost_startsAnew)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "first");
    ASSERT_TRUE(QFile::remove(StagingFolder::recordPath(places().first())));
    EXPECT_EQ(stagedBytes(*open(plan, u"v1"_s)), 0);
}

TEST_F(StagingAreaTest, open_twiceAtATime_givesTwoPlaces)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto one = open(plan, u"v1"_s);
    const auto other = open(plan, u"v1"_s);
    append(*one, "one");
    append(*other, "other");
    EXPECT_NE(one->mainPath(), other->mainPath());
    EXPECT_EQ(stagedBytes(*one), 3);
    EXPECT_EQ(stagedBytes(*other), 5);
}

TEST_F(StagingAreaTest, open_placeLockedByAnotherProcess_givesAnother)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "first");
    const QString locked = places().first();
    const LockingProcess process(StagingFolder::lockPath(locked));

    const auto area = open(plan, u"v1"_s);
    append(*area, "mine");
    EXPECT_EQ(stagedBytes(*area), 4);
    EXPECT_EQ(readFile(StagingFolder::contentPath(locked) + u"/run.raw"_s), "first");
}

TEST_F(StagingAreaTest, open_otherStateLockedByAnotherProcess_leavesItAlone)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "first");
    const LockingProcess process(StagingFolder::lockPath(places().first()));
    const auto area = open(plan, u"v2"_s);
    EXPECT_EQ(places().size(), 2);
}

TEST_F(StagingAreaTest, open_afterARestartOfTheMachine_trustsDurableBytesOnly)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    append(*open(plan, u"v1"_s), "0123456789");
    const QString path = StagingFolder::recordPath(places().first());
    StagingRecord record = StagingRecord::read(path).value();
    record.process.bootId = u"of yesterday"_s;
    record.durableBytes = 4;
    ASSERT_FALSE(record.write(path).hasError());

    const auto area = open(plan, u"v1"_s);
    EXPECT_EQ(stagedBytes(*area), 4);
}

TEST_F(StagingAreaTest, open_afterARestartOfTheMachine_dropsFolders)
{
    const FetchPlan plan = planFor(u"share:/a"_s, u"run.d"_s);
    const QString inner = QString::fromStdString(open(plan, u"v1"_s)->mainPath()) + u"/file"_s;
    writeFile(inner, "content");
    const QString path = StagingFolder::recordPath(places().first());
    StagingRecord record = StagingRecord::read(path).value();
    record.process.bootId = u"of yesterday"_s;
    ASSERT_FALSE(record.write(path).hasError());

    const auto area = open(plan, u"v1"_s);
    EXPECT_FALSE(QFileInfo::exists(inner));
}

TEST_F(StagingAreaTest, publish_resourceIsReadyMeanwhile_dropsItsOwn)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "second");
    writeFile(plan.expectedPath, "first");
    ready << plan.referenceKey;

    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "first");
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(StagingAreaTest, publish_readyButTheDataIsGone_putsItThere)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "again");
    ready << plan.referenceKey;
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "again");
}

TEST_F(StagingAreaTest, publish_anythingElseThere_isReplaced)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    writeFile(plan.expectedPath + u"/folder/with/a file"_s, "leftover");
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "content");
    EXPECT_EQ(QFileInfo(plan.expectedPath)
                  .dir()
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList { u"run.raw"_s });
}

TEST_F(StagingAreaTest, publish_linkThere_isReplacedAndNotFollowed)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const QString outside = cache.outside(u"precious"_s);
    writeFile(outside, "precious");
    ASSERT_TRUE(QDir().mkpath(QFileInfo(plan.expectedPath).path()));
    ASSERT_TRUE(QFile::link(outside, plan.expectedPath));
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_FALSE(QFileInfo(plan.expectedPath).isSymLink());
    EXPECT_EQ(readFile(plan.expectedPath), "content");
    EXPECT_EQ(readFile(outside), "precious");
}

TEST_F(StagingAreaTest, publish_folderOverFolder_isReplacedAsAWhole)
{
    const FetchPlan plan = planFor(u"share:/a"_s, u"run.d"_s);
    writeFile(plan.expectedPath + u"/old"_s, "old");
    const auto area = open(plan, u"v1"_s);
    writeFile(QString::fromStdString(area->mainPath()) + u"/new"_s, "new");
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_EQ(QDir(plan.expectedPath).entryList(QDir::Files), QStringList { u"new"_s });
}

TEST_F(StagingAreaTest, publish_cannotPlace_failsAndKeepsTheStagedBytes)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    writeFile(QFileInfo(plan.expectedPath).path(), "a file where the folder should be");
    append(*open(plan, u"v1"_s), "content");
    {
        const auto area = open(plan, u"v1"_s);
        EXPECT_TRUE(area->publish().hasError());
    }
    EXPECT_EQ(stagedBytes(*open(plan, u"v1"_s)), 7);
}

TEST_F(StagingAreaTest, publish_replacedButNotOnTheDisk_formerDataIsNoBeginning)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    writeFile(plan.expectedPath, "former");
    {
        const auto area = open(plan, u"v1"_s);
        append(*area, "content");
        const FailingStep failing(cache.dataDir().toStdString(), 0, EIO, FailingStep::Lasting::Once,
                                  FileStep::Kind::Sync);
        EXPECT_TRUE(area->publish().hasError());
        EXPECT_TRUE(failing.hasFailed());
    }
    EXPECT_EQ(staged(*open(plan, u"v1"_s)), "");
}

TEST_F(StagingAreaTest, publish_cannotReplace_keepsTheStagedBytes)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    writeFile(plan.expectedPath, "former");
    {
        const auto area = open(plan, u"v1"_s);
        append(*area, "content");
        const FailingStep failing(plan.expectedPath.toStdString(), 0, EIO,
                                  FailingStep::Lasting::FromThereOn, FileStep::Kind::Rename);
        EXPECT_TRUE(area->publish().hasError());
        EXPECT_TRUE(failing.hasFailed());
    }
    EXPECT_EQ(readFile(plan.expectedPath), "former");
    EXPECT_EQ(staged(*open(plan, u"v1"_s)), "content");
}

TEST_F(StagingAreaTest, publish_companionReplacedAndThenAFailure_formerDataIsNoBeginning)
{
    const FetchPlan plan = planFor(u"share:/a.wiff"_s, u"a.wiff"_s);
    writeFile(plan.expectedPath + u".scan"_s, "former");
    {
        const auto area = open(plan, u"v1"_s);
        append(*area, "content");
        writeFile(QString::fromStdString(area->contentDirectory() / "a.wiff.scan"), "scan");
        const FailingStep failing(plan.expectedPath.toStdString(), 0, EIO,
                                  FailingStep::Lasting::FromThereOn, FileStep::Kind::Rename);
        EXPECT_TRUE(area->publish().hasError());
        EXPECT_TRUE(failing.hasFailed());
    }
    const auto area = open(plan, u"v1"_s);
    EXPECT_FALSE(std::filesystem::exists(area->contentDirectory() / "a.wiff.scan"));
}

TEST_F(StagingAreaTest, publish_killedAtEachStep_formerDataIsNoBeginning)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    int step = 0;
    for (bool wasKilled = true; wasKilled && !HasFailure(); ++step) {
        writeFile(plan.expectedPath, "former");
        const pid_t child = ::fork();
        if (child == 0) {
            const auto area = open(plan, u"v1"_s);
            if (stagedBytes(*area) == 0)
                append(*area, "content");
            Death death(step);
            watchFileSteps(&death);
            ::_exit(area->publish().hasError() ? 1 : 0);
        }
        wasKilled = fateOfChild(child) == Fate::Killed;
        const QByteArray beginning = staged(*open(plan, u"v1"_s));
        EXPECT_TRUE(beginning.isEmpty() || beginning == "content") << step << beginning.constData();
    }
    EXPECT_GT(step, 3);
}

TEST_F(StagingAreaTest, publish_listingOfWhatIsStagedFails_placesNothing)
{
    const FetchPlan plan = planFor(u"share:/a.wiff"_s, u"a.wiff"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    writeFile(QString::fromStdString(area->contentDirectory() / "a.wiff.scan"), "scan");
    {
        const FailingStep failing(area->contentDirectory().native(), 0, EIO);
        const Error error = area->publish();
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(error.errorMessage().contains(u"Input/output error"_s))
            << qPrintable(error.errorMessage());
    }
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));

    EXPECT_EQ(area->publish(), Error());
    EXPECT_EQ(readFile(plan.expectedPath), "content");
    EXPECT_EQ(readFile(plan.expectedPath + u".scan"_s), "scan");
}

TEST_F(StagingAreaTest, clear_dropsWhatWasCollected)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    append(*area, "content");
    ASSERT_FALSE(area->clear().hasError());
    EXPECT_EQ(stagedBytes(*area), 0);
}

TEST_F(StagingAreaTest, clear_cannotRemove_nobodyGoesOnFromWhatStays)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    {
        const auto area = open(plan, u"v1"_s);
        append(*area, "content");
        {
            const FailingStep failing(area->contentDirectory().native(), 0, EIO,
                                      FailingStep::Lasting::FromThereOn);
            EXPECT_TRUE(area->clear().hasError());
        }
        EXPECT_EQ(staged(*area), "content");
        area->saveRecord(); // as the end of the fetch does
    }
    EXPECT_EQ(staged(*open(plan, u"v1"_s)), "");
}

TEST_F(StagingAreaTest, keepIfSynced_success_keepsEveryByte)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    append(*area, "content");
    EXPECT_EQ(area->keepIfSynced({}), Error());
    EXPECT_EQ(staged(*area), "content");
}

TEST_F(StagingAreaTest, keepIfSynced_failure_dropsWhatWasCollectedAndHandsItOn)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    append(*area, "content");
    EXPECT_EQ(area->keepIfSynced(Error(ErrorCode::OperationFailed, u"lost"_s)).errorMessage(),
              u"lost"_s);
    EXPECT_EQ(staged(*area), "");
}

TEST_F(StagingAreaTest, giveRoomBack_volumeHasRoom_keepsEveryByte)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    append(*area, "content");
    EXPECT_FALSE(area->giveRoomBack(Error(SchemeErrors::noSpace, u"full"_s)));
    EXPECT_EQ(stagedBytes(*area), 7);
}

TEST_F(StagingAreaTest, requireSpace_moreThanThereIs_hasCode7)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    EXPECT_FALSE(area->requireSpace(1).hasError());
    const Error error = area->requireSpace(std::numeric_limits<qint64>::max());
    EXPECT_EQ(int(error.errorCode()), 7);
    EXPECT_TRUE(error.errorMessage().contains(u"share:/a"_s));
}

TEST_F(StagingAreaTest, record_tellsWhoFetchesWhat)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto area = open(plan, u"v1"_s);
    const QList<StagingRecord> records = StagingRecord::readAll(cache.dataDir());
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(records.first().referenceKey, plan.referenceKey);
    EXPECT_EQ(records.first().validator, u"v1"_s);
    EXPECT_TRUE(records.first().isBeingWritten());
}

namespace {

/// Staging on a volume of its own, as a link leads there.
class StagingAreaOnOtherVolumeTest : public StagingAreaTest
{
protected:
    void SetUp() override
    {
        if (!areOnTwoVolumes(otherVolume.path(), cache.baseDir()))
            GTEST_SKIP() << "no second volume to write to";
        ASSERT_TRUE(QFile::link(otherVolume.path(), planFor({}).stagingDirectory));
    }

    QTemporaryDir otherVolume { u"/dev/shm/zel-staging-XXXXXX"_s };
};

} // namespace

TEST_F(StagingAreaOnOtherVolumeTest, publish_file_isCopiedAndAppearsAsAWhole)
{
    const FetchPlan plan = planFor(u"share:/a"_s);
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    const Error error = area->publish();
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(readFile(plan.expectedPath), "content");
    EXPECT_TRUE(places().isEmpty());
    EXPECT_EQ(QFileInfo(plan.expectedPath)
                  .dir()
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList { u"run.raw"_s });
}

TEST_F(StagingAreaOnOtherVolumeTest, publish_folderOverLeftovers_replacesThem)
{
    const FetchPlan plan = planFor(u"share:/a"_s, u"run.d"_s);
    writeFile(plan.expectedPath + u"/old"_s, "old");
    const auto area = open(plan, u"v1"_s);
    writeFile(QString::fromStdString(area->mainPath()) + u"/sub/new"_s, "new");
    const Error error = area->publish();
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(readFile(plan.expectedPath + u"/sub/new"_s), "new");
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath + u"/old"_s));
    EXPECT_EQ(QFileInfo(plan.expectedPath)
                  .dir()
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList { u"run.d"_s });
}
