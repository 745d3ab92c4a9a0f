#include "ResourceCacheDao.h"

#include "ConnectionNames.h"
#include "ResourceCacheDaoSchema.h"
#include "ResourceCacheDao_p.h"
#include "database/DatabaseHandler.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"
#include "threads/Mutex.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QSqlDatabase>
#include <QUuid>

#include <atomic>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

// A living client pings every 5 s; one that has not for so long was not stopped by a short hold.
constexpr std::chrono::milliseconds longestPause { 10'000 };

void removeConnection(QSqlDatabase &database)
{
    const QString connectionName = database.connectionName();
    database.close();
    // The last reference goes first, or the connection counts as used.
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName);
    ConnectionNames::ofThisProcess().giveBack(connectionName);
}

/// Has Qt's SQL module build its statics now. They are destroyed in the opposite order at exit, and
/// the cache of a process-wide manager, built before them, would close its connection after they
/// are gone.
bool warmUpSql()
{
    const QString name = u"ResourceCache_%1"_s.arg(QUuid::createUuid().toString());
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, name);
        database.setDatabaseName(u":memory:"_s);
        // To be made is all that it is for: that loads the driver.
        const QSqlQuery query(database); // clazy:exclude=unused-non-trivial-variable
    }
    QSqlDatabase::removeDatabase(name);
    return true;
}

/// Which files have a client row of an open object of this process, and of how many. All of them
/// stand under one process id, so who closes must know of the others. Never destroyed: the last
/// cache closes late at exit.
struct OpenFiles
{
    Mutex mutex { "the table of open databases" };
    QHash<QString, int> registrations;
};

/// How many objects of this process have a client row, or are about to. Apart from the files: the
/// handler of a signal must not wait.
std::atomic<int> clientRows = 0;
static_assert(std::atomic<int>::is_always_lock_free);

OpenFiles &openFiles()
{
    static auto *files = new OpenFiles;
    return *files;
}

void addRegistration(const QString &file)
{
    OpenFiles &files = openFiles();
    const std::lock_guard lock(files.mutex);
    ++files.registrations[file];
    clientRows += file.isEmpty() ? 0 : 1; // one without a file is never taken back
}

void removeRegistration(const QString &file)
{
    OpenFiles &files = openFiles();
    const std::lock_guard lock(files.mutex);
    if (--files.registrations[file] <= 0)
        files.registrations.remove(file);
    --clientRows;
}

bool hasRegistration(const QString &file)
{
    OpenFiles &files = openFiles();
    const std::lock_guard lock(files.mutex);
    return files.registrations.contains(file);
}

/// One spelling for one file; empty if there is none.
QString fileKey(const QString &path)
{
    return QFileInfo(path).canonicalFilePath();
}

} // namespace

qint64 applicationProcessId()
{
    static const qint64 processId = QCoreApplication::applicationPid();
    return processId;
}

// ---- Transactions

ResourceCacheDao::TransactionContext::~TransactionContext() = default;

TransactionRaiiImpl::TransactionRaiiImpl(DatabaseHandler *handler,
                                         std::unique_ptr<TransactionGuard> guard,
                                         const QSqlDatabase &database, qint64 clientId)
    : handler(handler)
    , database(database)
    , guard(std::move(guard))
    , query(database)
    , clientId(clientId)
{
    query.setForwardOnly(true);
}

Result<std::unique_ptr<ResourceCacheDao::TransactionContext>> TransactionRaiiImpl::create(
    DatabaseHandler *handler, QSqlDatabase &database, qint64 clientId)
{
    Error error;
    ZEL_TRY(error, handler->beginTransaction());
    auto guard = std::make_unique<TransactionGuard>(handler);
    guard->setRollbackOnDestruction(true);
    return std::unique_ptr<TransactionContext>(
        new TransactionRaiiImpl(handler, std::move(guard), database, clientId));
}

Result<TransactionRaiiImpl *> TransactionRaiiImpl::of(TransactionContext *context)
{
    auto *transaction = dynamic_cast<TransactionRaiiImpl *>(context);
    if (!transaction)
        return ZEL_ERROR(ErrorCode::BadArgument,
                         ResourceCacheDao::tr("The operation needs a transaction."));
    return transaction;
}

Result<QSqlQuery *> TransactionRaiiImpl::kept(const QString &sql)
{
    if (const auto known = statements.find(sql); known != statements.end())
        return &known->second;

    Error error;
    QSqlQuery compiled(database);
    compiled.setForwardOnly(true);
    ZEL_TRY(error, db::qPrepare(compiled, sql));
    return &statements.emplace(sql, std::move(compiled)).first->second;
}

Error TransactionRaiiImpl::commit()
{
    // A statement that is still being read would keep the file locked after the commit.
    query.finish();
    statements.clear();
    return ZEL_PASS(handler->commitTransaction());
}

Result<std::unique_ptr<ResourceCacheDao::TransactionContext>> ResourceCacheDao::createTransaction()
{
    Error error;
    ZEL_TRY(error, checkConnected());
    return ZEL_PASS(TransactionRaiiImpl::create(databaseHandler.get(), *database, clientId));
}

Error ResourceCacheDao::beginTransaction()
{
    Error error;
    ZEL_TRY(error, checkConnected());
    return ZEL_PASS(databaseHandler->beginTransaction());
}

Error ResourceCacheDao::checkConnected() const
{
    if (!database || !databaseHandler)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("The cache database is not open."));
    return Error();
}

QSqlQuery ResourceCacheDao::newQuery() const
{
    // A query without a connection fails at its first step, with the driver's text.
    QSqlQuery query(database ? *database : QSqlDatabase());
    query.setForwardOnly(true);
    return query;
}

// ---- Opening

