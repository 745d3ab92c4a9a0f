#include "TaskTestSupport.h"

#include "LogCapture.h"

#include <QPointer>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Notes in which order its end takes place.
class NotingTask : public BaseTask
{
public:
    QStringList notes;
    Error closing;

    NotingTask()
    {
        connect(this, &BaseTask::finished, this, [this] { note(u"finished"_s); });
    }

protected:
    Error doFinish() override
    {
        note(u"doFinish"_s);
        return closing;
    }
    void finalize() override { note(u"finalize"_s); }

private:
    void note(const QString &text)
    {
        notes.append(text + (isFinished() ? u" (finished)"_s : u" (running)"_s)
                     + (hasError() ? u" (failed)"_s : QString()));
    }
};

/// Says when its destruction begins, to those too who outlive it.
class AnnouncedTask : public BaseTask
{
public:
    const std::shared_ptr<std::atomic<bool>> going = std::make_shared<std::atomic<bool>>(false);
    ~AnnouncedTask() override { *going = true; }
};

} // namespace

TEST(BaseTaskTest, construction_isIdle)
{
    const BaseTask task;
    EXPECT_TRUE(task.isIdle());
    EXPECT_FALSE(task.isRunning());
    EXPECT_FALSE(task.isFinished());
    EXPECT_FALSE(task.isSuccessful());
    EXPECT_FALSE(task.variantResult().isValid());
}

TEST(BaseTaskTest, setRunning_idle_startsOnce)
{
    BaseTask task;
    const QSignalSpy started(&task, &BaseTask::started);
    task.setRunning();
    task.setRunning();
    EXPECT_TRUE(task.isRunning());
    EXPECT_FALSE(task.isIdle());
    EXPECT_EQ(started.count(), 1);
}

TEST(BaseTaskTest, setRunning_finished_changesNothing)
{
    BaseTask task;
    task.finish(Error());
    const QSignalSpy started(&task, &BaseTask::started);
    task.setRunning();
    EXPECT_TRUE(task.isFinished());
    EXPECT_EQ(started.count(), 0);
}

TEST(BaseTaskTest, finish_success_runsItsStepsInOrder)
{
    NotingTask task;
    task.setRunning();
    task.finish(Error());
    EXPECT_EQ(task.notes,
              QStringList(
                  { u"doFinish (running)"_s, u"finalize (running)"_s, u"finished (finished)"_s }));
    EXPECT_TRUE(task.isSuccessful());
}

TEST(BaseTaskTest, finish_failure_isKnownInEveryStep)
{
    NotingTask task;
    task.finish(Error(ErrorCode::BadData, u"broken"_s));
    EXPECT_EQ(task.notes,
              QStringList({ u"doFinish (running) (failed)"_s, u"finalize (running) (failed)"_s,
                            u"finished (finished) (failed)"_s }));
    EXPECT_TRUE(task.isFinished());
    EXPECT_FALSE(task.isSuccessful());
    EXPECT_TRUE(task.error().equals(Error(ErrorCode::BadData, u"broken"_s)));
}

TEST(BaseTaskTest, finish_doFinishFails_failureBecomesTheOutcome)
{
    NotingTask task;
    task.closing = Error(ErrorCode::OperationFailed, u"closing"_s);
    task.finish(Error());
    EXPECT_TRUE(task.error().equals(task.closing));
    EXPECT_FALSE(task.isSuccessful());
}

TEST(BaseTaskTest, finish_doFinishFailsToo_firstFailureCountsAndTheOtherIsLogged)
{
    const LogCapture log;
    NotingTask task;
    task.closing = Error(ErrorCode::OperationFailed, u"closing"_s);
    task.finish(Error(ErrorCode::BadData, u"work"_s));
    EXPECT_EQ(task.error().errorMessage(), u"work"_s);
    EXPECT_TRUE(log.contains(QtWarningMsg, u"closing"_s));
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
}

