#pragma once

#include "references/ResourceReference.h"

#include <QList>
#include <QSharedPointer>

namespace zel {

/// Asks whoever may decide (a user, a policy of the program) before resources are fetched.
///
/// Only resources whose retrieve mode is Prompt are asked about, and only those that are not here
/// yet. Called on the thread that asked for the retrieval, which waits for the answer; no lock is
/// held meanwhile.
class ZEL_RESOURCE_MANAGER_EXPORT ResourcePromptingInterface
{
public:
    ResourcePromptingInterface() = default;
    ResourcePromptingInterface(const ResourcePromptingInterface &) = default;
    ResourcePromptingInterface &operator=(const ResourcePromptingInterface &) = default;
    virtual ~ResourcePromptingInterface();

    /// May these be fetched? False cancels the whole request, with the resources in it that needed
    /// no question too.
    virtual bool confirmRetrieve(const QList<QSharedPointer<ResourceReference>> &references) = 0;

    /// Which of them the last answer accepted. Read after confirmRetrieve() returned true for a
    /// list of handlers: those that are not among them are left out.
    virtual QList<QSharedPointer<ResourceReference>> confirmedReferences() = 0;
};

} // namespace zel
