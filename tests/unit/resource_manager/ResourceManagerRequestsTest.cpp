#include "CoroutineWait.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QTime testTime;

QTime timeOfTheTest()
{
    return testTime;
}

class ResourceManagerRequestsTest : public ManagerFixture
{
protected:
    using Handlers = ResourceManager::Handlers;

    ResourceManagerRequestsTest()
    {
        setTime(12, 0);
        inside().currentTime = &timeOfTheTest;
    }

    static TestManager::Private &inside()
    {
        return TestManager::insideOf(ResourceManager::instance());
    }
    static void setTime(int hour, int minute, int second = 0)
    {
        testTime = QTime(hour, minute, second);
    }
    bool ask(const QString &name) const
    {
        const auto answer = ResourceManager::exists(handler(name));
        EXPECT_TRUE(succeeds(answer));
        return answer.hasValue() && answer.value();
    }

    static const auto manual = ResourceHandler::Manual;
    static const auto queued = ResourceHandler::Queued;
};

} // namespace

TEST_F(ResourceManagerRequestsTest, exists_again_isAnsweredFromTheMemo)
{
    EXPECT_TRUE(ask(u"a"_s));
    script(u"a"_s).exists = false;
    setTime(12, 29, 59);
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
}

TEST_F(ResourceManagerRequestsTest, exists_afterHalfAnHour_asksAgainAndRenewsTheAnswer)
{
    EXPECT_TRUE(ask(u"a"_s));
    script(u"a"_s).exists = false;
    setTime(12, 30);
    EXPECT_FALSE(ask(u"a"_s));
    setTime(12, 59, 59);
    EXPECT_FALSE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, exists_answerFromBeforeMidnight_isFreshAfterIt)
{
    setTime(23, 50);
    EXPECT_TRUE(ask(u"a"_s));
    setTime(0, 10);
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
    setTime(23, 49, 59);
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
}

TEST_F(ResourceManagerRequestsTest, exists_answerFalse_isRememberedToo)
{
    script(u"a"_s).exists = false;
    EXPECT_FALSE(ask(u"a"_s));
    script(u"a"_s).exists = true;
    EXPECT_FALSE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
}

TEST_F(ResourceManagerRequestsTest, exists_schemeFile_asksEveryTime)
{
    const auto near = nearHandler(u"a"_s);
    EXPECT_TRUE(ResourceManager::exists(near).value());
    EXPECT_TRUE(ResourceManager::exists(near).value());
    EXPECT_EQ(near->script.existsTasks, 2);
    EXPECT_TRUE(inside().cachedRequestsValues.isEmpty());
}

TEST_F(ResourceManagerRequestsTest, exists_failure_leavesTheMemoAlone)
{
    script(u"a"_s).existsOutcome = Error(42, u"down"_s);
    EXPECT_TRUE(
        failsWith(ResourceManager::exists(handler(u"a"_s)), static_cast<ErrorCode>(42), u"down"_s));
    EXPECT_TRUE(inside().cachedRequestsValues.isEmpty());
    script(u"a"_s).existsOutcome = Error();
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, exists_laterFailure_leavesTheEarlierEntry)
{
    EXPECT_TRUE(ask(u"a"_s));
    script(u"a"_s).existsOutcome = Error(42, u"down"_s);
    setTime(12, 40);
    EXPECT_FALSE(ResourceManager::exists(handler(u"a"_s)).hasValue());
    setTime(12, 10); // as if the entry were fresh again
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, exists_handlerMadeAnew_sharesTheAnswer)
{
    EXPECT_TRUE(ask(u"a"_s)); // its handler is gone when the call returns
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
}

TEST_F(ResourceManagerRequestsTest, cachedExistsValue_entryWithoutATime_isNone)
{
    const auto reference = testReference(u"a"_s);
    EXPECT_FALSE(inside().cachedExistsValue(reference).has_value());
    inside().cachedRequestsValues.insert(key(u"a"_s), { true, QTime() });
    EXPECT_FALSE(inside().cachedExistsValue(reference).has_value());
    inside().cachedRequestsValues.insert(key(u"a"_s), { true, testTime });
    EXPECT_EQ(inside().cachedExistsValue(reference), true);
}

TEST_F(ResourceManagerRequestsTest, cachedExistsValue_stale_staysWhereItIs)
{
    inside().cachedRequestsValues.insert(key(u"a"_s), { true, testTime.addSecs(-1800) });
    EXPECT_FALSE(inside().cachedExistsValue(testReference(u"a"_s)).has_value());
    EXPECT_TRUE(inside().cachedRequestsValues.contains(key(u"a"_s)));
}

