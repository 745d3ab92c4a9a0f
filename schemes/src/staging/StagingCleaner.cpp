#include "staging/StagingCleaner.h"

#include "staging/StagingFolder.h"
#include "staging/StagingRecord.h"

#include <QFileInfo>

#include <algorithm>

namespace zel::StagingCleaner {

namespace {

bool isStale(const QString &folder, const FetchPlan &plan, const QDateTime &now)
{
    const auto record = StagingRecord::read(StagingFolder::recordPath(folder));
    const QDateTime lastUse
        = record.hasValue() ? record.value().updated : QFileInfo(folder).lastModified();
    const auto keptForMs = std::chrono::milliseconds(keptFor).count();
    return !lastUse.isValid() || lastUse.msecsTo(now) > keptForMs
        || (record.hasValue() && plan.isReady(record.value().referenceKey));
}

} // namespace

void removeStale(const FetchPlan &plan, const QDateTime &now)
{
    StagingFolder::removeRemains(plan.stagingDirectory);
    const QStringList folders = StagingFolder::all(plan.stagingDirectory);
    for (const QString &folder : folders) {
        if (isStale(folder, plan, now))
            StagingFolder::removeIfUnused(folder);
    }
}

} // namespace zel::StagingCleaner
