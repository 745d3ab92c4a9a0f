#include "StagingFixture.h"

#include "Task.h"
#include "staging/TransferProgress.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TransferProgressTest : public StagingFixture
{
protected:
    void SetUp() override { area = open(planFor(u"share:/a"_s), u"v1"_s); }

    StagingRecord written() const { return StagingRecord::readAll(cache.dataDir()).value(0); }

    Task task { nullptr };
    std::unique_ptr<StagingArea> area;
};

} // namespace

TEST_F(TransferProgressTest, shiftFor_anyTotal_fits32Bits)
{
    EXPECT_EQ(TransferProgress::shiftFor(0), 0);
    EXPECT_EQ(TransferProgress::shiftFor(1'000'000'000), 0);
    for (const qint64 total : { 80'000'000'000ll, std::numeric_limits<qint64>::max() }) {
        const int shift = TransferProgress::shiftFor(total);
        EXPECT_LE(total >> shift, std::numeric_limits<int>::max());
        EXPECT_GT(total >> shift, 1'000'000);
    }
}

TEST_F(TransferProgressTest, begin_and_end_tellTaskAndRecord)
{
    QSignalSpy initiated(&task, &Task::progressInitiated);
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    progress.begin(10, 100);
    EXPECT_EQ(initiated.size(), 1);
    EXPECT_EQ(written().bytes, 10);
    EXPECT_EQ(written().totalBytes, 100);

    progress.advance(100, 60);
    progress.end();
    EXPECT_EQ(told.last().at(0).toInt(), 100);
    EXPECT_EQ(told.last().at(1).toInt(), 100);
    EXPECT_EQ(written().bytes, 100);
    EXPECT_EQ(written().durableBytes, 60);
}

TEST_F(TransferProgressTest, endWhole_rightAfterTheBegin_tellsTheTaskOnly)
{
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    progress.begin(10, 100);
    progress.advance(100, 100);
    progress.endWhole();
    EXPECT_EQ(told.last().at(0).toInt(), 100);
    EXPECT_EQ(written().bytes, 10);
}

TEST_F(TransferProgressTest, advance_veryOften_tellsRarely)
{
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    progress.begin(0, 1'000'000);
    for (int i = 0; i < 100'000; ++i)
        progress.advance(i, 0);
    EXPECT_LT(told.size(), 1000);
}

TEST_F(TransferProgressTest, total_of80GigaBytes_endsAtItsMaximum)
{
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    const qint64 total = 80'000'000'000;
    progress.begin(total / 2, total);
    const double half = told.last().at(0).toDouble() / told.last().at(1).toDouble();
    EXPECT_NEAR(half, 0.5, 1e-6);
    progress.advance(total, total);
    progress.end();
    EXPECT_EQ(told.last().at(0).toInt(), told.last().at(1).toInt());
    EXPECT_EQ(written().bytes, total);
}

TEST_F(TransferProgressTest, unknownTotal_showsNoProgress)
{
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    progress.begin(0, std::nullopt);
    progress.advance(5, 0);
    progress.end();
    EXPECT_TRUE(told.isEmpty());
    EXPECT_EQ(written().bytes, 5);
    EXPECT_EQ(written().totalBytes, std::nullopt);
}

TEST_F(TransferProgressTest, moreThanTheTotal_isShownAsTheTotal)
{
    QSignalSpy told(&task, &Task::progress);
    TransferProgress progress(&task, area.get());
    progress.begin(0, 10);
    progress.advance(50, 0);
    progress.end();
    EXPECT_EQ(told.last().at(0).toInt(), 10);
}
