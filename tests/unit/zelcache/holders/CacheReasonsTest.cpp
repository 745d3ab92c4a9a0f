#include "holders/CacheReasons.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;

/// Process 109 was started just now; there is no process from 110 on.
ProcessSight sightOf(qint64 processId)
{
    if (processId >= 109)
        return { processId == 109 ? std::optional(now - 100) : std::nullopt, {}, {} };
    return { now - 3'600'000, u"viewer"_s, {} };
}

void add(ResourceCacheReader::Snapshot &snapshot, const QString &reference, qint64 size)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.hasPath = true;
    made.size = size;
    made.status = ResourceStatus::Ready;
    made.lastAccess = snapshot.resources.size();
    snapshot.resources.append(made);
    snapshot.currentSize += size;
}

void use(ResourceCacheReader::Snapshot &snapshot, const QString &reference, qint64 client)
{
    snapshot.usages.append({ reference, client, 100 + client });
}

/// 1000 bytes: "a" 400, "b" 300, "c" 200, "d" 100; three clients that use nothing.
ResourceCacheReader::Snapshot filled()
{
    ResourceCacheReader::Snapshot snapshot;
    add(snapshot, u"a"_s, 400);
    add(snapshot, u"b"_s, 300);
    add(snapshot, u"c"_s, 200);
    add(snapshot, u"d"_s, 100);
    for (const qint64 client : { 1, 2, 3 })
        snapshot.clients.append({ client, 100 + client, now - 1000 });
    return snapshot;
}

CacheReasons reasonsFor(const ResourceCacheReader::Snapshot &snapshot, qint64 optimal)
{
    return cacheReasons(snapshot, { optimal, 5000 }, now, sightOf);
}

} // namespace

TEST(CacheReasonsTest, cacheReasons_atTheOptimalSize_isWithin)
{
    const CacheReasons reasons = reasonsFor(filled(), 1000);
    EXPECT_EQ(cacheReasonLines(reasons),
              QStringList { u"1000 B of 1000 B: the cache is within its sizes."_s });
    EXPECT_EQ(cacheReasonsJson(reasons).value(u"verdict"_s).toString(), u"within"_s);
}

TEST(CacheReasonsTest, cacheReasons_nothingUsed_aPurgeSuffices)
{
    const CacheReasons reasons = reasonsFor(filled(), 900);
    EXPECT_TRUE(reasons.purgeSuffices());
    EXPECT_TRUE(reasons.closing.isEmpty());
    EXPECT_EQ(cacheReasonLines(reasons),
              (QStringList { u"100 B over the optimal size of 900 B."_s,
                             u"A purge would take 1 resource now, 400 B, and leave 600 B; its "
                             "target is 810 B."_s }));
    EXPECT_EQ(cacheReasonsJson(reasons).value(u"verdict"_s).toString(), u"purgeSuffices"_s);
}

TEST(CacheReasonsTest, cacheReasons_oneProgramHoldsTooMuch_itsEndIsEnough)
{
    auto snapshot = filled();
    use(snapshot, u"a"_s, 1);
    use(snapshot, u"b"_s, 1);
    use(snapshot, u"b"_s, 1);
    use(snapshot, u"c"_s, 2);
    const CacheReasons reasons = reasonsFor(snapshot, 500);
    EXPECT_EQ(reasons.closing, QList<qint64> { 101 });
    EXPECT_EQ(cacheReasonLines(reasons),
              (QStringList { u"500 B over the optimal size of 500 B."_s,
                             u"A purge would take 1 resource now, 100 B, and leave 900 B; its "
                             "target is 450 B."_s,
                             u"  700 B in 2 resources held by process 101 (viewer), last ping "
                             "0:01 ago"_s,
                             u"  200 B in 1 resource held by process 102 (viewer), last ping "
                             "0:01 ago"_s,
                             u"Closing process 101 (viewer) lets the purge reach its target."_s }));
    const QJsonArray holders = cacheReasonsJson(reasons).value(u"holders"_s).toArray();
    EXPECT_TRUE(holders.at(0).toObject().value(u"closing"_s).toBool());
    EXPECT_FALSE(holders.at(1).toObject().value(u"closing"_s).toBool());
}

TEST(CacheReasonsTest, cacheReasons_smallerHolderIsEnough_isNamedWhereTheLargestIsNot)
{
    auto snapshot = filled();
    for (const qint64 client : { 1, 3 })
        use(snapshot, u"a"_s, client); // shared: the end of one of them frees nothing
    use(snapshot, u"b"_s, 2);
    EXPECT_EQ(reasonsFor(snapshot, 600).closing, QList<qint64> { 102 });
}

