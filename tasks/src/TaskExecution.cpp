#include "TaskExecution_p.h"

#include "TaskState_p.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace zel {

namespace {

thread_local TaskExecution *innermost = nullptr;

} // namespace

void makeEventDispatcher()
{
    if (QCoreApplication::instance())
        const QEventLoop maker;
}

TaskExecution::TaskExecution(std::shared_ptr<TaskState> taskState)
    : state(std::move(taskState))
    , outer(innermost)
{
    innermost = this;
}

TaskExecution::~TaskExecution()
{
    innermost = outer;
    if (state)
        state->lendPlaceIfAwaiting();
}

std::shared_ptr<TaskState> TaskExecution::current()
{
    return innermost ? innermost->state : nullptr;
}

PlaceLoan::PlaceLoan()
    : state(TaskExecution::current())
{
    if (state)
        state->lendPlace();
}

PlaceLoan::~PlaceLoan()
{
    if (state)
        state->takePlaceBack();
}

} // namespace zel
