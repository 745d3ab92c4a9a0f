#include "NginxServer.h"
#include "LoopbackSocket.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

NginxServer::NginxServer()
    : NginxServer(Options())
{
}

NginxServer::NginxServer(const Options &options)
    : options(options)
{
    if (!options.user.isEmpty()) {
        const QString line = options.user + u":{PLAIN}"_s + options.password + u'\n';
        writeFile(directory.filePath(u"users"_s), line.toUtf8());
    }

    const LoopbackSocket socket;
    listeningPort = socket.port();
    writeFile(directory.filePath(u"nginx.conf"_s), configuration().toUtf8());
    start(socket.descriptor());
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
    const QString folder = directory.path() + u'/';
    run(
        u"nginx"_s, { u"-p"_s, folder, u"-e"_s, u"error.log"_s, u"-c"_s, u"nginx.conf"_s },
        [listeningDescriptor] { ::fcntl(listeningDescriptor, F_SETFD, 0); }, environment);
}

} // namespace zel::test
