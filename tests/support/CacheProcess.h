#pragma once

#include "ActorProcess.h"

#include <QString>

namespace zel::test {

/// A `cache_actor`: another process with the shared library and a cache of its own on the base
/// directory, asked for one operation a line. Its source lists the commands. Opens the cache unless
/// told otherwise.
class CacheProcess : public ActorProcess
{
public:
    enum class Start { Open, Closed };

    explicit CacheProcess(const QString &baseDir, Start start = Start::Open,
                          const Environment &environment = {});

    /// The process's row among the clients of the cache; -1 without one.
    qint64 clientId() const;

    /// Takes the semaphore; returns when it is held.
    void hold();
    /// Starts to take it; returns when nothing lies between the process and the lock.
    void startHold();
    /// Waits until startHold() has it.
    void awaitHeld();
    void unhold();

private:
    QString databasePath;
};

} // namespace zel::test
