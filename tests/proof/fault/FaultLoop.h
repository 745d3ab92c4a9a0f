#pragma once

#include "CacheWorld.h"

#include <functional>

namespace zel::test {

/// What meets the failures.
enum class FaultPlace { Statements, FileSteps };

/// One of all operations, as a line of the table that it stands in.
struct FaultOperation
{
    using Exception = CacheInvariants::Exception;

    const char *name;
    std::function<void(CacheWorld &)> setUp = nullptr;
    /// Does it, and leaves in the world what it has answered.
    std::function<Error(CacheWorld &)> run;
    /// What of its effect, or in its answer, is not as promised; empty if nothing.
    std::function<QString(CacheWorld &)> missing;
    /// How to do it again after a failure, where that is more than to do the same.
    std::function<Error(CacheWorld &)> repeat = nullptr;
    /// Why a failure may go by without being reported; empty where it may not.
    const char *silence = "";
    /// What is no promise after a failure, until it is repeated, and why not.
    QList<Exception> exceptions = {};
    const char *whyExcepted = "";
    /// What it leaves behind even if it has done all, for the next opening.
    QList<Exception> leftUntilOpened = {};
    /// Its answer is a failure of its own.
    bool isRefused = false;
};

/// Does each operation again and again, lets its first step fail, its second, its third, and so on
/// until it meets no failure any more, and looks each time at what is left.
class FaultLoop
{
public:
    explicit FaultLoop(FaultPlace place);
    /// Records the figures of the table that scripts/prove prints.
    ~FaultLoop();
    FaultLoop(const FaultLoop &) = delete;
    FaultLoop &operator=(const FaultLoop &) = delete;

    void prove(const QList<FaultOperation> &operations);

private:
    void prove(const FaultOperation &operation);
    bool proveStep(const FaultOperation &operation, qsizetype round, int number);

    const FaultPlace place;
    int operationCount = 0;
    int failureCount = 0;
    int violationCount = 0;
};

/// The failure of a result; success if it has a value.
template<typename T>
Error errorOf(const Result<T> &result)
{
    return result.hasValue() ? Error() : result.error();
}

} // namespace zel::test
