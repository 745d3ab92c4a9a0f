#include "ThreadStarts.h"

#include "Wrapper.h"

#include <atomic>
#include <limits>

#include <errno.h>
#include <pthread.h>

namespace {

constexpr int unlimited = std::numeric_limits<int>::max();
std::atomic<int> allowed = unlimited;

} // namespace

namespace zel::test {

ThreadLimit::ThreadLimit(int limit)
{
    allowed = limit;
}

ThreadLimit::~ThreadLimit()
{
    allowed = unlimited;
}

} // namespace zel::test

using zel::test::original;

extern "C" {

ZEL_VISIBLE int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                               void *(*work)(void *), void *argument) noexcept
{
    static const auto next
        = original<int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>(
            "pthread_create");
    if (allowed != unlimited && allowed.fetch_sub(1) <= 0)
        return EAGAIN;
    return next(thread, attributes, work, argument);
}

} // extern "C"
