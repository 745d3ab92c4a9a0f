#include "files/FileHash.h"

#include "TemporaryCache.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(FileHashTest, ofFile_knownContent_givesTheKnownDigest)
{
    const QTemporaryDir dir;
    test::writeFile(dir.filePath(u"f"_s), "abc");
    const auto hash = FileHash::ofFile(dir.filePath(u"f"_s));
    ASSERT_TRUE(hash.hasValue());
    EXPECT_EQ(hash.value().toString(),
              u"sha256:ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
    const auto md5 = FileHash::ofFile(dir.filePath(u"f"_s), QCryptographicHash::Md5);
    EXPECT_EQ(md5.value().toString(), u"md5:900150983cd24fb0d6963f7d28e17f72"_s);
    EXPECT_FALSE(md5.value() == hash.value());
}

TEST(FileHashTest, ofFile_missingOrFolder_failsAndNamesThePath)
{
    const QTemporaryDir dir;
    for (const QString &path : { dir.filePath(u"missing"_s), dir.path() }) {
        const auto hash = FileHash::ofFile(path);
        ASSERT_FALSE(hash.hasValue());
        EXPECT_EQ(hash.error().errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(hash.error().errorMessage().contains(path));
    }
}

TEST(FileHashTest, fromString_ownText_comesBackEqual)
{
    const QByteArray bytes("x");
    for (const auto algorithm : { QCryptographicHash::Md5, QCryptographicHash::Sha1,
                                  QCryptographicHash::Sha256, QCryptographicHash::Sha512 }) {
        const FileHash hash { algorithm, QCryptographicHash::hash(bytes, algorithm) };
        const auto back = FileHash::fromString(hash.toString().toUpper());
        ASSERT_TRUE(back.hasValue()) << qPrintable(hash.toString());
        EXPECT_TRUE(back.value() == hash);
    }
    EXPECT_TRUE(FileHash().isEmpty());
    EXPECT_EQ(FileHash().toString(), QString());
}

TEST(FileHashTest, fromString_otherTexts_areBadData)
{
    for (const QString &text :
         { QString(), u"md5"_s, u"md5:"_s, u"md5:00"_s, u"crc:00000000"_s,
           u"md5:900150983cd24fb0d6963f7d28e17f7g"_s, u"md5:900150983cd24fb0d6963f7d28e17f720"_s,
           u"md5: 00150983cd24fb0d6963f7d28e17f72"_s }) {
        const auto hash = FileHash::fromString(text);
        ASSERT_FALSE(hash.hasValue()) << qPrintable(text);
        EXPECT_EQ(hash.error().errorCode(), ErrorCode::BadData);
    }
}
