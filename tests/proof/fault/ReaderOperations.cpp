#include "CacheOperations.h"

#include "ResourceCacheReader.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A look at the cache from outside, and what it is to tell.
template<typename Look, typename Read>
FaultOperation look(const char *name, Look lookAt, Read read, const QString &expected,
                    const char *silence = "")
{
    const auto run = [lookAt, read](CacheWorld &world) {
        const ResourceCacheReader reader(world.files.databasePath());
        const auto found = lookAt(reader);
        world.answer = found.hasValue() ? QVariant(read(found.value())) : QVariant();
        return errorOf(found);
    };
    const auto missing = [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
    return { .name = name, .run = run, .missing = missing, .silence = silence };
}

QString toText(const ResourceCacheReader::Snapshot &snapshot)
{
    return u"%1 %2 %3 %4 %5"_s.arg(snapshot.resources.size())
        .arg(snapshot.usages.size())
        .arg(snapshot.acquiringTasks.size())
        .arg(snapshot.clients.size())
        .arg(snapshot.currentSize);
}

} // namespace

QList<FaultOperation> readerOperations()
{
    using Reader = ResourceCacheReader;
    return {
        look(
            "reader: read", [](const Reader &reader) { return reader.read(); }, toText,
            u"5 1 1 2 25"_s),
        look(
            "reader: readRowsOf",
            [](const Reader &reader) { return reader.readRowsOf({ u"test:file"_s }); }, toText,
            u"1 0 0 2 25"_s),
        look(
            "reader: readActivity", [](const Reader &reader) { return reader.readActivity(); },
            [](const Reader::Activity &activity) {
                return u"%1 %2 %3 %4"_s.arg(activity.acquiringTasks.size())
                    .arg(activity.clients.size())
                    .arg(activity.resourceCounts.value(ResourceStatus::Ready))
                    .arg(activity.currentSize);
            },
            u"1 2 3 25"_s),
        look(
            "reader: readCondition", [](const Reader &reader) { return reader.readCondition(); },
            [](const Reader::Condition &condition) {
                return u"%1 %2 %3"_s.arg(condition.metadataRows)
                    .arg(condition.journalMode)
                    .arg(condition.damages.size());
            },
            u"1 wal 0"_s, "What cannot be read is one of the damages that it tells of."),
    };
}

} // namespace zel::test
