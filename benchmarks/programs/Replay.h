#pragma once

#include "Recording.h"

#include <QSqlDatabase>
#include <QSystemSemaphore>

namespace zel::bench {

/// Does by bare means what was recorded: a semaphore of its own, QSqlQuery, and the settings that
/// ours has, or those of the database.
class Replay
{
public:
    enum class Settings { AsOurs, Default };

    Replay(const QString &databasePath, Settings settings);
    ~Replay();
    Replay(const Replay &) = delete;
    Replay &operator=(const Replay &) = delete;

    void play(const Script &script);

private:
    void run(const QString &sql, const QVariantList &values = {});

    const QString connection;
    QSystemSemaphore semaphore;
    QSqlDatabase database;
};

} // namespace zel::bench
