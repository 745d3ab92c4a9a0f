#include "OwnFile.h"

#include "errors/Propagate.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace zel {

Result<QByteArray> OwnFile::read(const QString &path, qint64 mostBytes)
{
    const QFileInfo info(path);
    if (info.isSymLink() || (info.exists() && !info.isFile())) {
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("\"%1\" is no plain file.").arg(path));
    }
    QFile file(path);
    QByteArray content;
    if (file.open(QIODevice::ReadOnly))
        content = file.read(std::min(info.size(), mostBytes) + 1);
    // As good as never: it has grown meanwhile. Room for all that is allowed costs more than most
    // files do.
    if (content.size() > info.size())
        content += file.read(mostBytes + 1 - content.size());
    if (file.error() != QFileDevice::NoError) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Reading \"%1\" failed: %2").arg(path, file.errorString()));
    }
    if (content.size() > mostBytes)
        return ZEL_ERROR(ErrorCode::BadData, tr("\"%1\" is too big.").arg(path));
    return content;
}

} // namespace zel
