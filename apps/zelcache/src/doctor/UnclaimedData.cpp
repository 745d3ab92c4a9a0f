#include "doctor/UnclaimedData.h"

#include "doctor/AsideName.h"
#include "doctor/Examination.h"
#include "errors/Propagate.h"
#include "platform/TreeRemoval.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <vector>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

// Why aside first: process A sees that nobody claims a folder, process B, which had begun to fetch
// before that, puts its data into it, process A removes both. A rename is one step: whoever had put
// something there before it shows in the database after it, or has left something new in there.

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::UnclaimedData)
};

struct Candidate
{
    QString path;
    QString aside; ///< empty if it was not moved
    qint64 newestChange = 0; ///< before it was moved
    Error failure;
};

Error stays(const QString &path)
{
    return Error(ErrorCode::OperationFailed,
                 Texts::tr("\"%1\" is claimed by now and stays.").arg(path));
}

/// What is in the folder, without the folder itself, which a rename changes.
qint64 newestChangeIn(const QString &folder)
{
    qint64 newest = 0;
    const auto outcome = TreeSurvey::make(
        folder, [](const QByteArray &, bool) { return TreeSurvey::Step::Measure; });
    for (const TreeSurvey::Entry &entry : outcome.entries)
        newest = std::max(newest, entry.newestChange);
    return newest;
}

/// The path with all that is in it; empty if it is gone.
std::optional<TreeSurvey::Entry> entryAt(const QString &path, const QByteArray &place)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return {};
    TreeSurvey::Entry entry;
    entry.path = place;
    entry.newestChange = info.metadataChangeTime().toMSecsSinceEpoch();
    if (info.isDir() && !info.isSymLink())
        entry.newestChange = std::max(entry.newestChange, newestChangeIn(path));
    return entry;
}

/// The places that rows lead to at one moment, by whatever name.
class Claims
{
public:
    explicit Claims(const Examination &all)
        : places(all.settings.cachePath.cacheDataDir())
    {
        claimed.reserve(std::size_t(all.snapshot.resources.size()));
        for (const ResourceCacheReader::Resource &resource : all.snapshot.resources) {
            if (QByteArray place = places.of(resource.path); !place.isEmpty())
                claimed.push_back(std::move(place));
        }
        std::sort(claimed.begin(), claimed.end());
    }

    /// Below the data directory.
    QByteArray placeOf(const QString &path) const { return places.named(path); }

    /// Whether a row has the path, or one in it or around it.
    bool include(const QString &path) const
    {
        const QByteArray place = placeOf(path);
        const auto inside = std::lower_bound(claimed.begin(), claimed.end(), place + '/');
        bool isIncluded = inside != claimed.end() && inside->startsWith(place + '/');
        for (QByteArray around = place; !around.isEmpty(); around = folderAround(around))
            isIncluded |= std::binary_search(claimed.begin(), claimed.end(), around);
        return isIncluded;
    }

private:
    DataPlaces places;
    std::vector<QByteArray> claimed; ///< sorted
};

/// What an interrupted repair has moved aside keeps its former name.
QString asidePathFor(const QString &path)
{
    const QString former = AsideName::formerPath(path);
    return AsideName::pathFor(former.isEmpty() ? path : former);
}

void moveAside(const Examination &before, const Claims &claims, Candidate &candidate)
{
    const auto entry = entryAt(candidate.path, claims.placeOf(candidate.path));
    if (!entry)
        return; // somebody else has removed it
    if (claims.include(candidate.path) || before.mayBeClaimed(*entry)) {
        candidate.failure = stays(candidate.path);
        return;
    }
    candidate.newestChange = entry->newestChange;
    candidate.aside = asidePathFor(candidate.path);
    if (QDir().rename(candidate.path, candidate.aside))
        return;
    candidate.aside.clear();
    candidate.failure = Error(ErrorCode::OperationFailed,
                              Texts::tr("\"%1\" cannot be removed.").arg(candidate.path));
}

void restore(Candidate &candidate)
{
    if (!QDir().rename(candidate.aside, candidate.path))
        candidate.failure = stays(candidate.aside);
}

void removeOrRestore(const Claims &claims, Candidate &candidate)
{
    if (candidate.aside.isEmpty())
        return;
    const bool isClaimed = claims.include(candidate.path)
        || newestChangeIn(candidate.aside) > candidate.newestChange;
    if (!isClaimed) {
        candidate.failure = ZEL_PASS(TreeRemoval::remove(candidate.aside));
        return;
    }
    candidate.failure = stays(candidate.path);
    restore(candidate);
}

/// Who claims it cannot be told.
void restoreWith(const Error &failure, Candidate &candidate)
{
    if (candidate.aside.isEmpty())
        return;
    candidate.failure = failure;
    restore(candidate);
}

Error interrupted()
{
    return Error(ErrorCode::Canceled, Texts::tr("It was interrupted."));
}

QList<Candidate> movedAside(const QStringList &paths, const Examination &before,
                            const std::function<bool()> &isInterrupted)
{
    const Claims claims(before);
    QList<Candidate> candidates;
    for (const QString &path : paths) {
        candidates.append({ path, {}, 0, {} });
        if (isInterrupted())
            candidates.last().failure = interrupted();
        else
            moveAside(before, claims, candidates.last());
    }
    return candidates;
}

} // namespace

QList<Error> removeUnclaimed(const QStringList &paths, const ResourceManagerSettings &settings,
                             std::chrono::milliseconds minimumAge,
                             const std::function<bool()> &isInterrupted)
{
    const auto before = examineRows(settings, minimumAge);
    if (!before.hasValue())
        return QList<Error>(paths.size(), before.error());
    QList<Candidate> candidates = movedAside(paths, before.value(), isInterrupted);
    const auto after = examineRows(settings, minimumAge);
    const Claims claims(after.hasValue() ? after.value() : before.value());
    QList<Error> outcomes;
    for (Candidate &candidate : candidates) {
        if (!after.hasValue())
            restoreWith(after.error(), candidate);
        else if (isInterrupted())
            restoreWith(interrupted(), candidate);
        else
            removeOrRestore(claims, candidate);
        outcomes.append(candidate.failure);
    }
    return outcomes;
}

} // namespace zel::cli
