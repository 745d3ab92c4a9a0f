#include "DoctorCli.h"

#include "CacheProcess.h"
#include "Printers.h"
#include "SemaphoreSets.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSystemSemaphore>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

using DoctorCliTest = DoctorCli;

} // namespace

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

TEST_F(DoctorCliTest, doctor_containerWhoseSampleWasMoved_isInGoodOrderAndIntact)
{
    const QByteArray sample(100'000, 's');
    const QByteArray hash = QCryptographicHash::hash(sample, QCryptographicHash::Sha256).toHex();
    const QString path = u"content/"_s + QString(200, u'n') + u".raw"_s;
    writeFile(cache.outside(u"x.zacq/"_s + path), sample);
    const QString reference = sharedFile(
        u"x.zacq/zacq.json"_s,
        R"({"format": "zacq", "version": 1, "sample": {"name": "x", "size": 100000, "path": ")"
            + path.toUtf8() + R"(", "hash": "sha256:)" + hash + R"("}})");
    const QString container = reference.chopped(u"/zacq.json"_s.size());
    const auto fetch = start({ u"get"_s, container });
    ASSERT_EQ(fetch->exitCode(), 0) << fetch->errors().toStdString();
    ASSERT_TRUE(QFileInfo(cache.dataDir() + u"/zacq"_s).isDir()) << "nothing was moved";

    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(start({ u"verify"_s, container })->exitCode(), 0);
    EXPECT_EQ(start({ u"recount"_s })->exitCode(), 0);
    EXPECT_GE(currentSize(), 100'000);
    EXPECT_EQ(doctor({}, 0), QStringList());
    EXPECT_EQ(start({ u"get"_s, u"--verify"_s, container })->exitCode(), 0);
    // As if only what the container's own folder holds had been counted.
    sql(u"UPDATE CachedResources SET fileSize = 1000 WHERE reference = ?"_s, { container });
    EXPECT_TRUE(doctor({}, 4).contains(u"size-differs"_s));
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
    {
        CacheProcess other(cache.baseDir(), CacheProcess::Start::Open, { { u"TMPDIR"_s, folder } });
        EXPECT_EQ(doctor({}, 4), QStringList { u"lock-other-temp"_s });
        other.hold();
        EXPECT_EQ(doctor({}, 4), (QStringList { u"lock-beside"_s, u"lock-other-temp"_s }));
        other.unhold();
    }
    removeSemaphoresIn(folder);
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
