#include "ApacheServer.h"

#include "LoopbackSocket.h"
#include "TemporaryCache.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <grp.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int mostStarts = 5;
constexpr unsigned nobody = 65534;

/// It refuses to serve as the superuser, and may then touch only what is nobody's.
void becomeNobody()
{
    if (::geteuid() != 0)
        return;
    if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)
        ::_exit(126);
}

void giveToNobody(const QString &path)
{
    const bool isGiven
        = ::geteuid() != 0 || ::chown(QFile::encodeName(path).constData(), nobody, nobody) == 0;
    EXPECT_TRUE(isGiven) << qPrintable(path);
}

} // namespace

ApacheServer::ApacheServer()
    : ApacheServer(Options())
{
}

ApacheServer::ApacheServer(const Options &options)
    : options(options)
{
    giveToNobody(directory.path());
    if (!options.user.isEmpty()) {
        // A hash that any system's own function makes; the salt may be known to everybody.
        QProcess openssl;
        openssl.start(u"openssl"_s,
                      { u"passwd"_s, u"-apr1"_s, u"-salt"_s, u"zelzelze"_s, options.password });
        EXPECT_TRUE(openssl.waitForFinished(limitMs));
        writeFile(directory.filePath(u"users"_s),
                  options.user.toUtf8() + ':' + openssl.readAllStandardOutput());
    }
    if (!options.certificate.isEmpty()) {
        takeOver(options.certificate, u"certificate"_s);
        takeOver(options.certificateKey, u"key"_s);
    }
    // The port is free until somebody else takes it, who may be quicker.
    for (int i = 0; i < mostStarts; ++i) {
        if (tryToStart())
            return;
    }
    ADD_FAILURE() << "apache2 does not start: " << errorLog().toStdString();
}

QString ApacheServer::url(const QString &path) const
{
    return u"dav"_s + webUrl(path).mid(4);
}

QString ApacheServer::webUrl(const QString &path) const
{
    const QString scheme = options.certificate.isEmpty() ? u"http"_s : u"https"_s;
    return scheme + u"://127.0.0.1:"_s + QString::number(listeningPort) + u'/' + path;
}

void ApacheServer::addFile(const QString &path, const QByteArray &content) const
{
    writeFile(root() + u'/' + path, content);
    QFile file(root() + u'/' + path);
    EXPECT_TRUE(file.open(QIODevice::ReadWrite));
    EXPECT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-3600),
                                 QFileDevice::FileModificationTime));
}

void ApacheServer::addFolder(const QString &path) const
{
    EXPECT_TRUE(QDir(root()).mkpath(path));
}

QStringList ApacheServer::waitForSentFiles(qsizetype count) const
{
    EXPECT_TRUE(waitUntil([&] { return sentFiles().size() >= count; })) << qPrintable(errorLog());
    return sentFiles();
}

QStringList ApacheServer::sentFiles() const
{
    QStringList paths;
    const QList<LoggedRequest> all = requests();
    for (const LoggedRequest &request : all) {
        if (request.method == u"GET"_s)
            paths << request.path;
    }
    return paths;
}

/// A copy that the server may read, whatever user it is.
void ApacheServer::takeOver(const QString &path, const QString &name) const
{
    writeFile(directory.filePath(name), readFile(path));
    giveToNobody(directory.filePath(name));
}

bool ApacheServer::tryToStart()
{
    listeningPort = LoopbackSocket().port();
    writeFile(directory.filePath(u"apache.conf"_s), configuration().toUtf8());
    run(u"apache2"_s,
        { u"-X"_s, u"-d"_s, directory.path(), u"-f"_s, directory.filePath(u"apache.conf"_s) },
        becomeNobody);
    return waitUntilItListens();
}

/// The file with the process's number comes after the port was taken.
bool ApacheServer::waitUntilItListens() const
{
    const QDeadlineTimer limit(limitMs);
    const QString pidFile = directory.filePath(u"apache.pid"_s);
    while (!limit.hasExpired() && !process->waitForFinished(10)) {
        QFile file(pidFile);
        if (file.open(QIODevice::ReadOnly)
            && file.readAll().trimmed().toLongLong() == process->processId()) {
            return true;
        }
    }
    return false;
}

QString ApacheServer::modules() const
{
    QStringList names { u"mpm_event"_s, u"authz_core"_s, u"mime"_s, u"dav"_s, u"dav_fs"_s };
    if (!options.user.isEmpty())
        names << u"authn_core"_s << u"authn_file"_s << u"authz_user"_s << u"auth_basic"_s;
    if (!options.certificate.isEmpty())
        names << u"socache_shmcb"_s << u"ssl"_s;
    if (options.kilobytesPerSecond > 0)
        names << u"env"_s << u"ratelimit"_s;
    QStringList lines;
    for (const QString &name : std::as_const(names))
        lines << u"LoadModule %1_module /usr/lib/apache2/modules/mod_%1.so"_s.arg(name);
    return lines.join(u'\n');
}

QString ApacheServer::optionLines() const
{
    QStringList lines;
    if (options.dav)
        lines << u"Dav On"_s;
    if (options.user.isEmpty()) {
        lines << u"Require all granted"_s;
    } else {
        lines << u"AuthType Basic"_s << u"AuthName test"_s << u"AuthBasicProvider file"_s
              << u"AuthUserFile \"%1\""_s.arg(directory.filePath(u"users"_s))
              << u"Require valid-user"_s;
    }
    if (options.kilobytesPerSecond > 0) {
        lines << u"SetOutputFilter RATE_LIMIT"_s
              << u"SetEnv rate-limit %1"_s.arg(options.kilobytesPerSecond);
    }
    return lines.join(u'\n');
}

QString ApacheServer::configuration() const
{
    QString tls;
    if (!options.certificate.isEmpty()) {
        tls = u"SSLEngine on\nSSLCertificateFile certificate\nSSLCertificateKeyFile key"_s;
    }
    return uR"(ServerName 127.0.0.1
Listen 127.0.0.1:%1
PidFile apache.pid
ErrorLog error.log
DefaultRuntimeDir "%2"
TypesConfig /dev/null
%3
LogFormat "%m\t%U\t%>s\t%B\t%{Range}i\t%{If-Range}i\t%{Accept-Encoding}i\t%{Authorization}i" fields
CustomLog access.log fields
KeepAlive On
MaxKeepAliveRequests 0
DavLockDB "%2/locks"
DocumentRoot "%2/root"
%4
<Directory "%2/root">
%5
</Directory>
%6
)"_s.arg(QString::number(listeningPort), directory.path(), modules(), tls, optionLines(),
         options.directives);
}

} // namespace zel::test
