#include "ResourceHandlerFactory.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceManagerHandlersTest : public ManagerFixture
{
protected:
    using References = ResourceManager::References;

    static TestManager::Private &inside()
    {
        return TestManager::insideOf(ResourceManager::instance());
    }
    static int made(const QString &name)
    {
        return inside().handlersByReference.contains(u"test:"_s + name) ? 1 : 0;
    }
};

} // namespace

TEST_F(ResourceManagerHandlersTest, getHandler_twiceWhileAlive_givesTheSameObject)
{
    const auto first = ResourceManager::getHandler(testReference(u"a"_s)).value();
    const auto second = ResourceManager::getHandler(testReference(u"a"_s)).value();
    EXPECT_EQ(first, second);
}

TEST_F(ResourceManagerHandlersTest, getHandler_afterTheLastHolder_givesANewObject)
{
    auto first = ResourceManager::getHandler(testReference(u"a"_s)).value();
    const QWeakPointer<ResourceHandler> old = first;
    first.reset();
    EXPECT_TRUE(old.isNull());
    EXPECT_TRUE(succeeds(ResourceManager::getHandler(testReference(u"a"_s))));
}

TEST_F(ResourceManagerHandlersTest, getHandler_handlerGone_entryStaysForTheKeyToComeBack)
{
    ASSERT_TRUE(succeeds(ResourceManager::getHandler(testReference(u"a"_s)))); // and let go
    const auto &table = TestManager::insideOf(ResourceManager::instance()).handlersByReference;
    EXPECT_EQ(made(u"a"_s), 1);
    EXPECT_TRUE(table.value(u"test:a"_s).isNull());
    const auto again = ResourceManager::getHandler(testReference(u"a"_s)).value();
    EXPECT_EQ(table.value(u"test:a"_s).toStrongRef(), again);
    EXPECT_EQ(table.size(), 1);
}

TEST_F(ResourceManagerHandlersTest, getHandler_schemeGivesNone_failsInsteadOfHandingItOn)
{
    ResourceHandlerFactory::registerResourceHandlerScheme(
        ResourceReference::Host1, [](const QSharedPointer<ResourceReference> &, ResourceCache *) {
            return QSharedPointer<ResourceHandler>();
        });
    const QString message = u"Unable to make a handler for resource: the resource a"_s;
    EXPECT_TRUE(failsWith(ResourceManager::getHandler(testReference(u"a"_s)),
                          ErrorCode::OperationFailed, message));
    EXPECT_TRUE(
        failsWith(ResourceManager::retrieve(testReference(u"a"_s), ResourceHandler::NoPrompt),
                  ErrorCode::OperationFailed, message));
    EXPECT_EQ(made(u"a"_s), 0);
}

TEST_F(ResourceManagerHandlersTest, getHandler_nullReference_failsWithCode2)
{
    EXPECT_TRUE(failsWith(ResourceManager::getHandler(QSharedPointer<ResourceReference>()),
                          ErrorCode::BadArgument, u"Null reference provided."_s));
}

TEST_F(ResourceManagerHandlersTest, getHandler_unregisteredScheme_failsAndKeepsTheTable)
{
    ResourceHandlerFactory::unregisterResourceHandlerScheme(ResourceReference::Host1);
    EXPECT_TRUE(failsWith(ResourceManager::getHandler(testReference(u"a"_s)),
                          ErrorCode::BadArgument,
                          u"Resource handler with scheme \"Host1\" is not supported."_s));
    EXPECT_EQ(made(u"a"_s), 0);
}

TEST_F(ResourceManagerHandlersTest, getHandler_failed_passesAStampedTrail)
{
    ResourceHandlerFactory::unregisterResourceHandlerScheme(ResourceReference::Host1);
    const auto failed = ResourceManager::getHandler(testReference(u"a"_s));
    ASSERT_FALSE(failed.hasValue());
    EXPECT_GE(failed.error().trail().size(), 4);
}

TEST_F(ResourceManagerHandlersTest, getHandler_textInKeyForm_sharesTheHandler)
{
    const auto byReference = ResourceManager::getHandler(testReference(u"a"_s)).value();
    EXPECT_EQ(ResourceManager::getHandler(u"test:a"_s).value(), byReference);
}

TEST_F(ResourceManagerHandlersTest, getHandler_textInAnotherSpelling_getsAHandlerOfItsOwn)
{
    const auto byReference = ResourceManager::getHandler(testReference(u"a"_s)).value();
    const auto byText = ResourceManager::getHandler(u"TEST:a"_s).value();
    EXPECT_NE(byText, byReference);
    EXPECT_EQ(*byText->reference(), *byReference->reference());
    EXPECT_EQ(ResourceManager::getHandler(u"TEST:a"_s).value(), byText);
}

TEST_F(ResourceManagerHandlersTest, getHandler_textThatCannotBeParsed_passesTheFailureOn)
{
    EXPECT_TRUE(failsWith(ResourceManager::getHandler(u"test:"_s), ErrorCode::BadArgument,
                          u"A test reference needs a name."_s));
    EXPECT_TRUE(failsWith(ResourceManager::getHandler(u"nobody's:x"_s), ErrorCode::BadArgument));
}

