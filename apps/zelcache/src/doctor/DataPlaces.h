#pragma once

#include <QByteArray>
#include <QString>

namespace zel::cli {

/// Where the paths of rows lead to in a cache's data directory. Places are bytes below it, as the
/// file system has them.
class DataPlaces
{
public:
    DataPlaces() = default;
    explicit DataPlaces(const QString &dataDirectory);

    /// The place that the path names; empty for one that does not lie below the data directory.
    QByteArray named(const QString &path) const;
    /// The same for a path that leads there by another name, or would if the cache has been moved
    /// or copied as a whole: empty for any other.
    QByteArray of(const QString &path) const;
    /// Where it is by now if the cache has been moved as a whole since the path was written.
    QByteArray afterMove(const QString &path) const;
    /// The path of a place.
    QString pathTo(const QByteArray &place) const;

private:
    QString prefix; ///< the data directory and a slash
    QString resolvedPrefix; ///< the same without links; empty if there is no such directory
    QString ownName; ///< the data directory's name between slashes
};

QByteArray folderAround(const QByteArray &place);
QByteArray nameOf(const QByteArray &place);

} // namespace zel::cli
