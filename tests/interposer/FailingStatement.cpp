#include "FailingStatement.h"

#include <atomic>
#include <cstdlib>

#include <dlfcn.h>

namespace {

constexpr int never = -1;
std::atomic<int> failingNumber = never;
std::atomic<int> failingResult = 0;
std::atomic<int> stepsSeen = 0;

using StepFunction = int (*)(void *statement);

/// The driver loads SQLite for itself, out of sight of RTLD_NEXT.
StepFunction realStep()
{
    void *library = ::dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_LOCAL);
    void *function = library ? ::dlsym(library, "sqlite3_step") : nullptr;
    if (!function)
        std::abort();
    return reinterpret_cast<StepFunction>(function);
}

} // namespace

namespace zel::test {

FailingStatement::FailingStatement(int number, Result result)
    : m_number(number)
{
    stepsSeen = 0;
    failingResult = int(result);
    failingNumber = number;
}

FailingStatement::~FailingStatement()
{
    failingNumber = never;
}

bool FailingStatement::hasFailed() const
{
    return stepsSeen > m_number;
}

int FailingStatement::seen() const
{
    return stepsSeen;
}

} // namespace zel::test

/// Stands before the function of SQLite's library, for the driver that is loaded later, too.
extern "C" __attribute__((visibility("default"))) int sqlite3_step(void *statement)
{
    static const StepFunction step = realStep();
    const int number = stepsSeen++;
    return number == failingNumber ? failingResult.load() : step(statement);
}
