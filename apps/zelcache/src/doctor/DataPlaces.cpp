#include "doctor/DataPlaces.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

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

QByteArray folderAround(const QByteArray &place)
{
    return place.left(qMax(place.lastIndexOf('/'), qsizetype(0)));
}

QByteArray nameOf(const QByteArray &place)
{
    return place.mid(place.lastIndexOf('/') + 1);
}

} // namespace zel::cli
