#include "WaitUntil.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceManagerRetrievalTest : public ManagerFixture
{
protected:
    using References = ResourceManager::References;
    using Handlers = ResourceManager::Handlers;

    static const auto manual = ResourceHandler::Manual;
    static const auto queued = ResourceHandler::Queued;
};

} // namespace

TEST_F(ResourceManagerRetrievalTest, retrieve_missing_fetchesIt)
{
    const auto remote = handler(u"a"_s);
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
    EXPECT_TRUE(remote->isAvailableLocally());
    EXPECT_EQ(database().status(key(u"a"_s)), u"Ready"_s);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(ResourceManagerRetrievalTest, retrieve_fetchOnAWorker_waitsForIt)
{
    script(u"a"_s).fetchMode = Task::ExecutionMode::Asynchronous;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
}

TEST_F(ResourceManagerRetrievalTest, retrieve_fromAnotherThread_runsOnTheQueuesThread)
{
    const auto remote = handler(u"a"_s);
    QThread *fetchedOn = nullptr;
    script(u"a"_s).fetch = [&fetchedOn](Task *, const QString &path) {
        fetchedOn = QThread::currentThread();
        writeFile(path, "data");
        return Error();
    };
    Error error;
    std::unique_ptr<QThread> caller(QThread::create([&] {
        error = ResourceManager::retrieve(Handlers { remote, handler(u"b"_s) });
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit);
    }));
    caller->start();
    QCoreApplication::exec();
    caller->wait();
    EXPECT_TRUE(succeeds(error));
    EXPECT_EQ(fetchedOn, QThread::currentThread());
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieve_availableLocally_makesNoTaskAndAsksNobody)
{
    const auto remote = prompted(u"a"_s);
    FakePrompting prompting;
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(remote, &prompting)));
    ASSERT_EQ(prompting.questions.size(), 1);
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(remote, &prompting)));
    EXPECT_EQ(prompting.questions.size(), 1);
    EXPECT_EQ(script(u"a"_s).fetchTasks, 1);
    EXPECT_EQ(ResourceManager::retrieveAsync(remote, manual).value(), nullptr);
}

TEST_F(ResourceManagerRetrievalTest, retrieve_nullHandler_failsWithCode2)
{
    const QString text = u"Null handler provided."_s;
    const QSharedPointer<ResourceHandler> null;
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(null), ErrorCode::BadArgument, text));
    EXPECT_TRUE(
        failsWith(ResourceManager::retrieveAsync(null, manual), ErrorCode::BadArgument, text));
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(Handlers { handler(u"a"_s), null }),
                          ErrorCode::BadArgument, text));
    EXPECT_EQ(script(u"a"_s).fetchTasks, 0);
}

TEST_F(ResourceManagerRetrievalTest, retrieve_notFetchable_namesTheResourceForPeople)
{
    script(u"a"_s).isFetchable = false;
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(handler(u"a"_s)), ErrorCode::OperationFailed,
                          u"Unable to retrieve missing resource: the resource a"_s));
}

TEST_F(ResourceManagerRetrievalTest, retrieve_nothingToDo_succeeds)
{
    const auto near = nearHandler(u"a"_s);
    near->script.localPath = PathImpl<PathType::Unknown>(directory.outside(u"nothing"_s));
    near->script.nothingToDo = true;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(near)));
    EXPECT_EQ(ResourceManager::retrieveAsync(near, queued).value(), nullptr);
    EXPECT_EQ(ResourceManager::retrieveAsync(Handlers { near }, queued).value(), nullptr);
}

TEST_F(ResourceManagerRetrievalTest, retrieve_pathCannotBeTold_passesTheFailureOn)
{
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(nearHandler(u"pathless"_s)),
                          ErrorCode::OperationFailed, u"No path."_s));
}

TEST_F(ResourceManagerRetrievalTest, retrieve_fetchFails_givesItsErrorAndTheNextOneTriesAgain)
{
    script(u"a"_s).fetch = [](Task *, const QString &path) {
        writeFile(path, "half");
        return Error(42, u"The line broke."_s);
    };
    const auto remote = handler(u"a"_s);
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(remote), static_cast<ErrorCode>(42),
                          u"The line broke."_s));
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);

    script(u"a"_s).fetch = [](Task *, const QString &path) {
        EXPECT_FALSE(QFileInfo::exists(path)) << "a retrieval starts clean";
        writeFile(path, "whole");
        return Error();
    };
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "whole");
}

