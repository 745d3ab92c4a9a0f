#include "threads/ThreadStart.h"

#include "errors/Propagate.h"

#include <QCoreApplication>

#include <system_error>

namespace zel::Threads {

Result<std::thread> start(std::function<void()> work)
{
    try {
        return std::thread(std::move(work));
    } catch (const std::system_error &refusal) {
        const QString reason = QString::fromLocal8Bit(refusal.code().message().c_str());
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         QCoreApplication::translate("zel::Threads", "Unable to start a thread: %1")
                             .arg(reason));
    }
}

} // namespace zel::Threads
