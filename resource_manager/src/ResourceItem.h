#pragma once

#include "ResourceMetadata.h"
#include "references/ResourceReference.h"

#include <QSharedPointer>

namespace zel {

/// A resource as a program lists it: its reference beside what is known of it. Either may be null.
struct ResourceItem
{
    QSharedPointer<ResourceReference> reference; ///< which one it is
    QSharedPointer<ResourceMetadata> metadata; ///< what its source told of it
};

} // namespace zel
