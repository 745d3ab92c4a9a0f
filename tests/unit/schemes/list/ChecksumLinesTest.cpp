#include "list/ChecksumLines.h"

#include <gtest/gtest.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray digits = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

QStringList pathsOf(const QByteArray &text)
{
    const auto lines = ChecksumLines::parse(text);
    EXPECT_TRUE(lines.hasValue()) << text.toStdString()
                                  << lines.error().errorMessage().toStdString();
    QStringList paths;
    for (const auto &line : lines.hasValue() ? lines.value() : QList<ChecksumLines::Line>()) {
        EXPECT_EQ(line.hash.toString(), u"sha256:"_s + QString::fromLatin1(digits));
        paths << line.path;
    }
    return paths;
}

} // namespace

TEST(ChecksumLinesTest, parse_allForms_giveTheirNames)
{
    EXPECT_EQ(pathsOf(digits + "  a b.raw\n" + digits + " *c\n"),
              (QStringList { u"a b.raw"_s, u"c"_s }));
    EXPECT_EQ(pathsOf(digits + "  a"), QStringList { u"a"_s });
    EXPECT_EQ(pathsOf(digits + " a\n"), QStringList { u"a"_s });
    EXPECT_EQ(pathsOf(" \t" + digits + "  a\n"), QStringList { u"a"_s });
    EXPECT_EQ(pathsOf(digits.toUpper() + "  a\n"), QStringList { u"a"_s });
    EXPECT_EQ(pathsOf("SHA256 (a) b) = " + digits + "\n"), QStringList { u"a) b"_s });
    EXPECT_EQ(pathsOf("SHA256(a) b)= " + digits + "\n"), QStringList { u"a) b"_s });
    EXPECT_EQ(pathsOf("SHA256(a)=" + digits), QStringList { u"a"_s });
    EXPECT_EQ(pathsOf(digits + "\ta\n" + digits + "\t*b\n"), (QStringList { u"a"_s, u"b"_s }));
    EXPECT_EQ(pathsOf(digits + "   a\n"), QStringList { u" a"_s });
    EXPECT_EQ(pathsOf(digits + "  **a\n"), QStringList { u"**a"_s });
}

TEST(ChecksumLinesTest, parse_commentsEmptyLinesAndCarriageReturns_doNotMatter)
{
    EXPECT_EQ(pathsOf("# made by hand\r\n\r\n" + digits + "  a\r\n\n#" + digits + "  b\n"),
              QStringList { u"a"_s });
}

TEST(ChecksumLinesTest, parse_dotSlashInFront_isLeftOut)
{
    EXPECT_EQ(pathsOf(digits + "  ./a/./b\n" + digits + "  ././c\n"),
              (QStringList { u"a/./b"_s, u"c"_s }));
}

TEST(ChecksumLinesTest, parse_millionsOfDotSlashes_takeNoLongerThanOtherText)
{
    // With a copy for each of them it takes hours.
    EXPECT_EQ(pathsOf(digits + "  " + QByteArray("./").repeated(5'000'000) + "a"),
              QStringList { u"a"_s });
}

TEST(ChecksumLinesTest, parse_escapedNames_areUnescaped)
{
    EXPECT_EQ(pathsOf('\\' + digits + R"(  a\\b\nc\rd)" + '\n'), QStringList { u"a\\b\nc\rd"_s });
    EXPECT_EQ(pathsOf(digits + R"(  a\\b)" + '\n'), QStringList { uR"(a\\b)"_s });
    EXPECT_EQ(pathsOf("\\SHA256 (a\\\\b) = " + digits), QStringList { u"a\\b"_s });
    EXPECT_EQ(pathsOf("\\SHA256(a\\\\b)= " + digits), QStringList { u"a\\b"_s });
}

TEST(ChecksumLinesTest, parse_anyOtherLine_isRefusedByItsNumber)
{
    for (const QByteArray &bad :
         { digits, digits + ' ', digits + "  ", digits + '\t', digits.left(63) + "  a",
           digits + "0  a", "g" + digits.mid(1) + "  a", "MD5 (a) = " + digits,
           "SHA256 (a) = " + digits.left(32), "SHA256  (a) = " + digits, "SHA256(a) " + digits,
           "SHA256()= " + digits, "SHA256 a) = " + digits, "SHA256" + digits,
           '\\' + digits + "  a\\", '\\' + digits + "  a\\t", QByteArray("<html>"),
           QByteArray("  # no comment"), digits + "  ./" }) {
        const auto lines = ChecksumLines::parse(digits + "  good\n" + bad + "\n");
        EXPECT_EQ(int(lines.error().errorCode()), int(ErrorCode::BadData)) << bad.toStdString();
        EXPECT_TRUE(lines.error().errorMessage().contains(u"Line 2 "_s)) << bad.toStdString();
    }
}

TEST(ChecksumLinesTest, parse_noLine_isRefused)
{
    for (const char *text : { "", "\n\n", "# nothing\n" })
        EXPECT_EQ(int(ChecksumLines::parse(text).error().errorCode()), int(ErrorCode::BadData));
}

TEST(ChecksumLinesTest, parse_moreThanAFolderMayHold_isRefused)
{
    const QByteArray line = digits + "  a\n";
    EXPECT_EQ(ChecksumLines::parse(line.repeated(100'000)).value().size(), 100'000);
    EXPECT_EQ(ChecksumLines::parse(line.repeated(1'000'000)).error().errorMessage(),
              u"There are more than 100000 checksums in the list."_s);
}

} // namespace zel::test
