#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

#include <sys/types.h>

namespace zel::test {

/// One run of a program at a terminal of its own, as a user has it: what it writes is seen, and
/// keys can be pressed. It ends with the object at the latest. Every wait has a limit, and fails
/// the test when that is reached.
class PtyRun
{
public:
    struct Options
    {
        int columns = 100;
        int rows = 25;
        QStringList environment; ///< "NAME=value", beside what this process has
        bool inputIsTerminal = true; ///< false: standard input is empty
        bool outputIsTerminal = true; ///< false: standard output goes to nowhere
        bool outputIsNonBlocking = false; ///< as some programs leave it behind
    };

    PtyRun(const QString &program, const QStringList &arguments);
    PtyRun(const QString &program, const QStringList &arguments, const Options &options);
    ~PtyRun();
    PtyRun(const PtyRun &) = delete;
    PtyRun &operator=(const PtyRun &) = delete;

    qint64 processId() const { return child; }
    /// Types into the terminal; "\x03" is Ctrl-C.
    void type(const QByteArray &keys) const;
    /// Gives the terminal another size, of which the program is told.
    void resize(int columns, int rows) const;
    /// Whether the terminal shows what is typed and hands it on line by line, as it does at first.
    bool isUsual() const;
    /// Takes the terminal away, as a connection that drops does. Nothing is seen any more.
    void hangUp();
    /// Everything that the terminal got until now, control sequences included.
    QByteArray seen();
    /// Waits until the terminal got this text.
    bool waitFor(const QByteArray &text);
    /// Waits until this holds of everything that the terminal got; `what` names it in the failure.
    bool waitForSeen(const QString &what, const std::function<bool(const QByteArray &)> &condition);
    /// Waits for the end. A program that died of a signal gives minus its number.
    int exitCode();

private:
    [[noreturn]] static void becomeProgram(const QString &program, const QStringList &arguments,
                                           const Options &options);
    /// Takes what has come, or learns that nothing more will.
    void readSome();
    bool waitUntil(const std::function<bool()> &condition);

    pid_t child = -1;
    int terminal = -1;
    QByteArray seenSoFar;
    bool atEnd = false;
};

} // namespace zel::test
