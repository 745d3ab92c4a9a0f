#include "Command.h"
#include "CommandOptions.h"
#include "ResourceLookup.h"
#include "SchemesRegistration.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "holders/Holders.h"

#include <QCoreApplication>
#include <QDateTime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::WhoCommand)
};

constexpr auto helpDetails
    = R"(Prints who fetches a resource, who waits for that, and who uses it: a line for
each program, with what became of it, or one that says that it is nobody. The
usage of one that has been silent for 30 seconds holds nothing any more. Waits for
nobody and changes nothing. The exit code is 3 for a resource that the cache does
not know.

Examples:
  zelcache who https://data.example.org/runs/run1.raw
  zelcache who --json share:/mnt/lab/run1.d | jq '.holders[].process')";

class WhoCommand : public Command
{
public:
    WhoCommand()
        : Command("who", "Tell who uses, fetches or waits for a resource", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addReference(app, reference); }

    ExitCode run(const Context &context) override;

private:
    QString reference;
};

void answer(const Context &context, const QString &key, const QList<Holder> &holders, qint64 now)
{
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"reference"_s, key);
        answer.insert(u"holders"_s, holdersJson(holders));
        context.output.answer(answer);
        return;
    }
    for (const QString &line : holderLines(holders, now))
        context.output.answer(line);
    if (holders.isEmpty())
        context.output.answer(Texts::tr("Nobody uses it, fetches it or waits for it."));
}

ExitCode WhoCommand::run(const Context &context)
{
    registerResourceSchemes();
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto snapshot = readCacheFor({ reference }, settings);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    const auto key = keyOf(snapshot.value(), reference);
    if (!key.hasValue())
        return context.failOn(reference, key.error());
    if (!resourceOf(snapshot.value(), key.value()))
        return context.fail(ExitCode::AnswerIsNo,
                            key.value() + u": "_s + Texts::tr("The cache does not know it."));
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const ProcessLookup look = processesOf(settings.cachePath.databasePath());
    answer(context, key.value(), holdersOf(snapshot.value(), key.value(), now, look), now);
    return ExitCode::Success;
}

} // namespace

std::unique_ptr<Command> makeWhoCommand()
{
    return std::make_unique<WhoCommand>();
}

} // namespace zel::cli
