#include "files/FileHash.h"

#include "errors/Propagate.h"

#include <QFile>

#include <algorithm>
#include <array>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

struct NamedAlgorithm
{
    QCryptographicHash::Algorithm algorithm;
    QLatin1StringView name;
};

constexpr std::array<NamedAlgorithm, 4> algorithms { {
    { QCryptographicHash::Md5, QLatin1StringView("md5") },
    { QCryptographicHash::Sha1, QLatin1StringView("sha1") },
    { QCryptographicHash::Sha256, QLatin1StringView("sha256") },
    { QCryptographicHash::Sha512, QLatin1StringView("sha512") },
} };

bool isHexadecimal(const QByteArray &text)
{
    constexpr QByteArrayView digits = "0123456789abcdef";
    return std::all_of(text.begin(), text.end(), [&](char c) { return digits.contains(c); });
}

} // namespace

QString FileHash::toString() const
{
    for (const NamedAlgorithm &named : algorithms) {
        if (named.algorithm == algorithm && !isEmpty())
            return named.name + u':' + QString::fromLatin1(digest.toHex());
    }
    return {};
}

Result<FileHash> FileHash::fromString(const QString &text)
{
    const QString lower = text.toLower();
    for (const NamedAlgorithm &named : algorithms) {
        if (!lower.startsWith(named.name + u':'))
            continue;
        const QByteArray digits = lower.sliced(named.name.size() + 1).toLatin1();
        const int length = 2 * QCryptographicHash::hashLength(named.algorithm);
        if (digits.size() == length && isHexadecimal(digits))
            return FileHash { named.algorithm, QByteArray::fromHex(digits) };
    }
    return ZEL_ERROR(ErrorCode::BadData, tr("\"%1\" is no checksum.").arg(text));
}

Result<FileHash> FileHash::ofFile(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    QFile file(path);
    QCryptographicHash hash(algorithm);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)
        || file.error() != QFileDevice::NoError) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Reading \"%1\" failed: %2").arg(path, file.errorString()));
    }
    return FileHash { algorithm, hash.result() };
}

} // namespace zel
