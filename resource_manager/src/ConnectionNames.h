#pragma once

#include "threads/Mutex.h"

#include <QSet>
#include <QString>

#include <functional>

namespace zel {

/// Names of database connections, each of which one object of this process has at a time. A name
/// that two drew would take the connection from under the first of them.
///
/// Names have sixteen random bits, so that a program with several caches does meet one again. May
/// be used on any thread.
class ConnectionNames
{
public:
    /// Draws a name, which may be taken.
    using Draw = std::function<QString()>;

    /// All connections of caches in this process. Never destroyed: the last ones close at exit.
    static ConnectionNames &ofThisProcess();

    explicit ConnectionNames(Draw draw);

    /// A name that nobody has, drawn until there is one. The caller has it until it gives it back.
    QString take();
    void giveBack(const QString &name);

private:
    const Draw draw;
    Mutex mutex { "the names of connections" };
    QSet<QString> taken;
};

} // namespace zel
