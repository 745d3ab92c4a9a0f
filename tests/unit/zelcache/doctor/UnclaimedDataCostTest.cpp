#include "doctor/UnclaimedData.h"

#include "FileLooks.h"
#include "FileSteps.h"
#include "ResourceCache.h"
#include "TemporaryCache.h"

#include <QDir>

#include <map>

using namespace zel;
using namespace zel::cli;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Counts what is changed, by its kind.
class ChangeCounter final : public FileStepWatcher
{
public:
    ChangeCounter() { watchFileSteps(this); }
    ~ChangeCounter() override { watchFileSteps(nullptr); }

    int before(const FileStep &) override { return 0; }
    /// What fails has changed nothing.
    void after(const FileStep &step, ssize_t result) override
    {
        if (result >= 0 && changesFiles(step))
            ++counts[step.kind];
    }

    std::map<FileStep::Kind, int> counts;
};

struct Cost
{
    std::map<FileStep::Kind, int> changes;
    FileLooks looks;
};

/// What the removal of many leftovers asks of the file system and of the database.
class UnclaimedDataCostTest : public testing::Test
{
protected:
    UnclaimedDataCostTest()
    {
        settings.cachePath.setBaseDirPath(cache.baseDir());
        ResourceCache maker;
        EXPECT_FALSE(maker.open(settings.cachePath, settings.sizes).hasError());
    }

    Cost costOf(int count)
    {
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            paths.append(cache.dataDir() + u"/share/1/.leftover-%1"_s.arg(i));
            writeFile(paths.last() + u"/run.raw"_s, "data");
        }
        ChangeCounter counter;
        startCounting();
        const QList<Error> outcomes = removeUnclaimed(paths, settings, {}, [] { return false; });
        const FileLooks looks = stopCounting();
        for (const Error &outcome : outcomes)
            EXPECT_FALSE(outcome.hasError()) << outcome.description().toStdString();
        EXPECT_TRUE(QDir(cache.dataDir() + u"/share/1"_s)
                        .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
        return { counter.counts, looks };
    }

    TemporaryCache cache;
    ResourceManagerSettings settings;
};

} // namespace

TEST_F(UnclaimedDataCostTest, removeUnclaimed_eachLeftover_isMovedAndRemovedWithoutASync)
{
    using Kind = FileStep::Kind;
    constexpr int count = 100;
    std::map<Kind, int> changes = costOf(count).changes;
    EXPECT_EQ(changes[Kind::Rename], count);
    EXPECT_EQ(changes[Kind::Unlink], count);
    EXPECT_EQ(changes[Kind::RemoveFolder], count);
    EXPECT_EQ(changes[Kind::Sync] + changes[Kind::SyncFileSystem], 0);
}

TEST_F(UnclaimedDataCostTest, removeUnclaimed_tenTimesAsMany_looksTenTimesAsOften)
{
    Cost ofFew = costOf(100);
    Cost ofMany = costOf(1000);
    const FileLooks few = ofFew.looks;
    const FileLooks many = ofMany.looks;
    // The files that readers of the database share; there is no row to write.
    EXPECT_LE(ofMany.changes[FileStep::Kind::Write], ofFew.changes[FileStep::Kind::Write]);
    EXPECT_GT(few.states, 100);
    // A few are made for the database, however many leftovers there are.
    EXPECT_LE(many.states, 10 * few.states);
    EXPECT_LE(many.entries, 10 * few.entries);
    EXPECT_LE(many.glances, 10 * few.glances);
}
