#include "database/DatabaseHelpers.h"

#include "errors/Propagate.h"
#include "references/ResourceReferenceUtils.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace zel::db {

using namespace Qt::Literals::StringLiterals;

namespace {

// Ten seconds: long enough for the longest write of another process, and well below the thirty
// after which a process that waits here, silent, counts as dead.
constexpr int busyTimeoutMs = 10'000;
// A file that is locked just now keeps the journal that it has until the next one opens it: the two
// waits of an opening must not add up to those thirty seconds.
constexpr int settingsTimeoutMs = 1'000;

Error failure(const QSqlError &error)
{
    const QString text = driverText(error).trimmed();
    return Error(ErrorCode::OperationFailed,
                 text.isEmpty() ? QCoreApplication::translate("zel::db", "Database is not open.")
                                : text);
}

Error stampedAt(Error error, const char *file, int line)
{
    if (file)
        error.ecatch(Q_FUNC_INFO, file, line);
    return error;
}

void setBusyTimeout(QSqlQuery &query, int milliseconds)
{
    if (!query.exec(u"PRAGMA busy_timeout=%1"_s.arg(milliseconds)))
        qCDebug(lcResourceManager) << "Busy timeout not set:" << query.lastError().text();
}

QString changedJournalMode(QSqlQuery &query)
{
    if (!query.exec(u"PRAGMA journal_mode=WAL"_s) || !query.next())
        return query.lastError().text();
    return query.value(0).toString();
}

/// A write-ahead log lets readers and the writer work side by side and needs a sync only now and
/// then: one retrieval's bookkeeping takes a tenth of the time. Without it, as on a file system
/// that cannot share memory, the defaults are the safe choice.
void applySettings(const QSqlDatabase &database)
{
    QSqlQuery query(database);
    setBusyTimeout(query, settingsTimeoutMs);
    const QString mode = changedJournalMode(query);
    setBusyTimeout(query, busyTimeoutMs);
    if (mode != "wal"_L1) {
        qCDebug(lcResourceManager) << "Without a write-ahead log:" << mode;
        return;
    }
    if (!query.exec(u"PRAGMA synchronous=NORMAL"_s))
        qCDebug(lcResourceManager) << "Syncing at each commit:" << query.lastError().text();
}

} // namespace

Error addDatabaseAndOpen(const QString &connectionName, const QString &path, QSqlDatabase &database)
{
    database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName);
    database.setDatabaseName(path);
    if (!database.open())
        return ZEL_PASS(failure(database.lastError()));

    applySettings(database);
    return Error();
}

Error qPrepare(QSqlQuery &query, const QString &sql, const char *file, int line)
{
    if (!query.prepare(sql))
        return stampedAt(failure(query.lastError()), file, line);
    return Error();
}

Error qExec(QSqlQuery &query, const char *file, int line)
{
    if (!query.exec())
        return stampedAt(failure(query.lastError()), file, line);
    return Error();
}

Error checkReadToEnd(const QSqlQuery &query)
{
    return query.lastError().isValid() ? ZEL_PASS(failure(query.lastError())) : Error();
}

QString driverText(const QSqlError &error)
{
    const QString text = error.text();
    return ResourceReferenceUtils::hasControlCharacters(text)
        ? ResourceReferenceUtils::printable(text)
        : text;
}

} // namespace zel::db
