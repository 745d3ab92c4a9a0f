#include "doctor/DataPlaces.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::DataPlaces)
};

bool isClean(const QString &path)
{
    bool isBehindSlash = false;
    for (const QChar letter : path) {
        if (isBehindSlash && (letter == u'/' || letter == u'.'))
            return false;
        isBehindSlash = letter == u'/';
    }
    return !isBehindSlash;
}

/// The bytes of what follows the first letters.
QByteArray encoded(const QString &path, qsizetype first)
{
    return QFile::encodeName(path.mid(first));
}

/// In so many folders below the data directory. `inOwnFolder`: what it is if these are enough.
DataPlaces::Position inside(qsizetype folders, DataPlaces::Position inOwnFolder)
{
    switch (folders) {
    case 0:
        return DataPlaces::Position::InRoot;
    case 1:
        return DataPlaces::Position::InSchemeFolder;
    default:
        return inOwnFolder;
    }
}

} // namespace

DataPlaces::DataPlaces(const QString &dataDirectory)
    : prefix(QDir::cleanPath(dataDirectory) + u'/')
    , ownName(u'/' + QFileInfo(QDir::cleanPath(dataDirectory)).fileName() + u'/')
{
    if (const QString resolved = QFileInfo(dataDirectory).canonicalFilePath(); !resolved.isEmpty())
        resolvedPrefix = resolved + u'/';
}

QByteArray DataPlaces::named(const QString &path) const
{
    if (path.isEmpty() || prefix.isEmpty())
        return {};
    // Cleaning costs more than all else that is done for a row.
    if (!isClean(path)) {
        const QString clean = QDir::cleanPath(path);
        return clean.startsWith(prefix) ? encoded(clean, prefix.size()) : QByteArray();
    }
    return path.startsWith(prefix) ? encoded(path, prefix.size()) : QByteArray();
}

QByteArray DataPlaces::of(const QString &path) const
{
    const QByteArray place = named(path);
    if (!place.isEmpty() || path.isEmpty())
        return place;
    const QString resolved = QFileInfo(path).canonicalFilePath();
    return !resolvedPrefix.isEmpty() && resolved.startsWith(resolvedPrefix)
        ? QFile::encodeName(resolved.mid(resolvedPrefix.size()))
        : afterMove(path);
}

QByteArray DataPlaces::afterMove(const QString &path) const
{
    const QString clean = QDir::cleanPath(path);
    const qsizetype name = ownName.isEmpty() ? -1 : clean.lastIndexOf(ownName);
    return name < 0 ? QByteArray() : QFile::encodeName(clean.mid(name + ownName.size()));
}

QString DataPlaces::pathTo(const QByteArray &place) const
{
    return prefix + QFile::decodeName(place);
}

DataPlaces::Position DataPlaces::positionOf(const QString &path) const
{
    // As all paths should be: nothing is copied for them.
    if (!prefix.isEmpty() && path.startsWith(prefix) && isClean(path))
        return inside(QStringView(path).mid(prefix.size()).count(u'/'), Position::InFolder);
    if (const QByteArray place = named(path); !place.isEmpty())
        return inside(place.count('/'), Position::InFolder);
    const QString resolved = QFileInfo(path).canonicalFilePath();
    if (resolvedPrefix.isEmpty() || !resolved.startsWith(resolvedPrefix))
        return Position::Outside;
    const auto below = QStringView(resolved).mid(resolvedPrefix.size());
    return inside(below.count(u'/'), Position::OtherSpelling);
}

QString positionText(DataPlaces::Position position, const QString &path)
{
    using Position = DataPlaces::Position;
    switch (position) {
    case Position::InFolder:
        break;
    case Position::OtherSpelling:
        return Texts::tr("\"%1\" lies in the data directory, which other programs spell in "
                         "another way.")
            .arg(path);
    case Position::InRoot:
        return Texts::tr("\"%1\" lies in the data directory itself, without a folder of its own: "
                         "what removes it removes all data.")
            .arg(path);
    case Position::InSchemeFolder:
        return Texts::tr("\"%1\" lies in the folder of a scheme itself, without a folder of its "
                         "own: what removes it removes all data of the scheme.")
            .arg(path);
    case Position::Outside:
        return Texts::tr("\"%1\" lies outside of the data directory: what removes it removes the "
                         "folder around it.")
            .arg(path);
    }
    return {};
}

QByteArray folderAround(const QByteArray &place)
{
    return place.left(qMax(place.lastIndexOf('/'), qsizetype(0)));
}

QByteArray nameOf(const QByteArray &place)
{
    return place.mid(place.lastIndexOf('/') + 1);
}

} // namespace zel::cli
