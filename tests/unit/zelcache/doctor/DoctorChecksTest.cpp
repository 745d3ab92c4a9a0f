#include "doctor/Checks.h"
#include "doctor/DoctorReport.h"

#include "AsAnybody.h"
#include "TemporaryCache.h"

#include <QFile>
#include <QTemporaryDir>

#include <limits>

using namespace zel;
using namespace zel::cli;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QFileDevice::Permissions open = QFileDevice::ReadOwner | QFileDevice::WriteOwner
    | QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::ExeGroup
    | QFileDevice::ReadOther | QFileDevice::ExeOther;

using Kinds = QList<FindingKind>;

Kinds kindsOf(const Findings &findings)
{
    Kinds kinds;
    for (const Finding &finding : findings)
        kinds.append(finding.kind);
    return kinds;
}

/// What cannot be made on purpose without harm to the machine is told to the checks instead.
class DoctorChecksTest : public testing::Test
{
protected:
    DoctorChecksTest()
    {
        all.now = 1'700'000'000'000;
        all.lock.user = u"me"_s;
        all.lock.temporaryFolder = u"/tmp"_s;
        all.settings.sizes.optimalSize = 10;
        all.settings.sizes.maximumSize = 20;
    }

    template<typename Check>
    Kinds found(Check check) const
    {
        Findings findings;
        check(all, findings);
        return kindsOf(findings);
    }

    /// A client that was heard of so many milliseconds ago.
    void addClient(qint64 processId, qint64 silence)
    {
        all.snapshot.clients.append({ processId, processId, all.now - silence });
    }
    void addProcess(qint64 processId, qint64 age)
    {
        ProcessFacts facts;
        facts.exists = true;
        facts.started = all.now - age;
        facts.user = u"me"_s;
        all.processes.insert(processId, facts);
    }

    Examination all;
};

} // namespace

TEST_F(DoctorChecksTest, place_networkFileSystems_areToldFromLocalOnes)
{
    for (const char *type : { "nfs", "nfs4", "cifs", "smb2", "smb3", "9p", "fuse.sshfs" }) {
        all.fileSystem = QString::fromLatin1(type);
        EXPECT_EQ(found(checks::place), Kinds { FindingKind::NetworkFileSystem }) << type;
    }
    for (const char *type : { "ext4", "xfs", "btrfs", "tmpfs", "overlay", "fuseblk", "" }) {
        all.fileSystem = QString::fromLatin1(type);
        EXPECT_EQ(found(checks::place), Kinds()) << type;
    }
}

TEST_F(DoctorChecksTest, place_maximum_isComparedWithTheWholeVolume)
{
    all.partitionSize = 20;
    EXPECT_EQ(found(checks::place), Kinds());
    all.partitionSize = 19;
    EXPECT_EQ(found(checks::place), Kinds { FindingKind::MaximumAbovePartition });
    all.partitionSize = -1; // not known
    EXPECT_EQ(found(checks::place), Kinds());
}

