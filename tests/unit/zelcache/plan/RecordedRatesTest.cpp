#include "plan/RecordedRates.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <filesystem>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 megabyte = 1'000'000;

class RecordedRatesTest : public testing::Test
{
protected:
    /// Writes down a fetch of so many bytes that took a second. The later one is the newer one.
    QString addFetch(const QString &host, qint64 bytes)
    {
        ContentManifest manifest;
        manifest.id = u"%1"_s.arg(++count);
        manifest.referenceKey = u"http://%1/run%2.raw"_s.arg(host).arg(count);
        manifest.name = "run.raw";
        manifest.scheme = u"http"_s;
        manifest.host = host;
        manifest.fetched = QDateTime::currentDateTimeUtc();
        manifest.fetchedBytes = bytes;
        manifest.fetchMilliseconds = 1000;
        EXPECT_FALSE(store.write(manifest).hasError());
        const QString path = store.pathFor(manifest.referenceKey);
        const auto start = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
        std::filesystem::last_write_time(path.toStdString(), start + std::chrono::seconds(count));
        return path;
    }

    QTemporaryDir directory;
    ManifestStore store { directory.filePath(u"Manifests"_s) };
    int count = 0;
};

} // namespace

TEST_F(RecordedRatesTest, recordedRates_noFetch_knowsNothing)
{
    EXPECT_TRUE(recordedRates(store, { u"a"_s }).isEmpty());
}

TEST_F(RecordedRatesTest, recordedRates_severalFetches_areTheMedianOfTheLatestOfEachHost)
{
    for (const qint64 bytes : { 900, 800, 700, 1, 5, 3, 2, 4 })
        addFetch(u"a:8080"_s, bytes * megabyte);
    addFetch(u"b"_s, 7 * megabyte);
    addFetch(u"c"_s, 8 * megabyte);
    const QHash<QString, qint64> expected { { u"a:8080"_s, 3 * megabyte },
                                            { u"b"_s, 7 * megabyte } };
    EXPECT_EQ(recordedRates(store, { u"a:8080"_s, u"b"_s, u"d"_s }), expected);
}

TEST_F(RecordedRatesTest, recordedRates_smallFetchesAndThoseWithoutAHost_tellNothing)
{
    addFetch(u"a"_s, 1000);
    addFetch(u"b"_s, 0);
    addFetch(u""_s, megabyte);
    EXPECT_TRUE(recordedRates(store, { u"a"_s, u"b"_s, u""_s }).isEmpty());
}

TEST_F(RecordedRatesTest, recordedRates_manyManifests_readsTheNewestOnly)
{
    addFetch(u"old"_s, megabyte);
    const QString newer = addFetch(u"newer"_s, megabyte);
    for (int i = 0; i < 63; ++i)
        addFetch(u"newest"_s, 2 * megabyte);
    EXPECT_EQ(recordedRates(store, { u"old"_s, u"newer"_s }).keys(), QStringList { u"newer"_s });
    EXPECT_TRUE(QFile::remove(newer));
    EXPECT_EQ(recordedRates(store, { u"old"_s }).keys(), QStringList { u"old"_s });
}

TEST_F(RecordedRatesTest, recordedRates_damagedAndHugeManifests_areLeftOut)
{
    addFetch(u"a"_s, megabyte);
    QFile huge(addFetch(u"a"_s, 50 * megabyte));
    ASSERT_TRUE(huge.open(QIODevice::Append));
    huge.write(QByteArray(9'000'000, ' '));
    huge.close();
    QFile damaged(addFetch(u"a"_s, 60 * megabyte));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("{");
    damaged.close();
    EXPECT_EQ(recordedRates(store, { u"a"_s }).value(u"a"_s), megabyte);
}

TEST_F(RecordedRatesTest, hostOf_key_isAsFetchesWriteItDown)
{
    EXPECT_EQ(hostOf(u"https://data.example.org:8443/runs/run1.raw"_s), u"data.example.org:8443"_s);
    EXPECT_EQ(hostOf(u"list+http://127.0.0.1/run.d/"_s), u"127.0.0.1"_s);
    EXPECT_EQ(hostOf(u"share:/mnt/lab/run1.d"_s), u""_s);
}

} // namespace zel::cli
