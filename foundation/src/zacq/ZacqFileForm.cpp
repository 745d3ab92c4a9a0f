#include "zacq/ZacqFileForm.h"

#include "errors/Propagate.h"

#include <QFile>
#include <QtEndian>

namespace zel::zacq {

namespace {

// A byte that is no text, the name, and line ends and an end-of-file mark that a transfer as text
// would change.
constexpr QByteArrayView magic("\x89ZACQ\r\n\x1a");
constexpr qint64 lengthSize = sizeof(quint32);

/// The manifest's bytes, from the start of the file on; empty if there is none.
QByteArray readManifestBytes(QFile &file)
{
    if (file.read(magic.size()) != magic)
        return {};
    const QByteArray length = file.read(lengthSize);
    if (length.size() != lengthSize)
        return {};
    const auto size = qFromLittleEndian<quint32>(length.constData());
    if (size > manifestMaxSize)
        return {};
    const QByteArray bytes = file.read(size);
    return bytes.size() == size ? bytes : QByteArray();
}

} // namespace

bool ZacqFileForm::hasMagic(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(magic.size()) == magic;
}

Result<ZacqManifest> ZacqFileForm::readHead(QFile &file)
{
    const QByteArray json = readManifestBytes(file);
    if (json.isEmpty()) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("\"%1\" is no ZACQ container.").arg(file.fileName()));
    }
    ZEL_TRY_LET(const auto manifest, ZacqManifest::fromJson(json));
    if (file.size() - file.pos() == manifest.sampleSize)
        return manifest;
    return ZEL_ERROR(ErrorCode::BadData,
                     tr("The ZACQ container \"%1\" is not complete.").arg(file.fileName()));
}

QByteArray ZacqFileForm::head(const ZacqManifest &manifest)
{
    const QByteArray json = manifest.toJson();
    QByteArray length(lengthSize, Qt::Uninitialized);
    qToLittleEndian(static_cast<quint32>(json.size()), length.data());
    return magic.toByteArray() + length + json;
}

Result<FileHash> ZacqFileForm::copyBytes(QFile &source, QIODevice &target, qint64 size,
                                         QCryptographicHash::Algorithm algorithm)
{
    constexpr qint64 pieceSize = 1024 * 1024;
    QCryptographicHash hash(algorithm);
    QByteArray piece;
    for (qint64 left = size; left > 0; left -= piece.size()) {
        piece = source.read(qMin(left, pieceSize));
        if (piece.isEmpty()) {
            return ZEL_ERROR(
                ErrorCode::OperationFailed,
                tr("Reading \"%1\" failed: %2").arg(source.fileName(), source.errorString()));
        }
        if (target.write(piece) != piece.size()) {
            return ZEL_ERROR(
                ErrorCode::OperationFailed,
                tr("Copying \"%1\" failed: %2").arg(source.fileName(), target.errorString()));
        }
        hash.addData(piece);
    }
    return FileHash { algorithm, hash.result() };
}

} // namespace zel::zacq
