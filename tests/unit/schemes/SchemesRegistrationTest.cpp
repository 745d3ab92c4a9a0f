#include "SchemesRegistration.h"

#include "ResourceHandlerFactory.h"
#include "ResourceMetadataFactory.h"
#include "references/PathReference.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

using Scheme = ResourceReference::Scheme;

const QList<Scheme> schemes { Scheme::File, Scheme::Share, Scheme::Http, Scheme::WebDav,
                              Scheme::Manifest };

class SchemesRegistrationTest : public ::testing::Test
{
protected:
    void SetUp() override { registerResourceSchemes(); }
    void TearDown() override
    {
        for (const Scheme scheme : schemes) {
            ResourceReference::unregisterScheme(scheme);
            ResourceHandlerFactory::unregisterResourceHandlerScheme(scheme);
            ResourceMetadataFactory::unregisterMetadataScheme(scheme);
        }
    }
};

} // namespace

TEST_F(SchemesRegistrationTest, register_makesReferencesHandlersAndMetadata)
{
    for (const QString &text : { u"file:/a"_s, u"share:/a"_s, u"http://h/a"_s, u"https://h/a"_s,
                                 u"dav://h/a"_s, u"davs://h/a"_s })
        EXPECT_TRUE(ResourceReference::fromString(text).hasValue()) << text.toStdString();
    for (const Scheme scheme : schemes) {
        EXPECT_TRUE(ResourceHandlerFactory::s_createFuncs.contains(scheme));
        EXPECT_TRUE(ResourceMetadataFactory::s_createFuncs.contains(scheme));
    }
}

TEST_F(SchemesRegistrationTest, register_schemesHaveTheirNumbersNamesAndVersions)
{
    EXPECT_EQ(ResourceReference::scheme(u"file:/a"_s).value(), Scheme::File);
    EXPECT_EQ(ResourceReference::scheme(u"share:/a"_s).value(), Scheme::Share);
    EXPECT_EQ(ResourceReference::scheme(u"https://h/a"_s).value(), Scheme::Http);
    EXPECT_EQ(ResourceReference::scheme(u"davs://h/a"_s).value(), Scheme::WebDav);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(Scheme::WebDav), u"webdav"_s);
    EXPECT_EQ(ResourceReference::scheme(u"list+https://h/a"_s).value(), Scheme::Manifest);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(Scheme::Manifest), u"manifest"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(Scheme::File), u"file"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(Scheme::Share), u"share"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(Scheme::Http), u"http"_s);
    const auto reference = ResourceReference::fromString(u"share:/a"_s).value();
    EXPECT_GE(reference->referenceVersion().majorVersion(), 1);
}

TEST_F(SchemesRegistrationTest, register_again_changesNothing)
{
    registerResourceSchemes();
    EXPECT_TRUE(ResourceReference::fromString(u"share:/a"_s).hasValue());
}

TEST_F(SchemesRegistrationTest, register_prefixTakenByTheProgram_leavesThatOne)
{
    TearDown();
    ResourceReference::SchemeDescription own;
    own.scheme = Scheme::Host1;
    own.prefixes = { u"share"_s };
    own.friendlyName = u"own"_s;
    own.parser = [](const QString &) -> Result<QSharedPointer<ResourceReference>> {
        return Error(2, u"of the program"_s);
    };
    ASSERT_FALSE(ResourceReference::registerScheme(own).hasError());
    registerResourceSchemes();
    EXPECT_EQ(ResourceReference::fromString(u"share:/a"_s).error().errorMessage(),
              u"of the program"_s);
    EXPECT_TRUE(ResourceReference::fromString(u"file:/a"_s).hasValue());
    ResourceReference::unregisterScheme(Scheme::Host1);
}

TEST_F(SchemesRegistrationTest, unregisteredAgain_referencesAreUnknown)
{
    TearDown();
    EXPECT_FALSE(ResourceReference::fromString(u"share:/a"_s).hasValue());
}

TEST_F(SchemesRegistrationTest, create_referenceOfAnotherMaker_hasCode2)
{
    class Foreign : public ResourceReference
    {
    public:
        explicit Foreign(Scheme scheme)
            : ResourceReference(scheme)
        {
        }
        QString referenceText(bool) const override { return u"foreign:/a"_s; }
    };
    for (const Scheme scheme : schemes) {
        const auto handler
            = ResourceHandlerFactory::create(QSharedPointer<Foreign>::create(scheme), nullptr);
        ASSERT_FALSE(handler.hasValue()) << scheme;
        EXPECT_EQ(handler.error().errorCode(), ErrorCode::BadArgument) << scheme;
    }
}
