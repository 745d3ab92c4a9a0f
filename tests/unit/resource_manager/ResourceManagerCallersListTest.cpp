#include "ResourceHandlerUtils.h"
#include "support/ManagerFixture.h"

#include <QSemaphore>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Lets the caller's handlers go while people are asked, as what else happens behind a dialog may.
class TakingPrompting : public FakePrompting
{
public:
    std::function<void()> take;

    bool confirmRetrieve(const References &references) override
    {
        take();
        return FakePrompting::confirmRetrieve(references);
    }
};

/// Is asked whether the resource exists, and answers when the caller's handlers have gone.
class SlowHandler : public RemoteTestHandler
{
public:
    SlowHandler(const QString &name, QSemaphore *gone)
        : RemoteTestHandler(testReference(name), ResourceManager::cache())
        , gone(gone)
    {
    }

    std::unique_ptr<Task> existsTask() const override
    {
        auto task = std::make_unique<Task>(nullptr);
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        task->setFunction([gone = gone](Task *running) {
            EXPECT_TRUE(gone->tryAcquire(1, 20000));
            running->setResult<bool>(true);
            return Error();
        });
        return task;
    }

private:
    QSemaphore *gone;
};

/// What a caller hands in may go while events are delivered.
class ResourceManagerCallersListTest : public ManagerFixture
{
protected:
    using Single = QSharedPointer<ResourceHandler>;
    using Handlers = QList<Single>;
    using References = ResourceManager::References;

    static const auto manual = ResourceHandler::Manual;

    static Single onlyOne(const Single &single) { return single; }
    static Single onlyOne(const Handlers &handlers) { return handlers.constFirst(); }
    /// Whether the work keeps a handler that its caller lets go of while people are asked.
    template<typename Mine, typename Work>
    bool keepsWhenAsked(const QString &name, const Work &work) const
    {
        Mine mine { Single(prompted(name)) };
        const QWeakPointer<ResourceHandler> seen = onlyOne(mine);
        bool isKept = false;
        TakingPrompting prompting;
        prompting.take = [&] {
            mine = Mine();
            isKept = !seen.isNull();
        };
        EXPECT_TRUE(succeeds(work(mine, &prompting)));
        return isKept;
    }
    /// The same while the work waits for an answer.
    template<typename Mine, typename Work>
    static bool keepsInWait(const QString &name, const Work &work)
    {
        QSemaphore gone;
        Mine mine { Single(new SlowHandler(name, &gone)) };
        const QWeakPointer<ResourceHandler> seen = onlyOne(mine);
        bool isKept = false;
        const auto take = [&] {
            mine = Mine();
            isKept = !seen.isNull();
            gone.release();
        };
        QMetaObject::invokeMethod(qApp, take, Qt::QueuedConnection);
        EXPECT_TRUE(succeeds(work(mine)));
        return isKept;
    }
};

} // namespace

TEST_F(ResourceManagerCallersListTest, retrieve_handlersGoWhilePeopleAreAsked_areKept)
{
    EXPECT_TRUE(keepsWhenAsked<Single>(u"a"_s, [](const Single &mine, auto *prompting) {
        return ResourceManager::retrieve(mine, prompting);
    }));
    EXPECT_TRUE(keepsWhenAsked<Handlers>(u"b"_s, [](const Handlers &mine, auto *prompting) {
        return ResourceManager::retrieve(mine, prompting);
    }));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
    EXPECT_EQ(readFile(pathOf(u"b"_s)), "data");
}

TEST_F(ResourceManagerCallersListTest, retrieveAsync_handlersGoWhilePeopleAreAsked_areKept)
{
    EXPECT_TRUE(keepsWhenAsked<Single>(u"a"_s, [](const Single &mine, auto *prompting) {
        return ResourceManager::retrieveAsync(mine, manual, prompting);
    }));
    EXPECT_TRUE(keepsWhenAsked<Handlers>(u"b"_s, [](const Handlers &mine, auto *prompting) {
        return ResourceManager::retrieveAsync(mine, manual, prompting);
    }));
}

TEST_F(ResourceManagerCallersListTest, exists_handlersGoInTheWait_areKept)
{
    EXPECT_TRUE(keepsInWait<Single>(
        u"a"_s, [](const Single &mine) { return ResourceManager::exists(mine); }));
    EXPECT_TRUE(keepsInWait<Handlers>(
        u"b"_s, [](const Handlers &mine) { return ResourceManager::exists(mine); }));
}

TEST_F(ResourceManagerCallersListTest, confirmPrivilegesAndLocalPaths_listGoesInTheWait_isKept)
{
    EXPECT_TRUE(keepsInWait<Handlers>(u"a"_s, [](const Handlers &mine) {
        return ResourceHandlerUtils::confirmPrivileges(mine);
    }));
    EXPECT_TRUE(keepsInWait<Handlers>(
        u"b"_s, [](const Handlers &mine) { return ResourceHandlerUtils::localPaths(mine); }));
}

TEST_F(ResourceManagerCallersListTest, retrieveWithReferences_listIsClearedInTheFetch_pairsAll)
{
    References references { testReference(u"a"_s), testReference(u"b"_s) };
    script(u"a"_s).fetch = [&references](Task *, const QString &path) {
        references.clear();
        writeFile(path, "data");
        return Error();
    };
    const auto pairs = ResourceManager::retrieveWithReferences(references);
    ASSERT_TRUE(succeeds(pairs));
    EXPECT_TRUE(references.isEmpty());
    EXPECT_EQ(pairs.value().size(), 2);
}
