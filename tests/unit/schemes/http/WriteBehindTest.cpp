#include "http/WriteBehind.h"

#include <gtest/gtest.h>

#include <semaphore>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

TEST(WriteBehind, drain_allPiecesAreWrittenInOrder)
{
    QByteArray written;
    WriteBehind writer([&written](const QByteArray &piece) {
        written += piece;
        return Error();
    });
    for (char byte = 'a'; byte <= 'z'; ++byte)
        EXPECT_EQ(writer.write(QByteArray(1, byte)), Error());
    EXPECT_EQ(writer.drain(), Error());
    EXPECT_EQ(written, QByteArray("abcdefghijklmnopqrstuvwxyz"));
}

TEST(WriteBehind, write_returnsBeforeThePieceIsWritten)
{
    std::binary_semaphore allowed { 0 };
    WriteBehind writer([&allowed](const QByteArray &) {
        allowed.acquire();
        return Error();
    });
    EXPECT_EQ(writer.write("a"), Error());
    allowed.release();
    EXPECT_EQ(writer.drain(), Error());
}

TEST(WriteBehind, failure_endsTheWritingAndIsTold)
{
    int count = 0;
    WriteBehind writer([&count](const QByteArray &) {
        ++count;
        return Error(7, u"full"_s);
    });
    EXPECT_EQ(writer.write("a"), Error());
    EXPECT_EQ(writer.drain(), Error(7, u"full"_s));
    EXPECT_EQ(writer.write("b"), Error(7, u"full"_s));
    EXPECT_EQ(writer.drain(), Error(7, u"full"_s));
    EXPECT_EQ(count, 1);
}

} // namespace
} // namespace zel
