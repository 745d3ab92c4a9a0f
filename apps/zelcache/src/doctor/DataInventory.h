#pragma once

#include "ResourceCacheReader.h"
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
    /// Remains of removals and copies, beside the data of a resource.
    const QList<TreeSurvey::Entry> &leftovers() const { return remains; }

    /// The path of a row as it is below the data directory; empty for any other.
    QByteArray relative(const QString &path) const;
    QString absolute(const QByteArray &relativePath) const;
    /// Of what was found there; empty if there is nothing. Without the files beside it.
    std::optional<qint64> sizeAt(const QByteArray &relativePath) const;
    /// Of the files that analysis programs have left beside it.
    qint64 sizeBeside(const QByteArray &relativePath) const;
    /// Whether it lies in a folder that could not be looked into.
    bool isHidden(const QByteArray &relativePath) const;

private:
    void claim(const Resources &resources);
    QByteArray claimedBy(const QString &path) const;
    TreeSurvey::Step stepFor(const QByteArray &path, bool isFolder) const;
    void sortOut();
    void sortOutUnclaimed(const TreeSurvey::Entry &entry);
    bool isClaimedByName(const QByteArray &path) const;

    QString prefix; ///< the data directory and a slash
    QString resolvedPrefix; ///< the same without links; empty if there is no such directory
    QSet<QByteArray> claimed;
    QSet<QByteArray> ownFolders; ///< the folders right around what is claimed
    QSet<QByteArray> around; ///< and all folders around those
    QSet<QByteArray> shortNames; ///< of containers that lie elsewhere because of their long paths
    TreeSurvey::Outcome outcome;
    QHash<QByteArray, qint64> sizes;
    QList<TreeSurvey::Entry> nobodys;
    QList<TreeSurvey::Entry> remains;
};

} // namespace zel::cli
