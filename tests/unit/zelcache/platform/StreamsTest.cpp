#include "platform/Streams.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <array>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace zel::cli {

/// A pipe as a shell makes one, but that writing to it does not wait.
class StreamsTest : public testing::Test
{
protected:
    StreamsTest() { EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0); }
    ~StreamsTest() override
    {
        closeReader();
        ::close(ends[1]);
    }

    void closeReader()
    {
        if (ends[0] >= 0)
            ::close(ends[0]);
        ends[0] = -1;
    }

    /// Waits for so many bytes.
    QByteArray read(qsizetype count) const
    {
        ::fcntl(ends[0], F_SETFL, 0);
        QByteArray bytes(count, '\0');
        qsizetype done = 0;
        while (done < count) {
            const ssize_t part = ::read(ends[0], bytes.data() + done, std::size_t(count - done));
            if (part <= 0)
                break;
            done += part;
        }
        return bytes.left(done);
    }

    std::array<int, 2> ends { -1, -1 };
};

TEST_F(StreamsTest, writeAll_moreThanThereIsRoomFor_waitsAndWritesAll)
{
    const QByteArray bytes = QByteArray("0123456789").repeated(100'000);
    QByteArray arrived;
    std::thread reader([this, &bytes, &arrived] { arrived = read(bytes.size()); });
    const std::error_code failure = streams::writeAll(ends[1], bytes);
    reader.join();
    EXPECT_FALSE(failure);
    EXPECT_EQ(arrived, bytes);
}

TEST_F(StreamsTest, writeAll_descriptorThatIsOnlyRead_tellsWhatStoppedIt)
{
    EXPECT_EQ(streams::writeAll(ends[0], "x"), std::errc::bad_file_descriptor);
    EXPECT_FALSE(streams::writeAll(ends[0], {}));
}

TEST_F(StreamsTest, isReaderGone_otherEndClosed_isTrueFromThenOn)
{
    EXPECT_FALSE(streams::isReaderGone(ends[1]));
    closeReader();
    EXPECT_TRUE(streams::isReaderGone(ends[1]));
}

} // namespace zel::cli
