#include "NamedReference.h"

#include "errors/Propagate.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

Result<QSharedPointer<ResourceReference>> NamedReference::parse(Scheme scheme, QLatin1String prefix,
                                                                const QString &text)
{
    if (!text.startsWith(prefix) || text.size() == prefix.size())
        return ZEL_ERROR(ErrorCode::BadArgument, u"Not a reference of the tests: "_s + text);
    return QSharedPointer<ResourceReference>(
        QSharedPointer<NamedReference>::create(scheme, prefix, text.mid(prefix.size())));
}

} // namespace zel::test
