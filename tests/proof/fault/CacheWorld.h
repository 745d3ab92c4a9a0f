#pragma once

#include "CacheInvariants.h"
#include "RemoteResourceHandler.h"
#include "ResourceRetrieveHandle.h"
#include "support/CacheFixture.h"
#include "support/PingTimer.h"

#include <QVariant>

#include <optional>

namespace zel::test {

/// An open cache with resources in every state, and what operations have answered.
///
/// test:file       Ready, a file of 10 bytes, accessed first
/// test:tree       Ready, a folder of three files and 6 bytes, accessed second
/// test:missing    a row without data
/// test:bystander  Ready, a file of 9 bytes, in use by another living process
/// test:taken      being fetched by that process
class CacheWorld
{
public:
    CacheWorld();
    ~CacheWorld();
    CacheWorld(const CacheWorld &) = delete;
    CacheWorld &operator=(const CacheWorld &) = delete;

    Error open();
    /// Closes what is open and opens it once more, as the program does that comes next.
    Error reopen();
    CacheInvariants invariants() const;
    /// What has befallen the resources that no operation is about; empty if nothing.
    QString damageToOthers() const;
    CacheDatabase database() const { return CacheDatabase(files.databasePath()); }
    /// The first value that a statement gives, as a text.
    QString text(const QString &sql, const QList<QVariant> &values = {}) const;
    QString status(const QString &reference) const { return database().status(reference); }
    QString dataPath(const QString &relativePath) const;
    bool exists(const QString &relativePath) const;
    int usesOf(const QString &reference) const;
    /// Leaves a closed cache without a database.
    void removeDatabase();
    /// A container whose inner paths are so long that it needs a second place.
    void makeContainer(const QString &path) const;
    /// test:zacq, Ready, in its two places.
    void addSparseContainer();
    /// A process that has died in the middle of a fetch of test:dead, using test:file.
    void addDeadClient();
    /// A process of this client number that has died with nothing.
    void addClient(qint64 id);
    bool hasDeadClient() const { return hasDeadClient_; }
    /// The row of sums is there twice, and wrong.
    void spoilSums() const;
    /// Lets the ping's turn come, which has to be found before.
    void findPing();
    void ping();
    /// A handler of test:added in this cache, which is to lie in test/added/.
    void makeHandler();
    std::unique_ptr<ResourceRetrieveHandle> newFetch(const QString &reference,
                                                     const QString &path) const;
    /// Makes this process the fetcher.
    void startFetch(const QString &reference = QStringLiteral("test:missing"),
                    const QString &path = QStringLiteral("test/missing/name"));
    /// "" if they are the same, else what is not as expected.
    static QString difference(const QVariant &actual, const QVariant &expected);

    static constexpr qint64 deadProcess = 4001002;

    const TemporaryCache files; // goes last
    const std::unique_ptr<TestCache> cache = std::make_unique<TestCache>();
    ResourceCacheDao dao; ///< for operations of its own, while the cache is closed
    std::unique_ptr<ResourceCache::InUseHandle> use;
    std::unique_ptr<ResourceRetrieveHandle> fetch;
    std::unique_ptr<ResourceRetrieveHandle> secondFetch;
    std::unique_ptr<RemoteResourceHandler> handler;
    ResourceCacheSizes sizes;
    QVariant answer;

private:
    void letGo();
    ResourceCachePath path() const;

    bool hasContainer = false; ///< whose size is not that at its path
    bool hasOthers = true;
    bool hasDeadClient_ = false;
    std::optional<PingTimer> pingTimer;
};

} // namespace zel::test
