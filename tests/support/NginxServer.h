#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace zel::test {

/// What a server's access log tells of one request. Header values are "-" if there was none.
struct LoggedRequest
{
    QString method;
    QString path; ///< with the query, as the client sent it
    int status = 0;
    qint64 bodyBytes = 0;
    QString range;
    QString ifRange;
    QString acceptEncoding;
    QString authorization;
};

/// A private nginx with one worker on a free port of the loopback address.
///
/// It answers as soon as the object exists, since the port listens before the process starts, and
/// it ends with the object or with the thread that made it, whichever is first. Its files lie in a
/// temporary folder of its own; it serves what tests put below root().
class NginxServer
{
public:
    struct Options
    {
        qint64 bytesPerSecond = 0; ///< of each connection; 0: as fast as it goes
        bool ranges = true;
        bool headAllowed = true; ///< false: a HEAD is answered with 405
        QString user; ///< not empty: everything asks for basic authentication
        QString password; ///< without a colon
        QString certificate; ///< not empty: the server speaks TLS
        QString certificateKey;
        QString directives; ///< further lines of the server block, such as locations
    };

    NginxServer();
    explicit NginxServer(const Options &options);
    ~NginxServer();
    NginxServer(const NginxServer &) = delete;
    NginxServer &operator=(const NginxServer &) = delete;

    QString root() const;
    quint16 port() const { return listeningPort; }
    /// "http://127.0.0.1:PORT/PATH", or https if it speaks TLS.
    QString url(const QString &path) const;
    /// The main process, which ends its worker when it is asked to terminate.
    qint64 processId() const { return process->processId(); }

    /// Puts a file below the root; fails the test if it cannot.
    void addFile(const QString &path, const QByteArray &content) const;
    /// Puts a file of so many zero bytes that takes no room on the disk below the root.
    void addSparseFile(const QString &path, qint64 size) const;

    /// All requests that have been answered so far. A line is written when an answer is complete,
    /// which the client can know a moment before.
    QList<LoggedRequest> requests() const;
    /// The same, but waits for at least so many lines; fails the test if they do not come.
    QList<LoggedRequest> waitForRequests(qsizetype count) const;
    /// What the server complained of, for messages of tests.
    QString errorLog() const;

    /// Ends the server at once; connections to it break. It does not start again.
    void stop();

private:
    QString configuration() const;
    QString serverBlock() const;
    void start(int listeningDescriptor);

    QTemporaryDir directory;
    Options options;
    quint16 listeningPort = 0;
    std::unique_ptr<QProcess> process;
};

/// A certificate for 127.0.0.1 and localhost, signed by itself, and its key, in the given folder.
struct SelfSignedCertificate
{
    explicit SelfSignedCertificate(const QString &folder);

    QString certificate;
    QString key;
};

} // namespace zel::test
