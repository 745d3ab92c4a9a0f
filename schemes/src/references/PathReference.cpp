#include "references/PathReference.h"

#include "errors/Propagate.h"
#include "references/PercentEncoding.h"
#include "references/ResourceReferenceUtils.h"

#include <QDir>
#include <QStringDecoder>
#include <QStringList>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr PercentEncoding::Kept keptInPath("/!$&'()*+,;=:@");

} // namespace

PathReference::PathReference(Scheme scheme, const QString &path, const ExpectedContent &expected)
    : ResourceReference(scheme)
    , path_(path)
    , expected(expected)
{
}

Result<QSharedPointer<ResourceReference>> PathReference::parse(Scheme scheme, const QString &text)
{
    Error error;
    const qsizetype hash = text.indexOf(u'#');
    ExpectedContent expected;
    if (hash >= 0) {
        ZEL_TRY_LET(expected, ExpectedContent::fromString(text.mid(hash + 1)));
    }
    if (!expected.isEmpty() && scheme != Share) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("A file that is used where it lies takes no checksum."));
    }
    const QString whole = hash < 0 ? text : text.left(hash);
    ZEL_TRY_LET(const QString encoded, withoutHost(whole.mid(whole.indexOf(u':') + 1)));
    ZEL_TRY_LET(const QString path, decodedPath(encoded));
    ZEL_TRY(error, checkPath(path));
    return QSharedPointer<ResourceReference>(
        new PathReference(scheme, QDir::cleanPath(path), expected));
}

Result<QString> PathReference::withoutHost(const QString &text)
{
    if (!text.startsWith(u"//"_s))
        return text;
    const QString host = text.mid(2).section(u'/', 0, 0);
    if (!host.isEmpty() && host.compare(u"localhost"_s, Qt::CaseInsensitive) != 0) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("The path of another host cannot be used. Mount its share, and name the "
               "path below the place where it is mounted."));
    }
    return text.mid(2 + host.size());
}

Result<QString> PathReference::decodedPath(const QString &encoded)
{
    if (encoded.contains(u"%2f"_s, Qt::CaseInsensitive)
        || encoded.contains(u"%00"_s, Qt::CaseInsensitive)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("No name in a path can contain a slash or a null character."));
    }
    ZEL_TRY_LET(const QByteArray bytes, PercentEncoding::decoded(encoded));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString path = decoder(bytes);
    if (decoder.hasError()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("The path %1 is no valid text.").arg(ResourceReferenceUtils::printable(encoded)));
    }
    return path;
}

Error PathReference::checkPath(const QString &path)
{
    if (!QDir::isAbsolutePath(path)) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("The path \"%1\" is not absolute.").arg(ResourceReferenceUtils::printable(path)));
    }
    const QStringList names = path.split(u'/', Qt::SkipEmptyParts);
    if (names.contains(u".."_s)) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("The path \"%1\" contains \"..\".").arg(ResourceReferenceUtils::printable(path)));
    }
    if (QDir::cleanPath(path) == QDir::rootPath()) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("The path of the reference names no file or folder."));
    }
    return {};
}

QString PathReference::referenceText(bool forDisplay) const
{
    const QString prefix = scheme() == Share ? u"share:"_s : u"file:"_s;
    const QString encoded = PercentEncoding::encoded(path_.toUtf8(), keptInPath);
    if (forDisplay)
        return prefix + PercentEncoding::displayed(encoded);
    return prefix + encoded + (expected.isEmpty() ? QString() : u'#' + expected.toString());
}

std::optional<QString> PathReference::referencePath() const
{
    return path_;
}

std::optional<QString> PathReference::referenceFullPath() const
{
    return path_;
}

QString PathReference::fileName() const
{
    return path_.section(u'/', -1);
}

} // namespace zel