TEST_F(ResourceManagerRequestsTest, exists_manyStaleAnswers_areForgottenAndFreshOnesKept)
{
    for (int i = 0; i < SweepMark::smallest - 1; ++i)
        EXPECT_TRUE(ask(u"early%1"_s.arg(i)));
    setTime(12, 20);
    EXPECT_TRUE(ask(u"later"_s));
    setTime(12, 30);
    EXPECT_TRUE(ask(u"last"_s));
    EXPECT_EQ(inside().cachedRequestsValues.size(), 2);
    EXPECT_TRUE(ask(u"later"_s));
    EXPECT_EQ(script(u"later"_s).existsTasks, 1);
}

TEST_F(ResourceManagerRequestsTest, existsAsync_memoisedAndManual_isATaskToRun)
{
    EXPECT_TRUE(ask(u"a"_s));
    const auto task = ResourceManager::existsAsync(handler(u"a"_s), manual);
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(task.value()->isIdle());
    task.value()->exec();
    EXPECT_TRUE(task.value()->result<bool>().value());
    EXPECT_EQ(script(u"a"_s).existsRuns, 1);
}

TEST_F(ResourceManagerRequestsTest, existsAsync_manual_memoisesWhenTheCallerRunsIt)
{
    const auto task = ResourceManager::existsAsync(handler(u"a"_s), manual);
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(inside().cachedRequestsValues.isEmpty());
    task.value()->exec();
    EXPECT_EQ(inside().cachedRequestsValues.value(key(u"a"_s)).exists, true);
    EXPECT_EQ(inside().cachedRequestsValues.value(key(u"a"_s)).time, testTime);
}

TEST_F(ResourceManagerRequestsTest, existsAsync_answersOnWorkersMeanwhile_memoisesAllOfThem)
{
    Handlers handlers;
    for (int i = 0; i < 40; ++i) {
        const QString name = u"r%1"_s.arg(i);
        script(name).existsMode = Task::ExecutionMode::Asynchronous;
        handlers.append(handler(name));
    }
    EXPECT_TRUE(ResourceManager::exists(handlers).value());
    EXPECT_EQ(inside().cachedRequestsValues.size(), 40);
}

TEST_F(ResourceManagerRequestsTest, existsAsync_managerGoneBeforeTheAnswer_dropsTheAnswer)
{
    std::unique_ptr<Task> task;
    {
        TestManager manager(settingsFor(directory.baseDir()));
        auto made = manager.inside().existsAsync(handler(u"a"_s).data(), manual);
        ASSERT_TRUE(succeeds(made));
        task = std::move(made).value();
    }
    task->exec();
    EXPECT_TRUE(task->isSuccessful());
}

TEST_F(ResourceManagerRequestsTest, nullHandler_everywhere_failsWithCode2)
{
    const QString text = u"Null handler provided."_s;
    const QSharedPointer<ResourceHandler> null;
    const auto code = ErrorCode::BadArgument;
    EXPECT_TRUE(failsWith(ResourceManager::exists(null), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::exists(Handlers { handler(u"a"_s), null }), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::existsAsync(null, queued), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::existsAsync(Handlers { null }, queued), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(null), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadataAsync(null, queued), code, text));
    EXPECT_EQ(script(u"a"_s).existsTasks, 0);
}

TEST_F(ResourceManagerRequestsTest, exists_schemeGivesNoTask_failsInEveryForm)
{
    script(u"a"_s).givesNullTasks = true;
    const auto silent = handler(u"a"_s);
    const Handlers several { handler(u"b"_s), silent };
    const QString text
        = u"Unable to check existence of resource: "_s + silent->reference()->referenceText(true);
    const auto code = ErrorCode::OperationFailed;
    for (const auto type : { manual, queued }) {
        EXPECT_TRUE(failsWith(ResourceManager::existsAsync(silent, type), code, text));
        EXPECT_TRUE(failsWith(ResourceManager::existsAsync(several, type), code, text));
    }
    EXPECT_TRUE(failsWith(ResourceManager::exists(silent), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::exists(several), code, text));
    EXPECT_TRUE(failsWith(waitForCoroutine(ResourceManager::co_exists(silent.data())), code, text));
    EXPECT_TRUE(failsWith(silent->grab(), code, text));
    EXPECT_FALSE(inside().cachedRequestsValues.contains(silent->reference()->referenceText(false)));
}

