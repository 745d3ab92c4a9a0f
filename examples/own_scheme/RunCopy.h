#pragma once

#include "ArchiveIndex.h"
#include "Task.h"

namespace archive {

/// Copies the run to the target, and its report beside it. Tells `task` how far it is, and ends
/// with code 20 soon after the task was canceled. Code 4 if the file is not as long as the index
/// says, as one is that the instrument still writes.
///
/// Only what is whole and on the disk gets the name that it is looked for by.
zel::Error copyRun(const ArchivedRun &run, const QString &target, zel::Task *task);

} // namespace archive
