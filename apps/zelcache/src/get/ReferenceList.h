#pragma once

#include "errors/Result.h"

#include <QStringList>

namespace zel::cli {

/// How a list of references is written.
enum class ListForm {
    Lines, ///< one a line, blanks around it ignored; empty ones and those that start with "#" say
           ///< nothing
    NullTerminated, ///< each as it stands, a NUL behind it
};

QStringList referencesIn(const QString &text, ListForm form);

/// The same for a file, "-" being standard input. Fails with code 1 if it cannot be read to its
/// end, or is longer than 64 MiB.
Result<QStringList> readReferenceList(const QString &filePath, ListForm form);

} // namespace zel::cli
