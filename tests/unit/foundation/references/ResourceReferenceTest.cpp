#include "references/ResourceReference.h"
#include "references/ResourceReferenceUtils.h"

#include "errors/Propagate.h"

#include <QMetaEnum>

#include <thread>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// "word:Text": the key form is in lower case, the display form is the text alone.
class WordReference : public ResourceReference
{
public:
    explicit WordReference(const QString &text)
        : ResourceReference(Host1)
        , text(text)
    {
    }

    QString referenceText(bool forDisplay) const override
    {
        return forDisplay ? text.mid(5) : text.toLower();
    }

private:
    QString text;
};

ResourceReference::SchemeDescription wordScheme()
{
    ResourceReference::SchemeDescription description;
    description.scheme = ResourceReference::Host1;
    description.prefixes = { u"word"_s, u"Words"_s };
    description.friendlyName = u"wordfolder"_s;
    description.version = QVersionNumber(3, 1);
    description.parser = [](const QString &text) -> Result<QSharedPointer<ResourceReference>> {
        if (text.endsWith(u"!"_s))
            return ZEL_ERROR(ErrorCode::BadArgument, u"No exclamations."_s);
        return QSharedPointer<ResourceReference>(new WordReference(text));
    };
    return description;
}

QString failureOf(const QString &text)
{
    const auto reference = ResourceReference::fromString(text);
    if (reference.hasValue())
        return {};
    EXPECT_EQ(reference.error().errorCode(), ErrorCode::BadArgument);
    return reference.error().errorMessage();
}

class ResourceReferenceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const Error error = ResourceReference::registerScheme(wordScheme());
        ASSERT_FALSE(error.hasError()) << error.description().toStdString();
    }
    void TearDown() override { ResourceReference::unregisterScheme(ResourceReference::Host1); }

    static QSharedPointer<ResourceReference> parse(const QString &text)
    {
        return ResourceReference::fromString(text).value();
    }
};

} // namespace

TEST_F(ResourceReferenceTest, fromString_registeredPrefix_givesTheParsersReference)
{
    const auto reference = ResourceReference::fromString(u"word:Abc"_s);
    ASSERT_TRUE(reference.hasValue());
    EXPECT_EQ(reference.value()->scheme(), ResourceReference::Host1);
    EXPECT_EQ(reference.value()->referenceText(true), u"Abc"_s);
}

TEST_F(ResourceReferenceTest, fromString_keyForm_givesAnEqualReference)
{
    const auto reference = parse(u"word:Abc"_s);
    EXPECT_TRUE(*parse(reference->referenceText(false)) == *reference);
    EXPECT_NE(reference->referenceText(false), reference->referenceText(true));
}

