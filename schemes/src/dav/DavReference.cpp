#include "dav/DavReference.h"

#include "errors/Propagate.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

const auto fragmentMark = u'#';

/// The text with the slashes of its path that mean nothing left out. What is shown to people has no
/// fragment: a mark in it belongs to a name.
QString withPlainSlashes(const QString &text, bool forDisplay)
{
    const qsizetype hash = forDisplay ? -1 : text.indexOf(fragmentMark);
    const QString before = hash < 0 ? text : text.left(hash);
    const qsizetype start = before.indexOf(u"://"_s) + 3;
    const qsizetype pathStart = before.indexOf(u'/', start);
    if (pathStart < 0)
        return text;
    const QString path = before.mid(pathStart).split(u'/', Qt::SkipEmptyParts).join(u'/');
    return before.left(pathStart) + u'/' + path + (hash < 0 ? QString() : text.mid(hash));
}

} // namespace

DavReference::DavReference(const QSharedPointer<UrlReference> &address)
    : ResourceReference(WebDav)
    , address(address)
{
}

Result<QSharedPointer<ResourceReference>> DavReference::parse(const QString &text)
{
    const QString protocol = text.section(u':', 0, 0).toLower();
    const QString rest = text.mid(protocol.size());
    const bool isOurs = protocol == u"dav"_s || protocol == u"davs"_s;
    if (!isOurs || !rest.startsWith(u"://"_s)) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("The address of a WebDAV server starts with \"dav://\" or \"davs://\" and a host."));
    }
    if (rest.section(fragmentMark, 0, 0).contains(u'?')) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("The address of a WebDAV server has no query. A question mark in a "
                            "name has to be written \"%3F\"."));
    }
    const QString web = protocol == u"davs"_s ? u"https"_s : u"http"_s;
    ZEL_TRY_LET(const auto address, UrlReference::parse(WebDav, web + rest));
    return QSharedPointer<ResourceReference>(new DavReference(address.dynamicCast<UrlReference>()));
}

QString DavReference::referenceText(bool forDisplay) const
{
    // "http" becomes "dav" and "https" becomes "davs".
    return u"dav"_s + withPlainSlashes(address->referenceText(forDisplay), forDisplay).mid(4);
}

std::optional<QString> DavReference::referencePath() const
{
    return u'/' + address->referencePath()->split(u'/', Qt::SkipEmptyParts).join(u'/');
}

std::optional<QString> DavReference::referenceFullPath() const
{
    return referenceText(true);
}

} // namespace zel
