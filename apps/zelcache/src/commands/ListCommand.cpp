#include "commands/Commands.h"

#include "CacheReport.h"
#include "Library.h"
#include "ListSelection.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

ExitCode runList(const Context &context)
{
    const Options &options = context.options;
    const auto selection = ListSelection::fromTexts(options.order, options.status, options.format);
    if (!selection.hasValue())
        return context.fail(selection.error());
    auto snapshot = readCache(settingsOf(options));
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    snapshot.value().resources = selection.value().applied(snapshot.value().resources);
    if (options.json) {
        QJsonObject answer = context.emptyAnswer();
        answer.insert(u"resources"_s, listJson(snapshot.value()));
        context.output.answer(answer);
        return ExitCode::Success;
    }
    for (const QString &line : listLines(snapshot.value()))
        context.output.answer(line);
    return ExitCode::Success;
}

} // namespace zel::cli
