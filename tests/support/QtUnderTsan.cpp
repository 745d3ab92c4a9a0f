// What ThreadSanitizer has to know of a Qt that was not built with it; see TestApplication.h. The
// linker leads the calls of our code, which go to Qt's names, to the functions behind "__wrap_" and
// Qt's own functions are those behind "__real_".
#include <QMetaObject>
#include <QObject>

#include <sanitizer/tsan_interface.h>

#define INVOKE                                                                                     \
    "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseE"                   \
    "N2Qt14ConnectionTypeEPv"
#define DELETE_LATER "_ZN7QObject11deleteLaterEv"

namespace zel::test {

using Slot = QtPrivate::QSlotObjectBase;

bool qtInvoke(QObject *receiver, Slot *slot, Qt::ConnectionType type,
              void *result) asm("__real_" INVOKE);
bool toldInvoke(QObject *receiver, Slot *slot, Qt::ConnectionType type,
                void *result) asm("__wrap_" INVOKE);
void qtDeleteLater(QObject *object) asm("__real_" DELETE_LATER);
void toldDeleteLater(QObject *object) asm("__wrap_" DELETE_LATER);

bool toldInvoke(QObject *receiver, Slot *slot, Qt::ConnectionType type, void *result)
{
    __tsan_release(receiver);
    const bool isCalled = qtInvoke(receiver, slot, type, result);
    if (type == Qt::BlockingQueuedConnection)
        __tsan_acquire(receiver);
    return isCalled;
}

void toldDeleteLater(QObject *object)
{
    __tsan_release(object);
    qtDeleteLater(object);
}

} // namespace zel::test
