#pragma once

#include <QFile>
#include <QString>

#include <filesystem>

namespace zel {

/// The path as the file system has it: bytes, which need not be valid text.
inline std::filesystem::path nativePath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

/// The path for people and for functions that take text.
inline QString textPath(const std::filesystem::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

} // namespace zel
