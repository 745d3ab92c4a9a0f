#include "Command.h"
#include "CommandOptions.h"
#include "ReferenceHandlers.h"
#include "RemoteResourceHandler.h"
#include "ResourceManager.h"
#include "files/WholeCopy.h"
#include "platform/SignalWatch.h"
#include "removal/EnteringDanger.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <functional>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::AddCommand)
};

constexpr auto helpDetails
    = R"(Copies a local file or folder into the cache as the resource of that reference
and prints where it lies now.

Examples:
  zelcache add https://data.example.org/runs/run1.raw ./run1.raw)";

/// Shows how far the copy is, and ends it once a signal has come.
std::function<bool(qint64)> shownProgress(const QFileInfo &source, SignalWatch &signalWatch,
                                          const Context &context)
{
    ProgressState state;
    state.label = Texts::tr("Copying %1").arg(source.fileName());
    if (source.isFile())
        state.totalBytes = source.size();
    return [&signalWatch, &context, state](qint64 copiedBytes) mutable {
        // While bytes come the ping goes on, without which others take this program for dead.
        QCoreApplication::processEvents();
        state.receivedBytes = copiedBytes;
        if (state.totalBytes.value_or(0) > 0)
            state.fraction = double(copiedBytes) / double(*state.totalBytes);
        context.output.showProgress(state);
        return signalWatch.receivedNow() == 0;
    };
}

/// Copies the source to where the resource of the handler belongs, unless a signal comes first.
Error addTo(const QSharedPointer<ResourceHandler> &handler, const QString &source,
            SignalWatch &signalWatch, const Context &context)
{
    const QString name = handler->reference()->referenceText(true);
    const auto remote = handler.dynamicCast<RemoteResourceHandler>();
    if (!remote)
        return ZEL_ERROR(ErrorCode::FeatureLacking,
                         Texts::tr("%1 is never kept in the cache.").arg(name));
    if (handler->isAvailableLocally())
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         Texts::tr("%1 is in the cache already.").arg(name));

    // Making a retrieval clears away what an interrupted copy may have left. It is never started.
    const auto unused = ResourceManager::retrieveAsync(handler, ResourceHandler::Manual);
    if (!unused.hasValue())
        return ZEL_PASS(unused.error());
    ZEL_TRY_LET(const auto target, handler->expectedPath());
    const QFileInfo original(QDir::cleanPath(QFileInfo(source).absoluteFilePath()));
    return ZEL_PASS(remote->addToCache([&]() -> Error {
        const Error outcome = ZEL_PASS(WholeCopy::copy(
            original.filePath(), target, shownProgress(original, signalWatch, context)));
        context.output.clearProgress();
        for (const QString &warning : outcome.warnings())
            context.output.warning(warning);
        return outcome;
    }));
}

class AddCommand : public Command
{
public:
    AddCommand()
        : Command("add", "Put a local copy into the cache", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReference(app, reference);
        options::addArgument(app, "SOURCE", "The file or folder to copy", source);
    }

    std::optional<QString> check() override
    {
        return source.isEmpty() ? std::optional(u"SOURCE must not be empty"_s) : std::nullopt;
    }

    ExitCode run(const Context &context) override;

private:
    QString reference;
    QString source; ///< the file or folder to copy
};

ExitCode AddCommand::run(const Context &context)
{
    if (const auto code = openCacheToEnter(context, { reference }))
        return *code;
    SignalWatch signalWatch([](int) {});
    // Asked first: a handler enters its resource into the cache.
    if (!QFileInfo::exists(source))
        return context.fail(ExitCode::Failed, Texts::tr("\"%1\" does not exist.").arg(source));
    const auto handler = handlerOf(reference);
    if (!handler.hasValue())
        return context.failOn(reference, handler.error());
    const Error failure = addTo(handler.value(), source, signalWatch, context);
    if (failure.hasError())
        return signalWatch.received() != 0 ? context.cancel(signalWatch.received())
                                           : context.fail(failure);
    const auto path = handler.value()->expectedPath();
    if (!path.hasValue())
        return context.fail(path.error());

    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"reference"_s, handler.value()->reference()->referenceText(false));
        answer.insert(u"path"_s, path.value().toString());
        context.output.answer(answer);
    } else {
        context.output.answer(path.value().toString());
    }
    return exitCodeAfter(signalWatch.receivedNow(), ExitCode::Success);
}

} // namespace

std::unique_ptr<Command> makeAddCommand()
{
    return std::make_unique<AddCommand>();
}

} // namespace zel::cli
