#pragma once

#include "errors/Error.h"

#include <memory>
#include <utility>

namespace zel {

/// A value, or the Error that stands in its place.
///
/// Test hasValue() first: asking for the member that is not alive is a mistake of the caller, which
/// a debug build ends the program at.
/// Warnings of a failed result are those of its error and stay so: every change of them reaches
/// the error too. Warnings of a successful result belong to the result alone.
template<typename T>
class [[nodiscard]] Result : public Warnings
{
public:
    /// A success that holds a copy.
    Result(const T &value)
        : value_(value)
        , hasValue_(true)
    {
    }
    /// A success that takes the value over.
    Result(T &&value)
        : value_(std::move(value))
        , hasValue_(true)
    {
    }
    /// A failure, with the warnings of the error.
    Result(const Error &error)
        : Warnings(error)
        , error_(error)
        , hasValue_(false)
    {
    }
    /// Copies the value or the error, and the warnings.
    Result(const Result &other)
        : Warnings(other)
        , hasValue_(other.hasValue_)
    {
        adopt(other);
    }
    /// Takes them over; the other one keeps its kind, with a moved-from member.
    Result(Result &&other) noexcept(std::is_nothrow_move_constructible_v<T>)
        : Warnings(static_cast<Warnings &&>(other))
        , hasValue_(other.hasValue_)
    {
        adopt(std::move(other));
    }
    /// May turn a success into a failure and the other way round.
    Result &operator=(const Result &other)
    {
        if (this != &other)
            *this = Result(other);
        return *this;
    }
    /// See the assignment of a copy.
    Result &operator=(Result &&other) noexcept(std::is_nothrow_move_constructible_v<T>)
    {
        if (this != &other) {
            destroyMember();
            Warnings::operator=(static_cast<Warnings &&>(other));
            hasValue_ = other.hasValue_;
            adopt(std::move(other));
        }
        return *this;
    }
    ~Result() override { destroyMember(); }

    /// True for a success.
    bool hasValue() const { return hasValue_; }

    /// The value of a success.
    const T &value() const &
    {
        Q_ASSERT(hasValue_);
        return value_;
    }
    /// The value of a success, to be changed.
    T &value() &
    {
        Q_ASSERT(hasValue_);
        return value_;
    }
    /// The value of a success, to be moved out.
    T &&value() &&
    {
        Q_ASSERT(hasValue_);
        return std::move(value_);
    }

    /// The error of a failure.
    const Error &error() const
    {
        Q_ASSERT(!hasValue_);
        return error_;
    }
    /// The error of a failure, to be changed.
    Error &error()
    {
        Q_ASSERT(!hasValue_);
        return error_;
    }

protected:
    void addWarningInternal(const QString &text) override
    {
        Warnings::addWarningInternal(text);
        if (!hasValue_)
            error_.addWarning(text);
    }
    void addWarningsInternal(const QList<QString> &moreTexts) override
    {
        Warnings::addWarningsInternal(moreTexts);
        if (!hasValue_)
            error_.addWarnings(moreTexts);
    }
    void clearWarningsInternal() override
    {
        Warnings::clearWarningsInternal();
        if (!hasValue_)
            error_.clearWarnings();
    }
    void resetWarningInternal(const QString &text) override
    {
        Warnings::resetWarningInternal(text);
        if (!hasValue_)
            error_.resetWarning(text);
    }
    void resetWarningsInternal(const QList<QString> &newTexts) override
    {
        Warnings::resetWarningsInternal(newTexts);
        if (!hasValue_)
            error_.resetWarnings(newTexts);
    }

private:
    /// Brings the member to life that hasValue_ names, out of the same one of `other`.
    template<typename Other>
    void adopt(Other &&other)
    {
        if (hasValue_)
            std::construct_at(std::addressof(value_), std::forward<Other>(other).value_);
        else
            std::construct_at(std::addressof(error_), std::forward<Other>(other).error_);
    }

    void destroyMember()
    {
        if (hasValue_)
            std::destroy_at(std::addressof(value_));
        else
            std::destroy_at(std::addressof(error_));
    }

    union
    {
        T value_;
        Error error_;
    };
    bool hasValue_;
};

} // namespace zel
