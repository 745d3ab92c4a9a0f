#include "Command.h"
#include "CommandOptions.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "reports/CacheReport.h"
#include "reports/ListSelection.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto helpDetails
    = R"(Lists the resources that the cache knows. Waits for nobody: it works while other
programs use the cache, and changes nothing.

Orders: size (biggest first), age (fetched or changed longest ago first), name (by reference).
"zelcache formats" names the formats; the name of the local copy tells them here.

Examples:
  zelcache list
  zelcache list --sort size --status ready
  zelcache list --sort age --format mzml
  zelcache list --prefix https://data.example.org/runs/
  zelcache list -0 --references --status ready | xargs -0 -n1 zelcache path
  zelcache list --json | jq '.resources[] | select(.status == "Ready")')";

class ListCommand : public Command
{
public:
    ListCommand()
        : Command("list", "List what the cache knows", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addText(app, "--sort", "ORDER", "Sort by size, age or name", order);
        options::addText(app, "--status", "STATUS", "Only what has this status, such as Ready",
                         status);
        options::addText(app, "--format", "FORMAT", "Only what has this data format by name",
                         format);
        options::addValue(app, "--prefix", "TEXT", "Only references that begin like this", prefix);
        options::addSwitch(app, "--references", "Print nothing but references", referencesOnly);
    }

    ExitCode run(const Context &context) override;

private:
    ResourceCacheReader::Details neededDetails(const Context &context) const;

    QString order; ///< as given, as the next two; empty for none
    QString status;
    QString format;
    std::optional<QString> prefix; ///< as given; an empty one is that of all
    bool referencesOnly = false;
};

ResourceCacheReader::Details ListCommand::neededDetails(const Context &context) const
{
    using Reader = ResourceCacheReader;
    if (context.options.json)
        return Reader::Path | Reader::Policy | Reader::Version;
    return format.isEmpty() ? Reader::NoDetail : Reader::Path;
}

ExitCode ListCommand::run(const Context &context)
{
    auto selection = ListSelection::fromTexts(order, status, format);
    if (!selection.hasValue())
        return context.fail(selection.error());
    selection.value().prefix = prefix.value_or(QString());
    auto snapshot = readCache(settingsOf(context.options), neededDetails(context));
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    snapshot.value().resources = selection.value().applied(std::move(snapshot.value().resources));
    const qsizetype count = snapshot.value().resources.size();
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"resources"_s, QJsonArray());
        context.output.answer(answer, { { u"resources"_s, count, listJson(snapshot.value()) } });
        return ExitCode::Success;
    }
    context.output.answerLines(
        count, referencesOnly ? referenceLines(snapshot.value()) : listLines(snapshot.value()));
    return ExitCode::Success;
}

} // namespace

std::unique_ptr<Command> makeListCommand()
{
    return std::make_unique<ListCommand>();
}

} // namespace zel::cli
