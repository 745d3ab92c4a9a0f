#include "RemovalRange.h"

#include "platform/FolderGlance.h"

#include <QDirIterator>
#include <QFileInfo>

namespace zel {

namespace {

/// Reads two entries at most: a listing of the whole folder for each resource that goes would make
/// a purge of many siblings quadratic.
bool hasSeveralEntries(const QDir &folder)
{
    QDirIterator entries(folder.path(), QDir::AllEntries | QDir::NoDotAndDotDot);
    for (int count = 0; entries.hasNext(); entries.next()) {
        if (++count > 1)
            return true;
    }
    return false;
}

QDir parentOf(const QDir &folder)
{
    return QFileInfo(folder.absolutePath()).dir();
}

} // namespace

RemovalRange::RemovalRange(const QString &dataDirectory)
    : cleaned(QDir::cleanPath(dataDirectory))
    , absolute(QDir::cleanPath(QFileInfo(cleaned).absoluteFilePath()))
{
}

QList<QDir> RemovalRange::foldersOf(const QString &path) const
{
    QList<QDir> folders { QFileInfo(path).dir() };
    while (true) {
        const QDir parent = parentOf(folders.last());
        if (endsAt(parent))
            return folders;
        if (parent.absolutePath() == folders.last().absolutePath())
            return folders; // the root of the file system has no parent
        folders.append(parent);
    }
}

bool RemovalRange::endsAt(const QDir &parent) const
{
    const QString path = parent.absolutePath();
    const QString around = parentOf(parent).absolutePath();
    const auto isAtDataDirectoryBySpelling = [&] {
        return isSpelledDataDirectory(path) || isSpelledDataDirectory(around);
    };
    const auto isAtDataDirectoryOnDisk = [&] {
        return leadsToDataDirectory(path) || leadsToDataDirectory(around);
    };
    // The cheapest questions first: as a rule the spelling alone tells, without a look at the disk.
    return isAtDataDirectoryBySpelling() || FolderGlance::showsSeveral(path)
        || isAtDataDirectoryOnDisk() || hasSeveralEntries(parent);
}

bool RemovalRange::isSpelledDataDirectory(const QString &path) const
{
    return path == cleaned || path == absolute;
}

bool RemovalRange::leadsToDataDirectory(const QString &path) const
{
    const QString resolved = QFileInfo(cleaned).canonicalFilePath();
    return !resolved.isEmpty() && QFileInfo(path).canonicalFilePath() == resolved;
}

} // namespace zel
