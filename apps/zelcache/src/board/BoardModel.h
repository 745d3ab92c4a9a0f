#pragma once

#include "ResourceCacheSizes.h"
#include "holders/ClientLife.h"

#include <QHash>
#include <QList>
#include <QString>

#include <chrono>
#include <optional>
#include <utility>

namespace zel::cli {

/// What a fetch told of itself last.
struct BoardTransfer
{
    QString reference; ///< key form
    qint64 processId = 0;
    bool isBeingWritten
        = false; ///< the very process that told it lives, as far as is seen from here
    qint64 bytes = 0;
    std::optional<qint64> totalBytes;
    qint64 bytesPerSecond = 0;
    qint64 updated = 0; ///< milliseconds since the epoch
};

/// Everything that is read for the board, as of one moment.
struct BoardLook
{
    qint64 now = 0; ///< milliseconds since the epoch
    ResourceCacheReader::Activity activity;
    QList<BoardTransfer> transfers; ///< newest first
    QHash<qint64, ProcessSight> processes; ///< by number
    std::optional<qint64> freeBytes; ///< on the volume of the data
};

/// A program that has the cache open, or that left a row behind.
struct BoardParty
{
    qint64 processId = 0; ///< 0 if it is not known
    QString program; ///< empty if it is not known
    std::optional<Liveness> life; ///< empty if the database no longer knows the program
    std::optional<qint64> lastSign; ///< of life, in milliseconds since the epoch
    std::optional<qint64> lastPing; ///< the same of the row alone
    bool counts = false; ///< the others take it for alive
};

/// All that the board shows, without a thought of how.
struct Board
{
    struct Fetch
    {
        QString reference; ///< empty if the row names a resource that does not exist
        BoardParty fetcher;
        int percent = 0;
        std::optional<qint64> bytes; ///< empty, like the next three, if the fetch tells nothing
        std::optional<qint64> totalBytes;
        std::optional<double> bytesPerSecond;
        std::optional<std::chrono::seconds> timeLeft;
    };

    struct Waiter
    {
        QString reference;
        BoardParty program;
        qint64 since = 0; ///< when the board saw it first, in milliseconds since the epoch
    };

    QString baseDirectory;
    qint64 now = 0; ///< milliseconds since the epoch
    QString trouble; ///< why the cache cannot be read; all else is empty then
    qint64 currentSize = 0;
    ResourceCacheSizes limits;
    std::optional<qint64> freeBytes;
    QHash<ResourceStatus, int> resourceCounts;
    QList<Fetch> fetches; ///< in the order in which they began, like the next two
    QList<Waiter> waiters;
    QList<BoardParty> clients;
};

/// Makes the board of what is looked at again and again. It remembers what one look cannot tell:
/// since when somebody waits, how fast a fetch has been lately, and whether a program that cannot
/// be seen from here gives signs of life. Reads nothing, and has no clock.
class BoardModel
{
public:
    BoardModel(const QString &baseDirectory, const ResourceCacheSizes &limits);

    /// Looks come in the order of their time.
    Board update(const BoardLook &look);
    /// The board of a moment at which nothing could be read. What is remembered stays.
    Board unreadable(qint64 now, const QString &trouble) const;

private:
    Board boardAt(qint64 now) const;
    void addTasks(Board &board, const BoardLook &look);
    struct Rate
    {
        qint64 bytes = 0;
        qint64 at = 0;
        double bytesPerSecond = 0;
    };

    /// What one client's signs of life told until now.
    struct Signs
    {
        qint64 last = 0;
        bool seemedDead = false;
        bool livesElsewhere = false;
    };

    BoardParty partyOf(const ResourceCacheReader::Client &client, const BoardLook &look);
    BoardParty partyOf(qint64 clientId) const;
    Board::Fetch fetchOf(const ResourceCacheReader::AcquiringTask &task, const BoardLook &look);
    void addTransfer(Board::Fetch &fetch, const BoardTransfer &transfer, qint64 now);
    double smoothedRate(const BoardTransfer &transfer, qint64 now);
    void forgetWhatIsGone(const BoardLook &look);

    using WaiterKey = std::pair<QString, qint64>; ///< reference and client

    const QString baseDirectory;
    const ResourceCacheSizes limits;
    QHash<qint64, BoardParty> parties; ///< of the look at hand, by client
    QHash<qint64, Signs> signsByClient;
    QHash<QString, Rate> rates; ///< by reference
    QHash<WaiterKey, qint64> waitingSince;
};

} // namespace zel::cli
