#include "Disk.h"

#include "Protocol.h"

#include <QFile>

#include <unistd.h>

namespace zel::bench {

namespace {

constexpr mode_t newFileMode = 0644;

int opened(const QString &path, int flags)
{
    const int descriptor = ::open(QFile::encodeName(path), flags | O_CLOEXEC, newFileMode);
    if (descriptor < 0)
        giveUp("cannot open " + path.toStdString());
    return descriptor;
}

} // namespace

OpenFile::OpenFile(const QString &path, int flags)
    : descriptor(opened(path, flags))
{
}

OpenFile::~OpenFile()
{
    ::close(descriptor);
}

void settle(const QString &path)
{
    const OpenFile file(path);
    if (::syncfs(file.descriptor) != 0)
        giveUp("cannot sync the disk of " + path.toStdString());
}

} // namespace zel::bench
