-- A cache's database before resources had versions and scans a time. One statement a line.
CREATE TABLE CachedResources (id INTEGER PRIMARY KEY AUTOINCREMENT,reference TEXT UNIQUE NOT NULL,cachedPath TEXT,fileSize INTEGER,status TEXT NOT NULL, cleanupPolicy TEXT NOT NULL, lastAccessDateTime INTEGER NOT NULL, lastStatusUpdateClientId INTEGER NOT NULL)
CREATE TABLE ResourceUsages (id INTEGER PRIMARY KEY AUTOINCREMENT,resourceId INTEGER NOT NULL, clientId INTEGER NOT NULL)
CREATE TABLE CacheMetadata(currentSize INTEGER)
CREATE TABLE AcquiringTasks (id INTEGER PRIMARY KEY AUTOINCREMENT, resourceId INTEGER NOT NULL, progress INTEGER, clientId INTEGER NOT NULL)
CREATE TABLE Clients (id INTEGER PRIMARY KEY AUTOINCREMENT , processId INTEGER UNIQUE NOT NULL, lastPingTime INTEGER NOT NULL)
CREATE UNIQUE INDEX idx_CachedResources_reference ON CachedResources(reference)
INSERT INTO CacheMetadata ( currentSize ) VALUES (0)
CREATE TRIGGER updateOverallSizeOnInsert AFTER INSERT ON CachedResources BEGIN UPDATE CacheMetadata SET currentSize = (SELECT COALESCE(currentSize, 0) FROM CacheMetadata) + COALESCE(NEW.fileSize, 0); END;
CREATE TRIGGER updateOverallSizeOnUpdate AFTER UPDATE ON CachedResources BEGIN UPDATE CacheMetadata SET currentSize = (SELECT COALESCE(currentSize, 0) FROM CacheMetadata) + COALESCE(NEW.fileSize, 0) - COALESCE(OLD.fileSize, 0); END;
INSERT INTO CachedResources VALUES (1, 'test:old/a', '/cache/a', 60, 'Ready', 'OnDemand', 1000, 1)
INSERT INTO CachedResources VALUES (2, 'test:old/b', NULL, NULL, 'Missing', 'Never', 2000, 1)