TEST_F(ResourceManagerRequestsTest, existsList_oneSaysFalse_isFalseAndAllHaveRun)
{
    script(u"b"_s).exists = false;
    const Handlers handlers { handler(u"a"_s), handler(u"b"_s), handler(u"c"_s) };
    EXPECT_FALSE(ResourceManager::exists(handlers).value());
    EXPECT_EQ(script(u"a"_s).existsRuns + script(u"b"_s).existsRuns + script(u"c"_s).existsRuns, 3);
}

TEST_F(ResourceManagerRequestsTest, existsList_allSayTrue_isTrue)
{
    EXPECT_TRUE(ResourceManager::exists(Handlers { handler(u"a"_s), handler(u"b"_s) }).value());
    const auto c = handler(u"c"_s);
    EXPECT_TRUE(ResourceManager::exists(QList<ResourceHandler *> { c.data() }).value());
}

TEST_F(ResourceManagerRequestsTest, existsList_oneFails_givesTheUnifiedError)
{
    script(u"b"_s).existsOutcome = Error(42, u"down"_s);
    EXPECT_TRUE(failsWith(ResourceManager::exists(Handlers { handler(u"a"_s), handler(u"b"_s) }),
                          static_cast<ErrorCode>(42), u"down"_s));
}

TEST_F(ResourceManagerRequestsTest, existsList_handlerTwice_makesTwoTasks)
{
    const auto a = handler(u"a"_s);
    const auto group = ResourceManager::existsAsync(Handlers { a, a }, manual);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value()->subtasks().size(), 2);
    EXPECT_EQ(script(u"a"_s).existsTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, existsList_empty_isANullGroup)
{
    const auto group = ResourceManager::existsAsync(Handlers(), queued);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value(), nullptr);
}

TEST_F(ResourceManagerRequestsTest, existsList_emptyAndBlocking_failsWithCode2)
{
    EXPECT_TRUE(failsWith(ResourceManager::exists(Handlers()), ErrorCode::BadArgument));
}

TEST_F(ResourceManagerRequestsTest, existsGroup_unfinished_failsWithCode1)
{
    const auto group = ResourceManager::existsAsync(Handlers { handler(u"a"_s) }, manual);
    ASSERT_TRUE(succeeds(group));
    EXPECT_TRUE(failsWith(ResourceManager::exists(group.value().get()), ErrorCode::OperationFailed,
                          u"Cannot get results for unfinished group task."_s));
}

TEST_F(ResourceManagerRequestsTest, existsGroup_nullOneOfAnEmptyList_failsWithCode2)
{
    const auto group = ResourceManager::existsAsync(Handlers(), queued);
    ASSERT_TRUE(succeeds(group));
    EXPECT_TRUE(failsWith(ResourceManager::exists(group.value().get()), ErrorCode::BadArgument,
                          u"Null task provided."_s));
}

TEST_F(ResourceManagerRequestsTest, existsGroup_finished_readsTheAnswer)
{
    script(u"b"_s).exists = false;
    const auto group
        = ResourceManager::existsAsync(Handlers { handler(u"a"_s), handler(u"b"_s) }, queued);
    ASSERT_TRUE(succeeds(group));
    EXPECT_TRUE(succeeds(group.value()->waitForAllFinished(-1)));
    EXPECT_FALSE(ResourceManager::exists(group.value().get()).value());
}

TEST_F(ResourceManagerRequestsTest, existsGroup_subtaskWithoutAResult_failsAsAWhole)
{
    GroupTask group(nullptr);
    auto *silent = new Task(nullptr);
    group.append(silent);
    silent->exec();
    EXPECT_TRUE(succeeds(group.waitForAllFinished(-1)));
    EXPECT_TRUE(failsWith(ResourceManager::exists(&group), ErrorCode::OperationFailed,
                          u"Return value is not set."_s));
}

TEST_F(ResourceManagerRequestsTest, coExists_queueIsFull_suspendsUntilTheAnswerComes)
{
    std::array<OpenEndedTask, 6> busy;
    for (OpenEndedTask &task : busy)
        inside().tasksQueue.append(&task);
    const auto remote = handler(u"a"_s);
    auto coroutine = ResourceManager::co_exists(remote.data());
    EXPECT_FALSE(coroutine.isReady());
    EXPECT_EQ(script(u"a"_s).existsRuns, 0);
    for (OpenEndedTask &task : busy)
        task.finish(Error());
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).value());
}

TEST_F(ResourceManagerRequestsTest, coExists_nullHandler_failsWithCode2)
{
    EXPECT_TRUE(failsWith(waitForCoroutine(ResourceManager::co_exists(nullptr)),
                          ErrorCode::BadArgument, u"Null handler provided."_s));
}

