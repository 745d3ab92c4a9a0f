#include "references/ExpectedContent.h"

#include "SchemeErrors.h"
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

ContentCheck::ContentCheck(const ExpectedContent &expected)
    : expected(expected)
{
    if (!expected.hash.isEmpty())
        hash = std::make_unique<PassingHash>(expected.hash.algorithm);
}

void ContentCheck::addBytes(const char *data, qint64 count)
{
    if (hash)
        hash->add(data, count);
}

void ContentCheck::reset()
{
    if (hash)
        hash->reset();
}

Error ContentCheck::verify(qint64 size) const
{
    if (expected.size && *expected.size != size) {
        return ZEL_ERROR(SchemeErrors::integrityFailure,
                         tr("The file has %1 bytes instead of %2.")
                             .arg(QString::number(size), QString::number(*expected.size)));
    }
    if (hash && hash->result() != expected.hash.digest) {
        const FileHash found { expected.hash.algorithm, hash->result() };
        return ZEL_ERROR(SchemeErrors::integrityFailure,
                         tr("The file has the checksum %1 instead of %2.")
                             .arg(found.toString(), expected.hash.toString()));
    }
    return {};
}

} // namespace zel
