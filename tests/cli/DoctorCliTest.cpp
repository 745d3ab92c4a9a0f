#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QSystemSemaphore>

#include <csignal>
#include <filesystem>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A number that no process has.
constexpr qint64 nobody = 2'147'483'000;

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

/// Of this process, in ticks since the machine started.
QString startOfThis()
{
    const QByteArray status = readFile(u"/proc/self/stat"_s);
    constexpr qsizetype startField = 22 - 3; // behind the name, which may hold blanks
    return QString::fromLatin1(
        status.mid(status.lastIndexOf(')') + 2).split(' ').value(startField));
}

} // namespace

/// A cache with two resources that are Ready.
class DoctorCliTest : public RemovalCli
{
public:
    void SetUp() override
    {
        // Below the size of any volume.
        writeFile(settingsPath(), settingsWith(1'000'000, 2'000'000));
        references = fill({ 1000, 2000 });
    }

    void sql(const QString &statement, const QList<QVariant> &values = {}) const
    {
        CacheDatabase(cache.databasePath()).run(statement, values);
    }
    void setOfFirst(const QString &column, const QVariant &value) const
    {
        sql(u"UPDATE CachedResources SET %1 = ? WHERE reference = ?"_s.arg(column),
            { value, references.first() });
    }
    QString firstPath() const { return pathOf(references.first()); }
    QString lastPath() const { return pathOf(references.last()); }

    /// The ids of all findings; checks the exit code.
    QStringList doctor(const QStringList &arguments, int exitCode) const
    {
        const QStringList all { u"doctor"_s, u"--json"_s, u"--min-age"_s, u"0"_s };
        const auto run = start(all + arguments);
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        return textsOf(jsonOf(run->output()).value(u"findings"_s), u"id"_s);
    }
    void expectUntouched(const QString &reference) const
    {
        EXPECT_EQ(CacheDatabase(cache.databasePath()).status(reference), u"Ready"_s);
        EXPECT_TRUE(QFileInfo::exists(pathOf(reference)));
    }

    /// Every file with its bytes and every folder. Without the file of shared memory, in which
    /// readers note that they read, and an empty log, which they leave.
    QMap<QString, QByteArray> everything() const
    {
        QMap<QString, QByteArray> found;
        QDirIterator entries(cache.baseDir(),
                             QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QFileInfo entry(entries.next());
            const bool isOfReaders = entry.filePath().endsWith(u".db-shm"_s)
                || (entry.filePath().endsWith(u".db-wal"_s) && entry.size() == 0);
            if (!isOfReaders)
                found.insert(entry.filePath(),
                             entry.isFile() ? readFile(entry.filePath()) : QByteArray("folder"));
        }
        return found;
    }

    const TemporaryCache &place() const { return cache; }

    QStringList references;
};

