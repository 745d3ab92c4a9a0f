#pragma once

#include "ServerProcess.h"

namespace zel::test {

/// A private nginx with one worker on a free port of the loopback address.
///
/// It answers as soon as the object exists, since the port listens before the process starts. The
/// paths of logged requests have their query, as the client sent it.
class NginxServer : public ServerProcess
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

    /// "http://127.0.0.1:PORT/PATH", or https if it speaks TLS.
    QString url(const QString &path) const;

    /// Puts a file below the root; fails the test if it cannot.
    void addFile(const QString &path, const QByteArray &content) const;
    /// Puts a file of so many zero bytes that takes no room on the disk below the root.
    void addSparseFile(const QString &path, qint64 size) const;

private:
    QString configuration() const;
    QString serverBlock() const;
    void start(int listeningDescriptor);

    Options options;
};

} // namespace zel::test
