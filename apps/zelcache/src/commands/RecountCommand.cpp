#include "Command.h"
#include "CommandOptions.h"
#include "ResourceCache.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "cache/CacheWork.h"
#include "errors/Propagate.h"
#include "files/FileUtils.h"
#include "output/Text.h"
#include "platform/SignalWatch.h"
#include "reports/RecountReport.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RecountCommand)
};

constexpr auto helpDetails
    = R"(Counts on the disk how large cached data is, files beside it included, and tells what
changed. Without a reference all of the cache is counted: all other programs wait for
their turn meanwhile, and it cannot be cut short.

Examples:
  zelcache recount
  zelcache recount https://data.example.org/runs/run1.raw)";

using Snapshot = ResourceCacheReader::Snapshot;

ExitCode codeOf(const RecountReport &report, int signalNumber)
{
    if (signalNumber != 0)
        return exitCodeOfSignal(signalNumber);
    QList<Error> failures;
    bool allHere = report.gone.isEmpty();
    for (const RecountResult &result : report.results) {
        allHere = allHere && !result.isNotHere;
        if (result.failure.hasError() && !result.isNotHere)
            failures.append(result.failure);
    }
    if (!failures.isEmpty())
        return exitCodeOf(failures);
    return allHere ? ExitCode::Success : ExitCode::AnswerIsNo;
}

void write(const Context &context, const RecountReport &report)
{
    for (const RecountResult &result : report.results) {
        if (result.failure.hasError())
            context.output.error(result.reference + u": "_s + result.failure.errorMessage());
    }
    for (const QString &reference : report.gone)
        context.output.warning(reference + u": "_s + Texts::tr("its data is gone from the cache."));
    if (!context.options.json) {
        for (const QString &line : recountLines(report))
            context.output.answer(line);
        return;
    }
    context.output.answer(context.answerWith(recountJson(report)));
}

qsizetype readyCount(const Snapshot &snapshot)
{
    return std::count_if(
        snapshot.resources.begin(), snapshot.resources.end(),
        [](const auto &resource) { return resource.status == ResourceStatus::Ready; });
}

Error countAll(Output &output, qsizetype count)
{
    UncutWork work;
    work.function = [] {
        return ResourceManager::cache()->updateFileSizes();
    };
    work.label = count == 1 ? Texts::tr("Counting 1 resource")
                            : Texts::tr("Counting %n resources", nullptr, int(count));
    work.warning = Texts::tr("The count cannot be cut short: the program ends when it is done. "
                             "Another signal ends it at once.");
    return ZEL_PASS(goThroughWith(work, output));
}

/// What is ready by its row, though nothing lies at its place. All that has a size has data.
QStringList withoutData(const Snapshot &counted)
{
    QStringList references;
    for (const ResourceCacheReader::Resource &resource : counted.resources) {
        if (resource.status == ResourceStatus::Ready && resource.size == 0
            && !QFileInfo::exists(resource.path))
            references.append(resource.reference);
    }
    return references;
}

ExitCode recountAll(const Context &context, const Snapshot &before)
{
    SignalWatch signalWatch([](int) {});
    const Error failure = countAll(context.output, readyCount(before));
    if (failure.hasError())
        return context.fail(failure);
    const auto after = readCache(settingsOf(context.options), ResourceCacheReader::Path);
    if (!after.hasValue())
        return context.fail(after.error());
    RecountReport report = recountReport(before, after.value());
    report.gone = withoutData(after.value());
    write(context, report);
    return codeOf(report, signalWatch.receivedNow());
}

/// Sets the result's failure: there is nothing to count.
void setNotHere(RecountResult &result, const QString &why)
{
    result.isNotHere = true;
    result.failure = Error(int(ExitCode::AnswerIsNo), why);
}

/// Why the data of a resource that is ready by its row cannot be counted; empty if it can.
QString absenceOf(const ResourceCacheReader::Resource &row)
{
    if (!QFileInfo::exists(row.path))
        return Texts::tr("its data is gone from the cache.");
    if (!FileUtils::isSubPath(row.path, ResourceManager::cachePath().cacheDataDir()))
        return Texts::tr("its data lies outside of the cache.");
    return {};
}

/// Without a handler, which would use the resource: with its last use data may go.
RecountResult recounted(const QString &argument, const Snapshot &before)
{
    RecountResult result;
    result.reference = withoutSecrets(argument);
    const auto reference = ResourceReference::fromString(argument);
    if (!reference.hasValue()) {
        result.failure = reference.error();
        return result;
    }
    result.reference = reference.value()->referenceText(false);
    const auto row = resourceOf(before, result.reference);
    if (!row || row->status != ResourceStatus::Ready) {
        setNotHere(result, Texts::tr("it is not in the cache."));
        return result;
    }
    result.before = row->size;
    if (const QString absence = absenceOf(*row); !absence.isEmpty())
        setNotHere(result, absence);
    else
        result.failure = ResourceManager::cache()->updateFileSize(row->reference);
    return result;
}

RecountResult canceled(const QString &argument)
{
    RecountResult result;
    result.reference = withoutSecrets(argument);
    result.failure = Error(ErrorCode::Canceled, Texts::tr("canceled"));
    return result;
}

ExitCode recountEach(const Context &context, const QStringList &references, const Snapshot &before)
{
    const SignalWatch signalWatch([](int) {});
    RecountReport report;
    for (const QString &argument : references) {
        QCoreApplication::processEvents();
        context.output.note(Texts::tr("Counting %1").arg(withoutSecrets(argument)));
        report.results.append(signalWatch.received() == 0 ? recounted(argument, before)
                                                          : canceled(argument));
    }
    const auto after = readCacheFor(references, settingsOf(context.options));
    if (!after.hasValue())
        return context.fail(after.error());
    report.totalBefore = before.currentSize;
    report.totalAfter = after.value().currentSize;
    const QHash<QString, qint64> sizesAfter = readySizes(after.value());
    for (RecountResult &result : report.results)
        result.after = sizesAfter.value(result.reference, result.before);
    write(context, report);
    return codeOf(report, signalWatch.received());
}

class RecountCommand : public Command
{
public:
    RecountCommand()
        : Command("recount", "Count sizes anew", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addReferences(app, references, false); }

    ExitCode run(const Context &context) override;

private:
    QStringList references;
};

ExitCode RecountCommand::run(const Context &context)
{
    if (const auto code = openExistingCache(context))
        return *code;
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto before = references.isEmpty() ? readCache(settings, ResourceCacheReader::Path)
                                             : readCacheFor(references, settings);
    if (!before.hasValue())
        return context.fail(ExitCode::CacheUnavailable, before.error().errorMessage());
    return references.isEmpty() ? recountAll(context, before.value())
                                : recountEach(context, references, before.value());
}

} // namespace

std::unique_ptr<Command> makeRecountCommand()
{
    return std::make_unique<RecountCommand>();
}

} // namespace zel::cli
