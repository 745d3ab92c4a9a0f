#include "DoctorCli.h"

#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What is told and not repaired, with commands that have to help.
class DoctorRemedyCliTest : public DoctorCli
{
protected:
    /// The remedy of the only finding, which no repair mends.
    QString remedyOf(const QString &id) const
    {
        EXPECT_EQ(doctor({ u"--repair"_s }, 4), QStringList { id });
        const auto run = start({ u"doctor"_s, u"--json"_s });
        EXPECT_EQ(run->exitCode(), 4);
        return textsOf(jsonOf(run->output()).value(u"findings"_s), u"remedy"_s).value(0);
    }
    void expectCode(const QStringList &arguments, int exitCode) const
    {
        const auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), exitCode)
            << qPrintable(arguments.join(u' ')) << run->errors().toStdString();
    }
    void expectMended() const
    {
        EXPECT_EQ(doctor({}, 0), QStringList());
        EXPECT_EQ(currentSize(), bytesOnDisk());
        expectUntouched(references.first());
        expectUntouched(references.last());
    }
    /// Moves the database aside and fetches everything anew.
    void expectMendedByANewDatabase() const
    {
        for (const char *suffix : { "", "-wal", "-shm" }) {
            const QString path = cache.databasePath() + QString::fromLatin1(suffix);
            if (QFileInfo::exists(path)) {
                EXPECT_TRUE(QFile::rename(path, cache.outside(QFileInfo(path).fileName())));
            }
        }
        expectCode(QStringList { u"get"_s } + references, 0);
        expectMended();
    }
    void truncateFirst() const { EXPECT_TRUE(QFile::resize(firstPath(), 100)); }
    qint64 sizeInFirstRow() const
    {
        return CacheDatabase(cache.databasePath())
            .value(u"SELECT fileSize FROM CachedResources WHERE reference = ?"_s,
                   { references.first() })
            .toLongLong();
    }
};

} // namespace

