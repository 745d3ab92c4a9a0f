#include "errors/UnifiedError.h"

#include <QStringList>

#include <algorithm>

namespace zel::UnifiedError {

namespace {

ErrorCode commonCode(const QSet<Error> &errors)
{
    const ErrorCode first = errors.begin()->errorCode();
    const bool shared = std::all_of(errors.begin(), errors.end(), [first](const Error &error) {
        return error.errorCode() == first;
    });
    return shared ? first : ErrorCode::OperationFailed;
}

QString distinctMessages(const QSet<Error> &errors)
{
    QStringList messages;
    for (const Error &error : errors) {
        if (!error.errorMessage().isEmpty())
            messages.append(error.errorMessage());
    }
    messages.sort();
    messages.removeDuplicates();
    return messages.join(u'\n');
}

QList<QString> allWarnings(const QSet<Error> &errors)
{
    QStringList warnings;
    for (const Error &error : errors)
        warnings.append(error.warnings());
    warnings.sort();
    warnings.removeDuplicates();
    return warnings;
}

} // namespace

Error computeUnifiedError(const QSet<Error> &errors)
{
    if (errors.isEmpty())
        return Error();

    // What comes from one place keeps its trail.
    if (errors.size() == 1)
        return *errors.begin();
    return Error(commonCode(errors), distinctMessages(errors)).addWarnings(allWarnings(errors));
}

} // namespace zel::UnifiedError
