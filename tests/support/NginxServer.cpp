#include "NginxServer.h"
#include "LoopbackSocket.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int processLimitMs = 20000;

LoggedRequest parsedLogLine(const QByteArray &line)
{
    const QList<QByteArray> fields = line.split('\t');
    LoggedRequest request;
    if (fields.size() != 8)
        return request;
    request.method = QString::fromUtf8(fields[0]);
    request.path = QString::fromUtf8(fields[1]);
    request.status = fields[2].toInt();
    request.bodyBytes = fields[3].toLongLong();
    request.range = QString::fromUtf8(fields[4]);
    request.ifRange = QString::fromUtf8(fields[5]);
    request.acceptEncoding = QString::fromUtf8(fields[6]);
    request.authorization = QString::fromUtf8(fields[7]);
    return request;
}

} // namespace

NginxServer::NginxServer()
    : NginxServer(Options())
{
}

NginxServer::NginxServer(const Options &options)
    : options(options)
    , process(std::make_unique<QProcess>())
{
    EXPECT_TRUE(directory.isValid()) << qPrintable(directory.errorString());
    EXPECT_TRUE(QDir(directory.path()).mkdir(u"root"_s));
    if (!options.user.isEmpty()) {
        const QString line = options.user + u":{PLAIN}"_s + options.password + u'\n';
        writeFile(directory.filePath(u"users"_s), line.toUtf8());
    }

    const LoopbackSocket socket;
    listeningPort = socket.port();
    writeFile(directory.filePath(u"nginx.conf"_s), configuration().toUtf8());
    start(socket.descriptor());
}

NginxServer::~NginxServer()
{
    stop();
}

QString NginxServer::root() const
{
    return directory.filePath(u"root"_s);
}

QString NginxServer::url(const QString &path) const
{
    const QString scheme = options.certificate.isEmpty() ? u"http"_s : u"https"_s;
    return u"%1://127.0.0.1:%2/%3"_s.arg(scheme, QString::number(listeningPort), path);
}

void NginxServer::addFile(const QString &path, const QByteArray &content) const
{
    writeFile(root() + u'/' + path, content);
}

void NginxServer::addSparseFile(const QString &path, qint64 size) const
{
    addFile(path, {});
    EXPECT_TRUE(QFile::resize(root() + u'/' + path, size));
}

QList<LoggedRequest> NginxServer::requests() const
{
    QFile log(directory.filePath(u"access.log"_s));
    QList<LoggedRequest> found;
    if (!log.open(QIODevice::ReadOnly))
        return found;
    for (const QByteArray &line : log.readAll().split('\n')) {
        if (!line.isEmpty())
            found.append(parsedLogLine(line));
    }
    return found;
}

QList<LoggedRequest> NginxServer::waitForRequests(qsizetype count) const
{
    const QDeadlineTimer limit(processLimitMs);
    QList<LoggedRequest> found = requests();
    while (found.size() < count && !limit.hasExpired()) {
        QThread::msleep(5);
        found = requests();
    }
    EXPECT_GE(found.size(), count) << qPrintable(errorLog());
    return found;
}

QString NginxServer::errorLog() const
{
    QFile log(directory.filePath(u"error.log"_s));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

void NginxServer::stop()
{
    if (process->state() == QProcess::NotRunning)
        return;
    process->terminate();
    if (process->waitForFinished(processLimitMs))
        return;
    process->kill();
    process->waitForFinished(processLimitMs);
}

QString NginxServer::configuration() const
{
    // A worker of the superuser's server would change to a user who may not read our folder.
    const QString owner = ::geteuid() == 0 ? u"user root root;"_s : QString();
    return uR"(daemon off;
worker_processes 1;
%1
pid nginx.pid;
error_log error.log notice;
events { worker_connections 256; }
http {
    default_type application/octet-stream;
    log_format fields '$request_method	$request_uri	$status	$body_bytes_sent	$http_range	$http_if_range	$http_accept_encoding	$http_authorization';
    access_log access.log fields;
    client_body_temp_path client_body;
    proxy_temp_path proxy;
    fastcgi_temp_path fastcgi;
    uwsgi_temp_path uwsgi;
    scgi_temp_path scgi;
    server {
%2
    }
}
)"_s.arg(owner, serverBlock());
}

QString NginxServer::serverBlock() const
{
    const bool encrypted = !options.certificate.isEmpty();
    QStringList lines {
        u"listen 127.0.0.1:%1%2;"_s.arg(QString::number(listeningPort),
                                        encrypted ? u" ssl"_s : QString()),
        u"root \"%1\";"_s.arg(root()),
    };
    if (encrypted) {
        lines << u"ssl_certificate \"%1\";"_s.arg(options.certificate)
              << u"ssl_certificate_key \"%1\";"_s.arg(options.certificateKey);
    }
    if (options.bytesPerSecond > 0)
        lines << u"limit_rate %1;"_s.arg(options.bytesPerSecond);
    if (!options.ranges)
        lines << u"max_ranges 0;"_s;
    if (!options.headAllowed)
        lines << u"if ($request_method = HEAD) { return 405; }"_s;
    if (!options.user.isEmpty())
        lines << u"auth_basic test;"_s << u"auth_basic_user_file users;"_s;
    lines << options.directives;
    return lines.join(u'\n');
}

void NginxServer::start(int listeningDescriptor)
{
    // The server finds the number of the socket that it inherits in a variable of this name.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"NGINX"_s, QString::number(listeningDescriptor) + u';');
    process->setProcessEnvironment(environment);
    process->setChildProcessModifier([listeningDescriptor] {
        ::fcntl(listeningDescriptor, F_SETFD, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    });
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    const QString folder = directory.path() + u'/';
    process->start(u"nginx"_s,
                   { u"-p"_s, folder, u"-e"_s, u"error.log"_s, u"-c"_s, u"nginx.conf"_s });
    EXPECT_TRUE(process->waitForStarted(processLimitMs)) << qPrintable(process->errorString());
}

SelfSignedCertificate::SelfSignedCertificate(const QString &folder)
    : certificate(folder + u"/certificate.pem"_s)
    , key(folder + u"/key.pem"_s)
{
    QProcess process;
    process.start(u"openssl"_s,
                  { u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
                    u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s,
                    u"/CN=localhost"_s, u"-addext"_s,
                    u"subjectAltName=IP:127.0.0.1,DNS:localhost"_s, u"-keyout"_s, key, u"-out"_s,
                    certificate });
    EXPECT_TRUE(process.waitForFinished(processLimitMs));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

} // namespace zel::test
