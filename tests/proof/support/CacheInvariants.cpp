#include "CacheInvariants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <filesystem>
#include <optional>
#include <utility>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

using Exception = CacheInvariants::Exception;

/// A rule of the rows: what its statement finds breaks it, a text for each.
struct RowRule
{
    const char *broken;
    const char *sql;
    std::optional<Exception> exception = {};
};

const RowRule rowRules[] = {
    { "The database is damaged",
      "SELECT * FROM pragma_integrity_check "
      "WHERE integrity_check <> 'ok'" },
    { "There is not one row of metadata but",
      "SELECT COUNT(*) FROM CacheMetadata HAVING COUNT(*) <> 1", Exception::OtherSums },
    { "The current size is not the sum of all sizes",
      "SELECT COALESCE(m.currentSize, 0) || ' instead of ' || s.total FROM CacheMetadata m, "
      "(SELECT COALESCE(SUM(fileSize), 0) AS total FROM CachedResources) s "
      "WHERE COALESCE(m.currentSize, 0) <> s.total",
      Exception::OtherSums },
    { "A size is none",
      "SELECT reference || ': ' || fileSize FROM CachedResources WHERE fileSize IS NOT NULL "
      "AND (typeof(fileSize) <> 'integer' OR fileSize < 0)" },
    { "A resource has a size without a path",
      "SELECT reference FROM CachedResources WHERE cachedPath IS NULL AND fileSize > 0" },
    { "A status is none",
      "SELECT reference || ': ' || status FROM CachedResources "
      "WHERE status NOT IN ('Missing', 'Ready', 'ScheduledForAcquire', 'Acquiring')" },
    { "A policy is none",
      "SELECT reference || ': ' || cleanupPolicy FROM CachedResources "
      "WHERE cleanupPolicy NOT IN ('Never', 'OnClose', 'OnDemand')" },
    { "A resource is Ready without a path",
      "SELECT reference FROM CachedResources "
      "WHERE status = 'Ready' AND COALESCE(cachedPath, '') = ''" },
    { "A resource is Acquiring without a task",
      "SELECT reference FROM CachedResources cr WHERE status = 'Acquiring' "
      "AND NOT EXISTS (SELECT 1 FROM AcquiringTasks at WHERE at.resourceId = cr.id)" },
    { "A resource is ScheduledForAcquire without a task",
      "SELECT reference FROM CachedResources cr WHERE status = 'ScheduledForAcquire' "
      "AND NOT EXISTS (SELECT 1 FROM AcquiringTasks at WHERE at.resourceId = cr.id)",
      Exception::WishWithoutTask },
    { "Several clients fetch one resource",
      "SELECT resourceId FROM AcquiringTasks WHERE progress IS NOT NULL "
      "GROUP BY resourceId HAVING COUNT(DISTINCT clientId) > 1" },
    { "A progress is no percentage",
      "SELECT id || ': ' || progress FROM AcquiringTasks WHERE progress IS NOT NULL "
      "AND (typeof(progress) <> 'integer' OR progress NOT BETWEEN 0 AND 100)" },
    { "A task has no resource",
      "SELECT id FROM AcquiringTasks WHERE resourceId NOT IN (SELECT id FROM CachedResources)" },
    { "A use has no resource",
      "SELECT id FROM ResourceUsages WHERE resourceId NOT IN (SELECT id FROM CachedResources)" },
    { "A task has no client",
      "SELECT id FROM AcquiringTasks WHERE clientId NOT IN (SELECT id FROM Clients)",
      Exception::RowsOfTheDead },
    { "A use has no client",
      "SELECT id FROM ResourceUsages WHERE clientId NOT IN (SELECT id FROM Clients)",
      Exception::RowsOfTheDead },
    { "Two resources lie in one place",
      "SELECT a.reference || ' and ' || b.reference FROM CachedResources a, CachedResources b "
      "WHERE a.id <> b.id AND a.status = 'Ready' AND b.status = 'Ready' "
      "AND (a.cachedPath = b.cachedPath AND a.id < b.id "
      "OR substr(b.cachedPath, 1, length(a.cachedPath) + 1) = a.cachedPath || '/')" },
};

/// One moment of the database, through a connection of its own.
class Snapshot
{
public:
    explicit Snapshot(const QString &path)
        : name(QUuid::createUuid().toString())
        , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, name))
    {
        database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=20000"_s);
        database.setDatabaseName(path);
        if (!database.open() || !database.transaction())
            firstFailure = database.lastError().text();
    }
    ~Snapshot()
    {
        database.rollback();
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;

    /// The rows of a statement; none after a failure.
    QList<QVariantList> rows(const QString &sql, qsizetype columns = 1)
    {
        QList<QVariantList> found;
        QSqlQuery query(database);
        query.setForwardOnly(true);
        bool isRead = query.exec(sql);
        while (isRead && query.next()) {
            QVariantList values;
            for (int column = 0; column < columns; ++column)
                values.append(query.value(column));
            found.append(values);
        }
        isRead = isRead && !query.lastError().isValid();
        if (!isRead && firstFailure.isEmpty())
            firstFailure = sql + u": "_s + query.lastError().text();
        return isRead ? found : QList<QVariantList>();
    }
    /// The first one; empty without.
    QString failure() const { return firstFailure; }

private:
    const QString name;
    QSqlDatabase database;
    QString firstFailure;
};

