#include "DoctorCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

class DoctorRepairCliTest : public DoctorCli
{
protected:
    /// Of all data of the resource.
    static QString folderOf(const QString &reference)
    {
        return QString::fromLatin1(
            QCryptographicHash::hash(reference.toUtf8(), QCryptographicHash::Sha256)
                .toHex()
                .left(32));
    }

    /// What a fetch of the resource by this process would have made by now.
    void stage(const QString &reference) const
    {
        const QJsonObject record {
            { u"key"_s, reference },
            { u"pid"_s, QString::number(::getpid()) },
            { u"processStarted"_s, startOfThis() },
            { u"boot"_s,
              QString::fromLatin1(readFile(u"/proc/sys/kernel/random/boot_id"_s)).trimmed() },
            { u"updated"_s, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) },
        };
        writeFile(cache.baseDir() + u"/Staging/%1-state-0/record.json"_s.arg(folderOf(reference)),
                  QJsonDocument(record).toJson());
    }
};

} // namespace

TEST_F(DoctorRepairCliTest, repair_dataMovedAsideByAnInterruptedOne_comesBackAsItWas)
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

TEST_F(DoctorRepairCliTest, repair_remainsBesideData_goUnlessACopyIsOnItsWay)
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

TEST_F(DoctorRepairCliTest, repair_remainsOfAPlacement_goOnceItsFetchIsDead)
{
    const QString newcomer = u"share:/first"_s;
    const QString ofNewcomer = folderOf(newcomer);
    const QString ofRow = QFileInfo(firstPath()).dir().dirName();
    ASSERT_EQ(ofRow, folderOf(references.first()));
    // Beside data that has a row, and where none has been yet.
    const QStringList remains {
        u"%1/.incoming-%1-state-0"_s.arg(ofRow),
        u"%1/.replaced-%1-state-0"_s.arg(ofRow),
        u"%1/.incoming-%1-state-0"_s.arg(ofNewcomer),
    };
    const auto pathOf = [this](const QString &place) {
        return cache.dataDir() + u"/share/"_s + place + u"/run.raw"_s;
    };
    for (const QString &place : remains)
        writeFile(pathOf(place), "data");
    // A fetch that stands still has lost its rows, but it may go on.
    stage(references.first());
    stage(newcomer);
    EXPECT_EQ(doctor({ u"--repair"_s }, 0), QStringList(3, u"data-young"_s));
    for (const QString &place : remains)
        EXPECT_EQ(readFile(pathOf(place)), "data");

    ASSERT_TRUE(QDir(cache.baseDir() + u"/Staging"_s).removeRecursively());
    EXPECT_EQ(doctor({ u"--repair"_s }, 1),
              (QStringList { u"data-without-row"_s, u"leftover"_s, u"leftover"_s }));
    for (const QString &place : remains)
        EXPECT_FALSE(QFileInfo::exists(pathOf(place))) << place.toStdString();
    EXPECT_EQ(doctor({}, 0), QStringList());
    expectUntouched(references.first());
}

TEST_F(DoctorRepairCliTest, repair_interrupted_leavesNothingAsideAndTheNextOneGoesOn)
{
    const QString folder = QFileInfo(firstPath()).path();
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i)
        writeFile(folder + u"/.leftover-%1/run.raw"_s.arg(i, 32, 10, QChar(u'0')), "data");
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

TEST_F(DoctorRepairCliTest, doctor_dataBesideADatabaseWithoutTables_isOfferedNoRepair)
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

TEST_F(DoctorRepairCliTest, repair_newDataWithoutRow_isLeftAloneAndTold)
{
    const QString path = cache.dataDir() + u"/share/new/run.raw"_s;
    writeFile(path, "data");
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(textsOf(jsonOf(run->output()).value(u"findings"_s), u"id"_s),
              QStringList { u"data-young"_s });
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_F(DoctorRepairCliTest, repair_dataOfARunningFetch_stays)
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

TEST_F(DoctorRepairCliTest, repair_stagedFetchInProgress_stays)
{
    const QString file = cache.baseDir() + u"/Staging/key-state-0/content/run.raw"_s;
    writeFile(file, "half");
    writeFile(cache.baseDir() + u"/Staging/key-state-1.2.leaving/run.raw"_s, "remains");
    EXPECT_TRUE(doctor({ u"--repair"_s }, 1).contains(u"staging-stale"_s));
    EXPECT_EQ(readFile(file), "half");
}

TEST_F(DoctorRepairCliTest, repair_resourceInUse_keepsItsUserAndItsData)
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

TEST_F(DoctorRepairCliTest, repair_missingRowWithThePathOfAnother_leavesItsData)
{
    QFile::remove(firstPath());
    setOfFirst(u"cachedPath"_s, lastPath());
    setOfFirst(u"status"_s, u"Missing"_s);
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"size-of-missing-row"_s });
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(currentSize(), bytesOnDisk());
    expectUntouched(references.last());
}

TEST_F(DoctorRepairCliTest, repair_missingRow_noPurgeCountsOnItsSize)
{
    setOfFirst(u"status"_s, u"Missing"_s);
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"data-of-missing-row"_s });
    EXPECT_EQ(currentSize(), bytesOnDisk());
    const auto purge = start({ u"purge"_s, u"-n"_s, u"--to"_s, u"1"_s, u"--json"_s });
    EXPECT_EQ(purge->exitCode(), 0);
    EXPECT_EQ(textsOf(jsonOf(purge->output()).value(u"removed"_s), u"reference"_s),
              references.last(1));
    EXPECT_EQ(start({ u"get"_s, references.first() })->exitCode(), 0);
    EXPECT_EQ(doctor({}, 0), QStringList());
}