ResourceCacheDao::ResourceCacheDao()
{
    [[maybe_unused]] static const bool isWarm = warmUpSql();
}

ResourceCacheDao::~ResourceCacheDao()
{
    if (isOpen())
        close();
    else
        disconnectFromFile();
}

Error ResourceCacheDao::open(const QString &path)
{
    return ZEL_PASS(open(path, std::nullopt));
}

Error ResourceCacheDao::open(const QString &path, const std::optional<qint64> &clientProcessId)
{
    // Opened once more on the same file, the client row that is there stays this object's.
    if (fileKey(path) != registeredFile)
        forgetRegistration();

    Error error;
    // A connection that failed to open shows itself as soon as a transaction cannot begin.
    ZEL_IGNORE(connectTo(path));
    ZEL_TRY(error, prepareFile());
    ZEL_TRY(error, cleanupStrayEntries());
    ++clientRows; // before there is one, and until it is among the registrations
    error = ZEL_PASS(registerClient(clientProcessId.value_or(applicationProcessId())));
    if (!error.hasError()) {
        forgetRegistration();
        registeredFile = fileKey(path);
        addRegistration(registeredFile);
    }
    --clientRows;
    return error;
}

bool ResourceCacheDao::hasClientRow() noexcept
{
    return clientRows > 0;
}

bool ResourceCacheDao::isOpen() const
{
    return database && database->isOpen();
}

Error ResourceCacheDao::connectTo(const QString &path)
{
    if (database)
        removeConnection(*database);
    else
        database = std::make_unique<QSqlDatabase>();

    const Error error
        = db::addDatabaseAndOpen(ConnectionNames::ofThisProcess().take(), path, *database);
    databaseHandler = std::make_unique<DatabaseHandler>(database.get());
    return ZEL_PASS(error);
}

Error ResourceCacheDao::registerClient(qint64 processId)
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY_LET(const qint64 newId, insertClient(query, processId));
    query.finish();
    ZEL_TRY(error, databaseHandler->commitTransaction());
    clientId = newId;
    return error;
}

Result<qint64> ResourceCacheDao::insertClient(QSqlQuery &query, qint64 processId)
{
    Error error;
    ZEL_TRY(error, db::qPrepare(query, ResourceCacheDaoSchema::kInsertClient));
    query.bindValue(u":pid"_s, processId);
    query.bindValue(u":time"_s, QDateTime::currentMSecsSinceEpoch());
    ZEL_TRY(error, db::qExec(query));
    return query.lastInsertId().toLongLong();
}

Error ResourceCacheDao::cleanupStrayEntries()
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, ResourceCacheDaoSchema::kDeleteStrayTasks));
    ZEL_TRY(error, db::qExec(query));
    ZEL_TRY(error, db::qPrepare(query, ResourceCacheDaoSchema::kDeleteStrayUsages));
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

// ---- Closing

void ResourceCacheDao::close()
{
    const bool isRowOfAnother = registeredFile.isEmpty() && isFileOpenElsewhere();
    if (database && !isRowOfAnother) {
        const Error error = ZEL_PASS(deleteClient(applicationProcessId()));
        if (error.hasError()) {
            qCCritical(lcResourceManager).noquote()
                << "Failed to remove client from cache table." << error.errorMessage();
        }
    }
    disconnectFromFile();
}

std::optional<std::chrono::milliseconds> ResourceCacheDao::abandonOpen()
{
    if (!registeredFile.isEmpty()) {
        close();
        return std::nullopt;
    }
    const auto timeLeft = removeRowLeftBehind();
    disconnectFromFile();
    if (timeLeft.hasValue())
        return timeLeft.value();
    // The failure of open() is what the caller tells of; this one says no more.
    ZEL_DROP(timeLeft);
    return std::nullopt;
}

Result<std::optional<std::chrono::milliseconds>> ResourceCacheDao::removeRowLeftBehind()
{
    using Milliseconds = std::chrono::milliseconds;
    if (!isOpen() || isFileOpenElsewhere())
        return std::optional<Milliseconds>();

    ZEL_TRY_LET(const auto lastPing, selectLastPingTime(applicationProcessId()));
    if (!lastPing)
        return std::optional<Milliseconds>();

    // A ping far ahead is as old as one far back: it was made before the clock was set.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const Milliseconds age { qAbs(now - *lastPing) };
    if (age < longestPause)
        return std::optional<Milliseconds>(longestPause - age);

    Error error;
    ZEL_TRY(error, deleteClient(applicationProcessId()));
    return std::optional<Milliseconds>();
}

Result<std::optional<qint64>> ResourceCacheDao::selectLastPingTime(qint64 processId) const
{
    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, u"SELECT lastPingTime FROM Clients WHERE processId = ?"_s));
    query.addBindValue(processId);
    ZEL_TRY(error, db::qExec(query));
    return query.next() ? std::optional<qint64>(query.value(0).toLongLong()) : std::nullopt;
}

Error ResourceCacheDao::deleteClient(qint64 processId)
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, ResourceCacheDaoSchema::kDeleteClientByProcess));
    query.bindValue(u":pid"_s, processId);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    ZEL_TRY(error, databaseHandler->commitTransaction());
    return ZEL_PASS(cleanupStrayEntries());
}

bool ResourceCacheDao::isFileOpenElsewhere() const
{
    return database && hasRegistration(fileKey(database->databaseName()));
}

void ResourceCacheDao::forgetRegistration()
{
    if (!registeredFile.isEmpty())
        removeRegistration(registeredFile);
    registeredFile.clear();
}

void ResourceCacheDao::disconnectFromFile()
{
    forgetRegistration();
    if (database)
        removeConnection(*database);
    database.reset();
    databaseHandler.reset();
}

} // namespace zel
