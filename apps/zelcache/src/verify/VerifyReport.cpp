#include "verify/VerifyReport.h"

#include "holders/ResourceUsers.h"
#include "output/Format.h"
#include "output/Json.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>

#include <algorithm>
#include <array>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::VerifyReport)
};

using Finding = ContentVerifier::Finding;
using Kind = ContentVerifier::Kind;

constexpr qsizetype mostFindings = 10;

QString verdictText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Intact:
        return Texts::tr("intact");
    case Verdict::NotReached:
        return Texts::tr("not reached");
    case Verdict::NoManifest:
        return Texts::tr("no manifest");
    case Verdict::BadManifest:
        return Texts::tr("bad manifest");
    case Verdict::Unreadable:
        return Texts::tr("unreadable");
    case Verdict::Changed:
        return Texts::tr("changed");
    case Verdict::Truncated:
        return Texts::tr("truncated");
    case Verdict::Incomplete:
        break;
    }
    return Texts::tr("incomplete");
}

int verdictColumns()
{
    qsizetype columns = 14; // as wide as the English ones take
    for (int i = 0; i <= int(Verdict::Incomplete); ++i)
        columns = std::max(columns, verdictText(Verdict(i)).size() + 2);
    return int(columns);
}

QString kindName(Kind kind)
{
    static constexpr std::array<QStringView, 5> names { u"changed", u"truncated", u"missing",
                                                        u"unreadable", u"extra" };
    return names.at(std::size_t(kind)).toString();
}

QString changeSentence(const QString &file, const Finding &finding)
{
    if (finding.foundSize != finding.expectedSize)
        return Texts::tr("%1 has %2 bytes instead of %3.")
            .arg(file, QString::number(finding.foundSize), QString::number(finding.expectedSize));
    if (finding.offset < 0)
        return Texts::tr("%1 differs from what was fetched.").arg(file);
    return Texts::tr("%1 differs from what was fetched, somewhere behind byte %2.")
        .arg(file, QString::number(finding.offset));
}

QString sentenceOf(const Finding &finding)
{
    const QString file = QFile::decodeName(finding.path);
    switch (finding.kind) {
    case Kind::Changed:
        return changeSentence(file, finding);
    case Kind::Truncated:
        return Texts::tr("%1 is cut off: %2 of %3 bytes.")
            .arg(file, QString::number(finding.foundSize), QString::number(finding.expectedSize));
    case Kind::Missing:
        return Texts::tr("%1 is missing.").arg(file);
    case Kind::Unreadable:
        return Texts::tr("%1 cannot be read: %2.").arg(file, finding.reason);
    case Kind::Extra:
        break;
    }
    return Texts::tr("%1 came in after the fetch.").arg(file);
}

QString useText(const VerifyResult &result)
{
    const QString time = timeText(result.lastAccess);
    if (result.holders.isEmpty())
        return Texts::tr("Here since %1; nobody uses it.").arg(time);
    return Texts::tr("Here since %1; in use by %2.").arg(time, processesText(result.holders));
}

QStringList detailLines(const VerifyResult &result)
{
    QStringList lines = result.notes;
    for (const Finding &finding :
         result.findings.first(std::min(mostFindings, result.findings.size())))
        lines.append(sentenceOf(finding));
    if (const int further = int(result.findings.size() - mostFindings); further > 0)
        lines.append(further == 1 ? Texts::tr("And 1 more file.")
                                  : Texts::tr("And %n more files.", nullptr, further));
    if (isViolation(result.verdict) || result.verdict == Verdict::Unreadable)
        lines.append(useText(result));
    return lines;
}

bool isWorthALine(const VerifyResult &result, bool tellsAll)
{
    const bool isQuiet = result.verdict == Verdict::Intact || result.verdict == Verdict::NotReached;
    return !result.failure.hasError() && (tellsAll || !isQuiet || !result.findings.isEmpty());
}

QString totalLine(const VerifyReport &report)
{
    QStringList counts;
    for (int i = 0; i <= int(Verdict::Incomplete); ++i) {
        if (const int count = report.count(Verdict(i)); count > 0)
            counts.append(u"%1 %2"_s.arg(QString::number(count), verdictText(Verdict(i))));
    }
    return Texts::tr("Read %1: %2")
        .arg(sizeText(report.readBytes),
             counts.isEmpty() ? Texts::tr("nothing to verify") : counts.join(u", "_s));
}

