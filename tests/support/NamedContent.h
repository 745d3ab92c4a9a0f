#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <random>

namespace zel::test {

/// What the data of a resource is, told by its name and version alone, so that every program can
/// tell whether it has the whole of it and nothing else. Versions of a name are of one size.
inline QByteArray contentOf(const QString &name, int version)
{
    const QByteArray key = name.toUtf8();
    std::uint32_t seed = 17;
    for (const char byte : key)
        seed = seed * 31 + static_cast<unsigned char>(byte);
    const qsizetype size = 2'000 + seed % 120'000;

    QByteArray bytes = key + ' ' + QByteArray::number(version) + '\n';
    bytes.reserve(size);
    std::mt19937 words(seed + std::uint32_t(version));
    while (bytes.size() < size)
        bytes.append(char(words() >> 24));
    return bytes;
}

/// The version that the bytes are of; 0 if they are not the whole data of the name.
inline int versionIn(const QByteArray &bytes, const QString &name)
{
    const QByteArray firstLine = bytes.left(bytes.indexOf('\n'));
    const int version = firstLine.mid(firstLine.lastIndexOf(' ') + 1).toInt();
    return version > 0 && bytes == contentOf(name, version) ? version : 0;
}

} // namespace zel::test
