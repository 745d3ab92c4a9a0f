#pragma once

#include "Export.h"

#include <QMetaType>
#include <QObject>

struct _EXCEPTION_POINTERS; // what one platform tells of a crash; null elsewhere
Q_DECLARE_OPAQUE_POINTER(_EXCEPTION_POINTERS *)

namespace zel {

/// Tells that this process is about to die of a crash, so that what other processes wait for can be
/// given back.
///
/// The first crash emits crashDetected() on the thread that crashed; the handler that was installed
/// before, or the default action, takes over afterwards. Slots run inside the crash: anything may
/// be broken, so they do the least possible. One that hangs is cut short after two seconds.
/// Lives until the process ends. Installs its handlers at the first instance() call.
class ZEL_RESOURCE_MANAGER_EXPORT CrashHandler : public QObject
{
    Q_OBJECT

public:
    /// The one of the process. Any thread.
    static CrashHandler &instance();

    /// Gives the calling thread a stack of its own for a crash that has used up the ordinary one.
    /// Cheap after the first call on a thread.
    static void prepareThisThread();

Q_SIGNALS:
    /// The first crash. The argument is null but on the platform that has one.
    void crashDetected(_EXCEPTION_POINTERS *exception);

private:
    CrashHandler();
};

} // namespace zel
