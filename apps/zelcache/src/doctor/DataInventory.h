#pragma once

#include "ResourceCacheReader.h"
#include "doctor/DataPlaces.h"
#include "platform/TreeSurvey.h"

#include <QHash>
#include <QSet>

namespace zel::cli {

/// What lies in a cache's data directory, seen in one walk and told apart by what the rows claim.
class DataInventory
{
public:
    using Resources = QList<ResourceCacheReader::Resource>;

    DataInventory() = default;
    /// Walks. What a row has the path of is only summed up, whatever the row's status.
    static DataInventory of(const QString &dataDirectory, const Resources &resources);

    bool exists() const { return outcome.exists; }
    const QList<QByteArray> &unreadable() const { return outcome.unreadable; }
    /// Below the data directory, and with no row at all: what could go as one.
    const QList<TreeSurvey::Entry> &unclaimed() const { return nobodys; }
    /// Remains of removals, copies, fetches and repairs, beside the data of a resource.
    const QList<TreeSurvey::Entry> &leftovers() const { return remains; }
    /// What a repair that was interrupted has moved away from this place or from a folder around
    /// it; empty if it has not, or if there is something by now.
    QByteArray asideFor(const QByteArray &place) const;

    const DataPlaces &places() const { return dataPlaces; }
    /// Of what was found there; empty if there is nothing. Without the files beside it.
    std::optional<qint64> sizeAt(const QByteArray &place) const;
    /// Of the files that analysis programs have left beside it.
    qint64 sizeBeside(const QByteArray &place) const;
    /// Whether it lies in a folder that could not be looked into.
    bool isHidden(const QByteArray &place) const;
    /// Whether more than one row claims it.
    bool isShared(const QByteArray &place) const;
    /// The same for what is in it or around it, too.
    bool isOfSeveral(const QByteArray &place) const;

private:
    void claim(const QString &dataDirectory, const Resources &resources);
    void claimPlace(const QByteArray &place);
    TreeSurvey::Step stepFor(const QByteArray &path, bool isFolder) const;
    void sortOut(const Resources &resources);
    void sortOutAsides(const Resources &resources);
    QSet<QByteArray> wantedBy(const Resources &resources) const;
    void sortOutUnclaimed(const TreeSurvey::Entry &entry);
    bool takeAside(const TreeSurvey::Entry &entry, const QSet<QByteArray> &wanted);
    bool isNear(const QByteArray &folder) const;

    /// Of a place that rows claim.
    struct Claim
    {
        int rows = 0;
        std::optional<qint64> bytes; ///< empty if nothing is there
    };
    enum class Around { Near, Far }; ///< the folder that it lies in, and all folders around that

    DataPlaces dataPlaces;
    // One look-up for each question: there can be many rows and many files.
    QHash<QByteArray, Claim> claims;
    QHash<QByteArray, Around> folders; ///< around claimed places
    QSet<QByteArray> shortPlaces; ///< of containers that lie there because of their long paths
    TreeSurvey::Outcome outcome;
    QSet<QByteArray> hidden; ///< the folders that cannot be read
    QHash<QByteArray, qint64> sizesBeside;
    QHash<QByteArray, QByteArray> asides; ///< what has to go back, by its former place
    QList<TreeSurvey::Entry> nobodys;
    QList<TreeSurvey::Entry> remains;
};

} // namespace zel::cli
