#include "holders/ResourceReasons.h"

#include "output/Format.h"
#include "output/Json.h"
#include "output/LabeledLines.h"
#include "references/ResourceReference.h"
#include "removal/PurgePlan.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ResourceReasons)
};

using Snapshot = ResourceCacheReader::Snapshot;
using Resource = ResourceCacheReader::Resource;
using Verdict = ResourceReasons::Verdict;
using Place = ResourceReasons::Place;

std::optional<QVersionNumber> declaredVersion(const QString &reference)
{
    const auto read = ResourceReference::fromString(reference);
    return read.hasValue() ? std::optional(read.value()->referenceVersion()) : std::nullopt;
}

/// Counted, not looked up in the order of the purge, which would have to be made first.
std::optional<Place> placeOf(const Resource &resource, const Snapshot &snapshot,
                             const ResourceUsers &users)
{
    if (!mayBePurged(resource, users))
        return {};
    Place place { 1, 0, 0 };
    bool cameFirst = true;
    for (const Resource &each : snapshot.resources) {
        cameFirst = cameFirst && each.reference != resource.reference;
        if (!mayBePurged(each, users))
            continue;
        ++place.of;
        if (each.lastAccess > resource.lastAccess
            || (each.lastAccess == resource.lastAccess && !cameFirst))
            continue;
        ++place.number;
        place.bytesBefore += each.size;
    }
    return place;
}

bool any(const QList<Holder> &holders, Holder::Role role, bool counting)
{
    return std::any_of(holders.begin(), holders.end(), [role, counting](const Holder &holder) {
        return holder.role == role && (!counting || holder.program.counts);
    });
}

Verdict verdictOnItsWay(const QList<Holder> &holders)
{
    if (any(holders, Holder::Role::Fetches, true))
        return Verdict::Fetched;
    if (any(holders, Holder::Role::Fetches, false))
        return Verdict::FetcherGone;
    return any(holders, Holder::Role::Waits, false) ? Verdict::Waiting : Verdict::Abandoned;
}

/// `toFree`: bytes, if a purge is due.
Verdict verdictOf(const ResourceReasons &reasons, bool isThere, std::optional<qint64> toFree)
{
    switch (reasons.resource.status) {
    case ResourceStatus::Ready:
        break;
    case ResourceStatus::Missing:
        return Verdict::Missing;
    case ResourceStatus::ScheduledForAcquire:
    case ResourceStatus::Acquiring:
        return verdictOnItsWay(reasons.holders);
    case ResourceStatus::Invalid:
        return Verdict::UnknownStatus;
    }
    if (!isThere)
        return Verdict::DataGone;
    if (any(reasons.holders, Holder::Role::Uses, true))
        return Verdict::InUse;
    const bool isNext = toFree && reasons.place && reasons.place->bytesBefore <= *toFree;
    return isNext ? Verdict::NextToGo : Verdict::Kept;
}

QString verdictName(Verdict verdict)
{
    switch (verdict) {
    case Verdict::InUse:
        return u"inUse"_s;
    case Verdict::NextToGo:
        return u"nextToGo"_s;
    case Verdict::Kept:
        return u"kept"_s;
    case Verdict::DataGone:
        return u"dataGone"_s;
    case Verdict::Missing:
        return u"missing"_s;
    case Verdict::Fetched:
        return u"fetched"_s;
    case Verdict::FetcherGone:
        return u"fetcherGone"_s;
    case Verdict::Waiting:
        return u"waiting"_s;
    case Verdict::Abandoned:
        return u"abandoned"_s;
    case Verdict::UnknownStatus:
        return u"unknownStatus"_s;
    }
    return {};
}

QString missingText(const ResourceReasons &reasons)
{
    const QString text = Texts::tr(
        "It is not here. Whether it ever was, and why it went, the cache does not record.");
    return reasons.resource.policy == ResourceCleanupPolicy::OnClose
        ? text + u' ' + Texts::tr("Its policy removes it with the end of its last use.")
        : text;
}

/// A program counts for a while after its end.
QString fetchedText(const ResourceReasons &reasons)
{
    const bool isAnyThere
        = std::any_of(reasons.holders.begin(), reasons.holders.end(), [](const Holder &holder) {
              const Liveness liveness = holder.program.liveness;
              return holder.role == Holder::Role::Fetches
                  && (liveness == Liveness::Alive || liveness == Liveness::Silent);
          });
    return isAnyThere
        ? Texts::tr("It is being fetched.")
        : Texts::tr("Its fetch stands still: the program that fetched it is dead, or cannot be "
                    "seen from here. Until it has been silent for 30 s, nobody takes over.");
}

QString verdictText(const ResourceReasons &reasons)
{
    switch (reasons.verdict) {
    case Verdict::InUse:
        return Texts::tr("It is here and stays, since it is in use.");
    case Verdict::NextToGo:
        return Texts::tr("It is here, and the next purge takes it.");
    case Verdict::Kept:
        return Texts::tr("It is here. Nobody uses it, and a purge would leave it alone now.");
    case Verdict::DataGone:
        return Texts::tr("The cache has it as ready, but nothing lies at its path.");
    case Verdict::Missing:
        return missingText(reasons);
    case Verdict::Fetched:
        return fetchedText(reasons);
    case Verdict::FetcherGone:
        return Texts::tr("Its fetch stands still: the program that fetched it is gone or silent.");
    case Verdict::Waiting:
        return Texts::tr("It is wanted, and no program has begun to fetch it.");
    case Verdict::Abandoned:
        return Texts::tr("It was wanted, but the cache knows no program that still wants it.");
    case Verdict::UnknownStatus:
        break;
    }
    return Texts::tr("Its status is none that this program knows.");
}