TEST(BaseTaskTest, finish_second_isIgnored)
{
    NotingTask task;
    task.finish(Error());
    task.finish(Error(ErrorCode::BadData, u"late"_s));
    EXPECT_TRUE(task.isSuccessful());
    EXPECT_EQ(task.notes.count(u"finished (finished)"_s), 1);
}

TEST(BaseTaskTest, finish_fromManyThreadsAtOnce_happensOnce)
{
    BaseTask task;
    const QSignalSpy finished(&task, &BaseTask::finished);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&task] { task.finish(Error()); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(finished.count(), 1);
}

TEST(BaseTaskTest, finish_destroyedInASlot_isSurvived)
{
    auto *task = new BaseTask;
    QObject context;
    QObject::connect(task, &BaseTask::finished, &context, [task] { delete task; });
    task->finish(Error());
}

TEST(BaseTaskTest, cancel_idle_finishesWithCode20)
{
    BaseTask task;
    const QSignalSpy finished(&task, &BaseTask::finished);
    task.cancel();
    EXPECT_TRUE(task.isCanceled());
    EXPECT_TRUE(task.isFinished());
    EXPECT_EQ(task.error().errorCode(), ErrorCode::Canceled);
    EXPECT_FALSE(task.error().errorMessage().isEmpty());
    EXPECT_EQ(finished.count(), 1);
}

TEST(BaseTaskTest, cancel_running_onlySetsTheFlag)
{
    BaseTask task;
    task.setRunning();
    task.cancel();
    EXPECT_TRUE(task.isCanceled());
    EXPECT_TRUE(task.isRunning());
}

TEST(BaseTaskTest, cancel_finished_keepsTheOutcome)
{
    BaseTask task;
    task.finish(Error());
    task.cancel();
    EXPECT_TRUE(task.isSuccessful());
}

TEST(BaseTaskTest, pauseAndResume_changeWhatTheWorkIsTold)
{
    BaseTask task;
    task.pause();
    EXPECT_TRUE(task.isPaused());
    task.resume();
    EXPECT_FALSE(task.isPaused());
}

TEST(BaseTaskTest, setName_keepsIt)
{
    BaseTask task;
    task.setName(u"fetch"_s);
    EXPECT_EQ(task.name(), u"fetch"_s);
}

TEST(BaseTaskTest, setProgress_signalsValueAndAnyNewMaximum)
{
    BaseTask task;
    const QSignalSpy initiated(&task, &BaseTask::progressInitiated);
    const QSignalSpy progress(&task, &BaseTask::progress);
    task.setProgress(1, 10);
    task.setProgress(2, 10);
    task.setProgress(3, 20);
    EXPECT_EQ(initiated, (QList<QList<QVariant>> { { 10 }, { 20 } }));
    EXPECT_EQ(progress, (QList<QList<QVariant>> { { 1, 10 }, { 2, 10 }, { 3, 20 } }));
    EXPECT_EQ(task.progressValue(), 3);
    EXPECT_EQ(task.progressMaximum(), 20);
}

TEST(BaseTaskTest, setProgressText_storesAndSignals)
{
    BaseTask task;
    const QSignalSpy changed(&task, &BaseTask::progressTextChanged);
    task.setProgressText(u"Retrieving"_s);
    EXPECT_EQ(changed, (QList<QList<QVariant>> { { u"Retrieving"_s } }));
    EXPECT_EQ(task.progressText(), u"Retrieving"_s);
}

TEST(BaseTaskTest, result_running_saysThatTheTaskIsNotFinished)
{
    BaseTask task;
    task.setRunning();
    task.setResult(true);
    const Result<bool> result = task.result<bool>();
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(result.error().equals(
        Error(ErrorCode::OperationFailed, u"Unable to get data before task is finished."_s)));
}

TEST(BaseTaskTest, result_nothingStored_saysSo)
{
    BaseTask task;
    task.finish(Error());
    EXPECT_TRUE(task.result<bool>().error().equals(
        Error(ErrorCode::OperationFailed, u"Return value is not set."_s)));
}

