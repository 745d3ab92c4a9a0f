#pragma once

#include "errors/Logging.h"
#include "errors/Result.h"

/// The one way in which failures are passed on: stamped with the place they passed, then returned.
/// Macros, because the stamp names the caller's function, file and line.

namespace zel::propagation {

inline Error stamped(Error error, const char *function, const char *file, int line)
{
    if (error.hasError())
        error.ecatch(function, file, line);
    return error;
}

template<typename T>
Result<T> stamped(Result<T> result, const char *function, const char *file, int line)
{
    if (!result.hasValue())
        result.error().ecatch(function, file, line);
    return result;
}

inline const Error *failureOf(const Error &error)
{
    return error.hasError() ? &error : nullptr;
}

template<typename T>
const Error *failureOf(const Result<T> &result)
{
    return result.hasValue() ? nullptr : &result.error();
}

/// Ends the way of a failure that nobody can be told of: it goes to the log with its trail.
template<typename Outcome>
void drop(const Outcome &outcome)
{
    if (const Error *failure = failureOf(outcome))
        qCWarning(lcResourceManager).noquote() << "Going on after" << failure->description();
}

} // namespace zel::propagation

/// The expression's outcome, stamped if it is a failure.
#define ZEL_PASS(expression)                                                                       \
    ::zel::propagation::stamped((expression), Q_FUNC_INFO, __FILE__, __LINE__)

/// A new failure, stamped where it is raised.
#define ZEL_ERROR(code, text) ZEL_PASS(::zel::Error((code), (text)))

/// Goes on in spite of a failure, which is stamped and logged. Say why beside it.
#define ZEL_DROP(expression) ::zel::propagation::drop(ZEL_PASS(expression))

/// Goes on in spite of a failure without a trace of it. Say why beside it.
#define ZEL_IGNORE(expression) static_cast<void>(expression)

/// Assigns the expression's Error to `error` and leaves the function with it if it is a failure.
#define ZEL_TRY(error, expression) ZEL_TRY_WITH_(return, error, expression)
/// The same in a coroutine.
#define ZEL_CO_TRY(error, expression) ZEL_TRY_WITH_(co_return, error, expression)

/// Declares a variable from the value of a Result, or leaves the function with its error.
/// Only inside braces, since it is several statements.
#define ZEL_TRY_LET(declaration, expression)                                                       \
    ZEL_TRY_LET_WITH_(return, ZEL_UNIQUE_NAME_(outcome_, __LINE__), declaration, expression)
/// The same in a coroutine.
#define ZEL_CO_TRY_LET(declaration, expression)                                                    \
    ZEL_TRY_LET_WITH_(co_return, ZEL_UNIQUE_NAME_(outcome_, __LINE__), declaration, expression)

// Parentheses would make no statement of a keyword, and no variable of a declaration.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define ZEL_TRY_WITH_(leave, error, expression)                                                    \
    do {                                                                                           \
        (error) = ZEL_PASS(expression);                                                            \
        if ((error).hasError())                                                                    \
            leave error;                                                                           \
    } while (false)

#define ZEL_TRY_LET_WITH_(leave, outcome, declaration, expression)                                 \
    auto outcome = ZEL_PASS(expression);                                                           \
    if (!(outcome).hasValue())                                                                     \
        leave(outcome).error();                                                                    \
    declaration = std::move(outcome).value()
// NOLINTEND(bugprone-macro-parentheses)

#define ZEL_UNIQUE_NAME_(prefix, line) ZEL_JOIN_(prefix, line)
#define ZEL_JOIN_(left, right) left##right
