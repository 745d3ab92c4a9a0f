#include "board/BoardScreen.h"

#include "output/Format.h"
#include "output/Text.h"

#include <QCoreApplication>

#include <algorithm>
#include <functional>
#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::BoardScreen)
};

constexpr int indent = 6; ///< of what belongs to the line above
constexpr int shortestReference = 30; ///< with less room it gets a line of its own

/// A list with a title. Its items are made only where there is room for them.
struct Section
{
    QString title;
    qsizetype count = 0;
    std::function<QStringList(qsizetype)> item;
};

/// The first of them that fits; empty if none does.
QString fitting(const QStringList &forms, int columns)
{
    const auto form = std::find_if(forms.begin(), forms.end(), [columns](const QString &text) {
        return columnsOf(text) <= columns;
    });
    return form == forms.end() ? QString() : *form;
}

/// The pieces in as few lines as hold them, the first one behind `start`. A piece that fits no line
/// is left out: a figure without its middle would be another one.
QStringList flowed(const QString &start, const QStringList &pieces, const QString &separator,
                   int columns)
{
    const QString end = separator.trimmed();
    QStringList lines { start };
    bool isFresh = true;
    for (const QString &piece : pieces) {
        const QString joint = isFresh ? QString() : separator;
        const int room = columns - columnsOf(lines.constLast() + joint) - int(end.size());
        if (columnsOf(piece) <= room) {
            lines.last() += joint + piece;
        } else if (!isFresh && columnsOf(piece) <= columns - indent - int(end.size())) {
            lines.last() += end;
            lines.append(QString(indent, u' ') + piece);
        } else {
            continue;
        }
        isFresh = false;
    }
    return isFresh ? QStringList() : lines;
}

/// A number of things, whose name may be cut behind the number.
QString counted(const QString &text, int columns)
{
    const QString digits = u"0123456789"_s;
    const auto isDigit = [&digits](QChar letter) {
        return digits.contains(letter);
    };
    const auto last = std::find_if(text.rbegin(), text.rend(), isDigit);
    const qsizetype end = text.rend() - last; // behind the number
    constexpr int least = 4; // of the name, with the dots
    if (columnsOf(text) <= columns || columns < end + least)
        return text;
    return text.left(columns - 2) + u".."_s;
}

/// What is said in words may be cut.
QStringList flowedWords(const QString &text, int columns)
{
    QStringList words = text.split(u' ');
    for (QString &word : words)
        word = elided(word, columns - indent);
    return flowed(QString(), words, u" "_s, columns);
}

QString durationSince(qint64 moment, qint64 now)
{
    return durationText(std::chrono::seconds((now - moment) / 1000));
}

QString referenceText(const QString &reference)
{
    return reference.isEmpty() ? Texts::tr("a resource that the cache does not know")
                               : escaped(reference);
}

QString nameOf(const BoardParty &party)
{
    if (!party.life)
        return Texts::tr("a program that is gone");
    // Short enough to stand in a line with its number: without the number it is nobody.
    constexpr int longest = 24;
    const QString program
        = party.program.isEmpty() ? Texts::tr("process") : elided(escaped(party.program), longest);
    return u"%1 %2"_s.arg(program, QString::number(party.processId));
}

QStringList partyTexts(const BoardParty &party, qint64 now)
{
    const QString silence = durationSince(party.lastSign.value_or(now), now);
    const QString seen = Texts::tr("seen %1 ago").arg(silence);
    if (!party.life)
        return { nameOf(party) };
    switch (*party.life) {
    case Liveness::Alive:
        return { nameOf(party), seen };
    case Liveness::Silent:
        return { nameOf(party), Texts::tr("silent for %1").arg(silence) };
    case Liveness::Dead:
        return { nameOf(party), Texts::tr("dead"), seen };
    case Liveness::Reused:
        break;
    }
    return { nameOf(party), Texts::tr("dead (number reused)"), seen };
}

QString partyText(const BoardParty &party, qint64 now)
{
    return partyTexts(party, now).join(u", "_s);
}

/// Shorter for one that lives, so that a transfer's figures and its fetcher have one line of 80
/// columns.
QString fetcherText(const BoardParty &party, qint64 now)
{
    if (party.life != Liveness::Alive)
        return partyText(party, now);
    return Texts::tr("%1, %2 ago")
        .arg(nameOf(party), durationSince(party.lastSign.value_or(now), now));
}

QStringList transferTexts(const Board::Fetch &fetch)
{
    QStringList texts;
    if (fetch.bytes && fetch.totalBytes)
        texts.append(
            Texts::tr("%1 of %2").arg(sizeText(*fetch.bytes), sizeText(*fetch.totalBytes)));
    else if (fetch.bytes)
        texts.append(sizeText(*fetch.bytes));
    if (fetch.bytesPerSecond)
        texts.append(rateText(*fetch.bytesPerSecond));
    if (fetch.timeLeft)
        texts.append(Texts::tr("%1 left").arg(durationText(*fetch.timeLeft)));
    return texts;
}

QStringList fetchLines(const Board &board, const Board::Fetch &fetch, int columns)
{
    const QString percent = u"%1%"_s.arg(fetch.percent, indent - 3);
    const QString reference = elided(referenceText(fetch.reference), columns - indent);
    const QString title = fitting({ percent + u"  "_s + reference, percent }, columns);
    const QStringList details
        = transferTexts(fetch) + QStringList { fetcherText(fetch.fetcher, board.now) };
    return QStringList { title } + flowed(QString(indent, u' '), details, u"  "_s, columns);
}

