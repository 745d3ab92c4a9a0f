#include "Context.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

ExitCode Context::fail(ExitCode code, const QString &message) const
{
    output.error(message);
    if (options.json) {
        QJsonObject answer = emptyAnswer();
        answer.insert(u"error"_s, json::error(Error(int(code), message)));
        output.answer(answer);
    }
    return code;
}

} // namespace zel::cli
