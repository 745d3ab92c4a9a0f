#include "plan/SourceSizes.h"

#include "ResourceManager.h"
#include "SchemeMetadata.h"
#include "TaskWait.h"
#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <memory>
#include <utility>
#include <vector>

namespace zel::cli {

using namespace std::chrono_literals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::SourceSizes)
};

/// Most sources answer sooner, and a bar that comes and goes at once is a flicker.
constexpr auto silentAtFirst = 300ms;
/// Sources that answer at once would have it drawn as often as there are sources.
constexpr auto drawInterval = 150ms;

using AskTask = Result<std::unique_ptr<Task>>;

Result<qint64> answerOf(const AskTask &task)
{
    if (!task.hasValue())
        return ZEL_PASS(task.error());
    ZEL_TRY_LET(const auto metadata, task.value()->result<QSharedPointer<ResourceMetadata>>());
    const auto known = metadata.dynamicCast<SchemeMetadata>();
    if (!known || !known->size() || *known->size() < 0)
        return ZEL_ERROR(ErrorCode::OperationFailed, Texts::tr("Its source tells no size."));
    return *known->size();
}

FitPlan::Missing missingOf(const ResourceHandler &handler, const AskTask &task)
{
    FitPlan::Missing missing;
    missing.reference = handler.reference()->referenceText(false);
    const auto size = answerOf(task);
    if (size.hasValue())
        missing.size = size.value();
    else if (size.error().errorCode() == ErrorCode::Canceled)
        missing.reason = Texts::tr("Its source has not answered in time.");
    else
        missing.reason = size.error().errorMessage();
    return missing;
}

void showAnswered(Output &output, int count, int overall)
{
    ProgressState state;
    state.label = Texts::tr("Asking for sizes");
    state.fraction = overall > 0 ? double(count) / overall : 0;
    state.finishedCount = count;
    state.overallCount = overall;
    output.showProgress(state);
}

} // namespace

SourceSizes askForSizes(const QList<QSharedPointer<ResourceHandler>> &handlers, Output &output,
                        std::optional<std::chrono::milliseconds> patience)
{
    TaskWait wait;
    // Shared with the tasks, so that it does not matter which of them ends last.
    const auto silence = std::make_shared<QElapsedTimer>();
    silence->start();
    std::vector<AskTask> tasks;
    for (const auto &handler : handlers) {
        tasks.push_back(ResourceManager::retrieveMetadataAsync(handler, ResourceHandler::Queued));
        if (!tasks.back().hasValue())
            continue;
        Task *task = tasks.back().value().get();
        wait.add(task);
        QObject::connect(task, &Task::finished, task, [silence] { silence->restart(); });
    }
    SourceSizes sizes;
    QDeadlineTimer drawPause(silentAtFirst);
    sizes.signalNumber = wait.run([&] {
        if (drawPause.hasExpired()) {
            drawPause.setRemainingTime(drawInterval);
            showAnswered(output, wait.endedCount(), wait.count());
        }
        if (patience && silence->hasExpired(patience->count()))
            wait.cancelAll();
    });
    output.clearProgress();
    for (qsizetype i = 0; i < handlers.size(); ++i)
        sizes.missing.append(missingOf(*handlers.at(i), tasks.at(std::size_t(i))));
    return sizes;
}

void askWhatIsNowhere(const QList<QSharedPointer<ResourceHandler>> &handlers, SourceSizes &sizes)
{
    TaskWait wait;
    std::vector<std::pair<qsizetype, AskTask>> asked;
    for (qsizetype i = 0; i < handlers.size(); ++i) {
        if (sizes.missing.at(i).size)
            continue;
        auto task = ResourceManager::existsAsync(handlers.at(i), ResourceHandler::Queued);
        if (!task.hasValue())
            continue;
        wait.add(task.value().get());
        asked.emplace_back(i, std::move(task));
    }
    sizes.signalNumber = wait.run([] {});
    for (const auto &[index, task] : asked) {
        const auto answer = task.value()->result<bool>();
        sizes.missing[index].isNowhere = answer.hasValue() && !answer.value();
    }
}

} // namespace zel::cli
