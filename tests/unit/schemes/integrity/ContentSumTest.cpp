#include "integrity/ContentSum.h"

#include <gtest/gtest.h>

using namespace zel;

namespace {

QByteArray sumOf(const QByteArray &bytes)
{
    ContentSum sum;
    sum.add(bytes.constData(), bytes.size());
    return sum.value();
}

void pass(BlockSums &sums, const QByteArray &bytes)
{
    sums.add(bytes.constData(), bytes.size());
}

} // namespace

// What the command-line program of the algorithm's makers prints for these.
TEST(ContentSumTest, value_knownBytes_isTheCanonicalSum)
{
    EXPECT_EQ(sumOf({}), "99aa06d3014798d86001c324468d497f");
    EXPECT_EQ(sumOf("abc"), "06b05ab6733a618578af5f94892f3950");
}

TEST(ContentSumTest, add_inPieces_isTheSumOfAll)
{
    ContentSum sum;
    for (const char letter : QByteArray("some more bytes"))
        sum.add(&letter, 1);
    EXPECT_EQ(sum.value(), sumOf("some more bytes"));
    sum.reset();
    EXPECT_EQ(sum.value(), sumOf({}));
}

TEST(BlockSumsTest, sums_fileOfOneBlock_isTheSumOfTheFile)
{
    BlockSums sums(16);
    pass(sums, "short");
    EXPECT_EQ(sums.sums(), QList<QByteArray> { sumOf("short") });
}

TEST(BlockSumsTest, sums_emptyFile_areNone)
{
    const BlockSums sums(16);
    EXPECT_TRUE(sums.sums().isEmpty());
    EXPECT_EQ(BlockSums::blockCount(0, 16), 0);
}

TEST(BlockSumsTest, sums_blocksCutByPieces_areThoseOfTheBlocks)
{
    BlockSums sums(4);
    pass(sums, "abcdef");
    pass(sums, "ghij");
    EXPECT_EQ(sums.sums(), (QList<QByteArray> { sumOf("abcd"), sumOf("efgh"), sumOf("ij") }));
    EXPECT_EQ(BlockSums::blockCount(10, 4), 3);
    EXPECT_EQ(BlockSums::blockCount(8, 4), 2);
}

TEST(BlockSumsTest, startAt_middleOfABlock_leavesItAndThoseBeforeUnknown)
{
    BlockSums sums(4);
    sums.startAt(6);
    pass(sums, "ghijk");
    EXPECT_EQ(sums.sums(), (QList<QByteArray> { {}, {}, sumOf("ijk") }));
}

TEST(BlockSumsTest, startAt_startOfABlock_knowsThatBlock)
{
    BlockSums sums(4);
    sums.startAt(4);
    pass(sums, "ef");
    EXPECT_EQ(sums.sums(), (QList<QByteArray> { {}, sumOf("ef") }));
}

TEST(BlockSumsTest, startAt_0_forgetsAll)
{
    BlockSums sums(4);
    pass(sums, "other bytes");
    sums.startAt(0);
    pass(sums, "abcde");
    EXPECT_EQ(sums.sums(), (QList<QByteArray> { sumOf("abcd"), sumOf("e") }));
}
