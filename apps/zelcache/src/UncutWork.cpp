#include "UncutWork.h"

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

Result<int> goThroughWith(const UncutWork &work, Output &output)
{
    ResourceCache *cache = ResourceManager::cache();
    Notice notice(work, output);
    TaskWait wait;
    Task task;
    task.setFunction(work.function, Task::ExecutionMode::Asynchronous);
    wait.add(&task);
    // A ping would wait on this thread for the lock that the worker has. Nobody else gets the lock
    // to take this process for dead.
    cache->setPingEnabled(false);
    task.exec();
    const int signalNumber = wait.run([&notice, &wait] { notice.show(wait.receivedSignal()); });
    cache->setPingEnabled(true);
    output.clearProgress();
    if (task.error().hasError())
        return ZEL_PASS(task.error());
    return signalNumber;
}

} // namespace zel::cli
