-- A cache's database with versions, before scans had a time. One statement a line.
CREATE TABLE CachedResources (id INTEGER PRIMARY KEY AUTOINCREMENT,reference TEXT UNIQUE NOT NULL,cachedPath TEXT,fileSize INTEGER,status TEXT NOT NULL, cleanupPolicy TEXT NOT NULL, lastAccessDateTime INTEGER NOT NULL, lastStatusUpdateClientId INTEGER NOT NULL, version TEXT)
CREATE TABLE ResourceUsages (id INTEGER PRIMARY KEY AUTOINCREMENT,resourceId INTEGER NOT NULL, clientId INTEGER NOT NULL)
CREATE TABLE CacheMetadata(currentSize INTEGER)
CREATE TABLE AcquiringTasks (id INTEGER PRIMARY KEY AUTOINCREMENT, resourceId INTEGER NOT NULL, progress INTEGER, clientId INTEGER NOT NULL)
CREATE TABLE Clients (id INTEGER PRIMARY KEY AUTOINCREMENT , processId INTEGER UNIQUE NOT NULL, lastPingTime INTEGER NOT NULL)
INSERT INTO CacheMetadata ( currentSize ) VALUES (70)
INSERT INTO CachedResources VALUES (1, 'test:old/a', '/cache/a', 70, 'Ready', 'OnClose', 1000, 1, '2.1')