/// The bytes of a file, or of all files of a folder; links inside are none of them.
qint64 sizeOnDisk(const QString &path)
{
    namespace fs = std::filesystem;
    const fs::path native = QFile::encodeName(path).toStdString();
    if (!fs::is_directory(native))
        return QFileInfo(path).size();
    qint64 sum = 0;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(native)) {
        if (!entry.is_symlink() && entry.is_regular_file())
            sum += qint64(entry.file_size());
    }
    return sum;
}

} // namespace

CacheInvariants::CacheInvariants(const QString &databasePath, const QString &dataDir)
    : databasePath(databasePath)
    , dataDir(QDir::cleanPath(dataDir))
{
}

CacheInvariants &CacheInvariants::except(Exception exception)
{
    exceptions.insert(exception);
    return *this;
}

void CacheInvariants::setContentCheck(const ContentCheck &check)
{
    contentCheck = check;
}

void CacheInvariants::expectContent(const QString &reference, const QByteArray &content)
{
    contents.insert(reference, content);
}

QStringList CacheInvariants::violations() const
{
    QList<ReadyRow> ready;
    QStringList found = checkRows(&ready);
    for (const ReadyRow &row : std::as_const(ready))
        found.append(fileViolations(row));
    return found;
}

QStringList CacheInvariants::rowViolations() const
{
    QList<ReadyRow> ready;
    return checkRows(&ready);
}

QStringList CacheInvariants::checkRows(QList<ReadyRow> *ready) const
{
    const bool isThere = QFileInfo::exists(databasePath);
    if (!isThere && excepts(Exception::NoDatabase))
        return {};
    // The look must not make the file.
    if (!isThere)
        return { u"There is no database: "_s + databasePath };

    Snapshot snapshot(databasePath);
    const bool isEmpty = snapshot.rows(u"SELECT 1 FROM sqlite_master"_s).isEmpty();
    if (isEmpty && snapshot.failure().isEmpty() && excepts(Exception::NoDatabase))
        return {};
    QStringList found;
    for (const RowRule &rule : rowRules) {
        if (rule.exception && excepts(*rule.exception))
            continue;
        for (const QVariantList &row : snapshot.rows(QString::fromUtf8(rule.sql)))
            found.append(QString::fromUtf8(rule.broken) + u": "_s + row.first().toString());
    }
    const auto rows = snapshot.rows(u"SELECT reference, cachedPath, COALESCE(fileSize, 0) "
                                    "FROM CachedResources WHERE status = 'Ready'"_s,
                                    3);
    for (const QVariantList &row : rows)
        ready->append({ row[0].toString(), row[1].toString(), row[2].toLongLong() });
    if (!snapshot.failure().isEmpty())
        found.append(u"The database cannot be read: "_s + snapshot.failure());
    return found;
}

QStringList CacheInvariants::fileViolations(const ReadyRow &row) const
{
    if (row.path.isEmpty())
        return {}; // told by the rows
    const QFileInfo info(row.path);
    if (!info.exists()) {
        const QString text
            = u"A Ready resource has no data: %1 at %2"_s.arg(row.reference, row.path);
        return excepts(Exception::LostData) ? QStringList() : QStringList(text);
    }
    QStringList found = contentViolations(row);
    if (!info.isReadable())
        found.append(u"The data of a Ready resource cannot be read: "_s + row.path);
    const qint64 size = sizeOnDisk(row.path);
    if (size != row.size && !excepts(Exception::OtherSizes)) {
        found.append(u"A Ready resource is of another size: %1 has %2 bytes instead of %3"_s.arg(
            row.reference, QString::number(size), QString::number(row.size)));
    }
    const QString place = placeViolation(row);
    if (!place.isEmpty())
        found.append(place);
    return found;
}

QStringList CacheInvariants::contentViolations(const ReadyRow &row) const
{
    QStringList found;
    const auto expected = contents.constFind(row.reference);
    if (expected != contents.constEnd()) {
        QFile file(row.path);
        if (!file.open(QIODevice::ReadOnly) || file.readAll() != *expected)
            found.append(u"A Ready resource holds other data: "_s + row.reference);
    }
    const QString wrong = contentCheck ? contentCheck(row.reference, row.path) : QString();
    if (!wrong.isEmpty())
        found.append(u"A Ready resource holds other data: %1: %2"_s.arg(row.reference, wrong));
    return found;
}

/// Names with a dot in front are places where data is collected or thrown away.
QString CacheInvariants::placeViolation(const ReadyRow &row) const
{
    const QString relative = QDir(dataDir).relativeFilePath(QDir::cleanPath(row.path));
    for (const QString &name : relative.split(u'/')) {
        if (name.startsWith(u'.'))
            return u"A Ready resource lies where none is published: "_s + row.path;
    }
    return {};
}

} // namespace zel::test
