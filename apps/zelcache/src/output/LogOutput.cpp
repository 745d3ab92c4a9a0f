#include "output/LogOutput.h"

#include "output/Text.h"
#include "platform/Streams.h"

#include <QThread>

#include <atomic>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

// Plain values: lines come until the very end of the program.
std::atomic<Output *> currentOutput = nullptr;
std::atomic<Qt::HANDLE> outputThread = nullptr;
std::atomic<int> currentVerbosity = 0;
thread_local int expectedFailures = 0;

constexpr int everything = 2;

int neededVerbosity(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg:
        return everything;
    case QtWarningMsg:
        return expectedFailures > 0 ? everything : 1;
    case QtCriticalMsg:
        return expectedFailures > 0 ? everything : 0;
    case QtFatalMsg:
        break;
    }
    return 0;
}

void writeLine(const QString &line)
{
    Output *output = currentOutput;
    if (output && QThread::currentThreadId() == outputThread) {
        output->line(line);
        return;
    }
    // In one piece, so that lines of several threads do not mix.
    const QByteArray bytes = escaped(line).toUtf8() + '\n';
    static_cast<void>(streams::writeAll(streams::standardError, bytes));
}

void onLogMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (currentVerbosity < neededVerbosity(type))
        return;
    const QString category = QString::fromUtf8(context.category);
    // The trail of a failure has a line for each place.
    for (const QString &line : message.split(u'\n'))
        writeLine(u"zelcache: log: "_s + category + u": "_s + line);
}

} // namespace

LogOutput::LogOutput(Output *output, int verbosity)
{
    outputThread = QThread::currentThreadId();
    currentVerbosity = verbosity;
    currentOutput = output;
    qInstallMessageHandler(onLogMessage);
}

LogOutput::~LogOutput()
{
    currentOutput = nullptr;
}

ExpectedFailures::ExpectedFailures()
{
    ++expectedFailures;
}

ExpectedFailures::~ExpectedFailures()
{
    --expectedFailures;
}

} // namespace zel::cli
