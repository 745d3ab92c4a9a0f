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

RemovedData::RemovedData(QString path)
    : m_path(std::move(path))
    , m_folder(m_path.left(m_path.lastIndexOf(u'/')))
{
}

void RemovedData::see(const LoggedStep &step)
{
    if (isTakenAwayBy(step)) {
        m_isRemoved = true;
        m_isPlacedAnew = false;
    } else if (step.kind() == Kind::Rename && step.newPath == m_path) {
        m_isPlacedAnew = true;
    } else if (m_isPlacedAnew && isMadeDurableBy(step)) {
        m_isRemoved = false;
    }
}

bool RemovedData::isTakenAwayBy(const LoggedStep &step) const
{
    const bool isHere = step.path == m_path || m_path.startsWith(step.path + u'/');
    const bool isGone = step.kind() == Kind::Unlink || step.kind() == Kind::RemoveFolder
        || (step.kind() == Kind::Rename && !isExchange(step));
    return isHere && isGone;
}

bool RemovedData::isMadeDurableBy(const LoggedStep &step) const
{
    return step.kind() == Kind::SyncFileSystem
        || (step.kind() == Kind::Sync && step.path == m_folder);
}

} // namespace zel::test
