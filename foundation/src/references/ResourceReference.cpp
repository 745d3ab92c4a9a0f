#include "references/ResourceReference.h"

#include "errors/Propagate.h"
#include "references/ReferenceIdentity.h"
#include "references/ResourceReferenceUtils.h"
#include "references/SchemeRegistry.h"

#include <QMetaEnum>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isAsciiLetter(QChar character)
{
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
}

bool isAsciiDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isPrefix(QStringView text)
{
    return !text.isEmpty() && isAsciiLetter(text.front())
        && std::all_of(text.begin(), text.end(), [](QChar character) {
               return isAsciiLetter(character) || isAsciiDigit(character) || character == u'+'
                   || character == u'-' || character == u'.';
           });
}

/// Names that every file system takes, so that a cache can be moved between them.
bool isFolderName(const QString &name)
{
    return !name.isEmpty() && isAsciiLetter(name.front())
        && std::all_of(name.begin(), name.end(), [](QChar character) {
               return isAsciiLetter(character) || isAsciiDigit(character) || character == u'-'
                   || character == u'_';
           });
}

QStringList lowerCased(QStringList texts)
{
    for (QString &text : texts)
        text = text.toLower();
    return texts;
}

} // namespace

ResourceReference::ResourceReference(Scheme scheme)
    : scheme_(scheme)
{
}

ResourceReference::~ResourceReference() = default;

Error ResourceReference::registerScheme(const SchemeDescription &description)
{
    const bool isUsable = description.scheme != Invalid && description.parser
        && !description.prefixes.isEmpty()
        && std::all_of(description.prefixes.begin(), description.prefixes.end(), isPrefix)
        && isFolderName(description.friendlyName);
    if (!isUsable) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("The description of a reference scheme is incomplete or malformed."));
    }
    SchemeDescription normalised = description;
    normalised.prefixes = lowerCased(description.prefixes);
    if (!SchemeRegistry::instance().insert(normalised)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("Another reference scheme has one of the prefixes %1.")
                             .arg(normalised.prefixes.join(u", "_s)));
    }
    return {};
}

void ResourceReference::unregisterScheme(Scheme scheme)
{
    SchemeRegistry::instance().remove(scheme);
}

namespace {

/// The registered scheme that a text's prefix stands for. Only the prefix is ever shown: what
/// follows it may hold a password.
class PrefixLookUp
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceReference)

public:
    /// Never null.
    static Result<SchemeRegistry::Found> descriptionFor(const QString &text)
    {
        if (text.isEmpty())
            return ZEL_ERROR(ErrorCode::BadArgument, tr("The resource reference is empty."));
        if (ResourceReferenceUtils::hasControlCharacters(text)) {
            return ZEL_ERROR(ErrorCode::BadArgument,
                             tr("The resource reference contains control characters."));
        }
        const QStringView prefix = beforeColon(text);
        if (!isPrefix(prefix)) {
            return ZEL_ERROR(
                ErrorCode::BadArgument,
                tr("The resource reference does not start with a scheme. %1").arg(knownSchemes()));
        }
        auto description = SchemeRegistry::instance().findByPrefix(prefix);
        if (!description) {
            return ZEL_ERROR(
                ErrorCode::BadArgument,
                tr("Resource references with scheme \"%1\" are not known. %2")
                    .arg(ResourceReferenceUtils::printable(prefix.toString()), knownSchemes()));
        }
        return description;
    }

private:
    /// Empty without one.
    static QStringView beforeColon(QStringView text)
    {
        // It stands near the beginning: a search made for long texts would take longer.
        const auto colon = std::find(text.begin(), text.end(), u':');
        return colon == text.end() ? QStringView() : QStringView(text.begin(), colon);
    }

    static QString knownSchemes()
    {
        const QStringList prefixes = SchemeRegistry::instance().prefixes();
        return prefixes.isEmpty() ? tr("No scheme is known.")
                                  : tr("Known schemes: %1.").arg(prefixes.join(u", "_s));
    }
};

} // namespace

Result<QSharedPointer<ResourceReference>> ResourceReference::fromString(const QString &text)
{
    ZEL_TRY_LET(const auto description, PrefixLookUp::descriptionFor(text));
    ZEL_TRY_LET(QSharedPointer<ResourceReference> reference, description->parser(text));
    if (!reference) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("The scheme \"%1\" gave no reference.").arg(description->friendlyName));
    }
    return reference;
}

Result<ResourceReference::Scheme> ResourceReference::scheme(const QString &text)
{
    ZEL_TRY_LET(const auto description, PrefixLookUp::descriptionFor(text));
    return description->scheme;
}

QString ResourceReference::schemeFriendlyName(Scheme scheme)
{
    if (const auto description = SchemeRegistry::instance().find(scheme))
        return description->friendlyName;
    const char *key = QMetaEnum::fromType<Scheme>().valueToKey(scheme);
    return key ? QString::fromLatin1(key).toLower() : u"scheme%1"_s.arg(int(scheme));
}

bool ResourceReference::operator==(const ResourceReference &other) const
{
    return identityOf(*this) == identityOf(other);
}

std::optional<QString> ResourceReference::referencePath() const
{
    return std::nullopt;
}

std::optional<QString> ResourceReference::referenceFullPath() const
{
    return std::nullopt;
}

QVersionNumber ResourceReference::referenceVersion() const
{
    const auto description = SchemeRegistry::instance().find(scheme_);
    return description ? description->version : QVersionNumber();
}

} // namespace zel
