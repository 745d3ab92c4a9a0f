#pragma once

#include "zacq/ZacqManifest.h"

class QFile;
class QIODevice;

namespace zel::zacq {

/// The file form: magic number, length of the manifest (four bytes, the lowest first), manifest,
/// sample.
class ZacqFileForm
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::ZacqFileForm)

public:
    /// Whether the file starts with the magic number.
    static bool hasMagic(const QString &path);

    /// Reads what stands before the sample and leaves the open file at the sample's first byte.
    /// Code 4 for a damaged or shortened file.
    static Result<ZacqManifest> readHead(QFile &file);
    /// What stands before the sample of this manifest.
    static QByteArray head(const ZacqManifest &manifest);

    /// Copies so many bytes from where the source stands and hashes them on the way. Fails if the
    /// source ends before or the target takes less.
    static Result<FileHash> copyBytes(QFile &source, QIODevice &target, qint64 size,
                                      QCryptographicHash::Algorithm algorithm);
};

} // namespace zel::zacq
