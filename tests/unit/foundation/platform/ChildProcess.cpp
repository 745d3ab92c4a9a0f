#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <QFile>

#include <filesystem>

#include <csignal>
#include <cstdlib>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ZEL_COVERAGE
extern "C" { // which it does not say itself
#include <gcov.h>
}
#endif

namespace zel::test {

namespace {

constexpr unsigned ordinaryUser = 65534;

constexpr int cannotMount = 77;

void writeOwn(const char *path, const QByteArray &text)
{
    QFile file(QString::fromLatin1(path));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text) == text.size()) << path;
}

/// Lets this process mount what nobody else sees.
bool leaveMounts()
{
    if (::geteuid() == 0 && ::unshare(CLONE_NEWNS) == 0)
        return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    writeOwn("/proc/self/setgroups", "deny");
    writeOwn("/proc/self/uid_map", "0 " + user + " 1");
    writeOwn("/proc/self/gid_map", "0 " + group + " 1");
    return true;
}

/// Nothing of what the parent has open may be ended by the child, so it ends at once; only which
/// lines it has run is told.
[[noreturn]] void endChild(int code)
{
#ifdef ZEL_COVERAGE
    __gcov_dump();
#endif
    ::_exit(code);
}

/// What the child ends with; empty if it crashed.
std::optional<int> codeOfChild(const std::function<int()> &work)
{
    const pid_t child = ::fork();
    if (child == 0)
        endChild(work());
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}

int codeOf(bool isGood)
{
    return isGood && !testing::Test::HasFailure() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

bool inChild(const std::function<bool()> &work)
{
    return codeOfChild([&] { return codeOf(work()); }) == EXIT_SUCCESS;
}

bool asOrdinaryUser(const QByteArray &folder, const std::function<bool()> &work)
{
    if (::geteuid() != 0)
        return inChild(work);
    EXPECT_EQ(::lchown(folder.constData(), ordinaryUser, ordinaryUser), 0);
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder.toStdString()))
        EXPECT_EQ(::lchown(entry.path().c_str(), ordinaryUser, ordinaryUser), 0);
    return inChild(
        [&] { return ::setgid(ordinaryUser) == 0 && ::setuid(ordinaryUser) == 0 && work(); });
}

bool withShortFiles(qint64 longest, const std::function<bool()> &work)
{
    return inChild([&] {
        rlimit before {};
        if (::getrlimit(RLIMIT_FSIZE, &before) != 0)
            return false;
        const rlimit limit { static_cast<rlim_t>(longest), before.rlim_max };
        std::signal(SIGXFSZ, SIG_IGN); // or the first refused write ends the process
        const bool isGood = ::setrlimit(RLIMIT_FSIZE, &limit) == 0 && work();
        return ::setrlimit(RLIMIT_FSIZE, &before) == 0 && isGood;
    });
}

std::optional<bool> withVolumeAt(const QByteArray &folder, qint64 size,
                                 const std::function<bool()> &work)
{
    const QByteArray options = "mode=0777,size=" + QByteArray::number(size);
    const auto code = codeOfChild([&] {
        const bool isMounted = leaveMounts()
            && ::mount("tmpfs", folder.constData(), "tmpfs", 0, options.constData()) == 0;
        return isMounted ? codeOf(work()) : cannotMount;
    });
    return code == cannotMount ? std::nullopt : std::optional(code == EXIT_SUCCESS);
}

} // namespace zel::test
