#include "TaskWait.h"

#include "Task.h"

#include <QEventLoop>
#include <QTimer>

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
    if (task->isFinished()) {
        ++ended;
        return;
    }
    // Queued: a task ends on whatever thread its work ran.
    QObject::connect(
        task, &Task::finished, &receiver, [this] { ++ended; }, Qt::QueuedConnection);
    if (canceled)
        task->cancel();
}

int TaskWait::run(const std::function<void()> &onTick)
{
    QEventLoop loop;
    QTimer ticks;
    const auto look = [this, &loop, &onTick] {
        onTick();
        if (allFinished())
            loop.quit();
    };
    QObject::connect(&ticks, &QTimer::timeout, &loop, look);
    // Behind the counting of the end, in the order of connecting.
    for (const Task *task : tasks)
        QObject::connect(task, &Task::finished, &loop, look, Qt::QueuedConnection);
    ticks.start(tickInterval);
    onTick();
    if (!allFinished())
        loop.exec();
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

bool TaskWait::allFinished()
{
    while (finishedCount < tasks.size() && tasks.at(finishedCount)->isFinished())
        ++finishedCount;
    return finishedCount == tasks.size();
}

} // namespace zel::cli
