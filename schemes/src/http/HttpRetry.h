#pragma once

#include "http/HttpHead.h"
#include "http/HttpSettings.h"

#include <functional>

namespace zel {

/// Counts tries and waits between them: longer with every one in a row, and as long as the server
/// asks for.
class HttpRetry
{
public:
    HttpRetry(const HttpSettings &settings, int retries, std::function<bool()> isCanceled);

    /// Something new came since the last failure: the counting starts over.
    void succeeded() { failures = 0; }
    /// True after a wait, when another try is due. False at once if there were enough of them, if
    /// the server asks for too long a pause, or if canceled.
    bool waitForNext(const HttpHead &head);

private:
    std::chrono::milliseconds nextBackOff();
    void wait(std::chrono::milliseconds time);

    const HttpSettings &settings;
    const int retries;
    std::function<bool()> isCanceled;
    int failures = 0;
};

} // namespace zel