TEST_F(ResourceManagerRetrievalTest, retrieve_leftoversInTheCache_areGoneBeforeTheTaskIsMade)
{
    writeFile(pathOf(u"a"_s) + u"/old/part"_s, "old");
    const auto task = ResourceManager::retrieveAsync(handler(u"a"_s), manual);
    ASSERT_TRUE(succeeds(task));
    ASSERT_NE(task.value(), nullptr);
    const QDir folder(QFileInfo(pathOf(u"a"_s)).path());
    EXPECT_TRUE(folder.isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
}

TEST_F(ResourceManagerRetrievalTest, retrieve_readyButDeletedByHand_fetchesItAgain)
{
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    ASSERT_TRUE(QFile::remove(pathOf(u"a"_s)));
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
    EXPECT_TRUE(remote->isAvailableLocally());
    EXPECT_EQ(script(u"a"_s).fetchTasks, 2);
}

TEST_F(ResourceManagerRetrievalTest, retrieve_leftoversOutsideTheCache_areLeftAlone)
{
    // There, but not available: the handler says so.
    struct NeverHere : LocalTestHandler
    {
        using LocalTestHandler::LocalTestHandler;
        bool isAvailableLocally() const override { return false; }
    };
    const auto own = QSharedPointer<NeverHere>::create(testReference(u"outside"_s));
    writeFile(directory.outside(u"kept"_s), "kept");
    own->script.localPath = PathImpl<PathType::Unknown>(directory.outside(u"kept"_s));
    own->script.nothingToDo = true;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(own)));
    EXPECT_EQ(readFile(directory.outside(u"kept"_s)), "kept");
}

TEST_F(ResourceManagerRetrievalTest, retrieve_publishedMeanwhile_isANullTaskAndKeepsTheData)
{
    // Another process ends its fetch between the look of the handler and the clearing of the way.
    struct OneLookBehind : RemoteTestHandler
    {
        using RemoteTestHandler::RemoteTestHandler;
        bool isAvailableLocally() const override { return false; }
    };
    const auto late
        = QSharedPointer<OneLookBehind>::create(testReference(u"a"_s), ResourceManager::cache());
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    const auto task = ResourceManager::retrieveAsync(late, manual);
    ASSERT_TRUE(succeeds(task));
    EXPECT_EQ(task.value(), nullptr);
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
}

TEST_F(ResourceManagerRetrievalTest, retrieve_otherProcessFetches_leavesItsFilesAlone)
{
    const auto remote = handler(u"a"_s);
    writeFile(pathOf(u"a"_s), "half of it");
    ASSERT_TRUE(
        succeeds(ResourceManager::cache()->saveStatus(key(u"a"_s), ResourceStatus::Acquiring)));
    EXPECT_TRUE(succeeds(ResourceManager::retrieveAsync(remote, manual)));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "half of it");
}

