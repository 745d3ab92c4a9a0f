#pragma once

#include "errors/Error.h"

QT_BEGIN_NAMESPACE
class QSqlDatabase;
class QSqlError;
class QSqlQuery;
QT_END_NAMESPACE

/// The few steps every use of a database is made of, with failures as values. A failure has code 1
/// and the driver's text.
namespace zel::db {

/// Registers a connection of the SQLite driver under the name, assigns it to `database` and opens
/// the file at the path, making it if it is absent.
///
/// The one place where a connection gets its settings: how long it waits for others, and how the
/// file keeps its journal. A file that cannot take a setting is used without it.
/// The connection stays registered after a failure; whoever named it removes it.
Error addDatabaseAndOpen(const QString &connectionName, const QString &path,
                         QSqlDatabase &database);

/// Prepares the statement. With a `file`, the failure is stamped with that place.
Error qPrepare(QSqlQuery &query, const QString &sql, const char *file = nullptr, int line = 0);

/// Runs the prepared statement. With a `file`, the failure is stamped with that place.
Error qExec(QSqlQuery &query, const char *file = nullptr, int line = 0);

/// Once next() has answered false: success after the last row, or the failure that ended the
/// reading before it, as in a damaged file. A list is whole only after this.
Error checkReadToEnd(const QSqlQuery &query);

/// The driver's text as a message may show it: it quotes what a damaged file says.
QString driverText(const QSqlError &error);

} // namespace zel::db
