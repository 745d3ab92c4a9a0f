#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <functional>

namespace zel::test {

/// Answers commands that come over standard input, a line each, from the event loop of a
/// QCoreApplication, so that timers go on between them. The end of the input ends the program.
class LineServer : public QObject
{
public:
    /// The answer is printed, unless it is null.
    using Command = std::function<QString(const QString &line)>;

    explicit LineServer(Command command);

private:
    void read();

    Command command;
    QByteArray input;
    QSocketNotifier notifier;
};

/// Prints one line at once.
void say(const QString &line);
/// Blocks until a line comes over standard input. Not beside a LineServer.
void awaitLine();

} // namespace zel::test