TEST_F(ResourceManagerRetrievalTest, retrieveAsync_manual_isUnstarted)
{
    const auto task = ResourceManager::retrieveAsync(handler(u"a"_s), manual);
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(task.value()->isIdle());
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(ResourceManagerRetrievalTest, async_anyTypeButQueued_isLeftToTheCaller)
{
    const auto other = static_cast<ResourceHandler::AsyncProcessingType>(7);
    const auto remote = handler(u"a"_s);
    const auto retrieving = ResourceManager::retrieveAsync(remote, other);
    ASSERT_TRUE(succeeds(retrieving));
    EXPECT_TRUE(retrieving.value()->isIdle());
    const auto group = ResourceManager::retrieveAsync(Handlers { remote }, other);
    ASSERT_TRUE(succeeds(group));
    EXPECT_TRUE(group.value()->isIdle());
    EXPECT_TRUE(ResourceManager::existsAsync(remote, other).value()->isIdle());
    EXPECT_TRUE(ResourceManager::retrieveMetadataAsync(remote, other).value()->isIdle());
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(ResourceManagerRetrievalTest, retrieveAsync_queued_runs)
{
    const auto task = ResourceManager::retrieveAsync(handler(u"a"_s), queued);
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(succeeds(task.value()->waitForAllFinished(-1)));
    EXPECT_EQ(script(u"a"_s).fetches, 1);
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_several_fetchesAll)
{
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(Handlers { handler(u"a"_s), handler(u"b"_s) })));
    EXPECT_TRUE(handler(u"a"_s)->isAvailableLocally());
    EXPECT_TRUE(handler(u"b"_s)->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_rawPointers_fetchesAll)
{
    const auto a = handler(u"a"_s);
    const auto b = handler(u"b"_s);
    EXPECT_TRUE(succeeds(
        ResourceManager::retrieve(QList<ResourceHandler *> { a.data(), b.data() }, nullptr)));
    EXPECT_TRUE(b->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_empty_isANullGroupAndASuccess)
{
    FakePrompting prompting;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(Handlers())));
    const auto group = ResourceManager::retrieveAsync(Handlers(), queued, &prompting);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value(), nullptr);
    EXPECT_TRUE(prompting.questions.isEmpty());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_tenTimesAsLong_looksNoMoreAtEachReference)
{
    const auto keyFormsFor = [this](const QString &name, int count) {
        Handlers handlers;
        for (int i = 0; i < count; ++i)
            handlers.append(handler(name + QString::number(i)));
        const int before = TestReference::keyFormsMade();
        EXPECT_TRUE(succeeds(ResourceManager::retrieve(handlers)));
        return TestReference::keyFormsMade() - before;
    };
    const int few = keyFormsFor(u"a"_s, 10);
    EXPECT_GT(few, 0);
    EXPECT_LT(keyFormsFor(u"b"_s, 100), 15 * few); // to compare each with each: nearly 50 times
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_handlerTwice_getsOneSubtask)
{
    const Handlers handlers { handler(u"a"_s), handler(u"b"_s), handler(u"a"_s) };
    const auto group = ResourceManager::retrieveAsync(handlers, manual);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value()->subtasks().size(), 2);
    EXPECT_TRUE(group.value()->isIdle());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_oneIsHere_onlyTheOtherGetsASubtask)
{
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    const auto group
        = ResourceManager::retrieveAsync(Handlers { handler(u"a"_s), handler(u"b"_s) }, manual);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value()->subtasks().size(), 1);
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_allHere_isANullGroup)
{
    const auto remote = handler(u"a"_s);
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    EXPECT_EQ(ResourceManager::retrieveAsync(Handlers { remote }, queued).value(), nullptr);
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_probeTask_isThrownAwayUnstarted)
{
    const auto group = ResourceManager::retrieveAsync(Handlers { handler(u"a"_s) }, manual);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(script(u"a"_s).fetchTasks, 2);
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_probeWhileThisProcessFetches_keepsTheTaskRow)
{
    bool wasFetchingStill = false;
    const auto remote = handler(u"a"_s);
    script(u"a"_s).fetch = [&](Task *, const QString &path) {
        EXPECT_TRUE(succeeds(ResourceManager::retrieveAsync(Handlers { remote }, manual)));
        wasFetchingStill = database().count(u"AcquiringTasks"_s) == 1
            && database().status(key(u"a"_s)) == u"Acquiring"_s;
        writeFile(path, "data");
        return Error();
    };
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote)));
    EXPECT_TRUE(wasFetchingStill);
    EXPECT_TRUE(remote->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_oneCannotBeFetched_startsNothing)
{
    script(u"b"_s).isFetchable = false;
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(Handlers { handler(u"a"_s), handler(u"b"_s) }),
                          ErrorCode::OperationFailed,
                          u"Unable to retrieve missing resource: the resource b"_s));
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_oneFetchFails_givesTheUnifiedErrorAndKeepsTheRest)
{
    script(u"a"_s).fetch = [](Task *, const QString &) {
        return Error(42, u"broken"_s);
    };
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(Handlers { handler(u"a"_s), handler(u"b"_s) }),
                          static_cast<ErrorCode>(42), u"broken"_s));
    EXPECT_TRUE(handler(u"b"_s)->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveList_noInterface_asksNobodyWhateverTheMode)
{
    EXPECT_TRUE(
        succeeds(ResourceManager::retrieve(Handlers { handler(u"a"_s), prompted(u"b"_s) })));
    EXPECT_TRUE(handler(u"b"_s)->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveReference_withAMode_leavesItOnTheHandler)
{
    const FakePrompting *prompting = makeDefaultPrompting();
    const auto found = ResourceManager::retrieve(testReference(u"a"_s), ResourceHandler::Prompt);
    ASSERT_TRUE(succeeds(found));
    EXPECT_EQ(prompting->questions.size(), 1);
    EXPECT_EQ(found.value()->overridenRetrieveMode(), ResourceHandler::Prompt);
    EXPECT_TRUE(found.value()->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieveReference_withoutAMode_leavesTheHandlersAlone)
{
    const auto found = ResourceManager::retrieve(testReference(u"a"_s));
    ASSERT_TRUE(succeeds(found));
    EXPECT_FALSE(found.value()->overridenRetrieveMode().has_value());
}

TEST_F(ResourceManagerRetrievalTest, retrieveReference_failures_arePassedOn)
{
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(QSharedPointer<ResourceReference>()),
                          ErrorCode::BadArgument, u"Null reference provided."_s));
    script(u"a"_s).isFetchable = false;
    EXPECT_TRUE(
        failsWith(ResourceManager::retrieve(testReference(u"a"_s)), ErrorCode::OperationFailed));
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(References { testReference(u"a"_s) }),
                          ErrorCode::OperationFailed));
}