TEST_F(ResourceReferenceTest, fromString_prefixInAnyCase_isTheSameScheme)
{
    EXPECT_TRUE(ResourceReference::fromString(u"WORD:a"_s).hasValue());
    EXPECT_TRUE(ResourceReference::fromString(u"words:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, fromString_beginningOrLetterLikeAPrefix_isAnother)
{
    EXPECT_FALSE(ResourceReference::fromString(u"wor:a"_s).hasValue());
    EXPECT_FALSE(ResourceReference::fromString(u"wordss:a"_s).hasValue());
    // A letter that is an "s" where case is ignored.
    EXPECT_FALSE(ResourceReference::fromString(u"word\u017f:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, fromString_parserRefuses_passesItsFailureOn)
{
    EXPECT_EQ(failureOf(u"word:a!"_s), u"No exclamations."_s);
}

TEST_F(ResourceReferenceTest, fromString_parserGivesNull_fails)
{
    auto description = wordScheme();
    description.parser = [](const QString &) {
        return QSharedPointer<ResourceReference>();
    };
    ASSERT_FALSE(ResourceReference::registerScheme(description).hasError());
    EXPECT_FALSE(ResourceReference::fromString(u"word:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, fromString_unknownPrefix_namesItAndTheKnownOnes)
{
    EXPECT_EQ(
        failureOf(u"foo:bar"_s),
        u"Resource references with scheme \"foo\" are not known. Known schemes: word, words."_s);
}

TEST_F(ResourceReferenceTest, fromString_nothingRegistered_saysSo)
{
    ResourceReference::unregisterScheme(ResourceReference::Host1);
    EXPECT_EQ(failureOf(u"word:a"_s),
              u"Resource references with scheme \"word\" are not known. No scheme is known."_s);
}

TEST_F(ResourceReferenceTest, fromString_malformed_failsWithoutEcho)
{
    const QString noScheme
        = u"The resource reference does not start with a scheme. Known schemes: word, words."_s;
    const QString control = u"The resource reference contains control characters."_s;
    EXPECT_EQ(failureOf(u""_s), u"The resource reference is empty."_s);
    EXPECT_EQ(failureOf(u"/data/secret"_s), noScheme);
    EXPECT_EQ(failureOf(u":secret@host"_s), noScheme);
    EXPECT_EQ(failureOf(u"me@host:secret"_s), noScheme);
    EXPECT_EQ(failureOf(u"1word:a"_s), noScheme);
    EXPECT_EQ(failureOf(u" word:a"_s), noScheme);
    EXPECT_EQ(failureOf(u"wörd:a"_s), noScheme);
    EXPECT_EQ(failureOf(u"word:a\nb"_s), control);
    EXPECT_EQ(failureOf(u"word:a"_s + QChar::Null), control);
    EXPECT_EQ(failureOf(u"word:a"_s + QChar(0xd800)), control);
    EXPECT_EQ(failureOf(u"word:\u009b31m"_s), control);
}

TEST_F(ResourceReferenceTest, fromString_userAndPasswordWithoutScheme_passwordIsNotShown)
{
    EXPECT_FALSE(failureOf(u"bob:secret@host/x"_s).contains(u"secret"_s));
}

TEST_F(ResourceReferenceTest, scheme_ofText_doesNotParseTheRest)
{
    const auto scheme = ResourceReference::scheme(u"word:a!"_s);
    ASSERT_TRUE(scheme.hasValue());
    EXPECT_EQ(scheme.value(), ResourceReference::Host1);
    EXPECT_FALSE(ResourceReference::scheme(u"foo:a"_s).hasValue());
    EXPECT_FALSE(ResourceReference::scheme(u""_s).hasValue());
}

TEST_F(ResourceReferenceTest, schemeFriendlyName_registered_isTheRegisteredOne)
{
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Host1), u"wordfolder"_s);
}

TEST_F(ResourceReferenceTest, schemeFriendlyName_unregistered_isAFolderNameStill)
{
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Http), u"http"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::WebDav), u"webdav"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::File), u"file"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Share), u"share"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Manifest), u"manifest"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Host2), u"host2"_s);
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Scheme(99)), u"scheme99"_s);
}

TEST_F(ResourceReferenceTest, referenceVersion_isTheOneOfTheRegistration)
{
    const auto reference = parse(u"word:a"_s);
    EXPECT_EQ(reference->referenceVersion(), QVersionNumber(3, 1));

    auto raised = wordScheme();
    raised.version = QVersionNumber(4, 0);
    ASSERT_FALSE(ResourceReference::registerScheme(raised).hasError());
    EXPECT_EQ(reference->referenceVersion(), QVersionNumber(4, 0));

    ResourceReference::unregisterScheme(ResourceReference::Host1);
    EXPECT_TRUE(reference->referenceVersion().isNull());
}

TEST_F(ResourceReferenceTest, paths_withoutOverride_areUnknown)
{
    EXPECT_EQ(parse(u"word:a"_s)->referencePath(), std::nullopt);
    EXPECT_EQ(parse(u"word:a"_s)->referenceFullPath(), std::nullopt);
}

