#include "integrity/ContentCheck.h"

#include "SchemeErrors.h"
#include "errors/Propagate.h"

namespace zel {

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
