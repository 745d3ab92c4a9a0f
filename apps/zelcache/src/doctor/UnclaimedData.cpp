#include "doctor/UnclaimedData.h"

#include "doctor/Examination.h"
#include "errors/Propagate.h"
#include "platform/TreeRemoval.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

// Why aside first: process A sees that nobody claims a folder, process B, which had begun to fetch
// before that, puts its data into it, process A removes both. A rename is one step: whoever had put
// something there before it shows in the database after it, or has left something new in there.

namespace {

struct Candidate
{
    QString path;
    QString aside; ///< empty if it was not moved
    qint64 newestChange = 0; ///< before it was moved
    Error failure;
};

Error stays(const QString &path)
{
    return Error(ErrorCode::OperationFailed, u"\"%1\" is claimed by now and stays."_s.arg(path));
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
std::optional<TreeSurvey::Entry> entryAt(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return {};
    TreeSurvey::Entry entry;
    entry.newestChange = info.metadataChangeTime().toMSecsSinceEpoch();
    if (info.isDir() && !info.isSymLink())
        entry.newestChange = std::max(entry.newestChange, newestChangeIn(path));
    return entry;
}

/// By whatever name a row's path leads there.
bool isInRow(const Examination &all, const QString &path)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    const auto isIn = [](const QString &inner, const QString &outer) {
        return !outer.isEmpty() && (inner == outer || inner.startsWith(outer + u'/'));
    };
    const QString dataDirectory = all.settings.cachePath.cacheDataDir();
    return std::any_of(all.snapshot.resources.begin(), all.snapshot.resources.end(),
                       [&](const auto &resource) {
                           const QString claimed = QDir::cleanPath(resource.path);
                           return isIn(claimed, path)
                               || (!isIn(claimed, dataDirectory)
                                   && isIn(QFileInfo(claimed).canonicalFilePath(), resolved));
                       });
}

void moveAside(const Examination &before, Candidate &candidate)
{
    const auto entry = entryAt(candidate.path);
    if (!entry)
        return; // somebody else has removed it
    if (isInRow(before, candidate.path) || before.mayBeClaimed(*entry)) {
        candidate.failure = stays(candidate.path);
        return;
    }
    candidate.newestChange = entry->newestChange;
    candidate.aside = QFileInfo(candidate.path).path() + u"/.unclaimed-"_s
        + QUuid::createUuid().toString(QUuid::Id128);
    if (QDir().rename(candidate.path, candidate.aside))
        return;
    candidate.aside.clear();
    candidate.failure
        = Error(ErrorCode::OperationFailed, u"\"%1\" cannot be removed."_s.arg(candidate.path));
}

void removeOrRestore(const Examination &after, Candidate &candidate)
{
    if (candidate.aside.isEmpty())
        return;
    const bool isClaimed = isInRow(after, candidate.path)
        || newestChangeIn(candidate.aside) > candidate.newestChange;
    if (!isClaimed) {
        candidate.failure = ZEL_PASS(TreeRemoval::remove(candidate.aside));
        return;
    }
    candidate.failure = stays(candidate.path);
    if (!QDir().rename(candidate.aside, candidate.path))
        candidate.failure = stays(candidate.aside);
}

} // namespace

QList<Error> removeUnclaimed(const QStringList &paths, const ResourceManagerSettings &settings,
                             std::chrono::milliseconds minimumAge)
{
    const auto before = examineRows(settings, minimumAge);
    if (!before.hasValue())
        return QList<Error>(paths.size(), before.error());
    QList<Candidate> candidates;
    for (const QString &path : paths) {
        candidates.append({ path, {}, 0, {} });
        moveAside(before.value(), candidates.last());
    }
    const auto after = examineRows(settings, minimumAge);
    QList<Error> outcomes;
    for (Candidate &candidate : candidates) {
        if (after.hasValue())
            removeOrRestore(after.value(), candidate);
        else
            candidate.failure = after.error();
        outcomes.append(candidate.failure);
    }
    return outcomes;
}

} // namespace zel::cli
