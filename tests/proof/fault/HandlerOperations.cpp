#include "CacheOperations.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using UnknownPath = PathImpl<PathType::Unknown>;

namespace {

const QString added = u"test:added"_s;
const QString addedPath = u"test/added/added.dat"_s;
constexpr auto content = "what is added";

/// Of the row, and of what lies below its path under these names.
auto lacks(const QStringList &names)
{
    return [names](CacheWorld &world) {
        const QString row = world.text(
            u"SELECT status || ' ' || version FROM CachedResources WHERE reference = ?"_s,
            { added });
        QString lack = CacheWorld::difference(row, u"Ready 2.5"_s)
            + CacheWorld::difference(world.handler->isAvailableLocally(), true);
        for (const QString &name : names) {
            const QByteArray bytes = readFile(world.dataPath(addedPath + name));
            lack += CacheWorld::difference(QString::fromUtf8(bytes), QString::fromUtf8(content));
        }
        return lack;
    };
}

FaultOperation adding(const char *name, const QStringList &names)
{
    const auto setUp = [names](CacheWorld &world) {
        world.makeHandler();
        for (const QString &file : names)
            writeFile(world.files.outside(u"added"_s + file), content);
    };
    const auto run = [](CacheWorld &world) {
        return world.handler->addToCache(UnknownPath(world.files.outside(u"added"_s)));
    };
    return { .name = name, .setUp = setUp, .run = run, .missing = lacks(names) };
}

} // namespace

QList<FaultOperation> handlerOperations()
{
    const FaultOperation file = adding("addFile", { QString() });
    FaultOperation folder = adding("addFolder", { u"/a"_s, u"/b/c"_s, u"/b/d"_s });
    folder.exceptions = { CacheInvariants::Exception::OtherSizes };
    folder.whyExcepted
        = "A size has no failure: what cannot be looked at counts as nothing until the next count.";
    return { file, folder };
}

} // namespace zel::test
