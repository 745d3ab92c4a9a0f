#include "files/HiddenNames_p.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <initializer_list>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray nameOf(const QString &path)
{
    return QFile::encodeName(QFileInfo(path).fileName());
}

} // namespace

TEST(HiddenNamesTest, leftoverBeside_path_isAnotherNameInItsFolderEachTime)
{
    const QString first = HiddenNames::leftoverBeside(u"/cache/share/1/run.raw"_s);
    const QString second = HiddenNames::leftoverBeside(u"/cache/share/1/run.raw"_s);
    EXPECT_NE(first, second);
    for (const QString &path : { first, second }) {
        EXPECT_EQ(QFileInfo(path).path(), u"/cache/share/1"_s);
        EXPECT_TRUE(nameOf(path).startsWith('.'));
        EXPECT_TRUE(HiddenNames::isLeftover(nameOf(path))) << path.toStdString();
        EXPECT_FALSE(HiddenNames::isPartial(nameOf(path))) << path.toStdString();
    }
}

TEST(HiddenNamesTest, leftoverPattern_folder_findsLeftoversAlone)
{
    const QTemporaryDir folder;
    const QString leftover = HiddenNames::leftoverBeside(folder.filePath(u"run.raw"_s));
    for (const QString &path : { leftover, folder.filePath(u".leftover-of-somebody"_s) }) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QStringList found
        = QDir(folder.path())
              .entryList({ HiddenNames::leftoverPattern() }, QDir::Files | QDir::Hidden);
    EXPECT_EQ(found, QStringList(QFileInfo(leftover).fileName()));
}

TEST(HiddenNamesTest, isLeftover_otherNames_isFalse)
{
    const QByteArray digits(32, '5');
    for (const QByteArray &name : std::initializer_list<QByteArray> {
             "", ".leftover-", ".leftover-of-somebody", "leftover-" + digits,
             ".leftover-" + digits + "5", ".leftover-" + QByteArray(32, 'x') })
        EXPECT_FALSE(HiddenNames::isLeftover(name)) << name.toStdString();
    EXPECT_TRUE(HiddenNames::isLeftover(".leftover-" + digits));
}

TEST(HiddenNamesTest, partial_eachTime_isAnotherNameAndKnown)
{
    const QByteArray first = HiddenNames::partial();
    const QByteArray second = HiddenNames::partial();
    EXPECT_NE(first, second);
    for (const QByteArray &name : { first, second }) {
        EXPECT_TRUE(name.startsWith('.'));
        EXPECT_LE(name.size(), 32); // short
        EXPECT_TRUE(HiddenNames::isPartial(name)) << name.toStdString();
        EXPECT_FALSE(HiddenNames::isLeftover(name)) << name.toStdString();
    }
}

TEST(HiddenNamesTest, isPartial_otherNames_isFalse)
{
    for (const char *name : { "", ".zel-", ".partial", "zel-5.partial", ".zel-5.part",
                              ".zel-.partial", ".zel-run.partial" })
        EXPECT_FALSE(HiddenNames::isPartial(name)) << name;
    // What programs of an earlier day have left is known as well.
    EXPECT_TRUE(HiddenNames::isPartial(".zel-5f.partial"));
}
