#include "BlockingWait.h"

#include "TaskExecution_p.h"
#include "errors/Propagate.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace zel {

Error BlockingWait::run(int msecs)
{
    if (isWoken())
        return Error();

    Error error;
    ZEL_TRY(error, obstacle());
    const PlaceLoan loan;
    spin(msecs);
    if (!isWoken())
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Waiting took longer than allowed."));
    return error;
}

void BlockingWait::wake()
{
    const std::lock_guard lock(mutex);
    woken = true;
    // Posted: a quit that comes before exec() would be lost.
    if (loop)
        QMetaObject::invokeMethod(loop, &QEventLoop::quit, Qt::QueuedConnection);
}

Error BlockingWait::obstacle()
{
    if (QCoreApplication::instance())
        return Error();
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Waiting is impossible without a QCoreApplication."));
}

bool BlockingWait::isWoken()
{
    const std::lock_guard lock(mutex);
    return woken;
}

void BlockingWait::spin(int msecs)
{
    QEventLoop eventLoop;
    {
        const std::lock_guard lock(mutex);
        if (woken)
            return;
        loop = &eventLoop;
    }

    const QDeadlineTimer deadline(msecs);
    QTimer timer;
    if (msecs >= 0) {
        // A coarse one may come early, and then again only after the whole time.
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &eventLoop, &QEventLoop::quit);
        timer.start(msecs);
    }
    // We may be inside an event that was posted together with others. Those would lie until the
    // next one comes, for their coming has been noticed already.
    QAbstractEventDispatcher::instance()->wakeUp();
    eventLoop.exec();
    // A request to quit the application ends every loop, and keeps new ones from running.
    while (!isWoken() && !deadline.hasExpired())
        eventLoop.processEvents(QEventLoop::WaitForMoreEvents);

    const std::lock_guard lock(mutex);
    loop = nullptr;
}

} // namespace zel
