#include "BoardCli.h"

#include <QRegularExpression>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

QByteArray BoardCli::entering()
{
    return "\x1b[?1049h\x1b[?25l";
}

QByteArray BoardCli::leaving()
{
    return "\x1b[?25h\x1b[?1049l";
}

void BoardCli::makeCache() const
{
    const auto run = start({ u"get"_s, sharedFile(u"ready.raw"_s, QByteArray(2048, 'r')) });
    ASSERT_EQ(run->exitCode(), 0) << run->errors().toStdString();
}

std::unique_ptr<PtyRun> BoardCli::startBoard() const
{
    PtyRun::Options options;
    options.columns = 80;
    options.rows = 24;
    return startBoard(options);
}

std::unique_ptr<PtyRun> BoardCli::startBoard(const PtyRun::Options &options) const
{
    return startAtTerminal(watching(), options);
}

std::unique_ptr<ProgramRun> BoardCli::startJsonBoard() const
{
    return start(watching({ u"--json"_s }));
}

QStringList BoardCli::watching(const QStringList &options)
{
    return options + QStringList { u"status"_s, u"--watch"_s, u"--interval"_s, u"0.1"_s };
}

bool BoardCli::waitForRow(PtyRun &board, const QString &pattern)
{
    const QRegularExpression expected(pattern);
    return board.waitForSeen(pattern, [&expected](const QByteArray &seen) {
        return !screenOf(seen).filter(expected).isEmpty();
    });
}

QStringList BoardCli::screenOf(const QByteArray &seen)
{
    QString sent = QString::fromUtf8(seen.mid(seen.lastIndexOf("\x1b[2J") + 4));
    if (const qsizetype end = sent.indexOf(QString::fromLatin1(leaving())); end >= 0)
        sent.truncate(end);
    // The last sequence may not be here as a whole yet.
    sent.truncate(sent.lastIndexOf(u"\x1b[K"_s) + 3);
    const QRegularExpression line(u"\x1b\\[(\\d+);1H([^\x1b\r\n]*)\x1b\\[K"_s);
    QStringList rows;
    qsizetype end = 0;
    for (auto found = line.globalMatch(sent); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        EXPECT_EQ(match.capturedStart(), end) << qPrintable(sent);
        end = match.capturedEnd();
        const qsizetype row = match.captured(1).toInt();
        rows.resize(std::max(rows.size(), row));
        rows[row - 1] = match.captured(2);
    }
    while (!rows.isEmpty() && rows.constLast().isEmpty())
        rows.removeLast();
    return rows;
}

} // namespace zel::test
