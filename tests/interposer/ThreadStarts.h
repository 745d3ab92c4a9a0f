#pragma once

namespace zel::test {

/// While one lives, the system gives this program so many threads more and then refuses, as at a
/// limit of processes. One at a time.
class ThreadLimit
{
public:
    explicit ThreadLimit(int allowed);
    ~ThreadLimit();
    ThreadLimit(const ThreadLimit &) = delete;
    ThreadLimit &operator=(const ThreadLimit &) = delete;
};

} // namespace zel::test
