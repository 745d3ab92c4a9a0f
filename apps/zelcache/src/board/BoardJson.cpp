#include "board/BoardJson.h"

#include "ExitCode.h"
#include "output/Json.h"

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject partyJson(const BoardParty &party)
{
    const bool isRegistered = party.life.has_value();
    const QString state = isRegistered ? livenessName(*party.life) : u"unregistered"_s;
    return { { u"process"_s, isRegistered ? QJsonValue(party.processId) : QJsonValue() },
             { u"program"_s, json::orNull(party.program) },
             { u"state"_s, state },
             { u"alive"_s, party.life == Liveness::Alive },
             { u"counts"_s, party.counts },
             { u"lastPing"_s, json::orNull(party.lastPing) },
             { u"lastSign"_s, json::orNull(party.lastSign) } };
}

QJsonObject fetchJson(const Board::Fetch &fetch)
{
    QJsonObject object = partyJson(fetch.fetcher);
    object.insert(u"reference"_s, fetch.reference);
    object.insert(u"fetching"_s, true);
    object.insert(u"percent"_s, fetch.percent);
    object.insert(u"receivedBytes"_s, json::orNull(fetch.bytes));
    object.insert(u"totalBytes"_s, json::orNull(fetch.totalBytes));
    object.insert(u"bytesPerSecond"_s, json::orNull(fetch.bytesPerSecond));
    object.insert(u"secondsLeft"_s,
                  fetch.timeLeft ? QJsonValue(qint64(fetch.timeLeft->count())) : QJsonValue());
    return object;
}

QJsonObject waiterJson(const Board::Waiter &waiter)
{
    QJsonObject object = partyJson(waiter.program);
    object.insert(u"reference"_s, waiter.reference);
    object.insert(u"fetching"_s, false);
    object.insert(u"waitingSince"_s, waiter.since);
    return object;
}

QJsonArray fetchesJson(const Board &board)
{
    QJsonArray fetches;
    for (const Board::Fetch &fetch : board.fetches)
        fetches.append(fetchJson(fetch));
    for (const Board::Waiter &waiter : board.waiters)
        fetches.append(waiterJson(waiter));
    return fetches;
}

QJsonArray clientsJson(const Board &board)
{
    QJsonArray clients;
    for (const BoardParty &client : board.clients)
        clients.append(partyJson(client));
    return clients;
}

QJsonObject sizesJson(const Board &board)
{
    return { { u"current"_s, board.currentSize },
             { u"optimal"_s, board.limits.optimalSize },
             { u"maximum"_s, board.limits.maximumSize },
             { u"free"_s, json::orNull(board.freeBytes) } };
}

QJsonObject countsJson(const Board &board)
{
    QJsonObject object;
    for (const auto status : { ResourceStatus::Ready, ResourceStatus::Missing,
                               ResourceStatus::ScheduledForAcquire, ResourceStatus::Acquiring })
        object.insert(toText(status), board.resourceCounts.value(status));
    return object;
}

} // namespace

QJsonObject boardJson(const Board &board)
{
    QJsonObject object { { u"time"_s, board.now }, { u"baseDirectory"_s, board.baseDirectory } };
    if (!board.trouble.isEmpty()) {
        const Error error(int(ExitCode::CacheUnavailable), board.trouble);
        object.insert(u"error"_s, json::error(error));
        return object;
    }
    object.insert(u"sizes"_s, sizesJson(board));
    object.insert(u"resources"_s, countsJson(board));
    object.insert(u"fetches"_s, fetchesJson(board));
    object.insert(u"clients"_s, clientsJson(board));
    return object;
}

} // namespace zel::cli
