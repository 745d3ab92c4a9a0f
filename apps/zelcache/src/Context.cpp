#include "Context.h"

#include "output/Text.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Context)
};

} // namespace

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

ExitCode Context::failOn(const QString &argument, const Error &error) const
{
    return fail(exitCodeOf(error), withoutSecrets(argument) + u": "_s + error.errorMessage());
}

ExitCode Context::cancel(int signalNumber) const
{
    return fail(exitCodeOfSignal(signalNumber), Texts::tr("canceled"));
}

} // namespace zel::cli
