#include "integrity/PassingHash.h"

#include <gtest/gtest.h>

using namespace zel;

namespace {

/// In pieces whose ends fall everywhere in the blocks that a sum is made of.
QByteArray inPieces(QCryptographicHash::Algorithm algorithm, const QByteArray &bytes)
{
    PassingHash hash(algorithm);
    qsizetype length = 1;
    for (qsizetype at = 0; at < bytes.size(); at += length++)
        hash.add(bytes.constData() + at, std::min(length, bytes.size() - at));
    return hash.result();
}

} // namespace

TEST(PassingHashTest, result_anyLength_isThatOfTheWhole)
{
    for (const auto algorithm : { QCryptographicHash::Sha256, QCryptographicHash::Md5 }) {
        for (int length = 0; length < 300; ++length) {
            const QByteArray bytes(length, char('a' + length % 26));
            EXPECT_EQ(inPieces(algorithm, bytes), QCryptographicHash::hash(bytes, algorithm))
                << length;
        }
    }
}

TEST(PassingHashTest, result_inTheMiddle_moreMayFollow)
{
    PassingHash hash(QCryptographicHash::Sha256);
    hash.add("ab", 2);
    EXPECT_EQ(hash.result(), QCryptographicHash::hash("ab", QCryptographicHash::Sha256));
    hash.add("c", 1);
    EXPECT_EQ(hash.result(), QCryptographicHash::hash("abc", QCryptographicHash::Sha256));
}

TEST(PassingHashTest, reset_startsAnew)
{
    for (const auto algorithm : { QCryptographicHash::Sha256, QCryptographicHash::Md5 }) {
        PassingHash hash(algorithm);
        hash.add("zzz", 3);
        hash.reset();
        hash.add("abc", 3);
        EXPECT_EQ(hash.result(), QCryptographicHash::hash("abc", algorithm));
    }
}
