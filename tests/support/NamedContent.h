#pragma once

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <random>
#include <utility>

#include <sys/stat.h>

namespace zel::test {

// What the data of a resource is, told by its name and version alone, so that every program can
// tell whether it has the whole of it and nothing else. Names that begin with "b" are files of
// several megabytes, those with "d" are folders with such a file and small ones. Versions of a name
// are of one size.

inline bool isFolderName(const QString &name)
{
    return name.startsWith(QLatin1Char('d'));
}

/// The names of the files of a folder, in order.
inline QStringList filesOf(const QString &folder)
{
    QStringList names;
    for (const char *file : { "big", "deep/er/a", "deep/er/b", "one", "other/c" })
        names.append(folder + QLatin1Char('/') + QLatin1String(file));
    return names;
}

/// That of one file. Each block of it tells where it belongs.
inline QByteArray contentOf(const QString &name, int version)
{
    const QByteArray key = name.toUtf8();
    std::uint32_t seed = 17;
    for (const char byte : key)
        seed = seed * 31 + static_cast<unsigned char>(byte);
    const bool isBig = key.startsWith('b') || key.endsWith("/big");
    const qsizetype size = isBig ? 2'000'000 + seed % 3'000'000 : 2'000 + seed % 120'000;

    constexpr int wordsInBlock = 4096;
    std::mt19937 words(seed + std::uint32_t(version));
    QByteArray block;
    for (int word = 0; word < wordsInBlock; ++word) {
        const std::uint32_t drawn = words();
        block.append(reinterpret_cast<const char *>(&drawn), sizeof drawn);
    }
    QByteArray bytes = key + ' ' + QByteArray::number(version) + '\n';
    bytes.reserve(size + block.size());
    for (int number = 0; bytes.size() < size; ++number) {
        const QByteArray place = QByteArray::number(number).rightJustified(8, '0');
        bytes.append(block.replace(0, place.size(), place));
    }
    bytes.truncate(size);
    return bytes;
}

/// The version that the bytes are of; 0 if they are not the whole data of the name.
inline int versionIn(const QByteArray &bytes, const QString &name)
{
    const QByteArray firstLine = bytes.left(bytes.indexOf('\n'));
    const int version = firstLine.mid(firstLine.lastIndexOf(' ') + 1).toInt();
    return version > 0 && bytes == contentOf(name, version) ? version : 0;
}

inline int versionOfFile(const QString &path, const QString &name)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? versionIn(file.readAll(), name) : 0;
}

/// The version of all that is in the folder; 0 if something is missing, other or too much.
inline int versionOfFolder(const QString &path, const QString &name)
{
    const QString parent = path.chopped(name.size());
    QStringList found;
    QDirIterator entries(path, QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        found.append(entries.next().mid(parent.size()));
    found.sort();
    if (found != filesOf(name))
        return 0;
    int version = 0;
    for (const QString &file : std::as_const(found)) {
        const int one = versionOfFile(parent + file, file);
        if (one == 0 || (version != 0 && one != version))
            return 0;
        version = one;
    }
    return version;
}

/// What stands at the path: the volume's number of it; empty without anything.
inline std::optional<ino_t> identityAt(const QString &path)
{
    struct stat entry = {};
    if (::stat(QFile::encodeName(path), &entry) != 0)
        return std::nullopt;
    return entry.st_ino;
}

constexpr int nothingThere = -1;

/// The version of the file or folder at a path, which may be removed or replaced in one step
/// meanwhile: 0 if what is there is not the whole of it, nothingThere without anything.
inline int versionAt(const QString &path, const QString &name)
{
    for (;;) {
        const auto before = identityAt(path);
        if (!before)
            return nothingThere;
        const int version
            = isFolderName(name) ? versionOfFolder(path, name) : versionOfFile(path, name);
        if (version > 0 || identityAt(path) == before)
            return version;
    }
}

} // namespace zel::test
