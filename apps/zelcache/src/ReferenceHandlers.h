#pragma once

#include "ResourceCache.h"
#include "ResourceHandler.h"

namespace zel::cli {

/// Makes handlers that ask sources and enter nothing: the cache that they are lent is never opened.
/// It must outlive them.
class SourceHandlers
{
public:
    /// Of a reference as the user wrote it.
    Result<QSharedPointer<ResourceHandler>> handlerOf(const QString &argument);

private:
    ResourceCache cache;
};

/// The handler of a reference as the user wrote it.
Result<QSharedPointer<ResourceHandler>> handlerOf(const QString &argument);

/// A resource, and where its data lies or would lie.
struct LocalPlace
{
    QSharedPointer<ResourceHandler> handler;
    QString path;
    bool isAvailable = false;

    /// As the cache has it.
    QString reference() const { return handler->reference()->referenceText(false); }
};

/// Of a reference as the user wrote it; fetches nothing.
Result<LocalPlace> localPlaceOf(const QString &argument);

} // namespace zel::cli
