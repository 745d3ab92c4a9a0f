#include "CacheTest.h"

#include <QMutex>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

struct LogLine
{
    QtMsgType level;
    QString text;
};

QMutex logMutex;
QList<LogLine> *logLines = nullptr;

void collect(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    const QMutexLocker lock(&logMutex);
    if (logLines)
        logLines->append({ level, text });
}

} // namespace

CapturedLog::CapturedLog()
{
    const QMutexLocker lock(&logMutex);
    logLines = new QList<LogLine>;
    before = qInstallMessageHandler(collect);
}

CapturedLog::~CapturedLog()
{
    const QMutexLocker lock(&logMutex);
    qInstallMessageHandler(before);
    delete std::exchange(logLines, nullptr);
}

QStringList CapturedLog::lines(QtMsgType level) const
{
    const QMutexLocker lock(&logMutex);
    QStringList found;
    for (const LogLine &line : std::as_const(*logLines)) {
        if (line.level == level)
            found.append(line.text);
    }
    return found;
}

bool CapturedLog::contains(QtMsgType level, const QString &part) const
{
    const QStringList found = lines(level);
    return std::any_of(found.begin(), found.end(),
                       [&](const QString &line) { return line.contains(part); });
}

CacheTest::CacheTest() = default;

ResourceCachePath CacheTest::pathOf(const QString &baseDir)
{
    ResourceCachePath path;
    path.setBaseDirPath(baseDir);
    return path;
}

void CacheTest::openCache(const ResourceCacheSizes &sizes)
{
    const Error error = cache.open(cachePath(), sizes);
    ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
}

std::unique_ptr<TestCache> CacheTest::otherClient(qint64 processId) const
{
    auto other = std::make_unique<TestCache>(std::make_unique<OtherProcessDao>(processId));
    const Error error = other->open(cachePath(), {});
    EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    return other;
}

void CacheTest::addReady(const QString &reference, const QString &relativePath, qint64 size,
                         qint64 lastAccess, ResourceCleanupPolicy policy)
{
    writeFile(dataPath(relativePath), QByteArray(size, 'x'));
    ASSERT_FALSE(cache.add(reference, policy).hasError());
    ASSERT_FALSE(cache.saveLocalPath(reference, dataPath(relativePath), size).hasError());
    ASSERT_FALSE(cache.saveStatus(reference, ResourceStatus::Ready).hasError());
    database().run(u"UPDATE CachedResources SET lastAccessDateTime = ? WHERE reference = ?"_s,
                   { lastAccess, reference });
}

QString CacheTest::dataPath(const QString &relativePath) const
{
    return directory.dataDir() + u'/' + relativePath;
}

QVariant CacheTest::rowValue(const QString &column, const QString &reference) const
{
    return database().value(u"SELECT %1 FROM CachedResources WHERE reference = ?"_s.arg(column),
                            { reference });
}

} // namespace zel::test
