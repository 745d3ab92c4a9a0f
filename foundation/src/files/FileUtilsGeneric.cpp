#include "files/FileUtilsGeneric.h"

#include "errors/Propagate.h"
#include "platform/FileSync.h"
#include "platform/FolderMaking.h"
#include "platform/FreeSpace.h"
#include "platform/TreeSize.h"

namespace zel {

qint64 FileUtilsGeneric::contentSize(const QString &path)
{
    return treeSize(path);
}

qint64 FileUtilsGeneric::contentSize(const QString &path, const std::function<bool()> &goesOn)
{
    return treeSize(path, goesOn);
}

Error FileUtilsGeneric::mkPath(const QString &path)
{
    const std::error_code reason = makeFolders(path);
    if (!reason)
        return {};
    // Of a quota the volume tells nothing.
    const int code = FreeSpace::isFull(path) ? FreeSpace::lackingCode : FreeSpace::codeOf(reason);
    return ZEL_ERROR(code, tr("The folder \"%1\" cannot be created.").arg(path));
}

Error FileUtilsGeneric::mkPathDurably(const QString &path)
{
    Error error;
    const QStringList changed = FileSync::foldersAround(path);
    ZEL_TRY(error, mkPath(path));
    ZEL_TRY(error, FileSync::syncDirectories(changed));
    return error;
}

} // namespace zel
