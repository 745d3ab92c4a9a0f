#include "output/Json.h"

#include "output/Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringBuilder>

#include <algorithm>

namespace zel::cli::json {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int schemaVersion = 1;

} // namespace

QJsonObject answer(const QString &command)
{
    return { { u"schema"_s, schemaVersion }, { u"command"_s, command } };
}

QJsonObject error(const Error &error)
{
    return { { u"code"_s, int(error.errorCode()) }, { u"message"_s, error.errorMessage() } };
}

QJsonObject entry(const QString &reference, const QString &path)
{
    return { { u"reference"_s, reference }, { u"path"_s, path } };
}

QJsonObject entry(const QString &reference, const Error &error)
{
    return { { u"reference"_s, reference }, { u"error"_s, json::error(error) } };
}

QJsonValue orNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonValue orNull(const QVersionNumber &version)
{
    return version.isNull() ? QJsonValue() : QJsonValue(version.toString());
}

QString text(const QJsonObject &object)
{
    const QByteArray compact = QJsonDocument(object).toJson(QJsonDocument::Compact);
    return escapedInJson(QString::fromUtf8(compact));
}

QString quoted(const QString &text)
{
    const auto isPlain = [](QChar unit) {
        return unit >= u' ' && unit <= u'~' && unit != u'"' && unit != u'\\';
    };
    if (std::all_of(text.begin(), text.end(), isPlain))
        return u'"' % text % u'"';
    const QByteArray array = QJsonDocument(QJsonArray { text }).toJson(QJsonDocument::Compact);
    return escapedInJson(QString::fromUtf8(array.mid(1, array.size() - 2)));
}

} // namespace zel::cli::json
