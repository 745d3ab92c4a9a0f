#pragma once

#include <array>
#include <string>

namespace zel {

/// The calls that have led a thread to where it is. Quick to take, in microseconds; the names are
/// looked up only when somebody wants to read them, which takes a second. Only builds that look at
/// the takes of locks have it.
class StackTrace
{
public:
    /// Of the calling thread, the innermost call first, without this function.
    static StackTrace ofThisThread();

    /// A line per call, with function, file and line as far as they are known.
    std::string text() const;

private:
    static constexpr int mostCalls = 16;

    std::array<void *, mostCalls> calls {};
    int count = 0;
};

} // namespace zel
