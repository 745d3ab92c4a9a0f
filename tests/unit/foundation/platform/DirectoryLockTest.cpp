#include "platform/DirectoryLock.h"

#include <QTemporaryDir>

#include <atomic>
#include <future>
#include <thread>

using namespace zel;
using namespace std::chrono_literals;

TEST(DirectoryLockTest, construct_free_holdsUntilDestroyed)
{
    const QTemporaryDir directory;
    const QByteArray path = QFile::encodeName(directory.path());
    auto first = std::make_unique<DirectoryLock>(path);
    EXPECT_TRUE(first->isHeld());
    std::future<bool> second
        = std::async(std::launch::async, [&] { return DirectoryLock(path).isHeld(); });
    EXPECT_EQ(second.wait_for(200ms), std::future_status::timeout);
    first.reset();
    EXPECT_TRUE(second.get());
}

TEST(DirectoryLockTest, construct_noDirectory_goesWithout)
{
    EXPECT_FALSE(DirectoryLock("/nonexistent").isHeld());
    const QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("f")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(DirectoryLock(QFile::encodeName(file.fileName())).isHeld());
}
