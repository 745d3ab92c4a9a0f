#pragma once

#include "errors/ErrorCode.h"
#include "errors/Warnings.h"

#include <QByteArray>

namespace zel {

/// The outcome of an operation that produces nothing else: success, or a code with a message.
///
/// A failure collects its trail on the way out: every level that passes it on calls ecatch(), so
/// that a reader sees where it came from, deepest place first. Failures travel as values only;
/// nothing in this library throws to report one. Two errors are equal when code and message are:
/// neither the trail nor the warnings count.
class [[nodiscard]] ZEL_RESOURCE_MANAGER_EXPORT Error : public Warnings
{
public:
    /// One place that a failure passed.
    struct TracePoint
    {
        QByteArray function; ///< its whole signature
        QByteArray file; ///< as it stands in the tree
        int line = 0; ///< from 1 on
    };

    /// Success.
    Error() = default;
    /// A code without a message; code 0 is success.
    Error(ErrorCode code);
    /// A code with a message for users, without a full trail yet.
    Error(ErrorCode code, const QString &message);
    /// The same for codes that only the caller has a name for.
    Error(int code);
    Error(int code, const QString &message); ///< a code of the caller's own with a message

    /// True for every code but 0.
    bool hasError() const { return code != ErrorCode::Success; }
    /// May be a number that ErrorCode has no name for.
    ErrorCode errorCode() const { return code; }
    /// The message alone, ready for a user; empty for a success.
    QString errorMessage() const { return message; }
    bool equals(const Error &other) const; ///< the same as operator==()

    /// Records that the failure passed here. Call it only if hasError().
    Error &ecatch(const char *function, const char *file, int line);
    /// The places that the failure passed, the deepest first.
    const QList<TracePoint> &trail() const { return passed; }
    /// Code, message and trail over several lines, for logs.
    QString description() const;

    /// These three do what those of Warnings do, and give the error itself for chaining.
    Error &addWarning(const QString &text);
    /// See addWarning().
    Error &addWarnings(const QList<QString> &moreTexts);
    /// See addWarning().
    Error &clearWarnings();

private:
    ErrorCode code = ErrorCode::Success;
    QString message;
    QList<TracePoint> passed;
};

/// Equal if code and message are.
inline bool operator==(const Error &left, const Error &right)
{
    return left.equals(right);
}

/// Fits operator==(): of code and message.
ZEL_RESOURCE_MANAGER_EXPORT size_t qHash(const Error &error, size_t seed = 0);

} // namespace zel
