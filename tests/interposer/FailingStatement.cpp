#include "FailingStatement.h"

#include "SqliteFunction.h"

#include <atomic>

namespace {

constexpr int never = -1;
std::atomic<int> failingNumber = never;
std::atomic<int> failingResult = 0;
std::atomic<int> stepsSeen = 0;

thread_local int stepsAtWork = 0;

using StepFunction = int (*)(void *statement);
using TextFunction = const char *(*)(void *statement);

/// SQLite reads its schema by statements too, within others or without a text. It asks the
/// statement how the step went and not the step itself, so that these cannot be let fail.
bool isOfSqliteItself(void *statement)
{
    static const auto text = zel::test::sqliteFunction<TextFunction>("sqlite3_sql");
    return stepsAtWork > 0 || !text(statement);
}

} // namespace

namespace zel::test {

FailingStatement::FailingStatement(int number, Result result)
    : number(number)
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
    return stepsSeen > number;
}

int FailingStatement::seen() const
{
    return stepsSeen;
}

} // namespace zel::test

/// Stands before the function of SQLite's library, for the driver that is loaded later, too.
extern "C" __attribute__((visibility("default"))) int sqlite3_step(void *statement)
{
    static const auto step = zel::test::sqliteFunction<StepFunction>("sqlite3_step");
    if (!isOfSqliteItself(statement) && stepsSeen++ == failingNumber)
        return failingResult;
    ++stepsAtWork;
    const int result = step(statement);
    --stepsAtWork;
    return result;
}