TEST(BaseTaskTest, result_anotherType_saysSo)
{
    BaseTask task;
    task.setResult(u"true"_s);
    task.finish(Error());
    EXPECT_TRUE(task.result<bool>().error().equals(
        Error(ErrorCode::BadArgument, u"Return type does not match."_s)));
}

TEST(BaseTaskTest, result_stored_isGiven)
{
    BaseTask task;
    task.setResult(QStringList { u"a"_s });
    task.finish(Error());
    const auto result = task.result<QStringList>();
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), QStringList(u"a"_s));
}

TEST(BaseTaskTest, result_whileTheTaskEndsOnAnotherThread_isTheValueOrAFailure)
{
    std::deque<BaseTask> tasks(1000);
    std::atomic<size_t> asked = 0; // how many tasks somebody is asking for their results
    std::thread worker([&] {
        for (size_t i = 0; i < tasks.size(); ++i) {
            while (asked <= i)
                std::this_thread::yield();
            tasks[i].finish(Error());
        }
    });
    int neither = 0;
    for (BaseTask &task : tasks) {
        task.setResult(7);
        ++asked;
        for (bool hasValue = false; !hasValue;) {
            const Result<int> result = task.result<int>();
            hasValue = result.hasValue();
            neither += !hasValue && !result.error().hasError() ? 1 : 0;
        }
    }
    worker.join();
    EXPECT_EQ(neither, 0);
}

TEST(BaseTaskTest, result_canceledWithoutValue_isTheErrorWithoutAStamp)
{
    BaseTask task;
    task.cancel();
    const Result<bool> result = task.result<bool>();
    ASSERT_FALSE(result.hasValue());
    EXPECT_EQ(result.error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(result.error().trail().size(), task.error().trail().size());
}

TEST(BaseTaskTest, texts_areTranslatedInTheContextOfTheClass)
{
    BaseTask unfinished, empty, wrong, canceled;
    empty.finish(Error());
    wrong.setResult(u"text"_s);
    wrong.finish(Error());

    const ContextTranslator translator;
    const QString context = u"zel::BaseTask"_s;
    EXPECT_EQ(unfinished.result<bool>().error().errorMessage(), context);
    EXPECT_EQ(empty.result<bool>().error().errorMessage(), context);
    EXPECT_EQ(wrong.result<bool>().error().errorMessage(), context);
    canceled.cancel();
    EXPECT_EQ(canceled.error().errorMessage(), context);
}

TEST(BaseTaskTest, setDeleteOnFinished_deletesThroughTheEventLoop)
{
    const QPointer<BaseTask> task = new BaseTask;
    task->setDeleteOnFinished(true);
    task->finish(Error());
    ASSERT_FALSE(task.isNull());
    deliverEvents();
    EXPECT_TRUE(task.isNull());
}

TEST(BaseTaskTest, setDeleteOnFinished_afterTheEnd_deletesToo)
{
    const QPointer<BaseTask> task = new BaseTask;
    task->finish(Error());
    task->setDeleteOnFinished(true);
    deliverEvents();
    EXPECT_TRUE(task.isNull());
}

TEST(BaseTaskTest, destruction_otherThreadInsideTheEnd_waitsForIt)
{
    for (int i = 0; i < 100; ++i) {
        auto task = std::make_unique<AnnouncedTask>();
        std::promise<void> inSlot;
        std::atomic<bool> slotLeft = false;
        QObject::connect(
            task.get(), &BaseTask::finished, task.get(),
            [&inSlot, &slotLeft, going = task->going] {
                inSlot.set_value();
                while (!*going)
                    std::this_thread::yield();
                // Time enough for a destructor that does not wait.
                for (int turn = 0; turn < 20; ++turn)
                    std::this_thread::yield();
                slotLeft = true;
            },
            Qt::DirectConnection);
        std::thread other([raw = task.get()] { raw->finish(Error()); });
        inSlot.get_future().wait();
        task.reset();
        EXPECT_TRUE(slotLeft);
        other.join();
    }
}
