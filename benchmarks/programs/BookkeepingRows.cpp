#include "CacheWork.h"
#include "OpenCache.h"
#include "ResourceRetrieveHandle.h"

#include <QFile>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString &oneOf(const QStringList &references, int number)
{
    return references.at(number % references.size());
}

void readStatus(ResourceCache &cache, const QStringList &references, int number)
{
    check(cache.readStatus(oneOf(references, number)));
}

void saveStatus(ResourceCache &cache, const QStringList &references, int number)
{
    check(cache.saveStatus(oneOf(references, number), ResourceStatus::Ready));
}

void useAndRelease(ResourceCache &cache, const QStringList &references, int number)
{
    check(cache.useResource(oneOf(references, number)));
}

/// The bookkeeping looks whether it is there, and how large.
void writeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write("content") < 0)
        giveUp("nothing can be written");
}

/// All that the cache has to do for a resource that was never seen before, but for the transfer,
/// which tells of its progress twice.
void retrieve(ResourceCache &cache, const QStringList &, int number)
{
    const QString file = cache.path().baseDirPath().toString() + u"/retrieved.raw"_s;
    if (number == 0)
        writeFile(file);
    const QString reference = u"share:/data/runs/retrieved-%1.raw"_s.arg(number);
    const auto use = check(cache.useResource(reference));
    ResourceRetrieveHandle handle(reference, PathImpl<PathType::Unknown>(file), &cache,
                                  QVersionNumber(1, 0));
    check(handle.tryStartRetrieve());
    check(handle.saveProgress(50));
    check(handle.saveProgress(100));
    check(handle.finalizeRetrieve({}));
    check(handle.removeTaskFromDatabase());
}

/// A single process.
bool enterAlone(const std::string &row, const CacheWork &work, int operations)
{
    return enter(row + "/ours", CacheSides::ours(work, operations))
        && enter(row + "/floor", CacheSides::floor(work, operations));
}

bool enterTogether(const std::string &row, const CacheWork &work)
{
    return enter(row + "/ours", CacheSides::oursTogether(work))
        && enter(row + "/floor", CacheSides::floorTogether(work));
}

constexpr int many = 500;
constexpr int few = 40; // the default settings sync dozens of times for each

const bool known = enterAlone("readStatus", readStatus, many)
    && enterTogether("readStatus4", readStatus) && enterAlone("saveStatus", saveStatus, many)
    && enterAlone("use", useAndRelease, many) && enterAlone("bookkeeping", retrieve, few)
    && enter("bookkeeping/default", CacheSides::floor(retrieve, few, Replay::Settings::Default));

} // namespace
