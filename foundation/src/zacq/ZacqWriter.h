#pragma once

#include "errors/Error.h"

#include <QCoreApplication>

namespace zel::zacq {

/// Makes containers. Each appears under its path only when it is whole; what exists there already
/// is a failure. Code 2 for an unusable name, code 1 for what the disk refuses, 7 where it tells
/// that it lacks room.
class ZEL_RESOURCE_MANAGER_EXPORT ZacqWriter
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::ZacqWriter)

public:
    /// A folder form with a copy of `sampleFile` at `samplePath`, seen from the container: a
    /// relative path without "." and "..", for example "data/run 1/sample.raw".
    static Error createFolder(const QString &path, const QString &sampleFile,
                              const QString &samplePath, const QString &sampleName);
    /// A file form with the content of `sampleFile`.
    static Error createFile(const QString &path, const QString &sampleFile,
                            const QString &sampleName);
};

} // namespace zel::zacq
