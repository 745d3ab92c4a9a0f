#include "references/SchemeRegistry.h"

#include <algorithm>

namespace zel {

SchemeRegistry &SchemeRegistry::instance()
{
    static SchemeRegistry *const registry = new SchemeRegistry;
    return *registry;
}

bool SchemeRegistry::insert(const Description &description)
{
    const std::lock_guard lock(mutex);
    const bool isTaken = std::any_of(
        description.prefixes.begin(), description.prefixes.end(), [&](const QString &prefix) {
            return schemesByPrefix.value(prefix, description.scheme) != description.scheme;
        });
    if (isTaken)
        return false;

    schemesByPrefix.removeIf(
        [&](const auto &entry) { return entry.value() == description.scheme; });
    for (const QString &prefix : description.prefixes)
        schemesByPrefix.insert(prefix, description.scheme);
    descriptions.insert(description.scheme, std::make_shared<const Description>(description));
    return true;
}

void SchemeRegistry::remove(ResourceReference::Scheme scheme)
{
    const std::lock_guard lock(mutex);
    schemesByPrefix.removeIf([&](const auto &entry) { return entry.value() == scheme; });
    descriptions.remove(scheme);
}

SchemeRegistry::Found SchemeRegistry::find(ResourceReference::Scheme scheme) const
{
    const std::lock_guard lock(mutex);
    return descriptions.value(scheme);
}

SchemeRegistry::Found SchemeRegistry::findByPrefix(const QString &prefix) const
{
    const std::lock_guard lock(mutex);
    const auto scheme = schemesByPrefix.constFind(prefix);
    return scheme == schemesByPrefix.cend() ? Found() : descriptions.value(*scheme);
}

QStringList SchemeRegistry::prefixes() const
{
    const std::lock_guard lock(mutex);
    QStringList known = schemesByPrefix.keys();
    known.sort();
    return known;
}

} // namespace zel
