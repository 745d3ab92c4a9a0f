#include "ResourceHandlerTypes.h"

#include <QHash>
#include <QMetaEnum>

#include <memory>

namespace zel {

using namespace Qt::Literals::StringLiterals;

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

/// By their numbers; made once, as a large cache asks for the text of each of its rows.
using Keys = QHash<int, QString>;

const Keys *keysOf(const QMetaEnum &enumerator)
{
    auto keys = std::make_unique<Keys>();
    for (int index = 0; index < enumerator.keyCount(); ++index)
        keys->insert(enumerator.value(index), QString::fromLatin1(enumerator.key(index)));
    return keys.release();
}

template<typename Enum>
QString keyOf(const Keys &keys, Enum value)
{
    // Empty, never null: a null text would be stored as NULL.
    return keys.value(static_cast<int>(value), u""_s);
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
    // Never destroyed, as the next one: a cache is closed at exit.
    static const Keys *const keys = keysOf(statuses());
    return keyOf(*keys, status);
}

QString toText(ResourceCleanupPolicy policy)
{
    static const Keys *const keys = keysOf(policies());
    return keyOf(*keys, policy);
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
