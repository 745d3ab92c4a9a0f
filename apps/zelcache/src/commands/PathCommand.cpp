#include "commands/Commands.h"

#include "Library.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

ExitCode runPath(const Context &context)
{
    if (const auto code = openCache(context))
        return *code;
    const auto handler = handlerOf(context.options.references.constFirst());
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
    if (available)
        return ExitCode::Success;
    context.output.note(u"The resource is not there yet."_s);
    return ExitCode::AnswerIsNo;
}

} // namespace zel::cli
