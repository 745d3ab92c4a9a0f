#include "http/WorkBehind.h"

#include "ThreadStarts.h"

#include <gtest/gtest.h>

#include <semaphore>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

TEST(WorkBehindTest, drain_allPiecesAreDoneInOrder)
{
    QByteArray done;
    WorkBehind worker([&done](const QByteArray &piece) {
        done += piece;
        return Error();
    });
    for (char byte = 'a'; byte <= 'z'; ++byte)
        EXPECT_EQ(worker.add(QByteArray(1, byte)), Error());
    EXPECT_EQ(worker.drain(), Error());
    EXPECT_EQ(done, QByteArray("abcdefghijklmnopqrstuvwxyz"));
}

TEST(WorkBehindTest, add_returnsBeforeThePieceIsDone)
{
    std::binary_semaphore allowed { 0 };
    WorkBehind worker([&allowed](const QByteArray &) {
        allowed.acquire();
        return Error();
    });
    EXPECT_EQ(worker.add("a"), Error());
    allowed.release();
    EXPECT_EQ(worker.drain(), Error());
}

TEST(WorkBehindTest, failure_endsTheWorkAndIsTold)
{
    int count = 0;
    WorkBehind worker([&count](const QByteArray &) {
        ++count;
        return Error(7, u"full"_s);
    });
    EXPECT_EQ(worker.add("a"), Error());
    EXPECT_EQ(worker.drain(), Error(7, u"full"_s));
    EXPECT_EQ(worker.add("b"), Error(7, u"full"_s));
    EXPECT_EQ(worker.drain(), Error(7, u"full"_s));
    EXPECT_EQ(count, 1);
}

TEST(WorkBehindTest, add_noThreadToBeHad_doesThePieceItself)
{
    const test::ThreadLimit limit(0);
    QByteArray done;
    WorkBehind worker([&done](const QByteArray &piece) {
        done += piece;
        return done.size() < 2 ? Error() : Error(7, u"full"_s);
    });
    EXPECT_EQ(worker.add("a"), Error());
    EXPECT_EQ(worker.drain(), Error());
    EXPECT_EQ(worker.add("b"), Error(7, u"full"_s));
    EXPECT_EQ(worker.add("c"), Error(7, u"full"_s));
    EXPECT_EQ(worker.drain(), Error(7, u"full"_s));
    EXPECT_EQ(done, QByteArray("ab"));
}

} // namespace
} // namespace zel
