#include "MsFileInfo.h"

#include "LogCapture.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;

namespace {

enum Kind { File, Folder, Both };

struct Facts
{
    const char *name;
    VendorDataFormat format;
    QString extension;
    Kind kind;
    QString description;
};

using F = VendorDataFormat;
const Facts facts[] = {
    { "Testing", F::Testing, {}, File, u"Testing"_s },
    { "Zyspec2", F::Zyspec2, u"zyspec2"_s, File, u"Zyspec v2"_s },
    { "BrukerFID", F::BrukerFID, u"d"_s, Folder, u"Bruker"_s },
    { "BrukerYEP", F::BrukerYEP, u"d"_s, Folder, u"Bruker"_s },
    { "BrukerBAF", F::BrukerBAF, u"d"_s, Folder, u"Bruker"_s },
    { "BrukerU2", F::BrukerU2, u"d"_s, Folder, u"Bruker"_s },
    { "BrukerBAFandU2", F::BrukerBAF_and_U2, u"d"_s, Folder, u"Bruker"_s },
    { "BrukerTims", F::BrukerTims, u"d"_s, Folder, u"Bruker Tims"_s },
    { "BrukerTsf", F::BrukerTsf, u"d"_s, Folder, u"Bruker Tsf"_s },
    { "AgilentAcqData", F::AgilentAcqData, u"d"_s, Folder, u"Agilent"_s },
    { "Mobilion", F::Mobilion, u"mbi"_s, File, u"MOBILion"_s },
    { "Waters", F::Waters, u"raw"_s, Folder, u"Waters"_s },
    { "Shimadzu", F::Shimadzu, u"lcd"_s, File, u"Shimadzu"_s },
    { "SciexWiff", F::SciexWiff, u"wiff"_s, File, u"Sciex wiff"_s },
    { "SciexWiff2", F::SciexWiff2, u"wiff2"_s, File, u"Sciex wiff2"_s },
    { "MsFaux", F::MsFaux, u"msfaux"_s, File, u"Simulated msfaux"_s },
    { "MsFaux2", F::MsFaux2, u"msfaux2"_s, File, u"Simulated msfaux2"_s },
    { "Thermo", F::Thermo, u"raw"_s, File, u"Thermo"_s },
    { "Mgf", F::Mgf, u"mgf"_s, File, u"Mascot generic format (mgf)"_s },
    { "Mzml", F::Mzml, u"mzml"_s, File, u"Open data format mzml"_s },
    { "Mzxml", F::Mzxml, u"mzxml"_s, File, u"Open data format mzxml"_s },
    { "Zacq", F::Zacq, u"zacq"_s, Both, u"Zelmark Acquisition file"_s },
    { "DataCut", F::DataCut, u"data.cut"_s, File, u"Data Cut"_s },
    { "DataCutEmbedded", F::DataCutEmbedded, {}, File, u"Data Cut Embedded"_s },
    { "Csv2d", F::Csv2d, u"csv2d"_s, File, u"Csv2D"_s },
};

class MsFileInfoFormatsTest : public testing::TestWithParam<Facts>
{
};

const QSet<VendorDataFormat> brukerFormats { F::BrukerFID,       F::BrukerYEP,  F::BrukerBAF,
                                             F::BrukerU2,        F::BrukerTims, F::BrukerTsf,
                                             F::BrukerBAF_and_U2 };

DataSourceLocation at(const QString &path)
{
    return DataSourceLocation(path);
}

QStringList genericWarnings(const test::LogCapture &log)
{
    return log.texts(QtWarningMsg, "zel.generic");
}

} // namespace

