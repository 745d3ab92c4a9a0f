#include "staging/Placement.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"
#include "errors/UnifiedError.h"
#include "files/FileUtilsGeneric.h"
#include "files/NativePath.h"
#include "platform/FileSync.h"
#include "platform/FreeSpace.h"
#include "platform/TreeCopy.h"
#include "platform/TreeRemoval.h"
#include "platform/VolumeMove.h"
#include "staging/NeighbourPrefix.h"

namespace zel {

namespace fs = std::filesystem;

namespace {

bool liesSomethingAt(const fs::path &path)
{
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() != fs::file_type::not_found;
}

fs::path neighbourOf(const fs::path &target, std::string_view prefix, const std::string &owner)
{
    return target.parent_path() / (std::string(prefix) + owner);
}

} // namespace

Error Placement::place(const fs::path &staged, const fs::path &target, const std::string &owner)
{
    Error error;
    ZEL_TRY(error, FileUtilsGeneric::mkPath(textPath(target.parent_path())));
    ZEL_TRY_LET(const bool isPlaced, placeInOneStep(staged, target));
    if (!isPlaced)
        ZEL_TRY(error, placeByNeighbour(staged, target, owner));
    return error;
}

/// Whether two places are on one volume shows in the attempt only: one volume may be mounted twice,
/// and then nothing moves between the mounts either.
Result<bool> Placement::placeInOneStep(const fs::path &staged, const fs::path &target)
{
    if (liesSomethingAt(target))
        return ZEL_PASS(VolumeMove::exchange(staged, target));
    return ZEL_PASS(VolumeMove::move(staged, target));
}

Error Placement::placeByNeighbour(const fs::path &staged, const fs::path &target,
                                  const std::string &owner)
{
    Error error;
    const fs::path incoming = neighbourOf(target, NeighbourPrefix::incoming, owner);
    const fs::path replaced = neighbourOf(target, NeighbourPrefix::replaced, owner);
    // What a placement has left whose process died.
    ZEL_TRY(error, TreeRemoval::remove(textPath(incoming)));
    ZEL_TRY(error, TreeRemoval::remove(textPath(replaced)));
    const Error copyError = copy(staged, incoming);
    error = copyError.hasError() ? copyError : replace(incoming, target, replaced);
    ZEL_DROP(TreeRemoval::remove(textPath(incoming))); // what counts is decided
    return ZEL_PASS(error);
}

Error Placement::copy(const fs::path &from, const fs::path &to)
{
    std::error_code ignored;
    // A rename costs nothing where it works; only exchanging was impossible then.
    ZEL_TRY_LET(const bool isMoved, VolumeMove::move(from, to));
    if (isMoved)
        return {};

    const auto available = FreeSpace::availableBytes(textPath(to.parent_path()));
    if (available.hasValue() && available.value() < FileUtilsGeneric::contentSize(textPath(from))) {
        return ZEL_ERROR(SchemeErrors::noSpace,
                         tr("There is no room for \"%1\".").arg(textPath(to.parent_path())));
    }
    const bool isFolder = fs::is_directory(fs::symlink_status(from, ignored));
    const auto copier = isFolder ? &TreeCopy::copyTree : &TreeCopy::copyFile;
    return ZEL_PASS(copier(textPath(from), textPath(to), {}, {}));
}

/// Both lie in one folder.
Error Placement::replace(const fs::path &incoming, const fs::path &target, const fs::path &replaced)
{
    Error error;
    ZEL_TRY_LET(const bool isPlaced, placeInOneStep(incoming, target));
    if (isPlaced)
        return error;

    const Error failure = replaceInTwoSteps(incoming, target, replaced);
    if (failure.hasError())
        return ZEL_PASS(withFormerBack(failure, target, replaced));
    ZEL_DROP(TreeRemoval::remove(textPath(replaced))); // the new one is in place
    return error;
}

Error Placement::replaceInTwoSteps(const fs::path &incoming, const fs::path &target,
                                   const fs::path &replaced)
{
    Error error;
    ZEL_TRY(error, FileSync::renameDurably(textPath(target), textPath(replaced)));
    ZEL_TRY(error, FileSync::renameDurably(textPath(incoming), textPath(target)));
    return error;
}

/// A failure takes nothing away: what had lain at the target lies there again, unless the new one
/// does. Gives the failure, with that of this attempt.
Error Placement::withFormerBack(const Error &failure, const fs::path &target,
                                const fs::path &replaced)
{
    if (!liesSomethingAt(replaced))
        return failure;
    const auto isBack = VolumeMove::moveIfFree(replaced, target);
    if (isBack.hasValue())
        return failure;
    return ZEL_PASS(UnifiedError::computeUnifiedError({ failure, isBack.error() }));
}

} // namespace zel
