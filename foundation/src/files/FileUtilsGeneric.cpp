#include "files/FileUtilsGeneric.h"

#include "errors/Propagate.h"
#include "platform/FileSync.h"
#include "platform/FreeSpace.h"
#include "platform/TreeSize.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <system_error>

namespace zel {

qint64 FileUtilsGeneric::contentSize(const QString &path)
{
    return treeSize(path);
}

Error FileUtilsGeneric::mkPath(const QString &path)
{
    errno = 0;
    const bool isMade = !path.isEmpty() && QDir().mkpath(path);
    const std::error_code reason(errno, std::generic_category());
    // Looked at again because two programs may make the same folder at once.
    if (isMade || (!path.isEmpty() && QFileInfo(path).isDir()))
        return {};
    // Qt may lose the reason on its way; and of a quota the volume tells nothing.
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
