#include "WalFile.h"
#include "ZelcacheCli.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// What a get asks of the database and of the other programs, counted.
class GetCostCliTest : public ZelcacheCli
{
protected:
    /// Takes of semaphores by one get.
    int holdsOfGet(const QString &reference) const
    {
        const QString file = home.filePath(u"holds"_s);
        ProgramRun::Options options;
        options.environment = environment() + QStringList { u"ZEL_HOLDS_FILE="_s + file };
        ProgramRun run(QStringLiteral(COUNTED_ZELCACHE), inCache({ u"get"_s, reference }), options);
        EXPECT_EQ(run.exitCode(), 0) << run.errors().toStdString();
        return readFile(file).toInt();
    }
};

// Registering with the cache, using the resource, and taking both back. Four of the holds are of a
// cache that is not open: that of the sources, and the cache itself before its opening.
TEST_F(GetCostCliTest, get_hit_isThirteenHoldsAndFourCommits)
{
    const QString reference = sharedFile(u"run1.raw"_s, "content");
    ASSERT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    CacheDatabase database(cache.databasePath()); // keeps the journal of those that close
    database.value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    EXPECT_EQ(holdsOfGet(reference), 13);
    EXPECT_EQ(commitsInJournal(cache.databasePath()), 4);
}

} // namespace zel::test
