#include "http/CheckBehind.h"

#include "SchemeErrors.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

const auto algorithm = QCryptographicHash::Sha256;

ExpectedContent sumOf(const QByteArray &bytes)
{
    ExpectedContent expected;
    expected.hash = { algorithm, QCryptographicHash::hash(bytes, algorithm) };
    return expected;
}

/// Many more pieces than are held at a time.
QList<QByteArray> pieces()
{
    QList<QByteArray> all;
    for (int i = 0; i < 200; ++i)
        all.append(QByteArray(1'000 + i, char('a' + i % 26)));
    return all;
}

void addAll(CheckBehind &check)
{
    for (const QByteArray &piece : pieces())
        check.addBytes(piece);
}

TEST(CheckBehindTest, verify_manyPieces_seesAllOfThemInOrder)
{
    const QByteArray whole = pieces().join();
    CheckBehind check(sumOf(whole));
    EXPECT_TRUE(check.needsBytes());
    addAll(check);
    EXPECT_EQ(check.verify(whole.size()), Error());
}

TEST(CheckBehindTest, verify_oneMorePiece_isTold)
{
    const QByteArray whole = pieces().join();
    CheckBehind check(sumOf(whole));
    addAll(check);
    check.addBytes("x");
    EXPECT_EQ(check.verify(whole.size()).errorCode(), ErrorCode(SchemeErrors::integrityFailure));
}

TEST(CheckBehindTest, reset_startsAnew)
{
    const QByteArray whole = pieces().join();
    CheckBehind check(sumOf(whole));
    check.addBytes("what does not count");
    check.reset();
    addAll(check);
    EXPECT_EQ(check.verify(whole.size()), Error());
}

TEST(CheckBehindTest, verify_onlyASizeIsExpected_needsNoBytes)
{
    ExpectedContent expected;
    expected.size = 3;
    CheckBehind check(expected);
    EXPECT_FALSE(check.needsBytes());
    check.addBytes("abc");
    EXPECT_EQ(check.verify(3), Error());
    EXPECT_EQ(check.verify(4).errorCode(), ErrorCode(SchemeErrors::integrityFailure));
}

} // namespace
} // namespace zel
