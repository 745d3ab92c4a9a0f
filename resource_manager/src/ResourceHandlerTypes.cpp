#include "ResourceHandlerTypes.h"

#include <QMetaEnum>

namespace zel {

namespace {

QMetaEnum enumeratorNamed(const char *name)
{
    const QMetaObject &scope = ZEL_QEnumsResourceHandlerTypes::staticMetaObject;
    return scope.enumerator(scope.indexOfEnumerator(name));
}

QMetaEnum statuses()
{
    static const QMetaEnum enumerator = enumeratorNamed("ResourceStatus");
    return enumerator;
}

QMetaEnum policies()
{
    static const QMetaEnum enumerator = enumeratorNamed("ResourceCleanupPolicy");
    return enumerator;
}

template<typename Enum>
QString keyOf(const QMetaEnum &enumerator, Enum value)
{
    const char *key = enumerator.valueToKey(static_cast<int>(value));
    // Empty, never null: a null text would be stored as NULL.
    return QString::fromLatin1(key ? key : "");
}

template<typename Enum>
Enum valueOf(const QMetaEnum &enumerator, const QString &text, Enum fallback)
{
    bool isKey = false;
    const int value = enumerator.keyToValue(text.toLocal8Bit().constData(), &isKey);
    return isKey ? static_cast<Enum>(value) : fallback;
}

} // namespace

QString toText(ResourceStatus status)
{
    return keyOf(statuses(), status);
}

QString toText(ResourceCleanupPolicy policy)
{
    return keyOf(policies(), policy);
}

ResourceStatus toResourceStatus(const QString &text, ResourceStatus fallback)
{
    return valueOf(statuses(), text, fallback);
}

ResourceCleanupPolicy toResourceCleanupPolicy(const QString &text, ResourceCleanupPolicy fallback)
{
    return valueOf(policies(), text, fallback);
}

} // namespace zel
