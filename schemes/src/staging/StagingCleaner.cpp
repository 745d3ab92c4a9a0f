#include "staging/StagingCleaner.h"

#include "staging/StagingFolder.h"
#include "staging/StagingRecord.h"

#include <QFileInfo>

namespace zel::StagingCleaner {

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

} // namespace zel::StagingCleaner
