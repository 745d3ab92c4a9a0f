#include "SchemeKey.h"

#include <QMetaEnum>

namespace zel {

QString schemeKey(ResourceReference::Scheme scheme)
{
    const QMetaObject &metaObject = ResourceReference::staticMetaObject;
    const QMetaEnum schemes = metaObject.enumerator(metaObject.indexOfEnumerator("Scheme"));
    return QString::fromLatin1(schemes.valueToKey(static_cast<int>(scheme)));
}

} // namespace zel
