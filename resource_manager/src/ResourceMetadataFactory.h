#pragma once

#include "ResourceMetadata.h"

#include <QCoreApplication>
#include <QMap>

#include <functional>

namespace zel {

/// Makes the metadata of its scheme. Code 4 for an object that is none.
using ResourceMetadataCreator
    = std::function<Result<QSharedPointer<ResourceMetadata>>(const QJsonObject &)>;

/// Turns JSON objects into metadata, by the creators that the loading program registers.
///
/// The library registers none. The table has no lock: register before other threads start.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceMetadataFactory
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceMetadataFactory)

public:
    /// A creator that is already there is replaced.
    static void registerMetadataScheme(ResourceReference::Scheme scheme,
                                       const ResourceMetadataCreator &creator);
    /// Nothing happens if there is none.
    static void unregisterMetadataScheme(ResourceReference::Scheme scheme);

    /// Code 2 for a scheme without a creator; otherwise what the creator gives.
    static Result<QSharedPointer<ResourceMetadata>> create(const QJsonObject &object,
                                                           ResourceReference::Scheme scheme);

    /// The table itself, for those who want to look.
    static QMap<ResourceReference::Scheme, ResourceMetadataCreator> s_createFuncs;
};

} // namespace zel
