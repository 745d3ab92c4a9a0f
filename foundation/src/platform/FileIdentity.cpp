#include "platform/FileIdentity.h"

#include <QFile>

#include <sys/stat.h>

namespace zel {

QByteArray fileIdentity(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    // A rename counts as a change as well, so a number that is used again is no danger.
    const struct timespec &change = status.st_ctim;
    return QByteArray::number(quint64(status.st_dev)) + ':'
        + QByteArray::number(quint64(status.st_ino)) + ':'
        + QByteArray::number(qint64(change.tv_sec)) + '.'
        + QByteArray::number(qint64(change.tv_nsec));
}

} // namespace zel
