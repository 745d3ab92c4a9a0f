#include "references/ExpectedContent.h"

#include "errors/Propagate.h"

#include <QStringList>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<qint64> byteCount(const QString &text)
{
    bool isNumber = false;
    const qint64 count = text.toLongLong(&isNumber);
    const bool isPlain = isNumber && QString::number(count) == text && count >= 0;
    return isPlain ? std::optional(count) : std::nullopt;
}

/// False if the part says nothing that is known, or says again what was said before.
bool takeIn(const QString &part, ExpectedContent *expected)
{
    const QString name = part.section(u'=', 0, 0).toLower();
    const QString value = part.section(u'=', 1);
    if (name == u"size"_s && !expected->size) {
        expected->size = byteCount(value);
        return expected->size.has_value();
    }
    if ((name == u"sha256"_s || name == u"md5"_s) && expected->hash.isEmpty()) {
        const auto hash = FileHash::fromString(name + u':' + value);
        if (hash.hasValue())
            expected->hash = hash.value();
        return hash.hasValue();
    }
    return false;
}

} // namespace

QString ExpectedContent::toString() const
{
    QStringList parts;
    if (!hash.isEmpty())
        parts << hash.toString().replace(u':', u'=');
    if (size)
        parts << u"size="_s + QString::number(*size);
    return parts.join(u'&');
}

Result<ExpectedContent> ExpectedContent::fromString(const QString &text)
{
    ExpectedContent expected;
    const QStringList parts = text.split(u'&');
    for (const QString &part : parts) {
        if (!takeIn(part, &expected)) {
            return ZEL_ERROR(
                ErrorCode::BadArgument,
                tr("Behind \"#\" a reference may have \"sha256=\" or \"md5=\" with the "
                   "digits of a checksum, and \"size=\" with a number of bytes. In a "
                   "name, \"#\" has to be written \"%23\"."));
        }
    }
    return expected;
}

} // namespace zel
