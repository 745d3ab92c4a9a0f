#include "get/GetRequests.h"

#include "ReferenceHandlers.h"
#include "ResourceManager.h"
#include "TaskWait.h"
#include "files/FileUtils.h"
#include "output/Text.h"
#include "plan/FetchPlanning.h"
#include "platform/AccessReason.h"
#include "verify/VerifyReport.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::GetRequests)
};

Error refusalOf(const VerifyResult &result)
{
    if (result.verdict == Verdict::NotReached)
        return Error(ErrorCode::Canceled, Texts::tr("canceled"));
    const QString text = Texts::tr("The copy in the cache is not what was fetched. %1 "
                                   "\"zelcache remove %2\" lets it be fetched anew.");
    const QString reason
        = isViolation(result.verdict) ? worstSentence(result) : Texts::tr("It cannot be read.");
    return Error(int(ExitCode::IntegrityViolated), text.arg(reason, result.reference));
}

using Snapshot = ResourceCacheReader::Snapshot;

/// To draw is to read what all fetches tell. Ticks come at each end of one, too.
constexpr auto drawInterval = 150ms;

/// A fetch that was canceled ends without a word.
Error worded(const Error &failure)
{
    const bool isMute
        = failure.errorCode() == ErrorCode::Canceled && failure.errorMessage().isEmpty();
    return isMute ? Error(ErrorCode::Canceled, Texts::tr("canceled")) : failure;
}

/// What only the system knows of a resource whose fetch could not even begin.
QString whyNotBegun(const QString &path)
{
    const bool isCached = FileUtils::isSubPath(path, ResourceManager::cachePath().cacheDataDir());
    // What is not fetched is used where it lies.
    return isCached ? whyUnwritable(QFileInfo(path).path()) : whyUnreadable(path);
}

} // namespace

bool GetRequests::Fetch::isSettled() const
{
    return !task || task->isFinished();
}

Error GetRequests::Fetch::error() const
{
    return task ? worded(task->error()) : failure;
}

/// The path, if something is really there: a success alone is no proof.
Result<QString> GetRequests::Fetch::outcome() const
{
    if (isRefused)
        return ZEL_PASS(failure);
    if (handler && handler->isAvailableLocally())
        return path;
    const Error reason = error();
    if (reason.hasError())
        return ZEL_PASS(reason);
    return ZEL_ERROR(ErrorCode::OperationFailed, Texts::tr("The data is gone again."));
}

Transfer GetRequests::Fetch::transfer(const TransferReports &reports) const
{
    Transfer transfer;
    transfer.label = QFileInfo(path).fileName();
    transfer.settled = isSettled();
    transfer.started = task && task->isRunning();
    if (!transfer.started)
        return transfer;
    if (task->progressMaximum() > 0)
        transfer.fraction = double(task->progressValue()) / task->progressMaximum();
    const TransferReport report = reports.value(key);
    transfer.receivedBytes = report.receivedBytes;
    transfer.totalBytes = report.totalBytes;
    transfer.bytesPerSecond = report.bytesPerSecond;
    if (report.processId != QCoreApplication::applicationPid())
        transfer.fetchingProcess = report.processId;
    return transfer;
}

GetRequests::GetRequests(const Context &context, const QStringList &arguments, const Manner &manner)
    : context(context)
    , signalWatch([](int) {})
    , manner(manner)
    , prompting(&this->context.output, context.options.yes)
{
    for (const QString &argument : arguments) {
        if (receivedSignal() != 0)
            break; // run() ends at once
        addRequest(argument);
    }
}

GetRequests::~GetRequests() = default;

ExitCode GetRequests::run()
{
    if (const int signalNumber = receivedSignal())
        return context.cancel(signalNumber);
    enterWhatIsHere();
    if (const auto code = agreeOnFetching())
        return *code;
    TaskWait wait;
    if (manner.verifies)
        verifyAll(wait);
    startAll(wait);
    const int signalNumber = wait.run([this, &wait] {
        onTick();
        if (!context.output.isAnswerWanted())
            wait.cancelAll();
    });
    return finish(signalNumber);
}

