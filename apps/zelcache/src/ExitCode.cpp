#include "ExitCode.h"

#include "errors/UnifiedError.h"

namespace zel::cli {

ExitCode exitCodeOf(const Error &error)
{
    const auto code = ExitCode(int(error.errorCode()));
    switch (code) {
    case ExitCode::Success:
    case ExitCode::BadArgument:
    case ExitCode::BadData:
    case ExitCode::UnsupportedContainer:
    case ExitCode::IntegrityViolated:
    case ExitCode::NoSpace:
    case ExitCode::Canceled:
    case ExitCode::FeatureLacking:
        return code;
    case ExitCode::Failed:
    case ExitCode::AnswerIsNo: // these are said by the program itself, never by an error
    case ExitCode::CacheUnavailable:
    case ExitCode::HungUp:
    case ExitCode::Interrupted:
    case ExitCode::Terminated:
        break;
    }
    return ExitCode::Failed;
}

ExitCode exitCodeOf(const QList<Error> &failures)
{
    return exitCodeOf(UnifiedError::computeUnifiedError({ failures.cbegin(), failures.cend() }));
}

ExitCode exitCodeOfSignal(int signalNumber)
{
    return ExitCode(128 + signalNumber);
}

ExitCode exitCodeAfter(int signalNumber, ExitCode code)
{
    return signalNumber == 0 ? code : exitCodeOfSignal(signalNumber);
}

} // namespace zel::cli
