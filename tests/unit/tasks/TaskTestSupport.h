#pragma once

#include "GroupTask.h"
#include "Task.h"
#include "TasksQueue.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <QTranslator>

#include <atomic>
#include <coroutine>
#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace zel::test {

/// Delivers the events of this thread until the condition holds; false after ten seconds.
template<typename Condition>
bool eventually(const Condition &condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 10000)
            return false;
        QTimer wakeUp;
        wakeUp.start(5);
        QEventLoop().processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

/// Delivers what is posted by now, deletions too.
inline void deliverEvents()
{
    QEventLoop loop;
    QTimer::singleShot(0, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Has the task tell on which thread its work runs.
inline void tellThread(Task &task, QThread *&seen)
{
    task.setFunction([&seen] {
        seen = QThread::currentThread();
        return Error();
    });
}

/// A thread with an event loop of its own, for as long as the object lives.
class LoopThread
{
public:
    LoopThread()
    {
        thread.start();
        context.moveToThread(&thread);
    }
    ~LoopThread() { end(); }

    QThread *get() { return &thread; }
    /// Lives over there, for what is to be posted.
    QObject *receiver() { return &context; }

    void end()
    {
        thread.quit();
        thread.wait();
    }

    /// Runs the function over there and gives back what it returns.
    template<typename Function>
    auto call(Function function)
    {
        std::invoke_result_t<Function> result {};
        QMetaObject::invokeMethod(
            &context, [&] { result = function(); }, Qt::BlockingQueuedConnection);
        return result;
    }

private:
    QThread thread;
    QObject context;
};

/// Translates everything into the context it was asked for.
class ContextTranslator : public QTranslator
{
public:
    ContextTranslator() { QCoreApplication::installTranslator(this); }
    ~ContextTranslator() override { QCoreApplication::removeTranslator(this); }

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *, const char *, int) const override
    {
        return QString::fromLatin1(context);
    }
};

/// A queue with these tasks waiting in it, none of which its own thread will ever start.
inline std::unique_ptr<TasksQueue> queueOfAnEndedThread(const QList<Task *> &tasks)
{
    std::unique_ptr<TasksQueue> queue;
    std::thread([&queue, &tasks] {
        queue = std::make_unique<TasksQueue>();
        queue->setConnectionType(Qt::QueuedConnection);
        for (Task *task : tasks)
            queue->append(task);
    }).join();
    return queue;
}

/// Suspends the coroutine that awaits it; whoever has the handle may resume it.
struct Suspension
{
    std::coroutine_handle<> &handle;

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> awaiting) noexcept { handle = awaiting; }
    void await_resume() const noexcept { }
};

/// Gives what came of a task, in a coroutine of nobody's task.
template<typename Pointer>
QCoro::Task<Error> outcomeOf(Pointer task)
{
    const auto outcome = co_await task;
    co_return outcome;
}

/// Runs until finish() is called from outside.
class ManualTask : public Task
{
public:
    void exec() override { setRunning(); }
};

/// A queue as the manager has it, but for the limit.
class DirectQueue : public TasksQueue
{
public:
    explicit DirectQueue(int limit)
    {
        setConnectionType(Qt::DirectConnection);
        setMaxRunningTasksCount(limit);
    }
    void append(std::deque<ManualTask> &tasks)
    {
        for (ManualTask &task : tasks)
            TasksQueue::append(&task);
    }
    using TasksQueue::append;
};

/// A new subtask of the group; it ends when the test says so.
inline BaseTask *appendedTo(GroupTask &group)
{
    auto *subtask = new BaseTask;
    group.append(subtask);
    return subtask;
}

/// Work that ends when the test says so.
class Gate
{
public:
    void open() { promise.set_value(); }
    void pass() const { std::shared_future<void>(future).wait(); }

private:
    std::promise<void> promise;
    std::shared_future<void> future = promise.get_future();
};

} // namespace zel::test
