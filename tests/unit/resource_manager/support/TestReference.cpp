#include "support/TestReference.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

std::atomic<int> keyForms = 0;

} // namespace

int TestReference::keyFormsMade()
{
    return keyForms;
}

TestReference::TestReference(Scheme scheme, const QString &prefix, const QString &name)
    : ResourceReference(scheme)
    , prefix(prefix)
    , name_(name)
{
}

QString TestReference::referenceText(bool forDisplay) const
{
    keyForms += !forDisplay;
    return forDisplay ? u"the resource "_s + name_ : prefix + u':' + name_;
}

std::optional<QString> TestReference::referencePath() const
{
    return name_.startsWith(u"known"_s) ? std::optional(u"/path/of/"_s + name_) : std::nullopt;
}

std::optional<QString> TestReference::referenceFullPath() const
{
    return name_.startsWith(u"known"_s) ? std::optional(u"/full/path/of/"_s + name_) : std::nullopt;
}

namespace {

void registerScheme(ResourceReference::Scheme scheme, const QString &prefix,
                    const QVersionNumber &version)
{
    const auto parser
        = [scheme, prefix](const QString &text) -> Result<QSharedPointer<ResourceReference>> {
        const QString name = text.section(u':', 1);
        if (name.isEmpty())
            return Error(ErrorCode::BadArgument, u"A test reference needs a name."_s);
        return QSharedPointer<ResourceReference>(new TestReference(scheme, prefix, name));
    };
    const Error error
        = ResourceReference::registerScheme({ scheme, { prefix }, prefix, version, parser });
    ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
}

} // namespace

void registerTestSchemes(const QVersionNumber &version)
{
    registerScheme(ResourceReference::Host1, u"test"_s, version);
    registerScheme(ResourceReference::Host2, u"other"_s, version);
    registerScheme(ResourceReference::File, u"near"_s, version);
}

QSharedPointer<ResourceReference> testReference(const QString &name, const QString &prefix)
{
    const auto reference = ResourceReference::fromString(prefix + u':' + name);
    EXPECT_TRUE(reference.hasValue());
    return reference.hasValue() ? reference.value() : nullptr;
}

} // namespace zel::test
