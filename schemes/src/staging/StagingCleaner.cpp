#include "staging/StagingCleaner.h"

#include "staging/StagingFolder.h"
#include "staging/StagingRecord.h"
#include "threads/Mutex.h"

#include <QFileInfo>
#include <QHash>

#include <cstdlib>
#include <mutex>

namespace zel::StagingCleaner {

namespace {

/// When this process last looked into each staging directory.
class LastLooks
{
public:
    /// Never destroyed: a fetch may end later than the statics.
    static LastLooks &all()
    {
        static auto *looks = new LastLooks;
        return *looks;
    }

    /// True if it is time to look again; then that look counts as done.
    bool begin(const QString &directory, const QDateTime &now)
    {
        const std::lock_guard lock(mutex);
        QDateTime &last = times[directory];
        // A clock that was put back must not keep it from looking. A little earlier than the last
        // one is also a thread that looked at the clock first and came here second.
        constexpr qint64 apartMs = std::chrono::milliseconds(looksAgainAfter).count();
        if (last.isValid() && std::abs(last.msecsTo(now)) < apartMs)
            return false;
        last = now;
        return true;
    }

private:
    Mutex mutex { "the looks into staging directories" };
    QHash<QString, QDateTime> times;
};

} // namespace

StagingPlace placeAt(const QString &folder)
{
    StagingPlace place;
    place.folder = folder;
    const auto record = StagingRecord::read(StagingFolder::recordPath(folder));
    if (record.hasValue())
        place.record = record.value();
    place.lastUse = place.record ? place.record->updated : QFileInfo(folder).lastModified();
    return place;
}

bool isTooOld(const QDateTime &lastUse, const QDateTime &now)
{
    const auto keptForMs = std::chrono::milliseconds(keptFor).count();
    return !lastUse.isValid() || lastUse.msecsTo(now) > keptForMs;
}

void removeStale(const FetchPlan &plan, const QDateTime &now)
{
    StagingFolder::removeRemains(plan.stagingDirectory);
    const QStringList folders = StagingFolder::all(plan.stagingDirectory);
    for (const QString &folder : folders) {
        if (placeAt(folder).isStale(plan.isReady, now))
            StagingFolder::removeIfUnused(folder);
    }
}

void removeStaleBeforeFetch(const FetchPlan &plan, const QDateTime &now)
{
    if (LastLooks::all().begin(plan.stagingDirectory, now))
        removeStale(plan, now);
}

} // namespace zel::StagingCleaner
