#include "list/ListReference.h"

#include "errors/Propagate.h"
#include "references/PercentEncoding.h"

#include <QRegularExpression>
#include <QStringList>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView prefix("list+");

/// "http://host:8080/a/b" without what follows the path.
QString addressOf(const QString &key)
{
    const QRegularExpression behindPath(u"[?#]"_s);
    return key.left(key.indexOf(behindPath));
}

} // namespace

ListReference::ListReference(const QSharedPointer<UrlReference> &list)
    : ResourceReference(ResourceReference::Manifest)
    , list(list)
{
}

Result<QSharedPointer<ResourceReference>> ListReference::parse(const QString &text)
{
    if (!text.startsWith(prefix, Qt::CaseInsensitive)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("The address of a list starts with \"%1\".").arg(prefix));
    }
    ZEL_TRY_LET(const auto url,
                UrlReference::parse(ResourceReference::Manifest, text.mid(prefix.size())));
    const auto list = url.dynamicCast<UrlReference>();
    const QSharedPointer<ListReference> reference(new ListReference(list));
    if (reference->isServerListing() && !list->expectedContent().isEmpty()) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("A checksum is for a list that is a file, not for a folder."));
    }
    return QSharedPointer<ResourceReference>(reference);
}

QString ListReference::referenceText(bool forDisplay) const
{
    return prefix + list->referenceText(forDisplay);
}

std::optional<QString> ListReference::referencePath() const
{
    return list->referencePath();
}

std::optional<QString> ListReference::referenceFullPath() const
{
    return referenceText(true);
}

bool ListReference::isServerListing() const
{
    return addressOf(list->referenceText(false)).endsWith(u'/');
}

QString ListReference::folderPath() const
{
    const QString address = addressOf(list->referenceText(false));
    const qsizetype start = address.indexOf(u'/', address.indexOf(u"://"_s) + 3);
    return address.mid(start, address.lastIndexOf(u'/') + 1 - start);
}

QString ListReference::folderName() const
{
    const QStringList segments = folderPath().split(u'/', Qt::SkipEmptyParts);
    return segments.isEmpty() ? addressOf(list->referenceText(false)).section(u'/', 2, 2)
                              : PercentEncoding::displayed(segments.last());
}

} // namespace zel
