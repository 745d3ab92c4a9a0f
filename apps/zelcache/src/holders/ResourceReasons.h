#pragma once

#include "holders/Holders.h"

#include "ResourceCacheSizes.h"

#include <QJsonObject>

namespace zel::cli {

/// Why a resource is still here, is not here, or is waiting, as far as the rows of the cache tell
/// at one moment. They record no past: what became of it before is not told.
struct ResourceReasons
{
    enum class Verdict {
        InUse, ///< here, and used
        NextToGo, ///< here, and a purge would take it now
        Kept, ///< here, and nothing asks for its place
        DataGone, ///< here by its row, but its data is not where the row says
        Missing,
        Fetched, ///< on its way here
        FetcherGone, ///< on its way here, by a program that holds nothing any more
        Waiting, ///< wanted, and nobody fetches it yet
        Abandoned, ///< on its way by its row, but no program is known that wants it
        UnknownStatus,
    };

    /// Among all that a purge may take.
    struct Place
    {
        qsizetype number = 0; ///< 1 goes first
        qsizetype of = 0;
        qint64 bytesBefore = 0; ///< of those that go before it
    };

    ResourceCacheReader::Resource resource;
    Verdict verdict = Verdict::UnknownStatus;
    QList<Holder> holders;
    Program lastWriter; ///< who wrote the status
    std::optional<QVersionNumber> declared; ///< empty if the reference cannot be read here
    std::optional<Place> place; ///< empty if a purge leaves it alone
    qint64 now = 0; ///< milliseconds since the epoch

    /// What has left the cache keeps its version.
    bool hasCopy() const
    {
        return resource.status == ResourceStatus::Ready && verdict != Verdict::DataGone;
    }
    bool isOutdated() const
    {
        return hasCopy() && declared && declared->majorVersion() > resource.version.majorVersion();
    }
};

/// `isThere`: whether something lies at the path of the resource.
ResourceReasons resourceReasons(const ResourceCacheReader::Snapshot &snapshot,
                                const ResourceCacheReader::Resource &resource, bool isThere,
                                const ResourceCacheSizes &limits, qint64 now,
                                const ProcessLookup &look);

/// For people, the answer first, and for programs.
QStringList resourceReasonLines(const ResourceReasons &reasons);
QJsonObject resourceReasonsJson(const ResourceReasons &reasons);

} // namespace zel::cli
