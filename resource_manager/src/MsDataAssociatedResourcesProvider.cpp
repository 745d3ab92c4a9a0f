#include "MsDataAssociatedResourcesProvider.h"

#include "MsFileInfo.h"
#include "platform/FolderGlance.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

using namespace Qt::Literals::StringLiterals;

QList<QString> MsDataAssociatedResourcesProvider::getAssociatedResources(const QString &path) const
{
    if (!msreader::MsFileInfo::isSupportedDataSource(msreader::DataSourceLocation(path), true))
        return {};

    const QFileInfo info(path);
    const QDir dir = info.dir();
    // A scan asks for each resource, and hardly one has such files. To match patterns takes many
    // times as long as to see that.
    if (!FolderGlance::holdsEnding(dir.path(), { ".ms1.cache", ".data.cache" }))
        return {};
    // As patterns: a name with wildcard characters acts as one, which programs rely on.
    const QStringList filters { u"%1.ms1.cache"_s.arg(info.fileName()),
                                u"%1.data.cache"_s.arg(info.fileName()) };
    QList<QString> associated;
    for (const QString &entry : dir.entryList(filters, QDir::NoFilter, QDir::NoSort))
        associated.append(dir.filePath(entry));
    return associated;
}

} // namespace zel
