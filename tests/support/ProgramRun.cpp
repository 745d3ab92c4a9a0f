#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include <csignal>

namespace zel::test {

namespace {

// How many times as long programs take.
#ifdef __SANITIZE_ADDRESS__
constexpr int slowness = 4;
#else
constexpr int slowness = 1;
#endif

} // namespace

ProgramRun::ProgramRun(const QString &program, const QStringList &arguments)
    : ProgramRun(program, arguments, Options())
{
}

ProgramRun::ProgramRun(const QString &program, const QStringList &arguments, const Options &options)
    : process(std::make_unique<QProcess>())
    , limit(options.limit * slowness)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &setting : options.environment)
        environment.insert(setting.section(u'=', 0, 0), setting.section(u'=', 1));
    process->setProcessEnvironment(environment);
    if (!options.workingDirectory.isEmpty())
        process->setWorkingDirectory(options.workingDirectory);
    if (!options.outputFile.isEmpty())
        process->setStandardOutputFile(options.outputFile);
    process->start(program, arguments);
    EXPECT_TRUE(process->waitForStarted(limit)) << qPrintable(process->errorString());
    process->write(options.input);
    process->closeWriteChannel();
}

ProgramRun::~ProgramRun()
{
    if (process->state() == QProcess::NotRunning)
        return;
    process->kill();
    process->waitForFinished(limit);
}

void ProgramRun::sendSignal(int number) const
{
    // Number 0 would mean everybody around this process.
    const auto processId = pid_t(process->processId());
    ASSERT_GT(processId, 0) << "has ended already";
    EXPECT_EQ(::kill(processId, number), 0);
}

int ProgramRun::exitCode()
{
    const bool ended = process->state() == QProcess::NotRunning || process->waitForFinished(limit);
    EXPECT_TRUE(ended) << "still running; it said: " << errors().toStdString();
    if (!ended)
        return -1;
    return process->exitStatus() == QProcess::CrashExit ? -process->exitCode()
                                                        : process->exitCode();
}

QByteArray ProgramRun::output()
{
    outputSoFar += process->readAllStandardOutput();
    return outputSoFar;
}

QByteArray ProgramRun::errors()
{
    errorsSoFar += process->readAllStandardError();
    return errorsSoFar;
}

} // namespace zel::test
