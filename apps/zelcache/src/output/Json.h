#pragma once

#include "errors/Error.h"

#include <QJsonObject>
#include <QString>
#include <QVersionNumber>

#include <optional>

namespace zel::cli {

/// The parts that all JSON answers are made of. Every answer is one object with "schema", the
/// version of its shape, and "command"; names are only ever added within a version.
namespace json {

QJsonObject answer(const QString &command);

/// {"code": 1, "message": "..."}
QJsonObject error(const Error &error);

/// One resource that could be had, or the failure that stands in its place.
QJsonObject entry(const QString &reference, const QString &path);
QJsonObject entry(const QString &reference, const Error &error);

/// Null for what is not known or not there.
template<typename Number>
QJsonValue orNull(const std::optional<Number> &number)
{
    return number ? QJsonValue(*number) : QJsonValue();
}
QJsonValue orNull(const QString &text);
QJsonValue orNull(const QVersionNumber &version);

/// One line, without anything that could steer a terminal.
QString text(const QJsonObject &object);

/// The same for one text of an answer, with its quotes.
QString quoted(const QString &text);

} // namespace json
} // namespace zel::cli
