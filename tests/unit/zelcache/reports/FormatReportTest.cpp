#include "reports/FormatReport.h"

#include "Printers.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonObject>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

class FormatReportTest : public testing::Test
{
protected:
    QString file(const QString &name) const
    {
        test::writeFile(folder.outside(name), "x");
        return folder.outside(name);
    }

    test::TemporaryCache folder;
};

TEST_F(FormatReportTest, formatFinding_recognisedData_isNotByName)
{
    const FormatFinding finding = formatFinding(file(u"a.mzML"_s));
    EXPECT_TRUE(finding.exists);
    EXPECT_EQ(finding.formats, QStringList { u"Mzml"_s });
    EXPECT_FALSE(finding.byNameOnly);
}

TEST_F(FormatReportTest, formatFinding_nameThatTheDataDoesNotBearOut_isByName)
{
    ASSERT_TRUE(QDir().mkpath(folder.outside(u"a.raw"_s)));
    const FormatFinding finding = formatFinding(folder.outside(u"a.raw"_s));
    EXPECT_TRUE(finding.exists);
    EXPECT_EQ(finding.formats, (QStringList { u"Waters"_s, u"Thermo"_s }));
    EXPECT_TRUE(finding.byNameOnly);
}

TEST_F(FormatReportTest, formatFinding_missingPath_isToldByName)
{
    const FormatFinding finding = formatFinding(folder.outside(u"none.mgf"_s));
    EXPECT_FALSE(finding.exists);
    EXPECT_EQ(finding.formats, QStringList { u"Mgf"_s });
    EXPECT_TRUE(finding.byNameOnly);
}

TEST_F(FormatReportTest, formatFinding_folderWithASlash_isTheFolder)
{
    file(u"a.raw/_FUNC001.DAT"_s);
    for (const QString &end : { u""_s, u"/"_s, u"//"_s, u"/."_s, u"/x/.."_s }) {
        const FormatFinding finding = formatFinding(folder.outside(u"a.raw"_s) + end);
        EXPECT_EQ(finding.formats, QStringList { u"Waters"_s }) << qPrintable(end);
        EXPECT_FALSE(finding.byNameOnly);
    }
}

TEST_F(FormatReportTest, formatFinding_oddPaths_areJustNotRecognised)
{
    for (const QString &path :
         { u""_s, u"."_s, u".."_s, u"/"_s, u"//"_s, u":"_s, u":/"_s, u":/qt-project.org"_s,
           u"\x1b\n"_s, QString(10'000, u'x'), u"%1%2%n"_s, u"*"_s }) {
        const FormatFinding finding = formatFinding(path);
        EXPECT_EQ(finding.formats, QStringList()) << qPrintable(path);
        EXPECT_FALSE(finding.byNameOnly);
        EXPECT_EQ(finding.path, path);
    }
    EXPECT_FALSE(formatFinding({}).exists);
    EXPECT_FALSE(formatFinding(u":/"_s).exists) << "is no place of Qt's own";
}

TEST_F(FormatReportTest, findingLines_eachKind_isTold)
{
    const QList<FormatFinding> findings { { u"/a.mzML"_s, true, { u"Mzml"_s }, false },
                                          { u"/a.raw"_s, true, { u"Waters"_s, u"Thermo"_s }, true },
                                          { u"/a %1"_s, true, {}, false } };
    EXPECT_EQ(
        findingLines(findings, 80),
        (QStringList { u"Mzml                     /a.mzML"_s, u"Waters,Thermo (by name)  /a.raw"_s,
                       u"unknown                  /a %1"_s }));
    EXPECT_EQ(findingLines({}, 80), QStringList());
}

TEST_F(FormatReportTest, findingLines_listAsLongAsTheTerminal_doesNotPadTheOthers)
{
    const QStringList many { u"LongNameOfOne"_s, u"LongNameOfTwo"_s };
    EXPECT_EQ(findingLines(
                  { { u"/a"_s, true, { u"Mzml"_s }, false }, { u"/b"_s, true, many, false } }, 20),
              (QStringList { u"Mzml        /a"_s, u"LongNameOfOne,LongNameOfTwo  /b"_s }));
}

TEST_F(FormatReportTest, findingsJson_eachKind_hasTheSameMembers)
{
    const QJsonArray results = findingsJson({ { u"/a"_s, true, { u"Mzml"_s }, false }, {} });
    ASSERT_EQ(results.size(), 2);
    const QJsonObject known = results.at(0).toObject();
    EXPECT_EQ(known.value(u"path"_s).toString(), u"/a"_s);
    EXPECT_TRUE(known.value(u"exists"_s).toBool());
    EXPECT_EQ(known.value(u"formats"_s).toArray(), QJsonArray { u"Mzml"_s });
    EXPECT_EQ(known.value(u"byNameOnly"_s), QJsonValue(false));
    EXPECT_EQ(results.at(1).toObject().keys(), known.keys());
}

TEST_F(FormatReportTest, formatLines_allFormats_areATable)
{
    const QStringList lines = formatLines();
    ASSERT_EQ(lines.size(), 26);
    EXPECT_EQ(lines.at(0), u"NAME              KIND            EXTENSION  DESCRIPTION"_s);
    EXPECT_EQ(lines.at(1), u"Testing           file            -          Testing"_s);
    EXPECT_EQ(lines.at(22),
              u"Zacq              file or folder  zacq       Zelmark Acquisition file"_s);
}

TEST_F(FormatReportTest, formatsJson_allFormats_tellTheirKind)
{
    const QJsonArray formats = formatsJson();
    ASSERT_EQ(formats.size(), 25);
    const QJsonObject zacq = formats.at(21).toObject();
    EXPECT_EQ(zacq.value(u"name"_s).toString(), u"Zacq"_s);
    EXPECT_TRUE(zacq.value(u"isFile"_s).toBool());
    EXPECT_TRUE(zacq.value(u"isFolder"_s).toBool());
    EXPECT_EQ(zacq.value(u"extension"_s).toString(), u"zacq"_s);
    EXPECT_EQ(zacq.value(u"description"_s).toString(), u"Zelmark Acquisition file"_s);
}

} // namespace zel::cli
