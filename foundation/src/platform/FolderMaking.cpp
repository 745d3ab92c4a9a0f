#include "platform/FolderMaking.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>

namespace zel {

std::error_code makeFolders(const QString &path)
{
    if (path.isEmpty())
        return std::make_error_code(std::errc::invalid_argument);
    errno = 0;
    const bool isMade = QDir().mkpath(path);
    const int reason = errno;
    // Looked at again because two programs may make the same folder at once.
    if (isMade || QFileInfo(path).isDir())
        return {};
    // Qt may lose the reason on its way.
    return { reason == 0 ? EIO : reason, std::generic_category() };
}

} // namespace zel
