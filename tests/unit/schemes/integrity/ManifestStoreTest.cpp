#include "integrity/ManifestStore.h"
#include "FileSteps.h"
#include "ManifestSample.h"
#include "TemporaryCache.h"
#include "WaitUntil.h"
#include "platform/FileLock.h"

#include <QDir>

#include <atomic>
#include <future>

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ManifestStoreTest : public ::testing::Test
{
protected:
    QStringList files() const
    {
        return QDir(store.directory()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    int failureOf(const QString &key) const
    {
        const auto read = store.read(key);
        return read.hasValue() ? 0 : int(read.error().errorCode());
    }

    TemporaryCache cache;
    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
    const ContentManifest sample = sampleManifest();
};

/// Looks at each step of a kind whether somebody has his turn.
class TurnWatcher final : public FileStepWatcher
{
public:
    explicit TurnWatcher(const QString &folder)
        : lockFile(folder + u"/.lock"_s)
    {
        watchFileSteps(this);
    }
    ~TurnWatcher() override { watchFileSteps(nullptr); }
    TurnWatcher(const TurnWatcher &) = delete;
    TurnWatcher &operator=(const TurnWatcher &) = delete;

    QMap<FileStep::Kind, QList<bool>> isTaken;

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Sync || step.kind == FileStep::Kind::Rename)
            isTaken[step.kind] << (FileLock(lockFile).state() == FileLock::State::Busy);
        return 0;
    }

    const QString lockFile;
};

/// Waits for somebody who wants his turn while another has it.
class TurnSeeker final : public FileStepWatcher
{
public:
    TurnSeeker() { watchFileSteps(this); }
    ~TurnSeeker() override { watchFileSteps(nullptr); }
    TurnSeeker(const TurnSeeker &) = delete;
    TurnSeeker &operator=(const TurnSeeker &) = delete;

    /// Has looked once and found it taken, since he looks again.
    bool isSeen() const
    {
        return waitUntil([this] { return looks > 1; });
    }

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Open && pathOf(step).ends_with("/.lock"))
            ++looks;
        return 0;
    }

    std::atomic<int> looks = 0;
};

/// Counts how often manifests are opened and read.
class ReadingCounter final : public FileStepWatcher
{
public:
    ReadingCounter() { watchFileSteps(this); }
    ~ReadingCounter() override { watchFileSteps(nullptr); }
    ReadingCounter(const ReadingCounter &) = delete;
    ReadingCounter &operator=(const ReadingCounter &) = delete;

    int opens = 0;
    int reads = 0;

private:
    int before(const FileStep &step) override
    {
        const bool isOfManifest = pathOf(step).ends_with(".json");
        opens += isOfManifest && step.kind == FileStep::Kind::Open ? 1 : 0;
        reads += isOfManifest && step.kind == FileStep::Kind::Read ? 1 : 0;
        return 0;
    }
};

} // namespace

TEST_F(ManifestStoreTest, read_nothingThere_isNoValueAndMakesNothing)
{
    const auto read = store.read(sample.referenceKey);
    ASSERT_TRUE(read.hasValue());
    EXPECT_FALSE(read.value());
    EXPECT_TRUE(store.paths().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(store.directory()));
}

TEST_F(ManifestStoreTest, write_manifest_isReadBackAndNothingElseIsLeft)
{
    ASSERT_FALSE(store.write(sample).hasError());
    EXPECT_EQ(QFileInfo(store.directory()).absolutePath(),
              QFileInfo(cache.dataDir()).absolutePath());
    ASSERT_TRUE(store.read(sample.referenceKey).value());
    EXPECT_EQ(*store.read(sample.referenceKey).value(), sample);
    EXPECT_EQ(files().size(), 1);
    EXPECT_EQ(store.paths(), QStringList { store.pathFor(sample.referenceKey) });
}

TEST_F(ManifestStoreTest, write_again_replaces)
{
    ASSERT_FALSE(store.write(sample).hasError());
    ContentManifest other = sample;
    other.id = u"4567"_s;
    ASSERT_FALSE(store.write(other).hasError());
    EXPECT_EQ(store.read(sample.referenceKey).value()->id, u"4567"_s);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ManifestStoreTest, write_waitsForTheDisk_othersHaveTheirTurnMeanwhile)
{
    const QMap<FileStep::Kind, QList<bool>> onlyToRename { { FileStep::Kind::Sync, { false } },
                                                           { FileStep::Kind::Rename, { true } } };
    for (int i = 0; i < 2; ++i) {
        TurnWatcher watcher(store.directory());
        ASSERT_FALSE(i == 0 ? store.write(sample).hasError()
                            : !store.writeIfSameFetch(sample).value());
        EXPECT_EQ(watcher.isTaken, onlyToRename) << i;
    }
}

