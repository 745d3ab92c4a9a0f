#include "support/RetrievingTaskFixture.h"

#include "BracketTranslator.h"
#include "errors/RetrievalTracing.h"
#include "errors/Tracer.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using RemoteResourceRetrievingTaskTest = RetrievingTaskFixture;

} // namespace

TEST_F(RemoteResourceRetrievingTaskTest, exec_nobodyFetches_fetchesAndRecordsTheOutcome)
{
    const auto own = retrieval(cache);
    own.task->exec();
    EXPECT_TRUE(own.inner->isRunning());
    EXPECT_EQ(own.task->progressText(), u"Retrieving the resource"_s);
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_EQ(taskRows(), 1);
    finishWithData(own.inner);
    EXPECT_TRUE(own.task->isSuccessful());
    EXPECT_EQ(status(), u"Ready"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_fetchSucceedsWithWarnings_passesThemOn)
{
    const auto own = retrieval(cache);
    own.task->exec();
    writeFile(path, "data");
    Error outcome;
    outcome.addWarnings({ u"left out"_s });
    own.inner->finish(outcome);
    EXPECT_TRUE(own.task->isSuccessful());
    EXPECT_EQ(own.task->error().warnings(), QStringList { u"left out"_s });
}

TEST_F(RemoteResourceRetrievingTaskTest, texts_translated_standInTheContextOfTheClass)
{
    const BracketTranslator translator;
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    const QString context = u"zel::RemoteResourceRetrievingTask"_s;
    EXPECT_EQ(fetcher.task->progressText(), context + u"<Retrieving the resource>"_s);
    EXPECT_EQ(watcher.task->progressText(), context + u"<Waiting for retrieve of the resource>"_s);
    finishWithData(fetcher.inner);
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->isFinished(); }));
}

TEST_F(RemoteResourceRetrievingTaskTest,
       exec_progressToldBehindTheEnd_aWatcherOfThisProcessTakesOver)
{
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(cache);
    fetcher.task->exec();
    watcher.task->exec();
    fetcher.inner->finish(Error(1));
    fetcher.inner->setProgress(40, 100);
    EXPECT_FALSE(savedProgress().toInt() == 40);
    ASSERT_TRUE(deliverEventsUntil([&] { return watcher.inner->isRunning(); }));
    finishWithData(watcher.inner);
    EXPECT_TRUE(watcher.task->isSuccessful());
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_innerEndsWithin_stillSaysThatItRetrieves)
{
    const auto task = retrievalBy(cache, fetchAtOnce());
    QStringList order;
    QObject::connect(task.get(), &BaseTask::progressTextChanged, task.get(),
                     [&order](const QString &text) { order.append(text); });
    QObject::connect(task.get(), &BaseTask::finished, task.get(),
                     [&order] { order.append(u"finished"_s); });
    task->exec();
    EXPECT_TRUE(task->isSuccessful());
    // The end comes last: whoever waits for it may destroy the task.
    EXPECT_EQ(order, (QStringList { u"Retrieving the resource"_s, u"finished"_s }));
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_readyByThen_neitherFetchesNorWaits)
{
    const auto own = retrieval(cache);
    writeFile(path, "data");
    ASSERT_FALSE(cache.saveLocalPath(reference, PathImpl<PathType::Unknown>(path), 4).hasError());
    ASSERT_FALSE(cache.saveStatus(reference, ResourceStatus::Ready).hasError());
    own.task->exec();
    EXPECT_TRUE(own.task->isSuccessful());
    EXPECT_FALSE(own.inner->isRunning());
    EXPECT_TRUE(own.task->progressText().isEmpty());
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_twoClients_oneFetchesAndTheOtherWaits)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    EXPECT_TRUE(watcher.inner->isIdle());
    EXPECT_EQ(watcher.task->progressText(), u"Waiting for retrieve of the resource"_s);
    EXPECT_EQ(taskRows(), 2);

    fetcher.inner->setProgress(30, 60);
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->progressValue() == 50; }));
    EXPECT_EQ(watcher.task->progressMaximum(), 100);

    finishWithData(fetcher.inner);
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->isFinished(); }));
    EXPECT_TRUE(watcher.task->isSuccessful());
    EXPECT_TRUE(watcher.inner->isIdle());
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskTest, wait_fetcherFails_takesOver)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    fetcher.inner->setProgress(1, 2);
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->progressValue() == 50; }));

    fetcher.inner->finish(Error(42, u"broken"_s));
    EXPECT_EQ(fetcher.task->error(), Error(42, u"broken"_s));
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.inner->isRunning(); }));
    EXPECT_EQ(watcher.task->progressValue(), 0);
    EXPECT_EQ(watcher.task->progressText(), u"Retrieving the resource"_s);
    finishWithData(watcher.inner);
    EXPECT_TRUE(watcher.task->isSuccessful());
    EXPECT_EQ(status(), u"Ready"_s);
}

