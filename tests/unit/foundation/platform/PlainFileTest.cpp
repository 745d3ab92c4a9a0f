#include "platform/PlainFile.h"

#include "TemporaryCache.h"

#include <QDir>
#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class PlainFileTest : public testing::Test
{
protected:
    QByteArray native() const { return QFile::encodeName(path); }

    QTemporaryDir directory;
    const QString path = directory.filePath(u"file"_s);
};

} // namespace

TEST_F(PlainFileTest, read_file_isItsContent)
{
    for (const QByteArray &content : { QByteArray(), QByteArray("a"), QByteArray(100'000, 'b') }) {
        writeFile(path, content);
        const PlainFile::Outcome outcome = PlainFile::read(path, 100'000);
        EXPECT_FALSE(outcome.failure);
        EXPECT_TRUE(outcome.isPlain);
        EXPECT_EQ(outcome.content, content);
    }
}

TEST_F(PlainFileTest, read_moreThanIsAllowed_isOneByteMore)
{
    writeFile(path, "abcde");
    EXPECT_EQ(PlainFile::read(path, 4).content, "abcde");
    EXPECT_EQ(PlainFile::read(path, 3).content, "abcd");
}

TEST_F(PlainFileTest, read_moreThanTheSystemSays_isReadAllTheSame)
{
    // The system makes them while they are read, and says that they are empty.
    const QString growing = u"/proc/self/stat"_s;
    ASSERT_EQ(QFileInfo(growing).size(), 0);
    EXPECT_GT(PlainFile::read(growing, 100'000).content.size(), 10);
    EXPECT_EQ(PlainFile::read(growing, 10).content.size(), 11);
}

TEST_F(PlainFileTest, read_nothingThere_isAFailureOfThatName)
{
    const PlainFile::Outcome outcome = PlainFile::read(path, 10);
    EXPECT_TRUE(outcome.isPlain);
    EXPECT_EQ(outcome.failure, std::errc::no_such_file_or_directory);
}

TEST_F(PlainFileTest, read_whatIsNoFile_isToldAndNotWaitedFor)
{
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_FALSE(PlainFile::read(path, 10).isPlain) << "a folder";
    ASSERT_TRUE(QDir().rmdir(path));

    ASSERT_EQ(::mkfifo(native().constData(), 0600), 0);
    EXPECT_FALSE(PlainFile::read(path, 10).isPlain) << "a pipe";
    ASSERT_TRUE(QFile::remove(path));

    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(native().size(), qsizetype(sizeof address.sun_path));
    qstrcpy(address.sun_path, native().constData());
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ::close(socket);
    EXPECT_FALSE(PlainFile::read(path, 10).isPlain) << "a socket";
    ASSERT_TRUE(QFile::remove(path));

    EXPECT_FALSE(PlainFile::read(u"/dev/zero"_s, 10).isPlain) << "a device";
    writeFile(directory.filePath(u"target"_s), "secret");
    for (const QString &target : { u"target"_s, u"nowhere"_s }) {
        ASSERT_TRUE(QFile::link(directory.filePath(target), path));
        const PlainFile::Outcome outcome = PlainFile::read(path, 10);
        EXPECT_FALSE(outcome.isPlain) << "a link";
        EXPECT_TRUE(outcome.content.isEmpty());
        ASSERT_TRUE(QFile::remove(path));
    }
}
