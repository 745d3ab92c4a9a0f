#include "commands/Commands.h"

#include "FormatReport.h"

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

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
            context.output.error(u"\"%1\" does not exist."_s.arg(finding.path));
    }
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"results"_s, findingsJson(findings));
        context.output.answer(answer);
        return;
    }
    for (const QString &line : findingLines(findings))
        context.output.answer(line);
}

} // namespace

ExitCode runFormats(const Context &context)
{
    if (context.options.paths.isEmpty())
        return writeTable(context);
    QList<FormatFinding> findings;
    for (const QString &path : context.options.paths)
        findings.append(formatFinding(path));
    writeFindings(context, findings);
    const bool allRecognised
        = std::all_of(findings.begin(), findings.end(), [](const FormatFinding &finding) {
              return finding.exists && !finding.formats.isEmpty();
          });
    return allRecognised ? ExitCode::Success : ExitCode::AnswerIsNo;
}

} // namespace zel::cli
