#pragma once

#include "Fate.h"

#include <QList>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace zel::test {

/// A program of tests/actors: another process that is spoken to line by line and that can be
/// stopped and killed. Whatever still runs when the object goes is killed.
///
/// Every wait has a limit and fails the test when it ends.
class ActorProcess
{
public:
    using Environment = QMap<QString, QString>;

    ActorProcess(const QString &program, const QStringList &arguments,
                 const Environment &environment = {});
    ~ActorProcess();
    ActorProcess(const ActorProcess &) = delete;
    ActorProcess &operator=(const ActorProcess &) = delete;

    /// Sends the command and waits for the line that answers it.
    QString ask(const QString &command);
    void send(const QString &command);
    QString answer();
    /// A line that has been said by now; null without one.
    QString takeLine();

    /// True as soon as the process sleeps without having said another line; false if it says one.
    /// For a process that has just announced that it takes a lock.
    bool isBlocked();

    /// SIGKILL; the process is gone when it returns.
    void kill();
    /// SIGSTOP and SIGCONT; the process stands still when stop() returns.
    void stop();
    void cont();
    /// For a process that stops itself.
    void waitUntilStopped();
    /// Waits for the end of the process: its exit code, or the signal that has ended it as a number
    /// below 0, -SIGKILL or -SIGSEGV.
    int end();

    qint64 pid() const { return processId; }

private:
    bool hasLine();
    QChar state() const;

    QProcess process;
    qint64 processId = 0;
};

/// Waits for the end of the program, and fails the test if it is Fate::Failed.
Fate fateOf(ActorProcess *victim);

} // namespace zel::test
