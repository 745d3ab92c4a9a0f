#include "ResourceHandlerFactory.h"

#include "errors/Propagate.h"
#include "support/TestHandlers.h"
#include "support/TestReference.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceHandlerFactoryTest : public testing::Test
{
protected:
    using Scheme = ResourceReference::Scheme;

    void SetUp() override { registerTestSchemes(); }
    void TearDown() override { ResourceHandlerFactory::s_createFuncs.clear(); }

    /// Counts its calls and keeps what the last one was given.
    ResourceHandlerCreator creator(int *calls)
    {
        return [this, calls](const QSharedPointer<ResourceReference> &reference,
                             ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
            ++*calls;
            seenCache = cache;
            return QSharedPointer<ResourceHandler>(new LocalTestHandler(reference));
        };
    }

    ResourceCache *seenCache = nullptr;
};

} // namespace

TEST_F(ResourceHandlerFactoryTest, create_registered_passesReferenceAndCacheOn)
{
    int calls = 0;
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, creator(&calls));
    // Only handed through, never looked at.
    auto *cache = reinterpret_cast<ResourceCache *>(this);
    const auto reference = testReference(u"a"_s);
    const auto handler = ResourceHandlerFactory::create(reference, cache);
    ASSERT_TRUE(handler.hasValue());
    EXPECT_EQ(handler.value()->reference(), reference);
    EXPECT_EQ(seenCache, cache);
    EXPECT_EQ(calls, 1);
}

TEST_F(ResourceHandlerFactoryTest, create_nullReference_failsWithCode2)
{
    const auto handler = ResourceHandlerFactory::create(nullptr, nullptr);
    ASSERT_FALSE(handler.hasValue());
    EXPECT_EQ(handler.error(), Error(2, u"Null reference provided."_s));
}

TEST_F(ResourceHandlerFactoryTest, create_afterUnregister_namesTheScheme)
{
    int calls = 0;
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, creator(&calls));
    ResourceHandlerFactory::unregisterResourceHandlerScheme(Scheme::Host1);
    const auto handler = ResourceHandlerFactory::create(testReference(u"a"_s), nullptr);
    ASSERT_FALSE(handler.hasValue());
    EXPECT_EQ(handler.error(),
              Error(2, u"Resource handler with scheme \"Host1\" is not supported."_s));
    EXPECT_EQ(calls, 0);
}

TEST_F(ResourceHandlerFactoryTest, create_schemeWithoutAKey_hasAnEmptyName)
{
    const QSharedPointer<ResourceReference> reference(
        new TestReference(static_cast<Scheme>(99), u"test"_s, u"a"_s));
    const auto handler = ResourceHandlerFactory::create(reference, nullptr);
    ASSERT_FALSE(handler.hasValue());
    EXPECT_EQ(handler.error(), Error(2, u"Resource handler with scheme \"\" is not supported."_s));
}

TEST_F(ResourceHandlerFactoryTest, create_creatorFails_passesItsFailureOn)
{
    ResourceHandlerFactory::registerResourceHandlerScheme(
        Scheme::Host1,
        [](const QSharedPointer<ResourceReference> &, ResourceCache *)
            -> Result<QSharedPointer<ResourceHandler>> { return Error(42, u"no"_s); });
    const auto handler = ResourceHandlerFactory::create(testReference(u"a"_s), nullptr);
    ASSERT_FALSE(handler.hasValue());
    EXPECT_EQ(handler.error(), Error(42, u"no"_s));
    EXPECT_FALSE(handler.error().trail().isEmpty());
    EXPECT_EQ(ResourceHandlerFactory::s_createFuncs.size(), 1);
}

TEST_F(ResourceHandlerFactoryTest, registerResourceHandlerScheme_twice_keepsTheSecond)
{
    int first = 0;
    int second = 0;
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, creator(&first));
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, creator(&second));
    EXPECT_TRUE(ResourceHandlerFactory::create(testReference(u"a"_s), nullptr).hasValue());
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(ResourceHandlerFactoryTest, unregisterResourceHandlerScheme_notRegistered_changesNothing)
{
    int calls = 0;
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, creator(&calls));
    ResourceHandlerFactory::unregisterResourceHandlerScheme(Scheme::Host2);
    EXPECT_EQ(ResourceHandlerFactory::s_createFuncs.size(), 1);
}

TEST_F(ResourceHandlerFactoryTest, create_emptyCreator_throwsAsAnEmptyFunctionDoes)
{
    ResourceHandlerFactory::registerResourceHandlerScheme(Scheme::Host1, {});
    EXPECT_THROW(ZEL_IGNORE(ResourceHandlerFactory::create(testReference(u"a"_s), nullptr)),
                 std::bad_function_call);
}