QStringList waiterLines(const Board &board, const Board::Waiter &waiter, int columns)
{
    const QString time = durationSince(waiter.since, board.now).rightJustified(indent);
    const QString start = fitting({ u"%1+  %2"_s.arg(time, partyText(waiter.program, board.now)),
                                    u"%1+  %2"_s.arg(time, nameOf(waiter.program)), time + u'+' },
                                  columns);
    const QString reference = referenceText(waiter.reference);
    const int room = columns - columnsOf(start) - 2;
    if (room >= std::min(columnsOf(reference), shortestReference))
        return { start + u"  "_s + elided(reference, room) };
    return { start, QString(indent, u' ') + elided(reference, columns - indent) };
}

QString headLine(const Board &board, int columns)
{
    const QString time = timeText(board.now);
    const int room = columns - int(time.size()) - 2;
    if (room <= 0)
        return fitting({ time }, columns);
    return elided(escaped(board.baseDirectory), room) + u"  "_s + time;
}

QStringList troubleLines(const Board &board, int columns)
{
    QStringList lines { QString() };
    for (const QString &line : board.trouble.split(u'\n'))
        lines += flowedWords(escaped(line), columns);
    return lines + flowedWords(Texts::tr("The board waits for it."), columns);
}

QStringList sizeLines(const Board &board, int columns)
{
    const auto count = [&board](ResourceStatus status) {
        return board.resourceCounts.value(status);
    };
    const int wanted
        = count(ResourceStatus::Acquiring) + count(ResourceStatus::ScheduledForAcquire);
    const QString current = sizeText(board.currentSize);
    const QString optimal = sizeText(board.limits.optimalSize);
    const QString size = fitting({ Texts::tr("Size: %1 of %2").arg(current, optimal),
                                   u"%1 / %2"_s.arg(current, optimal), current },
                                 columns - 1);
    QStringList sizes { size, Texts::tr("at most %1").arg(sizeText(board.limits.maximumSize)) };
    if (board.freeBytes)
        sizes.append(Texts::tr("%1 free on disk").arg(sizeText(*board.freeBytes)));
    const int ready = count(ResourceStatus::Ready);
    const QStringList resources {
        fitting({ Texts::tr("Resources: %1 ready").arg(ready), Texts::tr("%1 ready").arg(ready) },
                columns - 1),
        counted(Texts::tr("%1 being fetched").arg(wanted), columns - indent - 1),
        counted(Texts::tr("%1 missing").arg(count(ResourceStatus::Missing)), columns - indent - 1)
    };
    return flowed(QString(), sizes, u", "_s, columns)
        + flowed(QString(), resources, u", "_s, columns);
}

QList<Section> sectionsOf(const Board &board, int columns)
{
    const auto fetch = [&board, columns](qsizetype index) {
        return fetchLines(board, board.fetches.at(index), columns);
    };
    const auto waiter = [&board, columns](qsizetype index) {
        return waiterLines(board, board.waiters.at(index), columns);
    };
    const auto client = [&board, columns](qsizetype index) {
        return flowed(u"  "_s, partyTexts(board.clients.at(index), board.now), u", "_s, columns);
    };
    return { { Texts::tr("Fetches"), board.fetches.size(), fetch },
             { Texts::tr("Waiting"), board.waiters.size(), waiter },
             { Texts::tr("Programs"), board.clients.size(), client } };
}

/// Shows items of a section until there are so many, as far as the rows reach that are left.
void addItems(const Section &section, qsizetype upTo, QList<QStringList> &items, int &rows)
{
    while (items.size() < std::min(upTo, section.count)) {
        const QStringList item = section.item(items.size());
        if (item.size() > rows)
            return;
        rows -= int(item.size());
        items.append(item);
    }
}

QStringList sectionLines(const Section &section, const QList<QStringList> &items, int columns)
{
    const QString title = u"%1: %2"_s.arg(section.title, QString::number(section.count));
    QStringList titles { title };
    if (items.size() < section.count)
        titles.append(Texts::tr("%1 not shown").arg(section.count - items.size()));
    QStringList lines { QString(), fitting({ titles.join(u", "_s), title }, columns) };
    for (const QStringList &item : items)
        lines += item;
    return lines;
}

QStringList listLines(const Board &board, int rows, int columns)
{
    constexpr int titleRows = 2; // with the free one above it
    constexpr qsizetype all = std::numeric_limits<qsizetype>::max();
    const QList<Section> sections = sectionsOf(board, columns);
    rows -= titleRows * int(sections.size());
    // One of each before any has several, and those above come first.
    QList<QList<QStringList>> items(sections.size());
    for (const qsizetype upTo : { qsizetype(1), qsizetype(3), all }) {
        for (qsizetype i = 0; i < sections.size(); ++i)
            addItems(sections.at(i), upTo, items[i], rows);
    }
    QStringList lines;
    for (qsizetype i = 0; i < sections.size(); ++i)
        lines += sectionLines(sections.at(i), items.at(i), columns);
    return lines;
}

} // namespace

QStringList boardLines(const Board &board, const BoardRoom &room)
{
    const int columns = std::max(room.columns - 1, 1);
    QStringList lines { headLine(board, columns) };
    lines += board.trouble.isEmpty() ? sizeLines(board, columns) : troubleLines(board, columns);
    if (board.trouble.isEmpty())
        lines += listLines(board, room.rows - int(lines.size()), columns);
    lines = lines.mid(0, room.rows);
    // For terminals so narrow that not even a number fits.
    for (QString &line : lines)
        line = fitting({ line }, columns);
    return lines;
}

} // namespace zel::cli
