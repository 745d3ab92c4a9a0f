#pragma once

#include "FaultLoop.h"

namespace zel::test {

using DaoContext = ResourceCacheDao::TransactionContext;

// What the tables of ResourceCacheDao are written with.

/// The cache's file is open by a database access alone.
inline void openDao(CacheWorld &world)
{
    world.cache->close();
    EXPECT_FALSE(world.dao.open(world.files.databasePath()).hasError());
}

/// A question, and what the value that it gives is to be.
template<typename Ask, typename Read>
FaultOperation question(const char *name, Ask ask, Read read, const QVariant &expected)
{
    const auto run = [ask, read](CacheWorld &world) {
        const auto result = ask(world.dao);
        world.answer = result.hasValue() ? QVariant(read(result.value())) : QVariant();
        return errorOf(result);
    };
    const auto missing = [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
    return { .name = name, .setUp = openDao, .run = run, .missing = missing };
}

/// A question inside a transaction of the caller's.
template<typename Ask, typename Read>
FaultOperation questionInside(const char *name, Ask ask, Read read, const QVariant &expected)
{
    const auto run = [ask, read](CacheWorld &world) {
        world.answer = QVariant();
        const auto context = world.dao.createTransaction();
        if (!context.hasValue())
            return context.error();
        const auto result = ask(world.dao, context.value().get());
        if (!result.hasValue())
            return result.error();
        world.answer = QVariant(read(result.value()));
        return context.value()->commit();
    };
    const auto missing = [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
    return { .name = name, .setUp = openDao, .run = run, .missing = missing };
}

/// A change, and what a statement gives after it.
inline FaultOperation change(const char *name, const std::function<Error(ResourceCacheDao &)> &run,
                             const QString &sql, const QString &expected)
{
    const auto missing = [sql, expected](CacheWorld &world) {
        return CacheWorld::difference(world.text(sql), expected);
    };
    return { .name = name,
             .setUp = openDao,
             .run = [run](CacheWorld &world) { return run(world.dao); },
             .missing = missing };
}

/// The same inside a transaction of the caller's.
inline FaultOperation changeInside(
    const char *name, const std::function<Error(ResourceCacheDao &, DaoContext *)> &run,
    const QString &sql, const QString &expected)
{
    const auto whole = [run](ResourceCacheDao &dao) {
        const auto context = dao.createTransaction();
        if (!context.hasValue())
            return context.error();
        const Error error = run(dao, context.value().get());
        return error.hasError() ? error : context.value()->commit();
    };
    return change(name, whole, sql, expected);
}

/// The operation in a world that has become another one before.
inline FaultOperation in(const std::function<void(CacheWorld &)> &setUp, FaultOperation operation)
{
    operation.setUp = setUp;
    return operation;
}

/// The cache's file is open beside a client that has died.
inline void openBesideTheDead(CacheWorld &world)
{
    world.addDeadClient();
    openDao(world);
}

/// This process wants a resource.
inline void openWithTask(CacheWorld &world)
{
    openDao(world);
    EXPECT_FALSE(world.dao.addRetrievingTask(QStringLiteral("test:missing")).hasError());
}

/// This process fetches a resource.
inline void openWithFetch(CacheWorld &world)
{
    openWithTask(world);
    EXPECT_FALSE(world.dao.updateProgress(QStringLiteral("test:missing"), 20).hasError());
}

/// All that a list holds, in its order.
template<typename T, typename ToText>
QString joined(const QList<T> &list, ToText toText)
{
    QStringList texts;
    for (const T &entry : list)
        texts.append(toText(entry));
    return texts.join(QLatin1Char(' '));
}

} // namespace zel::test