QJsonValue momentJson(const QDateTime &moment)
{
    return moment.isValid() ? QJsonValue(moment.toMSecsSinceEpoch()) : QJsonValue();
}

QJsonObject findingJson(const Finding &finding)
{
    QJsonObject object { { u"kind"_s, kindName(finding.kind) },
                         { u"path"_s, QFile::decodeName(finding.path) } };
    if (finding.kind == Kind::Unreadable) {
        object.insert(u"reason"_s, finding.reason);
        return object;
    }
    if (finding.kind != Kind::Extra)
        object.insert(u"expectedSize"_s, finding.expectedSize);
    object.insert(u"size"_s, finding.foundSize);
    if (finding.offset >= 0)
        object.insert(u"offset"_s, finding.offset);
    return object;
}

QJsonObject resultJson(const VerifyResult &result)
{
    if (result.failure.hasError())
        return json::entry(result.reference, result.failure);
    QJsonArray findings;
    for (const Finding &finding : result.findings)
        findings.append(findingJson(finding));
    return { { u"reference"_s, result.reference },
             { u"path"_s, result.path },
             { u"verdict"_s, verdictName(result.verdict) },
             { u"findings"_s, findings },
             { u"notes"_s, QJsonArray::fromStringList(result.notes) },
             { u"fetched"_s, momentJson(result.fetched.value_or(QDateTime())) },
             { u"verified"_s, momentJson(result.verified) },
             { u"lastAccess"_s, result.lastAccess },
             { u"processes"_s, processesJson(result.holders) } };
}

} // namespace

void VerifyResult::take(const ResourceVerification &verification)
{
    verdict = verification.verdict();
    findings = verification.findings();
    notes = verification.notes();
    if (const auto manifest = verification.manifest()) {
        fetched = manifest->fetched;
        verified = manifest->verified;
    }
}

int VerifyReport::count(Verdict verdict) const
{
    return int(std::count_if(results.begin(), results.end(), [verdict](const auto &result) {
        return !result.failure.hasError() && result.verdict == verdict;
    }));
}

QStringList verifyLines(const VerifyReport &report, bool tellsAll)
{
    const int columns = verdictColumns();
    QStringList lines;
    for (const VerifyResult &result : report.results) {
        if (!isWorthALine(result, tellsAll))
            continue;
        lines.append(verdictText(result.verdict).leftJustified(columns) + result.reference);
        const QStringList details = detailLines(result);
        for (const QString &detail : details)
            lines.append(QString(columns, u' ') + detail);
    }
    if (report.staleManifests > 0)
        lines.append(Texts::tr("Manifests of what has left the cache: %1, removed.")
                         .arg(report.staleManifests));
    lines.append(totalLine(report));
    return lines;
}

QJsonObject verifyJson(const VerifyReport &report)
{
    QJsonArray results;
    for (const VerifyResult &result : report.results)
        results.append(resultJson(result));
    QJsonObject counts;
    for (int i = 0; i <= int(Verdict::Incomplete); ++i)
        counts.insert(verdictName(Verdict(i)), report.count(Verdict(i)));
    return { { u"results"_s, results },
             { u"counts"_s, counts },
             { u"readBytes"_s, report.readBytes },
             { u"staleManifests"_s, report.staleManifests },
             { u"complete"_s, !report.isCutShort } };
}

QString worstSentence(const VerifyResult &result)
{
    if (!isViolation(result.verdict))
        return {};
    for (const Finding &finding : result.findings) {
        if (finding.kind != Kind::Extra)
            return sentenceOf(finding);
    }
    return result.notes.value(0);
}

ExitCode verifyCode(const VerifyReport &report)
{
    QList<Error> failures;
    bool isViolated = false;
    bool allHere = true;
    for (const VerifyResult &result : report.results) {
        allHere = allHere && !result.isNotHere;
        if (result.failure.hasError() && !result.isNotHere)
            failures.append(result.failure);
        else if (!result.failure.hasError())
            isViolated = isViolated || isViolation(result.verdict);
    }
    if (isViolated)
        return ExitCode::IntegrityViolated;
    if (!failures.isEmpty())
        return exitCodeOf(failures);
    if (report.count(Verdict::Unreadable) + report.count(Verdict::BadManifest) > 0)
        return ExitCode::Failed;
    return allHere ? ExitCode::Success : ExitCode::AnswerIsNo;
}

} // namespace zel::cli
