#pragma once

#include "Task.h"
#include "dav/DavReference.h"
#include "http/HttpSettings.h"
#include "staging/FetchPlan.h"
#include "tasks/GetSiblingsTask.h"

#include <QSharedPointer>

#include <memory>

namespace zel::DavTasks {

/// Unstarted tasks about one file or folder of a WebDAV server. Each runs on a worker thread of its
/// own, sees a cancellation within 200 ms, and keeps what it needs to itself.
/// An address that is none gives code 2, at the end of the task like every other failure.

using Reference = QSharedPointer<DavReference>;

/// So many folders at most are asked for the size of a whole folder: somebody may be waiting.
inline constexpr int mostFoldersToCount = 64;

/// The result holds a bool: there, and readable for this user.
std::unique_ptr<Task> exists(const Reference &reference, const HttpSettings &settings);

/// The result holds a QSharedPointer<ResourceMetadata>. Code 1 if nothing is there. The size and
/// the newest time of a folder are those of all files in it, unless it has more folders than the
/// above or the server does not tell.
std::unique_ptr<Task> metadata(const Reference &reference, const HttpSettings &settings);

/// Brings the file or the whole folder to the place that the plan names, by way of the staging
/// place. Code 2 if a checksum is expected of a folder.
std::unique_ptr<Task> retrieve(const Reference &reference, const FetchPlan &plan,
                               const HttpSettings &settings);

/// Finds what lies beside the resource, without the resource itself. Of the root, nothing does.
std::unique_ptr<GetSiblingsTask> siblings(const Reference &reference, const HttpSettings &settings);

} // namespace zel::DavTasks