TEST_F(ResourceManagerHandlersTest, getHandlers_repeats_keepOrderAndRepeats)
{
    const auto handlers = ResourceManager::getHandlers(
        References { testReference(u"b"_s), testReference(u"a"_s), testReference(u"b"_s) });
    ASSERT_TRUE(succeeds(handlers));
    ASSERT_EQ(handlers.value().size(), 3);
    EXPECT_EQ(handlers.value().at(0), handlers.value().at(2));
    EXPECT_EQ(handlers.value().at(1)->reference()->referenceText(false), u"test:a"_s);
}

TEST_F(ResourceManagerHandlersTest, getHandlers_emptyList_isEmpty)
{
    EXPECT_TRUE(ResourceManager::getHandlers(References()).value().isEmpty());
    EXPECT_TRUE(ResourceManager::getHandlers(QList<QString>()).value().isEmpty());
}

TEST_F(ResourceManagerHandlersTest, getHandlers_nullAnywhere_failsBeforeAnyHandlerIsMade)
{
    EXPECT_TRUE(failsWith(ResourceManager::getHandlers(
                              References { testReference(u"a"_s), nullptr, testReference(u"b"_s) }),
                          ErrorCode::BadArgument, u"Null reference provided."_s));
    EXPECT_EQ(made(u"a"_s), 0);
}

TEST_F(ResourceManagerHandlersTest, getHandlers_texts_firstFailureEndsTheCall)
{
    EXPECT_TRUE(failsWith(
        ResourceManager::getHandlers(QList<QString> { u"test:a"_s, u"test:"_s, u"test:b"_s }),
        ErrorCode::BadArgument));
    EXPECT_EQ(made(u"a"_s), 1);
    EXPECT_EQ(made(u"b"_s), 0);
    EXPECT_EQ(
        ResourceManager::getHandlers(QList<QString> { u"test:a"_s, u"test:b"_s }).value().size(),
        2);
}

TEST_F(ResourceManagerHandlersTest, getHandlersWithReferences_list_pairsByPosition)
{
    const References references { testReference(u"a"_s), testReference(u"b"_s) };
    const auto pairs = ResourceManager::getHandlersWithReferences(references);
    ASSERT_TRUE(succeeds(pairs));
    ASSERT_EQ(pairs.value().size(), 2);
    for (const auto &reference : references)
        EXPECT_EQ(*pairs.value().value(reference)->reference(), *reference);
}

TEST_F(ResourceManagerHandlersTest, getHandlersWithReferences_null_fails)
{
    EXPECT_TRUE(
        failsWith(ResourceManager::getHandlersWithReferences({ nullptr }), ErrorCode::BadArgument));
}

TEST_F(ResourceManagerHandlersTest, retrieveModeFor_override_winsInBothDirections)
{
    auto &inside = TestManager::insideOf(ResourceManager::instance());
    const auto remote = handler(u"a"_s);
    EXPECT_EQ(inside.retrieveModeFor(remote.data()), ResourceHandler::NoPrompt);
    remote->overrideRetrieveMode(ResourceHandler::Prompt);
    EXPECT_EQ(inside.retrieveModeFor(remote.data()), ResourceHandler::Prompt);
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    remote->overrideRetrieveMode(ResourceHandler::NoPrompt);
    EXPECT_EQ(inside.retrieveModeFor(remote.data()), ResourceHandler::NoPrompt);
    remote->cleanOverridenRetrieveMode();
    EXPECT_EQ(inside.retrieveModeFor(remote.data()), ResourceHandler::Prompt);
}

TEST_F(ResourceManagerHandlersTest, getHandler_manyThatWereReleased_forgetsThemAndKeepsTheOthers)
{
    constexpr int held = 5;
    ResourceManager::Handlers kept;
    for (int i = 0; i < held; ++i)
        kept.append(ResourceManager::getHandler(u"test:held%1"_s.arg(i)).value());
    for (int i = 0; i < 2 * SweepMark::smallest; ++i) {
        EXPECT_TRUE(succeeds(ResourceManager::getHandler(u"test:text%1"_s.arg(i))));
        EXPECT_TRUE(succeeds(ResourceManager::getHandler(testReference(u"key%1"_s.arg(i)))));
        EXPECT_LE(inside().handlersByReference.size(), SweepMark::smallest);
    }
    for (int i = 0; i < held; ++i)
        EXPECT_EQ(ResourceManager::getHandler(u"test:held%1"_s.arg(i)).value(), kept.at(i));
}

TEST_F(ResourceManagerHandlersTest, getHandler_manyThatAreHeld_givesEachOnceMore)
{
    constexpr int count = 3 * SweepMark::smallest;
    ResourceManager::Handlers kept;
    for (int i = 0; i < count; ++i)
        kept.append(ResourceManager::getHandler(u"test:held%1"_s.arg(i)).value());
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(ResourceManager::getHandler(u"test:held%1"_s.arg(i)).value(), kept.at(i));
}
