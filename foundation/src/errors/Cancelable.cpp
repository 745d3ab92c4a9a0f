#include "errors/Cancelable.h"

namespace zel {

Cancelable::~Cancelable() = default;

ErrorCancelable::~ErrorCancelable() = default;

bool ErrorCancelable::isCanceled() const
{
    return canceled;
}

void ErrorCancelable::setCanceled(bool newCanceled)
{
    canceled = newCanceled;
}

Error ErrorCancelable::error() const
{
    const QMutexLocker lock(&errorMutex);
    return currentError;
}

bool ErrorCancelable::hasError() const
{
    const QMutexLocker lock(&errorMutex);
    return currentError.hasError();
}

void ErrorCancelable::setError(const Error &error)
{
    const QMutexLocker lock(&errorMutex);
    currentError = error;
}

} // namespace zel
