#pragma once

#include "Task.h"
#include "references/ResourceReference.h"

#include <QList>
#include <QSharedPointer>

namespace zel {

/// Finds the resources that belong with one: the other files of its folder, say.
///
/// A scheme brings a subclass with the search, and an override of ResourceHandler::siblings() that
/// makes one. The search runs on a worker of the task's own. An empty answer is a success; only the
/// task's error tells it from a failed search.
class ZEL_RESOURCE_MANAGER_EXPORT GetSiblingsTask : public Task
{
public:
    using References = QList<QSharedPointer<ResourceReference>>; ///< in the order of the scheme

    ~GetSiblingsTask() override;

    /// What was found. Empty before the end, after a failure and for a result of another type; read
    /// it after finished().
    References siblings() const;

protected:
    explicit GetSiblingsTask(QObject *parent); ///< an idle task that will run on a worker

    /// The search. Runs on the worker; whether the resource itself is among the answer is up to the
    /// scheme.
    virtual Result<References> readSiblings() = 0;

private:
    Error findSiblings();
};

} // namespace zel
