#pragma once

#include "NginxServer.h"

namespace zel::test {

/// A private apache httpd with its WebDAV module, on a free port of the loopback address.
///
/// It listens as soon as the object exists and ends with the object or with the thread that made
/// it. Its files lie in a temporary folder of its own; what tests put below root() is its tree.
class ApacheServer
{
public:
    struct Options
    {
        qint64 kilobytesPerSecond = 0; ///< of each answer; 0: as fast as it goes
        bool dav = true; ///< false: a plain web server
        QString user; ///< not empty: everything asks for basic authentication
        QString password; ///< without a colon
        QString certificate; ///< not empty: the server speaks TLS
        QString certificateKey;
        QString directives; ///< further lines of the configuration
    };

    ApacheServer();
    explicit ApacheServer(const Options &options);
    ~ApacheServer();
    ApacheServer(const ApacheServer &) = delete;
    ApacheServer &operator=(const ApacheServer &) = delete;

    QString root() const;
    quint16 port() const { return listeningPort; }
    /// "dav://127.0.0.1:PORT/PATH", or davs if it speaks TLS. The path is taken as it is.
    QString url(const QString &path) const;
    /// The same as a web address.
    QString webUrl(const QString &path) const;

    /// Puts a file, with its folders, below the root; fails the test if it cannot. It looks an hour
    /// old: of younger ones a server does not know whether they change yet.
    void addFile(const QString &path, const QByteArray &content) const;
    void addFolder(const QString &path) const;

    /// All requests that have been answered so far. A line is written when an answer is complete,
    /// which the client can know a moment before.
    QList<LoggedRequest> requests() const;
    /// The paths of the files that were sent.
    QStringList sentFiles() const;
    /// The same once there are so many of them; fails the test if that takes too long.
    QList<LoggedRequest> waitForRequests(qsizetype count) const;
    QStringList waitForSentFiles(qsizetype count) const;
    /// What the server complained of, for messages of tests.
    QString errorLog() const;

    /// Ends the server; connections to it break.
    void stop();

private:
    void takeOver(const QString &path, const QString &name) const;
    bool tryToStart();
    bool waitUntilItListens() const;
    QString configuration() const;
    QString modules() const;
    QString optionLines() const;

    QTemporaryDir directory;
    Options options;
    quint16 listeningPort = 0;
    std::unique_ptr<QProcess> process;
};

} // namespace zel::test
