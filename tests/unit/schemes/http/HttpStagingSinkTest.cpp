#include "http/HttpStagingSink.h"

#include "../staging/StagingFixture.h"
#include "FileSteps.h"
#include "Task.h"

#include <mutex>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Watches what is known of the staged bytes when they are dropped.
class HttpStagingSinkTest : public StagingFixture, private FileStepWatcher
{
protected:
    static constexpr qsizetype manyBytes = 20 * 1024 * 1024; // some of them are synced on the way

    /// Writes so much that a part is on the disk, and that the record tells so.
    void fill(HttpStagingSink &sink)
    {
        ASSERT_TRUE(sink.open(state).hasValue());
        ASSERT_FALSE(sink.write(QByteArray(manyBytes, 'x')).hasError());
        ASSERT_FALSE(sink.readBack([](const char *, qint64) { return true; }).hasError());
    }
    qint64 vouchedBytes() const
    {
        return StagingRecord::readAll(cache.dataDir()).value(0).durableBytes;
    }
    void SetUp() override
    {
        state.etag = "\"1\"";
        watchFileSteps(this);
    }
    void TearDown() override { watchFileSteps(nullptr); }

    const FetchPlan plan = planFor(u"https://a/run.raw"_s);
    HttpRepresentation state;
    std::optional<qint64> vouchedAtDrop; ///< what a power cut leaves then of the record, at most

private:
    int before(const FileStep &step) override
    {
        const std::lock_guard guard(mutex);
        const QString path = QString::fromStdString(pathOf(step));
        if (step.kind == FileStep::Kind::Resize && path.contains(u"/content/"_s))
            vouchedAtDrop = mostOnDisk;
        return 0;
    }
    void after(const FileStep &step, ssize_t result) override
    {
        const std::lock_guard guard(mutex);
        const QString path = QString::fromStdString(pathOf(step));
        if (result == 0 && step.kind == FileStep::Kind::Sync && places().contains(path))
            mostOnDisk = vouchedBytes();
        else if (result == 0 && step.kind == FileStep::Kind::Rename)
            mostOnDisk = std::max(mostOnDisk, vouchedBytes());
    }

    std::mutex mutex;
    qint64 mostOnDisk = 0;
};

} // namespace

TEST_F(HttpStagingSinkTest, startAnew_bytesOnTheDisk_noRecordVouchesForThemAnyMore)
{
    Task task(nullptr);
    HttpStagingSink sink(plan, &task);
    fill(sink);
    ASSERT_FALSE(sink.startAnew().hasError());
    EXPECT_EQ(vouchedAtDrop, 0);
    ASSERT_FALSE(sink.write("new").hasError());
    ASSERT_FALSE(sink.publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "new");
}

TEST_F(HttpStagingSinkTest, open_moreIsHereThanThereIs_noRecordVouchesForItAnyMore)
{
    Task task(nullptr);
    HttpStagingSink sink(plan, &task);
    state.size = 100; // or so the server said
    fill(sink);
    sink.giveUp({});
    EXPECT_GT(vouchedBytes(), 0);
    EXPECT_EQ(sink.open(state).value(), 0);
    EXPECT_EQ(vouchedAtDrop, 0);
}
