#pragma once

#include "references/ResourceReference.h"

#include <QString>

#include <utility>

namespace zel {

/// What makes two references name the same resource: equal for those, and only for those. To be
/// asked once for each of many, which are then matched by a set: to compare each with each would be
/// most of the work for a thousand small resources.
using ReferenceIdentity = std::pair<int, QString>;

inline ReferenceIdentity identityOf(const ResourceReference &reference)
{
    return { int(reference.scheme()), reference.referenceText(false) };
}

/// That of a null pointer is no resource's.
inline ReferenceIdentity identityOf(const QSharedPointer<ResourceReference> &reference)
{
    constexpr int noScheme = -1;
    return reference ? identityOf(*reference) : ReferenceIdentity(noScheme, QString());
}

} // namespace zel
