#include "platform/FolderGlance.h"

#include "platform/PosixFile.h"

#include <QFile>
#include <QStringDecoder>

#include <array>

#include <dirent.h>
#include <fcntl.h>

namespace zel {

namespace {

/// Enough for "." and ".." and two names of any length.
constexpr size_t fewEntries = 1024;

bool isText(const char *name)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(QByteArrayView(name));
    return !text.isEmpty() && !decoder.hasError();
}

bool isSeenByAll(const dirent64 &entry)
{
    return (entry.d_type == DT_REG || entry.d_type == DT_DIR) && entry.d_name[0] != '.'
        && isText(entry.d_name);
}

} // namespace

bool FolderGlance::showsSeveral(const QString &folder)
{
    const posix::Descriptor opened
        = posix::openAt(AT_FDCWD, QFile::encodeName(folder), O_RDONLY | O_DIRECTORY);
    alignas(dirent64) std::array<char, fewEntries> buffer;
    const auto size = ::getdents64(opened.get(), buffer.data(), buffer.size());

    int count = 0;
    for (ssize_t position = 0; position < size && count < 2;) {
        const auto *entry = reinterpret_cast<const dirent64 *>(buffer.data() + position);
        position += entry->d_reclen;
        if (isSeenByAll(*entry))
            ++count;
    }
    return count > 1;
}

} // namespace zel
