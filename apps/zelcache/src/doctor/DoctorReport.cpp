#include "doctor/DoctorReport.h"

#include "output/Json.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QMap>

#include <algorithm>
#include <array>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::DoctorReport)
};

/// So many of a kind are shown; a volume that is gone has as many as there are resources.
constexpr qsizetype shownOfAKind = 20;
constexpr qsizetype shownSteps = 50;

qsizetype damagesIn(const Findings &findings)
{
    return std::count_if(findings.begin(), findings.end(),
                         [](const Finding &finding) { return finding.isDamage(); });
}

QString severityWord(Severity severity)
{
    switch (severity) {
    case Severity::Note:
        return Texts::tr("note");
    case Severity::Warning:
        return Texts::tr("warning");
    case Severity::Error:
        break;
    }
    return Texts::tr("error");
}

QString stepName(RepairStep::Kind kind)
{
    static constexpr std::array<QStringView, 12> names {
        u"open-cache",  u"end-fetch",     u"put-back",      u"follow-move",
        u"forget-data", u"clear-missing", u"forget-size",   u"count-size",
        u"count-all",   u"sum-up",        u"clean-staging", u"remove-data"
    };
    return names.at(std::size_t(kind)).toString();
}

QString damagesText(qsizetype count)
{
    return count == 1 ? Texts::tr("1 damage") : Texts::tr("%n damages", nullptr, int(count));
}

QString repairsText(qsizetype count)
{
    return count == 1 ? Texts::tr("1 repair") : Texts::tr("%n repairs", nullptr, int(count));
}

QString plansText(int count)
{
    return count == 1 ? Texts::tr("1 plan") : Texts::tr("%n plans", nullptr, count);
}

QJsonObject stepJson(const RepairStep &step)
{
    return { { u"operation"_s, stepName(step.kind) },
             { u"reference"_s, json::orNull(step.reference) },
             { u"path"_s, json::orNull(step.path) },
             { u"text"_s, stepText(step) } };
}

QJsonArray findingsJson(const Findings &findings)
{
    QJsonArray array;
    for (const Finding &finding : findings) {
        const FindingDescription &description = descriptionOf(finding.kind);
        array.append(QJsonObject { { u"id"_s, description.id.toString() },
                                   { u"severity"_s, severityText(description.severity) },
                                   { u"subject"_s, json::orNull(finding.subject) },
                                   { u"explanation"_s, finding.explanation },
                                   { u"remedy"_s, remedyText(finding) },
                                   { u"repairable"_s, finding.repair.has_value() } });
    }
    return array;
}

QJsonArray planJson(const RepairPlan &plan)
{
    QJsonArray array;
    for (const RepairStep &step : plan)
        array.append(stepJson(step));
    return array;
}

QJsonArray repairsJson(const QList<RepairOutcome> &outcomes)
{
    QJsonArray array;
    for (const RepairOutcome &outcome : outcomes) {
        QJsonObject object = stepJson(outcome.step);
        if (outcome.failure.hasError())
            object.insert(u"error"_s, json::error(outcome.failure));
        array.append(object);
    }
    return array;
}

} // namespace

bool DoctorReport::hasTried(const RepairStep &step) const
{
    return repairs
        && std::any_of(repairs->begin(), repairs->end(),
                       [&step](const RepairOutcome &outcome) { return outcome.step == step; });
}

ExitCode exitCodeOf(const DoctorReport &report)
{
    if (damagesIn(report.findings) == 0)
        return DoctorExit::clean;
    return report.repairs && damagesIn(report.left) == 0 ? DoctorExit::repaired : DoctorExit::left;
}

Findings damagesOf(const Findings &findings)
{
    Findings damages = findings;
    damages.removeIf([](const Finding &finding) { return !finding.isDamage(); });
    return damages;
}

QStringList findingLines(const Findings &findings)
{
    QStringList lines;
    QMap<FindingKind, qsizetype> counts;
    for (const Finding &finding : findings) {
        if (++counts[finding.kind] > shownOfAKind)
            continue;
        const FindingDescription &description = descriptionOf(finding.kind);
        lines.append(
            u"%1: %2%3"_s.arg(severityWord(description.severity), description.id,
                              finding.subject.isEmpty() ? QString() : u": "_s + finding.subject));
        lines.append(u"  "_s + finding.explanation);
        lines.append(u"  "_s + remedyText(finding));
    }
    for (auto kind = counts.cbegin(); kind != counts.cend(); ++kind) {
        if (*kind > shownOfAKind)
            lines.append(Texts::tr("and %1 more of %2")
                             .arg(*kind - shownOfAKind)
                             .arg(descriptionOf(kind.key()).id));
    }
    return lines;
}

QStringList planLines(const RepairPlan &plan, int furtherPlans)
{
    if (plan.isEmpty())
        return {};
    QStringList lines { Texts::tr("Plan:") };
    for (const RepairStep &step : plan.first(std::min(plan.size(), shownSteps)))
        lines.append(u"  "_s + stepText(step));
    if (plan.size() > shownSteps)
        lines.append(u"  "_s + Texts::tr("and %1 more").arg(plan.size() - shownSteps));
    if (furtherPlans > 0)
        lines.append(Texts::tr("Then it is looked again. What this brings to light is repaired as "
                               "well, with at most %1 more.")
                         .arg(plansText(furtherPlans)));
    return lines;
}

QString verdictText(const DoctorReport &report)
{
    const qsizetype damages = damagesIn(report.findings);
    if (damages == 0)
        return Texts::tr("The cache is in good order.");
    const QString all = damagesText(damages);
    if (!report.repairs)
        return u"%1, %2."_s.arg(all, repairsText(report.plan.size()));
    if (report.isInterrupted) {
        return u"%1, %2."_s.arg(
            all, Texts::tr("interrupted after %1").arg(repairsText(report.repairs->size())));
    }
    const qsizetype left = damagesIn(report.left);
    return u"%1, %2."_s.arg(
        all, left == 0 ? Texts::tr("all repaired") : Texts::tr("%n left", nullptr, int(left)));
}

QJsonObject doctorJson(const DoctorReport &report)
{
    QJsonObject object { { u"findings"_s, findingsJson(report.findings) },
                         { u"plan"_s, planJson(report.plan) },
                         { u"furtherPlans"_s,
                           report.plan.isEmpty() ? 0 : DoctorReport::mostPlans - 1 },
                         { u"dryRun"_s, report.isDryRun } };
    if (report.repairs) {
        object.insert(u"repairs"_s, repairsJson(*report.repairs));
        object.insert(u"left"_s,
                      report.isInterrupted ? QJsonValue() : QJsonValue(findingsJson(report.left)));
    }
    return object;
}

} // namespace zel::cli
