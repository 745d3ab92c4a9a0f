#include "DataFormats.h"

#include "MsFileInfo.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Stands in a folder while it lives.
class WorkingDirectory
{
public:
    explicit WorkingDirectory(const QString &folder)
        : before(QDir::currentPath())
    {
        EXPECT_TRUE(QDir::setCurrent(folder));
    }
    ~WorkingDirectory() { QDir::setCurrent(before); }
    WorkingDirectory(const WorkingDirectory &) = delete;
    WorkingDirectory &operator=(const WorkingDirectory &) = delete;

private:
    QString before;
};

} // namespace

TEST(DataFormatsTest, all_everyFormat_isDescribedInTheOrderOfTheNumbers)
{
    const QList<DataFormats::Format> all = DataFormats::all();
    ASSERT_EQ(all.size(), 25);
    for (int i = 0; i < all.size(); ++i) {
        const auto format = static_cast<msreader::VendorDataFormat>(i + 1);
        EXPECT_EQ(all[i].name, msreader::vendorDataFormatToString(format));
        EXPECT_EQ(all[i].extension, msreader::MsFileInfo::fileNameExtension(format));
        EXPECT_EQ(all[i].description, msreader::MsFileInfo::formatDescription(format));
        EXPECT_EQ(all[i].isFile, msreader::MsFileInfo::isFile(format));
        EXPECT_EQ(all[i].isFolder, msreader::MsFileInfo::isFolder(format));
    }
}

TEST(DataFormatsTest, byName_missingPath_givesNamesInTheOrderOfTheNumbers)
{
    EXPECT_EQ(DataFormats::byName(u"/nowhere/x.raw"_s), QStringList({ u"Waters"_s, u"Thermo"_s }));
    EXPECT_EQ(DataFormats::byName(u"/nowhere/x.d"_s),
              QStringList({ u"BrukerFID"_s, u"BrukerYEP"_s, u"BrukerBAF"_s, u"BrukerU2"_s,
                            u"BrukerBAF_and_U2"_s, u"BrukerTims"_s, u"BrukerTsf"_s,
                            u"AgilentAcqData"_s }));
    EXPECT_EQ(DataFormats::byName(u"/nowhere/x.txt"_s), QStringList());
    EXPECT_EQ(DataFormats::byName(QString()), QStringList());
}

TEST(DataFormatsTest, detect_data_decidesBetweenTheFormatsOfAName)
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"file.raw"_s);
    const QString folder = dir.filePath(u"folder.raw"_s);
    test::writeFile(file, "x");
    test::writeFile(folder + u"/_FUNC001.DAT"_s, "x");
    EXPECT_EQ(DataFormats::detect(file), QStringList(u"Thermo"_s));
    EXPECT_EQ(DataFormats::detect(folder), QStringList(u"Waters"_s));
    EXPECT_EQ(DataFormats::detect(dir.filePath(u"missing.raw"_s)), QStringList());
}

TEST(DataFormatsTest, detect_severalFormats_areInTheOrderOfTheNumbers)
{
    const QTemporaryDir dir;
    const QString folder = dir.filePath(u"x.d"_s);
    test::writeFile(folder + u"/AcqData/msscan.bin"_s, "x");
    test::writeFile(folder + u"/analysis.tsf"_s, "x");
    EXPECT_EQ(DataFormats::detect(folder), QStringList({ u"BrukerTsf"_s, u"AgilentAcqData"_s }));
}

TEST(DataFormatsTest, path_relativeOrEndingInASlash_isTheSameData)
{
    const QTemporaryDir dir;
    test::writeFile(dir.filePath(u"x.raw/_FUNC001.DAT"_s), "x");
    EXPECT_EQ(DataFormats::detect(dir.filePath(u"x.raw/"_s)), QStringList(u"Waters"_s));
    EXPECT_EQ(DataFormats::byName(u"/nowhere/x.lcd//"_s), QStringList(u"Shimadzu"_s));

    const WorkingDirectory inside(dir.filePath(u"x.raw"_s));
    EXPECT_EQ(DataFormats::detect(u"."_s), QStringList(u"Waters"_s));
    EXPECT_EQ(DataFormats::detect(u"../x.raw"_s), QStringList(u"Waters"_s));
}
