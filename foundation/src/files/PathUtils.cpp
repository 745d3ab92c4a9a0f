#include "files/PathUtils.h"

#include <QDir>
#include <QFileInfo>

namespace zel::PathUtils {

bool hasExtension(const QString &path, const QString &extension)
{
    const QString cleaned = QDir::cleanPath(QDir::fromNativeSeparators(path));
    const QStringView name = QStringView(cleaned).sliced(cleaned.lastIndexOf(u'/') + 1);
    const QStringView wanted
        = extension.startsWith(u'.') ? QStringView(extension).sliced(1) : QStringView(extension);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot >= 0 && !wanted.isEmpty()
        && name.sliced(dot + 1).compare(wanted, Qt::CaseInsensitive) == 0;
}

bool isDirectory(const QString &path)
{
    return QFileInfo(path).isDir();
}

bool isExistingDir(const QString &path)
{
    return isDirectory(path);
}

bool isExistingFile(const QString &path)
{
    return QFileInfo(path).isFile();
}

} // namespace zel::PathUtils