TEST_F(DoctorRepairCliTest, repair_missingRowThatLeadsOutside_forgetsItAndTouchesNothing)
{
    const QString outside = cache.outside(u"elsewhere/run.raw"_s);
    moveData(references.first(), outside);
    setOfFirst(u"status"_s, u"Missing"_s);
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"size-of-missing-row"_s });
    EXPECT_TRUE(QFileInfo::exists(outside));
    EXPECT_EQ(start({ u"purge"_s, u"--to"_s, u"0"_s })->exitCode(), 0);
    EXPECT_TRUE(QFileInfo::exists(outside));
}

TEST_F(DoctorRepairCliTest, dryRun_fetchThatNobodyRuns_announcesAllThatTheRepairDoes)
{
    setOfFirst(u"status"_s, u"Acquiring"_s);
    const auto rehearsal = start({ u"doctor"_s, u"--repair"_s, u"-n"_s, u"--json"_s });
    EXPECT_EQ(rehearsal->exitCode(), 4);
    const QJsonObject announced = jsonOf(rehearsal->output());
    EXPECT_EQ(textsOf(announced.value(u"plan"_s), u"operation"_s),
              (QStringList { u"end-fetch"_s, u"clear-missing"_s }));
    EXPECT_EQ(announced.value(u"furtherPlans"_s).toInt(), 2);
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 1);
    const QJsonObject done = jsonOf(run->output());
    EXPECT_EQ(done.value(u"plan"_s), announced.value(u"plan"_s));
    EXPECT_EQ(done.value(u"repairs"_s), announced.value(u"plan"_s));
    EXPECT_EQ(currentSize(), bytesOnDisk());
}

TEST_F(DoctorRepairCliTest, repair_damageBroughtToLight_isAnnouncedAndMendedByAFurtherPlan)
{
    // What several rows claim is nobody's once they have let go of it.
    const QString path = lastPath();
    setOfFirst(u"cachedPath"_s, path);
    sql(u"UPDATE CachedResources SET status = 'Missing'"_s);
    const auto rehearsal = start({ u"doctor"_s, u"--repair"_s, u"-n"_s, u"--min-age"_s, u"0"_s });
    EXPECT_EQ(rehearsal->exitCode(), 4);
    EXPECT_TRUE(rehearsal->output().contains("What this brings to light is repaired as well, with "
                                             "at most 2 plans more."))
        << rehearsal->output().toStdString();
    const auto run = start({ u"doctor"_s, u"--repair"_s, u"--min-age"_s, u"0"_s });
    EXPECT_EQ(run->exitCode(), 1) << run->errors().toStdString();
    EXPECT_EQ(run->output().count("Plan:"), 2) << run->output().toStdString();
    EXPECT_TRUE(run->output().contains("at most 1 plan more.")) << run->output().toStdString();
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_EQ(doctor({}, 0), QStringList());
}

TEST_F(DoctorRepairCliTest, repair_cacheThatWasMovedAsAWhole_followsAndKeepsAllData)
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

TEST_F(DoctorRepairCliTest, repair_cacheThatWasMovedInPart_tellsWhatWasCutOff)
{
    QFile(firstPath()).resize(100);
    sql(u"UPDATE CachedResources SET cachedPath = replace(cachedPath, ?, ?)"_s,
        { cache.dataDir(), cache.outside(u"former/Cache"_s) });
    doctor({ u"--repair"_s }, 4);
    EXPECT_EQ(doctor({}, 4), QStringList { u"size-differs"_s });
}

TEST_F(DoctorRepairCliTest, repair_cacheThatWasCopiedAsAWhole_keepsTheCopy)
{
    const QString former = cache.outside(u"former/Cache"_s);
    const QString path = firstPath().replace(cache.dataDir(), former);
    writeFile(path, "data");
    const QString copy = firstPath();
    setOfFirst(u"cachedPath"_s, path);
    EXPECT_EQ(doctor({ u"--repair"_s }, 4), QStringList { u"path-outside"_s });
    EXPECT_TRUE(QFileInfo::exists(copy));
}

TEST_F(DoctorRepairCliTest, repair_damagedPages_areNamedAndNothingIsTouched)
{
    damagePages();
    QFile::remove(firstPath());

    const QString stray = cache.dataDir() + u"/share/nobodys/run.raw"_s;
    writeFile(stray, "data");
    const QStringList found = doctor({ u"--repair"_s }, 4);
    EXPECT_TRUE(found.value(0).startsWith(u"database-"_s)) << found.join(u' ').toStdString();
    EXPECT_TRUE(QFileInfo::exists(stray));
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(references.first()), u"Ready"_s);
}

TEST_F(DoctorRepairCliTest, repair_noteThatStays_isNotToldAsLeft)
{
    QFile::remove(firstPath());
    writeFile(cache.dataDir() + u"/share/new/run.raw"_s, "data");
    const auto run = start({ u"doctor"_s, u"--repair"_s });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_EQ(linesOf(run->output()).last(), u"1 damage, all repaired."_s);
    EXPECT_FALSE(run->output().contains("Left:")) << run->output().toStdString();
    EXPECT_EQ(run->output().count("data-young"), 1);
}

} // namespace zel::test
