#pragma once

#include "Context.h"
#include "ReferenceHandlers.h"
#include "get/TransferReport.h"
#include "output/OverallProgress.h"
#include "platform/SignalWatch.h"

#include "ResourceHandler.h"
#include "output/TerminalPrompting.h"

#include <QDeadlineTimer>
#include <QJsonArray>

#include <memory>
#include <vector>

namespace zel::cli {

class TaskWait;

/// Brings resources here and, unless told otherwise, prints their paths, in the order of the
/// arguments and each as soon as all before it are settled. One that cannot be had does not keep
/// the others from being fetched. What is here stays in use as long as this object lives, and so
/// long no first signal ends the program. The manager's cache must be open. Main thread only.
///
/// To enter what is missing into a cache that is too full makes room in it at once, at the cost of
/// others. So it is entered only when nothing speaks against its fetch any more.
class GetRequests
{
public:
    struct Manner
    {
        /// Every byte of what is here already is read first, and what is not as it was fetched is a
        /// failure.
        bool verifies = false;
        bool printsPaths = true; ///< or the answer with JSON
        /// What cannot fit is not begun, and what has to go for the rest goes before.
        bool makesRoom = false;
    };

    GetRequests(const Context &context, const QStringList &arguments, const Manner &manner);
    ~GetRequests();
    GetRequests(const GetRequests &) = delete;
    GetRequests &operator=(const GetRequests &) = delete;

    ExitCode run();
    /// Of all that is here after run(), in the order of the arguments.
    QStringList paths() const { return pathsHere; }
    /// The number of the signal that came until now, else 0.
    int receivedSignal() { return signalWatch.receivedNow(); }

private:
    /// One resource to bring here.
    struct Fetch
    {
        QSharedPointer<ResourceHandler> source; ///< enters nothing
        QSharedPointer<ResourceHandler> handler; ///< keeps it in use; null until it is entered
        QString key;
        QString path;
        std::unique_ptr<Task> task; ///< null if there is nothing to do, or nothing can be done
        Error failure; ///< why there is no task
        bool isHere = false; ///< when it was first looked at; in use since then
        bool isRefused = false; ///< it is here, but not as it was fetched

        bool isSettled() const;
        Error error() const;
        Result<QString> outcome() const;
        Transfer transfer(const TransferReports &reports) const;
    };

    /// One argument. Several may mean the same resource.
    struct Request
    {
        QString reference; ///< as it is shown and answered
        Fetch *fetch = nullptr; ///< null if the reference is of no use
        Error failure;
    };

    using Handlers = QList<QSharedPointer<ResourceHandler>>;

    void addRequest(const QString &argument);
    Fetch *fetchOf(const QSharedPointer<ResourceHandler> &source);
    void enterWhatIsHere();
    void enterWhatIsMissing();
    void enter(Fetch &fetch);
    Handlers findMissing() const;
    bool confirm(const Handlers &missing);
    std::optional<ExitCode> agreeOnFetching();
    void verifyAll(TaskWait &wait);
    void verify(Fetch &fetch, TaskWait &wait);
    void startAll(TaskWait &wait);
    void start(Fetch &fetch);

    void onTick();
    void answerSettled();
    void answer(const Request &request);
    TransferReports reports() const;
    void showProgress();
    ExitCode finish(int signalNumber);

    Context context;
    SignalWatch signalWatch; ///< outlives what is in use
    const Manner manner;
    TerminalPrompting prompting;
    SourceHandlers sources; ///< outlives those that it has made
    std::vector<Request> requests;
    std::vector<std::unique_ptr<Fetch>> fetches;
    QHash<QString, Fetch *> fetchByKey;
    std::size_t answeredCount = 0;
    QDeadlineTimer drawPause; ///< over at first
    QJsonArray results;
    QStringList pathsHere;
    QList<Error> failures;
};

} // namespace zel::cli
