#include "CacheWorld.h"

#include "ResourceManager.h"
#include "support/TestHandlers.h"
#include "support/TestReference.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto fileContent = "the file's";
constexpr auto bystanderContent = "bystander";
constexpr auto treeContent = "a=aa b/c=ccc b/d=d ";
constexpr auto sampleContent = "sample data";
constexpr qsizetype longSampleName = 218;

constexpr qint64 otherClient = 1001;
constexpr qint64 deadClient = 1002;

/// The names and contents of the tree's files.
QString contentOfTree(const QString &folder)
{
    QString text;
    for (const QString &name : { u"a"_s, u"b/c"_s, u"b/d"_s }) {
        QFile file(folder + u'/' + name);
        if (file.open(QIODevice::ReadOnly))
            text += name + u'=' + QString::fromUtf8(file.readAll()) + u' ';
    }
    return text;
}

/// What is torn between its two places says so when it is opened for its sample; anything else of
/// it must be whole.
QString contentOfContainer(const QString &path)
{
    zacq::Zacq container(path);
    Error error = container.open(zacq::Zacq::Mode::ReadOnly);
    if (error.hasError())
        return error.errorMessage();
    const auto sample = container.sampleFilePath();
    return sample.hasValue() ? QString::fromUtf8(readFile(sample.value()))
                             : QString::fromUtf8(sampleContent);
}

void addRow(CacheDatabase &rows, const QString &reference, const QString &status,
            const QVariant &path = {}, const QVariant &size = {}, qint64 lastAccess = 0,
            const QString &version = u"1.0"_s, qint64 writer = otherClient)
{
    rows.run(u"INSERT INTO CachedResources (reference, cachedPath, fileSize, status, "
             "cleanupPolicy, lastAccessDateTime, lastStatusUpdateClientId, version) "
             "VALUES (?, ?, ?, ?, 'OnDemand', ?, ?, ?)"_s,
             { reference, path, size, status, lastAccess, writer, version });
}

void addClientRow(CacheDatabase &rows, qint64 id, qint64 lastPing)
{
    rows.run(u"INSERT INTO Clients (id, processId, lastPingTime) VALUES (?, ?, ?)"_s,
             { id, 4000000 + id, lastPing });
}

void addUse(CacheDatabase &rows, const QString &reference, qint64 clientId)
{
    rows.run(u"INSERT INTO ResourceUsages (resourceId, clientId) "
             "SELECT id, ? FROM CachedResources WHERE reference = ?"_s,
             { clientId, reference });
}

void addFetch(CacheDatabase &rows, const QString &reference, qint64 clientId)
{
    addRow(rows, reference, u"Acquiring"_s, {}, {}, 0, {}, clientId);
    rows.run(u"INSERT INTO AcquiringTasks (resourceId, progress, clientId) "
             "SELECT id, 10, ? FROM CachedResources WHERE reference = ?"_s,
             { clientId, reference });
}

/// The process's own manager, whose cache is of no interest but for the place that it names.
ResourceCache &cacheOfManager()
{
    static const TemporaryCache elsewhere; // goes after the manager
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(elsewhere.baseDir());
    ResourceManager::overrideDefaultSettings(settings);
    return *ResourceManager::cache();
}

} // namespace

CacheWorld::CacheWorld()
{
    EXPECT_EQ(open().description(), Error().description());
    writeFile(dataPath(u"test/file/name"_s), fileContent);
    writeFile(dataPath(u"test/bystander/name"_s), bystanderContent);
    writeFile(dataPath(u"test/tree/folder/a"_s), "aa");
    writeFile(dataPath(u"test/tree/folder/b/c"_s), "ccc");
    writeFile(dataPath(u"test/tree/folder/b/d"_s), "d");

    CacheDatabase rows = database();
    rows.run(u"BEGIN"_s);
    addRow(rows, u"test:file"_s, u"Ready"_s, dataPath(u"test/file/name"_s), 10, 1000);
    addRow(rows, u"test:tree"_s, u"Ready"_s, dataPath(u"test/tree/folder"_s), 6, 2000);
    addRow(rows, u"test:missing"_s, u"Missing"_s);
    addRow(rows, u"test:bystander"_s, u"Ready"_s, dataPath(u"test/bystander/name"_s), 9, 10,
           u"3.0"_s);
    addClientRow(rows, otherClient, QDateTime::currentMSecsSinceEpoch());
    addUse(rows, u"test:bystander"_s, otherClient);
    addFetch(rows, u"test:taken"_s, otherClient);
    rows.run(u"COMMIT"_s);
}

CacheWorld::~CacheWorld()
{
    letGo();
    cache->close();
}

void CacheWorld::letGo()
{
    use.reset();
    fetch.reset();
    secondFetch.reset();
    handler.reset();
}

CacheInvariants CacheWorld::invariants() const
{
    CacheInvariants invariants(files.databasePath(), files.dataDir());
    invariants.expectContent(u"test:file"_s, fileContent);
    invariants.expectContent(u"test:bystander"_s, bystanderContent);
    invariants.setContentCheck([](const QString &reference, const QString &path) {
        if (reference == u"test:tree"_s)
            return difference(contentOfTree(path), QString::fromUtf8(treeContent));
        if (reference == u"test:zacq"_s)
            return difference(contentOfContainer(path), QString::fromUtf8(sampleContent));
        return QString();
    });
    if (hasContainer)
        invariants.except(CacheInvariants::Exception::OtherSizes);
    return invariants;
}

