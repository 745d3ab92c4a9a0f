#include "Command.h"
#include "CommandOptions.h"
#include "ReferenceHandlers.h"
#include "platform/SignalWatch.h"
#include "removal/EnteringDanger.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::PathCommand)
};

constexpr auto helpDetails
    = R"(Prints where the resource lies or would lie, without fetching it. The exit code
is 3 if it is not there yet.

Examples:
  zelcache path https://data.example.org/runs/run1.raw)";

class PathCommand : public Command
{
public:
    PathCommand()
        : Command("path", "Print the local path of a resource", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addReference(app, reference); }

    ExitCode run(const Context &context) override;

private:
    QString reference;
};

void tell(const LocalPlace &place, const Context &context)
{
    if (!context.options.json) {
        context.output.answer(place.path);
        return;
    }
    QJsonObject answer = context.emptyAnswer();
    answer.insert(u"reference"_s, place.reference());
    answer.insert(u"path"_s, place.path);
    answer.insert(u"available"_s, place.isAvailable);
    context.output.answer(answer);
}

ExitCode PathCommand::run(const Context &context)
{
    if (const auto code = openCacheToEnter(context, { reference }))
        return *code;
    SignalWatch signalWatch([](int) {});
    const auto place = localPlaceOf(reference);
    if (!place.hasValue())
        return context.failOn(reference, place.error());

    tell(place.value(), context);
    const bool isAvailable = place.value().isAvailable;
    if (!isAvailable)
        context.output.note(Texts::tr("The resource is not there yet."));
    return exitCodeAfter(signalWatch.receivedNow(),
                         isAvailable ? ExitCode::Success : ExitCode::AnswerIsNo);
}

} // namespace

std::unique_ptr<Command> makePathCommand()
{
    return std::make_unique<PathCommand>();
}

} // namespace zel::cli