TEST_F(ManifestStoreTest, write_nameIsTaken_failsAndLeavesNothingHalf)
{
    ASSERT_TRUE(QDir().mkpath(store.pathFor(sample.referenceKey) + u"/in the way"_s));
    const Error error = store.write(sample);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ManifestStoreTest, write_folderIsAFile_failsAndLeavesIt)
{
    writeFile(store.directory(), "in the way");
    EXPECT_TRUE(store.write(sample).hasError());
    EXPECT_EQ(readFile(store.directory()), "in the way");
}

TEST_F(ManifestStoreTest, read_hostileFiles_areErrors)
{
    const QString path = store.pathFor(sample.referenceKey);
    for (const QByteArray &content :
         { QByteArray(), QByteArray("nonsense"), QByteArray("{\"format\":1}"),
           sampleManifest(u"share:/other"_s).toJson() }) {
        writeFile(path, content);
        EXPECT_EQ(failureOf(sample.referenceKey), 4) << content.left(40).toStdString();
    }
}

TEST_F(ManifestStoreTest, read_oversized_isCode4)
{
    const QString path = store.pathFor(sample.referenceKey);
    writeFile(path, sample.toJson());
    ASSERT_TRUE(QFile::resize(path, ManifestStore::mostBytes + 1));
    EXPECT_EQ(failureOf(sample.referenceKey), 4);
}

TEST_F(ManifestStoreTest, read_whatIsNoFile_isCode1AndDoesNotWait)
{
    const QString path = store.pathFor(sample.referenceKey);
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_EQ(failureOf(sample.referenceKey), 1);
    ASSERT_TRUE(QDir().rmdir(path));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    EXPECT_EQ(failureOf(sample.referenceKey), 1);
    ASSERT_TRUE(QFile::remove(path));
    writeFile(cache.outside(u"elsewhere.json"_s), sample.toJson());
    ASSERT_TRUE(QFile::link(cache.outside(u"elsewhere.json"_s), path));
    EXPECT_EQ(failureOf(sample.referenceKey), 1);
}

TEST_F(ManifestStoreTest, read_linkThatLeadsNowhere_isNoValue)
{
    ASSERT_TRUE(QDir().mkpath(store.directory()));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, store.pathFor(sample.referenceKey)));
    const auto read = store.read(sample.referenceKey);
    ASSERT_TRUE(read.hasValue());
    EXPECT_FALSE(read.value());
}

TEST_F(ManifestStoreTest, read_manifest_isOneOpeningAndOneReading)
{
    ASSERT_FALSE(store.write(sample).hasError());
    ReadingCounter counter;
    EXPECT_TRUE(store.read(sample.referenceKey).value());
    EXPECT_EQ(counter.opens, 1);
    EXPECT_EQ(counter.reads, 1);
}

TEST_F(ManifestStoreTest, failures_manifests_areOpenedAndReadOnce)
{
    constexpr int count = 5;
    for (int i = 0; i < count; ++i)
        ASSERT_FALSE(store.write(sampleManifest(u"share:/%1"_s.arg(i))).hasError());
    ReadingCounter counter;
    EXPECT_TRUE(store.failures().isEmpty());
    EXPECT_EQ(counter.opens, count);
    EXPECT_EQ(counter.reads, count);
}

TEST_F(ManifestStoreTest, failures_whatIsNoManifest_isTold)
{
    ASSERT_FALSE(store.write(sample).hasError());
    const QString folder = store.directory();
    ASSERT_TRUE(QFile::copy(store.pathFor(sample.referenceKey), folder + u"/copy.json"_s));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, folder + u"/link.json"_s));
    ASSERT_TRUE(QDir().mkpath(folder + u"/folder.JSON"_s));
    writeFile(folder + u"/.hidden.json"_s, "nonsense");
    writeFile(folder + u"/other"_s, "nonsense");
    EXPECT_EQ(store.failures().keys(),
              QStringList({ folder + u"/copy.json"_s, folder + u"/folder.JSON"_s,
                            folder + u"/link.json"_s }));
    EXPECT_EQ(store.paths().size(), 2) << "those that are files";
}