TEST_F(DoctorRemedyCliTest, remedy_unknownStatus_forcedRemovalAndGet)
{
    setOfFirst(u"status"_s, u"Frozen"_s);
    EXPECT_TRUE(remedyOf(u"status-unknown"_s).contains(u"\"zelcache remove --force REF\""_s));
    expectCode({ u"remove"_s, references.first() }, 3);
    expectCode({ u"remove"_s, u"--force"_s, references.first() }, 0);
    EXPECT_EQ(doctor({}, 0), QStringList());
    expectCode({ u"get"_s, references.first() }, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_truncatedFile_verifyRemoveAndGet)
{
    truncateFirst();
    EXPECT_TRUE(remedyOf(u"size-differs"_s).contains(u"\"zelcache verify REF\""_s));
    EXPECT_EQ(sizeInFirstRow(), 1000) << "the row was adapted to the damage";
    expectCode({ u"verify"_s, references.first() }, 6);
    expectCode({ u"remove"_s, references.first() }, 0);
    expectCode({ u"get"_s, references.first() }, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_truncatedFileWithoutManifest_removeAndGetOrRecount)
{
    ASSERT_TRUE(QDir(cache.baseDir() + u"/Manifests"_s).removeRecursively());
    truncateFirst();
    EXPECT_TRUE(remedyOf(u"size-differs"_s).contains(u"\"zelcache recount REF\""_s));
    EXPECT_EQ(sizeInFirstRow(), 1000);
    expectCode({ u"recount"_s, references.first() }, 0);
    expectMended();

    truncateFirst();
    setOfFirst(u"fileSize"_s, 1000);
    sql(u"UPDATE CacheMetadata SET currentSize = 3000"_s);
    expectCode({ u"remove"_s, references.first() }, 0);
    expectCode({ u"get"_s, references.first() }, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, repair_moreThanItsRowWithoutManifest_isCounted)
{
    ASSERT_TRUE(QDir(cache.baseDir() + u"/Manifests"_s).removeRecursively());
    ASSERT_TRUE(QFile::resize(firstPath(), 5000));
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"size-differs"_s });
    EXPECT_EQ(sizeInFirstRow(), 5000);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, repair_countOfAllSizes_waitsUntilNothingIsCutOff)
{
    truncateFirst();
    sql(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { now() / 1000 + 86'400 });
    EXPECT_EQ(doctor({ u"--repair"_s }, 4),
              (QStringList { u"scan-in-future"_s, u"size-differs"_s }));
    EXPECT_EQ(sizeInFirstRow(), 1000);
    expectCode({ u"remove"_s, references.first() }, 0);
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"scan-in-future"_s });
    expectCode({ u"get"_s, references.first() }, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_otherSpelling_removeAndGet)
{
    const QString link = cache.outside(u"link"_s);
    ASSERT_TRUE(QFile::link(cache.dataDir(), link));
    setOfFirst(u"cachedPath"_s, firstPath().replace(cache.dataDir(), link));
    EXPECT_TRUE(remedyOf(u"path-other-spelling"_s).contains(u"\"zelcache remove REF\""_s));
    expectCode({ u"remove"_s, references.first() }, 0);
    expectCode({ u"get"_s, references.first() }, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_sharedPath_repairAndGet)
{
    setOfFirst(u"cachedPath"_s, lastPath());
    setOfFirst(u"fileSize"_s, 2000);
    doctor({ u"--repair"_s }, 4); // what the first one had is nobody's by now
    EXPECT_TRUE(remedyOf(u"path-shared"_s).contains(u"\"zelcache get\""_s));
    expectCode({ u"remove"_s, references.first() }, 0);
    EXPECT_EQ(doctor({ u"--repair"_s }, 1), QStringList { u"row-without-data"_s });
    expectCode(QStringList { u"get"_s } + references, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_missingDataDirectory_makeItAndRepair)
{
    ASSERT_TRUE(QDir().rename(cache.dataDir(), cache.outside(u"unmounted"_s)));
    EXPECT_TRUE(remedyOf(u"data-directory-missing"_s).contains(u"doctor --repair"_s));
    ASSERT_TRUE(QDir().mkpath(cache.dataDir()));
    EXPECT_EQ(doctor({ u"--repair"_s }, 1).size(), 2);
    expectCode(QStringList { u"get"_s } + references, 0);
    expectMended();
}

TEST_F(DoctorRemedyCliTest, remedy_damagedDatabase_moveItAsideAndGet)
{
    damagePages();
    EXPECT_TRUE(doctor({}, 4).value(0).startsWith(u"database-"_s));
    expectMendedByANewDatabase();
}

TEST_F(DoctorRemedyCliTest, remedy_fileThatIsNoDatabase_moveItAsideAndGet)
{
    writeFile(cache.databasePath(), QByteArray(8192, 'x'));
    EXPECT_EQ(doctor({}, 4).value(0), u"database-unreadable"_s);
    expectMendedByANewDatabase();
}

TEST_F(DoctorRemedyCliTest, remedy_limits_configSet)
{
    const qint64 partition = QStorageInfo(cache.baseDir()).bytesTotal();
    writeFile(settingsPath(), settingsWith(1'000'000, partition + 1));
    EXPECT_TRUE(remedyOf(u"maximum-above-partition"_s).contains(u"config set MaximumCacheSize"_s));
    expectCode({ u"config"_s, u"set"_s, u"MaximumCacheSize"_s, u"2000000"_s }, 0);
    EXPECT_EQ(doctor({}, 0), QStringList());
    writeFile(settingsPath(), settingsWith(1'000'000, 500'000));
    EXPECT_TRUE(remedyOf(u"sizes-reversed"_s).contains(u"config set OptimalCacheSize"_s));
    expectCode({ u"config"_s, u"set"_s, u"OptimalCacheSize"_s, u"400000"_s }, 0);
    expectMended();
}

} // namespace zel::test
