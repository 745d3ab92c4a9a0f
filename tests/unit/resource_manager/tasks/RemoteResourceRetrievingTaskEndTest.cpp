#include "support/RetrievingTaskFixture.h"

#include <QEvent>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <stdexcept>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

class RemoteResourceRetrievingTaskEndTest : public RetrievingTaskFixture
{
protected:
    /// The events of the time in which a task that waits looks three times.
    static void passThreeLooks()
    {
        QEventLoop loop;
        QTimer::singleShot(300ms, &loop, &QEventLoop::quit);
        loop.exec();
    }
};

/// Counts the looks of all tasks that wait on this thread.
class Looks : public QObject
{
public:
    Looks() { qApp->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *timer = qobject_cast<QTimer *>(watched);
        if (timer && event->type() == QEvent::Timer && timer->intervalAsDuration() == 100ms)
            ++count;
        return false;
    }
};

/// Throws after the first part of the data, and does not end itself.
class ThrowingTask : public Task
{
public:
    explicit ThrowingTask(const QString &path)
        : path(path)
    {
    }
    void exec() override
    {
        setRunning();
        writeFile(path, "half");
        throw std::runtime_error("broken");
    }

private:
    QString path;
};

} // namespace

TEST_F(RemoteResourceRetrievingTaskEndTest, wait_databaseFails_endsWithThatErrorAndStopsLooking)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    Looks looks;
    fetcher.task->exec();
    watcher.task->exec();
    other->close();
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->isFinished(); }));
    EXPECT_TRUE(watcher.task->error().hasError());
    const int count = looks.count;
    EXPECT_GT(count, 0);
    passThreeLooks();
    EXPECT_EQ(looks.count, count);
    fetcher.inner->finish(Error(1));
}

TEST_F(RemoteResourceRetrievingTaskEndTest, wait_databaseFails_anotherThreadMayDestroyItAtOnce)
{
    const LogCapture log;
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    Error outcome;
    const std::unique_ptr<QThread> waiter(QThread::create([&] {
        outcome = watcher.task->waitForAllFinished(-1);
        watcher.task.reset();
    }));
    waiter->start();
    other->close();
    EXPECT_TRUE(deliverEventsUntil([&] { return waiter->isFinished(); }));
    waiter->wait();
    EXPECT_TRUE(outcome.hasError());
    passThreeLooks();
    const QStringList complaints = log.texts(QtWarningMsg, "default");
    EXPECT_TRUE(complaints.filter(u"from another thread"_s).isEmpty());
    fetcher.inner->finish(Error(1));
}

TEST_F(RemoteResourceRetrievingTaskEndTest, exec_endedInASlotOfItsStart_fetchesNothing)
{
    const auto own = retrieval(cache);
    QObject::connect(own.task.get(), &BaseTask::started, own.task.get(),
                     [&own] { own.task->finish(Error(42, u"enough"_s)); });
    own.task->exec();
    EXPECT_EQ(own.task->error(), Error(42, u"enough"_s));
    EXPECT_TRUE(own.inner->isIdle());
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskEndTest, exec_fetchThrows_passesItOnAndEndsWithCode1)
{
    auto inner = std::make_unique<Task>(nullptr);
    inner->setFunction([]() -> Error { throw std::runtime_error("broken"); });
    const auto task = retrievalBy(cache, std::move(inner));
    EXPECT_THROW(task->exec(), std::runtime_error);
    EXPECT_TRUE(task->isFinished());
    EXPECT_EQ(task->error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskEndTest, exec_fetchThrowsWithoutAnEnd_isNotTakenForASuccess)
{
    const auto task = retrievalBy(cache, std::make_unique<ThrowingTask>(path));
    EXPECT_THROW(task->exec(), std::runtime_error);
    EXPECT_TRUE(task->isFinished());
    EXPECT_EQ(task->error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(RemoteResourceRetrievingTaskEndTest, progress_endComesWithinASlot_isNotSavedBehindIt)
{
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(cache);
    fetcher.task->exec();
    watcher.task->exec();
    QObject::connect(fetcher.task.get(), &BaseTask::progress, fetcher.task.get(),
                     [&fetcher] { endWithin(fetcher.inner, Error(1)); });
    fetcher.inner->setProgress(40, 100);
    EXPECT_TRUE(fetcher.task->isFinished());
    EXPECT_NE(savedProgress().toInt(), 40);
    // Or it would wait for a fetch that nobody runs.
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.inner->isRunning(); }));
    watcher.inner->finish(Error(1));
}

TEST_F(RemoteResourceRetrievingTaskEndTest, progress_endWithinASlotDestroysTheTask_isLeftAlone)
{
    for (const bool initially : { true, false }) {
        auto own = retrieval(cache);
        own.task->exec();
        QObject::connect(own.task.get(), &BaseTask::finished, own.task.get(),
                         [&own] { own.task.reset(); });
        const auto end = [&own] {
            endWithin(own.inner, Error(1));
        };
        if (initially)
            QObject::connect(own.task.get(), &BaseTask::progressInitiated, own.task.get(), end);
        else
            QObject::connect(own.task.get(), &BaseTask::progress, own.task.get(), end);
        own.inner->setProgress(40, 100);
        EXPECT_EQ(own.task, nullptr);
        EXPECT_EQ(taskRows(), 0);
        EXPECT_EQ(status(), u"Missing"_s);
    }
}

TEST_F(RemoteResourceRetrievingTaskEndTest, progressText_endWithinASlotDestroysTheTask_isLeftAlone)
{
    auto own = retrieval(cache);
    QObject::connect(own.task.get(), &BaseTask::finished, own.task.get(),
                     [&own] { own.task.reset(); });
    QObject::connect(own.task.get(), &BaseTask::progressTextChanged, own.task.get(),
                     [&own] { endWithin(own.inner, Error(1)); });
    own.task->exec();
    EXPECT_EQ(own.task, nullptr);
    EXPECT_EQ(taskRows(), 0);
    EXPECT_EQ(status(), u"Missing"_s);
}
