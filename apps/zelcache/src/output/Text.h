#pragma once

#include <QString>

namespace zel::cli {

/// The text with everything made visible that could steer a terminal or hide from the reader:
/// control characters, line breaks, direction marks. "\x1b" stands for escape.
QString escaped(const QString &text);

/// The same for JSON text: what stands there may be replaced only by JSON's own "\u001b" form.
QString escapedInJson(const QString &json);

/// How many columns of a terminal the text takes; the text must be escaped.
int columnsOf(const QString &text);

/// The text cut to so many columns, its middle replaced by "..". Both ends stay: the end of a
/// file name tells more than its middle.
QString elided(const QString &text, int columns);

/// What may be shown of an argument that could not be read as a reference: user, password,
/// query, fragment and the parameters of a path are left out, since they may be secrets.
QString withoutSecrets(const QString &argument);

} // namespace zel::cli
