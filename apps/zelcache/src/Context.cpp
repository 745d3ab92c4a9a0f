#include "Context.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

QJsonObject Context::answerWith(const QJsonObject &members) const
{
    QJsonObject answer = emptyAnswer();
    for (auto member = members.begin(); member != members.end(); ++member)
        answer.insert(member.key(), member.value());
    return answer;
}

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
