#pragma once

#include "errors/Result.h"

#include <QByteArray>
#include <QCoreApplication>

#include <optional>

namespace zel {

/// Reads the small files that the schemes keep beside the cache. Others can put anything there:
/// what is no plain file could be waited for without end, and what is too big would fill the
/// memory.
class OwnFile
{
    Q_DECLARE_TR_FUNCTIONS(zel::OwnFile)

public:
    /// Code 1 if it cannot be read, links included; 4 if it has more than `mostBytes`.
    static Result<QByteArray> read(const QString &path, qint64 mostBytes);
    /// The same. No value if there is nothing, or nothing that could be seen.
    static Result<std::optional<QByteArray>> readIfThere(const QString &path, qint64 mostBytes);
};

} // namespace zel
