#include "board/BoardModel.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace zel::cli {

namespace {

using Reader = ResourceCacheReader;

/// A rate is that of about this long, in milliseconds: shorter, and the time left jumps about.
constexpr double rateSpan = 5'000;

const BoardTransfer *transferBy(const BoardLook &look, qint64 processId)
{
    const auto found = std::find_if(
        look.transfers.begin(), look.transfers.end(),
        [processId](const BoardTransfer &transfer) { return transfer.processId == processId; });
    return found == look.transfers.end() ? nullptr : &*found;
}

/// Of several records of one resource that of the fetcher counts; else the newest one does.
const BoardTransfer *transferOf(const BoardLook &look, const Reader::AcquiringTask &task)
{
    const BoardTransfer *newest = nullptr;
    for (const BoardTransfer &transfer : look.transfers) {
        if (transfer.reference != task.reference)
            continue;
        if (transfer.processId == task.processId)
            return &transfer;
        if (newest == nullptr && transfer.isBeingWritten)
            newest = &transfer;
    }
    return newest;
}

qint64 lastSignOf(const Reader::Client &client, const BoardLook &look)
{
    const BoardTransfer *transfer = transferBy(look, client.processId);
    return std::max(client.lastPing, transfer == nullptr ? 0 : transfer->updated);
}

Liveness livenessElsewhere(const Reader::Client &client, qint64 now)
{
    return ClientLife::counts(client, now) ? Liveness::Alive : Liveness::Silent;
}

template<typename Key, typename Value>
void keepOnly(QHash<Key, Value> &values, const QSet<Key> &keys)
{
    erase_if(values, [&keys](const auto &entry) { return !keys.contains(entry.key()); });
}

} // namespace

BoardModel::BoardModel(const QString &baseDirectory, const ResourceCacheSizes &limits)
    : baseDirectory(baseDirectory)
    , limits(limits)
{
}

Board BoardModel::update(const BoardLook &look)
{
    Board board = boardAt(look.now);
    board.currentSize = look.activity.currentSize;
    board.freeBytes = look.freeBytes;
    board.resourceCounts = look.activity.resourceCounts;

    forgetWhatIsGone(look);
    parties.clear();
    for (const Reader::Client &client : look.activity.clients) {
        board.clients.append(partyOf(client, look));
        parties.insert(client.id, board.clients.constLast());
    }
    addTasks(board, look);
    return board;
}

void BoardModel::addTasks(Board &board, const BoardLook &look)
{
    QSet<WaiterKey> waiting;
    for (const Reader::AcquiringTask &task : look.activity.acquiringTasks) {
        const WaiterKey key { task.reference, task.clientId };
        if (task.progress) {
            board.fetches.append(fetchOf(task, look));
        } else if (!waiting.contains(key)) {
            // One program may want a resource several times.
            waiting.insert(key);
            const qint64 since = waitingSince.value(key, look.now);
            waitingSince.insert(key, since);
            board.waiters.append({ task.reference, partyOf(task.clientId), since });
        }
    }
}

Board BoardModel::unreadable(qint64 now, const QString &trouble) const
{
    Board board = boardAt(now);
    board.trouble = trouble;
    return board;
}

Board BoardModel::boardAt(qint64 now) const
{
    Board board;
    board.baseDirectory = baseDirectory;
    board.now = now;
    board.limits = limits;
    return board;
}

BoardParty BoardModel::partyOf(const Reader::Client &client, const BoardLook &look)
{
    const ClientLife judged(client, look.processes.value(client.processId));
    const Liveness liveness = judged.at(look.now);
    Signs &signs = signsByClient[client.id];
    const qint64 lastSign = lastSignOf(client, look);
    // What cannot be seen from here may live in another container: a sign of life that comes
    // after it seemed dead was not left behind by it.
    if (signs.seemedDead && lastSign > signs.last)
        signs.livesElsewhere = true;
    signs.seemedDead = liveness == Liveness::Dead || liveness == Liveness::Reused;
    signs.last = lastSign;

    BoardParty party;
    party.processId = client.processId;
    party.program = judged.program();
    party.life
        = signs.seemedDead && signs.livesElsewhere ? livenessElsewhere(client, look.now) : liveness;
    party.lastSign = lastSign;
    party.lastPing = client.lastPing;
    party.counts = ClientLife::counts(client, look.now);
    return party;
}

BoardParty BoardModel::partyOf(qint64 clientId) const
{
    return parties.value(clientId);
}

Board::Fetch BoardModel::fetchOf(const Reader::AcquiringTask &task, const BoardLook &look)
{
    Board::Fetch fetch;
    fetch.reference = task.reference;
    fetch.fetcher = partyOf(task.clientId);
    fetch.percent = *task.progress;
    if (const BoardTransfer *transfer = transferOf(look, task))
        addTransfer(fetch, *transfer, look.now);
    return fetch;
}

void BoardModel::addTransfer(Board::Fetch &fetch, const BoardTransfer &transfer, qint64 now)
{
    fetch.bytes = transfer.bytes;
    fetch.totalBytes = transfer.totalBytes;
    const std::optional<Liveness> life = fetch.fetcher.life;
    if (life != Liveness::Alive && life != Liveness::Silent)
        return;
    const double rate = smoothedRate(transfer, now);
    fetch.bytesPerSecond = rate;
    if (!transfer.totalBytes || rate < 1)
        return;
    const qint64 missing = std::max<qint64>(*transfer.totalBytes - transfer.bytes, 0);
    fetch.timeLeft = std::chrono::seconds(qint64(std::ceil(double(missing) / rate)));
}

double BoardModel::smoothedRate(const BoardTransfer &transfer, qint64 now)
{
    const auto known = rates.find(transfer.reference);
    // Fewer bytes than before: it began anew.
    if (known == rates.end() || transfer.bytes < known->bytes) {
        rates.insert(transfer.reference, { transfer.bytes, now, double(transfer.bytesPerSecond) });
        return double(transfer.bytesPerSecond);
    }
    Rate &rate = *known;
    const double passed = double(now - rate.at);
    if (passed <= 0)
        return rate.bytesPerSecond;
    const double latest = double(transfer.bytes - rate.bytes) * 1000 / passed;
    const double weight = 1 - std::exp(-passed / rateSpan);
    rate = { transfer.bytes, now, rate.bytesPerSecond + weight * (latest - rate.bytesPerSecond) };
    return rate.bytesPerSecond;
}

void BoardModel::forgetWhatIsGone(const BoardLook &look)
{
    QSet<qint64> clients;
    QSet<QString> references;
    QSet<WaiterKey> waiting;
    for (const Reader::Client &client : look.activity.clients)
        clients.insert(client.id);
    for (const Reader::AcquiringTask &task : look.activity.acquiringTasks) {
        if (task.progress)
            references.insert(task.reference);
        else
            waiting.insert({ task.reference, task.clientId });
    }
    keepOnly(signsByClient, clients);
    keepOnly(rates, references);
    keepOnly(waitingSince, waiting);
}

} // namespace zel::cli