/// Enters what is missing, unless it is not to be fetched. Gives the code to end with at once.
std::optional<ExitCode> GetRequests::agreeOnFetching()
{
    const Handlers missing = findMissing();
    const bool isConfirmed = confirm(missing);
    if (const int signalNumber = receivedSignal())
        return context.cancel(signalNumber);
    if (!isConfirmed)
        return {};
    if (manner.makesRoom && !missing.isEmpty()) {
        if (const auto code = makeRoomFor(context, missing))
            return code;
    }
    enterWhatIsMissing();
    const int signalNumber = receivedSignal();
    return signalNumber != 0 ? std::optional(context.cancel(signalNumber)) : std::nullopt;
}

void GetRequests::addRequest(const QString &argument)
{
    Request request;
    request.reference = withoutSecrets(argument);
    const auto source = sources.handlerOf(argument);
    if (source.hasValue()) {
        request.reference = source.value()->reference()->referenceText(false);
        request.fetch = fetchOf(source.value());
    } else {
        request.failure = source.error();
    }
    requests.push_back(request);
}

GetRequests::Fetch *GetRequests::fetchOf(const QSharedPointer<ResourceHandler> &source)
{
    const QString key = source->reference()->referenceText(false);
    Fetch *&known = fetchByKey[key];
    if (!known) {
        fetches.push_back(std::make_unique<Fetch>());
        known = fetches.back().get();
        known->source = source;
        known->key = key;
        // Until it is entered.
        known->failure = Error(ErrorCode::Canceled, Texts::tr("The fetch was refused."));
    }
    return known;
}

/// In use from now on, so that no purge takes it. Of a cache that cannot be read nothing is known
/// to be here.
void GetRequests::enterWhatIsHere()
{
    const ResourceCacheReader reader(ResourceManager::cachePath().databasePath());
    const auto rows = reader.readRowsOf(fetchByKey.keys());
    const QSet<QString> here = keysOfWhatIsHere(rows.hasValue() ? rows.value() : Snapshot());
    for (const auto &fetch : fetches) {
        if (here.contains(fetch->key) || !takesRoom(*fetch->source))
            enter(*fetch);
    }
}

void GetRequests::enterWhatIsMissing()
{
    for (const auto &fetch : fetches) {
        if (!fetch->handler)
            enter(*fetch);
    }
}

void GetRequests::enter(Fetch &fetch)
{
    if (receivedSignal() != 0)
        return; // run() ends at once
    const auto handler = ResourceManager::getHandler(fetch.source->reference());
    if (!handler.hasValue()) {
        fetch.failure = handler.error();
        return;
    }
    fetch.failure = Error();
    fetch.handler = handler.value();
    fetch.isHere = fetch.handler->isAvailableLocally();
}

GetRequests::Handlers GetRequests::findMissing() const
{
    Handlers missing;
    for (const auto &fetch : fetches) {
        if (!fetch->isHere)
            missing.append(fetch->source);
    }
    return missing;
}

/// Asks once for everything that is missing; each retrieval then has its answer already. False if
/// nothing may be fetched.
bool GetRequests::confirm(const Handlers &missing)
{
    if (!context.options.prompt)
        return true;
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    QList<QSharedPointer<ResourceReference>> references;
    for (const auto &handler : missing)
        references.append(handler->reference());
    // The answer is kept, whatever it is.
    return references.isEmpty() || prompting.confirmRetrieve(references);
}

/// Before anything is fetched: what is read then is what other programs have been working with.
void GetRequests::verifyAll(TaskWait &wait)
{
    const QString dataDir = ResourceManager::cachePath().cacheDataDir();
    for (const auto &fetch : fetches) {
        if (!fetch->isHere)
            continue;
        const auto path = fetch->handler->expectedPath();
        // What is used where it lies is nobody's copy.
        if (!path.hasValue() || !FileUtils::isSubPath(path.value().toString(), dataDir))
            continue;
        fetch->path = path.value();
        verify(*fetch, wait);
    }
    context.output.clearProgress();
}

