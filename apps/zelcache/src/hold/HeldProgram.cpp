#include "hold/HeldProgram.h"

#include "hold/ProgramLine.h"
#include "platform/AccessReason.h"
#include "platform/ProcessSignal.h"
#include "platform/SignalWatch.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>
#include <functional>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::HeldProgram)
};

constexpr int cannotBeStarted = 126;
constexpr int notFound = 127;

/// Calls once when the time is over. A timer alone counts no more than some weeks.
class Alarm
{
public:
    Alarm(const HoldTime &time, std::function<void()> onEnd)
        : onEnd(std::move(onEnd))
    {
        if (!time)
            return;
        end = QDeadlineTimer(*time);
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { look(); });
        look();
    }

private:
    void look()
    {
        if (end.hasExpired())
            return onEnd();
        const auto remaining = std::chrono::milliseconds(end.remainingTime()) + 1ms;
        timer.start(std::min<std::chrono::milliseconds>(remaining, 24h));
    }

    std::function<void()> onEnd;
    QDeadlineTimer end;
    QTimer timer;
};

/// 127 or 126 if it is plain beforehand that the program cannot be started.
int obstacleTo(const QString &program)
{
    if (!program.contains(u'/'))
        return QStandardPaths::findExecutable(program).isEmpty() ? notFound : 0;
    const QFileInfo file(program);
    if (!file.exists())
        return notFound;
    return file.isFile() && file.isExecutable() ? 0 : cannotBeStarted;
}

void prepare(QProcess &process, const QStringList &programLine, const QStringList &paths)
{
    process.setProgram(programLine.first());
    process.setArguments(programLine.mid(1));
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ZELCACHE_PATHS"_s, pathsVariable(paths));
    process.setProcessEnvironment(environment);
}

int codeOf(const QProcess &process)
{
    if (process.error() == QProcess::FailedToStart)
        return cannotBeStarted;
    return process.exitStatus() == QProcess::CrashExit ? 128 + process.exitCode()
                                                       : process.exitCode();
}

} // namespace

int runHeldProgram(Output &output, const QStringList &programLine, const QStringList &paths,
                   const HoldTime &time)
{
    const QString &program = programLine.first();
    if (const int obstacle = obstacleTo(program)) {
        output.error(
            obstacle == notFound
                ? Texts::tr("There is no program %1.").arg(program)
                : Texts::tr("%1 cannot be started: %2").arg(program, whyNotExecutable(program)));
        return obstacle;
    }
    QEventLoop loop;
    QProcess process;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop,
                     [&loop](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             loop.quit();
                     });
    const SignalWatch *watch = nullptr;
    const SignalWatch signalWatch(
        [&process, &watch](int number) {
            // Whether a terminal that is gone tells all its programs depends on who leads them.
            if (!watch->isFromTerminal() || isHangup(number))
                sendSignal(process.processId(), number);
        },
        SignalWatch::Signals::All);
    watch = &signalWatch;
    prepare(process, programLine, paths);
    process.start();
    const Alarm alarm(time, [&process] { process.terminate(); });
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    if (process.error() == QProcess::FailedToStart)
        output.error(Texts::tr("%1 cannot be started: %2").arg(program, process.errorString()));
    return codeOf(process);
}

int holdStill(const HoldTime &time)
{
    QEventLoop loop;
    const SignalWatch signalWatch([&loop](int) { loop.quit(); });
    const Alarm alarm(time, [&loop] { loop.quit(); });
    loop.exec();
    return signalWatch.received();
}

} // namespace zel::cli
