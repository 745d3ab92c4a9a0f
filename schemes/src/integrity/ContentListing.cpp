#include "integrity/ContentListing.h"

#include "NativePath.h"
#include "errors/Propagate.h"

#include <algorithm>
#include <chrono>

namespace zel::ContentListing {

namespace fs = std::filesystem;

namespace {

using File = ContentManifest::File;

qint64 nanoseconds(fs::file_time_type time)
{
    const auto sinceEpoch = std::chrono::file_clock::to_sys(time).time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count();
}

Error failureAt(const fs::path &path, const std::error_code &code)
{
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ContentManifest::tr("\"%1\" cannot be looked at: %2")
                         .arg(textPath(path), QString::fromStdString(code.message())));
}

Result<File> fileAt(const fs::path &path, const QByteArray &name)
{
    std::error_code failure;
    File file;
    file.path = name;
    file.size = qint64(fs::file_size(path, failure));
    if (!failure)
        file.modified = nanoseconds(fs::last_write_time(path, failure));
    if (failure)
        return ZEL_PASS(failureAt(path, failure));
    return file;
}

Result<File> linkAt(const fs::path &path, const QByteArray &name)
{
    std::error_code failure;
    const fs::path target = fs::read_symlink(path, failure);
    if (failure)
        return ZEL_PASS(failureAt(path, failure));
    File file;
    file.path = name;
    file.linkTarget = QByteArray::fromStdString(target.native());
    return file;
}

Error addEntry(const fs::path &path, const QByteArray &name, QList<File> &files);

Error addBelow(const fs::path &path, const QByteArray &name, QList<File> &files)
{
    Error error;
    std::error_code failure;
    std::vector<fs::path> entries;
    for (fs::directory_iterator it(path, failure), end; !failure && it != end;
         it.increment(failure))
        entries.push_back(it->path());
    if (failure)
        return ZEL_PASS(failureAt(path, failure));
    std::sort(entries.begin(), entries.end());
    for (const fs::path &entry : entries) {
        const QByteArray own = QByteArray::fromStdString(entry.filename().native());
        ZEL_TRY(error, addEntry(entry, name + '/' + own, files));
    }
    return error;
}

Error addEntry(const fs::path &path, const QByteArray &name, QList<File> &files)
{
    std::error_code failure;
    const fs::file_type type = fs::symlink_status(path, failure).type();
    if (type == fs::file_type::not_found) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         ContentManifest::tr("There is nothing at \"%1\".").arg(textPath(path)));
    }
    if (type == fs::file_type::none)
        return ZEL_PASS(failureAt(path, failure));
    if (type == fs::file_type::directory)
        return ZEL_PASS(addBelow(path, name, files));
    if (type != fs::file_type::regular && type != fs::file_type::symlink)
        return {};
    ZEL_TRY_LET(const File file,
                type == fs::file_type::regular ? fileAt(path, name) : linkAt(path, name));
    files.append(file);
    return {};
}

} // namespace

Error add(const fs::path &folder, const QByteArray &name, QList<File> &files)
{
    return ZEL_PASS(addEntry(folder / name.toStdString(), name, files));
}

} // namespace zel::ContentListing
