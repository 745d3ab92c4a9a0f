#include "doctor/Checks.h"

#include "files/FileUtilsGeneric.h"
#include "integrity/ContentVerifier.h"
#include "integrity/ManifestStore.h"
#include "zacq/Zacq.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace zel::cli::checks {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RowChecks)
};

using Resource = ResourceCacheReader::Resource;

std::optional<FindingKind> kindOf(DataPlaces::Position position)
{
    switch (position) {
    case DataPlaces::Position::InFolder:
        break;
    case DataPlaces::Position::OtherSpelling:
        return FindingKind::PathOtherSpelling;
    case DataPlaces::Position::InRoot:
    case DataPlaces::Position::InSchemeFolder:
        return FindingKind::PathInRoot;
    case DataPlaces::Position::Outside:
        return FindingKind::PathOutside;
    }
    return {};
}

/// Whether names and sizes are those of its fetch; empty if there is no manifest of it.
std::optional<bool> isAsFetched(const Resource &resource, const ManifestStore &store)
{
    const auto manifest = store.read(resource.reference);
    const QFileInfo info(resource.path);
    if (!manifest.hasValue() || !manifest.value()
        || manifest.value()->name != QFile::encodeName(info.fileName()))
        return {};
    ContentVerifier verifier(*manifest.value(), info.path());
    verifier.compare();
    if (verifier.isOfSomethingElse())
        return {};
    const auto findings = verifier.findings();
    return std::all_of(findings.begin(), findings.end(), [](const auto &finding) {
        return finding.kind == ContentVerifier::Kind::Extra;
    });
}

/// Bytes on the disk, by the rules of the count itself, for links and for what has changed since
/// the walk.
class ContentSizes
{
public:
    /// `target` of a sparse container; empty for everything else.
    ContentSizes(const QString &path, const QString &target)
        : counted(FileUtilsGeneric::contentSize(path))
    {
        if (target.isEmpty())
            return;
        counted += FileUtilsGeneric::contentSize(target);
        ofManifests = zacq::Zacq::manifestSize(path) + zacq::Zacq::manifestSize(target);
    }

    qint64 all() const { return counted; }
    /// Whether the cache may have counted that. A fetch counts a container before its sample moves,
    /// for which one manifest becomes longer and one comes anew.
    bool mayHaveBeen(qint64 size) const { return size <= counted && counted - size <= ofManifests; }

private:
    qint64 counted = 0;
    qint64 ofManifests = 0; ///< of a sparse container
};

class RowChecks
{
public:
    RowChecks(const Examination &all, Findings &findings);

    void check(const Resource &resource);

private:
    void add(FindingKind kind, const Resource &resource, const QString &explanation,
             std::optional<RepairStep::Kind> repair = {});
    void checkReady(const Resource &resource);
    void checkFetched(const Resource &resource);
    void checkMissing(const Resource &resource);
    std::optional<RepairStep> clearingOf(const Resource &resource) const;
    void checkPlace(const Resource &resource, const QByteArray &path);
    void checkSize(const Resource &resource, const QByteArray &path);
    void addSize(const Resource &resource, qint64 counted);
    bool wasMoved(const Resource &resource);
    bool wasMovedAside(const Resource &resource, const QByteArray &path);
    bool isThere(const Resource &resource, const QByteArray &path) const;

    const Examination &all;
    Findings &findings;
    QSet<QString> wanted; ///< by somebody who is alive
    QHash<QByteArray, QString> ownersOfPaths;
};

RowChecks::RowChecks(const Examination &all, Findings &findings)
    : all(all)
    , findings(findings)
{
    for (const ResourceCacheReader::AcquiringTask &task : all.snapshot.acquiringTasks) {
        if (!wanted.contains(task.reference) && all.isAlive(task.clientId))
            wanted.insert(task.reference);
    }
}

void RowChecks::add(FindingKind kind, const Resource &resource, const QString &explanation,
                    std::optional<RepairStep::Kind> repair)
{
    Finding finding { kind, resource.reference, explanation, {} };
    if (repair)
        finding.repair = RepairStep { *repair, resource.reference, resource.path };
    findings.append(finding);
}

void RowChecks::check(const Resource &resource)
{
    switch (resource.status) {
    case ResourceStatus::Ready:
        checkReady(resource);
        break;
    case ResourceStatus::Missing:
        checkMissing(resource);
        break;
    case ResourceStatus::ScheduledForAcquire:
    case ResourceStatus::Acquiring:
        checkFetched(resource);
        break;
    case ResourceStatus::Invalid:
        add(FindingKind::StatusUnknown, resource,
            Texts::tr("Its status is none that this program knows."));
        break;
    }
}

bool RowChecks::isThere(const Resource &resource, const QByteArray &path) const
{
    return all.data.sizeAt(path) || QFileInfo::exists(resource.path)
        || QFileInfo(resource.path).isSymLink();
}

void RowChecks::checkReady(const Resource &resource)
{
    if (resource.path.isEmpty()) {
        add(FindingKind::RowWithoutPath, resource, Texts::tr("It is Ready, but has no path."),
            RepairStep::Kind::ForgetData);
        return;
    }
    const QByteArray path = all.data.places().named(resource.path);
    if (!path.isEmpty() && (all.data.isHidden(path) || !all.data.exists()))
        return;
    if (path.isEmpty() && wasMoved(resource))
        return;
    checkPlace(resource, path);
    if (wasMovedAside(resource, path))
        return;
    if (!isThere(resource, path)) {
        add(FindingKind::RowWithoutData, resource,
            Texts::tr("It is Ready, but there is nothing at \"%1\".").arg(resource.path),
            RepairStep::Kind::ForgetData);
        return;
    }
    if (!path.isEmpty())
        checkSize(resource, path);
}