TEST_F(DoctorChecksTest, clients_livingSilentDeadAndReused_areToldApart)
{
    addClient(1, 1000);
    addProcess(1, 60'000);
    addClient(2, 40'000);
    addProcess(2, 60'000);
    addClient(3, 40'000);
    addClient(4, 40'000);
    addProcess(4, 10'000);
    addClient(5, 1000); // of another container, perhaps
    addClient(6, 1000); // of another one, surely
    addProcess(6, 60'000);
    all.hasCacheOpen.insert(6, false);
    EXPECT_EQ(
        found(checks::clients),
        (Kinds { FindingKind::ClientSilent, FindingKind::ClientDead, FindingKind::ClientReused }));
}

TEST_F(DoctorChecksTest, clients_reusedButNotSilentForLong_isNotRepairedYet)
{
    addClient(1, 10'000);
    addProcess(1, 5000);
    Findings findings;
    checks::clients(all, findings);
    ASSERT_EQ(kindsOf(findings), Kinds { FindingKind::ClientReused });
    EXPECT_FALSE(findings.first().repair);
}

TEST_F(DoctorChecksTest, lock_heldByAProcessThatIsGone_isStuckAndForbidsRepairs)
{
    all.lock.after.access = SystemSemaphoreState::Access::Seen;
    all.lock.after.lastProcess = 7;
    Findings findings;
    checks::lock(all, findings);
    EXPECT_EQ(kindsOf(findings), Kinds { FindingKind::LockStuck });
    findings.append({ FindingKind::RowWithoutData,
                      u"a"_s,
                      {},
                      RepairStep { RepairStep::Kind::ForgetData, u"a"_s, u"/a"_s } });
    EXPECT_TRUE(planOf(findings).isEmpty());

    addProcess(7, 1000);
    EXPECT_EQ(found(checks::lock), Kinds { FindingKind::LockHeld });
}

TEST_F(DoctorChecksTest, lock_ofAnotherUserForHimself_isNamedWithItsOwner)
{
    all.lock.after.access = SystemSemaphoreState::Access::Refused;
    all.lock.after.keyFile = u"/tmp/key"_s;
    all.lock.after.owner = u"another"_s;
    Findings findings;
    checks::lock(all, findings);
    ASSERT_EQ(kindsOf(findings), Kinds { FindingKind::LockRefused });
    EXPECT_EQ(findings.first().subject, u"/tmp/key"_s);
    EXPECT_TRUE(findings.first().explanation.contains(u"\"another\""_s));
    EXPECT_FALSE(findings.first().repair);
    all.lock.after.access = SystemSemaphoreState::Access::Absent; // nobody has had it yet
    EXPECT_EQ(found(checks::lock), Kinds());
}

TEST_F(DoctorChecksTest, place_linkedBase_isADamageOnceItsOtherNameHasALock)
{
    all.lock.otherSpelling = u"/real"_s;
    Findings findings;
    checks::place(all, findings);
    ASSERT_EQ(kindsOf(findings), Kinds { FindingKind::BaseIsLinked });
    EXPECT_FALSE(findings.first().isDamage());
    EXPECT_TRUE(findings.first().explanation.contains(u"\"/real\""_s));
    for (const auto access :
         { SystemSemaphoreState::Access::Seen, SystemSemaphoreState::Access::Refused }) {
        all.lock.otherSemaphore.access = access;
        EXPECT_EQ(found(checks::place), Kinds { FindingKind::TwoSpellings });
    }
}

TEST_F(DoctorChecksTest, disk_folderThatCannotBeRead_isNamedAndNotJudged)
{
    QTemporaryDir directory;
    ASSERT_TRUE(QFile::setPermissions(directory.path(), open));
    const auto at = [&directory](const QString &name) {
        return directory.filePath(name);
    };
    writeFile(at(u"share/closed/run.raw"_s), "data");
    writeFile(at(u"share/nobodys/closed/run.raw"_s), "data");
    ResourceCacheReader::Resource row;
    row.reference = u"a"_s;
    row.path = at(u"share/closed/run.raw"_s);
    row.status = ResourceStatus::Ready;
    all.snapshot.resources.append(row);
    all.condition.metadataRows = 1;
    for (const QString &folder : { at(u"share/closed"_s), at(u"share/nobodys/closed"_s) })
        ASSERT_TRUE(QFile::setPermissions(folder, {}));
    const AsAnybody anybody;
    if (!anybody.canReach(at(u"share"_s)))
        GTEST_SKIP() << "the folders above are closed to anybody";

    all.data = DataInventory::of(directory.path(), all.snapshot.resources);
    EXPECT_EQ(found(checks::rows), Kinds());
    EXPECT_EQ(found(checks::disk),
              (Kinds { FindingKind::FolderUnreadable, FindingKind::FolderUnreadable }));
}

TEST_F(DoctorChecksTest, lock_clientsOfOthers_areNamedAsLongAsTheyLive)
{
    addClient(1, 1000);
    addProcess(1, 60'000);
    all.processes[1].user = u"another"_s;
    addClient(2, 1000);
    addProcess(2, 60'000);
    all.processes[2].temporaryFolder = u"/scratch"_s;
    EXPECT_EQ(found(checks::lock),
              (Kinds { FindingKind::LockOtherUser, FindingKind::LockOtherTemp }));
    all.now += 60'000;
    EXPECT_EQ(found(checks::lock), Kinds());
}

TEST_F(DoctorChecksTest, mayBeClaimed_runningFetch_claimsWhatIsNewerThanItsProcess)
{
    addClient(1, 1000);
    addProcess(1, 60'000);
    all.snapshot.acquiringTasks.append({ u"a"_s, 1, 1, 50 });
    TreeSurvey::Entry entry;
    entry.newestChange = all.now - 30'000;
    EXPECT_TRUE(all.mayBeClaimed(entry));
    entry.newestChange = all.now - 90'000;
    EXPECT_FALSE(all.mayBeClaimed(entry));
    all.minimumAge = std::chrono::seconds(100);
    EXPECT_TRUE(all.mayBeClaimed(entry));
}

TEST_F(DoctorChecksTest, database_sizesBeyondAllNumbers_areADifference)
{
    all.condition.metadataRows = 1;
    all.condition.journalMode = u"wal"_s;
    ResourceCacheReader::Resource row;
    row.size = std::numeric_limits<qint64>::max() - 1;
    all.snapshot.resources = { row, row };
    all.snapshot.currentSize = -4; // what the sum wraps around to
    EXPECT_EQ(found(checks::database), Kinds { FindingKind::SumDiffers });
}

TEST_F(DoctorChecksTest, lock_directoryHeldByWhoCannotBeSeen_isANote)
{
    all.lock.directory.isHeld = true;
    Findings findings;
    checks::lock(all, findings);
    ASSERT_EQ(kindsOf(findings), Kinds { FindingKind::LockHeld });
    EXPECT_TRUE(findings.first().explanation.contains(u"by whom cannot be seen"_s));
    all.lock.directory.holder = 4711;
    EXPECT_EQ(found(checks::lock), Kinds { FindingKind::LockBeside });
}

TEST_F(DoctorChecksTest, withdrawForbiddenRepairs_stuckLock_offersNoRepairOfTheOthers)
{
    const RepairStep open { RepairStep::Kind::OpenCache, {}, {} };
    Findings findings { { FindingKind::ClientDead, u"process 1"_s, {}, open } };
    withdrawForbiddenRepairs(findings);
    EXPECT_TRUE(findings.first().repair);
    EXPECT_TRUE(remedyText(findings.first()).contains(u"--repair"_s));
    findings.append({ FindingKind::LockStuck, u"process 2"_s, {}, {} });
    withdrawForbiddenRepairs(findings);
    EXPECT_FALSE(findings.first().repair);
    EXPECT_TRUE(remedyText(findings.first()).startsWith(u"Nothing is repaired as long as"_s));
}

TEST_F(DoctorChecksTest, remedyText_findingThatIsNotRepaired_sendsNobodyToTheRepair)
{
    for (const FindingDescription &description : allFindingDescriptions()) {
        const Finding finding { description.kind, {}, {}, {} };
        EXPECT_FALSE(remedyText(finding) == u"\"zelcache doctor --repair\" mends it."_s)
            << description.id.toString().toStdString();
    }
}

TEST_F(DoctorChecksTest, planOf_equalSteps_areDoneOnceAndInOrder)
{
    const RepairStep open { RepairStep::Kind::OpenCache, {}, {} };
    const RepairStep remove { RepairStep::Kind::RemoveData, {}, u"/x"_s };
    const Findings findings { { FindingKind::DataWithoutRow, u"/x"_s, {}, remove },
                              { FindingKind::ClientDead, {}, {}, open },
                              { FindingKind::StrayRows, {}, {}, open } };
    EXPECT_EQ(planOf(findings), (RepairPlan { open, remove }));
}

TEST_F(DoctorChecksTest, planOf_consequence_isPlannedAtOnceAndWithdrawnWithItsRepair)
{
    const RepairStep end { RepairStep::Kind::EndFetch, u"a"_s, u"/a"_s };
    const RepairStep clear { RepairStep::Kind::ClearMissing, u"a"_s, u"/a"_s };
    Finding fetch { FindingKind::FetchWithoutTask, u"a"_s, {}, end };
    fetch.consequence = clear;
    EXPECT_EQ(planOf({ fetch }), (RepairPlan { end, clear }));
    EXPECT_EQ(planOf({ fetch, { FindingKind::DatabaseDamaged, {}, {}, {} } }), RepairPlan());
}

TEST_F(DoctorChecksTest, planOf_countOfAllSizes_neverHidesDamagedData)
{
    const RepairStep countAll { RepairStep::Kind::CountAll, {}, {} };
    const RepairStep count { RepairStep::Kind::CountSize, u"a"_s, u"/a"_s };
    const Finding scan { FindingKind::ScanInFuture, {}, {}, countAll };
    EXPECT_EQ(planOf({ scan, { FindingKind::SizeDiffers, u"a"_s, {}, count } }),
              (RepairPlan { count, countAll }));
    Findings findings { scan, { FindingKind::SizeDiffers, u"a"_s, {}, {}, remedyOfDamagedData } };
    EXPECT_EQ(planOf(findings), RepairPlan());
    withdrawForbiddenRepairs(findings);
    EXPECT_TRUE(remedyText(findings.first()).startsWith(u"To count all sizes"_s));
}

TEST_F(DoctorChecksTest, keepUnchanged_rowsThatChangedMeanwhile_areNotTold)
{
    ResourceCacheReader::Resource row;
    row.reference = u"a"_s;
    row.status = ResourceStatus::Ready;
    ResourceCacheReader::Snapshot before, after;
    before.resources.append(row);
    row.status = ResourceStatus::Missing;
    after.resources.append(row);
    const Findings told { { FindingKind::RowWithoutData, u"a"_s, {}, {} },
                          { FindingKind::LockHeld, u"process 1"_s, {}, {} } };
    Findings findings = told;
    keepUnchanged(findings, before, after);
    EXPECT_EQ(kindsOf(findings), Kinds { FindingKind::LockHeld });
    findings = told;
    keepUnchanged(findings, before, before);
    EXPECT_EQ(findings.size(), 2);
}

TEST(FindingTest, allFindingDescriptions_everyId_standsOnceInTheDocument)
{
    QFile document(QStringLiteral(ZELCACHE_DOCUMENT));
    ASSERT_TRUE(document.open(QIODevice::ReadOnly));
    const QByteArray text = document.readAll();
    for (const FindingDescription &description : allFindingDescriptions()) {
        EXPECT_EQ(text.count("| `" + description.id.toLatin1() + "` | "
                             + severityText(description.severity).toLatin1() + " |"),
                  1)
            << description.id.toString().toStdString();
        EXPECT_EQ(descriptionOf(description.kind).id, description.id);
        EXPECT_FALSE(remedyText(Finding { description.kind, {}, {}, {} }).isEmpty());
    }
}