QString versionText(const ResourceReasons &reasons)
{
    if (!reasons.hasCopy())
        return Texts::tr("none");
    const QVersionNumber &stored = reasons.resource.version;
    const QString text = stored.isNull() ? Texts::tr("none") : stored.toString();
    if (!reasons.declared)
        return Texts::tr("%1; whether it is outdated is unknown, since this program cannot read "
                         "the reference")
            .arg(text);
    if (!reasons.isOutdated())
        return Texts::tr("%1, not outdated").arg(text);
    return Texts::tr("%1, outdated: the reference declares %2")
        .arg(text, reasons.declared->toString());
}

QString placeText(const ResourceReasons &reasons)
{
    if (const auto &place = reasons.place)
        return Texts::tr("number %1 of %2 in line, behind %3")
            .arg(QString::number(place->number), QString::number(place->of),
                 sizeText(place->bytesBefore));
    if (reasons.resource.size > 0)
        return Texts::tr("not in line, since it is in use");
    return reasons.resource.path.isEmpty() ? Texts::tr("not in line, since nothing is here")
                                           : Texts::tr("not in line, since its size is not known");
}

QString timeLine(const ResourceReasons &reasons)
{
    const qint64 last = reasons.resource.lastAccess;
    const std::chrono::seconds age((reasons.now - last) / 1000);
    return Texts::tr("%1 (%2 ago); what was before is not recorded")
        .arg(timeText(last), durationText(age));
}

QJsonValue placeJson(const std::optional<Place> &place)
{
    if (!place)
        return {};
    return QJsonObject { { u"number"_s, place->number },
                         { u"of"_s, place->of },
                         { u"bytesBefore"_s, place->bytesBefore } };
}

} // namespace

ResourceReasons resourceReasons(const Snapshot &snapshot, const Resource &resource, bool isThere,
                                const ResourceCacheSizes &limits, qint64 now,
                                const ProcessLookup &look)
{
    const ResourceUsers users = usersByReference(snapshot, now);
    ResourceReasons reasons;
    reasons.resource = resource;
    reasons.holders = holdersOf(snapshot, resource.reference, now, look);
    reasons.lastWriter = programOfClient(snapshot, resource.lastWriterClientId, now, look);
    reasons.declared = declaredVersion(resource.reference);
    reasons.place = placeOf(resource, snapshot, users);
    reasons.now = now;
    reasons.verdict
        = verdictOf(reasons, isThere, bytesToFree(snapshot.currentSize, purgeLimits(limits, {})));
    return reasons;
}

QStringList resourceReasonLines(const ResourceReasons &reasons)
{
    const Resource &resource = reasons.resource;
    QList<Labeled> lines {
        { Texts::tr("Reference"), resource.reference },
        { Texts::tr("Status"), toText(resource.status) },
        { Texts::tr("Status since"), timeLine(reasons) },
        { Texts::tr("Written by"), programText(reasons.lastWriter, reasons.now) },
        { Texts::tr("Policy"), toText(resource.policy) },
        { Texts::tr("Size"), resource.size > 0 ? sizeText(resource.size) : Texts::tr("unknown") },
        { Texts::tr("Version"), versionText(reasons) },
        { Texts::tr("Purge"), placeText(reasons) },
    };
    for (const QString &line : holderLines(reasons.holders, reasons.now))
        lines.append({ Texts::tr("Program"), line });
    return QStringList { verdictText(reasons) } + labeledLines(lines);
}

QJsonObject resourceReasonsJson(const ResourceReasons &reasons)
{
    const Resource &resource = reasons.resource;
    const bool isKnown = reasons.declared || !reasons.hasCopy();
    const QJsonValue outdated = isKnown ? QJsonValue(reasons.isOutdated()) : QJsonValue();
    const QJsonValue version = reasons.hasCopy() ? json::orNull(resource.version) : QJsonValue();
    return { { u"reference"_s, resource.reference },
             { u"verdict"_s, verdictName(reasons.verdict) },
             { u"status"_s, toText(resource.status) },
             { u"size"_s, resource.size },
             { u"path"_s, json::orNull(resource.path) },
             { u"lastAccess"_s, resource.lastAccess },
             { u"lastWriter"_s, programJson(reasons.lastWriter) },
             { u"cleanupPolicy"_s, toText(resource.policy) },
             { u"version"_s, version },
             { u"declaredVersion"_s, json::orNull(reasons.declared.value_or(QVersionNumber())) },
             { u"outdated"_s, outdated },
             { u"purgePlace"_s, placeJson(reasons.place) },
             { u"holders"_s, holdersJson(reasons.holders) } };
}

} // namespace zel::cli
