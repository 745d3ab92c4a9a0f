#include "cache/CacheWork.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "Task.h"
#include "TaskWait.h"
#include "errors/Propagate.h"
#include "output/Format.h"
#include "output/Output.h"

#include <QElapsedTimer>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What is shown while the work lasts.
class Notice
{
public:
    Notice(const UncutWork &work, Output &output)
        : work(work)
        , output(output)
    {
        output.note(work.label + u'.');
        time.start();
    }

    void show(int signalNumber)
    {
        if (signalNumber != 0 && !signalIsAnswered) {
            output.warning(work.warning);
            signalIsAnswered = true;
        }
        const std::chrono::seconds passed(time.elapsed() / 1000);
        ProgressState state;
        state.label = u"%1 %2"_s.arg(work.label, durationText(passed));
        output.showProgress(state);
    }

private:
    const UncutWork &work;
    Output &output;
    QElapsedTimer time;
    bool signalIsAnswered = false;
};

} // namespace

int runHoldingCache(Task *task, Output &output, const std::function<void(int)> &onTick)
{
    ResourceCache *cache = ResourceManager::cache();
    TaskWait wait;
    wait.add(task);
    // A ping would wait on this thread for the lock that the worker has. Nobody else gets the lock
    // to take this process for dead.
    cache->setPingEnabled(false);
    task->exec();
    const int signalNumber = wait.run([&] { onTick(wait.receivedSignal()); });
    cache->setPingEnabled(true);
    output.clearProgress();
    return signalNumber;
}

Error goThroughWith(const UncutWork &work, Output &output)
{
    Notice notice(work, output);
    Task task;
    task.setFunction(work.function, Task::ExecutionMode::Asynchronous);
    runHoldingCache(&task, output, [&notice](int signalNumber) { notice.show(signalNumber); });
    return ZEL_PASS(task.error());
}

} // namespace zel::cli
