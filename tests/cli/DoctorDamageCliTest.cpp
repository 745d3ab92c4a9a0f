#include "DoctorCli.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <filesystem>
#include <functional>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

using DoctorDamageCliTest = DoctorCli;

/// One that is made on purpose.
struct Damage
{
    const char *id;
    bool isRepaired; ///< false: it stays, and the exit code says so
    std::function<void(const DoctorCli &)> make;
};

/// How a failure names it.
void PrintTo(const Damage &damage, std::ostream *stream)
{
    *stream << damage.id;
}

class DoctorDamageKindCliTest : public DoctorCli, public testing::WithParamInterface<Damage>
{
};

} // namespace

TEST_P(DoctorDamageKindCliTest, doctor_damage_isNamedAndRepairedIfItMayBe)
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
    if (damage.isRepaired) {
        expectUntouched(references.last());
        const auto status = start({ u"status"_s, u"--json"_s });
        EXPECT_EQ(status->exitCode(), 0);
        EXPECT_EQ(jsonOf(status->output())[u"sizes"_s][u"current"_s].toInteger(), bytesOnDisk());
    }
}

const Damage damages[] {
    { "row-without-data", true,
      [](const DoctorCli &test) {
          QFile::remove(test.firstPath());
      } },
    { "row-without-path", true,
      [](const DoctorCli &test) {
          test.setOfFirst(u"cachedPath"_s, QVariant());
      } },
    { "data-without-row", true,
      [](const DoctorCli &test) {
          writeFile(test.place().dataDir() + u"/share/nobodys/deep/run.raw"_s, "data");
          writeFile(test.place().dataDir() + u"/stray.raw"_s, "data");
      } },
    { "leftover", true,
      [](const DoctorCli &test) {
          const QString name = u"/.leftover-"_s + QString(32, u'1');
          writeFile(QFileInfo(test.firstPath()).path() + name + u"/run.raw"_s, "data");
      } },
    { "data-aside", true,
      [](const DoctorCli &test) {
          const QFileInfo info(test.firstPath());
          QDir().rename(info.filePath(),
                        info.path() + u"/.unclaimed-"_s + QString(32, u'0') + u'-'
                            + info.fileName());
      } },
    { "manifest-broken", false,
      [](const DoctorCli &test) {
          writeFile(test.place().baseDir() + u"/Manifests/x.json"_s, "nonsense");
      } },
    { "size-differs", true,
      [](const DoctorCli &test) {
          test.setOfFirst(u"fileSize"_s, 5);
      } },
    { "sum-differs", true,
      [](const DoctorCli &test) {
          test.sql(u"UPDATE CacheMetadata SET currentSize = currentSize + 7"_s);
      } },
    { "metadata-rows", true,
      [](const DoctorCli &test) {
          test.sql(u"INSERT INTO CacheMetadata SELECT * FROM CacheMetadata"_s);
      } },
    { "fetch-without-task", true,
      [](const DoctorCli &test) {
          test.setOfFirst(u"status"_s, u"Acquiring"_s);
      } },
    { "data-of-missing-row", true,
      [](const DoctorCli &test) {
          test.setOfFirst(u"status"_s, u"Missing"_s);
      } },
    { "size-of-missing-row", true,
      [](const DoctorCli &test) {
          QFile::remove(test.firstPath());
          test.setOfFirst(u"status"_s, u"Missing"_s);
      } },
    { "status-unknown", false,
      [](const DoctorCli &test) {
          test.setOfFirst(u"status"_s, u"Frozen"_s);
      } },
    { "client-dead", true,
      [](const DoctorCli &test) {
          test.sql(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                   { DoctorCli::nobody, DoctorCli::now() - 60'000 });
      } },
    { "client-reused", true,
      [](const DoctorCli &test) {
          // Of the client, this process has the number only.
          test.sql(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                   { qint64(::getpid()), DoctorCli::now() - 86'400'000 });
      } },
    { "stray-rows", true,
      [](const DoctorCli &test) {
          test.sql(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 4711)"_s);
      } },
    { "path-moved", true,
      [](const DoctorCli &test) {
          const QString former = test.place().outside(u"former/Cache"_s);
          test.setOfFirst(u"cachedPath"_s,
                          test.firstPath().replace(test.place().dataDir(), former));
      } },
    { "path-outside", false,
      [](const DoctorCli &test) {
          const QString outside = test.place().outside(u"elsewhere.raw"_s);
          writeFile(outside, "data");
          test.setOfFirst(u"cachedPath"_s, outside);
      } },
    { "path-in-root", false,
      [](const DoctorCli &test) {
          const QString top = test.place().dataDir() + u"/top.raw"_s;
          writeFile(top, QByteArray(1000, 'a'));
          test.setOfFirst(u"cachedPath"_s, top);
      } },
    { "path-shared", false,
      [](const DoctorCli &test) {
          test.setOfFirst(u"cachedPath"_s, test.lastPath());
      } },
    { "path-other-spelling", false,
      [](const DoctorCli &test) {
          const QString link = test.place().outside(u"link"_s);
          QFile::link(test.place().dataDir(), link);
          test.setOfFirst(u"cachedPath"_s, test.firstPath().replace(test.place().dataDir(), link));
      } },
    { "scan-in-future", true,
      [](const DoctorCli &test) {
          test.sql(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s,
                   { DoctorCli::now() / 1000 + 86'400 });
      } },
    { "staging-stale", true,
      [](const DoctorCli &test) {
          const QString old = test.place().baseDir() + u"/Staging/key-state-0"_s;
          writeFile(old + u"/content/run.raw"_s, "data");
          writeFile(test.place().baseDir() + u"/Staging/key-state-1.2.leaving/run.raw"_s, "data");
          namespace fs = std::filesystem;
          fs::last_write_time(old.toStdString(),
                              fs::file_time_type::clock::now() - std::chrono::days(8));
      } },
    { "journal-mode", true,
      [](const DoctorCli &test) {
          test.sql(u"PRAGMA journal_mode = DELETE"_s);
      } },
    { "data-directory-missing", false,
      [](const DoctorCli &test) {
          QDir().rename(test.place().dataDir(), test.place().outside(u"unmounted"_s));
      } },
    { "database-unreadable", false,
      [](const DoctorCli &test) {
          QFile::remove(test.place().databasePath() + u"-wal"_s);
          QFile::remove(test.place().databasePath() + u"-shm"_s);
          writeFile(test.place().databasePath(), QByteArray(8192, 'x'));
      } },
};

INSTANTIATE_TEST_SUITE_P(Each, DoctorDamageKindCliTest, testing::ValuesIn(damages),
                         [](const auto &damage) {
                             return QString::fromLatin1(damage.param.id).remove(u'-').toStdString();
                         });

TEST_F(DoctorDamageCliTest, doctor_allRepairableDamagesAtOnce_areRepairedAtOnce)
{
    QSet<QString> made;
    for (const Damage &damage : damages) {
        const QString id = QString::fromLatin1(damage.id);
        // Two things cannot be wrong with one status at a time.
        if (!damage.isRepaired || id == u"data-of-missing-row" || id == u"size-of-missing-row"
            || id == u"fetch-without-task" || id == u"size-differs" || id == u"row-without-path"
            || id == u"path-moved" || id == u"data-aside")
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

/// What is told and not repaired, with a remedy that has to help.
class DoctorDamageRemedyCliTest : public DoctorCli, public testing::WithParamInterface<const char *>
{
};

TEST_P(DoctorDamageRemedyCliTest, remedy_movingItOutOfTheWay_endsTheDamageAndHarmsNothing)
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

INSTANTIATE_TEST_SUITE_P(Each, DoctorDamageRemedyCliTest,
                         testing::Values("path-outside", "path-in-root"), [](const auto &id) {
                             return QString::fromLatin1(id.param).remove(u'-').toStdString();
                         });

} // namespace zel::test
