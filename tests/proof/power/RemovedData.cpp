#include "RemovedData.h"

#include <utility>

#include <linux/fs.h>

namespace zel::test {

using Kind = FileStep::Kind;

namespace {

bool isExchange(const LoggedStep &step)
{
    return (step.head.flags & RENAME_EXCHANGE) != 0;
}

} // namespace

RemovedData::RemovedData(const QString &path)
    : path(path)
    , folder(path.left(path.lastIndexOf(u'/')))
{
}

void RemovedData::see(const LoggedStep &step)
{
    if (isTakenAwayBy(step)) {
        isRemoved = true;
        isPlacedAnew = false;
    } else if (step.kind() == Kind::Rename && step.newPath == path) {
        isPlacedAnew = true;
    } else if (isPlacedAnew && isMadeDurableBy(step)) {
        isRemoved = false;
    }
}

bool RemovedData::isTakenAwayBy(const LoggedStep &step) const
{
    const bool isHere = step.path == path || path.startsWith(step.path + u'/');
    const bool isGone = step.kind() == Kind::Unlink || step.kind() == Kind::RemoveFolder
        || (step.kind() == Kind::Rename && !isExchange(step));
    return isHere && isGone;
}

bool RemovedData::isMadeDurableBy(const LoggedStep &step) const
{
    return step.kind() == Kind::SyncFileSystem
        || (step.kind() == Kind::Sync && step.path == folder);
}

} // namespace zel::test
