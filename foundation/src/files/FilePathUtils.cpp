#include "files/FilePathUtils.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

QString FilePathUtils::absoluteFilePath(const QString &path)
{
    if (path.isEmpty() || hasWinLongPathPrefix(path))
        return path;
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

bool FilePathUtils::hasWinLongPathPrefix(const QString &path)
{
    // Qt turns the separators around in every path that passes through it.
    return path.startsWith(QStringView(u"\\\\?\\")) || path.startsWith(QStringView(u"//?/"));
}

bool FilePathUtils::isWinLongPath(const QString &path)
{
    return path.size() > winMaxPathLength;
}

} // namespace zel
