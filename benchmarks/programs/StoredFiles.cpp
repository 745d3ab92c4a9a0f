#include "StoredFiles.h"

#include "OpenCache.h"
#include "Protocol.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::bench {

using namespace Qt::Literals::StringLiterals;

namespace {

void write(const QString &filePath)
{
    QFile file(filePath);
    if (!QDir().mkpath(QFileInfo(filePath).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(QByteArray(StoredFiles::fileSize, 'x')) != StoredFiles::fileSize)
        giveUp("cannot write " + filePath.toStdString());
}

} // namespace

StoredFiles::StoredFiles(ResourceCache *cache, const ResourceCachePath &path, int count)
    : cache(cache)
    , folder(path.cacheDataDir().toString() + u"/http"_s)
    , count(count)
{
}

void StoredFiles::fill()
{
    for (int i = 0; i < count; ++i) {
        const QString filePath = folder + u"/%1/run.raw"_s.arg(i);
        if (!QFileInfo::exists(filePath))
            add(u"http://bench.example.org/%1/run.raw"_s.arg(i), filePath);
    }
}

void StoredFiles::add(const QString &reference, const QString &filePath)
{
    write(filePath);
    if (!check(cache->existsInDb(reference)))
        check(cache->add(reference, ResourceCleanupPolicy::OnDemand));
    check(cache->saveLocalPath(reference, PathImpl<PathType::Unknown>(filePath), fileSize));
    check(cache->saveStatus(reference, ResourceStatus::Ready));
}

} // namespace zel::bench