TEST_F(RemoteResourceRetrievingTaskTest, wait_madeOnAnotherThread_stillLooks)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    Retrieval watcher;
    std::unique_ptr<QThread> maker(QThread::create([&, target = QThread::currentThread()] {
        watcher = retrieval(*other);
        watcher.task->moveToThread(target);
    }));
    maker->start();
    maker->wait();
    EXPECT_EQ(watcher.inner->thread(), QThread::currentThread());
    fetcher.task->exec();
    watcher.task->exec();
    finishWithData(fetcher.inner);
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->isFinished(); }));
    EXPECT_TRUE(watcher.task->isSuccessful());
}

TEST_F(RemoteResourceRetrievingTaskTest, finish_nothingAtThePath_isTheFailureToRecord)
{
    const auto own = retrieval(cache);
    own.task->exec();
    own.inner->finish(Error());
    EXPECT_EQ(own.task->error(),
              Error(1, u"Trying to finalize retrieve for non existing resource"_s));
    EXPECT_EQ(taskRows(), 0);
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(RemoteResourceRetrievingTaskTest,
       finish_fetchAndRecordFail_givesTheFetchsErrorAndLogsTheOther)
{
    const LogCapture log;
    const auto own = retrieval(cache);
    own.task->exec();
    keepStatusAsItIs();
    own.inner->finish(Error(42, u"broken"_s));
    EXPECT_EQ(own.task->error(), Error(42, u"broken"_s));
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_TRUE(log.contains(QtWarningMsg, u"stuck"_s));
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_databaseFails_endsWithThatError)
{
    const auto own = retrieval(cache);
    cache.close();
    own.task->exec();
    EXPECT_TRUE(own.task->isFinished());
    EXPECT_TRUE(own.task->error().hasError());
    EXPECT_TRUE(own.inner->isIdle());
}

TEST_F(RemoteResourceRetrievingTaskTest, progress_ofTheFetch_isForwardedAndSavedInPercent)
{
    const auto own = retrieval(cache);
    QSignalSpy initiated(own.task.get(), &BaseTask::progressInitiated);
    own.task->exec();
    Q_EMIT own.inner->progressInitiated(3);
    EXPECT_EQ(initiated.count(), 1);
    own.inner->setProgress(2, 3);
    own.inner->setProgressText(u"two of three"_s);
    EXPECT_EQ(own.task->progressValue(), 2);
    EXPECT_EQ(own.task->progressMaximum(), 3);
    EXPECT_EQ(own.task->progressText(), u"two of three"_s);
    EXPECT_EQ(savedProgress().toInt(), 66);
    own.inner->setProgress(1, 0);
    EXPECT_EQ(savedProgress().toInt(), 0);
    own.inner->finish(Error(1));
}

TEST_F(RemoteResourceRetrievingTaskTest, progress_samePercent_isNotSavedAgain)
{
    const auto own = retrieval(cache);
    own.task->exec();
    own.inner->setProgress(500, 1000);
    database().run(u"UPDATE AcquiringTasks SET progress = 7"_s);
    own.inner->setProgress(501, 1000);
    EXPECT_EQ(savedProgress().toInt(), 7);
    own.inner->setProgress(510, 1000);
    EXPECT_EQ(savedProgress().toInt(), 51);
    own.inner->finish(Error(1));
}

TEST_F(RemoteResourceRetrievingTaskTest, exec_tracingTurnedOnAfterTheFirstQuestion_writesNoSpan)
{
    constexpr auto category = u"RESOURCE_RETRIEVAL";
    ASSERT_FALSE(isRetrievalTracingActive());
    const QString file = directory.outside(u"trace.json"_s);
    tracer_categories_settings::setCategoryEnabled(category, true);
    ASSERT_TRUE(Tracer::initialize(file));
    const auto task = retrievalBy(cache, fetchAtOnce());
    task->exec();
    Tracer::shutdown();
    tracer_categories_settings::setCategoryEnabled(category, false);
    EXPECT_TRUE(task->isSuccessful());
    EXPECT_TRUE(QFileInfo::exists(file));
    EXPECT_FALSE(readFile(file).contains("resource_retrieval"));
}