TEST_F(DoctorCliTest, doctor_cacheInGoodOrder_isCleanAndChangesNothing)
{
    const auto before = everything();
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(doctor({ u"--repair"_s }, 0), QStringList());
    EXPECT_TRUE(everything() == before);
    const auto run = start({ u"doctor"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(linesOf(run->output()), QStringList { u"The cache is in good order."_s });
}

TEST_F(DoctorCliTest, doctor_noCache_saysSoAndMakesNone)
{
    const QString elsewhere = cache.outside(u"elsewhere"_s);
    ProgramRun::Options options;
    options.environment = environment();
    ProgramRun run(program(), { u"--cache"_s, elsewhere, u"doctor"_s, u"--repair"_s }, options);
    EXPECT_EQ(run.exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(elsewhere));
}

TEST_F(DoctorCliTest, doctor_badAge_isAMistakeInTheUsage)
{
    EXPECT_EQ(start({ u"doctor"_s, u"--min-age"_s, u"soon"_s })->exitCode(), 2);
}

// Damages that are made on purpose.

struct Damage
{
    const char *id;
    bool isRepaired; ///< false: it stays, and the exit code says so
    std::function<void(const DoctorCliTest &)> make;
};

/// How a failure names it.
void PrintTo(const Damage &damage, std::ostream *stream)
{
    *stream << damage.id;
}

class DoctorDamageTest : public DoctorCliTest, public testing::WithParamInterface<Damage>
{
};

TEST_P(DoctorDamageTest, doctor_damage_isNamedAndRepairedIfItMayBe)
{
    const Damage &damage = GetParam();
    const QString id = QString::fromLatin1(damage.id);
    damage.make(*this);

    const auto before = everything();
    EXPECT_TRUE(doctor({}, 4).contains(id));
    EXPECT_TRUE(doctor({ u"--repair"_s, u"--dry-run"_s }, 4).contains(id));
    EXPECT_TRUE(everything() == before) << "looking has changed something";

    EXPECT_TRUE(doctor({ u"--repair"_s }, damage.isRepaired ? 1 : 4).contains(id));
    const QStringList left = doctor({}, damage.isRepaired ? 0 : 4);
    EXPECT_EQ(left.contains(id), !damage.isRepaired) << left.join(u' ').toStdString();
    if (damage.isRepaired)
        expectUntouched(references.last());
}

const Damage damages[] {
    { "row-without-data", true,
      [](const DoctorCliTest &test) {
          QFile::remove(test.firstPath());
      } },
    { "row-without-path", true,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"cachedPath"_s, QVariant());
      } },
    { "data-without-row", true,
      [](const DoctorCliTest &test) {
          writeFile(test.place().dataDir() + u"/share/nobodys/deep/run.raw"_s, "data");
          writeFile(test.place().dataDir() + u"/stray.raw"_s, "data");
      } },
    { "leftover", true,
      [](const DoctorCliTest &test) {
          writeFile(QFileInfo(test.firstPath()).path() + u"/.leftover-1/run.raw"_s, "data");
      } },
    { "data-aside", true,
      [](const DoctorCliTest &test) {
          const QFileInfo info(test.firstPath());
          QDir().rename(info.filePath(),
                        info.path() + u"/.unclaimed-"_s + QString(32, u'0') + u'-'
                            + info.fileName());
      } },
    { "manifest-broken", false,
      [](const DoctorCliTest &test) {
          writeFile(test.place().baseDir() + u"/Manifests/x.json"_s, "nonsense");
      } },
    { "size-differs", true,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"fileSize"_s, 5);
      } },
    { "sum-differs", true,
      [](const DoctorCliTest &test) {
          test.sql(u"UPDATE CacheMetadata SET currentSize = currentSize + 7"_s);
      } },
    { "metadata-rows", true,
      [](const DoctorCliTest &test) {
          test.sql(u"INSERT INTO CacheMetadata SELECT * FROM CacheMetadata"_s);
      } },
    { "fetch-without-task", true,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"status"_s, u"Acquiring"_s);
      } },
    { "data-of-missing-row", true,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"status"_s, u"Missing"_s);
      } },
    { "status-unknown", false,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"status"_s, u"Frozen"_s);
      } },
    { "client-dead", true,
      [](const DoctorCliTest &test) {
          test.sql(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                   { nobody, now() - 60'000 });
      } },
    { "client-reused", true,
      [](const DoctorCliTest &test) {
          // Of the client, this process has the number only.
          test.sql(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                   { qint64(::getpid()), now() - 86'400'000 });
      } },
    { "stray-rows", true,
      [](const DoctorCliTest &test) {
          test.sql(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 4711)"_s);
      } },
    { "path-moved", true,
      [](const DoctorCliTest &test) {
          const QString former = test.place().outside(u"former/Cache"_s);
          test.setOfFirst(u"cachedPath"_s,
                          test.firstPath().replace(test.place().dataDir(), former));
      } },
    { "path-outside", false,
      [](const DoctorCliTest &test) {
          const QString outside = test.place().outside(u"elsewhere.raw"_s);
          writeFile(outside, "data");
          test.setOfFirst(u"cachedPath"_s, outside);
      } },
    { "path-in-root", false,
      [](const DoctorCliTest &test) {
          const QString top = test.place().dataDir() + u"/top.raw"_s;
          writeFile(top, QByteArray(1000, 'a'));
          test.setOfFirst(u"cachedPath"_s, top);
      } },
    { "path-shared", false,
      [](const DoctorCliTest &test) {
          test.setOfFirst(u"cachedPath"_s, test.lastPath());
      } },
    { "path-other-spelling", false,
      [](const DoctorCliTest &test) {
          const QString link = test.place().outside(u"link"_s);
          QFile::link(test.place().dataDir(), link);
          test.setOfFirst(u"cachedPath"_s, test.firstPath().replace(test.place().dataDir(), link));
      } },
    { "scan-in-future", true,
      [](const DoctorCliTest &test) {
          test.sql(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { now() / 1000 + 86'400 });
      } },
    { "staging-stale", true,
      [](const DoctorCliTest &test) {
          const QString old = test.place().baseDir() + u"/Staging/key-state-0"_s;
          writeFile(old + u"/content/run.raw"_s, "data");
          writeFile(test.place().baseDir() + u"/Staging/key-state-1.2.leaving/run.raw"_s, "data");
          namespace fs = std::filesystem;
          fs::last_write_time(old.toStdString(),
                              fs::file_time_type::clock::now() - std::chrono::days(8));
      } },
    { "journal-mode", true,
      [](const DoctorCliTest &test) {
          test.sql(u"PRAGMA journal_mode = DELETE"_s);
      } },
    { "data-directory-missing", false,
      [](const DoctorCliTest &test) {
          QDir().rename(test.place().dataDir(), test.place().outside(u"unmounted"_s));
      } },
    { "database-unreadable", false,
      [](const DoctorCliTest &test) {
          QFile::remove(test.place().databasePath() + u"-wal"_s);
          QFile::remove(test.place().databasePath() + u"-shm"_s);
          writeFile(test.place().databasePath(), QByteArray(8192, 'x'));
      } },
};

INSTANTIATE_TEST_SUITE_P(Each, DoctorDamageTest, testing::ValuesIn(damages),
                         [](const auto &damage) {
                             return QString::fromLatin1(damage.param.id).remove(u'-').toStdString();
                         });

TEST_F(DoctorCliTest, doctor_allRepairableDamagesAtOnce_areRepairedAtOnce)
{
    QSet<QString> made;
    for (const Damage &damage : damages) {
        const QString id = QString::fromLatin1(damage.id);
        // Two things cannot be wrong with one status at a time.
        if (!damage.isRepaired || id == u"data-of-missing-row" || id == u"fetch-without-task"
            || id == u"size-differs" || id == u"row-without-path" || id == u"path-moved"
            || id == u"data-aside")
            continue;
        damage.make(*this);
        made.insert(id);
    }
    const QStringList found = doctor({ u"--repair"_s }, 1);
    EXPECT_TRUE(QSet<QString>(found.begin(), found.end()).contains(made))
        << found.join(u' ').toStdString();
    EXPECT_EQ(doctor({}, 0), QStringList());
    expectUntouched(references.last());
}

TEST_F(DoctorCliTest, repair_dataMovedAsideByAnInterruptedOne_comesBackAsItWas)
{
    const QByteArray content = readFile(firstPath());
    const QString folder = QFileInfo(firstPath()).path();
    const QString aside = QFileInfo(folder).path() + u"/.unclaimed-"_s + QString(32, u'0') + u'-'
        + QFileInfo(folder).fileName();
    ASSERT_TRUE(QDir().rename(folder, aside));
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"data-aside"_s });
    EXPECT_EQ(readFile(firstPath()), content);
    EXPECT_FALSE(QFileInfo::exists(aside));
    expectUntouched(references.first());
}

TEST_F(DoctorCliTest, repair_remainsBesideData_goUnlessACopyIsOnItsWay)
{
    const QString folder = QFileInfo(firstPath()).path();
    const QStringList remains { u"/.unclaimed-1/run.raw"_s, u"/.unclaimed-"_s + QString(40, u'0'),
                                u"/.adding-2147483000-1/run.raw"_s };
    for (const QString &path : remains)
        writeFile(folder + path, "data");
    const QString copy
        = folder + u"/.adding-%1-%2/run.raw"_s.arg(QString::number(::getpid()), startOfThis());
    writeFile(copy, "data");
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList(3, u"leftover"_s));
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(readFile(copy), "data");
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              2);
    expectUntouched(references.first());
}

