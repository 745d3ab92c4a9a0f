#include "BlockingWait.h"
#include "Proof.h"
#include "TasksQueue.h"
#include "Together.h"
#include "support/ManagerFixture.h"

#include <QEventLoop>

#include <deque>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ManagerThreadsTest : public ManagerFixture
{
protected:
    static constexpr int resourceCount = 8;

    ResourceManager::Handlers handlers() const
    {
        ResourceManager::Handlers all;
        for (int number = 0; number < resourceCount; ++number)
            all.append(handler(u"m%1"_s.arg(number)));
        return all;
    }
};

} // namespace

TEST_F(ManagerThreadsTest, existenceMemo_answeredByWorkersWhileItIsForgotten_isNeverWrong)
{
    const int rounds = forProof(20, 400);
    const ResourceManager::Handlers all = handlers();
    for (int number = 0; number < resourceCount; ++number) {
        HandlerScript &script = this->script(u"m%1"_s.arg(number));
        script.existsMode = Task::ExecutionMode::Asynchronous;
        script.exists = number % 2 == 0;
    }
    for (int round = 0; round < rounds; ++round) {
        auto asked = ResourceManager::existsAsync(all, ResourceHandler::Queued);
        ASSERT_TRUE(succeeds(asked));
        ResourceManager::invalidateCachedRequestsValues(ResourceReference::Host1);
        EXPECT_FALSE(asked.value()->waitForAllFinished(-1).hasError());
        for (int number = 0; number < resourceCount; ++number) {
            const auto answer = ResourceManager::exists(all.at(number));
            EXPECT_TRUE(succeeds(answer));
            EXPECT_EQ(answer.value(), number % 2 == 0);
        }
    }
    recordFigure(u"questions"_s, 2 * rounds * resourceCount);
}

TEST_F(ManagerThreadsTest, retrieve_fetchesOnWorkersWhileThreadsAskTheCache_allArrive)
{
    const int rounds = forProof(4, 60);
    for (int round = 0; round < rounds; ++round) {
        ResourceManager::Handlers all;
        for (int number = 0; number < resourceCount; ++number) {
            const QString name = u"r%1x%2"_s.arg(round).arg(number);
            script(name).fetchMode = Task::ExecutionMode::Asynchronous;
            all.append(handler(name));
        }
        std::atomic<bool> hasEnded = false;
        std::thread others([&] {
            together([&](int thread) {
                while (!hasEnded) {
                    const QString reference = key(u"r%1x%2"_s.arg(round).arg(thread));
                    EXPECT_TRUE(succeeds(ResourceManager::cache()->readStatus(reference)));
                    EXPECT_TRUE(succeeds(ResourceManager::cache()->useResource(reference)));
                }
            });
        });
        EXPECT_TRUE(succeeds(ResourceManager::retrieve(all)));
        hasEnded = true;
        others.join();
        for (int number = 0; number < resourceCount; ++number)
            EXPECT_EQ(readFile(pathOf(u"r%1x%2"_s.arg(round).arg(number))), "data");
    }
    recordFigure(u"fetches"_s, rounds * resourceCount);
}

TEST_F(ManagerThreadsTest, queue_filledByThreadsThatWait_runsEachTaskOnce)
{
    const int tasksOfAThread = forProof(50, 1000);
    TasksQueue queue;
    std::atomic<int> runs = 0;
    std::atomic<int> threadsAtWork = threadCount;
    QEventLoop loop;
    std::thread crew([&] {
        together([&](int) {
            std::deque<Task> tasks;
            for (int number = 0; number < tasksOfAThread; ++number) {
                Task &task = tasks.emplace_back();
                task.setFunction(
                    [&runs] {
                        ++runs;
                        return Error(0);
                    },
                    number % 2 == 0 ? Task::ExecutionMode::Asynchronous
                                    : Task::ExecutionMode::Synchronous);
                task.moveToThread(queue.executionThread());
                queue.append(&task);
            }
            for (Task &task : tasks)
                EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
            --threadsAtWork;
        });
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    crew.join();
    EXPECT_EQ(threadsAtWork, 0);
    EXPECT_EQ(runs, threadCount * tasksOfAThread);
    recordFigure(u"tasks"_s, runs);
}
