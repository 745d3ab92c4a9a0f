#include "Isolation.h"

#include <QDir>
#include <QFile>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::fuzz {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString folderName = u"world"_s;
const QString *world = nullptr;

void require(bool isDone, const char *what)
{
    if (isDone)
        return;
    std::fprintf(stderr, "The fuzzer cannot be kept apart: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

void writeText(const QString &path, const QByteArray &text)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
                && file.write(text) == text.size(),
            qPrintable(path));
}

/// Root needs no namespace of users, and some containers that run as root permit none.
void enterNamespaces()
{
    const int own = CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWIPC;
    if (::geteuid() == 0 && ::unshare(own) == 0)
        return;
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    require(::unshare(own | CLONE_NEWUSER) == 0, "unshare");
    writeText(u"/proc/self/setgroups"_s, "deny");
    writeText(u"/proc/self/uid_map"_s, user + ' ' + user + " 1");
    writeText(u"/proc/self/gid_map"_s, group + ' ' + group + " 1");
}

void setReadOnly(const char *path, bool isReadOnly, unsigned flags)
{
    mount_attr attributes {};
    (isReadOnly ? attributes.attr_set : attributes.attr_clr) = MOUNT_ATTR_RDONLY;
    require(::mount_setattr(AT_FDCWD, path, flags, &attributes, sizeof attributes) == 0,
            "mount_setattr");
}

void protectFiles(const QByteArray &here)
{
    require(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
    require(::mount(here.constData(), here.constData(), nullptr, MS_BIND, nullptr) == 0, "bind");
    setReadOnly("/", true, AT_RECURSIVE);
    setReadOnly(here.constData(), false, 0);
    require(::chdir(here.constData()) == 0, "chdir"); // until now it is the folder below the mount

    require(QDir().mkpath(folderName), "mkdir");
    require(::mount("tmpfs", folderName.toUtf8().constData(), "tmpfs", 0, "size=512m") == 0,
            "tmpfs");
}

void raiseLoopback()
{
    const int handle = ::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request {};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    require(handle >= 0 && ::ioctl(handle, SIOCSIFFLAGS, &request) == 0, "loopback");
    ::close(handle);
}

} // namespace

void isolate()
{
    const QString here = QDir::currentPath();
    enterNamespaces();
    protectFiles(here.toUtf8());
    raiseLoopback();
    world = new QString(here + u'/' + folderName);
    qputenv("HOME", world->toUtf8());
    qputenv("TMPDIR", here.toUtf8());
    qputenv("no_proxy", "*"); // none can be reached from here
}

QString writableFolder()
{
    return *world;
}

} // namespace zel::fuzz