TEST(CacheReasonsTest, cacheReasons_noSingleOneIsEnough_thoseThatHoldTheMostAreNamed)
{
    auto snapshot = filled();
    use(snapshot, u"a"_s, 1);
    use(snapshot, u"b"_s, 2);
    use(snapshot, u"c"_s, 3);
    const CacheReasons reasons = reasonsFor(snapshot, 300);
    EXPECT_EQ(reasons.closing, (QList<qint64> { 101, 102 }));
    EXPECT_EQ(cacheReasonLines(reasons).last(),
              u"Closing process 101 (viewer) and process 102 (viewer) lets the purge reach its "
              "target."_s);
}

TEST(CacheReasonsTest, cacheReasons_deadHolder_isWaitedForAndNotClosed)
{
    auto snapshot = filled();
    snapshot.clients.append({ 10, 110, now - 5000 });
    use(snapshot, u"a"_s, 10);
    const CacheReasons reasons = reasonsFor(snapshot, 400);
    EXPECT_TRUE(reasons.closing.isEmpty());
    const QStringList lines = cacheReasonLines(reasons);
    EXPECT_EQ(lines.at(2),
              u"  400 B in 1 resource held by process 110, dead or not to be seen from here, last "
              "ping 0:05 ago; without a ping it stops counting in 26 s"_s);
    EXPECT_EQ(lines.last(),
              u"The purge reaches its target once what is not alive has stopped counting."_s);
    const QJsonObject holder = cacheReasonsJson(reasons).value(u"holders"_s)[0].toObject();
    EXPECT_FALSE(holder.value(u"closing"_s).toBool(true));
    EXPECT_EQ(holder.value(u"countsUntil"_s).toInteger(), now + 25'000);
}

TEST(CacheReasonsTest, cacheReasons_livingAndReusedHolders_theLivingOneAloneIsClosed)
{
    auto snapshot = filled();
    snapshot.clients.append({ 9, 109, now - 5000 });
    use(snapshot, u"a"_s, 9);
    use(snapshot, u"b"_s, 1);
    const CacheReasons reasons = reasonsFor(snapshot, 300);
    EXPECT_EQ(reasons.closing, QList<qint64> { 101 });
    EXPECT_EQ(cacheReasonLines(reasons).last(),
              u"Once what is not alive has stopped counting, closing process 101 (viewer) lets the "
              "purge reach its target."_s);
    EXPECT_TRUE(cacheReasonsJson(reasons).value(u"holders"_s)[1][u"countsUntil"_s].isNull());

    // Here nobody has to wait.
    EXPECT_EQ(cacheReasonLines(reasonsFor(snapshot, 620)).last(),
              u"The purge reaches its target once what is not alive has stopped counting."_s);
}

TEST(CacheReasonsTest, cacheReasons_userSilentForLong_holdsNothing)
{
    auto snapshot = filled();
    use(snapshot, u"a"_s, 1);
    snapshot.clients[0].lastPing = now - 31'000;
    const CacheReasons reasons = reasonsFor(snapshot, 700);
    EXPECT_TRUE(reasons.pinning.isEmpty());
    EXPECT_TRUE(reasons.purgeSuffices());
}

TEST(CacheReasonsTest, cacheReasons_fetchesAndUnknownSizes_areToldAboveTheOptimum)
{
    auto snapshot = filled();
    add(snapshot, u"unknown"_s, 0);
    snapshot.acquiringTasks.append({ u"e"_s, 2, 102, 40 });
    snapshot.acquiringTasks.append({ u"e"_s, 3, 103, std::nullopt });
    const CacheReasons reasons = reasonsFor(snapshot, 900);
    const QStringList lines = cacheReasonLines(reasons);
    EXPECT_TRUE(
        lines.contains(u"  e is being fetched by process 102 (viewer), last ping 0:01 ago"_s));
    EXPECT_TRUE(lines.contains(u"  1 resource of unknown size, which no purge takes"_s));
    const QJsonObject json = cacheReasonsJson(reasons);
    EXPECT_EQ(json.value(u"fetches"_s).toArray().size(), 1);
    EXPECT_EQ(json.value(u"sizeUnknown"_s).toInt(), 1);
}

TEST(CacheReasonsTest, cacheReasons_nothingToFree_saysSo)
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.currentSize = 6000; // as a damaged sum would be
    EXPECT_EQ(cacheReasonLines(reasonsFor(snapshot, 900)),
              (QStringList { u"5.0 KiB over the optimal size of 900 B. The maximum of 4.9 KiB is "
                             "exceeded too."_s,
                             u"A purge could free nothing now."_s,
                             u"No program whose end would let the purge reach its target can be "
                             "told."_s }));
}

} // namespace zel::cli
