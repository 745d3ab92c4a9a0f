#pragma once

#include "TemporaryCache.h"
#include "platform/ChildProcess.h"
#include "platform/TreeCopy.h"
#include "platform/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::test {

/// A folder for what is copied; its source is "s" and its target "t".
class TreeCopyFixture : public testing::Test
{
protected:
    // QTemporaryDir cannot remove names that are no text.
    void TearDown() override { EXPECT_FALSE(TreeRemoval::remove(directory.path()).hasError()); }

    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }
    QByteArray bytesAt(const QString &name) const { return QFile::encodeName(at(name)); }

    /// Of all that lies in the folder, hidden or not.
    qsizetype entryCount() const
    {
        return QDir(directory.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
            .size();
    }

    /// Makes a link with exactly this text.
    void link(const QByteArray &text, const QString &name) const
    {
        ASSERT_EQ(::symlink(text.constData(), bytesAt(name).constData()), 0);
    }
    QByteArray linkText(const QString &name) const
    {
        char buffer[256] = {};
        const auto size = ::readlink(bytesAt(name).constData(), buffer, sizeof buffer);
        return QByteArray(buffer, qMax<qsizetype>(size, 0));
    }
    mode_t modeOf(const QString &name) const
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(bytesAt(name).constData(), &status), 0);
        return status.st_mode & 07777;
    }
    void setTime(const QString &name, time_t seconds) const
    {
        const timespec times[2] = { { seconds, 0 }, { seconds, 123456789 } };
        ASSERT_EQ(::utimensat(AT_FDCWD, bytesAt(name).constData(), times, 0), 0);
    }
    std::pair<time_t, long> timeOf(const QString &name) const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(bytesAt(name).constData(), &status), 0);
        return { status.st_mtim.tv_sec, status.st_mtim.tv_nsec };
    }
    Error copy() const
    {
        return TreeCopy::copyTree(at(QStringLiteral("s")), at(QStringLiteral("t")), {});
    }

    const QTemporaryDir directory;
};

inline QByteArray manyBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 31) ^ (i >> 8));
    return bytes;
}

inline TreeCopy::Options replacing()
{
    TreeCopy::Options options;
    options.replacesFiles = true;
    return options;
}

} // namespace zel::test
