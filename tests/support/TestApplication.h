#pragma once

#include <QCoreApplication>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace zel::test {

/// The application of a test program.
///
/// Qt itself is not built with ThreadSanitizer, which therefore does not know that an event is
/// delivered after it was posted. In programs built with it the two ends say so, for each receiver;
/// the other end stands in QtUnderTsan.cpp.
class TestApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

#ifdef __SANITIZE_THREAD__
    bool notify(QObject *receiver, QEvent *event) override
    {
        __tsan_acquire(receiver);
        const bool isHandled = QCoreApplication::notify(receiver, event);
        __tsan_release(receiver); // to who waits for the delivery
        return isHandled;
    }
#endif
};

} // namespace zel::test
