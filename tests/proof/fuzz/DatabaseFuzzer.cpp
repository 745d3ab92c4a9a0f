// A hostile database, opened as that of a cache. An input that starts like an SQLite file is the
// file itself; any other gives rows to a good one, each line the table and its values:
//
//   R REFERENCE|PATH|SIZE|STATUS|POLICY|ACCESS|CLIENT|VERSION
//   U RESOURCE|CLIENT       T RESOURCE|PROGRESS|CLIENT       C PROCESS|PING
//   M SIZE|SCAN             S SUM, of the row that is there
//
// A value is a text, "#" and a number, or "~" for none. In texts, "$" is the data directory.
#include "Fuzzing.h"

#include "HostileDatabase.h"
#include "ResourceCache.h"
#include "ResourceCacheReader.h"
#include "references/ResourceReferenceUtils.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <numeric>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

const std::initializer_list<int> anyCode { 1, 2, 4 };

/// Files in the cache and beside it.
void makeFiles()
{
    ZEL_MUST(writeFile(pathOf(u"outside/deep/file.raw"_s), "outside"));
    ZEL_MUST(writeFile(pathOf(u"base/Cache/file/a/x.raw"_s), "xx"));
    ZEL_MUST(writeFile(pathOf(u"base/Cache/file/b/y.d/inner.bin"_s), "yyy"));
}

/// Who has a row that names a path elsewhere has put it there: only then may that be touched.
bool namesOutside(const ResourceCacheReader::Snapshot &snapshot)
{
    const QString data = pathOf(u"base/Cache/"_s);
    for (const auto &resource : snapshot.resources) {
        if (!resource.path.isEmpty() && !QDir::cleanPath(resource.path).startsWith(data))
            return true;
    }
    return false;
}

void useReference(ResourceCache &cache, const QString &reference)
{
    const auto status = cache.readStatus(reference);
    checkOutcome(status.hasValue() ? Error() : status.error(), anyCode);
    const auto path = cache.readLocalPath(reference);
    checkOutcome(path.hasValue() ? Error() : path.error(), anyCode);
    checkOutcome(cache.updateFileSize(reference), anyCode);
    {
        const auto usage = cache.useResource(reference);
        checkOutcome(usage.hasValue() ? Error() : usage.error(), anyCode);
    }
    checkOutcome(cache.saveCleanupPolicy(reference, ResourceCleanupPolicy::OnDemand), anyCode);
    checkOutcome(cache.saveStatus(reference, ResourceStatus::Ready), anyCode);
}

/// What is stored adds up once it was summed up anew.
void checkSum(ResourceCache &cache, const ResourceCacheReader &reader)
{
    const Error error = cache.rebuildMetadata();
    checkOutcome(error, anyCode);
    const auto size = cache.readCurrentCacheSize();
    const auto snapshot = reader.read();
    if (error.hasError() || !size.hasValue() || !snapshot.hasValue())
        return;
    qint64 sum = 0;
    for (const auto &resource : snapshot.value().resources) {
        if (qAddOverflow(sum, resource.size, &sum))
            return;
    }
    if (!isHostileSize())
        ZEL_MUST(size.value() == sum);
}

void useCache(ResourceCache &cache, const ResourceCacheReader &reader)
{
    const auto snapshot = reader.read();
    checkOutcome(snapshot.hasValue() ? Error() : snapshot.error(), anyCode);
    QStringList references { u"test:fresh"_s };
    if (snapshot.hasValue()) {
        for (const auto &resource : snapshot.value().resources.mid(0, 4)) {
            // Failures name the resource as their caller did.
            if (!ResourceReferenceUtils::hasControlCharacters(resource.reference))
                references << resource.reference;
        }
    }
    for (const QString &reference : std::as_const(references))
        useReference(cache, reference);
    checkOutcome(cache.updateFileSizes(), anyCode);
    checkOutcome(cache.purgeOutdatedResources(), anyCode);
    checkOutcome(cache.purgeCacheIfNeeded(std::numeric_limits<qint64>::max()), anyCode);
    checkSum(cache, reader);
    const auto activity = reader.readActivity();
    checkOutcome(activity.hasValue() ? Error() : activity.error(), anyCode);
    const auto condition = reader.readCondition();
    checkOutcome(condition.hasValue() ? Error() : condition.error(), anyCode);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    clearFolder();
    makeFiles();
    ResourceCachePath path;
    path.setBaseDirPath(pathOf(u"base"_s));
    const QString databasePath = path.databasePath().toString();
    makeHostileDatabase(databasePath, bytesOf(data, size));

    const ResourceCacheReader reader(databasePath);
    const auto before = reader.read();
    checkOutcome(before.hasValue() ? Error() : before.error(), anyCode);
    const bool mayTouchOutside = !before.hasValue() || namesOutside(before.value());
    {
        ResourceCache cache;
        const Error error = cache.open(path, { 1, 2 });
        checkOutcome(error, anyCode);
        if (cache.isOpen())
            useCache(cache, reader);
        noteOutcome(QString::number(int(error.hasError())));
    }
    QCoreApplication::processEvents(); // what a count of sizes has left to do
    if (!mayTouchOutside)
        ZEL_MUST(readFile(pathOf(u"outside/deep/file.raw"_s)) == "outside");
    return 0;
}
