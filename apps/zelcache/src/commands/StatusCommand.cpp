#include "CacheReport.h"
#include "Command.h"
#include "Library.h"
#include "platform/FreeSpace.h"

#include <QDateTime>

namespace zel::cli {

namespace {

constexpr auto helpDetails
    = R"(Shows where the cache lies, how full it is, who uses it and what is being
fetched. Waits for nobody and changes nothing.

Examples:
  zelcache status
  zelcache --cache /data/cache status --json)";

std::optional<qint64> freeBytesAt(const QString &path)
{
    const Result<qint64> free = FreeSpace::availableBytes(path);
    return free.hasValue() ? std::optional<qint64>(free.value()) : std::nullopt;
}

StatusReport reportOf(const ResourceManagerSettings &settings,
                      const ResourceCacheReader::Snapshot &snapshot)
{
    StatusReport report;
    report.path = settings.cachePath;
    report.limits = settings.sizes;
    report.snapshot = snapshot;
    report.transfers = readTransfers(settings.cachePath);
    report.freeBytes = freeBytesAt(settings.cachePath.cacheDataDir());
    report.now = QDateTime::currentMSecsSinceEpoch();
    return report;
}

class StatusCommand : public Command
{
public:
    StatusCommand()
        : Command("status", "Show the state of the cache", helpDetails)
    {
    }

    ExitCode run(const Context &context) override;
};

ExitCode StatusCommand::run(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto snapshot = readCache(settings);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    const StatusReport report = reportOf(settings, snapshot.value());

    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        const QJsonObject status = statusJson(report);
        for (auto member = status.begin(); member != status.end(); ++member)
            answer.insert(member.key(), member.value());
        context.output.answer(answer);
        return ExitCode::Success;
    }
    for (const QString &line : statusLines(report))
        context.output.answer(line);
    return ExitCode::Success;
}

} // namespace

std::unique_ptr<Command> makeStatusCommand()
{
    return std::make_unique<StatusCommand>();
}

} // namespace zel::cli
