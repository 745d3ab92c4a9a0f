#include "ResourceHandler.h"

#include "BracketTranslator.h"
#include "LogCapture.h"
#include "ResourceHandlerFactory.h"
#include "support/ManagerFixture.h"
#include "tasks/GetSiblingsTask.h"

#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceHandlerTest : public ManagerFixture
{
protected:
    /// A handler without a cache whose data is to lie at the path.
    static std::unique_ptr<LocalTestHandler> handlerAt(const QString &path)
    {
        auto handler = std::make_unique<LocalTestHandler>(testReference(u"local"_s));
        handler->script.localPath = PathImpl<PathType::Unknown>(path);
        return handler;
    }
};

/// The process as an ordinary user, to whom permissions mean something.
class OrdinaryUser
{
public:
    OrdinaryUser() { EXPECT_EQ(setresuid(65534, 65534, 0), 0); }
    ~OrdinaryUser() { EXPECT_EQ(setresuid(0, 0, 0), 0); }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;
};

} // namespace

TEST_F(ResourceHandlerTest, create_nullReference_failsWithCode2)
{
    EXPECT_TRUE(failsWith(LocalTestHandler::create(nullptr, nullptr), ErrorCode::BadArgument,
                          u"Null reference provided."_s));
}

TEST_F(ResourceHandlerTest, create_reference_givesWhatTheFactoryMakes)
{
    const auto reference = testReference(u"a"_s, u"near"_s);
    const auto handler = LocalTestHandler::create(reference, nullptr);
    ASSERT_TRUE(succeeds(handler));
    EXPECT_EQ(handler.value()->reference(), reference);
}

TEST_F(ResourceHandlerTest, isAvailableLocally_fileOrFolder_isTrue)
{
    writeFile(directory.outside(u"file"_s), "x");
    EXPECT_TRUE(handlerAt(directory.outside(u"file"_s))->isAvailableLocally());
    EXPECT_TRUE(handlerAt(directory.baseDir())->isAvailableLocally());
}

TEST_F(ResourceHandlerTest, isAvailableLocally_nothingThere_isFalse)
{
    EXPECT_FALSE(handlerAt(directory.outside(u"nothing"_s))->isAvailableLocally());
}

TEST_F(ResourceHandlerTest, isAvailableLocally_unreadableFile_isFalse)
{
    const bool isRoot = geteuid() == 0;
    const QString own = directory.outside(u"closed"_s);
    writeFile(own, "x");
    // Root reads everything; for it, one of the system's that is not to be read by everybody.
    const auto handler = handlerAt(isRoot ? u"/etc/shadow"_s : own);
    EXPECT_TRUE(handler->isAvailableLocally());
    ASSERT_TRUE(QFile::setPermissions(own, {}));
    const auto user = isRoot ? std::make_unique<OrdinaryUser>() : nullptr;
    EXPECT_FALSE(handler->isAvailableLocally());
}

TEST_F(ResourceHandlerTest, isAvailableLocally_pathCannotBeTold_isFalseAndLogged)
{
    const LocalTestHandler handler(testReference(u"pathless"_s));
    const LogCapture log;
    EXPECT_FALSE(handler.isAvailableLocally());
    EXPECT_TRUE(log.contains(QtWarningMsg, u"No path."_s));
}

TEST_F(ResourceHandlerTest, siblings_notOverridden_lacksTheFeature)
{
    EXPECT_TRUE(failsWith(handlerAt(u"/x"_s)->siblings(), ErrorCode::FeatureLacking,
                          u"A feature is not supported"_s));
}

TEST_F(ResourceHandlerTest, expectedPath_neverFetchedRemote_createsNothing)
{
    const auto remote = handler(u"a"_s);
    const auto path = remote->expectedPath();
    ASSERT_TRUE(succeeds(path));
    EXPECT_EQ(path.value().toString(), pathOf(u"a"_s));
    EXPECT_EQ(path.value().kind, 2);
    EXPECT_FALSE(QFileInfo::exists(directory.dataDir() + u"/test"_s));
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
}

TEST_F(ResourceHandlerTest, expectedPath_localPathFails_passesTheFailureOn)
{
    const LocalTestHandler handler(testReference(u"pathless"_s));
    EXPECT_TRUE(failsWith(handler.expectedPath(), ErrorCode::OperationFailed, u"No path."_s));
}

TEST_F(ResourceHandlerTest, grab_existingNeverFetched_givesAPathWhereNothingLies)
{
    const auto path = handler(u"a"_s)->grab();
    ASSERT_TRUE(succeeds(path));
    EXPECT_EQ(path.value().toString(), pathOf(u"a"_s));
    EXPECT_FALSE(QFileInfo::exists(path.value()));
    EXPECT_EQ(script(u"a"_s).fetchTasks, 0);
    EXPECT_EQ(database().status(key(u"a"_s)), u"Missing"_s);
}

TEST_F(ResourceHandlerTest, grab_resourceDoesNotExist_failsAndLogsOnce)
{
    script(u"a"_s).exists = false;
    const auto remote = handler(u"a"_s);
    const LogCapture log;
    EXPECT_TRUE(failsWith(remote->grab(), ErrorCode::OperationFailed,
                          u"Resource the resource a does not exist"_s));
    EXPECT_EQ(
        log.texts(QtCriticalMsg),
        (QStringList { u"test:a does not exist or user does not have rights to access it."_s }));
}

