#include "integrity/FetchManifest.h"

#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "integrity/ContentListing.h"
#include "integrity/ContentSum.h"
#include "integrity/ManifestStore.h"

#include <QFileInfo>
#include <QUuid>

#include <algorithm>

namespace zel {

namespace {

/// As many sums as the file has blocks; those of another size are of no use.
QList<QByteArray> fitting(const QList<QByteArray> &sums, const ContentManifest::File &file)
{
    if (file.linkTarget)
        return {};
    const qint64 blocks = BlockSums::blockCount(file.size, ContentManifest::defaultBlockBytes);
    return sums.size() == blocks ? sums : QList<QByteArray>(blocks);
}

} // namespace

FetchManifest::FetchManifest(const FetchPlan &plan)
    : plan(plan)
{
    time.start();
}

void FetchManifest::begin(qint64 doneBytes)
{
    before = doneBytes;
    here = doneBytes;
    time.start();
}

void FetchManifest::setSums(const QByteArray &path, const QList<QByteArray> &sums)
{
    sumsByPath.insert(path, sums);
}

Error FetchManifest::removeFormer() const
{
    if (plan.manifestDirectory.isEmpty())
        return {};
    return ZEL_PASS(ManifestStore(plan.manifestDirectory).remove(plan.referenceKey));
}

ContentManifest FetchManifest::head() const
{
    const std::filesystem::path target = nativePath(plan.expectedPath);
    ContentManifest manifest;
    manifest.id = QUuid::createUuid().toString(QUuid::Id128);
    manifest.referenceKey = plan.referenceKey;
    manifest.name = QByteArray::fromStdString(target.filename().native());
    manifest.scheme = plan.scheme;
    manifest.host = plan.host;
    manifest.fetched = QDateTime::currentDateTimeUtc();
    manifest.fetchedBytes = std::max(here - before, qint64(0));
    manifest.fetchMilliseconds = time.elapsed();
    manifest.folderMade = QFileInfo(textPath(target.parent_path())).birthTime().toUTC();
    return manifest;
}

Error FetchManifest::write(const QList<QByteArray> &names) const
{
    if (plan.manifestDirectory.isEmpty())
        return {};
    Error error;
    ContentManifest manifest = head();
    const std::filesystem::path folder = nativePath(plan.expectedPath).parent_path();
    for (const QByteArray &name : names)
        ZEL_TRY(error, ContentListing::add(folder, name, manifest.files));
    for (ContentManifest::File &file : manifest.files)
        file.sums = fitting(sumsByPath.value(file.path), file);
    return ZEL_PASS(ManifestStore(plan.manifestDirectory).write(manifest));
}

} // namespace zel
