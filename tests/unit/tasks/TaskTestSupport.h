#pragma once

#include "Task.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <QTranslator>

#include <atomic>
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
