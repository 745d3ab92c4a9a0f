#include "integrity/ContentListing.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/TreeListing.h"

namespace zel::ContentListing {

Error add(const std::filesystem::path &folder, const QByteArray &name,
          QList<ContentManifest::File> &files)
{
    const auto failure = TreeListing::make(folder, name, [&files](TreeListing::Entry &&entry) {
        ContentManifest::File file;
        file.path = std::move(entry.path);
        file.size = entry.size;
        file.modified = entry.modified;
        file.linkTarget = std::move(entry.linkTarget);
        files.append(std::move(file));
    });
    if (!failure)
        return {};
    if (failure->code == std::errc::no_such_file_or_directory) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            ContentManifest::tr("There is nothing at \"%1\".").arg(textPath(failure->path)));
    }
    return ZEL_ERROR(
        ErrorCode::OperationFailed,
        ContentManifest::tr("\"%1\" cannot be looked at: %2")
            .arg(textPath(failure->path), QString::fromStdString(failure->code.message())));
}

} // namespace zel::ContentListing