QString CacheWorld::damageToOthers() const
{
    if (!hasOthers)
        return {};
    const QString row
        = text(u"SELECT status || ' ' || cachedPath || ' ' || fileSize || ' ' || "
               "lastAccessDateTime FROM CachedResources WHERE reference = 'test:bystander'"_s);
    const QString expected = u"Ready %1 9 10"_s.arg(dataPath(u"test/bystander/name"_s));
    const QString taken
        = text(u"SELECT cr.status || ' ' || at.progress FROM CachedResources cr, AcquiringTasks at "
               "WHERE at.resourceId = cr.id AND cr.reference = 'test:taken'"_s);
    return difference(row, expected) + difference(taken, u"Acquiring 10"_s)
        + difference(exists(u"test/bystander/name"_s), true);
}

Error CacheWorld::reopen()
{
    letGo();
    dao.close();
    cache->close();
    return open();
}

/// The count of all sizes that the first opening starts is over when this returns.
Error CacheWorld::open()
{
    const Error error = cache->open(path(), sizes);
    static_cast<void>(cache->isOpen()); // waits for the semaphore, which the count holds
    return error;
}

ResourceCachePath CacheWorld::path() const
{
    ResourceCachePath path;
    path.setBaseDirPath(files.baseDir());
    return path;
}

QString CacheWorld::text(const QString &sql, const QList<QVariant> &values) const
{
    return database().value(sql, values).toString();
}

QString CacheWorld::dataPath(const QString &relativePath) const
{
    return files.dataDir() + u'/' + relativePath;
}

bool CacheWorld::exists(const QString &relativePath) const
{
    return QFileInfo::exists(dataPath(relativePath));
}

int CacheWorld::usesOf(const QString &reference) const
{
    return database()
        .value(u"SELECT COUNT(*) FROM ResourceUsages ru, CachedResources cr "
               "WHERE ru.resourceId = cr.id AND cr.reference = ?"_s,
               { reference })
        .toInt();
}

void CacheWorld::removeDatabase()
{
    cache->close();
    EXPECT_TRUE(QFile::remove(files.databasePath()));
    EXPECT_TRUE(QDir(files.dataDir()).removeRecursively());
    hasOthers = false;
}

void CacheWorld::makeContainer(const QString &path) const
{
    const QString sample = files.outside(u"sample"_s);
    writeFile(sample, sampleContent);
    const QString inner = u"data/%1.raw"_s.arg(QString(longSampleName, u'n'));
    EXPECT_TRUE(QDir().mkpath(QFileInfo(dataPath(path)).path()));
    const Error error = zacq::ZacqWriter::createFolder(dataPath(path), sample, inner, u"Sample"_s);
    EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
}

void CacheWorld::addSparseContainer()
{
    makeContainer(u"test/zacq/x.zacq"_s);
    startFetch(u"test:zacq"_s, u"test/zacq/x.zacq"_s);
    EXPECT_FALSE(fetch->finalizeRetrieve(Error()).hasError());
    EXPECT_TRUE(zacq::Zacq::isSparseZacq(dataPath(u"test/zacq/x.zacq"_s), true));
    fetch.reset();
}

std::unique_ptr<ResourceRetrieveHandle> CacheWorld::newFetch(const QString &reference,
                                                             const QString &path) const
{
    return std::make_unique<ResourceRetrieveHandle>(reference, dataPath(path), cache.get(),
                                                    QVersionNumber(2, 5));
}

void CacheWorld::startFetch(const QString &reference, const QString &path)
{
    if (reference == u"test:zacq"_s) {
        EXPECT_FALSE(cache->add(reference, ResourceCleanupPolicy::OnDemand).hasError());
        hasContainer = true;
    }
    fetch = newFetch(reference, path);
    EXPECT_TRUE(fetch->tryStartRetrieve().value());
}

void CacheWorld::addDeadClient()
{
    addClient(deadClient);
    CacheDatabase rows = database();
    addUse(rows, u"test:file"_s, deadClient);
    addFetch(rows, u"test:dead"_s, deadClient);
}

void CacheWorld::addClient(qint64 id)
{
    CacheDatabase rows = database();
    addClientRow(rows, id, 0);
    hasDeadClient_ = true;
}

void CacheWorld::spoilSums() const
{
    CacheDatabase rows = database();
    rows.run(u"INSERT INTO CacheMetadata (currentSize) VALUES (0)"_s);
    rows.run(u"UPDATE CacheMetadata SET currentSize = 7"_s);
}

void CacheWorld::findPing()
{
    pingTimer.emplace(*cache, true);
    ASSERT_TRUE(pingTimer->isActive());
}

void CacheWorld::ping()
{
    ASSERT_TRUE(pingTimer);
    pingTimer->tick();
}

/// A handler asks the process's manager for the place, which is where that had its own cache last.
void CacheWorld::makeHandler()
{
    cache->close();
    const Error error = cacheOfManager().open(path(), {});
    EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    cacheOfManager().close();
    EXPECT_FALSE(open().hasError());
    handler = std::make_unique<RemoteTestHandler>(testReference(u"added"_s), cache.get());
}

QString CacheWorld::difference(const QVariant &actual, const QVariant &expected)
{
    if (actual == expected)
        return {};
    return u"\"%1\" instead of \"%2\"; "_s.arg(actual.toString(), expected.toString());
}

} // namespace zel::test
