#pragma once

#include <QString>

#include <memory>

namespace zel {

class Task;

/// Questions about a file or folder of this machine's tree, which may lie on a slow share: each is
/// a new, unstarted task that works on its own thread.
namespace LocalTasks {

/// Its result holds a bool: something lies there, and this user may read it.
std::unique_ptr<Task> exists(const QString &path);
/// Its result holds a QSharedPointer<ResourceMetadata>. Code 1 if nothing readable lies there.
std::unique_ptr<Task> metadata(const QString &path);

} // namespace LocalTasks

} // namespace zel