void GetRequests::verify(Fetch &fetch, TaskWait &wait)
{
    const QString dataDir = ResourceManager::cachePath().cacheDataDir();
    ResourceVerification verification(fetch.key, fetch.path, ManifestStore::forCache(dataDir));
    verification.compare();
    ProgressState state;
    state.label = Texts::tr("Verifying %1").arg(QFileInfo(fetch.path).fileName());
    state.totalBytes = verification.bytesToRead(false);
    qint64 readBytes = 0;
    verification.read(false, [&](qint64 bytes) {
        QCoreApplication::processEvents(); // lets a signal come in
        readBytes += bytes;
        state.receivedBytes = readBytes;
        state.fraction = double(readBytes) / double(*state.totalBytes);
        context.output.showProgress(state);
        return wait.receivedSignal() == 0;
    });
    VerifyResult result;
    result.reference = fetch.key;
    result.take(verification);
    const bool isUnknown
        = result.verdict == Verdict::NoManifest || result.verdict == Verdict::BadManifest;
    fetch.isRefused = result.verdict != Verdict::Intact && !isUnknown;
    if (isUnknown)
        context.output.warning(
            Texts::tr("%1: It cannot be verified. %2").arg(fetch.key, result.notes.value(0)));
    else if (fetch.isRefused)
        fetch.failure = refusalOf(result);
}

void GetRequests::startAll(TaskWait &wait)
{
    for (const auto &fetch : fetches) {
        if (fetch->handler && !fetch->isRefused)
            start(*fetch);
        if (!fetch->task)
            continue;
        Output *output = &context.output;
        // A task may have begun, and told so, already.
        output->note(fetch->task->progressText());
        QObject::connect(fetch->task.get(), &Task::progressTextChanged, qApp,
                         [output](const QString &text) { output->note(text); });
        wait.add(fetch->task.get());
    }
}

void GetRequests::start(Fetch &fetch)
{
    const auto path = fetch.handler->expectedPath();
    if (!path.hasValue()) {
        fetch.failure = path.error();
        return;
    }
    fetch.path = path.value();
    if (fetch.isHere)
        return;
    auto task = ResourceManager::retrieveAsync(fetch.handler, ResourceHandler::Queued, &prompting);
    if (task.hasValue())
        fetch.task = std::move(task).value();
    else
        fetch.failure = withReason(task.error(), whyNotBegun(fetch.path));
}

void GetRequests::onTick()
{
    answerSettled();
    showProgress();
}

void GetRequests::answerSettled()
{
    while (answeredCount < requests.size()) {
        const Request &request = requests.at(answeredCount);
        if (request.fetch && !request.fetch->isSettled())
            return;
        answer(request);
        ++answeredCount;
    }
}

void GetRequests::answer(const Request &request)
{
    const auto path = request.fetch ? request.fetch->outcome() : Result<QString>(request.failure);
    if (!path.hasValue()) {
        failures.append(path.error());
        results.append(json::entry(request.reference, path.error()));
        if (context.output.isAnswerWanted())
            context.output.error(request.reference + u": "_s + path.error().errorMessage());
        return;
    }
    const Error outcome = request.fetch->error();
    for (const QString &warning : outcome.warnings())
        context.output.warning(request.reference + u": "_s + warning);
    results.append(json::entry(request.reference, path.value()));
    pathsHere.append(path.value());
    if (!context.options.json && manner.printsPaths)
        context.output.answer(path.value());
}

TransferReports GetRequests::reports() const
{
    TransferReports reports = readTransfers(ResourceManager::cachePath());
    const bool allTold = std::all_of(fetches.begin(), fetches.end(), [&reports](const auto &fetch) {
        return fetch->isSettled() || reports.contains(fetch->key);
    });
    if (allTold)
        return reports;
    QStringList keys;
    for (const auto &fetch : fetches) {
        if (!fetch->isSettled())
            keys.append(fetch->key);
    }
    const ResourceCacheReader reader(ResourceManager::cachePath().databasePath());
    if (const auto snapshot = reader.readRowsOf(keys); snapshot.hasValue())
        addFetchers(reports, snapshot.value());
    return reports;
}

void GetRequests::showProgress()
{
    if (!context.output.drawsProgress() || answeredCount == requests.size()
        || !drawPause.hasExpired())
        return;
    drawPause.setRemainingTime(drawInterval);
    const TransferReports told = reports();
    QList<Transfer> transfers;
    for (const auto &fetch : fetches)
        transfers.append(fetch->transfer(told));
    context.output.showProgress(overallProgress(transfers));
}

ExitCode GetRequests::finish(int signalNumber)
{
    answerSettled();
    context.output.clearProgress();
    if (context.options.json && manner.printsPaths) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"results"_s, results);
        context.output.answer(answer);
    }
    return signalNumber != 0 ? exitCodeOfSignal(signalNumber) : exitCodeOf(failures);
}

} // namespace zel::cli
