#include "get/ReferenceList.h"

#include "Printers.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(ReferenceListTest, referencesIn_text_isOneReferenceALine)
{
    EXPECT_EQ(
        referencesIn(u"http://a\r\n\n  # said\n share:/b c \nhttp://a#md5=1"_s, ListForm::Lines),
        (QStringList { u"http://a"_s, u"share:/b c"_s, u"http://a#md5=1"_s }));
    EXPECT_TRUE(referencesIn(QString(), ListForm::Lines).isEmpty());
}

TEST(ReferenceListTest, referencesIn_nullTerminated_takesEachAsItStands)
{
    const QString text = u"share:/a\nb "_s + QChar(0) + u"#c"_s + QChar(0) + u"d"_s;
    EXPECT_EQ(referencesIn(text, ListForm::NullTerminated),
              (QStringList { u"share:/a\nb "_s, u"#c"_s, u"d"_s }));
}

TEST(ReferenceListTest, readReferenceList_file_isRead)
{
    const QTemporaryDir directory;
    test::writeFile(directory.filePath(u"list"_s), "http://ü\nhttp://b\n");
    const auto references = readReferenceList(directory.filePath(u"list"_s), ListForm::Lines);
    ASSERT_TRUE(references.hasValue());
    EXPECT_EQ(references.value(), (QStringList { u"http://ü"_s, u"http://b"_s }));
}

TEST(ReferenceListTest, readReferenceList_missingFileOrFolder_failsAndNamesIt)
{
    const QTemporaryDir directory;
    for (const QString &path : { directory.filePath(u"missing"_s), directory.path() }) {
        const auto references = readReferenceList(path, ListForm::Lines);
        ASSERT_FALSE(references.hasValue());
        EXPECT_EQ(references.error().errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(references.error().errorMessage().contains(path));
    }
}

TEST(ReferenceListTest, readReferenceList_atItsBound_isReadAndBeyondItRefused)
{
    constexpr qint64 bound = 64 * 1024 * 1024;
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"list"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("http://a\n#");
    ASSERT_TRUE(file.resize(bound)); // the rest is one comment
    file.close();
    const auto references = readReferenceList(file.fileName(), ListForm::Lines);
    ASSERT_TRUE(references.hasValue()) << references.error().description().toStdString();
    EXPECT_EQ(references.value(), QStringList { u"http://a"_s });

    ASSERT_TRUE(file.resize(bound + 1));
    const auto refused = readReferenceList(file.fileName(), ListForm::Lines);
    ASSERT_FALSE(refused.hasValue());
    EXPECT_EQ(refused.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(refused.error().errorMessage(),
              u"The list %1 is longer than 64 MiB."_s.arg(file.fileName()));
}

} // namespace zel::cli