TEST_F(ResourceHandlerTest, grab_existenceTaskFails_givesThatError)
{
    script(u"a"_s).existsOutcome = Error(42, u"The store is down."_s);
    EXPECT_TRUE(
        failsWith(handler(u"a"_s)->grab(), static_cast<ErrorCode>(42), u"The store is down."_s));
}

TEST_F(ResourceHandlerTest, grab_pathCannotBeTold_givesThatError)
{
    const auto local = nearHandler(u"pathless"_s);
    EXPECT_TRUE(failsWith(local->grab(), ErrorCode::OperationFailed, u"No path."_s));
}

TEST_F(ResourceHandlerTest, grab_exceptionInTheCoroutine_isThrownAgain)
{
    script(u"a"_s).existsTaskThrows = true;
    const auto remote = handler(u"a"_s);
    EXPECT_THROW(static_cast<void>(remote->grab()), std::runtime_error);
    EXPECT_THROW(static_cast<void>(remote->exists()), std::runtime_error);
}

TEST_F(ResourceHandlerTest, coGrab_existenceAnsweredOnAWorker_resumesHere)
{
    script(u"a"_s).existsMode = Task::ExecutionMode::Asynchronous;
    const auto path = handler(u"a"_s)->grab();
    ASSERT_TRUE(succeeds(path));
    EXPECT_EQ(script(u"a"_s).existsRuns, 1);
}

TEST_F(ResourceHandlerTest, overridenRetrieveMode_afterCleaning_isEmptyAgain)
{
    const auto remote = handler(u"a"_s);
    EXPECT_FALSE(remote->overridenRetrieveMode().has_value());
    remote->overrideRetrieveMode(ResourceHandler::Prompt);
    EXPECT_EQ(remote->overridenRetrieveMode(), ResourceHandler::Prompt);
    remote->cleanOverridenRetrieveMode();
    EXPECT_FALSE(remote->overridenRetrieveMode().has_value());
}

TEST_F(ResourceHandlerTest, copy_ofAHandler_hasReferenceAndMode)
{
    const auto original = handlerAt(u"/x"_s);
    original->overrideRetrieveMode(ResourceHandler::Prompt);
    const LocalTestHandler copy(*original);
    EXPECT_EQ(copy.reference(), original->reference());
    EXPECT_EQ(copy.overridenRetrieveMode(), ResourceHandler::Prompt);
}

TEST_F(ResourceHandlerTest, forwarding_allOperations_reachTheManager)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"a"_s);
    const auto remote = handler(u"a"_s);
    EXPECT_TRUE(remote->exists().value());
    EXPECT_EQ(remote->retrieveMetadata().value()->metadataName(), u"a"_s);
    EXPECT_TRUE(remote->existsAsync(ResourceHandler::Manual).value()->isIdle());
    EXPECT_TRUE(remote->retrieveMetadataAsync(ResourceHandler::Manual).value()->isIdle());
    EXPECT_TRUE(remote->retrieveAsync(ResourceHandler::Manual).value()->isIdle());
    EXPECT_TRUE(succeeds(remote->retrieve()));
    EXPECT_EQ(readFile(pathOf(u"a"_s)), "data");
}

TEST_F(ResourceHandlerTest, texts_withATranslator_comeFromTheContextOfTheirClass)
{
    script(u"gone"_s).exists = false;
    script(u"stuck"_s).isFetchable = false;
    const auto remote = handler(u"a"_s);
    const auto gone = handler(u"gone"_s);
    const auto stuck = handler(u"stuck"_s);
    writeFile(pathOf(u"a"_s), "in the way");
    const BracketTranslator translator;

    const auto textOf = [](const auto &outcome) {
        return outcome.error().errorMessage();
    };
    EXPECT_EQ(textOf(remote->siblings()), u"zel::ResourceHandler<A feature is not supported>"_s);
    EXPECT_EQ(textOf(gone->grab()),
              u"zel::ResourceHandler<Resource the resource gone does not exist>"_s);
    EXPECT_EQ(remote->addToCache(PathImpl<PathType::Unknown>(pathOf(u"a"_s))).errorMessage(),
              u"zel::RemoteResourceHandler<Copying a file to the cache location failed.>"_s);
    EXPECT_EQ(textOf(ResourceHandlerFactory::create(nullptr, nullptr)),
              u"zel::ResourceHandlerFactory<Null reference provided.>"_s);
    EXPECT_EQ(
        textOf(ResourceMetadata::fromJson({}, ResourceReference::Host5)),
        u"zel::ResourceMetadataFactory<Resource metadata with scheme \"Host5\" is not supported.>"_s);
    EXPECT_EQ(textOf(ResourceManager::getHandler(QSharedPointer<ResourceReference>())),
              u"zel::ResourceManager<Null reference provided.>"_s);
    EXPECT_EQ(ResourceManager::retrieve(stuck).errorMessage(),
              u"zel::ResourceManager<Unable to retrieve missing resource: the resource stuck>"_s);
}
