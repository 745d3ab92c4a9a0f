#include "TaskWait.h"

#include "Task.h"

#include <QEventLoop>
#include <QTimer>

#include <memory>
#include <utility>

namespace zel::cli {

using namespace std::chrono_literals;

namespace {

/// Often enough for a bar that moves, seldom enough to cost nothing.
constexpr auto tickInterval = 200ms;

} // namespace

TaskWait::TaskWait()
    : signalWatch([this](int) { cancelAll(); })
{
}

void TaskWait::add(Task *task)
{
    tasks.append(task);
    const auto countEnd = [this, isCounted = std::make_shared<bool>(false)] {
        ended += std::exchange(*isCounted, true) ? 0 : 1;
    };
    const auto onEnd = [this, countEnd] {
        countEnd();
        if (look)
            look();
    };
    // Queued: a task ends on whatever thread its work ran. It may have ended before, or just now.
    QObject::connect(task, &Task::finished, &receiver, onEnd, Qt::QueuedConnection);
    if (task->isFinished())
        countEnd();
    if (canceled)
        task->cancel();
}

int TaskWait::run(const std::function<void()> &onTick)
{
    QEventLoop loop;
    QTimer ticks;
    look = [this, &loop, &onTick] {
        onTick();
        if (ended == tasks.size())
            loop.quit();
    };
    QObject::connect(&ticks, &QTimer::timeout, &loop, look);
    ticks.start(tickInterval);
    onTick();
    if (ended < tasks.size())
        loop.exec();
    look = nullptr;
    return signalWatch.receivedNow();
}

void TaskWait::cancelAll()
{
    canceled = true;
    for (Task *task : tasks) {
        if (!task->isFinished())
            task->cancel();
    }
}

} // namespace zel::cli
