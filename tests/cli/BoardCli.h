#pragma once

#include "ZelcacheCli.h"

namespace zel::test {

/// Runs the board on a cache of the test's own, with ten looks a second.
class BoardCli : public ZelcacheCli
{
protected:
    /// What the board sends a terminal first and last.
    static QByteArray entering();
    static QByteArray leaving();

    /// A cache with one resource of 2048 bytes, ready.
    void makeCache() const;

    /// At a terminal of 80 columns and 24 rows, or as the options say.
    std::unique_ptr<PtyRun> startBoard() const;
    std::unique_ptr<PtyRun> startBoard(const PtyRun::Options &options) const;
    std::unique_ptr<ProgramRun> startJsonBoard() const;

    /// The arguments of a board, behind these.
    static QStringList watching(const QStringList &options = {});
    /// Waits until a row of the screen matches the regular expression.
    static bool waitForRow(PtyRun &board, const QString &pattern);
    /// What stands on the screen of a terminal that got these bytes. Fails the test if they hold
    /// anything but lines that are put in their places.
    static QStringList screenOf(const QByteArray &seen);
};

} // namespace zel::test
