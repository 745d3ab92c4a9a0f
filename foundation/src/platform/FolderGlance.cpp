#include "platform/FolderGlance.h"

#include "platform/PosixFile.h"

#include <QFile>
#include <QStringDecoder>

#include <algorithm>
#include <array>

#include <dirent.h>
#include <fcntl.h>

namespace zel {

using namespace posix;

namespace {

/// Enough for "." and ".." and two names of any length.
constexpr size_t fewEntries = 1024;
/// For a whole folder: few calls, and little on the stack.
constexpr size_t manyEntries = 16 * 1024;

Descriptor openFolder(const QString &folder)
{
    return openAt(AT_FDCWD, QFile::encodeName(folder), O_RDONLY | O_DIRECTORY);
}

/// Reads the next entries of an open folder and shows them, until one of them is what is wanted.
template<size_t Size, typename IsWanted>
bool findAmongNext(const Descriptor &folder, ssize_t *bytes, const IsWanted &isWanted)
{
    alignas(dirent64) std::array<char, Size> buffer;
    *bytes = ::getdents64(folder.get(), buffer.data(), buffer.size());
    for (ssize_t position = 0; position < *bytes;) {
        const auto *entry = reinterpret_cast<const dirent64 *>(buffer.data() + position);
        position += entry->d_reclen;
        if (isWanted(*entry))
            return true;
    }
    return false;
}

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
    int count = 0;
    ssize_t bytes = 0;
    return findAmongNext<fewEntries>(openFolder(folder), &bytes, [&count](const dirent64 &entry) {
        return isSeenByAll(entry) && ++count > 1;
    });
}

bool FolderGlance::holdsEnding(const QString &folder, std::initializer_list<QByteArrayView> endings)
{
    const auto endsSo = [&endings](const dirent64 &entry) {
        const QByteArrayView name(entry.d_name);
        return std::any_of(endings.begin(), endings.end(), [name](QByteArrayView ending) {
            return name.size() >= ending.size()
                && name.last(ending.size()).compare(ending, Qt::CaseInsensitive) == 0;
        });
    };
    const Descriptor opened = openFolder(folder);
    ssize_t bytes = 0;
    do {
        if (findAmongNext<manyEntries>(opened, &bytes, endsSo))
            return true;
    } while (bytes > 0);
    return false;
}

} // namespace zel