TEST_F(ManifestStoreTest, writeIfSameFetch_otherFetchMeanwhile_doesNothing)
{
    ContentManifest newer = sample;
    newer.id = u"4567"_s;
    ASSERT_FALSE(store.write(newer).hasError());
    EXPECT_FALSE(store.writeIfSameFetch(sample).value());
    EXPECT_EQ(*store.read(sample.referenceKey).value(), newer);
    newer.files.first().isChecked = false;
    EXPECT_TRUE(store.writeIfSameFetch(newer).value());
    EXPECT_EQ(*store.read(sample.referenceKey).value(), newer);
}

TEST_F(ManifestStoreTest, writeIfSameFetch_manifestIsGone_makesNone)
{
    EXPECT_FALSE(store.writeIfSameFetch(sample).value());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(ManifestStoreTest, writeIfSameFetch_fetchIsJustWriting_waitsForItsTurnAndLooksThen)
{
    ASSERT_FALSE(store.write(sample).hasError());
    ContentManifest newer = sample;
    newer.id = u"4567"_s;
    std::optional<FileLock> fetch(store.directory() + u"/.lock"_s);
    TurnSeeker seeker;
    auto verification
        = std::async(std::launch::async, [this] { return store.writeIfSameFetch(sample); });
    EXPECT_TRUE(seeker.isSeen());
    writeFile(store.pathFor(sample.referenceKey), newer.toJson());
    fetch.reset();
    EXPECT_FALSE(verification.get().value());
    EXPECT_EQ(*store.read(sample.referenceKey).value(), newer);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ManifestStoreTest, write_othersAreStuck_goesOnWithoutThem)
{
    ASSERT_FALSE(store.write(sample).hasError());
    const FileLock stuck(store.directory() + u"/.lock"_s);
    ASSERT_TRUE(stuck.isHeld()) << "the store must use this lock";
    ContentManifest newer = sample;
    newer.id = u"4567"_s;
    EXPECT_FALSE(store.write(newer).hasError());
    EXPECT_EQ(*store.read(sample.referenceKey).value(), newer);
}

TEST_F(ManifestStoreTest, removeIfSameFetch_otherFetchMeanwhile_leavesIt)
{
    ContentManifest newer = sample;
    newer.id = u"4567"_s;
    ASSERT_FALSE(store.write(newer).hasError());
    EXPECT_FALSE(store.removeIfSameFetch(sample).value());
    EXPECT_EQ(files().size(), 1);
    EXPECT_TRUE(store.removeIfSameFetch(newer).value());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(ManifestStoreTest, removeIfOlder_writtenSince_leavesIt)
{
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-60);
    ASSERT_FALSE(store.write(sample).hasError());
    const QString path = store.pathFor(sample.referenceKey);
    EXPECT_FALSE(store.removeIfOlder(path, before).value());
    EXPECT_EQ(files().size(), 1);
    EXPECT_TRUE(store.removeIfOlder(path, before.addSecs(120)).value());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(ManifestStoreTest, setComparedLast_isKeptAndIsNoManifest)
{
    EXPECT_EQ(store.comparedLast(), QString());
    ASSERT_FALSE(store.setComparedLast(u"share:/a"_s).hasError());
    EXPECT_FALSE(QFile::exists(store.directory())) << "there is nothing to go on with";
    ASSERT_FALSE(store.write(sample).hasError());
    ASSERT_FALSE(store.setComparedLast(u"share:/ä"_s).hasError());
    EXPECT_EQ(store.comparedLast(), u"share:/ä"_s);
    EXPECT_EQ(store.paths().size(), 1);
}

TEST_F(ManifestStoreTest, remove_twice_isASuccess)
{
    ASSERT_FALSE(store.write(sample).hasError());
    EXPECT_FALSE(store.remove(sample.referenceKey).hasError());
    EXPECT_TRUE(files().isEmpty());
    EXPECT_FALSE(store.remove(sample.referenceKey).hasError());
}

TEST_F(ManifestStoreTest, removeRemains_ofAKilledProgram_goAfterADay)
{
    const auto remains = [this](QChar digit) {
        return store.pathFor(sample.referenceKey) + u'.' + QString(32, digit) + u".new"_s;
    };
    const QString old = remains(u'1');
    const QString young = remains(u'2');
    const QString foreign = store.directory() + u"/somebodys.new"_s;
    for (const QString &path : { old, young, foreign })
        writeFile(path, "half");
    for (const QString &path : { old, foreign }) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-2),
                                     QFileDevice::FileModificationTime));
    }
    EXPECT_TRUE(store.paths().isEmpty());
    EXPECT_TRUE(QFileInfo::exists(old));
    store.removeRemains();
    EXPECT_FALSE(QFileInfo::exists(old));
    EXPECT_TRUE(QFileInfo::exists(young));
    EXPECT_TRUE(QFileInfo::exists(foreign));
}
