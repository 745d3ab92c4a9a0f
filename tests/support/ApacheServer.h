#pragma once

#include "ServerProcess.h"

namespace zel::test {

/// A private apache httpd with its WebDAV module, on a free port of the loopback address.
///
/// It listens as soon as the object exists. Logged requests have their paths without a query.
class ApacheServer : public ServerProcess
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

    /// "dav://127.0.0.1:PORT/PATH", or davs if it speaks TLS. The path is taken as it is.
    QString url(const QString &path) const;
    /// The same as a web address.
    QString webUrl(const QString &path) const;

    /// Puts a file, with its folders, below the root; fails the test if it cannot. It looks an hour
    /// old: of younger ones a server does not know whether they change yet.
    void addFile(const QString &path, const QByteArray &content) const;
    void addFolder(const QString &path) const;

    /// The paths of the files that were sent.
    QStringList sentFiles() const;
    /// The same once there are so many of them; fails the test if that takes too long.
    QStringList waitForSentFiles(qsizetype count) const;

private:
    void takeOver(const QString &path, const QString &name) const;
    bool tryToStart();
    bool waitUntilItListens() const;
    QString configuration() const;
    QString modules() const;
    QString optionLines() const;

    Options options;
};

} // namespace zel::test
