#include "MsDataAssociatedResourcesProvider.h"

#include "MsFileInfo.h"

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
    const QStringList filters { u"%1.ms1.cache"_s.arg(info.fileName()),
                                u"%1.data.cache"_s.arg(info.fileName()) };
    QList<QString> associated;
    for (const QString &entry : dir.entryList(filters, QDir::NoFilter, QDir::NoSort))
        associated.append(dir.filePath(entry));
    return associated;
}

} // namespace zel
