#pragma once

#include "Task.h"
#include "http/HttpClient.h"
#include "references/UrlReference.h"
#include "staging/FetchPlan.h"

#include <QSharedPointer>

#include <memory>

namespace zel::HttpTasks {

/// Unstarted tasks about one file of a web server. Each runs on a worker thread of its own, sees a
/// cancellation within 200 ms, and keeps what it needs to itself.
/// An address that is none gives code 2, at the end of the task like every other failure.

/// The result holds a bool: there, and readable for this user.
std::unique_ptr<Task> exists(const QSharedPointer<UrlReference> &reference,
                             const HttpSettings &settings);

/// The result holds a QSharedPointer<ResourceMetadata>. Code 1 if the file is not there.
std::unique_ptr<Task> metadata(const QSharedPointer<UrlReference> &reference,
                               const HttpSettings &settings);

/// Brings the file to the place that the plan names, by way of the staging place.
std::unique_ptr<Task> retrieve(const QSharedPointer<UrlReference> &reference, const FetchPlan &plan,
                               const HttpSettings &settings);

/// What such a task does, for tasks that have found out the file's address: code 1 and so on, as
/// HttpClient::download() and the staging place have it. The task is asked whether it is canceled
/// and shows the progress; it is borrowed.
Error fetchFile(const HttpTarget &target, const FetchPlan &plan, const HttpSettings &settings,
                Task *task);

} // namespace zel::HttpTasks
