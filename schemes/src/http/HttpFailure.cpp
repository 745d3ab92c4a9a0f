#include "http/HttpFailure.h"

#include "SchemeErrors.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longestLine = 160;
/// Leaving markup out takes time with the square of the length.
constexpr qsizetype longestRead = 4096;

QString withoutMarkup(QString text)
{
    const QRegularExpression unseen(u"<(script|style|head)\\b.*?</\\1\\s*>"_s,
                                    QRegularExpression::CaseInsensitiveOption
                                        | QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression tags(u"<[^>]*>"_s);
    return text.remove(unseen).replace(tags, u" "_s);
}

QString withoutCredentials(QString text)
{
    const QRegularExpression credentials(u"\\b(basic|bearer|negotiate)\\s+\\S+"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression userInUrl(u"://[^/\\s@]*@"_s);
    return text.replace(credentials, u"\\1 ..."_s).replace(userInUrl, u"://...@"_s);
}

} // namespace

Error HttpFailure::make(int code, const QString &displayName, const QString &what)
{
    return { code, tr("Unable to fetch %1: %2").arg(displayName, what) };
}

Error HttpFailure::canceled(const QString &displayName)
{
    return { ErrorCode::Canceled, tr("The transfer of %1 has been canceled.").arg(displayName) };
}

Error HttpFailure::of(const HttpOutcome &outcome, const HttpUrl &url, const QString &displayName)
{
    if (outcome.end == HttpOutcome::End::Canceled)
        return canceled(displayName);
    if (!outcome.reason.isEmpty()) {
        const bool cut = outcome.end == HttpOutcome::End::CutShort;
        const int code
            = cut ? SchemeErrors::integrityFailure : static_cast<int>(ErrorCode::OperationFailed);
        return make(code, displayName, outcome.reason);
    }

    const QList<QByteArray> secrets = url.secrets() + outcome.url.secrets();
    QString what
        = tr("the server answered %1").arg(oneLine(outcome.head.statusText().toUtf8(), secrets));
    const QString said = oneLine(outcome.said, secrets);
    if (!said.isEmpty())
        what += u": "_s + said;
    return make(static_cast<int>(ErrorCode::OperationFailed), displayName, what);
}

QString HttpFailure::oneLine(const QByteArray &said, QList<QByteArray> secrets)
{
    QString text = withoutMarkup(QString::fromUtf8(said.left(longestRead)));
    // One may have another in it.
    std::sort(secrets.begin(), secrets.end(), [](const QByteArray &left, const QByteArray &right) {
        return left.size() > right.size();
    });
    for (const QByteArray &secret : std::as_const(secrets))
        text.replace(QString::fromUtf8(secret), u"..."_s);
    text = withoutCredentials(text);
    for (QChar &character : text) {
        if (!character.isPrint())
            character = u' ';
    }
    text = text.simplified();
    return text.size() > longestLine ? text.left(longestLine) + u"..."_s : text;
}

} // namespace zel
