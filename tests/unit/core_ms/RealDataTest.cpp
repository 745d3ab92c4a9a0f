#include "DataFormats.h"

#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDirIterator>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString folders = u"usr/lib/R/site-library/readBrukerFlexData/Examples/"_s;
const QString files = u"usr/lib/R/site-library/MALDIquantForeign/exampledata/"_s;
const QStringList fid { u"BrukerFID"_s };
const QStringList nothing;

/// What scripts/real-data has unpacked, copied under names of the test's own.
class RealDataTest : public testing::Test
{
protected:
    QString original(const QString &name) const
    {
        const QString path = qEnvironmentVariable("ZEL_REAL_DATA") + u'/' + name;
        EXPECT_TRUE(QFileInfo::exists(path)) << qPrintable(path);
        return path;
    }

    QString copyFolder(const QString &name, const QString &newName) const
    {
        const QDir from(original(name));
        const QString target = dir.filePath(newName);
        QDirIterator entries(from.path(), QDir::Files, QDirIterator::Subdirectories);
        EXPECT_TRUE(entries.hasNext()) << qPrintable(from.path());
        while (entries.hasNext()) {
            const QString file = entries.next();
            test::writeFile(target + u'/' + from.relativeFilePath(file), test::readFile(file));
        }
        return target;
    }

    QString copyFile(const QString &name, const QString &newName) const
    {
        const QString target = dir.filePath(newName);
        test::writeFile(target, test::readFile(original(name)));
        return target;
    }

private:
    QTemporaryDir dir;
};

} // namespace

TEST_F(RealDataTest, detect_vendorFolderInD_isWhatItIs)
{
    const QStringList samples { u"2010_05_19_Gibb_C8_A1"_s, u"hpc/fid"_s, u"hpc"_s };
    for (const QString &sample : samples) {
        const QString folder = copyFolder(folders + sample, sample + u".d"_s);
        EXPECT_EQ(DataFormats::detect(folder), fid) << qPrintable(sample);
        EXPECT_TRUE(DataFormats::byName(folder).contains(fid.first()));
    }
}

TEST_F(RealDataTest, detect_vendorFolderUnderItsOwnName_isNothing)
{
    for (const QString &sample : { u"2010_05_19_Gibb_C8_A1"_s, u"hpc/fid"_s }) {
        const QString folder = original(folders + sample);
        EXPECT_EQ(DataFormats::detect(folder), nothing) << qPrintable(folder);
        EXPECT_EQ(DataFormats::byName(folder), nothing) << qPrintable(folder);
    }
}

TEST_F(RealDataTest, detect_vendorFolderWithoutItsData_isNothing)
{
    const QString folder = copyFolder(folders + u"2010_05_19_Gibb_C8_A1"_s, u"sample.d"_s);
    ASSERT_TRUE(QFile::remove(folder + u"/0_A1/1/1SLin/fid"_s));
    EXPECT_EQ(DataFormats::detect(folder), fid); // the other sample of the folder is there
    ASSERT_TRUE(QFile::remove(folder + u"/0_A2/1/1SLin/fid"_s));
    EXPECT_EQ(DataFormats::detect(folder), nothing);
}

TEST_F(RealDataTest, detect_openFormats_areToldByNameAndInFull)
{
    const QStringList mzml { u"Mzml"_s };
    const QStringList mzxml { u"Mzxml"_s };
    const QList<std::pair<QString, QStringList>> expected {
        { files + u"tiny1.mzML1.1.mzML"_s, mzml },
        { files + u"tiny1.mzXML3.0.mzXML"_s, mzxml },
        { folders + u"hpc/mzXML/hpc.mzXML"_s, mzxml },
        { files + u"tiny_processed.imzML"_s, nothing }, // ends in mzML, but not in .mzML
    };
    for (const auto &[name, formats] : expected) {
        EXPECT_EQ(DataFormats::byName(original(name)), formats) << qPrintable(name);
        EXPECT_EQ(DataFormats::detect(original(name)), formats) << qPrintable(name);
    }
}

TEST_F(RealDataTest, detect_openFormatUnderAnotherName_isToldByThatName)
{
    const QString mzml = files + u"tiny1.mzML1.1.mzML"_s;
    EXPECT_EQ(DataFormats::detect(copyFile(mzml, u"x.MZML"_s)), QStringList(u"Mzml"_s));
    EXPECT_EQ(DataFormats::detect(copyFile(mzml, u"x.mgf"_s)), QStringList(u"Mgf"_s));
    EXPECT_EQ(DataFormats::detect(copyFile(mzml, u"x.xml"_s)), nothing);
    EXPECT_EQ(DataFormats::detect(copyFile(mzml, u"x.d"_s)), nothing);
}
