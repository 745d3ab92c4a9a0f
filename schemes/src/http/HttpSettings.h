#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <chrono>
#include <functional>

namespace zel {

/// How patient, how bold and how trusting transfers over HTTP are.
struct HttpSettings
{
    /// A transfer that brings fewer bytes than this within the time is broken off and tried again.
    /// There is no limit for the whole of it: a large file takes as long as it takes.
    qint64 stallBytes = 1024;
    std::chrono::milliseconds stallTime = std::chrono::seconds(60);
    std::chrono::milliseconds connectTime = std::chrono::seconds(30);

    /// Tries after the first one. Counted anew once bytes have come that had not come before, so
    /// that a long transfer survives any number of interruptions.
    int retries = 5;
    int probeRetries = 2; ///< the same for mere questions, on whose answer a person may be waiting
    /// Doubled with every try in a row, up to the longest one.
    std::chrono::milliseconds backOff = std::chrono::seconds(1);
    std::chrono::milliseconds longestBackOff = std::chrono::seconds(30);
    /// A server that asks for a longer pause than this is not waited for.
    std::chrono::milliseconds longestWait = std::chrono::minutes(5);
    /// Stands in for waiting if set.
    std::function<void(std::chrono::milliseconds)> wait;

    /// What has come is handed on with the first piece that comes after this time, however little
    /// it is: on a slow line, too, progress is seen, and a cancel loses no more than this.
    std::chrono::milliseconds gatherTime = std::chrono::milliseconds(500);

    int redirects = 10;
    bool staysEncrypted = false; ///< no redirect is followed from TLS to an address without it
    int transfersPerHost = 2; ///< of this process
    qint64 headBytes = 256 * 1024; ///< an answer with a longer head is refused

    /// The one source of user names and passwords.
    QString netrcFile = QDir::homePath() + QStringLiteral("/.netrc");
    QString caFile; ///< certificates to trust; empty: the machine's own
};

} // namespace zel
