#include "ActorProcess.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <chrono>
#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Far above what anything here takes, and below the limit of a test.
constexpr std::chrono::milliseconds limit = 40s;
constexpr std::chrono::milliseconds glance = 1ms;

} // namespace

ActorProcess::ActorProcess(const QString &program, const QStringList &arguments,
                           const Environment &environment)
{
    QProcessEnvironment full = QProcessEnvironment::systemEnvironment();
    full.insert(u"QT_LOGGING_RULES"_s, u"zel.*.debug=false"_s);
    for (auto variable = environment.begin(); variable != environment.end(); ++variable)
        full.insert(variable.key(), variable.value());
    process.setProcessEnvironment(full);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForStarted(int(limit.count()))) << qPrintable(process.errorString());
    processId = process.processId();
}

ActorProcess::~ActorProcess()
{
    if (process.state() != QProcess::NotRunning)
        kill();
}

QString ActorProcess::ask(const QString &command)
{
    send(command);
    return answer();
}

void ActorProcess::send(const QString &command)
{
    process.write((command + u'\n').toUtf8());
    // A process that is killed meanwhile is no failure of the test.
    while (process.bytesToWrite() > 0 && process.waitForBytesWritten(int(limit.count()))) { }
}

QString ActorProcess::answer()
{
    const QDeadlineTimer deadline(limit);
    while (!hasLine()) {
        if (process.state() == QProcess::NotRunning || deadline.hasExpired()) {
            ADD_FAILURE() << "process " << processId << " gave no answer";
            return u"(no answer)"_s;
        }
    }
    return QString::fromUtf8(process.readLine()).chopped(1);
}

QString ActorProcess::takeLine()
{
    if (!process.canReadLine())
        process.waitForReadyRead(0);
    return process.canReadLine() ? QString::fromUtf8(process.readLine()).chopped(1) : QString();
}

bool ActorProcess::hasLine()
{
    return process.canReadLine()
        || (process.waitForReadyRead(int(glance.count())) && process.canReadLine());
}

bool ActorProcess::isBlocked()
{
    const QDeadlineTimer deadline(limit);
    while (!deadline.hasExpired()) {
        // In this order: what sleeps now has said before whatever it had to say.
        const bool asleep = state() == u'S';
        if (hasLine())
            return false;
        if (asleep)
            return true;
    }
    ADD_FAILURE() << "process " << processId << " neither sleeps nor answers";
    return false;
}

void ActorProcess::kill()
{
    process.kill();
    EXPECT_TRUE(process.waitForFinished(int(limit.count())));
}

void ActorProcess::stop()
{
    ::kill(pid_t(processId), SIGSTOP);
    waitUntilStopped();
}

void ActorProcess::cont()
{
    ::kill(pid_t(processId), SIGCONT);
}

void ActorProcess::waitUntilStopped()
{
    const QDeadlineTimer deadline(limit);
    while (state() != u'T' && !deadline.hasExpired())
        QThread::usleep(100);
    EXPECT_EQ(state(), u'T');
}

int ActorProcess::end()
{
    if (process.state() != QProcess::NotRunning) {
        EXPECT_TRUE(process.waitForFinished(int(limit.count()))) << "process " << processId;
    }
    // The code of a crash is the number of the signal.
    const bool isCrash = process.exitStatus() == QProcess::CrashExit;
    return isCrash ? -process.exitCode() : process.exitCode();
}

QChar ActorProcess::state() const
{
    QFile file(u"/proc/%1/stat"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // "pid (name) state ...", and the name may hold anything.
    const QByteArray text = file.readAll();
    const qsizetype behindName = text.lastIndexOf(") ");
    return behindName < 0 ? QChar() : QChar::fromLatin1(text.at(behindName + 2));
}

Fate fateOf(ActorProcess *victim)
{
    const int code = victim->end();
    return fateOf(code, code > 0 ? victim->takeLine() : QString());
}

} // namespace zel::test
