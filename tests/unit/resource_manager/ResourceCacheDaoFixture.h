#pragma once

#include "CacheDatabase.h"
#include "LogCapture.h"
#include "ResourceCacheDao.h"
#include "TemporaryCache.h"

#include <QDateTime>
#include <QRegularExpression>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Lets tests register under a process id of their choice, as another process would.
class DaoUnderTest : public ResourceCacheDao
{
public:
    using ResourceCacheDao::open;
};

inline ::testing::AssertionResult succeeded(const Error &error)
{
    if (!error.hasError())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << qPrintable(error.description());
}

template<typename T>
::testing::AssertionResult succeeded(const Result<T> &result)
{
    return succeeded(result.hasValue() ? Error() : result.error());
}

inline ::testing::AssertionResult failedWith(const Error &error, ErrorCode code,
                                             const QString &message)
{
    if (error.hasError() && error == Error(code, message) && !error.trail().isEmpty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << qPrintable(error.description());
}

/// A failure of the database itself, whose wording is the driver's; `part` is in it.
inline ::testing::AssertionResult failedInDriver(const Error &error, const QString &part)
{
    if (error.errorCode() == ErrorCode::OperationFailed && error.errorMessage().contains(part))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << qPrintable(error.description());
}

/// A temporary cache with an object on its database, and the sight of another process on the file.
class ResourceCacheDaoFixture : public ::testing::Test
{
protected:
    using Context = std::unique_ptr<ResourceCacheDao::TransactionContext>;

    QString path() const { return cache.databasePath(); }

    CacheDatabase &database()
    {
        if (!otherSight)
            otherSight = std::make_unique<CacheDatabase>(path());
        return *otherSight;
    }

    Context transaction()
    {
        auto context = dao.createTransaction();
        EXPECT_TRUE(succeeded(context));
        return context.hasValue() ? std::move(context).value() : nullptr;
    }

    void insert(const QString &reference, ResourceStatus status = ResourceStatus::Missing,
                qint64 lastAccess = 1)
    {
        EXPECT_TRUE(succeeded(
            dao.insertResource(reference, status, ResourceCleanupPolicy::OnDemand, lastAccess)));
    }

    void setSize(const QString &reference, const QVariant &size)
    {
        database().run(u"UPDATE CachedResources SET fileSize = ? WHERE reference = ?"_s,
                       { size, reference });
    }

    /// The status of a resource, as that client has written it.
    void setTransient(const QString &reference, ResourceStatus status, qint64 writer)
    {
        database().run(u"UPDATE CachedResources SET status = ?, lastStatusUpdateClientId = ? "
                       "WHERE reference = ?"_s,
                       { toText(status), writer, reference });
    }

    int resourceId(const QString &reference)
    {
        return database()
            .value(u"SELECT id FROM CachedResources WHERE reference = ?"_s, { reference })
            .toInt();
    }

    /// The Clients.id of this process.
    qint64 ownClientId()
    {
        return database()
            .value(u"SELECT id FROM Clients WHERE processId = ?"_s,
                   { QCoreApplication::applicationPid() })
            .toLongLong();
    }

    qint64 addClient(qint64 processId, std::chrono::milliseconds age = {})
    {
        const qint64 lastPing = QDateTime::currentMSecsSinceEpoch() - qint64 { age.count() };
        database().run(u"INSERT INTO Clients (processId, lastPingTime) VALUES (?, ?)"_s,
                       { processId, lastPing });
        return database()
            .value(u"SELECT id FROM Clients WHERE processId = ?"_s, { processId })
            .toLongLong();
    }

    void addTask(const QString &reference, qint64 clientId, const QVariant &progress = {})
    {
        database().run(
            u"INSERT INTO AcquiringTasks (resourceId, progress, clientId) VALUES (?, ?, ?)"_s,
            { resourceId(reference), progress, clientId });
    }

    void addUsage(const QString &reference, qint64 clientId)
    {
        database().run(u"INSERT INTO ResourceUsages (resourceId, clientId) VALUES (?, ?)"_s,
                       { resourceId(reference), clientId });
    }

    /// Makes the file out of a dump of tests/data/databases: a statement a line.
    void load(const QString &dump)
    {
        const QString folder = qEnvironmentVariable("ZEL_TEST_DATA");
        ASSERT_FALSE(folder.isEmpty()) << "ZEL_TEST_DATA names the folder tests/data";
        const QByteArray text = readFile(folder + u"/databases/"_s + dump);
        const QStringList lines = QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
        for (const QString &line : lines) {
            if (!line.startsWith(u"--"_s))
                database().run(line);
        }
    }

    TemporaryCache cache;
    DaoUnderTest dao;

private:
    std::unique_ptr<CacheDatabase> otherSight;
};

/// The same with the object open.
class OpenResourceCacheDaoFixture : public ResourceCacheDaoFixture
{
protected:
    OpenResourceCacheDaoFixture() { EXPECT_TRUE(succeeded(dao.open(path()))); }
};

} // namespace zel::test
