#include "Command.h"
#include "CommandOptions.h"
#include "reports/FormatReport.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::FormatsCommand)
};

constexpr auto helpDetails
    = R"(Without a path, the table of all data formats. With paths, the formats that each of
them has by its data, or if it has none by its name. The exit code is 3 if a path
does not exist or is of no known format.

Examples:
  zelcache formats
  zelcache formats ./run1.d ./run1.raw
  zelcache formats --json ./run1.d | jq -r '.results[].formats[]')";

ExitCode writeTable(const Context &context)
{
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"formats"_s, formatsJson());
        context.output.answer(answer);
        return ExitCode::Success;
    }
    for (const QString &line : formatLines())
        context.output.answer(line);
    return ExitCode::Success;
}

void writeFindings(const Context &context, const QList<FormatFinding> &findings)
{
    for (const FormatFinding &finding : findings) {
        if (!finding.exists)
            context.output.error(Texts::tr("\"%1\" does not exist.").arg(finding.path));
    }
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"results"_s, findingsJson(findings));
        context.output.answer(answer);
        return;
    }
    for (const QString &line : findingLines(findings, context.output.answerColumns()))
        context.output.answer(line);
}

class FormatsCommand : public Command
{
public:
    FormatsCommand()
        : Command("formats", "Tell data formats", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addArguments(app, "PATH", "Files or folders to look at", paths);
    }

    ExitCode run(const Context &context) override;

private:
    QStringList paths;
};

ExitCode FormatsCommand::run(const Context &context)
{
    if (paths.isEmpty())
        return writeTable(context);
    QList<FormatFinding> findings;
    for (const QString &path : paths)
        findings.append(formatFinding(path));
    writeFindings(context, findings);
    const bool allRecognised
        = std::all_of(findings.begin(), findings.end(), [](const FormatFinding &finding) {
              return finding.exists && !finding.formats.isEmpty();
          });
    return allRecognised ? ExitCode::Success : ExitCode::AnswerIsNo;
}

} // namespace

std::unique_ptr<Command> makeFormatsCommand()
{
    return std::make_unique<FormatsCommand>();
}

} // namespace zel::cli
