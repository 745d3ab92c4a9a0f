#include "share/ShareWalk.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"

#include <QByteArray>

#include <algorithm>

namespace zel {

namespace fs = std::filesystem;

using Entry = ShareListing::Entry;
using Kind = ShareListing::Kind;

namespace {

// Deeper than any data, shallower than what the stack holds: a file system may be made up.
constexpr int mostLevels = 200;

/// Whether a link stays inside the copied folder wherever that stands: ".." only in front, and no
/// more of them than there are levels above. What it leads through then stays inside as well.
bool staysInside(const fs::path &target, int depth)
{
    if (target.is_absolute() || target.empty())
        return false;
    bool isInFront = true;
    int levels = depth;
    for (const fs::path &part : target) {
        if (part != "..")
            isInFront = isInFront && part == ".";
        else if (!isInFront || --levels < 0)
            return false;
    }
    return true;
}

std::string lowerCase(const std::string &text)
{
    return QByteArray::fromStdString(text).toLower().toStdString();
}

} // namespace

ShareWalk::ShareWalk(const fs::path &source, const Visitor &visitor,
                     const std::function<bool()> &isCanceled)
    : source(source)
    , visitor(visitor)
    , isCanceled(isCanceled)
{
}

Error ShareWalk::run()
{
    Error error;
    std::error_code code;
    const fs::file_status status = fs::status(source, code);
    // It may be there, and a folder around it keeps this user out.
    if (status.type() == fs::file_type::none)
        return ZEL_PASS(failure(source, code));
    if (fs::is_directory(status)) {
        Entry entry { {}, Kind::Folder, 0, {}, status.permissions(), {} };
        ZEL_TRY_LET(entry.modified, modifiedOf(source));
        visitor(entry);
        return ZEL_PASS(visitFolder({}, 0));
    }
    if (!fs::exists(status))
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("There is no \"%1\".").arg(textPath(source)));
    ZEL_TRY(error, visitWholeFile({}));
    ZEL_TRY(error, visitCompanions());
    return error;
}

/// The resource itself, or a companion of it: followed if it is a link, as nothing inside is.
Error ShareWalk::visitWholeFile(const std::string &suffix)
{
    const fs::path path = pathOf(suffix);
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (!fs::is_regular_file(status)) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("\"%1\" is neither a file nor a folder.").arg(textPath(path)));
    }
    Entry entry { suffix, Kind::File, 0, {}, status.permissions(), {} };
    entry.size = qint64(fs::file_size(path, code));
    if (code)
        return ZEL_PASS(failure(path, code));
    ZEL_TRY_LET(entry.modified, modifiedOf(path));
    visitor(entry);
    return {};
}

/// The two parts of one measurement are of no use without each other.
Error ShareWalk::visitCompanions()
{
    Error error;
    const std::string name = source.filename().native();
    if (lowerCase(source.extension().native()) != ".wiff")
        return error;
    ZEL_TRY_LET(const Names names, namesIn(source.parent_path()));
    for (const std::string &other : names) {
        const bool isCompanion = other.size() > name.size() && other.starts_with(name)
            && lowerCase(other.substr(name.size())) == ".scan";
        if (isCompanion)
            ZEL_TRY(error, visitWholeFile(other.substr(name.size())));
    }
    return error;
}

Error ShareWalk::visitFolder(const std::string &suffix, int depth)
{
    Error error;
    if (depth > mostLevels) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("The folders in \"%1\" are too deep.").arg(textPath(source)));
    }
    ZEL_TRY_LET(const Names names, namesIn(pathOf(suffix)));
    const std::string inside = suffix + '/';
    for (const std::string &name : names)
        ZEL_TRY(error, visit(inside + name, depth));
    return error;
}

Error ShareWalk::visit(const std::string &suffix, int depth)
{
    if (isCanceled())
        return ZEL_PASS(Error(ErrorCode::Canceled));

    const fs::path path = pathOf(suffix);
    std::error_code code;
    const fs::file_status status = fs::symlink_status(path, code);
    Entry entry { suffix, Kind::File, 0, {}, status.permissions(), {} };
    if (fs::is_symlink(status))
        return ZEL_PASS(visitLink(entry, depth));
    if (fs::is_directory(status))
        entry.kind = Kind::Folder;
    else if (fs::is_regular_file(status))
        entry.size = qint64(fs::file_size(path, code));
    else if (!code)
        ++leftOutCount;
    if (code)
        return ZEL_PASS(failure(path, code));
    if (entry.kind == Kind::File && !fs::is_regular_file(status))
        return {};

    ZEL_TRY_LET(entry.modified, modifiedOf(path));
    visitor(entry);
    return entry.kind == Kind::Folder ? ZEL_PASS(visitFolder(suffix, depth + 1)) : Error();
}

Error ShareWalk::visitLink(Entry entry, int depth)
{
    std::error_code code;
    entry.kind = Kind::Link;
    entry.linkTarget = fs::read_symlink(pathOf(entry.suffix), code).native();
    if (code)
        return ZEL_PASS(failure(pathOf(entry.suffix), code));
    if (staysInside(entry.linkTarget, depth))
        visitor(entry);
    else
        ++leftOutCount;
    return {};
}

Result<fs::file_time_type> ShareWalk::modifiedOf(const fs::path &path) const
{
    std::error_code code;
    const fs::file_time_type modified = fs::last_write_time(path, code);
    if (code)
        return ZEL_PASS(failure(path, code));
    return modified;
}

Result<ShareWalk::Names> ShareWalk::namesIn(const fs::path &folder) const
{
    Names names;
    std::error_code code;
    for (fs::directory_iterator it(folder, code), end; !code && it != end; it.increment(code))
        names.push_back(it->path().filename().native());
    if (code)
        return ZEL_PASS(failure(folder, code));
    std::sort(names.begin(), names.end());
    return names;
}

fs::path ShareWalk::pathOf(const std::string &suffix) const
{
    return source.native() + suffix;
}

Error ShareWalk::failure(const fs::path &path, const std::error_code &code) const
{
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Reading \"%1\" failed: %2")
                         .arg(textPath(path), QString::fromStdString(code.message())));
}

} // namespace zel
