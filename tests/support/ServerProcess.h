#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace zel::test {

/// What a server's access log tells of one request. Header values are "-" if there was none.
struct LoggedRequest
{
    QString method;
    QString path;
    int status = 0;
    qint64 bodyBytes = 0;
    QString range;
    QString ifRange;
    QString acceptEncoding;
    QString authorization;
};

/// A server of somebody else in a process of its own, on a port of the loopback address.
///
/// It ends with the object or with the thread that made it, whichever is first. Its files lie in a
/// temporary folder of its own; it serves what tests put below root().
class ServerProcess
{
public:
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    QString root() const { return directory.filePath(QStringLiteral("root")); }
    quint16 port() const { return listeningPort; }
    /// The main process, which ends its workers when it is asked to terminate.
    qint64 processId() const { return process->processId(); }

    /// All requests that have been answered so far. A line is written when an answer is complete,
    /// which the client can know a moment before.
    QList<LoggedRequest> requests() const;
    /// The same, but waits for at least so many lines; fails the test if they do not come.
    QList<LoggedRequest> waitForRequests(qsizetype count) const;
    /// What the server complained of, for messages of tests.
    QString errorLog() const;

    /// Ends the server at once; connections to it break. It does not start again.
    void stop();

protected:
    static constexpr int limitMs = 20000; ///< far above what a start or an end takes

    ServerProcess();
    ~ServerProcess() { stop(); }

    /// Starts the program anew. The function runs in the child before the program does.
    void run(const QString &program, const QStringList &arguments,
             const std::function<void()> &inChild,
             const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

    /// With error.log and access.log, whose lines are the fields of a LoggedRequest in their order,
    /// with tabs between them.
    QTemporaryDir directory;
    quint16 listeningPort = 0;
    std::unique_ptr<QProcess> process = std::make_unique<QProcess>();
};

} // namespace zel::test
