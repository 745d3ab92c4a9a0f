#pragma once

#include <QString>

/// The tables, the index and the triggers of a cache's database, and the statements that several
/// functions share. The file has no version number: programs of different versions work on one file
/// at the same time, so nothing is added here and nothing changes its meaning. Files of the past
/// may lack columns, which come with the opening.
namespace zel::ResourceCacheDaoSchema {

using namespace Qt::Literals::StringLiterals;

inline const QString kCurrentSize = u"currentSize"_s;
inline const QString kLastScanTimestamp = u"lastScanTimestamp"_s;

// ---- Tables, in the order of their creation.

/// Status and policy are the keys of the enumerations as text, lastAccessDateTime is milliseconds
/// since the epoch, lastStatusUpdateClientId a Clients.id. A NULL cachedPath is a resource without
/// local data, a NULL fileSize a size not known.
inline const QString kCreateCachedResources = u"CREATE TABLE IF NOT EXISTS CachedResources ("
                                              "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                              "reference TEXT UNIQUE NOT NULL,"
                                              "cachedPath TEXT,"
                                              "fileSize INTEGER,"
                                              "status TEXT NOT NULL, "
                                              "cleanupPolicy TEXT NOT NULL, "
                                              "lastAccessDateTime INTEGER NOT NULL, "
                                              "lastStatusUpdateClientId INTEGER NOT NULL, "
                                              "version TEXT)"_s;

/// Who uses what: one row per handle that holds a resource.
inline const QString kCreateResourceUsages = u"CREATE TABLE IF NOT EXISTS ResourceUsages ("
                                             "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                             "resourceId INTEGER NOT NULL, "
                                             "clientId INTEGER NOT NULL)"_s;

/// Exactly one row. currentSize is the sum of all sizes, kept by the triggers; %1 is seconds since
/// the epoch.
inline const QString kCreateCacheMetadata
    = u"CREATE TABLE IF NOT EXISTS CacheMetadata(currentSize INTEGER, %1 INTEGER)"_s;

/// Who wants to have a resource fetched. A row with a progress belongs to the one who fetches it.
inline const QString kCreateAcquiringTasks = u"CREATE TABLE IF NOT EXISTS AcquiringTasks ("
                                             "id INTEGER PRIMARY KEY AUTOINCREMENT, "
                                             "resourceId INTEGER NOT NULL, "
                                             "progress INTEGER, "
                                             "clientId INTEGER NOT NULL)"_s;

/// The processes that have the cache open; lastPingTime is milliseconds since the epoch.
inline const QString kCreateClients = u"CREATE TABLE IF NOT EXISTS Clients ("
                                      "id INTEGER PRIMARY KEY AUTOINCREMENT , "
                                      "processId INTEGER UNIQUE NOT NULL, "
                                      "lastPingTime INTEGER NOT NULL)"_s;

inline const QString kInsertDefaultValues
    = u"INSERT INTO CacheMetadata ( currentSize ) VALUES (?)"_s;

// ---- What leaves one row with the sum of all sizes, whatever was there.

inline const QString kDeleteOtherMetadata
    = u"DELETE FROM CacheMetadata WHERE rowid > (SELECT MIN(rowid) FROM CacheMetadata)"_s;

inline const QString kInsertMissingMetadata
    = u"INSERT INTO CacheMetadata ( currentSize ) "
      "SELECT 0 WHERE NOT EXISTS (SELECT 1 FROM CacheMetadata)"_s;

inline const QString kSumUpSizes = u"UPDATE CacheMetadata SET currentSize = "
                                   "(SELECT COALESCE(SUM(fileSize), 0) FROM CachedResources)"_s;

// ---- Index: every look-up of a resource is by its reference.

inline const QString kCreateReferenceIndex
    = u"CREATE UNIQUE INDEX IF NOT EXISTS idx_CachedResources_reference "
      "ON CachedResources(reference)"_s;

// ---- Triggers, in the order of their creation. The first three keep currentSize.

inline const QString kCreateSizeOnInsert
    = u"CREATE TRIGGER IF NOT EXISTS updateOverallSizeOnInsert "
      "AFTER INSERT ON CachedResources BEGIN "
      "UPDATE CacheMetadata SET currentSize = "
      "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
      "+ COALESCE(NEW.fileSize, 0); END;"_s;

inline const QString kCreateSizeOnUpdate
    = u"CREATE TRIGGER IF NOT EXISTS updateOverallSizeOnUpdate "
      "AFTER UPDATE ON CachedResources BEGIN "
      "UPDATE CacheMetadata SET currentSize = "
      "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
      "+ COALESCE(NEW.fileSize, 0) - COALESCE(OLD.fileSize, 0); END;"_s;

inline const QString kCreateSizeOnDelete
    = u"CREATE TRIGGER IF NOT EXISTS updateOverallSizeOnDelete "
      "AFTER DELETE ON CachedResources BEGIN "
      "UPDATE CacheMetadata SET currentSize = "
      "(SELECT COALESCE(currentSize, 0) FROM CacheMetadata) "
      "- COALESCE(OLD.fileSize, 0); END;"_s;

/// The first who wants a resource: from Missing (%1) to ScheduledForAcquire (%2).
inline const QString kCreateStatusOnTaskInsert
    = u"CREATE TRIGGER IF NOT EXISTS updateStatusOnAcquireTaskInsert "
      "AFTER INSERT ON AcquiringTasks "
      "WHEN EXISTS(SELECT 1 FROM CachedResources cr "
      "WHERE cr.id = NEW.resourceId AND cr.status = '%1') BEGIN "
      "UPDATE CachedResources SET status = '%2' WHERE id = NEW.resourceId; END;"_s;

/// The last who wanted it gives up: from Acquiring (%1) or ScheduledForAcquire (%2) to Missing
/// (%3).
inline const QString kCreateStatusOnTaskDelete
    = u"CREATE TRIGGER IF NOT EXISTS updateStatusOnAcquireTaskDelete "
      "AFTER DELETE ON AcquiringTasks "
      "WHEN EXISTS(SELECT 1 FROM CachedResources cr "
      "WHERE cr.id = OLD.resourceId AND (cr.status = '%1' OR cr.status = '%2')) "
      "AND (SELECT COUNT(1) FROM AcquiringTasks at WHERE at.resourceId = OLD.resourceId) = 0 BEGIN "
      "UPDATE CachedResources SET status = '%3' WHERE id = OLD.resourceId; END; "_s;

// ---- Older shapes: the file's columns are its only version.

inline const QString kCountColumns
    = u"SELECT COUNT(*) AS CountCols FROM pragma_table_info(:table) WHERE name=:column"_s;

/// Table %1, column %2, type %3.
inline const QString kAddColumn = u"ALTER TABLE %1 ADD %2 %3;"_s;

// ---- Rows of clients that are gone.

inline const QString kDeleteStrayTasks
    = u"DELETE FROM AcquiringTasks WHERE clientId NOT IN (SELECT Clients.Id FROM Clients)"_s;

inline const QString kDeleteStrayUsages
    = u"DELETE FROM ResourceUsages WHERE clientId NOT IN (SELECT Clients.Id FROM Clients)"_s;

// ---- Clients

inline const QString kInsertClient
    = u"INSERT INTO Clients(processId, lastPingTime) VALUES (:pid, :time) "_s;

inline const QString kDeleteClientByProcess = u"DELETE FROM Clients WHERE processId = :pid"_s;

} // namespace zel::ResourceCacheDaoSchema
