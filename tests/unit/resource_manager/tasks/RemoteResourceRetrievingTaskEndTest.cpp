#include "support/RetrievingTaskFixture.h"

#include <QEvent>
#include <QThread>
#include <QTimer>

#include <chrono>

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
    EXPECT_TRUE(waitUntil([&] { return watcher.task->isFinished(); }));
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
    EXPECT_TRUE(waitUntil([&] { return waiter->isFinished(); }));
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
