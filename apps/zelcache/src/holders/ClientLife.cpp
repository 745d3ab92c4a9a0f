#include "holders/ClientLife.h"

#include "platform/ProcessFacts.h"
#include "platform/ProcessIdentity.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// After this long without a ping the others take a program for dead: the threshold of
/// ResourceCacheLiveness.cpp.
constexpr qint64 silenceOfTheDead = 30'000;

/// So much earlier than its process a ping may seem to have come: the start is told in hundredths
/// of a second, by another clock.
constexpr qint64 uncertaintyOfStart = 200;

std::optional<Liveness> endOf(const ResourceCacheReader::Client &client, const ProcessSight &sight)
{
    if (!sight.startedAt)
        return Liveness::Dead;
    // Who pinged cannot have been started after that.
    if (*sight.startedAt > client.lastPing + uncertaintyOfStart)
        return Liveness::Reused;
    // Who has a row has the file open. Another container counts its processes for itself.
    if (!sight.hasCacheOpen.value_or(true))
        return Liveness::Dead;
    return {};
}

} // namespace

ProcessLookup processesOf(const QString &databasePath)
{
    return [databasePath](qint64 processId) -> ProcessSight {
        return { ProcessIdentity::startOf(processId), ProcessFacts::programOf(processId),
                 ProcessFacts::hasOpen(processId, databasePath) };
    };
}

QString livenessName(Liveness liveness)
{
    switch (liveness) {
    case Liveness::Alive:
        return u"alive"_s;
    case Liveness::Silent:
        return u"silent"_s;
    case Liveness::Dead:
        return u"dead"_s;
    case Liveness::Reused:
        return u"reused"_s;
    }
    return {};
}

ClientLife::ClientLife(const Client &client, const ProcessSight &sight)
    : client(client)
    , programSeen(sight.program)
    , end(endOf(client, sight))
{
}

Liveness ClientLife::at(qint64 now) const
{
    if (end)
        return *end;
    return counts(client, now) ? Liveness::Alive : Liveness::Silent;
}

QString ClientLife::program() const
{
    return end ? QString() : programSeen;
}

bool ClientLife::counts(const Client &client, qint64 now)
{
    return now <= countsUntil(client.lastPing);
}

qint64 ClientLife::countsUntil(qint64 lastPing)
{
    return lastPing + silenceOfTheDead;
}

} // namespace zel::cli
