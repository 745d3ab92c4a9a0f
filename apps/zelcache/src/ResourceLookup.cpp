#include "ResourceLookup.h"

#include "errors/Propagate.h"
#include "references/ResourceReference.h"

#include <algorithm>

namespace zel::cli {

Result<QString> keyOf(const ResourceCacheReader::Snapshot &snapshot, const QString &argument)
{
    if (resourceOf(snapshot, argument))
        return argument;
    ZEL_TRY_LET(const auto reference, ResourceReference::fromString(argument));
    return reference->referenceText(false);
}

QStringList possibleKeysOf(const QString &argument)
{
    QStringList keys { argument };
    if (const auto reference = ResourceReference::fromString(argument); reference.hasValue())
        keys.append(reference.value()->referenceText(false));
    return keys;
}

std::optional<ResourceCacheReader::Resource> resourceOf(
    const ResourceCacheReader::Snapshot &snapshot, const QString &key)
{
    const auto found = std::find_if(snapshot.resources.begin(), snapshot.resources.end(),
                                    [&key](const auto &each) { return each.reference == key; });
    return found == snapshot.resources.end() ? std::nullopt : std::optional(*found);
}

} // namespace zel::cli
