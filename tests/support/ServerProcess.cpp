#include "ServerProcess.h"

#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <sys/prctl.h>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

ServerProcess::ServerProcess()
{
    EXPECT_TRUE(directory.isValid()) << qPrintable(directory.errorString());
    EXPECT_TRUE(QDir(directory.path()).mkdir(u"root"_s));
}

QList<LoggedRequest> ServerProcess::requests() const
{
    QFile log(directory.filePath(u"access.log"_s));
    QList<LoggedRequest> found;
    if (!log.open(QIODevice::ReadOnly))
        return found;
    for (const QByteArray &line : log.readAll().split('\n')) {
        const QStringList fields = QString::fromUtf8(line).split(u'\t');
        if (fields.size() == 8) {
            found.append({ fields[0], fields[1], fields[2].toInt(), fields[3].toLongLong(),
                           fields[4], fields[5], fields[6], fields[7] });
        }
    }
    return found;
}

QList<LoggedRequest> ServerProcess::waitForRequests(qsizetype count) const
{
    EXPECT_TRUE(waitUntil([&] { return requests().size() >= count; })) << qPrintable(errorLog());
    return requests();
}

QString ServerProcess::errorLog() const
{
    QFile log(directory.filePath(u"error.log"_s));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

void ServerProcess::stop()
{
    if (process->state() == QProcess::NotRunning)
        return;
    process->terminate();
    if (process->waitForFinished(limitMs))
        return;
    process->kill();
    process->waitForFinished(limitMs);
}

void ServerProcess::run(const QString &program, const QStringList &arguments,
                        const std::function<void()> &inChild,
                        const QProcessEnvironment &environment)
{
    process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment);
    process->setChildProcessModifier([inChild] {
        inChild();
        ::prctl(PR_SET_PDEATHSIG, SIGTERM); // last: who becomes another user loses it
    });
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->start(program, arguments);
    EXPECT_TRUE(process->waitForStarted(limitMs)) << qPrintable(process->errorString());
}

} // namespace zel::test
