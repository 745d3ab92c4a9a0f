#include "StagingFixture.h"

#include "FileSteps.h"
#include "SchemeErrors.h"
#include "platform/ChildProcess.h"

#include <cerrno>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Each sync is a wait for the disk. One is needed where a record that a power cut brings back
/// would vouch for bytes that came after it.
class StagingAreaCostTest : public StagingFixture, private FileStepWatcher
{
protected:
    void SetUp() override
    {
        area = open(plan, u"v1"_s);
        append(*area, "0123456789");
        area->record().durableBytes = 10;
        area->saveRecord();
        watchFileSteps(this);
    }
    void TearDown() override { watchFileSteps(nullptr); }

    QString folder() { return places().value(0); }
    qint64 vouchedBytes()
    {
        const auto record = StagingRecord::read(StagingFolder::recordPath(folder()));
        return record.hasValue() ? record.value().durableBytes : -1;
    }
    void expectRecordOnTheDisk(qint64 durableBytes)
    {
        EXPECT_EQ(vouchedBytes(), durableBytes);
        ASSERT_EQ(synced.size(), 2) << synced.join(u'\n').toStdString();
        EXPECT_EQ(QFileInfo(synced.at(0)).path(), folder()); // the file
        EXPECT_EQ(synced.at(1), folder()); // its name
    }

    const FetchPlan plan = planFor(u"share:/a"_s);
    std::unique_ptr<StagingArea> area;
    QStringList synced; ///< paths, in their order
    QStringList madeFolders;
    bool isFull = false; ///< nothing more can be written

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Sync)
            synced << QString::fromStdString(pathOf(step));
        if (step.kind == FileStep::Kind::MakeFolder)
            madeFolders << QString::fromStdString(pathOf(step));
        return isFull && step.kind == FileStep::Kind::Write ? ENOSPC : 0;
    }
};

} // namespace

TEST_F(StagingAreaCostTest, saveRecord_asManyDurableBytesOrMore_doesNotWait)
{
    area->saveRecord();
    area->record().durableBytes = 11;
    area->saveRecord();
    area->trustAtMost(11);
    EXPECT_EQ(vouchedBytes(), 11);
    EXPECT_TRUE(synced.isEmpty());
}

TEST_F(StagingAreaCostTest, trustAtMost_fewerBytes_waitsForTheRecordAndItsName)
{
    area->trustAtMost(4);
    expectRecordOnTheDisk(4);
    area->saveRecord();
    EXPECT_EQ(synced.size(), 2);
}

TEST_F(StagingAreaCostTest, clear_always_waitsForTheRecordAndItsName)
{
    EXPECT_FALSE(area->clear().hasError());
    expectRecordOnTheDisk(0);
}

TEST_F(StagingAreaCostTest, trustAtMost_volumeIsFull_leavesNoRecord)
{
    isFull = true;
    area->trustAtMost(4);
    EXPECT_EQ(vouchedBytes(), -1);
    EXPECT_EQ(synced.value(synced.size() - 1), folder());
    isFull = false;
    area->saveRecord();
    EXPECT_EQ(vouchedBytes(), 4);
}

TEST_F(StagingAreaCostTest, open_placeIsNew_makesItsFoldersOnce)
{
    const auto other = open(planFor(u"share:/b"_s), u"v1"_s);
    const QString content = QString::fromStdString(other->contentDirectory().native());
    EXPECT_EQ(madeFolders.count(content), 1) << madeFolders.join(u'\n').toStdString();
}

// As a program leaves it that died after it gave room back.
TEST_F(StagingAreaCostTest, open_lessIsHereThanTheRecordSays_waitsForOneThatSaysSo)
{
    ASSERT_FALSE(area->openMainFile().value()->truncate(4).hasError());
    area.reset();
    area = open(plan, u"v1"_s);
    expectRecordOnTheDisk(4);
}

TEST_F(StagingAreaCostTest, open_allIsHereThatTheRecordSays_doesNotWait)
{
    area.reset();
    area = open(plan, u"v1"_s);
    EXPECT_EQ(vouchedBytes(), 10);
    EXPECT_TRUE(synced.isEmpty());
}

TEST_F(StagingAreaCostTest, giveRoomBack_durableBytesGo_waitsForTheRecordAndItsName)
{
    area.reset();
    constexpr qint64 smallVolume = 1'000'000; // less than is to stay free
    const auto isRight = withVolumeAt(QFile::encodeName(cache.baseDir()), smallVolume, [this] {
        area = open(plan, u"v1"_s);
        append(*area, "0123456789");
        area->record().bytes = 10;
        area->record().durableBytes = 10;
        area->saveRecord();
        synced.clear();
        const bool wentForAnythingElse = area->giveRoomBack(Error(ErrorCode::Canceled));
        const bool went = area->giveRoomBack(Error(SchemeErrors::noSpace, u"full"_s));
        return !wentForAnythingElse && went && stagedBytes(*area) == 0 && vouchedBytes() == 0
            && synced.size() == 2 && synced.at(1) == folder();
    });
    if (!isRight)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isRight);
}
