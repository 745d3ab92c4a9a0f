#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "Fate.h"
#include "FetchProcess.h"
#include "Proof.h"
#include "TemporaryCache.h"

#include <QDirIterator>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Kills a process before each single thing that it does to a file, and demands every time that the
/// next process finds a cache that works: at a fetch by a scheme that writes to the resource's
/// place itself, and at a purge. The steps are dealt out to several tests.
class SuddenDeathTest : public testing::TestWithParam<int>
{
protected:
    static constexpr int hands = 4;
    static constexpr int sourceSize = 10'000;

    /// Runs the attempt with step after step until one attempt survives.
    template<typename Attempt>
    void forEachStep(const Attempt &attempt)
    {
        int step = GetParam();
        int kills = 0;
        for (; !HasFailure() && attempt(step); ++kills)
            step += forProof(3, 1) * hands;
        EXPECT_GT(kills, 0) << "hardly anything was killed";
        recordFigure(u"kills"_s, kills);
        recordFigure(u"violations"_s, HasFailure() ? 1 : 0);
        if (HasFailure())
            std::cerr << "at step " << step << '\n';
    }

    /// A Ready resource of four bytes, used by nobody.
    static void fetch(CacheProcess &process, const QString &reference)
    {
        EXPECT_EQ(process.ask(u"add "_s + reference), u"ok"_s);
        EXPECT_EQ(process.ask(u"tryStartRetrieve "_s + reference), u"true"_s);
        EXPECT_EQ(process.ask(u"writeData %1 data"_s.arg(reference)), u"true"_s);
        EXPECT_EQ(process.ask(u"finalizeRetrieve "_s + reference), u"ok"_s);
        EXPECT_EQ(process.ask(u"dropHandle "_s + reference), u"true"_s);
    }

    static void letTimePass(const QString &databasePath)
    {
        CacheDatabase database(databasePath);
        const bool hasClients
            = database.value(u"SELECT COUNT(*) FROM sqlite_master WHERE name = 'Clients'"_s).toInt()
            > 0;
        if (hasClients)
            database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
    }
};

} // namespace

TEST_P(SuddenDeathTest, retrieve_killedAtEachStep_nextHasWholeData)
{
    forEachStep([](int step) {
        const TemporaryCache cache;
        const FetchSource source(cache.outside(u"source"_s), sourceSize);
        const QString path = cache.dataDir() + u"/test/a/data"_s;
        FetchProcess victim(cache.baseDir(), source, { u"test:a"_s }, { .dieAtFileStep = step });
        const bool wasKilled = fateOf(&victim) == Fate::Killed;
        if (QFile::exists(cache.databasePath()))
            letTimePass(cache.databasePath());

        FetchProcess next(cache.baseDir(), source, { u"test:a"_s });
        EXPECT_EQ(next.answer(), path);
        EXPECT_EQ(next.end(), 0);
        EXPECT_EQ(readFile(path), source.content());
        CacheDatabase database(cache.databasePath());
        EXPECT_EQ(database.status(u"test:a"_s), u"Ready"_s);
        EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
        EXPECT_EQ(database.value(u"SELECT currentSize FROM CacheMetadata"_s), sourceSize);
        return wasKilled;
    });
}

// Files go before the rows, and the rows in one transaction: until it is committed all of them say
// what was there before, and the next purge mends them.
TEST_P(SuddenDeathTest, purge_killedAtEachStep_nextPurgeMendsTheRows)
{
    const QStringList references { u"test:a"_s, u"test:b"_s, u"test:c"_s };
    forEachStep([&](int step) {
        const TemporaryCache cache;
        CacheProcess victim(cache.baseDir());
        for (const QString &reference : references)
            fetch(victim, reference);
        CacheProcess next(cache.baseDir());
        EXPECT_EQ(victim.ask(u"dieAtFileStep %1"_s.arg(step)), u"ok"_s);
        victim.send(u"setSizes 1 1"_s);
        victim.send(u"exit"_s);
        const bool wasKilled = fateOf(&victim) == Fate::Killed;

        CacheDatabase database(cache.databasePath());
        const QStringList statuses
            = database.column(u"SELECT DISTINCT status FROM CachedResources"_s);
        EXPECT_EQ(statuses.size(), 1) << qPrintable(statuses.join(u' '));
        const int left = statuses.contains(u"Ready"_s) ? 12 : 0;
        EXPECT_EQ(next.ask(u"readCurrentCacheSize"_s).toInt(), left);

        // The semaphore is free, and what is half gone is mended.
        EXPECT_EQ(next.ask(u"setSizes 1 1"_s), u"ok"_s);
        for (const QString &reference : references)
            EXPECT_EQ(next.ask(u"readStatus "_s + reference), u"Missing"_s);
        // An empty folder may stay; the next fetch of its resource takes it.
        QDirIterator files(cache.dataDir(), QDir::Files, QDirIterator::Subdirectories);
        EXPECT_FALSE(files.hasNext());
        return wasKilled;
    });
}

INSTANTIATE_TEST_SUITE_P(Hands, SuddenDeathTest, testing::Range(0, 4));
