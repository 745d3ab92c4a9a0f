#include "doctor/Checks.h"

#include "output/Format.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::cli::checks {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ClientChecks)
};

using Reader = ResourceCacheReader;

std::optional<FindingKind> kindOf(const Examination &all, const Reader::Client &client)
{
    switch (all.livenessOf(client)) {
    case Liveness::Alive:
        break;
    case Liveness::Silent:
        return FindingKind::ClientSilent;
    case Liveness::Dead:
        // As long as it pings, it may live where it cannot be seen from here.
        if (ClientLife::counts(client, all.now))
            break;
        return FindingKind::ClientDead;
    case Liveness::Reused:
        return FindingKind::ClientReused;
    }
    return {};
}

QString explanationOf(FindingKind kind, const Reader::Client &client, const QString &program,
                      qint64 now)
{
    const QString silence
        = durationText(std::chrono::seconds(std::max(now - client.lastPing, qint64(0)) / 1000));
    switch (kind) {
    case FindingKind::ClientReused:
        return Texts::
            tr("Its number now belongs to another process (%1), which cannot open the cache. The "
               "client is gone and was last heard of %2 ago.")
                .arg(program, silence);
    case FindingKind::ClientSilent:
        return Texts::tr("It lives, but was last heard of %1 ago; the others take it for dead.")
            .arg(silence);
    default:
        return Texts::tr(
                   "The process is gone and was last heard of %1 ago; what it used and fetched is "
                   "still entered.")
            .arg(silence);
    }
}

void checkClient(const Examination &all, const Reader::Client &client, Findings &findings)
{
    const auto kind = kindOf(all, client);
    if (!kind)
        return;
    const ProcessFacts process = all.processes.value(client.processId);
    Finding finding { *kind,
                      u"process %1"_s.arg(client.processId),
                      explanationOf(*kind, client, process.program, all.now),
                      {} };
    // Opening takes out those alone that have been silent for long enough.
    if (*kind != FindingKind::ClientSilent && !ClientLife::counts(client, all.now))
        finding.repair = RepairStep { RepairStep::Kind::OpenCache, {}, {} };
    findings.append(finding);
}

template<typename Rows>
qsizetype countOfGone(const Rows &rows)
{
    return std::count_if(rows.begin(), rows.end(), [](const auto &row) { return !row.processId; });
}

} // namespace

void clients(const Examination &all, Findings &findings)
{
    for (const Reader::Client &client : all.snapshot.clients)
        checkClient(all, client, findings);
    const qsizetype usages = countOfGone(all.snapshot.usages);
    const qsizetype tasks = countOfGone(all.snapshot.acquiringTasks);
    if (usages + tasks == 0)
        return;
    findings.append({ FindingKind::StrayRows,
                      {},
                      Texts::tr("Usages (%1) and fetches (%2) belong to clients that are gone.")
                          .arg(usages)
                          .arg(tasks),
                      RepairStep { RepairStep::Kind::OpenCache, {}, {} } });
}

} // namespace zel::cli::checks
