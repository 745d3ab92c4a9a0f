#include "MsDataAssociatedResourcesProvider.h"

#include "MsDataSideFiles.h"
#include "MsFileInfo.h"
#include "platform/FolderGlance.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

QList<QString> MsDataAssociatedResourcesProvider::getAssociatedResources(const QString &path) const
{
    if (!msreader::MsFileInfo::isSupportedDataSource(msreader::DataSourceLocation(path), true))
        return {};

    const QFileInfo info(path);
    const QDir dir = info.dir();
    // A scan asks for each resource, and hardly one has such files. To match patterns takes many
    // times as long as to see that.
    const auto [first, second] = MsDataSideFiles::namePatterns;
    if (!FolderGlance::holdsEnding(
            dir.path(), { MsDataSideFiles::endingOf(first), MsDataSideFiles::endingOf(second) }))
        return {};
    // As patterns: a name with wildcard characters acts as one, which programs rely on.
    const QStringList filters { QString::fromLatin1(first).arg(info.fileName()),
                                QString::fromLatin1(second).arg(info.fileName()) };
    QList<QString> associated;
    for (const QString &entry : dir.entryList(filters, QDir::NoFilter, QDir::NoSort))
        associated.append(dir.filePath(entry));
    return associated;
}

} // namespace zel
