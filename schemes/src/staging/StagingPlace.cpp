#include "staging/StagingPlace.h"

#include "references/CacheFileName.h"
#include "staging/StagingCleaner.h"
#include "staging/StagingFolder.h"

#include <QFileInfo>

namespace zel {

namespace {

StagingPlace remainsAt(const QString &folder)
{
    StagingPlace place;
    place.folder = folder;
    place.lastUse = QFileInfo(folder).lastModified();
    place.isRemains = true;
    return place;
}

} // namespace

QString StagingPlace::resourceFolder() const
{
    return record ? CacheFileName::folderFor(record->referenceKey) : QString();
}

bool StagingPlace::isStale(const IsReady &isReady, const QDateTime &now) const
{
    return isRemains || StagingCleaner::isTooOld(lastUse, now)
        || (record && isReady(record->referenceKey));
}

QList<StagingPlace> StagingPlace::readAll(const QString &cacheDataDirectory)
{
    const QString directory = StagingFolder::stagingDirectoryFor(cacheDataDirectory);
    QList<StagingPlace> places;
    for (const QString &folder : StagingFolder::all(directory))
        places.append(StagingCleaner::placeAt(folder));
    for (const QString &folder : StagingFolder::remains(directory))
        places.append(remainsAt(folder));
    return places;
}

void StagingPlace::removeStale(const QString &cacheDataDirectory, const IsReady &isReady)
{
    FetchPlan plan;
    plan.stagingDirectory = StagingFolder::stagingDirectoryFor(cacheDataDirectory);
    plan.isReady = isReady;
    StagingCleaner::removeStale(plan);
}

} // namespace zel
