#include "commands/Commands.h"

#include "CacheReport.h"
#include "Library.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

ExitCode runList(const Context &context)
{
    const auto snapshot = readCache(settingsOf(context.options));
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    if (context.options.json) {
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
