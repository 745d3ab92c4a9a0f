#pragma once

#include "Task.h"
#include "http/HttpSettings.h"
#include "list/ListReference.h"
#include "staging/FetchPlan.h"

#include <memory>

namespace zel::ListTasks {

/// Unstarted tasks about one folder that is told by a list. Each runs on a worker thread of its own
/// and sees a cancellation soon.

/// The result holds a bool: the list is there, and readable for this user.
std::unique_ptr<Task> exists(const QSharedPointer<ListReference> &reference,
                             const HttpSettings &settings);

/// The result holds a QSharedPointer<ResourceMetadata>, with the number of files and, if it is told
/// or can be asked with few requests, the size of all of them.
std::unique_ptr<Task> metadata(const QSharedPointer<ListReference> &reference,
                               const HttpSettings &settings);

/// Brings the folder to the place that the plan names, by way of the staging place.
std::unique_ptr<Task> retrieve(const QSharedPointer<ListReference> &reference,
                               const FetchPlan &plan, const HttpSettings &settings);

} // namespace zel::ListTasks
