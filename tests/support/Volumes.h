#pragma once

#include <QFile>
#include <QString>

#include <sys/stat.h>

namespace zel::test {

/// Whether both are there and no rename leads from one to the other, as they lie on two volumes.
inline bool areOnTwoVolumes(const QString &path, const QString &other)
{
    struct stat here;
    struct stat there;
    return ::stat(QFile::encodeName(path).constData(), &here) == 0
        && ::stat(QFile::encodeName(other).constData(), &there) == 0 && here.st_dev != there.st_dev;
}

} // namespace zel::test
