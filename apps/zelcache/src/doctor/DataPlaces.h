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

    /// How the path of a row lies. The cache removes the folder around a path with it.
    enum class Position {
        InFolder, ///< as it should be: in a folder of its own, in that of its scheme
        OtherSpelling, ///< the same by another name
        InRoot, ///< by whatever name: the folder around it is the data directory
        InSchemeFolder, ///< the same, but that of a scheme
        Outside, ///< the folder around it is none of the cache's
    };
    Position positionOf(const QString &path) const;

private:
    QString prefix; ///< the data directory and a slash
    QString resolvedPrefix; ///< the same without links; empty if there is no such directory
    QString ownName; ///< the data directory's name between slashes
};

/// What is wrong with a path that lies so, in a sentence; empty if nothing is.
QString positionText(DataPlaces::Position position, const QString &path);

QByteArray folderAround(const QByteArray &place);
QByteArray nameOf(const QByteArray &place);

} // namespace zel::cli