TEST_F(DoctorCliTest, repair_interrupted_leavesNothingAsideAndTheNextOneGoesOn)
{
    const QString folder = QFileInfo(firstPath()).path();
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i)
        writeFile(folder + u"/.leftover-%1/run.raw"_s.arg(i), "data");
    const auto named = [&folder](const QString &pattern) {
        return QDir(folder).entryList({ pattern }, QDir::Dirs | QDir::Hidden).size();
    };
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--min-age"_s, u"0"_s });
    waitUntil([&named] { return named(u".unclaimed-*"_s) > 0; });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_TRUE(linesOf(run->output()).last().startsWith(u"1000 damages, interrupted after "_s))
        << run->output().right(200).toStdString();
    EXPECT_EQ(named(u".unclaimed-*"_s), 0);
    EXPECT_GT(named(u".leftover-*"_s), 0);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"Clients"_s), 0);

    EXPECT_FALSE(doctor({ u"--repair"_s }, 1).isEmpty());
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(named(u".leftover-*"_s), 0);
    expectUntouched(references.first());
}

TEST_F(DoctorCliTest, doctor_dataBesideADatabaseWithoutTables_isOfferedNoRepair)
{
    for (const char *suffix : { "", "-wal", "-shm" })
        writeFile(cache.databasePath() + QString::fromLatin1(suffix), "");
    const auto run = start({ u"doctor"_s, u"--json"_s, u"--min-age"_s, u"0"_s });
    EXPECT_EQ(run->exitCode(), 4);
    const QJsonArray findings = jsonOf(run->output()).value(u"findings"_s).toArray();
    ASSERT_FALSE(findings.isEmpty());
    for (const auto &value : findings) {
        const QJsonObject finding = value.toObject();
        EXPECT_EQ(finding.value(u"id"_s), u"data-without-row"_s);
        EXPECT_FALSE(finding.value(u"repairable"_s).toBool());
        EXPECT_TRUE(
            finding.value(u"remedy"_s).toString().startsWith(u"The database has no tables."_s));
    }
}