TEST_P(MsFileInfoFormatsTest, questions_everyFormat_areAnsweredWithoutAWarning)
{
    const Facts &known = GetParam();
    const test::LogCapture log;
    EXPECT_EQ(MsFileInfo::fileNameExtension(known.format), known.extension);
    EXPECT_EQ(MsFileInfo::formatDescription(known.format), known.description);
    EXPECT_EQ(MsFileInfo::isFile(known.format), known.kind != Folder);
    EXPECT_EQ(MsFileInfo::isFolder(known.format), known.kind != File);
    EXPECT_EQ(genericWarnings(log), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Formats, MsFileInfoFormatsTest, testing::ValuesIn(facts),
                         [](const auto &tested) { return tested.param.name; });

TEST(MsFileInfoTest, questions_unknownFormat_areEmptyAndWarned)
{
    for (const int number : { 0, 26, 99, -1 }) {
        const auto format = static_cast<VendorDataFormat>(number);
        const test::LogCapture log;
        EXPECT_EQ(MsFileInfo::fileNameExtension(format), QString());
        EXPECT_EQ(MsFileInfo::formatDescription(format), QString());
        EXPECT_FALSE(MsFileInfo::isFile(format));
        EXPECT_FALSE(MsFileInfo::isFolder(format));
        const QString warning = u"Unknown file format: %1"_s.arg(number);
        EXPECT_EQ(genericWarnings(log), QStringList({ warning, warning, warning, warning }));
    }
}

TEST(MsFileInfoTest, allFormats_isEveryFormatButUnknown)
{
    QSet<VendorDataFormat> expected;
    for (const Facts &known : facts)
        expected.insert(known.format);
    EXPECT_EQ(expected.size(), 25);
    EXPECT_EQ(allFormats(), expected);
}

TEST(MsFileInfoTest, fileFormatExtensions_leaveOutFoldersAndFormatsWithoutExtension)
{
    EXPECT_EQ(fileFormatExtensions(),
              QSet<QString>({ u"zyspec2"_s, u"mbi"_s, u"lcd"_s, u"wiff"_s, u"wiff2"_s, u"msfaux"_s,
                              u"msfaux2"_s, u"raw"_s, u"mgf"_s, u"mzml"_s, u"mzxml"_s, u"zacq"_s,
                              u"data.cut"_s, u"csv2d"_s }));
}

TEST(MsFileInfoTest, folderFormatExtensions_areThoseOfFolders)
{
    EXPECT_EQ(folderFormatExtensions(), QSet<QString>({ u"d"_s, u"raw"_s, u"zacq"_s }));
}

TEST(MsFileInfoTest, detectFormats_byName_asksAllDetectorsWithoutTheDisk)
{
    EXPECT_EQ(MsFileInfo::detectFormatsByName(at(u"/nowhere/x.RAW"_s)),
              QSet({ F::Thermo, F::Waters }));
    EXPECT_EQ(MsFileInfo::detectFormatsByName(at(u"/nowhere/x.d"_s)),
              brukerFormats | QSet({ F::AgilentAcqData }));
    EXPECT_TRUE(MsFileInfo::detectFormatsByName(at(u"/nowhere/x.txt"_s)).isEmpty());
    EXPECT_TRUE(MsFileInfo::detectFormatsByName(at(QString())).isEmpty());
}

TEST(MsFileInfoTest, detectFormats_stopAtFirst_isTheAnswerOfTheFirstDetector)
{
    EXPECT_EQ(MsFileInfo::detectFormats(at(u"x.d"_s), true, true), QSet({ F::AgilentAcqData }));
    EXPECT_EQ(MsFileInfo::detectFormats(at(u"x.raw"_s), true, true), QSet({ F::Thermo }));
    EXPECT_TRUE(MsFileInfo::detectFormats(at(u"x.txt"_s), true, true).isEmpty());
}

TEST(MsFileInfoTest, detectFormats_inFull_looksAtTheDisk)
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"x.mzML"_s);
    EXPECT_TRUE(MsFileInfo::detectFormats(at(path)).isEmpty());
    EXPECT_FALSE(MsFileInfo::isSupportedDataSource(at(path), false));
    test::writeFile(path, "x");
    EXPECT_EQ(MsFileInfo::detectFormats(at(path)), QSet({ F::Mzml }));
    EXPECT_EQ(MsFileInfo::detectFormats(at(path), false, true), QSet({ F::Mzml }));
    EXPECT_TRUE(MsFileInfo::isSupportedDataSource(at(path), false));
}

TEST(MsFileInfoTest, detectFormats_folderOfTwoFormats_givesBothUnlessStopped)
{
    const QTemporaryDir dir;
    const QString folder = dir.filePath(u"x.d"_s);
    test::writeFile(folder + u"/AcqData/msscan.bin"_s, "x");
    test::writeFile(folder + u"/analysis.tdf"_s, "x");
    EXPECT_EQ(MsFileInfo::detectFormats(at(folder)), QSet({ F::AgilentAcqData, F::BrukerTims }));
    EXPECT_EQ(MsFileInfo::detectFormats(at(folder), false, true), QSet({ F::AgilentAcqData }));
}

TEST(MsFileInfoTest, detectFormats_databaseHandler_isEmbeddedWhateverTheFlags)
{
    const auto location = DataSourceLocation::fromDatabaseHandler(nullptr);
    const QSet embedded({ F::DataCutEmbedded });
    for (const bool extensionOnly : { false, true }) {
        for (const bool stopAtFirst : { false, true })
            EXPECT_EQ(MsFileInfo::detectFormats(location, extensionOnly, stopAtFirst), embedded);
        EXPECT_TRUE(MsFileInfo::isSupportedDataSource(location, extensionOnly));
    }
    EXPECT_EQ(MsFileInfo::detectFormats(location), embedded);
    EXPECT_EQ(MsFileInfo::detectFormatsByName(location), embedded);
}

TEST(MsFileInfoTest, isSupportedDataSource_byName_needsNoFile)
{
    EXPECT_TRUE(MsFileInfo::isSupportedDataSource(at(u"/nowhere/x.MZML"_s), true));
    EXPECT_FALSE(MsFileInfo::isSupportedDataSource(at(u"/nowhere/x.MZML"_s), false));
    EXPECT_FALSE(MsFileInfo::isSupportedDataSource(at(u"/nowhere/x.txt"_s), true));
}
