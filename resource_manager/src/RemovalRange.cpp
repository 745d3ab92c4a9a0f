#include "RemovalRange.h"

#include "platform/FolderGlance.h"

#include <QDirIterator>
#include <QFileInfo>

namespace zel {

namespace {

/// Reads a few entries at most: a listing of the whole folder for each resource that goes would
/// make a purge of many siblings quadratic.
bool hasSeveralEntries(const QDir &folder)
{
    if (FolderGlance::showsSeveral(folder.path()))
        return true;
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
    , resolved(QFileInfo(cleaned).canonicalFilePath())
{
}

QDir RemovalRange::of(const QString &path) const
{
    QDir folder = QFileInfo(path).dir();
    while (true) {
        const QDir parent = parentOf(folder);
        if (endsAt(parent) || hasSeveralEntries(parent))
            return folder;
        if (parent.absolutePath() == folder.absolutePath())
            return folder; // the root of the file system has no parent
        folder = parent;
    }
}

bool RemovalRange::endsAt(const QDir &parent) const
{
    return isDataDirectory(parent.absolutePath())
        || isDataDirectory(parentOf(parent).absolutePath());
}

bool RemovalRange::isDataDirectory(const QString &path) const
{
    if (path == cleaned || path == absolute)
        return true;
    return !resolved.isEmpty() && QFileInfo(path).canonicalFilePath() == resolved;
}

} // namespace zel
