#pragma once

#include "errors/Result.h"

#include <QStringList>

namespace zel::cli {

/// The references in a text: one a line, blanks around it ignored. Empty lines and those that start
/// with "#" say nothing.
QStringList referencesIn(const QString &text);

/// The same for a file, "-" being standard input. Fails with code 1 if it cannot be read to its
/// end.
Result<QStringList> readReferenceList(const QString &filePath);

} // namespace zel::cli
