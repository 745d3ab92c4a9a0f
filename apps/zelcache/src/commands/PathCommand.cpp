#include "Command.h"
#include "CommandOptions.h"
#include "Library.h"
#include "SignalWatch.h"

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

ExitCode PathCommand::run(const Context &context)
{
    if (const auto code = openCache(context))
        return *code;
    SignalWatch signalWatch([](int) {});
    const auto handler = handlerOf(reference);
    if (!handler.hasValue())
        return context.fail(handler.error());
    const auto path = handler.value()->expectedPath();
    if (!path.hasValue())
        return context.fail(path.error());

    const bool available = handler.value()->isAvailableLocally();
    if (context.options.json) {
        const QString reference = handler.value()->reference()->referenceText(false);
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"reference"_s, reference);
        answer.insert(u"path"_s, path.value().toString());
        answer.insert(u"available"_s, available);
        context.output.answer(answer);
    } else {
        context.output.answer(path.value().toString());
    }
    if (!available)
        context.output.note(Texts::tr("The resource is not there yet."));
    return exitCodeAfter(signalWatch.receivedNow(),
                         available ? ExitCode::Success : ExitCode::AnswerIsNo);
}

} // namespace

std::unique_ptr<Command> makePathCommand()
{
    return std::make_unique<PathCommand>();
}

} // namespace zel::cli
