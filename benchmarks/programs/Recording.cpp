#include "Recording.h"

#include "Protocol.h"
#include "SemaphoreCalls.h"

#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

#include <mutex>

#include <sqlite3.h>

namespace zel::bench {

namespace {

std::mutex mutex;
Script *recorded = nullptr; ///< while there is somebody to tell of

void add(Step step)
{
    const std::lock_guard lock(mutex);
    recorded->push_back(std::move(step));
}

/// The value that begins an expanded text, and how long it is there.
QPair<QVariant, qsizetype> firstLiteral(const QString &text)
{
    static const QRegularExpression literal(QStringLiteral("^(?:'((?:[^']|'')*)'|([-0-9]+)|NULL)"));
    const auto match = literal.match(text);
    if (!match.hasMatch())
        giveUp("no literal: " + text.toStdString());
    QVariant value;
    if (!match.captured(2).isEmpty())
        value = match.captured(2).toLongLong();
    else if (text.front() == u'\'')
        value = match.captured(1).replace(QStringLiteral("''"), QStringLiteral("'"));
    return { value, match.capturedLength() };
}

/// What stands in the expanded text where the other one has its placeholders.
QVariantList boundValues(const QString &sql, const QString &expanded)
{
    static const QRegularExpression placeholder(QStringLiteral("\\?|:\\w+"));
    QVariantList values;
    qsizetype longer = 0; // how much the expanded text is, up to here
    for (const auto &match : placeholder.globalMatch(sql)) {
        const auto [value, length] = firstLiteral(expanded.mid(match.capturedStart() + longer));
        values.append(value);
        longer += length - match.capturedLength();
    }
    return values;
}

void addSemaphore(bool isTaken)
{
    add({ isTaken ? Step::Kind::Take : Step::Kind::Give, {}, {} });
}

int addStatement(unsigned, void *, void *statement, void *text)
{
    // What a trigger does comes as a comment; it happens again by itself.
    if (qstrncmp(static_cast<const char *>(text), "--", 2) == 0)
        return 0;
    const QString sql = QString::fromUtf8(static_cast<const char *>(text));
    char *expanded = sqlite3_expanded_sql(static_cast<sqlite3_stmt *>(statement));
    add({ Step::Kind::Statement, sql, boundValues(sql, QString::fromUtf8(expanded)) });
    sqlite3_free(expanded);
    return 0;
}

void traceAll(unsigned events)
{
    for (const QString &name : QSqlDatabase::connectionNames()) {
        const QVariant handle = QSqlDatabase::database(name, false).driver()->handle();
        sqlite3 *connection = *static_cast<sqlite3 *const *>(handle.constData());
        sqlite3_trace_v2(connection, events, addStatement, nullptr);
    }
}

} // namespace

Script record(const std::function<void()> &work)
{
    Script script;
    recorded = &script;
    traceAll(SQLITE_TRACE_STMT);
    listenToSemaphores(addSemaphore);
    work();
    listenToSemaphores(nullptr);
    traceAll(0);
    if (script.empty())
        giveUp("nothing was recorded");
    return script;
}

} // namespace zel::bench