/// Somebody has moved the base directory: the row leads to nothing, but its data came along.
bool RowChecks::wasMoved(const Resource &resource)
{
    const QByteArray place = all.data.places().afterMove(resource.path);
    if (!all.data.sizeAt(place) || all.data.isOfSeveral(place) || isThere(resource, {}))
        return false;
    const QString path = all.data.places().pathTo(place);
    findings.append({ FindingKind::PathMoved, resource.reference,
                      Texts::tr("There is nothing at \"%1\", but its data lies at \"%2\".")
                          .arg(resource.path, path),
                      RepairStep { RepairStep::Kind::FollowMove, resource.reference, path } });
    return true;
}

/// A repair was interrupted that had taken it for nobody's.
bool RowChecks::wasMovedAside(const Resource &resource, const QByteArray &path)
{
    const QByteArray aside = all.data.asideFor(path);
    if (aside.isEmpty() || isThere(resource, path))
        return false;
    const QString asidePath = all.data.places().pathTo(aside);
    findings.append(
        { FindingKind::DataAside, resource.reference,
          Texts::tr("There is nothing at \"%1\", but a repair that was interrupted has moved its "
                    "data to \"%2\".")
              .arg(resource.path, asidePath),
          RepairStep { RepairStep::Kind::PutBack, resource.reference, asidePath } });
    return true;
}

/// `path` is that below the data directory, empty for one that does not lie there.
void RowChecks::checkPlace(const Resource &resource, const QByteArray &path)
{
    const auto position = all.data.places().positionOf(resource.path);
    if (const auto kind = kindOf(position))
        add(*kind, resource, positionText(position, resource.path));
    if (!path.isEmpty() && !all.data.isShared(path))
        return;
    QString &owner
        = ownersOfPaths[path.isEmpty() ? QFile::encodeName(QDir::cleanPath(resource.path)) : path];
    if (!owner.isEmpty()) {
        add(FindingKind::PathShared, resource,
            Texts::tr("\"%1\" is also the path of %2.").arg(resource.path, owner));
    }
    owner = resource.reference;
}

void RowChecks::checkSize(const Resource &resource, const QByteArray &path)
{
    const qint64 size = all.data.sizeAt(path).value_or(0);
    const qint64 beside = all.data.sizeBeside(path);
    // The files beside it are counted with the next count of sizes, not with the fetch.
    const QString target = zacq::Zacq::sparseTarget(resource.path);
    if (target.isEmpty() && (resource.size == size || resource.size == size + beside))
        return;
    const ContentSizes sizes(resource.path, target);
    if (sizes.mayHaveBeen(resource.size) || resource.size == sizes.all() + beside)
        return;
    addSize(resource, sizes.all());
}

/// Data that was cut off is not mended by a row that says so. Without a manifest nobody knows, and
/// less than there was is suspect.
void RowChecks::addSize(const Resource &resource, qint64 counted)
{
    const auto store = ManifestStore::forCache(all.settings.cachePath.cacheDataDir());
    const std::optional<bool> isFetched = isAsFetched(resource, store);
    const QString text = Texts::tr("The cache counts %1 bytes, on the disk it has %2.")
                             .arg(resource.size)
                             .arg(counted);
    if (isFetched.value_or(counted > resource.size)) {
        add(FindingKind::SizeDiffers, resource, text, RepairStep::Kind::CountSize);
        return;
    }
    add(FindingKind::SizeDiffers, resource, text);
    findings.last().remedy = isFetched ? remedyOfDamagedData : remedyOfLessData;
}

void RowChecks::checkFetched(const Resource &resource)
{
    if (wanted.contains(resource.reference))
        return;
    add(FindingKind::FetchWithoutTask, resource,
        Texts::tr("It is said to be fetched, but no living process fetches it."),
        RepairStep::Kind::EndFetch);
    findings.last().consequence = clearingOf(resource);
}

void RowChecks::checkMissing(const Resource &resource)
{
    if (wanted.contains(resource.reference))
        return;
    const auto clearing = clearingOf(resource);
    if (!clearing)
        return;
    const bool hasData = clearing->kind == RepairStep::Kind::ClearMissing;
    const QString text = hasData
        ? Texts::tr("It is Missing, but something lies at \"%1\".").arg(resource.path)
        : Texts::tr("It is Missing, but the cache counts %1 bytes for it.").arg(resource.size);
    findings.append({ hasData ? FindingKind::DataOfMissingRow : FindingKind::SizeOfMissingRow,
                      resource.reference, text, clearing });
}

/// What is left to be done for a row that is Missing, or becomes so. What lies elsewhere is none of
/// the cache's, and what is another row's stays.
std::optional<RepairStep> RowChecks::clearingOf(const Resource &resource) const
{
    const QByteArray path = all.data.places().named(resource.path);
    if (!path.isEmpty() && (all.data.isHidden(path) || !all.data.exists()))
        return {};
    if (path.contains('/') && all.data.sizeAt(path) && !all.data.isOfSeveral(path))
        return RepairStep { RepairStep::Kind::ClearMissing, resource.reference, resource.path };
    if (resource.size != 0)
        return RepairStep { RepairStep::Kind::ForgetSize, resource.reference, {} };
    return {};
}

} // namespace

void rows(const Examination &all, Findings &findings)
{
    RowChecks checks(all, findings);
    for (const Resource &resource : all.snapshot.resources)
        checks.check(resource);
}

} // namespace zel::cli::checks
