#include "doctor/Examination.h"

#include "doctor/Checks.h"
#include "errors/Propagate.h"
#include "integrity/ManifestStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Reader = ResourceCacheReader;

LockFacts lockFactsOf(const ResourceCachePath &path)
{
    const QString key = ResourceCachePath::semaphoreKeyFor(path.baseDirPath());
    LockFacts facts;
    facts.before = SystemSemaphoreState::of(key);
    facts.directory = DirectoryLockState::of(path.baseDirPath());
    facts.after = SystemSemaphoreState::of(key);

    const QString base = QDir::cleanPath(path.baseDirPath());
    const QString resolved = QFileInfo(base).canonicalFilePath();
    if (!resolved.isEmpty() && resolved != base) {
        const QString otherKey = ResourceCachePath::semaphoreKeyFor(resolved);
        facts.otherSpelling = resolved;
        facts.otherSemaphore = SystemSemaphoreState::of(otherKey);
    }
    const ProcessFacts self = ProcessFacts::of(QCoreApplication::applicationPid());
    facts.temporaryFolder = QDir::tempPath();
    facts.user = self.user;
    return facts;
}

void addProcesses(Examination &all)
{
    const QString database = all.settings.cachePath.databasePath();
    for (const Reader::Client &client : all.snapshot.clients) {
        all.processes.insert(client.processId, ProcessFacts::of(client.processId));
        if (const auto hasCacheOpen = ProcessFacts::hasOpen(client.processId, database))
            all.hasCacheOpen.insert(client.processId, *hasCacheOpen);
    }
    const qint64 last = all.lock.after.lastProcess;
    all.processes.insert(last, ProcessFacts::of(last));
    if (const auto holder = all.lock.directory.holder)
        all.processes.insert(*holder, ProcessFacts::of(*holder));
}

void readStaging(Examination &all)
{
    all.staging = StagingPlace::readAll(all.settings.cachePath.cacheDataDir());
    for (const StagingPlace &place : std::as_const(all.staging)) {
        if (place.isInUse())
            all.foldersBeingFilled.insert(place.resourceFolder());
    }
}

Error readDatabase(Examination &all)
{
    const Reader reader(all.settings.cachePath.databasePath());
    ZEL_TRY_LET(all.condition, reader.readCondition());
    ZEL_TRY_LET(all.snapshot, reader.read(Reader::Path));
    return {};
}

Examination begun(const ResourceManagerSettings &settings, std::chrono::milliseconds minimumAge)
{
    Examination all;
    all.settings = settings;
    all.minimumAge = minimumAge;
    return all;
}

bool isSameRow(const Reader::Resource &left, const Reader::Resource &right)
{
    return left.status == right.status && left.path == right.path && left.size == right.size;
}

QHash<QString, Reader::Resource> byReference(const Reader::Snapshot &snapshot,
                                             const QSet<QString> &wanted)
{
    QHash<QString, Reader::Resource> rows;
    for (const Reader::Resource &resource : snapshot.resources) {
        if (wanted.contains(resource.reference))
            rows.insert(resource.reference, resource);
    }
    return rows;
}

} // namespace

Liveness Examination::livenessOf(const Reader::Client &client) const
{
    const ProcessFacts process = processes.value(client.processId);
    ProcessSight sight { process.started, process.program, {} };
    if (const auto open = hasCacheOpen.constFind(client.processId); open != hasCacheOpen.cend())
        sight.hasCacheOpen = *open;
    return ClientLife(client, sight).at(now);
}

bool Examination::isAlive(qint64 clientId) const
{
    return std::any_of(snapshot.clients.begin(), snapshot.clients.end(),
                       [this, clientId](const Reader::Client &client) {
                           return client.id == clientId && ClientLife::counts(client, now);
                       });
}

bool Examination::mayBeClaimed(const TreeSurvey::Entry &entry) const
{
    if (now - entry.newestChange < minimumAge.count() || isOfStagedFetch(entry))
        return true;
    // What a fetch has put at its place, and has not told of yet, is newer than its process.
    return std::any_of(snapshot.acquiringTasks.begin(), snapshot.acquiringTasks.end(),
                       [this, &entry](const Reader::AcquiringTask &task) {
                           if (!isAlive(task.clientId))
                               return false;
                           const auto process = processes.value(task.processId.value_or(0));
                           return !process.started || entry.newestChange >= *process.started;
                       });
}

bool Examination::isOfStagedFetch(const TreeSurvey::Entry &entry) const
{
    if (foldersBeingFilled.isEmpty())
        return false;
    const QByteArray folder = entry.path.split('/').value(1); // in that of the scheme
    return foldersBeingFilled.contains(QFile::decodeName(folder));
}

Result<Examination> examine(const ResourceManagerSettings &settings,
                            std::chrono::milliseconds minimumAge)
{
    Examination all = begun(settings, minimumAge);
    all.databaseFailure = readDatabase(all);
    if (all.databaseFailure.errorCode() == ErrorCode::BadArgument)
        return all.databaseFailure;

    // Before the walk: what is made meanwhile is younger.
    all.now = QDateTime::currentMSecsSinceEpoch();
    const QString dataDirectory = settings.cachePath.cacheDataDir();
    if (!all.databaseFailure.hasError())
        all.data = DataInventory::of(dataDirectory, all.snapshot.resources);
    readStaging(all);
    all.manifestFailures = ManifestStore::forCache(dataDirectory).failures();
    const QStorageInfo volume(settings.cachePath.baseDirPath().toString());
    all.fileSystem = QString::fromLatin1(volume.fileSystemType());
    all.partitionSize = volume.bytesTotal();
    all.lock = lockFactsOf(settings.cachePath);
    addProcesses(all);
    return all;
}

Result<Examination> examineRows(const ResourceManagerSettings &settings,
                                std::chrono::milliseconds minimumAge)
{
    Examination all = begun(settings, minimumAge);
    ZEL_TRY_LET(all.snapshot, Reader(settings.cachePath.databasePath()).read(Reader::Path));
    all.now = QDateTime::currentMSecsSinceEpoch();
    readStaging(all);
    addProcesses(all);
    return all;
}

void keepUnchanged(Findings &findings, const Reader::Snapshot &before,
                   const Reader::Snapshot &after)
{
    QSet<QString> subjects;
    for (const Finding &finding : findings)
        subjects.insert(finding.subject);
    const auto first = byReference(before, subjects);
    const auto second = byReference(after, subjects);
    findings.removeIf([&](const Finding &finding) {
        const auto row = first.constFind(finding.subject);
        return row != first.cend() && !isSameRow(*row, second.value(finding.subject));
    });
}

Findings findingsOf(const Examination &all)
{
    Findings findings;
    checks::database(all, findings);
    if (!all.databaseFailure.hasError()) {
        checks::rows(all, findings);
        checks::disk(all, findings);
        checks::clients(all, findings);
    }
    checks::place(all, findings);
    checks::lock(all, findings);
    withdrawForbiddenRepairs(findings);
    return findings;
}

} // namespace zel::cli
