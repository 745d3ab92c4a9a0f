#pragma once

#include "BlockingWait.h"
#include "errors/Propagate.h"

#include <QCoroTask>

#include <concepts>
#include <coroutine>
#include <exception>
#include <memory>
#include <optional>

namespace zel {

namespace detail {

/// What a coroutine leaves behind. Shared by the one who waits for it and the one who fetches it,
/// since either may be gone first.
template<typename T>
struct CoroutineOutcome
{
    std::optional<T> value;
    std::exception_ptr exception;
    BlockingWait wait;
};

/// Return type of fetchOutcome(), a coroutine that nobody awaits: it frees its own frame.
template<typename T>
struct CoroutineCourier
{
    struct promise_type
    {
        std::shared_ptr<CoroutineOutcome<T>> outcome;

        promise_type(QCoro::Task<T> &, std::shared_ptr<CoroutineOutcome<T>> &sharedOutcome)
            : outcome(sharedOutcome)
        {
        }
        CoroutineCourier get_return_object() noexcept { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept
        {
            outcome->wait.wake();
            return {};
        }
        void return_void() noexcept { }
        void unhandled_exception() noexcept { outcome->exception = std::current_exception(); }
    };
};

template<typename T>
CoroutineCourier<T> fetchOutcome(QCoro::Task<T> coroutine,
                                 std::shared_ptr<CoroutineOutcome<T>> outcome)
{
    auto value = co_await coroutine;
    outcome->value.emplace(std::move(value));
}

} // namespace detail

/// Runs a coroutine to its end on the calling thread, whose events are delivered meanwhile, and
/// returns what it returned. An exception that left the coroutine is thrown again here.
///
/// T is a Result or an Error; it need not be default constructible. Code 1 if the coroutine has
/// suspended and there is no QCoreApplication, without which it would never be resumed.
template<typename T>
requires std::constructible_from<T, Error> T waitForCoroutine(QCoro::Task<T> coroutine)
{
    auto outcome = std::make_shared<detail::CoroutineOutcome<T>>();
    detail::fetchOutcome(std::move(coroutine), outcome);
    if (const Error error = ZEL_PASS(outcome->wait.run()); error.hasError())
        return T(error);
    if (outcome->exception)
        std::rethrow_exception(outcome->exception);
    return *std::move(outcome->value);
}

} // namespace zel