TEST_F(ResourceManagerRetrievalTest, retrieveReferences_several_givesHandlersInOrder)
{
    const References references { testReference(u"b"_s), testReference(u"a"_s) };
    const auto handlers = ResourceManager::retrieve(references, ResourceHandler::NoPrompt);
    ASSERT_TRUE(succeeds(handlers));
    ASSERT_EQ(handlers.value().size(), 2);
    for (qsizetype i = 0; i < 2; ++i) {
        EXPECT_EQ(*handlers.value().at(i)->reference(), *references.at(i));
        EXPECT_EQ(handlers.value().at(i)->overridenRetrieveMode(), ResourceHandler::NoPrompt);
        EXPECT_TRUE(handlers.value().at(i)->isAvailableLocally());
    }
}

TEST_F(ResourceManagerRetrievalTest, retrieveWithReferences_several_pairsThem)
{
    const References references { testReference(u"a"_s), testReference(u"b"_s) };
    const auto pairs = ResourceManager::retrieveWithReferences(references);
    ASSERT_TRUE(succeeds(pairs));
    ASSERT_EQ(pairs.value().size(), 2);
    EXPECT_EQ(*pairs.value().value(references.at(1))->reference(), *references.at(1));
    EXPECT_TRUE(pairs.value().value(references.at(0))->isAvailableLocally());
}

TEST_F(ResourceManagerRetrievalTest, retrieve_moreThanSix_sixAreFetchedAtOnceAndNeverMore)
{
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    // Once the caller waits, it has started all that it starts at once.
    std::atomic<bool> isWaiting = false;
    QMetaObject::invokeMethod(
        qApp, [&isWaiting] { isWaiting = true; }, Qt::QueuedConnection);
    const auto begin = [&] {
        const int now = ++running;
        for (int before = most; before < now && !most.compare_exchange_weak(before, now);) { }
    };
    Handlers handlers;
    for (int i = 0; i < 12; ++i) {
        const QString name = u"r%1"_s.arg(i);
        script(name).fetchMode = Task::ExecutionMode::Asynchronous;
        script(name).fetch = [&](Task *, const QString &path) {
            begin();
            EXPECT_TRUE(waitUntil([&] { return isWaiting && most >= 6; }));
            writeFile(path, "data");
            --running;
            return Error();
        };
        handlers.append(handler(name));
    }
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handlers)));
    EXPECT_EQ(most, 6);
    EXPECT_EQ(database().value(u"SELECT COUNT(*) FROM CachedResources WHERE status = 'Ready'"_s),
              QVariant(12));
}

/// As with members of an archive, which is a resource itself. What each waits for stands in the
/// queue behind all that wait.
TEST_F(ResourceManagerRetrievalTest, retrieve_moreThanSixThatNeedAnotherResource_allGetThrough)
{
    Handlers handlers;
    for (int i = 0; i < 7; ++i) {
        const QString name = u"member%1"_s.arg(i);
        const auto archive = handler(u"archive%1"_s.arg(i));
        script(name).fetchMode = Task::ExecutionMode::Asynchronous;
        script(name).fetch = [archive](Task *, const QString &path) {
            const Error error = ResourceManager::retrieve(archive);
            writeFile(path, "data");
            return error;
        };
        handlers.append(handler(name));
    }
    const auto group = ResourceManager::retrieveAsync(handlers, queued);
    ASSERT_TRUE(succeeds(group));
    EXPECT_TRUE(succeeds(group.value()->waitForAllFinished(60'000)));
}

TEST_F(ResourceManagerRetrievalTest,
       retrieve_againAndAgainFromAnotherThread_touchesNoTaskBehindItsEnd)
{
    // The waiting thread destroys the task the moment it is woken, while the queue's thread is
    // still on its way out of it.
    QList<QSharedPointer<RemoteTestHandler>> remotes;
    for (int i = 0; i < 60; ++i)
        remotes.append(handler(u"r%1"_s.arg(i)));
    int retrieved = 0;
    std::unique_ptr<QThread> caller(QThread::create([&] {
        for (const auto &remote : remotes)
            retrieved += ResourceManager::retrieve(remote).hasError() ? 0 : 1;
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit);
    }));
    caller->start();
    QCoreApplication::exec();
    caller->wait();
    EXPECT_EQ(retrieved, remotes.size());
}
