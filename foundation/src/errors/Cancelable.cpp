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
    const std::lock_guard lock(errorMutex);
    return currentError;
}

bool ErrorCancelable::hasError() const
{
    const std::lock_guard lock(errorMutex);
    return currentError.hasError();
}

void ErrorCancelable::setError(const Error &error)
{
    const std::lock_guard lock(errorMutex);
    currentError = error;
}

} // namespace zel
