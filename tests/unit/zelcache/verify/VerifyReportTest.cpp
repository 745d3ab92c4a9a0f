#include "verify/VerifyReport.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Kind = ContentVerifier::Kind;

VerifyResult resultWith(Verdict verdict, const QList<ContentVerifier::Finding> &findings = {})
{
    VerifyResult result;
    result.reference = u"share:/a/run.d"_s;
    result.path = u"/cache/run.d"_s;
    result.verdict = verdict;
    result.findings = findings;
    return result;
}

VerifyResult failed(int code)
{
    VerifyResult result;
    result.reference = u"share:/b"_s;
    result.isNotHere = code == 3;
    result.failure = Error(code, u"no"_s);
    return result;
}

QStringList linesOf(const VerifyResult &result, bool tellsAll = false)
{
    VerifyReport report;
    report.results = { result };
    return verifyLines(report, tellsAll);
}

ExitCode codeOf(const QList<VerifyResult> &results)
{
    VerifyReport report;
    report.results = results;
    return verifyCode(report);
}

} // namespace

TEST(VerifyReportTest, verifyLines_intact_isToldOnlyIfAsked)
{
    const VerifyResult intact = resultWith(Verdict::Intact);
    EXPECT_EQ(linesOf(intact), QStringList { u"Read 0 B: 1 intact"_s });
    EXPECT_EQ(linesOf(intact, true),
              (QStringList { u"intact        share:/a/run.d"_s, u"Read 0 B: 1 intact"_s }));
}

TEST(VerifyReportTest, verifyLines_nothing_saysSo)
{
    EXPECT_EQ(verifyLines({}, false), QStringList { u"Read 0 B: nothing to verify"_s });
}

TEST(VerifyReportTest, verifyLines_findings_haveASentenceEach)
{
    const QStringList lines
        = linesOf(resultWith(Verdict::Incomplete,
                             { { Kind::Changed, "run.d/a", 5, 5, 4, {} },
                               { Kind::Changed, "run.d/b", 5, 5, -1, {} },
                               { Kind::Changed, "run.d/c", 5, 7, -1, {} },
                               { Kind::Truncated, "run.d/d", 5, 3, -1, {} },
                               { Kind::Missing, "run.d/e", 5, 0, -1, {} },
                               { Kind::Unreadable, "run.d/f", 5, 0, -1, u"denied"_s },
                               { Kind::Extra, "run.d/g", 0, 5, -1, {} } }));
    const QString indent(14, u' ');
    ASSERT_EQ(lines.size(), 10);
    EXPECT_EQ(lines.at(0), u"incomplete    share:/a/run.d"_s);
    EXPECT_EQ(lines.at(1),
              indent + u"run.d/a differs from what was fetched, somewhere behind byte 4."_s);
    EXPECT_EQ(lines.at(2), indent + u"run.d/b differs from what was fetched."_s);
    EXPECT_EQ(lines.at(3), indent + u"run.d/c has 7 bytes instead of 5."_s);
    EXPECT_EQ(lines.at(4), indent + u"run.d/d is cut off: 3 of 5 bytes."_s);
    EXPECT_EQ(lines.at(5), indent + u"run.d/e is missing."_s);
    EXPECT_EQ(lines.at(6), indent + u"run.d/f cannot be read: denied."_s);
    EXPECT_EQ(lines.at(7), indent + u"run.d/g came in after the fetch."_s);
    EXPECT_TRUE(lines.at(8).contains(u"nobody uses it"_s)) << lines.at(8).toStdString();
}

TEST(VerifyReportTest, verifyLines_manyFindings_tellTheFirstAndHowManyMore)
{
    const QList<ContentVerifier::Finding> many(1000, { Kind::Missing, "run.d/e", 5, 0, -1, {} });
    const QStringList lines = linesOf(resultWith(Verdict::Incomplete, many));
    EXPECT_EQ(lines.size(), 14);
    EXPECT_TRUE(lines.at(11).endsWith(u"And 990 more files."_s)) << lines.at(11).toStdString();
}

TEST(VerifyReportTest, verifyJson_result_hasAllMembers)
{
    VerifyReport report;
    report.results
        = { resultWith(Verdict::Truncated, { { Kind::Truncated, "run.d/d", 5, 3, -1, {} } }),
            failed(2) };
    report.results[0].fetched = QDateTime::fromMSecsSinceEpoch(1000, Qt::UTC);
    report.readBytes = 7;
    report.isCutShort = true;
    const QJsonObject json = verifyJson(report);
    const QJsonObject result = json.value(u"results"_s).toArray().at(0).toObject();
    EXPECT_EQ(result.value(u"verdict"_s).toString(), u"truncated"_s);
    EXPECT_EQ(result.value(u"fetched"_s).toInt(), 1000);
    EXPECT_TRUE(result.value(u"verified"_s).isNull());
    const QJsonObject finding { { u"kind"_s, u"truncated"_s },
                                { u"path"_s, u"run.d/d"_s },
                                { u"expectedSize"_s, 5 },
                                { u"size"_s, 3 } };
    EXPECT_EQ(result.value(u"findings"_s).toArray(), QJsonArray { finding });
    EXPECT_EQ(json.value(u"counts"_s).toObject().value(u"truncated"_s).toInt(), 1);
    EXPECT_EQ(json.value(u"counts"_s).toObject().value(u"notReached"_s).toInt(), 0)
        << "what could not be verified at all is counted nowhere";
    EXPECT_EQ(json.value(u"readBytes"_s).toInt(), 7);
    EXPECT_FALSE(json.value(u"complete"_s).toBool());
}

TEST(VerifyReportTest, verifyCode_isThatOfTheWorst)
{
    const VerifyResult intact = resultWith(Verdict::Intact);
    EXPECT_EQ(codeOf({ intact, resultWith(Verdict::NoManifest), resultWith(Verdict::NotReached) }),
              ExitCode::Success);
    EXPECT_EQ(codeOf({ intact, failed(3) }), ExitCode::AnswerIsNo);
    EXPECT_EQ(codeOf({ intact, resultWith(Verdict::Unreadable), failed(3) }), ExitCode::Failed);
    EXPECT_EQ(codeOf({ failed(2), failed(3) }), ExitCode::BadArgument);
    for (const Verdict verdict : { Verdict::Changed, Verdict::Truncated, Verdict::Incomplete })
        EXPECT_EQ(codeOf({ failed(2), resultWith(verdict), intact }), ExitCode::IntegrityViolated);
}

} // namespace zel::cli
