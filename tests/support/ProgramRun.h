#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>

namespace zel::test {

/// One run of a program as another process, with both of its streams apart. It ends with the object
/// at the latest. Every wait has a limit, and fails the test when that is reached.
class ProgramRun
{
public:
    struct Options
    {
        QStringList environment; ///< "NAME=value", beside what this process has
        QString workingDirectory;
        QByteArray input; ///< what the program reads; its input ends after that
        QString outputFile; ///< where standard output goes instead; empty for nowhere else
        int limit = 40'000; ///< milliseconds that one wait takes at most
    };

    ProgramRun(const QString &program, const QStringList &arguments);
    ProgramRun(const QString &program, const QStringList &arguments, const Options &options);
    ~ProgramRun();
    ProgramRun(const ProgramRun &) = delete;
    ProgramRun &operator=(const ProgramRun &) = delete;

    qint64 processId() const { return process->processId(); }
    void sendSignal(int number) const;

    /// Waits for the end. A program that died of a signal gives minus its number.
    int exitCode();
    /// What was written until now; all of it after exitCode().
    QByteArray output();
    QByteArray errors();

private:
    std::unique_ptr<QProcess> process;
    int limit;
    QByteArray outputSoFar;
    QByteArray errorsSoFar;
};

} // namespace zel::test
