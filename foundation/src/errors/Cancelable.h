#pragma once

#include "errors/Error.h"
#include "threads/Mutex.h"

#include <atomic>

namespace zel {

/// Something that can be asked to stop. Asking does not wait for the stop.
class ZEL_RESOURCE_MANAGER_EXPORT Cancelable
{
public:
    Cancelable() = default;
    Cancelable(const Cancelable &) = delete;
    Cancelable &operator=(const Cancelable &) = delete;
    virtual ~Cancelable();

    /// Whether somebody has asked. Work that takes long looks now and then.
    virtual bool isCanceled() const = 0;
    /// Sets or clears what isCanceled() tells, and does nothing else.
    virtual void setCanceled(bool canceled) = 0;
    virtual void cancel() = 0; ///< asks to stop
};

/// A Cancelable that keeps the outcome of its work. Every member may be called on any thread.
class ZEL_RESOURCE_MANAGER_EXPORT ErrorCancelable : public Cancelable
{
public:
    ~ErrorCancelable() override;

    bool isCanceled() const override;
    void setCanceled(bool canceled) override;
    void cancel() override = 0;

    Error error() const; ///< how the work ended; a success before its end
    bool hasError() const; ///< whether error() is a failure

protected:
    void setError(const Error &error); ///< replaces what error() tells

private:
    std::atomic<bool> canceled = false;
    mutable Mutex errorMutex { "the error of a task" };
    Error currentError;
};

} // namespace zel
