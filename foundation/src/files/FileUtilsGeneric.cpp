#include "files/FileUtilsGeneric.h"

#include "errors/Propagate.h"
#include "platform/FreeSpace.h"
#include "platform/TreeSize.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

qint64 FileUtilsGeneric::contentSize(const QString &path)
{
    return treeSize(path);
}

Error FileUtilsGeneric::mkPath(const QString &path)
{
    // Looked at again because two programs may make the same folder at once.
    if (!path.isEmpty() && (QDir().mkpath(path) || QFileInfo(path).isDir()))
        return {};
    // Qt does not tell the reason.
    const int code
        = FreeSpace::isFull(path) ? FreeSpace::lackingCode : int(ErrorCode::OperationFailed);
    return ZEL_ERROR(code, tr("The folder \"%1\" cannot be created.").arg(path));
}

} // namespace zel