TEST_F(ResourceManagerRequestsTest, exists_blocked_goesOnDeliveringEvents)
{
    std::array<OpenEndedTask, 6> busy;
    for (OpenEndedTask &task : busy)
        inside().tasksQueue.append(&task);
    const auto makeRoom = [&busy] {
        for (OpenEndedTask &task : busy)
            task.finish(Error());
    };
    QMetaObject::invokeMethod(qApp, makeRoom, Qt::QueuedConnection);
    EXPECT_TRUE(ask(u"a"_s)); // not answered before the event was delivered
}

TEST_F(ResourceManagerRequestsTest, invalidate_scheme_removesItsEntriesOnly)
{
    EXPECT_TRUE(ask(u"a"_s));
    const auto other = ResourceManager::getHandler(testReference(u"a"_s, u"other"_s)).value();
    EXPECT_TRUE(ResourceManager::exists(other).value());
    ResourceManager::invalidateCachedRequestsValues(ResourceReference::Host1);
    EXPECT_EQ(inside().cachedRequestsValues.keys(), QStringList { u"other:a"_s });
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, invalidate_schemeZero_removesWhatCannotBeParsed)
{
    EXPECT_TRUE(ask(u"a"_s));
    inside().cachedRequestsValues.insert(u"of a scheme that has gone:x"_s, { true, testTime });
    ResourceManager::invalidateCachedRequestsValues(ResourceReference::Invalid);
    EXPECT_EQ(inside().cachedRequestsValues.keys(), QStringList { key(u"a"_s) });
}

TEST_F(ResourceManagerRequestsTest, memo_retrievalAndSettings_doNotTouchIt)
{
    EXPECT_TRUE(ask(u"a"_s));
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    auto settings = settingsFor(directory.baseDir());
    settings.sizes = { 70, 80 };
    EXPECT_TRUE(succeeds(ResourceManager::updateSettings(settings)));
    EXPECT_EQ(inside().cachedRequestsValues.size(), 1);
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadata_handler_givesWhatItsTaskFound)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"of a"_s);
    const auto metadata = ResourceManager::retrieveMetadata(handler(u"a"_s));
    ASSERT_TRUE(succeeds(metadata));
    EXPECT_EQ(metadata.value()->metadataName(), u"of a"_s);
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadata_again_asksAgain)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"of a"_s);
    EXPECT_TRUE(succeeds(ResourceManager::retrieveMetadata(handler(u"a"_s))));
    EXPECT_TRUE(succeeds(ResourceManager::retrieveMetadata(handler(u"a"_s))));
    EXPECT_EQ(script(u"a"_s).metadataTasks, 2);
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadata_reference_makesTheHandlerItself)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"of a"_s);
    EXPECT_EQ(ResourceManager::retrieveMetadata(testReference(u"a"_s)).value()->metadataName(),
              u"of a"_s);
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(QSharedPointer<ResourceReference>()),
                          ErrorCode::BadArgument, u"Null reference provided."_s));
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadata_failures_arePassedOn)
{
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(handler(u"a"_s)),
                          ErrorCode::OperationFailed, u"Return value is not set."_s));
    script(u"a"_s).metadataOutcome = Error(42, u"down"_s);
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(handler(u"a"_s)),
                          static_cast<ErrorCode>(42), u"down"_s));
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadata_schemeGivesNoTask_failsInEveryForm)
{
    script(u"a"_s).givesNullTasks = true;
    const auto silent = handler(u"a"_s);
    const QString text
        = u"Unable to retrieve metadata of resource: "_s + silent->reference()->referenceText(true);
    const auto code = ErrorCode::OperationFailed;
    for (const auto type : { manual, queued })
        EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadataAsync(silent, type), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(silent), code, text));
    EXPECT_TRUE(failsWith(ResourceManager::retrieveMetadata(silent->reference()), code, text));
    EXPECT_TRUE(failsWith(silent->retrieveMetadata(), code, text));
}

TEST_F(ResourceManagerRequestsTest, retrieveMetadataAsync_types_queueOrHandOver)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"of a"_s);
    const auto idle = ResourceManager::retrieveMetadataAsync(handler(u"a"_s), manual);
    EXPECT_TRUE(idle.value()->isIdle());
    const auto running = ResourceManager::retrieveMetadataAsync(handler(u"a"_s), queued);
    EXPECT_TRUE(succeeds(running.value()->waitForAllFinished(-1)));
    EXPECT_EQ(running.value()->result<QSharedPointer<ResourceMetadata>>().value()->metadataName(),
              u"of a"_s);
}
