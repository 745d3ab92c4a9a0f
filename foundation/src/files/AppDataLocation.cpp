#include "files/AppDataLocation.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

QString getAppDataLocationFile(QString fileName, bool evenIfMissing,
                               const QList<QStandardPaths::StandardLocation> &locations)
{
    const auto searched = locations.isEmpty()
        ? QList<QStandardPaths::StandardLocation> { QStandardPaths::AppLocalDataLocation }
        : locations;
    QString first;
    for (const QStandardPaths::StandardLocation location : searched) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (folder.isEmpty())
            continue;
        const QString path = folder + u'/' + fileName;
        // Cleaned, since a ".." behind a folder that does not exist leads nowhere.
        if (QFileInfo::exists(QDir::cleanPath(path)))
            return path;
        if (first.isEmpty())
            first = path;
    }
    return evenIfMissing ? first : QString();
}

} // namespace zel
