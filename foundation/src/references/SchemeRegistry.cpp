#include "references/SchemeRegistry.h"

#include <algorithm>

namespace zel {

namespace {

using Found = SchemeRegistry::Found;

auto isOf(ResourceReference::Scheme scheme)
{
    return [scheme](const Found &description) {
        return description->scheme == scheme;
    };
}

auto hasPrefix(QStringView prefix)
{
    const auto isIt = [prefix](const QString &known) {
        return std::equal(prefix.begin(), prefix.end(), known.begin(), known.end(),
                          [](QChar given, QChar lower) { return given.toLower() == lower; });
    };
    return [isIt](const Found &description) {
        return std::any_of(description->prefixes.begin(), description->prefixes.end(), isIt);
    };
}

template<typename Condition>
Found firstOf(const QList<Found> &descriptions, const Condition &condition)
{
    const auto found = std::find_if(descriptions.begin(), descriptions.end(), condition);
    return found == descriptions.end() ? Found() : *found;
}

} // namespace

SchemeRegistry &SchemeRegistry::instance()
{
    static SchemeRegistry *const registry = new SchemeRegistry;
    return *registry;
}

bool SchemeRegistry::insert(const Description &description)
{
    const std::lock_guard lock(mutex);
    const auto isOfAnother = [&](const QString &prefix) {
        const Found owner = firstOf(descriptions, hasPrefix(prefix));
        return owner && owner->scheme != description.scheme;
    };
    if (std::any_of(description.prefixes.begin(), description.prefixes.end(), isOfAnother))
        return false;

    descriptions.removeIf(isOf(description.scheme));
    descriptions.append(std::make_shared<const Description>(description));
    return true;
}

void SchemeRegistry::remove(ResourceReference::Scheme scheme)
{
    const std::lock_guard lock(mutex);
    descriptions.removeIf(isOf(scheme));
}

SchemeRegistry::Found SchemeRegistry::find(ResourceReference::Scheme scheme) const
{
    const std::lock_guard lock(mutex);
    return firstOf(descriptions, isOf(scheme));
}

SchemeRegistry::Found SchemeRegistry::findByPrefix(QStringView prefix) const
{
    const std::lock_guard lock(mutex);
    return firstOf(descriptions, hasPrefix(prefix));
}

QStringList SchemeRegistry::prefixes() const
{
    const std::lock_guard lock(mutex);
    QStringList known;
    for (const Found &description : descriptions)
        known += description->prefixes;
    known.sort();
    known.removeDuplicates();
    return known;
}

} // namespace zel
