#include "staging/StagedTree.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/FileSync.h"
#include "platform/FreeSpace.h"

namespace zel {

namespace fs = std::filesystem;

namespace {

// So many files and folders are brought to the disk one by one; more of them go with the whole
// volume, which other programs may keep busy.
constexpr size_t mostSingleSyncs = 16;

} // namespace

Error StagedTree::begin(const fs::path &directory, size_t entries)
{
    this->directory = directory;
    volume.reset();
    if (entries <= mostSingleSyncs)
        return {};
    ZEL_TRY_LET(NativeFile folder, NativeFile::open(directory, NativeFile::Mode::Read));
    volume = std::move(folder);
    return {};
}

Error StagedTree::makeFolder(const fs::path &path)
{
    std::error_code code;
    fs::create_directory(path, code);
    if (!code)
        return {};
    return ZEL_ERROR(FreeSpace::codeOf(code),
                     tr("Making the folder \"%1\" failed: %2")
                         .arg(textPath(path), QString::fromStdString(code.message())));
}

Error StagedTree::sync(const std::vector<fs::path> &folders)
{
    if (volume)
        return ZEL_PASS(volume->syncVolume());
    Error error;
    for (const fs::path &folder : folders)
        ZEL_TRY(error, FileSync::syncDirectory(folder));
    return ZEL_PASS(FileSync::syncDirectory(directory));
}

} // namespace zel
