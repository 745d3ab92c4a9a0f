#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::test {

namespace {

constexpr unsigned ordinaryUser = 65534;

} // namespace

bool inChild(const std::function<bool()> &work)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(work() && !testing::Test::HasFailure() ? EXIT_SUCCESS : EXIT_FAILURE);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
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
        const rlimit limit { static_cast<rlim_t>(longest), static_cast<rlim_t>(longest) };
        std::signal(SIGXFSZ, SIG_IGN); // or the first refused write ends the process
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 && work();
    });
}

} // namespace zel::test