TEST_F(ResourceReferenceTest, registerScheme_uselessDescription_isRefused)
{
    const auto isRefused = [](auto change) {
        auto description = wordScheme();
        description.scheme = ResourceReference::Host2;
        description.prefixes = { u"other"_s };
        change(description);
        return ResourceReference::registerScheme(description).errorCode() == ErrorCode::BadArgument;
    };
    EXPECT_TRUE(isRefused([](auto &d) { d.scheme = ResourceReference::Invalid; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.parser = {}; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.prefixes.clear(); }));
    EXPECT_TRUE(isRefused([](auto &d) { d.prefixes = { u"a:b"_s }; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.prefixes = { u""_s }; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.prefixes = { u"WORD"_s }; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.friendlyName = u".."_s; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.friendlyName = u"a/b"_s; }));
    EXPECT_TRUE(isRefused([](auto &d) { d.friendlyName = u""_s; }));
    EXPECT_FALSE(ResourceReference::fromString(u"other:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, registerScheme_again_dropsTheFormerPrefixes)
{
    auto description = wordScheme();
    description.prefixes = { u"neu"_s };
    ASSERT_FALSE(ResourceReference::registerScheme(description).hasError());
    EXPECT_FALSE(ResourceReference::fromString(u"word:a"_s).hasValue());
    EXPECT_TRUE(ResourceReference::fromString(u"neu:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, unregisterScheme_unknown_changesNothing)
{
    ResourceReference::unregisterScheme(ResourceReference::Host3);
    EXPECT_TRUE(ResourceReference::fromString(u"word:a"_s).hasValue());
}

TEST_F(ResourceReferenceTest, registry_usedFromManyThreads_staysWhole)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 500; ++i) {
                EXPECT_FALSE(ResourceReference::registerScheme(wordScheme()).hasError());
                EXPECT_TRUE(ResourceReference::fromString(u"word:a"_s).hasValue());
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

TEST_F(ResourceReferenceTest, compare_matchesByContent)
{
    using ResourceReferenceUtils::compare;
    EXPECT_TRUE(compare(parse(u"word:A"_s), parse(u"word:a"_s)));
    EXPECT_FALSE(compare(parse(u"word:a"_s), parse(u"word:b"_s)));
    EXPECT_FALSE(compare(parse(u"word:a"_s), {}));
    EXPECT_FALSE(compare({}, parse(u"word:a"_s)));
    EXPECT_TRUE(compare({}, {}));
}

TEST(ResourceReferenceUtilsTest, printable_escapesWhatIsNotSeen)
{
    using ResourceReferenceUtils::printable;
    EXPECT_EQ(printable(u"a\nb\x1b[31m"_s), u"a\\u{a}b\\u{1b}[31m"_s);
    EXPECT_EQ(printable(u"a\u202eb"_s), u"a\\u{202e}b"_s);
    EXPECT_EQ(printable(u"a"_s + QChar(0xdc00)), u"a\\u{dc00}"_s);
    EXPECT_EQ(printable(u"Spektrum \U0001f600 ü"_s), u"Spektrum \U0001f600 ü"_s);
    EXPECT_EQ(printable(QString(500, u'x')), QString(200, u'x') + u'…');
}

TEST(ResourceReferenceMetaTest, metaObject_tellsSchemesByName)
{
    const QMetaObject &meta = ResourceReference::staticMetaObject;
    const int index = meta.indexOfEnumerator("Scheme");
    ASSERT_GE(index, 0);
    EXPECT_STREQ(meta.enumerator(index).valueToKey(ResourceReference::File), "File");
    EXPECT_EQ(meta.enumerator(index).valueToKey(77), nullptr);
}

TEST(ResourceReferenceMetaTest, schemes_haveTheirAgreedNumbers)
{
    EXPECT_EQ(ResourceReference::Invalid, 0);
    EXPECT_EQ(ResourceReference::Http, 1);
    EXPECT_EQ(ResourceReference::WebDav, 2);
    EXPECT_EQ(ResourceReference::File, 3);
    EXPECT_EQ(ResourceReference::Share, 4);
    EXPECT_EQ(ResourceReference::Manifest, 5);
    EXPECT_EQ(ResourceReference::Host1, 16);
    EXPECT_EQ(ResourceReference::Host8, 23);
}

TEST(ResourceReferenceMetaTest, listOfReferences_convertsToASequence)
{
    using List = QList<QSharedPointer<ResourceReference>>;
    EXPECT_STREQ(QMetaType::fromType<List>().name(),
                 "QList<QSharedPointer<zel::ResourceReference>>");
    EXPECT_TRUE(QMetaType::fromName("zel::ResourceReferenceSPtr").isValid()
                || qRegisterMetaType<ResourceReferenceSPtr>("zel::ResourceReferenceSPtr") > 0);
    const QVariant value = QVariant::fromValue(List { {}, {} });
    ASSERT_TRUE(value.canConvert<QVariantList>());
    EXPECT_EQ(value.toList().size(), 2);
}