// What is never removed.

TEST_F(DoctorCliTest, repair_newDataWithoutRow_isLeftAloneAndTold)
{
    const QString path = cache.dataDir() + u"/share/new/run.raw"_s;
    writeFile(path, "data");
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(textsOf(jsonOf(run->output()).value(u"findings"_s), u"id"_s),
              QStringList { u"data-young"_s });
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_F(DoctorCliTest, repair_dataOfARunningFetch_stays)
{
    CacheProcess fetcher(cache.baseDir());
    EXPECT_EQ(fetcher.ask(u"add test:a"_s), u"ok"_s);
    EXPECT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    EXPECT_EQ(fetcher.ask(u"writeData test:a whole"_s), u"true"_s);
    QFile::remove(firstPath()); // so that there is something to do

    EXPECT_TRUE(doctor({ u"--repair"_s }, 1).contains(u"data-young"_s));
    EXPECT_EQ(fetcher.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
    EXPECT_EQ(readFile(cache.dataDir() + u"/test/a/data"_s), "whole");
    expectUntouched(u"test:a"_s);
}

TEST_F(DoctorCliTest, repair_stagedFetchInProgress_stays)
{
    const QString file = cache.baseDir() + u"/Staging/key-state-0/content/run.raw"_s;
    writeFile(file, "half");
    writeFile(cache.baseDir() + u"/Staging/key-state-1.2.leaving/run.raw"_s, "remains");
    EXPECT_TRUE(doctor({ u"--repair"_s }, 1).contains(u"staging-stale"_s));
    EXPECT_EQ(readFile(file), "half");
}

TEST_F(DoctorCliTest, repair_resourceInUse_keepsItsUserAndItsData)
{
    CacheProcess user(cache.baseDir());
    EXPECT_EQ(user.ask(u"useResource "_s + references.last()), u"ok"_s);
    sql(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
        { nobody, now() - 60'000 });
    doctor({ u"--repair"_s }, 1);
    EXPECT_EQ(user.ask(u"inUse "_s + references.last()), u"true"_s);
    EXPECT_GT(user.clientId(), 0);
    expectUntouched(references.last());
}

TEST_F(DoctorCliTest, repair_missingRowWithThePathOfAnother_leavesItsData)
{
    QFile::remove(firstPath());
    setOfFirst(u"cachedPath"_s, lastPath());
    setOfFirst(u"status"_s, u"Missing"_s);
    EXPECT_EQ(doctor({ u"--repair"_s }, 0), QStringList());
    expectUntouched(references.last());
}

TEST_F(DoctorCliTest, repair_cacheThatWasMovedAsAWhole_followsAndKeepsAllData)
{
    const QString former = cache.outside(u"former/Cache"_s);
    sql(u"UPDATE CachedResources SET cachedPath = replace(cachedPath, ?, ?)"_s,
        { cache.dataDir(), former });
    const QStringList found = doctor({ u"--repair"_s }, 1);
    EXPECT_EQ(found, (QStringList { u"path-moved"_s, u"path-moved"_s }));
    EXPECT_EQ(doctor({}, 0), QStringList());
    for (const QString &reference : references) {
        EXPECT_TRUE(pathOf(reference).startsWith(cache.dataDir()));
        expectUntouched(reference);
    }
}

TEST_F(DoctorCliTest, repair_cacheThatWasCopiedAsAWhole_keepsTheCopy)
{
    const QString former = cache.outside(u"former/Cache"_s);
    const QString path = firstPath().replace(cache.dataDir(), former);
    writeFile(path, "data");
    const QString copy = firstPath();
    setOfFirst(u"cachedPath"_s, path);
    EXPECT_EQ(doctor({ u"--repair"_s }, 4), QStringList { u"path-outside"_s });
    EXPECT_TRUE(QFileInfo::exists(copy));
}

TEST_F(DoctorCliTest, repair_damagedPages_areNamedAndNothingIsTouched)
{
    // More than the pages that a look at the rows reads.
    sql(u"CREATE TABLE Big(t TEXT)"_s);
    sql(u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 400) "
        "INSERT INTO Big SELECT hex(zeroblob(500)) FROM n"_s);
    CacheDatabase(cache.databasePath()).value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    QFile file(cache.databasePath());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    constexpr qint64 pageBytes = 4096;
    ASSERT_GT(file.size(), 80 * pageBytes);
    ASSERT_TRUE(file.seek(file.size() - 50 * pageBytes)); // in the midst of that table
    file.write(QByteArray(pageBytes, 'x'));
    file.close();
    QFile::remove(firstPath());

    const QString stray = cache.dataDir() + u"/share/nobodys/run.raw"_s;
    writeFile(stray, "data");
    const QStringList found = doctor({ u"--repair"_s }, 4);
    EXPECT_TRUE(found.value(0).startsWith(u"database-"_s)) << found.join(u' ').toStdString();
    EXPECT_TRUE(QFileInfo::exists(stray));
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(references.first()), u"Ready"_s);
}

/// What is told and not repaired, with a remedy that has to help.
class DoctorRemedyTest : public DoctorCliTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(DoctorRemedyTest, remedy_movingItOutOfTheWay_endsTheDamageAndHarmsNothing)
{
    const QString id = QString::fromLatin1(GetParam());
    const auto *damage
        = std::find_if(std::begin(damages), std::end(damages),
                       [&id](const auto &one) { return id == QLatin1StringView(one.id); });
    damage->make(*this);
    EXPECT_TRUE(doctor({}, 4).contains(id));

    const QString kept = cache.outside(u"kept"_s);
    QDir().mkpath(kept);
    ASSERT_TRUE(QFile::rename(firstPath(), kept + u"/run.raw"_s));
    EXPECT_TRUE(doctor({ u"--repair"_s }, 1).contains(u"row-without-data"_s));
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(start({ u"get"_s, references.first() })->exitCode(), 0);
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(QFileInfo(firstPath()).dir().path().count(u'/'),
              QFileInfo(lastPath()).dir().path().count(u'/'));
    expectUntouched(references.last());
}

INSTANTIATE_TEST_SUITE_P(Each, DoctorRemedyTest, testing::Values("path-outside", "path-in-root"),
                         [](const auto &id) {
                             return QString::fromLatin1(id.param).remove(u'-').toStdString();
                         });

TEST_F(DoctorCliTest, repair_noteThatStays_isNotToldAsLeft)
{
    QFile::remove(firstPath());
    writeFile(cache.dataDir() + u"/share/new/run.raw"_s, "data");
    const auto run = start({ u"doctor"_s, u"--repair"_s });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_EQ(linesOf(run->output()).last(), u"1 damage, all repaired."_s);
    EXPECT_FALSE(run->output().contains("Left:")) << run->output().toStdString();
    EXPECT_EQ(run->output().count("data-young"), 1);
}

// The lock.

TEST_F(DoctorCliTest, doctor_heldLock_namesTheHolderAndWaitsForNobody)
{
    CacheProcess holder(cache.baseDir());
    CacheProcess waiter(cache.baseDir());
    holder.hold();
    waiter.startHold();
    EXPECT_TRUE(waiter.isBlocked());

    const auto run = start({ u"doctor"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->output().toStdString();
    const QString text = QString::fromUtf8(run->output());
    EXPECT_TRUE(text.contains(u"lock-held"_s)) << text.toStdString();
    EXPECT_TRUE(text.contains(u"process %1"_s.arg(holder.pid()))) << text.toStdString();
    EXPECT_TRUE(text.contains(u"; 1 wait for it."_s)) << text.toStdString();
    holder.unhold();
    waiter.awaitHeld();
    waiter.unhold();
}

TEST_F(DoctorCliTest, doctor_processWithAnotherTemporaryFolder_isNamedWithItsLock)
{
    const QString folder = cache.outside(u"otherTemp"_s);
    QDir().mkpath(folder);
    CacheProcess other(cache.baseDir(), CacheProcess::Start::Open, { { u"TMPDIR"_s, folder } });
    EXPECT_EQ(doctor({}, 4), QStringList { u"lock-other-temp"_s });
    other.hold();
    EXPECT_EQ(doctor({}, 4), (QStringList { u"lock-beside"_s, u"lock-other-temp"_s }));
    other.unhold();
}

TEST_F(DoctorCliTest, doctor_lockThatLetsSeveralIn_isNamed)
{
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1);
    ASSERT_TRUE(semaphore.release()); // one more than there was
    EXPECT_EQ(doctor({}, 4), QStringList { u"lock-value"_s });
    ASSERT_TRUE(semaphore.acquire());
    EXPECT_EQ(doctor({}, 0), QStringList());
}

// The place.

TEST_F(DoctorCliTest, doctor_twoSpellingsOfTheBaseDirectory_areNamed)
{
    const QString link = cache.outside(u"link"_s);
    ASSERT_TRUE(QFile::link(cache.baseDir(), link));
    ProgramRun::Options options;
    options.environment = environment();
    ProgramRun run(program(), { u"--cache"_s, link, u"doctor"_s, u"--json"_s }, options);
    EXPECT_EQ(run.exitCode(), 4);
    const QStringList ids = textsOf(jsonOf(run.output()).value(u"findings"_s), u"id"_s);
    EXPECT_TRUE(ids.contains(u"two-spellings"_s)) << ids.join(u' ').toStdString();
    EXPECT_TRUE(ids.contains(u"path-other-spelling"_s)) << ids.join(u' ').toStdString();
    EXPECT_FALSE(ids.contains(u"data-without-row"_s)) << ids.join(u' ').toStdString();
}

TEST_F(DoctorCliTest, doctor_limitsThatCannotBe_areNamed)
{
    writeFile(settingsPath(), settingsWith(4'000'000'000'000'000'000, 3'000'000'000'000'000'000));
    EXPECT_EQ(doctor({}, 4), (QStringList { u"maximum-above-partition"_s, u"sizes-reversed"_s }));
}

// The answer.

TEST_F(DoctorCliTest, doctor_json_tellsFindingsPlanAndRepairs)
{
    const QString path = firstPath();
    QFile::remove(path);
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 1);
    const QJsonObject answer = jsonOf(run->output());
    const QJsonObject finding = answer.value(u"findings"_s).toArray().first().toObject();
    EXPECT_EQ(finding.value(u"id"_s), u"row-without-data"_s);
    EXPECT_EQ(finding.value(u"severity"_s), u"error"_s);
    EXPECT_EQ(finding.value(u"subject"_s), references.first());
    EXPECT_TRUE(finding.value(u"explanation"_s).toString().contains(path));
    EXPECT_FALSE(finding.value(u"remedy"_s).toString().isEmpty());
    EXPECT_TRUE(finding.value(u"repairable"_s).toBool());
    EXPECT_EQ(textsOf(answer.value(u"plan"_s), u"operation"_s), QStringList { u"forget-data"_s });
    EXPECT_EQ(answer.value(u"repairs"_s).toArray().size(), 1);
    EXPECT_TRUE(answer.value(u"left"_s).toArray().isEmpty());
    EXPECT_FALSE(answer.value(u"dryRun"_s).toBool());
}

TEST_F(DoctorCliTest, repair_asText_showsItsPlanFirst)
{
    QFile::remove(firstPath());
    const auto run = start({ u"doctor"_s, u"--repair"_s });
    EXPECT_EQ(run->exitCode(), 1);
    const QStringList lines = linesOf(run->output());
    const qsizetype plan = lines.indexOf(u"Plan:"_s);
    ASSERT_GE(plan, 0) << lines.join(u' ').toStdString();
    EXPECT_EQ(lines.value(plan + 1),
              u"  Set \"%1\" to Missing: its data is gone."_s.arg(references.first()));
    EXPECT_EQ(lines.last(), u"1 damage, all repaired."_s);
}

} // namespace zel::test
